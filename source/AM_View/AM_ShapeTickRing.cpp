#include "AM_ShapeTickRing.h"

#include <cmath>

void AM_ShapeTickRing::addProperties(AM_PropertyTable* table) {
    table->push_back(row("minAngle", &minAngle, -3600, 3600, -135));
    table->push_back(row("maxAngle", &maxAngle, -3600, 3600, 135));
    table->push_back(row("numTicks", &numTicks, 0, k_maxTicks, 11));
    table->push_back(row("innerRadius", &innerRadius, 0, 2, 0.8f));
    table->push_back(row("outerRadius", &outerRadius, 0, 2, 0.95f));
    table->push_back(row("tickWidth", &tickWidth, 0, 2, 0.04f));
    table->push_back(row("divWidth", &divWidth, 0, 2, 0));
    table->push_back(row("divLen", &divLen, 0, 2, 0));
    table->push_back(row("shape", &dots, 0, 1, 0));
}

AM_Path AM_ShapeTickRing::getTick(const Canvas& canvas, f32 angle, bool divides) const {
    const f32 r = canvas.radius(), outer = outerRadius * r,
              half = (divides && divWidth > 0 ? divWidth : tickWidth) * r / 2,
              inner = divides && divLen > 0 ? outer - divLen * r : innerRadius * r;
    const AM_Point centre = canvas.centre();
    if (!(half > 0)) return {};
    if (dots >= 0.5f)
        return AM_ShapeOutline::ring(
            AM_ShapeOutline::onCircle(centre, (outer + innerRadius * r) / 2, angle), 0, half, 0,
            360, canvas.tolerance);
    const AM_Point along = AM_ShapeOutline::onCircle({0, 0}, 1, angle);
    const auto place = [&](f32 distance, f32 side) {
        return AM_Point{centre.x + along.x * distance - along.y * side,
                        centre.y + along.y * distance + along.x * side};
    };
    AM_Path path;
    path.polygons.push_back(
        {place(inner, -half), place(outer, -half), place(outer, half), place(inner, half)});
    return path;
}

void AM_ShapeTickRing::paint(const Canvas& canvas) {
    const i32 count = static_cast<i32>(std::lround(numTicks));
    const f32 sweep = maxAngle - minAngle, outer = outerRadius * canvas.radius();
    const bool isFull = std::abs(sweep) >= 359.6f;
    const f32 steps = static_cast<f32>(std::max(isFull ? count : count - 1, 1));
    const AM_Point centre = canvas.centre(), top{centre.x, centre.y - outer},
                   bottom{centre.x, centre.y + outer};
    canvas.context->setGradientAxis(&top, &bottom);
    for (i32 i = 0; i < count; ++i) {
        const f32 place = static_cast<f32>(i) / steps;
        const bool divides = i == 0 || i == count - 1 || 2 * i == count - 1;
        i32 colour = 0;
        if (hasColour(1) && place <= canvas.value + 1.0e-5f)
            colour = 1;
        else if (hasColour(2) && divides)
            colour = 2;
        canvas.fill(getTick(canvas, minAngle + sweep * place, divides), getColour(colour));
    }
    canvas.context->setGradientAxis(nullptr, nullptr);
}
