#include "AM_ShapeStar.h"

#include <cmath>

namespace {

AM_Point between(AM_Point a, AM_Point b, f32 amount) {
    return {a.x + (b.x - a.x) * amount, a.y + (b.y - a.y) * amount};
}

} // namespace

void AM_ShapeStar::addProperties(AM_PropertyTable* table) {
    table->push_back(row("minAngle", &minAngle, -3600, 3600, 0));
    table->push_back(row("maxAngle", &maxAngle, -3600, 3600, 0));
    table->push_back(row("numEdges", &numEdges, 2, k_maxEdges, 5));
    table->push_back(row("cornerRadius", &cornerRadius, 0, 1, 0));
    table->push_back(row("edgeBow", &edgeBow, -1, 1, 0));
    table->push_back(row("outlineWidth", &outlineWidth, 0, 1, 0));
}

AM_Outline AM_ShapeStar::getOutline(const Canvas& canvas, f32 radius) const {
    const i32 count = 2 * static_cast<i32>(std::lround(numEdges));
    const f32 angle = minAngle + canvas.value * (maxAngle - minAngle);
    const auto corner = [&](i32 i) {
        return AM_ShapeOutline::onCircle(canvas.centre(), i % 2 == 0 ? radius : radius / 2,
                                         angle +
                                             360 * static_cast<f32>(i) / static_cast<f32>(count));
    };
    AM_Outline outline;
    AM_Point from = corner(0);
    const AM_Point next = corner(1);
    const f32 length = std::hypot(next.x - from.x, next.y - from.y);
    // Of an edge, up to its middle.
    const f32 cut = length > 0 ? std::min(cornerRadius * canvas.radius() / length, 0.5f) : 0;
    for (i32 i = 0; i < count; ++i) {
        const AM_Point to = corner(i + 1), behind = corner(i + 2);
        const AM_Point begin = between(from, to, cut), end = between(from, to, 1 - cut);
        // Outwards lies at the left of the way, which goes clockwise.
        const f32 bow = edgeBow / 2 * (1 - 2 * cut);
        const AM_Point middle = between(from, to, 0.5f);
        outline.push_back(begin);
        AM_ShapeOutline::addCurve(
            &outline, begin, {middle.x + (to.y - from.y) * bow, middle.y - (to.x - from.x) * bow},
            end, canvas.tolerance);
        if (cut > 0)
            AM_ShapeOutline::addCurve(&outline, end, to, between(to, behind, cut),
                                      canvas.tolerance);
        from = to;
    }
    return outline;
}

void AM_ShapeStar::paint(const Canvas& canvas) {
    const f32 line = outlineWidth * canvas.radius();
    AM_Outline outline = getOutline(canvas, std::max(canvas.radius() - line / 2, 0.0f));
    canvas.fill(outline, getColour(0));
    if (!(line > 0)) return;
    // The stroke goes past its start, which closes it.
    outline.push_back(outline[0]);
    outline.push_back(outline[1]);
    canvas.context->setColour(&getColour(1));
    canvas.context->strokeLines(outline.data(), static_cast<i32>(outline.size()), line);
    canvas.context->resetColour();
}
