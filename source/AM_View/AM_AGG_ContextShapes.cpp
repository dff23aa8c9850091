// Paint, lines and areas of the drawing context.
#include "AM_AGG_Context.h"
#include "AM_AGG_ContextTools.h"
#include "AM_ScanlineGradient.h"

#include <algorithm>
#include <numbers>

namespace {
constexpr f64 k_fullSweep = 359.6; // degrees
constexpr f64 k_maxStroke = 20000; // pixels
constexpr f64 k_flatness = 0.02;   // pixels between an arc and its polygon

// How much of the pixel from i to i + 1 lies between two edges, 0 to 1.
f64 share(i32 i, f64 from, f64 to) {
    return std::max(std::min<f64>(i + 1, to) - std::max<f64>(i, from), 0.0);
}
} // namespace

// --- paint ----------------------------------------------------------------------------

void AM_AGG_Context::setPaint(const f32* rgba) {
    if (rgba) setRGBAF(rgba[0], rgba[1], rgba[2], rgba[3]);
}

void AM_AGG_Context::setRGBAF(f32 r, f32 g, f32 b, f32 a) {
    plain.setRgba({r, g, b, a});
    paint = &plain;
}

void AM_AGG_Context::setRGBA(u32 rgba) {
    constexpr f32 step = 0.003921569f;
    setRGBAF(static_cast<f32>(rgba >> 24) * step, static_cast<f32>(rgba >> 16 & 255) * step,
             static_cast<f32>(rgba >> 8 & 255) * step, static_cast<f32>(rgba & 255) * step);
}

void AM_AGG_Context::setColour(const AM_Colour* colour) {
    if (!colour) {
        paint = nullptr;
    } else if (colour == &plain) {
        paint = &plain;
    } else if (colour->isGradient()) {
        plain.setRgba(colour->getStops().front().rgba);
        paint = colour;
    } else {
        plain.setRgba(colour->getRgba());
        paint = &plain;
    }
}

AM_Pixel AM_AGG_Context::getPixelColour() const {
    const u32 word = plain.getRgba().toWord();
    return {static_cast<u8>(word >> 24), static_cast<u8>(word >> 16), static_cast<u8>(word >> 8),
            static_cast<u8>(word)};
}

AM_Path& AM_AGG_Context::getPath() {
    path.polygons.clear();
    return path;
}

void AM_AGG_Context::setLineWidth(f32 newWidth) {
    if (std::isfinite(newWidth)) lineWidth = std::max(newWidth, 0.f);
}

void AM_AGG_Context::setGradientAxis(const AM_Point* from, const AM_Point* to) {
    hasAxis = from && to && AM_areFinite(from->x, from->y, to->x, to->y);
    if (!hasAxis) return;
    axisFrom = *from;
    axisTo = *to;
}

// --- making shapes --------------------------------------------------------------------

void AM_AGG_Context::beginShape() {
    tools->points.clear();
    tools->ends.clear();
}

void AM_AGG_Context::addPoint(AM_DevicePoint point) {
    tools->points.push_back(point);
}

void AM_AGG_Context::endPolygon() {
    const size_t start = tools->ends.empty() ? 0 : tools->ends.back();
    const bool finite =
        std::all_of(tools->points.begin() + static_cast<i64>(start), tools->points.end(),
                    [](const AM_DevicePoint& p) { return AM_areFinite(p.x, p.y); });
    if (!finite || tools->points.size() < start + 3)
        tools->points.resize(start);
    else
        tools->ends.push_back(tools->points.size());
}

void AM_AGG_Context::addPoints(const AM_Point* points, i32 count) {
    for (i32 i = 0; i < count; ++i)
        addPoint(toDevice(points[i]));
    endPolygon();
}

void AM_AGG_Context::addRect(f64 left, f64 top, f64 right, f64 bottom) {
    addPoint({left, top});
    addPoint({right, top});
    addPoint({right, bottom});
    addPoint({left, bottom});
    endPolygon();
}

// Points from `start` to `end`, in either direction, close enough to look round.
void AM_AGG_Context::addArc(AM_DevicePoint centre, f64 radius, f64 start, f64 end) {
    const f64 step = 2 * std::acos(1 - std::min(k_flatness / std::max(radius, 0.1), 0.2));
    constexpr f64 toRadians = std::numbers::pi / 180;
    const f64 sweep = (end - start) * toRadians;
    const i32 count = static_cast<i32>(
        std::clamp(std::ceil(std::abs(sweep) / std::max(step, 1e-6)), 2.0, 2048.0));
    for (i32 i = 0; i <= count; ++i) {
        const f64 angle = start * toRadians + sweep * i / count;
        addPoint({centre.x + radius * std::sin(angle), centre.y - radius * std::cos(angle)});
    }
}

