// Levels as colours, from dark to light in steps that look even.
#pragma once

#include "AM_Types.h"

#include <array>

using ColourMap = std::array<std::array<u8, 3>, 256>;

// From a night blue through teal and green to a pale yellow, as sRGB: the lightness of B.
// Ottosson's Oklab (2020) rises evenly, the hue turns evenly, and the chroma is as high as the
// screen allows up to a limit.
const ColourMap& getLevelColours();
