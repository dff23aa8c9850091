// Levels as colours, from dark to light in steps that look even.
#pragma once

#include "AM_Types.h"

#include <array>

// As many as the eye tells apart in a picture, and not more, so that files stay small.
inline constexpr size_t k_numLevelColours = 128;

// The sRGB colour of a share from 0, the darkest, to 1; beyond them that of the end. From a night
// blue through teal and green to a pale yellow: the lightness of B. Ottosson's Oklab (2020) rises
// evenly, the hue turns evenly, and the chroma bends gently within what a screen can show.
const std::array<u8, 3>& getLevelColour(f64 share);
