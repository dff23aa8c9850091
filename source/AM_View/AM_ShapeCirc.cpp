#include "AM_ShapeCirc.h"

void AM_ShapeCirc::addProperties(AM_PropertyTable* table) {
    constexpr f32 standardAngles[] = {-135, 0, -135, 270},
                  standardRadii[] = {0.7f, 0.95f, 0.7f, 0.95f};
    for (i32 i = 0; i < 4; ++i)
        table->push_back(row("angles", &angles[i], -3600, 3600, standardAngles[i]));
    for (i32 i = 0; i < 4; ++i)
        table->push_back(row("radius", &radii[i], 0, 2, standardRadii[i]));
}

void AM_ShapeCirc::paint(const Canvas& canvas) {
    const auto ringAt = [&](f32 value, f32* outer) {
        const auto between = [value](const f32* pairs, i32 i) {
            return pairs[i] + value * (pairs[i + 2] - pairs[i]);
        };
        const f32 r = canvas.radius();
        *outer = std::max(between(radii, 0), between(radii, 1)) * r;
        return AM_ShapeOutline::ring(canvas.centre(), between(radii, 0) * r, between(radii, 1) * r,
                                     between(angles, 0), between(angles, 1), canvas.tolerance);
    };
    const auto fill = [&](f32 value, i32 id) {
        f32 outer = 0;
        const AM_Path path = ringAt(value, &outer);
        const AM_Point centre = canvas.centre(), top{centre.x, centre.y - outer},
                       bottom{centre.x, centre.y + outer};
        canvas.context->setGradientAxis(&top, &bottom);
        canvas.fill(path, getColour(id));
    };
    if (hasColour(1)) fill(1, 1);
    fill(canvas.value, 0);
    canvas.context->setGradientAxis(nullptr, nullptr);
}
