// What the drawing benchmark paints: the picture of a plug-in's editor, as numbers that two
// libraries draw from. Coordinates in view units.
#pragma once

#include "AM_AGG_Context.h"
#include "AM_Geometry.h"
#include "AM_PngReader.h"
#include "AM_ShapeOutline.h"
#include "AM_ViewGraphicFilters.h"

#include <cmath>
#include <memory>
#include <vector>

namespace scene {

constexpr i32 k_width = 1200;
constexpr i32 k_height = 600;
constexpr i32 k_knobs = 12;
constexpr i32 k_knobSide = 64;
constexpr i32 k_knobFrames = 31;
constexpr i32 k_texts = 40;
constexpr AM_Rect k_pane{820, 350, 340, 220}; // with its shadow

inline AM_Rect knob(i32 i) {
    return {60.0f + static_cast<f32>(i % 6) * 110, i < 6 ? 90.0f : 230.0f, k_knobSide, k_knobSide};
}
// The strip's frame while the knobs turn, one step a repaint.
inline i32 knobFrame(i32 i, i32 step) {
    return (step + i * 5) % k_knobFrames;
}

struct Text {
    const char* text;
    AM_Rect rect;
    f32 size;
    u32 colour;
};
inline Text text(i32 i) {
    constexpr const char* words[] = {"Feedback", "Pre-Delay 12.5 ms",  "Damping",   "0.0 dB",
                                     "Size",     "Modulation 0.35 Hz", "Diffusion", "Mix 40 %"};
    constexpr f32 sizes[] = {10, 11, 12, 14, 18};
    return {words[i % 8],
            {40 + static_cast<f32>(i % 5) * 150, 330 + static_cast<f32>(i / 5) * 30, 180, 26},
            sizes[i % 5],
            i % 2 ? 0xe8ecf0ffu : 0xffb04ce0u};
}

struct Box {
    AM_Rect rect;
    f32 radius;
    u32 top; // the gradient's ends; a flat colour if they are the same
    u32 bottom;
};
constexpr Box k_boxes[] = {{{30, 60, 680, 250}, 14, 0x20283080, 0x20283080},
                           {{740, 60, 430, 250}, 14, 0x3a4654ff, 0x1c2229ff},
                           {{860, 20, 150, 30}, 8, 0xd07020ff, 0xd07020ff}};
struct Sector {
    AM_Point centre;
    f32 inner, outer, start, end; // degrees from up, clockwise
    u32 colour;
};
constexpr Sector k_sectors[] = {{{860, 185}, 62, 84, -135, 75, 0xff8800ff},
                                {{1050, 185}, 40, 90, 20, 300, 0x4cc0ffc0}};
constexpr u32 k_starColour = 0xfff0a0ff;
inline std::vector<AM_Point> star() {
    std::vector<AM_Point> points;
    for (i32 i = 0; i < 10; ++i)
        points.push_back(
            AM_ShapeOutline::onCircle({955, 185}, i % 2 ? 14.0f : 30.0f, static_cast<f32>(i) * 36));
    return points;
}

// Lines across the picture, and a wave as a meter or an envelope shows it.
struct Line {
    AM_Point from, to;
    f32 width;
    u32 colour;
};
constexpr Line k_lines[] = {{{10, 10}, {1190, 590}, 1, 0xff8800ff},
                            {{1190, 30}, {20, 580}, 2, 0x4cc0ffc0},
                            {{100, 10}, {220, 590}, 2, 0xfff0a0ff},
                            {{10, 300}, {1190, 350}, 4, 0xff8800ff}};
inline std::vector<AM_Point> wave() {
    std::vector<AM_Point> points;
    for (i32 i = 0; i < 256; ++i)
        points.push_back(
            {20 + 4.5f * static_cast<f32>(i), 300 + 200 * std::sin(static_cast<f32>(i) * 0.1f)});
    return points;
}

inline AM_PngImage imageOf(AM_Context& context, bool hasAlpha) {
    const AM_PixelView view = context.getPixels();
    return {{view.pixels, view.pixels + static_cast<size_t>(view.rowBytes) * view.height},
            view.width,
            view.height,
            hasAlpha};
}

// Brushed metal: no two pixels beside each other are the same.
inline AM_PngImage background() {
    AM_AGG_Context context(k_width, k_height, 1, true);
    const AM_PixelView view = context.getPixels();
    u32 grain = 1;
    for (i32 y = 0; y < view.height; ++y)
        for (i32 x = 0; x < view.width; ++x) {
            grain = grain * 1664525 + 1013904223;
            const u32 light = 60 + static_cast<u32>(y) / 12 + (grain >> 28);
            u8* const pixel = view.row(y) + 4 * x;
            pixel[0] = static_cast<u8>(light);
            pixel[1] = static_cast<u8>(light + 4);
            pixel[2] = static_cast<u8>(light + 10);
        }
    return imageOf(context, false);
}

inline AM_PngImage knobImage(i32 frame) {
    AM_AGG_Context context(k_knobSide, k_knobSide, 1, false);
    constexpr f32 middle = k_knobSide / 2.0f;
    const f32 angle = -135 + 270 * static_cast<f32>(frame) / (k_knobFrames - 1);
    context.setRGBA(0x00000060);
    context.fillArc({middle, middle + 1}, 0, middle - 1, 0, 360);
    context.setRGBA(0x4a5058ff);
    context.fillArc({middle, middle}, 0, middle - 6, 0, 360);
    context.setRGBA(0xff8800ff);
    context.fillArc({middle, middle}, middle - 5, middle - 2, -135, angle);
    const AM_Point ends[] = {AM_ShapeOutline::onCircle({middle, middle}, 8, angle),
                             AM_ShapeOutline::onCircle({middle, middle}, middle - 10, angle)};
    context.setRGBA(0xffffffff);
    context.strokeLines(ends, 2, 3);
    return imageOf(context, true);
}

// The layer that a pane keeps from paint to paint.
inline std::unique_ptr<AM_AGG_Context> pane(f32 scale) {
    auto layer = std::make_unique<AM_AGG_Context>(k_pane.width, k_pane.height, scale, false);
    AM_Path path;
    path.polygons = {AM_ShapeOutline::roundRect({16, 16, 308, 188}, 12, 0.1f / scale)};
    layer->fillPath(path, AM_Colour("pane", 0x2c333bff));
    layer->setRGBA(0xe8ecf0ff);
    layer->setFontSize(20);
    layer->drawText("Early reflections", {16, 16, 308, 188}, k_alignCentre, k_alignCentre);
    AM_View_Shadow shadow;
    shadow.setProperty("inside", 0, "NO");
    shadow.setProperty("angle", 0, "135");
    shadow.setProperty("distance", 0, "6");
    shadow.applyFilter(layer.get());
    return layer;
}

} // namespace scene
