// Areas, gradients and clips.
#include "Scene.h"

#include <cmath>
#include <initializer_list>

namespace {
// A gradient owns its stops.
std::unique_ptr<AM_Colour> makeGradient(std::initializer_list<std::pair<f32, u32>> stops) {
    auto gradient = std::make_unique<AM_Colour>("gradient");
    for (const auto& [location, rgba] : stops)
        gradient->addStop(location, rgba);
    return gradient;
}

AM_Path star(f32 x, f32 y, f32 outer, i32 tips) {
    AM_Path path;
    path.polygons.emplace_back();
    for (i32 i = 0; i < tips * 2; ++i) {
        const f32 radius = i % 2 == 0 ? outer : outer / 2;
        const f32 angle = static_cast<f32>(i) * 3.14159265f / static_cast<f32>(tips);
        path.polygons[0].push_back({x + radius * std::sin(angle), y - radius * std::cos(angle)});
    }
    return path;
}

// Coverage: edges that move by a tenth of a unit, checkerboards, rectangles between pixels.
void rectangles(AM_Context& c) {
    for (i32 y = 0; y < 10; ++y)
        for (i32 x = 0; x < 10; ++x)
            if ((x + y) % 2 == 0)
                c.fillRect({10 + static_cast<f32>(x) * 9, 10 + static_cast<f32>(y) * 9, 9, 9});
    for (i32 i = 0; i < 20; ++i)
        c.fillRect({120 + static_cast<f32>(i) * 9.1f, 10, 6, 60 + static_cast<f32>(i) * 0.1f});
    c.setRGBAF(0.3f, 0.7f, 1, 0.5f);
    c.fillRect({30, 90, 120, 90});
    c.setRGBAF(1, 0.5f, 0.3f, 0.5f);
    c.fillRect({90, 120, 180, 60});
}

// Rings of all sweeps, with the last ones around where an arc closes.
void arcs(AM_Context& c) {
    const f32 sweeps[] = {15, 60, 120, 200, 270, 330, 355, 359, 359.5f, 359.6f};
    for (i32 i = 0; i < 10; ++i) {
        const f32 x = 35 + static_cast<f32>(i % 5) * 62;
        const f32 y = 35 + static_cast<f32>(i / 5) * 64;
        c.setRGBA(0x3a4250ff);
        c.fillArc({x, y}, 16, 26, 0, 360);
        c.setRGBA(0x64c8ffff);
        c.fillArc({x, y}, 16, 26, 0, sweeps[i]);
        c.setRGBA(k_sceneInk);
        c.fillArc({x, y}, 0, 10, -sweeps[i] / 2, sweeps[i] / 2);
    }
    for (i32 i = 0; i < 10; ++i) {
        const f32 radius = 1 + static_cast<f32>(i) * 1.4f;
        c.fillArc({20 + static_cast<f32>(i) * 31, 170}, 0, radius, 0, 360);
    }
}

void gradients(AM_Context& c) {
    const auto sky = makeGradient({{0, 0x101418ff}, {1, 0x2a3340ff}});
    c.setColour(sky.get());
    c.fillRect({0, 0, 320, 200});
    const auto sunset =
        makeGradient({{0, 0x2b1055ff}, {0.45f, 0xd53a5aff}, {0.75f, 0xffb347ff}, {1, 0xfff6c8ff}});
    c.fillPath(star(70, 75, 60, 7), *sunset);
    const AM_Point from{140, 0}, to{300, 0};
    c.setGradientAxis(&from, &to);
    c.setColour(sunset.get());
    c.fillRect({140, 15, 160, 24});
    const auto fade = makeGradient({{0, 0x64c8ffff}, {1, 0x64c8ff00}});
    c.setColour(fade.get());
    c.fillRect({140, 45, 160, 24});
    c.setGradientAxis(nullptr, nullptr);
    const auto metal =
        makeGradient({{0, 0xf4f6f8ff}, {0.5f, 0x8a929cff}, {0.5f, 0x5a626cff}, {1, 0x9aa2acff}});
    c.setColour(metal.get());
    c.fillArc({187, 130}, 25, 46, 210, 510);
    c.fillArc({276, 130}, 0, 36, 0, 360);
    const auto bars = makeGradient({{0, 0x60e0a0ff}, {1, 0x103020ff}});
    c.setColour(bars.get());
    for (i32 i = 0; i < 12; ++i)
        c.fillRect({12.3f + static_cast<f32>(i) * 10, 190 - static_cast<f32>(i * i) * 0.4f, 7.4f,
                    static_cast<f32>(i * i) * 0.4f + 2});
}

// A hole is what lies inside of two polygons; the same outlines flat and with a gradient.
void paths(AM_Context& c) {
    const auto glow = makeGradient({{0, 0xffd070ff}, {1, 0xd04070ff}});
    const AM_Colour flat("flat", 0xffd070ff);
    for (i32 side = 0; side < 2; ++side) {
        const f32 x = 80 + static_cast<f32>(side) * 160;
        AM_Path path = star(x, 100, 75, 5);
        path.polygons.push_back(star(x, 100, 40, 5).polygons[0]);
        if (side == 0)
            c.fillPath(path, flat);
        else
            c.fillPath(path, *glow);
    }
    AM_Path crossed = star(160, 160, 30, 5);
    auto& p = crossed.polygons[0];
    p = {p[0], p[4], p[8], p[2], p[6]};
    c.fillPath(crossed, flat);
    for (AM_Point& point : p)
        point.y -= 115;
    c.fillPath(crossed, *glow);
}

void clips(AM_Context& c) {
    for (i32 i = 0; i < 3; ++i) {
        c.pushClip({20 + static_cast<f32>(i) * 100, 20, 80, 160});
        for (i32 j = 0; j < 10; ++j) {
            c.setRGBAF(0.3f + 0.07f * static_cast<f32>(j), 0.5f, 0.9f - 0.07f * static_cast<f32>(j),
                       1);
            c.fillArc({160, 100}, static_cast<f32>(j) * 16, static_cast<f32>(j) * 16 + 8, 0, 360);
        }
        c.pushClip({0, 80, 320, 40});
        c.setRGBA(k_sceneInk);
        c.fillRect({30 + static_cast<f32>(i) * 100, 60, 60, 80});
        c.setOrigin({static_cast<f32>(i) * 100, 0});
        c.setRGBA(0x202020ff);
        c.setFontSize(14);
        c.drawText("clipped", {20, 80, 80, 40}, k_alignCentre, k_alignCentre);
        c.setOrigin({});
        c.popClip();
        c.popClip();
    }
    c.setGlobalClip({20, 186, 280, 6});
    c.setRGBA(0x64c8ffff);
    for (i32 i = 0; i < 36; ++i)
        c.fillArc({4 + static_cast<f32>(i) * 9, 186}, 0, 4.5f, 0, 360);
    c.beginDraw();
}

// The ways to a polygon: with the paint, as values or a gradient, and as a path.
void polygons(AM_Context& c) {
    const auto ember = makeGradient({{0, 0xffe9a8ff}, {0.5f, 0xf07030ff}, {1, 0x601840ff}});
    const auto place = [](i32 i) {
        return AM_Point{58 + static_cast<f32>(i % 3) * 102, 52 + static_cast<f32>(i / 3) * 96};
    };
    const auto outline = [&](i32 i, i32 tips) { return star(place(i).x, place(i).y, 42, tips); };
    const auto fill = [&](const AM_Path& path, bool asGradient) {
        const auto& points = path.polygons[0];
        if (asGradient)
            c.fillPolygonGradient(points.data(), static_cast<i32>(points.size()));
        else
            c.fillPolygon(points.data(), static_cast<i32>(points.size()));
    };
    const f32 translucent[4] = {0.4f, 0.8f, 1, 0.6f};
    c.setPaint(translucent);
    fill(outline(0, 6), false);
    fill(star(place(0).x, place(0).y, 24, 3), false);
    c.setColour(ember.get());
    fill(outline(1, 8), false);
    c.resetColour();
    fill(outline(2, 8), true);
    AM_Path& shared = c.getPath();
    shared.polygons = outline(3, 12).polygons;
    shared.polygons.push_back(star(place(3).x, place(3).y, 20, 12).polygons[0]);
    c.fillPathGradient(shared, *ember);
    c.fillPathGradient(outline(4, 4), AM_Colour("flat", 0x60e0a0ff));
    const AM_Point from{place(5).x - 30, place(5).y - 30}, to{place(5).x + 30, place(5).y + 30};
    c.setGradientAxis(&from, &to);
    c.fillPath(outline(5, 20), *ember);
    c.setGradientAxis(nullptr, nullptr);
}
} // namespace

std::vector<Scene> areaScenes() {
    return {{"areas-rectangles", "rectangles on pixels and between them", 320, 200, rectangles},
            {"areas-arcs", "rings and discs, up to where they close", 320, 200, arcs},
            {"areas-gradients", "gradients along both axes, with alpha and with a step", 320, 200,
             gradients},
            {"areas-paths", "polygons with holes, flat and with gradients", 320, 200, paths},
            {"areas-polygons", "polygons by each way of filling", 320, 200, polygons},
            {"areas-clips", "clips inside of clips, with an origin", 320, 200, clips}};
}
