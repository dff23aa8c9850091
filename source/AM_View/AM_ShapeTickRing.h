// The ticks around a knob.
#pragma once

#include "AM_Shape.h"

// Ticks stand from the minimal to the maximal angle; a full turn has no two at one place. The
// first, the middle and the last one divide the ring: divWidth and divLen, where they are not 0,
// are width and length of these. `shape` 0 has lines from the outer radius inwards, 1 dots as wide
// as ticks, halfway. Colour 0 is that of ticks; colour 1, if it is set, of those that the value has
// reached; colour 2, if it is set, of dividing ones that it has not.
class AM_ShapeTickRing : public AM_Shape {
public:
    static constexpr i32 k_maxTicks = 1024;

    const char* getTypeName() override { return "tick ring"; }
    const char* getDefaultName() override { return "Tick Ring #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    bool showsValue() const override { return hasColour(1); }
    i32 getNumUsedColours() const override { return 3; }
    u32 getDefaultColour(i32) const override { return 0x606060ff; }

private:
    AM_Path getTick(const Canvas& canvas, f32 angle, bool divides) const;

    f32 minAngle = -135;
    f32 maxAngle = 135;
    f32 numTicks = 11;
    f32 innerRadius = 0.8f;
    f32 outerRadius = 0.95f;
    f32 tickWidth = 0.04f;
    f32 divWidth = 0;
    f32 divLen = 0;
    f32 dots = 0;
};
