#include "AM_AggRaster.h"

#include <agg_conv_stroke.h>
#include <agg_gamma_functions.h>

#include <algorithm>

namespace {
constexpr f64 k_limit = 1e6;

f64 hold(f64 x) {
    return x > -k_limit ? std::min(x, k_limit) : -k_limit; // what is no number too
}

// Points as Anti-Grain asks for them.
class PointSource {
public:
    PointSource(const AM_DevicePoint* points, size_t count) : points(points), count(count) {}
    void rewind(unsigned) { next = 0; }
    unsigned vertex(double* x, double* y) {
        if (next >= count) return agg::path_cmd_stop;
        *x = hold(points[next].x);
        *y = hold(points[next].y);
        return next++ == 0 ? agg::path_cmd_move_to : agg::path_cmd_line_to;
    }

private:
    const AM_DevicePoint* points;
    size_t count;
    size_t next = 0;
};
} // namespace

void AM_AggRaster::begin(const AM_PixelRect& clip) {
    rasterizer.reset();
    rasterizer.clip_box(clip.left, clip.top, clip.right, clip.bottom);
}

void AM_AggRaster::setHardEdges(bool hard) {
    if (hard == hardEdges) return;
    hardEdges = hard;
    if (hard)
        rasterizer.gamma(agg::gamma_threshold(0.5));
    else
        rasterizer.gamma(agg::gamma_none());
}

void AM_AggRaster::addPolygon(const AM_DevicePoint* points, size_t count) {
    if (count < 3) return;
    PointSource source(points, count);
    rasterizer.add_path(source);
    rasterizer.close_polygon();
}

void AM_AggRaster::addStroke(const AM_DevicePoint* points, size_t count, f64 width) {
    if (count < 2) return;
    PointSource source(points, count);
    agg::conv_stroke<PointSource> stroke(source);
    stroke.width(width);
    stroke.line_cap(agg::butt_cap);
    stroke.line_join(agg::round_join);
    stroke.inner_join(agg::inner_round);
    stroke.approximation_scale(2);
    rasterizer.add_path(stroke);
}

void AM_AggRaster::draw(const AM_PixelView& pixels, const AM_Pixel& colour, bool evenOdd) {
    rasterizer.filling_rule(evenOdd ? agg::fill_even_odd : agg::fill_non_zero);
    if (!rasterizer.rewind_scanlines()) return;
    scanline.reset(rasterizer.min_x(), rasterizer.max_x());
    while (rasterizer.sweep_scanline(scanline)) {
        const i32 y = scanline.y();
        if (y < 0 || y >= pixels.height) continue;
        u8* row = pixels.row(y);
        auto span = scanline.begin();
        for (unsigned i = scanline.num_spans(); i > 0; --i, ++span) {
            // A negative length is that of a run with one coverage.
            const bool run = span->len < 0;
            const i32 length = run ? -span->len : span->len;
            const i32 from = std::max<i32>(span->x, 0);
            const i32 to = std::min<i32>(span->x + length, pixels.width);
            if (from >= to) continue;
            if (run)
                AM_blendSolid(row + from * 4, to - from, colour, *span->covers);
            else
                AM_blendCovered(row + from * 4, to - from, colour, span->covers + (from - span->x));
        }
    }
}
