#include "AM_ViewFilter.h"

#include "AM_Context.h"
#include "AM_Format.h"
#include "AM_Log.h"

#include <algorithm>
#include <cmath>
#include <cstring>

AM_ViewFilter::AM_ViewFilter(const char* nameFormat, i32 number,
                             std::initializer_list<const char*> colourSlots) {
    typeMask = k_classViewControl | k_classViewFilter;
    AM_STD::sprintv(name, sizeof name, nameFormat, number);
    for (const char* slot : colourSlots)
        colours.push_back({slot, nullptr});
}

const char* AM_ViewFilter::getColourName(i32 slot) const {
    return slot >= 0 && slot < getNumColours() ? colours[static_cast<size_t>(slot)].name : "";
}

void AM_ViewFilter::setColour(i32 slot, AM_Colour* colour) {
    if (slot >= 0 && slot < getNumColours()) colours[static_cast<size_t>(slot)].colour = colour;
}

AM_Colour* AM_ViewFilter::getColour(i32 slot) const {
    return slot >= 0 && slot < getNumColours() ? colours[static_cast<size_t>(slot)].colour
                                               : nullptr;
}

void AM_ViewFilter::setProperty(const char* property, i32, const char* value) {
    AM_PropertyTable table;
    getProperties(&table);
    const auto row = std::find_if(table.begin(), table.end(), [&](const AM_Property& candidate) {
        return property && std::strcmp(candidate.name, property) == 0;
    });
    if (row == table.end())
        AM_Log("%s has no property %s", name, property);
    else if (!AM_setProperty(*row, value))
        AM_Log("%s: %s can't be %s", name, property, value);
}

AM_ViewFilter::Area AM_ViewFilter::areaOf(AM_Context& context, bool ofParent) const {
    const AM_Rect& rect = ofParent ? parentBounds : bounds;
    Area area{context.getPixels(), 0, 0, std::max(context.getScale(), 0.01f)};
    if (ofParent && rect.isEmpty()) return area;
    area.pixels = context.getPixels(rect);
    const auto skipped = [&](f32 at, f32 offset) {
        const f32 pixel = (at + offset) * area.scale;
        return (std::max(std::floor(pixel), 0.0f) - pixel) / area.scale;
    };
    area.left = skipped(rect.left, context.getOrigin().x);
    area.top = skipped(rect.top, context.getOrigin().y);
    return area;
}
