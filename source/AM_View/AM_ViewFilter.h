// Base of the filters: controls without a picture that work on what their pane has drawn.
#pragma once

#include "AM_Colour.h"
#include "AM_Geometry.h"
#include "AM_Graphic.h"
#include "AM_GuiObject.h"
#include "AM_PixelView.h"

#include <initializer_list>
#include <vector>

class AM_Context;

// The thread of the editor.
class AM_ViewFilter : public AM_GuiObject {
public:
    // Tells the pane to run this on its offscreen buffer.
    static constexpr u32 k_runsOffscreen = 0x8000;

    u32 getObjectFlags() const { return objectFlags; }
    // Absolute view units, as the bounds of all controls.
    void setBounds(const AM_Rect& newBounds) { bounds = newBounds; }
    const AM_Rect& getBounds() const { return bounds; }
    // Those of the pane that owns this.
    void setParentBounds(const AM_Rect& newBounds) { parentBounds = newBounds; }
    const AM_Rect& getParentBounds() const { return parentBounds; }

    // The colour slots by number; null and "" for what is not there.
    i32 getNumColours() const { return static_cast<i32>(colours.size()); }
    const char* getColourName(i32 slot) const;
    // Null empties the slot. The colour has to outlive its use.
    void setColour(i32 slot, AM_Colour* colour);
    AM_Colour* getColour(i32 slot) const;

    // A row of the table by its name, as text; what is refused or unknown changes nothing and is
    // logged.
    virtual void setProperty(const char* property, i32 id, const char* value);
    // The rows in the order of the file.
    virtual void getProperties(AM_PropertyTable* table) = 0;

    // Draws nothing: a filter has no picture of its own.
    virtual void drawSelf(AM_Context*) {}
    // Called by the pane with its offscreen context when its children have drawn to it. A null
    // context and one without a buffer are left alone.
    virtual void applyFilter(AM_Context* context) = 0;
    virtual void paintShadow(AM_Context*) {}

protected:
    // Named by `nameFormat` with a number, 128 x 32, with the colour slots of a class.
    AM_ViewFilter(const char* nameFormat, i32 number,
                  std::initializer_list<const char*> colourSlots);

    // A part of a buffer.
    struct Area {
        AM_PixelView pixels;
        f32 left; // of the first pixel in the rectangle it is a part of, in view units
        f32 top;
        f32 scale; // pixels per view unit
    };
    // The filter's own rectangle or the parent's, as far as the context has it; without a parent
    // the whole buffer.
    Area areaOf(AM_Context& context, bool ofParent) const;

    struct ColourSlot {
        const char* name;
        AM_Colour* colour;
    };
    u32 objectFlags = k_runsOffscreen;
    AM_Rect bounds{0, 0, 128, 32};
    AM_Rect parentBounds{};
    std::vector<ColourSlot> colours;
};
