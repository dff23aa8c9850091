// Writes pixels into PNG files.
#pragma once

#include "AM_PixelView.h"

#include <string>

// Straight RGBA, 8 bits. Throws std::runtime_error with a sentence if it fails; nothing is left of
// the file then.
void writePng(const std::string& file, const AM_PixelView& pixels);
