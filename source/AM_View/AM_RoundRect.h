// A rectangle with round corners and a border inside of its edge.
#pragma once

#include "AM_Shape.h"

// Colour 0 is that of the area, 1 that of the border.
class AM_RoundRect : public AM_Shape {
public:
    const char* getTypeName() override { return "rounded rect"; }
    const char* getDefaultName() override { return "Rounded Rect #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    bool showsValue() const override { return false; }
    bool isAligned() const override { return true; }
    i32 getNumUsedColours() const override { return 2; }
    u32 getDefaultColour(i32 id) const override;

    // The parts, one after the other; `band` is the height of a strip at the top in colour 2.
    void paintBox(const Canvas& canvas, const AM_Rect& rect, f32 band) const;

    f32 cornerRadius = 8;
    f32 border = 1;
};
