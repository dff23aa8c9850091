// The parts that the panels of a plot are made of.
#pragma once

#include "AM_Context.h"
#include "PlotAxis.h"

#include <string>
#include <vector>

class PlotPanel {
public:
    // `area` is what the axes enclose, at whole view units.
    PlotPanel(AM_Context& drawing, const AM_Rect& panelArea) : context(drawing), area(panelArea) {}

    const AM_Rect& getArea() const { return area; }
    PlotAxis horizontal(f64 from, f64 to, bool logarithmic = false) const {
        return {from, to, area.left, area.right(), logarithmic};
    }
    // Upward.
    PlotAxis vertical(f64 from, f64 to, bool logarithmic = false) const {
        return {from, to, area.bottom(), area.top, logarithmic};
    }

    void fillGround() const;
    // Above the area; what the panel shows, and how.
    void drawHeading(const std::string& text, const std::string& remark) const;
    // Lines across the area at the ticks, fainter where these have no label.
    void drawVerticalGrid(const PlotAxis& axis, const std::vector<PlotTick>& ticks,
                          u32 colour) const;
    void drawHorizontalGrid(const PlotAxis& axis, const std::vector<PlotTick>& ticks,
                            u32 colour) const;
    // Labels below, kept inside of the area's width and apart, and left of it.
    void drawLabelsBelow(const PlotAxis& axis, const std::vector<PlotTick>& ticks) const;
    void drawLabelsLeft(const PlotAxis& axis, const std::vector<PlotTick>& ticks) const;
    // A stroke, and below it a tint that fades to the bottom.
    void drawCurve(const std::vector<AM_Point>& points, u32 colour) const;
    void drawDashes(AM_Point from, AM_Point to, f32 width, u32 colour) const;
    void drawText(const std::string& text, const AM_Rect& rect, f32 size, u32 colour,
                  AM_TextAlign horizontal, AM_TextAlign vertical) const;

private:
    AM_Context& context;
    AM_Rect area;
};
