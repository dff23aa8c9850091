// A triangle that goes round with the value: its tip lies on the outer radius, the middle of its
// base on the inner one, and its sides are equal.
#pragma once

#include "AM_Shape.h"

class AM_ShapeRotateTri : public AM_Shape {
public:
    const char* getTypeName() override { return "rotate tri"; }
    const char* getDefaultName() override { return "Rotate Tri #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    i32 getNumUsedColours() const override { return 1; }
    u32 getDefaultColour(i32) const override { return 0xff8800ff; }

private:
    f32 minAngle = -135;
    f32 maxAngle = 135;
    f32 innerRadius = 0.6f;
    f32 outerRadius = 0.95f;
};