void AM_AGG_Context::addRing(AM_DevicePoint centre, f64 inner, f64 outer) {
    addArc(centre, outer, 0, 360);
    tools->points.pop_back(); // the first point again
    endPolygon();
    if (inner <= 0) return;
    addArc(centre, inner, 360, 0);
    tools->points.pop_back();
    endPolygon();
}

// --- filling them ---------------------------------------------------------------------

bool AM_AGG_Context::shapeIsOutside() const {
    if (tools->ends.empty() || pixelClip.isEmpty()) return true;
    const auto [left, right] =
        std::minmax_element(tools->points.begin(), tools->points.end(),
                            [](const auto& a, const auto& b) { return a.x < b.x; });
    const auto [top, bottom] =
        std::minmax_element(tools->points.begin(), tools->points.end(),
                            [](const auto& a, const auto& b) { return a.y < b.y; });
    return left->x >= pixelClip.right || right->x <= pixelClip.left || top->y >= pixelClip.bottom ||
           bottom->y <= pixelClip.top;
}

void AM_AGG_Context::fillFlat(const AM_Rgba& colour) {
    if (shapeIsOutside()) return;
    const u32 word = colour.toWord();
    const AM_Pixel pixel{static_cast<u8>(word >> 24), static_cast<u8>(word >> 16),
                         static_cast<u8>(word >> 8), static_cast<u8>(word)};
    tools->raster.begin(pixelClip);
    size_t start = 0;
    for (const size_t end : tools->ends) {
        tools->raster.addPolygon(tools->points.data() + start, end - start);
        start = end;
    }
    tools->raster.draw(pixels, pixel, true);
}

void AM_AGG_Context::fillGradient(const AM_Colour& gradient) {
    if (shapeIsOutside()) return;
    AM_ScanlineFiller& filler = tools->filler;
    filler.begin();
    size_t start = 0;
    for (const size_t end : tools->ends) {
        filler.addPolygon(tools->points.data() + start, end - start);
        start = end;
    }
    const AM_ScanlineFiller::Bounds bounds = filler.getBounds();
    AM_ScanlineGradient::Axis axis{{0, bounds.top}, {0, bounds.bottom}};
    if (hasAxis) axis = {toDevice(axisFrom), toDevice(axisTo)};
    AM_ScanlineGradient sink(gradient, axis, pixels);
    const AM_ScanlineFiller::Findings findings = filler.fill(pixelClip, sink);
    if (findings.bridges && saidBridges.first()) AM_Log("found bridge segments");
    if (findings.uneven && saidUneven.first())
        AM_Log("Ugh, an uneven number of crossing lines on this");
    if (!sink.stopsAreInOrder() && saidStops.first()) AM_Log("Gradient stops out of order or same");
}

void AM_AGG_Context::fillShape() {
    if (!paint) return;
    if (paint->isGradient())
        fillGradient(*paint);
    else
        fillFlat(paint->getRgba());
}

void AM_AGG_Context::fillPath(const AM_Path& area, const AM_Colour& colour) {
    beginShape();
    for (const std::vector<AM_Point>& polygon : area.polygons)
        addPoints(polygon.data(), static_cast<i32>(polygon.size()));
    if (colour.isGradient())
        fillGradient(colour);
    else
        fillFlat(colour.getRgba());
}

void AM_AGG_Context::fillPathGradient(const AM_Path& area, const AM_Colour& gradient) {
    beginShape();
    for (const std::vector<AM_Point>& polygon : area.polygons)
        addPoints(polygon.data(), static_cast<i32>(polygon.size()));
    fillGradient(gradient);
}

bool AM_AGG_Context::beginPolygon(const AM_Point* points, i32 count) {
    if (!paint) AM_Log("PaintColour is NULL");
    if (!paint || !points || count < 3) return false;
    beginShape();
    addPoints(points, count);
    return true;
}

void AM_AGG_Context::fillPolygon(const AM_Point* points, i32 count) {
    if (beginPolygon(points, count)) fillShape();
}

void AM_AGG_Context::fillPolygonGradient(const AM_Point* points, i32 count) {
    if (beginPolygon(points, count)) fillGradient(*paint);
}

