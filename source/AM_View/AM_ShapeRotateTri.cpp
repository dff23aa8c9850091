#include "AM_ShapeRotateTri.h"

#include <cmath>

void AM_ShapeRotateTri::addProperties(AM_PropertyTable* table) {
    table->push_back(row("minAngle", &minAngle, -3600, 3600, -135));
    table->push_back(row("maxAngle", &maxAngle, -3600, 3600, 135));
    table->push_back(row("innerRadius", &innerRadius, 0, 2, 0.6f));
    table->push_back(row("outerRadius", &outerRadius, 0, 2, 0.95f));
}

void AM_ShapeRotateTri::paint(const Canvas& canvas) {
    const f32 angle = minAngle + canvas.value * (maxAngle - minAngle), r = canvas.radius();
    const AM_Point centre = canvas.centre();
    const AM_Point tip = AM_ShapeOutline::onCircle(centre, outerRadius * r, angle),
                   base = AM_ShapeOutline::onCircle(centre, innerRadius * r, angle);
    // Half the side of a triangle of three equal sides, across the way from base to tip.
    const f32 half = 1 / std::sqrt(3.0f);
    const AM_Point across{(base.y - tip.y) * half, (tip.x - base.x) * half};
    canvas.fill(AM_Outline{tip,
                           {base.x + across.x, base.y + across.y},
                           {base.x - across.x, base.y - across.y}},
                getColour(0));
}
