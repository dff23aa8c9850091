#include "PlotPanel.h"

#include "AM_Colour.h"
#include "PlotStyle.h"

#include <algorithm>
#include <cmath>

using namespace PlotStyle;

namespace {
constexpr f32 k_lineHeight = 18;
constexpr f32 k_labelGap = 8; // between area and labels, and at least between labels

// Through the middle of a pixel at whole scales.
f32 sharp(f32 place) {
    return std::floor(place) + 0.5f;
}
} // namespace

void PlotPanel::fillGround() const {
    context.setRGBA(k_panel);
    context.fillRect(area);
}

void PlotPanel::drawHeading(const std::string& text, const std::string& remark) const {
    const AM_Rect line{area.left, area.top - 7 - k_lineHeight, area.width, k_lineHeight};
    drawText(text, line, k_headingSize, k_heading, k_alignStart, k_alignEnd);
    const f32 used = std::ceil(context.getTextWidth(text.c_str())) + 10;
    // The same size, so that both stand on one line.
    drawText(remark, {line.left + used, line.top, line.width - used, line.height}, k_headingSize,
             k_remark, k_alignStart, k_alignEnd);
}

void PlotPanel::drawVerticalGrid(const PlotAxis& axis, const std::vector<PlotTick>& ticks,
                                 u32 colour) const {
    context.setLineWidth(1);
    for (const PlotTick& tick : ticks) {
        const u32 alpha = colour & 0xff;
        context.setRGBA((colour & ~0xffu) | (tick.label.empty() ? alpha / 2 : alpha));
        const f32 x = sharp(axis.place(tick.value));
        if (x > area.left + 1 && x < area.right() - 1)
            context.drawLine({x, area.top}, {x, area.bottom()});
    }
}

void PlotPanel::drawHorizontalGrid(const PlotAxis& axis, const std::vector<PlotTick>& ticks,
                                   u32 colour) const {
    context.setLineWidth(1);
    for (const PlotTick& tick : ticks) {
        const u32 alpha = colour & 0xff;
        context.setRGBA((colour & ~0xffu) | (tick.label.empty() ? alpha / 2 : alpha));
        const f32 y = sharp(axis.place(tick.value));
        if (y > area.top + 1 && y < area.bottom() - 1)
            context.drawLine({area.left, y}, {area.right(), y});
    }
}

void PlotPanel::drawLabelsBelow(const PlotAxis& axis, const std::vector<PlotTick>& ticks) const {
    f32 free = area.left - 100;
    for (const PlotTick& tick : ticks) {
        if (tick.label.empty()) continue;
        context.setFontSize(k_tickSize);
        const f32 width = std::ceil(context.getTextWidth(tick.label.c_str())) + 1;
        const f32 left = std::clamp(axis.place(tick.value) - width / 2, area.left,
                                    std::max(area.left, area.right() - width));
        if (left < free) continue;
        drawText(tick.label, {left, area.bottom() + 5, width, k_lineHeight}, k_tickSize, k_tickText,
                 k_alignStart, k_alignStart);
        free = left + width + k_labelGap;
    }
}

void PlotPanel::drawLabelsLeft(const PlotAxis& axis, const std::vector<PlotTick>& ticks) const {
    for (const PlotTick& tick : ticks) {
        const f32 y = axis.place(tick.value);
        drawText(tick.label, {area.left - 80, y - k_lineHeight / 2, 80 - k_labelGap, k_lineHeight},
                 k_tickSize, k_tickText, k_alignEnd, k_alignCentre);
    }
}

void PlotPanel::drawCurve(const std::vector<AM_Point>& points, u32 colour) const {
    if (points.size() < 2) return;
    std::vector<AM_Point> below = points;
    below.push_back({points.back().x, area.bottom()});
    below.push_back({points.front().x, area.bottom()});
    AM_Colour tint;
    tint.addStop(0, (colour & ~0xffu) | 0x50);
    tint.addStop(1, (colour & ~0xffu) | 0x06);
    context.pushClip(area);
    const AM_Point top{area.left, area.top};
    const AM_Point bottom{area.left, area.bottom()};
    context.setGradientAxis(&top, &bottom);
    context.setColour(&tint);
    context.fillPolygon(below.data(), static_cast<i32>(below.size()));
    context.setGradientAxis(nullptr, nullptr);
    context.resetColour();
    context.setRGBA(colour);
    context.strokeLines(points.data(), static_cast<i32>(points.size()), 1.6f);
    context.popClip();
}

void PlotPanel::drawDashes(AM_Point from, AM_Point to, f32 width, u32 colour) const {
    constexpr f32 dash = 5;
    const f32 length = std::hypot(to.x - from.x, to.y - from.y);
    if (!(length > 0)) return;
    const f32 x = (to.x - from.x) / length;
    const f32 y = (to.y - from.y) / length;
    context.setRGBA(colour);
    context.setLineWidth(width);
    for (f32 at = 0; at < length; at += 2 * dash) {
        const f32 until = std::min(at + dash, length);
        context.drawLine({from.x + at * x, from.y + at * y},
                         {from.x + until * x, from.y + until * y});
    }
}

void PlotPanel::drawText(const std::string& text, const AM_Rect& rect, f32 size, u32 colour,
                         AM_TextAlign horizontal, AM_TextAlign vertical) const {
    context.setFontSize(size);
    context.setRGBA(colour);
    context.drawText(text.c_str(), rect, horizontal, vertical);
}
