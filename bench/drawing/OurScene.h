// The scene by our own context.
#pragma once

#include "AM_AGG_Graphic.h"
#include "AM_MultiFrameGraphic.h"
#include "AM_Shapes.h"
#include "Scene.h"

#include <cstdio>

class OurScene {
public:
    explicit OurScene(f32 scale)
        : context(scene::k_width, scene::k_height, scale, true), pane_(scene::pane(scale)) {
        back.adopt(std::make_shared<AM_PngImage>(scene::background()));
        for (i32 i = 0; i < scene::k_knobFrames; ++i) {
            auto* const frame = new AM_AGG_Graphic;
            frame->adopt(std::make_shared<AM_PngImage>(scene::knobImage(i)));
            strip.add(frame);
        }
        for (const scene::Box& box : scene::k_boxes) {
            colours.push_back(std::make_unique<AM_Colour>("box", box.top));
            if (box.top == box.bottom) continue;
            colours.back()->addStop(0, box.top);
            colours.back()->addStop(1, box.bottom);
        }
        star.polygons = {scene::star()};
        makeGraphics();
        context.beginDraw();
    }

    void background() { context.drawGraphic(&back, {0, 0, scene::k_width, scene::k_height}, 0, 1); }
    void knobs() {
        for (i32 i = 0; i < scene::k_knobs; ++i)
            context.drawGraphic(
                &strip, scene::knob(i),
                static_cast<f32>(scene::knobFrame(i, step)) / (scene::k_knobFrames - 1), 1);
        ++step;
    }
    void texts() {
        for (i32 i = 0; i < scene::k_texts; ++i) {
            const scene::Text text = scene::text(i);
            context.setFontSize(text.size);
            context.setRGBA(text.colour);
            context.drawText(text.text, text.rect, k_alignStart, k_alignStart);
        }
    }
    // With nothing kept from paint to paint.
    void shapes() {
        const f32 tolerance = 0.1f / context.getScale();
        for (size_t i = 0; i < std::size(scene::k_boxes); ++i) {
            AM_Path& path = context.getPath();
            path.polygons.push_back(AM_ShapeOutline::roundRect(
                scene::k_boxes[i].rect, scene::k_boxes[i].radius, tolerance));
            context.fillPath(path, *colours[i]);
        }
        for (const scene::Sector& sector : scene::k_sectors) {
            context.setRGBA(sector.colour);
            context.fillArc(sector.centre, sector.inner, sector.outer, sector.start, sector.end);
        }
        starColour.setValue(scene::k_starColour);
        context.fillPath(star, starColour);
    }
    // The same sizes as graphics, which keep their pictures.
    void shapeGraphics() {
        for (const auto& [graphic, rect] : graphics)
            context.drawGraphic(graphic.get(), rect, 0.75f, 1);
    }
    void lines() {
        for (const scene::Line& line : scene::k_lines) {
            context.setRGBA(line.colour);
            context.setLineWidth(line.width);
            context.drawLine(line.from, line.to);
        }
    }
    void wave() {
        context.setRGBA(scene::k_starColour);
        context.strokeLines(wavePoints.data(), static_cast<i32>(wavePoints.size()), 2);
    }
    void pane() { context.drawOffscreen(pane_.get(), scene::k_pane, 1); }
    void repaint() {
        background();
        shapes();
        knobs();
        texts();
        pane();
    }

    AM_AGG_Context context;

private:
    void makeGraphics() {
        const auto add = [this](const char* type, const AM_Rect& rect) {
            graphics.emplace_back(AM_createShape(type), rect);
            return graphics.back().first.get();
        };
        char number[32];
        for (const scene::Box& box : scene::k_boxes) {
            std::snprintf(number, sizeof number, "%d", static_cast<i32>(box.radius));
            add("rounded rect", box.rect)->setProperty("radius", 0, number);
        }
        for (const scene::Sector& sector : scene::k_sectors)
            add("circ", {sector.centre.x - sector.outer, sector.centre.y - sector.outer,
                         2 * sector.outer, 2 * sector.outer});
        add("star shape", {925, 155, 60, 60});
    }

    std::unique_ptr<AM_AGG_Context> pane_;
    AM_AGG_Graphic back;
    AM_MultiFrameGraphic strip;
    std::vector<std::unique_ptr<AM_Colour>> colours;
    AM_Path star;
    AM_Colour starColour;
    std::vector<AM_Point> wavePoints = scene::wave();
    std::vector<std::pair<std::unique_ptr<AM_Graphic>, AM_Rect>> graphics;
    i32 step = 0;
};
