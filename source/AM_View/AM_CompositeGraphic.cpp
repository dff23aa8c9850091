#include "AM_CompositeGraphic.h"

#include "AM_GraphicsList.h"

AM_CompositeGraphic::AM_CompositeGraphic() {
    scalable = true;
}

AM_Graphic* AM_CompositeGraphic::getLayer(i32 index) const {
    const AM_GraphicsList* const list = getList();
    AM_Graphic* const layer = list && layers[index][0] ? list->findGraphic(layers[index]) : nullptr;
    return dynamic_cast<AM_CompositeGraphic*>(layer) ? nullptr : layer;
}

void AM_CompositeGraphic::drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha,
                                     f32 value) {
    for (i32 i = 0; i < k_numLayers; ++i)
        if (AM_Graphic* const layer = getLayer(i)) layer->drawInRect(context, rect, alpha, value);
}

bool AM_CompositeGraphic::hits(const AM_Rect& rect, AM_Point at, f32 value) {
    for (i32 i = 0; i < k_numLayers; ++i)
        if (AM_Graphic* const layer = getLayer(i); layer && layer->hits(rect, at, value))
            return true;
    return false;
}

void AM_CompositeGraphic::getProperties(AM_PropertyTable* table) {
    for (char(&layer)[k_maxName] : layers)
        table->push_back({AM_Property::k_text, "layer", nullptr, layer, 0, 0, 0, 0, sizeof layer});
}
