// The colours of an editor.
#pragma once

#include "AM_Colour.h"

#include <string>

// The root of a tree of colours, whose own children are stops. The thread of the editor.
class AM_ColoursList : public AM_GuiObject {
public:
    static constexpr u32 k_maxColours = 4096; // and stops of one of them
    // Makes the colours that every script can name; those up to "greyC0" are not saved.
    void addBuiltIns();
    // The colour, not a stop, of exactly this name; null if there is none.
    AM_Colour* findColour(const char* colourName) const;
    // Gives a colour a value, a new one if there is none of the name. Null for an empty name, for a
    // value of zero and for one colour too many, which is logged; it does nothing then.
    AM_Colour* setColour(const char* colourName, u32 rgba);
    // The same for a stop of the colour `parentName`, which has to be there.
    AM_Colour* setElement(const char* elementName, const char* parentName, u32 rgba, f32 location);
    // The statements that make the colours again, appended to `script`.
    void write(std::string* script) const;
};
