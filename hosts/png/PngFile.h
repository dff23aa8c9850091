// Writes pixels into PNG files.
#pragma once

#include "AM_PixelView.h"

#include <string>

// Straight RGBA, 8 bits; RGB if all pixels are opaque. Written beside its place and renamed, so
// that a file of that name is replaced by a whole one or not at all. Throws std::runtime_error with
// a sentence if it fails.
void writePng(const std::string& file, const AM_PixelView& pixels);
