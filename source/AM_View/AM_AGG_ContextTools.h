// What a drawing context works with. Private to its sources.
#pragma once

#include "AM_AGG_Context.h"
#include "AM_AggRaster.h"
#include "AM_Resample.h"

#include <cmath>

struct AM_AGG_Context::Tools {
    AM_AggRaster raster;
    AM_ScanlineFiller filler;
    AM_Resampler resampler;
    // The shape that is made: polygons one behind the other, and where each ends.
    std::vector<AM_DevicePoint> points;
    std::vector<size_t> ends;
};

template <class... F>
bool AM_areFinite(F... values) {
    return (std::isfinite(values) && ...);
}
inline bool AM_isFinite(const AM_Rect& rect) {
    return AM_areFinite(rect.left, rect.top, rect.width, rect.height);
}