void AM_AGG_Context::fillRect(const AM_Rect& rect) {
    if (!paint || rect.isEmpty() || isClippedAway(rect)) return;
    const AM_DevicePoint from = toDevice(AM_Point{rect.left, rect.top});
    const AM_DevicePoint to{from.x + f64(rect.width) * scale, from.y + f64(rect.height) * scale};
    if (paint->isGradient()) {
        beginShape();
        addRect(from.x, from.y, to.x, to.y);
        fillGradient(*paint);
        return;
    }
    // No rasteriser is needed: a pixel's coverage is that of its column times that of its row.
    const auto held = [](f64 x) { return static_cast<i32>(std::clamp(x, -1e6, 1e6)); };
    const i32 left = std::max(held(std::floor(from.x)), pixelClip.left);
    const i32 right = std::min(held(std::ceil(to.x)), pixelClip.right);
    const i32 top = std::max(held(std::floor(from.y)), pixelClip.top);
    const i32 bottom = std::min(held(std::ceil(to.y)), pixelClip.bottom);
    if (left >= right) return;
    const AM_Pixel colour = getPixelColour();
    const auto cover = [](f64 part) { return static_cast<u32>(part * 255 + 0.5); };
    for (i32 y = top; y < bottom; ++y) {
        const f64 row = share(y, from.y, to.y);
        u8* pixel = pixels.row(y) + left * 4;
        AM_blendPixel(pixel, colour, cover(row * share(left, from.x, to.x)));
        if (right - left < 2) continue;
        AM_blendSolid(pixel + 4, right - left - 2, colour, cover(row));
        AM_blendPixel(pixel + (right - left - 1) * 4, colour,
                      cover(row * share(right - 1, from.x, to.x)));
    }
}

void AM_AGG_Context::fillArc(AM_Point centre, f32 inner, f32 outer, f32 start, f32 end) {
    if (!AM_areFinite(centre.x, centre.y, inner, outer, start, end)) return;
    if (!paint || inner == outer) return;
    const f32 large = std::max(inner, outer);
    if (!(large > 0) || isClippedAway({centre.x - large, centre.y - large, large * 2, large * 2}))
        return;
    f64 sweep = f64(end) - start;
    if (sweep < 0) sweep = std::fmod(sweep, 360.0) + 360; // clockwise past the top
    if (sweep <= 0) return;
    const AM_DevicePoint middle = toDevice(centre);
    const f64 far = f64(large) * scale;
    const f64 near = std::max(std::min(inner, outer), 0.f) * f64(scale);
    beginShape();
    if (sweep >= k_fullSweep) {
        addRing(middle, near, far);
    } else {
        const f64 from = std::fmod(f64(start), 360.0);
        addArc(middle, far, from, from + sweep);
        if (near > 0)
            addArc(middle, near, from + sweep, from);
        else
            addPoint(middle);
        endPolygon();
    }
    fillShape();
}

// --- strokes --------------------------------------------------------------------------

void AM_AGG_Context::lineTo(AM_Point to) {
    drawLine(pen, to);
    pen = to;
}

void AM_AGG_Context::drawLine(AM_Point from, AM_Point to) {
    const AM_Point points[2] = {from, to};
    strokeLines(points, 2, lineWidth);
}

void AM_AGG_Context::strokeLines(const AM_Point* points, i32 count, f32 width) {
    if (!points || count < 2 || pixelClip.isEmpty() || !(width > 0)) return;
    std::vector<AM_DevicePoint>& line = tools->points;
    beginShape();
    for (i32 i = 0; i < count; ++i)
        if (AM_areFinite(points[i].x, points[i].y)) line.push_back(toDevice(points[i]));
    tools->raster.begin(pixelClip);
    tools->raster.addStroke(line.data(), line.size(), std::min(f64(width) * scale, k_maxStroke));
    tools->raster.draw(pixels, getPixelColour(), false);
}

void AM_AGG_Context::strokeRect(const AM_Rect& rect, f32 width) {
    if (!AM_isFinite(rect) || !std::isfinite(width) || !(width > 0)) return;
    if (rect.width < 0 || rect.height < 0) return;
    const f32 half = width / 2;
    if (isClippedAway({rect.left - half, rect.top - half, rect.width + width, rect.height + width}))
        return;
    const AM_DevicePoint from = toDevice(AM_Point{rect.left, rect.top});
    const AM_DevicePoint to{from.x + f64(rect.width) * scale, from.y + f64(rect.height) * scale};
    const f64 h = f64(half) * scale;
    beginShape();
    addRect(from.x - h, from.y - h, to.x + h, to.y + h);
    if (rect.width > width && rect.height > width)
        addRect(from.x + h, from.y + h, to.x - h, to.y - h);
    fillFlat(plain.getRgba());
}

void AM_AGG_Context::strokeCircle(AM_Point centre, f32 radius, f32 width) {
    if (!AM_areFinite(centre.x, centre.y, radius, width) || radius < 0 || !(width > 0)) return;
    const f32 outer = radius + width / 2;
    if (isClippedAway({centre.x - outer, centre.y - outer, outer * 2, outer * 2})) return;
    beginShape();
    addRing(toDevice(centre), std::max(f64(radius) - width / 2, 0.0) * scale, f64(outer) * scale);
    fillFlat(plain.getRgba());
}
