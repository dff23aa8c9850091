#include "AM_RoundRect.h"

void AM_RoundRect::addProperties(AM_PropertyTable* table) {
    table->push_back(row("radius", &cornerRadius, 0, 4096, 8));
    table->push_back(row("border", &border, 0, 4096, 1));
}

u32 AM_RoundRect::getDefaultColour(i32 id) const {
    constexpr u32 colours[] = {0xc0c0c0ff, 0x404040ff, 0x808080ff};
    return id >= 0 && id < 3 ? colours[id] : 0x000000ff;
}

void AM_RoundRect::paint(const Canvas& canvas) {
    paintBox(canvas, canvas.rect, 0);
}

void AM_RoundRect::paintBox(const Canvas& canvas, const AM_Rect& rect, f32 band) const {
    const auto inset = [&rect](f32 by) {
        return AM_Rect{rect.left + by, rect.top + by, rect.width - 2 * by, rect.height - 2 * by};
    };
    const f32 radius = cornerRadius * canvas.unit, edge = canvas.crisp(border * canvas.unit);
    const auto outline = [&](f32 by) {
        return AM_ShapeOutline::roundRect(inset(by), radius - by, canvas.tolerance);
    };
    if (inset(edge).isEmpty()) {
        canvas.fill(outline(0), getColour(1));
        return;
    }
    // Under an opaque border the area reaches to its middle, so that nothing shines through where
    // the two meet.
    const bool isOpaque = getColour(1).getRgba().a >= 1 && !getColour(1).isGradient();
    const f32 under = isOpaque ? edge / 2 : edge;
    canvas.fill(outline(under), getColour(0));
    if (band > 0)
        canvas.fill(AM_ShapeOutline::above(outline(under), rect.top + band), getColour(2));
    if (edge > 0) canvas.fill(AM_ShapeOutline::between(outline(0), outline(edge)), getColour(1));
}
