// A named font and its size.
#pragma once

#include "AM_GuiObject.h"

#include <string>

class AM_Font : public AM_GuiObject {
public:
    explicit AM_Font(const char* name = "", f32 size = 12);

    // View units from line to line of text; held at 1 to 1000.
    virtual void setSize(f32 newSize);
    f32 getSize() const { return size; }
    // The file, looked for once, by the drawing context that uses the font first; empty until then.
    std::string path;

private:
    f32 size = 12;
};
