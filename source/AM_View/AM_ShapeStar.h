// A star that turns with the value.
#pragma once

#include "AM_Shape.h"

// Its tips lie on the circle that fits, the corners between them at half the way to the middle.
// `edgeBow` bows the edges out, or in below 0, by that part of half their length; `cornerRadius`
// is where the rounding of corners begins, away from them. Colour 0 is that of the area, 1 that of
// the outline.
class AM_ShapeStar : public AM_Shape {
public:
    static constexpr i32 k_maxEdges = 1024;

    const char* getTypeName() override { return "star shape"; }
    const char* getDefaultName() override { return "Star Shape #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    i32 getNumUsedColours() const override { return 2; }
    u32 getDefaultColour(i32 id) const override { return id == 0 ? 0xff8800ff : 0x404040ff; }

private:
    AM_Outline getOutline(const Canvas& canvas, f32 radius) const;

    f32 minAngle = 0;
    f32 maxAngle = 0;
    f32 numEdges = 5;
    f32 cornerRadius = 0;
    f32 edgeBow = 0;
    f32 outlineWidth = 0;
};
