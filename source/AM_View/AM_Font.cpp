#include "AM_Font.h"

#include <algorithm>

AM_Font::AM_Font(const char* newName, f32 newSize) {
    AM_GuiObject::setName(newName);
    AM_Font::setSize(newSize);
}

void AM_Font::setSize(f32 newSize) {
    // Not a number changes nothing.
    if (newSize == newSize) size = std::clamp(newSize, 1.0f, 1000.0f);
}
