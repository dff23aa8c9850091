// A rectangle with round corners, a border, and a band along its top for a title.
#pragma once

#include "AM_RoundRect.h"

// Colour 2 is that of the band, which is `caption` high, the border included.
class AM_CaptionRect : public AM_RoundRect {
public:
    const char* getTypeName() override { return "captioned rect"; }
    const char* getDefaultName() override { return "Captioned Rect #%d"; }

protected:
    void paint(const Canvas& canvas) override;
    void addProperties(AM_PropertyTable* table) override;
    i32 getNumUsedColours() const override { return 3; }

private:
    f32 caption = 20;
};
