// A sector of a ring that grows and turns with the value.
#pragma once

#include "AM_Shape.h"

// Colour 0 is that of the sector; colour 1, if it is set, lies under it as far as the sector gets
// at value 1. Gradients run from the top of the whole ring to its bottom.
class AM_ShapeCirc : public AM_Shape {
public:
    const char* getTypeName() override { return "circ"; }
    const char* getDefaultName() override { return "Circ #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    i32 getNumUsedColours() const override { return 2; }
    const char* getDefaultColourName() override { return "defaultCirc%d"; }
    u32 getDefaultColour(i32 id) const override { return id == 0 ? 0xff8800ff : 0x40404080; }

private:
    f32 angles[4] = {-135, 0, -135, 270};      // start and arc at value 0, the same at 1
    f32 radii[4] = {0.7f, 0.95f, 0.7f, 0.95f}; // inner and outer at value 0, the same at 1
};
