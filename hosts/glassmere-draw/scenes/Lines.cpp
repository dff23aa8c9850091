// Lines and strokes.
#include "Scene.h"

#include <cmath>

namespace {
// Hairlines through the middle of pixels, then between them, then of growing width.
void hairlines(AM_Context& c) {
    c.setLineWidth(1);
    for (i32 i = 0; i < 12; ++i) {
        const f32 at = 10.5f + static_cast<f32>(i) * 8;
        c.drawLine({at, 10}, {at, 90});
        c.drawLine({110, at - 0.5f}, {200, at - 0.5f});
    }
    for (i32 i = 0; i < 10; ++i) {
        c.setLineWidth(0.5f * static_cast<f32>(i + 1));
        const f32 y = 110 + static_cast<f32>(i) * 8;
        c.drawLine({10, y + 0.5f}, {200, y + 0.5f});
    }
    for (i32 i = 0; i <= 18; ++i) {
        const f32 angle = static_cast<f32>(i) * 3.14159265f / 36;
        const AM_Point way{std::sin(angle), -std::cos(angle)};
        c.setLineWidth(1);
        c.drawLine({210.5f + 15 * way.x, 189.5f + 15 * way.y},
                   {210.5f + 100 * way.x, 189.5f + 100 * way.y});
    }
}

void frames(AM_Context& c) {
    for (i32 i = 0; i < 8; ++i) {
        const f32 in = static_cast<f32>(i) * 10;
        c.strokeRect({10.5f + in, 10.5f + in, 179 - in * 2, 179 - in * 2}, 1);
    }
    for (i32 i = 0; i < 5; ++i) {
        const f32 width = static_cast<f32>(i + 1);
        // Odd widths are sharp around the middle of pixels, even ones between them.
        const f32 half = i % 2 == 0 ? 0.5f : 0;
        const f32 left = 205 + half + static_cast<f32>(i % 2) * 55;
        const f32 top = 13 + half + static_cast<f32>(i / 2) * 62;
        c.strokeRect({left, top, 42, 48}, width);
    }
}

void circles(AM_Context& c) {
    for (i32 i = 1; i <= 12; ++i)
        c.strokeCircle({100, 100}, static_cast<f32>(i) * 7.5f, 1);
    for (i32 i = 0; i < 6; ++i) {
        c.setRGBAF(0.4f, 0.75f, 1, 1);
        const f32 x = 217 + static_cast<f32>(i % 3) * 39;
        const f32 y = 40 + static_cast<f32>(i / 3) * 50;
        c.strokeCircle({x, y}, 14, 0.5f + static_cast<f32>(i) * 1.5f);
    }
    c.setRGBAF(1, 0.8f, 0.3f, 1);
    for (i32 i = 0; i < 8; ++i)
        c.strokeCircle({204 + static_cast<f32>(i) * 15, 150}, static_cast<f32>(i) * 0.9f, 1);
}

// One translucent stroke is even where it crosses and turns; a pen's lines are not.
void polylines(AM_Context& c) {
    AM_Point wave[240];
    for (i32 i = 0; i < 240; ++i) {
        const f32 x = static_cast<f32>(i);
        wave[i] = {10 + x * 1.25f, 60 + 40 * std::sin(x * 0.09f) * std::cos(x * 0.021f)};
    }
    c.setRGBAF(0.35f, 0.85f, 0.6f, 1);
    c.strokeLines(wave, 240, 1.5f);
    const AM_Point zigzag[] = {{20, 185}, {60, 120}, {75, 185}, {130, 125}, {135, 185}, {150, 125}};
    c.setRGBAF(1, 0.6f, 0.3f, 0.6f);
    c.strokeLines(zigzag, 6, 9);
    c.setLineWidth(9);
    c.moveTo({170, 185});
    for (const AM_Point& p : zigzag)
        c.lineTo({p.x + 150, p.y});
}
} // namespace

std::vector<Scene> lineScenes() {
    return {
        {"lines-hairlines", "lines at whole and half positions, widths, angles", 320, 200,
         hairlines},
        {"lines-frames", "stroked rectangles", 320, 200, frames},
        {"lines-circles", "stroked circles", 320, 200, circles},
        {"lines-strokes", "strokes through many points, and a pen's lines", 320, 200, polylines}};
}
