// The shapes by the names of their types.
#pragma once

#include "AM_Graphic.h"

#include <memory>

// A new shape of a type as getTypeName tells it; null if there is none.
std::unique_ptr<AM_Graphic> AM_createShape(const char* type);
// The types in order, ended by null.
extern const char* const AM_shapeTypes[];
