// The rasteriser of solid areas and strokes. Private to the drawing context: the only header of the
// editor that shows Anti-Grain's.
#pragma once

#include "AM_PixelView.h"
#include "AM_ScanlineBlend.h"
#include "AM_ScanlineFiller.h"

#include <limits>
#include <vector>

#include <agg_rasterizer_cells_aa.h>
#include <agg_rasterizer_sl_clip.h>

// A pixel that an outline passes, with Anti-Grain's names: how much of its height, in 256ths, and
// twice the area left of the outline.
struct AM_RasterCell {
    i32 x;
    i32 y;
    i32 cover;
    i32 area;

    void initial() {
        x = y = std::numeric_limits<i32>::max();
        cover = area = 0;
    }
    void style(const AM_RasterCell&) {}
    i32 not_equal(i32 otherX, i32 otherY, const AM_RasterCell&) const {
        return x != otherX || y != otherY;
    }
};
// Anti-Grain's would sort the cells of a row, which cost more than all else of a long stroke. Here
// they may come in any order.
inline void qsort_cells(AM_RasterCell**, unsigned) {
}

// Coordinates are pixels; they are held within +-1e6, which the rasteriser's integers can take.
class AM_AggRaster {
public:
    // Takes the rows, top to bottom, and what is covered in each, left to right.
    class Sink {
    public:
        virtual ~Sink() = default;
        virtual void covered(i32 x, i32 y, i32 count, const u8* covers) = 0;
        virtual void solid(i32 x, i32 y, i32 count, u8 cover) = 0;
    };

    // Forgets what was added, and clips to `clip` or not at all.
    void begin(const AM_PixelRect& clip);
    void begin();
    void addPolygon(const AM_DevicePoint* points, size_t count);
    // An open line of `width`, at least two points, with round joints and square cut ends.
    void addStroke(const AM_DevicePoint* points, size_t count, f64 width);
    // What a source of Anti-Grain's vertices gives.
    template <class Source>
    void addPath(Source& source);
    // `evenOdd`: an area inside of two polygons is a hole.
    void draw(const AM_PixelView& pixels, const AM_Pixel& colour, bool evenOdd);
    // The same into a sink, and the pixels that it can be about.
    void sweep(bool evenOdd, Sink& sink);
    AM_PixelRect getBounds();
    // From this coverage on, 1 to 255, a pixel is in, below it is out; 0 for shades.
    void setHardEdge(i32 threshold) { hardEdge = threshold; }

private:
    // Of thousands of outlines on one pixel these go round.
    struct Sum {
        u32 cover = 0;
        u32 area = 0;
    };

    void moveTo(f64 x, f64 y);
    void lineTo(f64 x, f64 y);
    void closePolygon();
    bool finish();
    u8 coverOf(u32 area, bool evenOdd) const;
    void sweepRow(i32 y, bool evenOdd, Sink& sink);

    agg::rasterizer_cells_aa<AM_RasterCell> cells;
    agg::rasterizer_sl_clip_int clipper;
    i32 startX = 0;
    i32 startY = 0;
    bool isOpen = false;
    i32 hardEdge = 0;
    // Of the row in work, from the lowest x on; all 0 in between.
    std::vector<Sum> sums;
    std::vector<u64> touched; // a bit for each of them
    std::vector<u8> covers;
};

template <class Source>
void AM_AggRaster::addPath(Source& source) {
    f64 x = 0;
    f64 y = 0;
    source.rewind(0);
    for (unsigned command; !agg::is_stop(command = source.vertex(&x, &y));) {
        if (agg::is_move_to(command))
            moveTo(x, y);
        else if (agg::is_vertex(command))
            lineTo(x, y);
        else if (agg::is_close(command))
            closePolygon();
    }
}
