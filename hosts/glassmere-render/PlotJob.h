// The picture of a rendered file.
#pragma once

#include "Options.h"

#include <string>

// Before a render: throws RenderError if the picture's place is taken and --force is not given, if
// its folder is missing, or if there is no font to write with. Without --plot nothing.
void checkPlot(const Options& options);

// Reads the output and draws it; `code` becomes the title. Of a long file the first 33 million
// frames are shown (11 minutes at 48 kHz), which the picture says. Throws RenderError.
void drawPlot(const Options& options, const std::string& code);
