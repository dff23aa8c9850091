// A rectangle with round corners, a border, and a soft shadow below it.
#pragma once

#include "AM_RoundRect.h"

// The box is as much smaller than its rectangle as the shadow needs. Colour 2 is that of the
// shadow, black if it is not set.
class AM_LolliRect : public AM_RoundRect {
public:
    const char* getTypeName() override { return "lolli rect"; }
    const char* getDefaultName() override { return "Lolli Rect #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    i32 getNumUsedColours() const override { return 3; }
    u32 getDefaultColour(i32 id) const override;

private:
    void paintShadow(const Canvas& canvas, const AM_Rect& box, f32 size) const;

    f32 shadowSize = 8;
    f32 shadowAlpha = 0.5f;
};
