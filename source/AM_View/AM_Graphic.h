// What a control paints with: bitmaps, strips of them, and shapes.
#pragma once

#include "AM_Geometry.h"
#include "AM_GuiObject.h"

#include <string>
#include <vector>

class AM_Context;
class AM_GraphicsList;

// A row of the properties that a graphic or a filter has; `value` points into the object.
struct AM_Property {
    enum Kind : i32 { k_float = 0, k_int = 1, k_text = 2, k_bool = 3 };
    i32 kind;
    char name[36];
    const char (*labels)[32]; // for an integer that is shown as a text, else null
    void* value;              // f32, i32, char[capacity] or bool
    f32 minimum;
    f32 maximum;
    f32 standard;     // nothing is saved while the value is this
    f32 step;         // below 0.01 files have five decimals
    i32 capacity = 0; // bytes of a text with its zero
};
using AM_PropertyTable = std::vector<AM_Property>;

// Reads `text` into a row: numbers clamped to the row's range (what is none is refused), an integer
// with labels by its label (one that is unknown or outside of the range gives the standard), a bool
// by "YES". A text is cut to the row's capacity. False if it is refused.
bool AM_setProperty(const AM_Property& row, const char* text);

// The thread of the editor, but for what says otherwise. Drawing never fails: what can't be drawn
// is left out.
class AM_Graphic : public AM_GuiObject {
public:
    AM_Graphic();

    // The control that hears of animation, or null.
    virtual void setControl(AM_GuiObject* newControl);
    virtual bool getHasAlpha() { return hasAlpha; }
    // "no type" in the base.
    virtual const char* getTypeName();
    // How one without a name is called in a list, with "%d" for a number; empty for not at all.
    virtual const char* getDefaultName();
    // View units, set to at most 4096; what is not finite changes nothing.
    virtual f32 getWidth() { return width; }
    virtual f32 getHeight() { return height; }
    virtual void setWidth(f32 newWidth);
    virtual void setHeight(f32 newHeight);
    virtual bool isScalable() { return scalable; }
    // Reads what has to be read; 0, or 1 after a logged failure. What is there already is kept.
    virtual i32 load() { return 0; }
    // At a point in its own size, or in a rectangle. `value` 0 to 1 picks frame or shape.
    virtual void draw(AM_Context* context, AM_Point at, f32 alpha, f32 value);
    virtual void drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 value);
    // True if the graphic, drawn in `rect`, shows something at `at`. In the base all of the
    // rectangle counts.
    virtual bool hits(const AM_Rect& rect, AM_Point at, f32 value);
    // The statements that make this graphic again, appended to `script`: none for an immutable one,
    // and for a name that can't stand in a script, which is logged.
    virtual void write(std::string* script);
    // "width", "height", "scalable" and the rows of the table; `id` picks one of rows of the same
    // name, or of colours. An unknown name is logged by shapes as "huh?".
    virtual void setProperty(const char* name, i32 id, const char* value);
    // The rows in the order of the file; those of one name stand side by side.
    virtual void getProperties(AM_PropertyTable* table);

    // The folder that it belongs to: 0 that of the plain script, else a theme.
    void setThemeIndex(i32 index) { themeIndex = index; }
    i32 getThemeIndex() const { return themeIndex; }
    // The list that this stands in, itself or as a part of something; null outside of one.
    AM_GraphicsList* getList() const;

protected:
    // What setProperty does; false for an unknown name.
    bool changeProperty(const char* property, i32 id, const char* value);

    i32 themeIndex = 0;
    f32 width = 0;
    f32 height = 0;
    bool scalable = false;
    bool hasAlpha = true;
    i32 frameCount = 1;
    AM_GuiObject* control = nullptr;
};
