// Fills polygons scanline by scanline: the lines that cross a scanline are kept in x order, and
// what lies between pairs of them is inside. Coverage is the exact area of the pixel inside.
#pragma once

#include "AM_PixelView.h"

#include <vector>

// Takes runs of coverages, 0 to 255, from top to bottom.
class AM_ISpanSink {
public:
    virtual ~AM_ISpanSink() = default;
    virtual void span(i32 x, i32 y, i32 count, const u8* covers) = 0;
};

struct AM_DevicePoint {
    f64 x = 0;
    f64 y = 0;
};

// One thread. Keeps its memory from one fill to the next.
class AM_ScanlineFiller {
public:
    // More lines than these are left out.
    static constexpr size_t k_maxLines = 16384;

    // What is worth a line in the log; nothing of it stops a fill.
    struct Findings {
        bool bridges = false; // lines there and back that connected parts of the polygon
        bool uneven = false;  // a scanline with an odd number of crossing lines
    };

    // Forgets all lines.
    void begin();
    // Pixel coordinates within +-1e6; others, and what is not a number, count as the limit or 0.
    void addLine(AM_DevicePoint from, AM_DevicePoint to);
    // The lines from point to point and back to the first.
    void addPolygon(const AM_DevicePoint* points, size_t count);
    // From the top of all lines to the bottom, and from left to right; 0 without lines.
    struct Bounds {
        f64 left = 0;
        f64 top = 0;
        f64 right = 0;
        f64 bottom = 0;
    };
    Bounds getBounds() const;
    Findings fill(const AM_PixelRect& clip, AM_ISpanSink& sink);

private:
    // y in 256ths of a pixel, x at the top and per 256th.
    struct Line {
        i32 x0, y0, x1, y1;
    };
    struct Edge {
        i32 top;
        i32 bottom;
        f64 x;
        f64 slope;
        f64 at(i32 y) const { return x + slope * (y - top); }
    };
    struct Crossing {
        f64 top;
        f64 bottom;
    };

    bool removeBridges();
    void makeEdges(const AM_PixelRect& clip);
    void addClipped(f64 x0, f64 y0, f64 x1, f64 y1, const AM_PixelRect& clip);
    void addEdge(f64 x0, f64 y0, f64 x1, f64 y1);
    void fillRow(i32 y, i32 left);
    void fillBand(i32 from, i32 to, i32 left);
    bool collectCrossings(i32 from, i32 to);
    void addCrossing(const Crossing& crossing, f32 height, f32 sign, i32 left);
    void emitRow(i32 y, const AM_PixelRect& clip, AM_ISpanSink& sink);

    std::vector<Line> lines;
    std::vector<Edge> edges;
    std::vector<u32> active;
    std::vector<i32> events;
    std::vector<Crossing> crossings;
    std::vector<f32> changes; // of the coverage from pixel to pixel
    std::vector<u8> covers;
    i32 firstChange = 0;
    i32 lastChange = -1;
    Findings findings;
};
