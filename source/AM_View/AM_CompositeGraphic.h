// A graphic made of others.
#pragma once

#include "AM_Graphic.h"

// Draws the graphics that its layers name, the first one at the bottom, all in its own rectangle.
// Names are looked up in the list that the graphic stands in, when it is drawn. A layer that is a
// composite itself is left out, so that none can be its own layer.
class AM_CompositeGraphic : public AM_Graphic {
public:
    static constexpr i32 k_numLayers = 16;

    AM_CompositeGraphic();
    const char* getTypeName() override { return "comp"; }
    void drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 value) override;
    bool hits(const AM_Rect& rect, AM_Point at, f32 value) override;
    // "layer" id 0 to 15, the names.
    void getProperties(AM_PropertyTable* table) override;

private:
    AM_Graphic* getLayer(i32 index) const;

    char layers[k_numLayers][k_maxName] = {};
};
