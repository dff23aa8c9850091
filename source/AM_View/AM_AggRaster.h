// The rasteriser of solid areas and strokes. Private to the drawing context: the only header of the
// editor that shows Anti-Grain's.
#pragma once

#include "AM_PixelView.h"
#include "AM_ScanlineBlend.h"
#include "AM_ScanlineFiller.h"

#include <agg_rasterizer_scanline_aa.h>
#include <agg_scanline_p.h>

// Coordinates are pixels; they are held within +-1e6, which the rasteriser's integers can take.
class AM_AggRaster {
public:
    // Forgets what was added, and clips to `clip`.
    void begin(const AM_PixelRect& clip);
    void addPolygon(const AM_DevicePoint* points, size_t count);
    // An open line of `width`, at least two points, with round joints and square cut ends.
    void addStroke(const AM_DevicePoint* points, size_t count, f64 width);
    // `evenOdd`: an area inside of two polygons is a hole.
    void draw(const AM_PixelView& pixels, const AM_Pixel& colour, bool evenOdd);
    // Coverages without shades: a pixel is in or out.
    void setHardEdges(bool hard);

    using Rasterizer = agg::rasterizer_scanline_aa<>;
    Rasterizer& getRasterizer() { return rasterizer; }

private:
    Rasterizer rasterizer;
    agg::scanline_p8 scanline;
    bool hardEdges = false;
};
