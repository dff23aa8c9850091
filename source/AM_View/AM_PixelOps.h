// All that is done to whole buffers of pixels.
#pragma once

#include "AM_PixelBlend.h"
#include "AM_PixelFilters.h"
