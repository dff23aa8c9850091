#include "AM_ShapeOutline.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr f32 k_pi = 3.14159265358979f;
constexpr f32 k_maxPoints = 2048; // of one arc or curve

} // namespace

AM_Point AM_ShapeOutline::onCircle(AM_Point centre, f32 radius, f32 angle) {
    const f32 radians = angle * (k_pi / 180);
    return {centre.x + radius * std::sin(radians), centre.y - radius * std::cos(radians)};
}

void AM_ShapeOutline::addArc(AM_Outline* outline, AM_Point centre, f32 radius, f32 start, f32 end,
                             f32 tolerance) {
    const f32 sweep = std::abs(end - start) * (k_pi / 180);
    // A chord over the angle a stays r * (1 - cos(a / 2)) below its arc.
    const f32 step =
        radius > tolerance ? 2 * std::acos(std::max(1 - tolerance / radius, -1.0f)) : k_pi / 2;
    const i32 count = static_cast<i32>(std::clamp(std::ceil(sweep / step), 1.0f, k_maxPoints));
    for (i32 i = 0; i <= count; ++i)
        outline->push_back(onCircle(
            centre, radius, start + (end - start) * static_cast<f32>(i) / static_cast<f32>(count)));
}

void AM_ShapeOutline::addCurve(AM_Outline* outline, AM_Point from, AM_Point control, AM_Point to,
                               f32 tolerance) {
    // The largest distance from a chord over 1 / n of the curve is |second difference| / (4 n n).
    const f32 bend = std::hypot(from.x - 2 * control.x + to.x, from.y - 2 * control.y + to.y) / 4;
    const i32 count =
        static_cast<i32>(std::clamp(std::ceil(std::sqrt(bend / tolerance)), 1.0f, k_maxPoints));
    for (i32 i = 1; i <= count; ++i) {
        const f32 t = static_cast<f32>(i) / static_cast<f32>(count), u = 1 - t;
        outline->push_back({u * u * from.x + 2 * u * t * control.x + t * t * to.x,
                            u * u * from.y + 2 * u * t * control.y + t * t * to.y});
    }
}

AM_Path AM_ShapeOutline::ring(AM_Point centre, f32 inner, f32 outer, f32 start, f32 arc,
                              f32 tolerance) {
    if (inner > outer) std::swap(inner, outer);
    inner = std::max(inner, 0.0f);
    AM_Path path;
    if (!(outer > inner) || arc == 0) return path;
    if (std::abs(arc) >= 359.6f) {
        AM_Outline outside, hole;
        addArc(&outside, centre, outer, 0, 360, tolerance);
        if (inner > 0) addArc(&hole, centre, inner, 0, 360, tolerance);
        return between(std::move(outside), std::move(hole));
    }
    AM_Outline sector;
    addArc(&sector, centre, outer, start, start + arc, tolerance);
    if (inner > 0)
        addArc(&sector, centre, inner, start + arc, start, tolerance);
    else
        sector.push_back(centre);
    path.polygons.push_back(std::move(sector));
    return path;
}

AM_Outline AM_ShapeOutline::roundRect(const AM_Rect& rect, f32 radius, f32 tolerance) {
    const f32 r = std::clamp(radius, 0.0f, std::max(std::min(rect.width, rect.height) / 2, 0.0f));
    const f32 left = rect.left + r, right = rect.right() - r, top = rect.top + r,
              bottom = rect.bottom() - r;
    AM_Outline outline;
    if (!(r > 0)) return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    addArc(&outline, {left, top}, r, -90, 0, tolerance);
    addArc(&outline, {right, top}, r, 0, 90, tolerance);
    addArc(&outline, {right, bottom}, r, 90, 180, tolerance);
    addArc(&outline, {left, bottom}, r, 180, 270, tolerance);
    return outline;
}

AM_Outline AM_ShapeOutline::above(const AM_Outline& outline, f32 y) {
    AM_Outline kept;
    for (size_t i = 0; i < outline.size(); ++i) {
        const AM_Point from = outline[i], to = outline[(i + 1) % outline.size()];
        if (from.y <= y) kept.push_back(from);
        if ((from.y <= y) != (to.y <= y))
            kept.push_back({from.x + (to.x - from.x) * (y - from.y) / (to.y - from.y), y});
    }
    return kept;
}

AM_Path AM_ShapeOutline::between(AM_Outline outer, AM_Outline inner) {
    AM_Path path;
    path.polygons.push_back(std::move(outer));
    // The other way round, so that it is a hole by every rule of filling.
    std::reverse(inner.begin(), inner.end());
    if (!inner.empty()) path.polygons.push_back(std::move(inner));
    return path;
}
