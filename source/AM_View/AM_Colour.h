// A named colour, or a gradient of its children.
#pragma once

#include "AM_GuiObject.h"

#include <vector>

// Four floats, 0 to 1, the colour not multiplied with the alpha.
struct AM_Rgba {
    f32 r = 0;
    f32 g = 0;
    f32 b = 0;
    f32 a = 1;

    // As scripts write them: red in the top byte, alpha in the low one.
    static AM_Rgba fromWord(u32 rgba);
    // Each channel clamped, times 255 plus 0.5.
    u32 toWord() const;
};

// Hue 0 to 360, saturation and value 0 to 1.
struct AM_Hsv {
    f32 hue = 0;
    f32 saturation = 0;
    f32 value = 0;
};
// The six-sector formula: the value is the largest channel, the saturation (max - min) / max.
AM_Hsv AM_toHsv(const AM_Rgba& rgba);
AM_Rgba AM_fromHsv(const AM_Hsv& hsv, f32 alpha);

// The thread of the editor.
class AM_Colour : public AM_GuiObject {
public:
    explicit AM_Colour(const char* name = "", u32 rgba = 0x000000ff);

    virtual void setValue(u32 rgba);
    virtual u32 getValue();
    // Not finite channels count as 0; all are clamped to 0..1.
    virtual void setRgba(const AM_Rgba& rgba);
    const AM_Rgba& getRgba() const { return rgba; }
    const AM_Hsv& getHsv() const { return hsv; }
    // The place as a stop of a gradient, clamped to 0..1.
    virtual void setLocation(f32 location);
    f32 getLocation() const { return location; }
    void setGradientElement(bool is) { gradientElement = is; }
    bool isGradientElement() const { return gradientElement; }

    // Adds a gradient element, which belongs to this colour.
    void addStop(f32 location, u32 rgba);
    // A colour with gradient elements among its children is a gradient.
    bool isGradient() const;
    // The stops by location; one without stops has itself at 0.
    struct Stop {
        f32 location;
        AM_Rgba rgba;
    };
    std::vector<Stop> getStops() const;
    // The colour at `x`: between a stop at or below and one above, the mix by distance, else that
    // of the nearest stop; of a flat colour, itself.
    AM_Rgba at(f32 x) const;

    // Adds to the hue, which wraps, and multiplies saturation and value, which are clamped.
    virtual void shiftHSV(f32 hue, f32 saturation, f32 value);
    // Each channel becomes (1 - a) * this + a * k * other, clamped at 1: a is the other's alpha, k
    // the norm of this rgb over the other's (1 if that is black).
    virtual void tint(const AM_Colour& other);

private:
    AM_Rgba rgba;
    AM_Hsv hsv;
    f32 location = 0;
    bool gradientElement = false;
};
