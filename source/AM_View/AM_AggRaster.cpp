#include "AM_AggRaster.h"

#include <agg_conv_stroke.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {
constexpr f64 k_limit = 1e6;
constexpr i32 k_shortGap = 16; // pixels of one coverage that are not worth a span of their own

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

// Spans into pixels, as far as they are there.
class PixelSink final : public AM_AggRaster::Sink {
public:
    PixelSink(const AM_PixelView& pixels, const AM_Pixel& colour)
        : pixels(pixels), colour(colour) {}
    void covered(i32 x, i32 y, i32 count, const u8* covers) override {
        const i32 from = std::max(x, 0);
        const i32 to = std::min(x + count, pixels.width);
        if (from < to && y >= 0 && y < pixels.height)
            AM_blendCovered(pixels.row(y) + from * 4, to - from, colour, covers + (from - x));
    }
    void solid(i32 x, i32 y, i32 count, u8 cover) override {
        const i32 from = std::max(x, 0);
        const i32 to = std::min(x + count, pixels.width);
        if (from < to && y >= 0 && y < pixels.height)
            AM_blendSolid(pixels.row(y) + from * 4, to - from, colour, cover);
    }

private:
    const AM_PixelView& pixels;
    const AM_Pixel& colour;
};
} // namespace

// --- outlines -------------------------------------------------------------------------

void AM_AggRaster::begin() {
    cells.reset();
    clipper.reset_clipping();
    isOpen = false;
}

void AM_AggRaster::begin(const AM_PixelRect& clip) {
    begin();
    const auto toSub = [](i32 x) { return agg::ras_conv_int::upscale(x); };
    clipper.clip_box(toSub(clip.left), toSub(clip.top), toSub(clip.right), toSub(clip.bottom));
}

void AM_AggRaster::moveTo(f64 x, f64 y) {
    if (cells.sorted()) cells.reset(); // they are drawn
    closePolygon();
    startX = agg::ras_conv_int::upscale(x);
    startY = agg::ras_conv_int::upscale(y);
    clipper.move_to(startX, startY);
}

void AM_AggRaster::lineTo(f64 x, f64 y) {
    clipper.line_to(cells, agg::ras_conv_int::upscale(x), agg::ras_conv_int::upscale(y));
    isOpen = true;
}

void AM_AggRaster::closePolygon() {
    if (isOpen) clipper.line_to(cells, startX, startY);
    isOpen = false;
}

void AM_AggRaster::addPolygon(const AM_DevicePoint* points, size_t count) {
    if (count < 3) return;
    PointSource source(points, count);
    addPath(source);
    closePolygon();
}

void AM_AggRaster::addStroke(const AM_DevicePoint* points, size_t count, f64 width) {
    if (count < 2) return;
    PointSource source(points, count);
    agg::conv_stroke<PointSource> stroke(source);
    stroke.width(width);
    stroke.line_cap(agg::butt_cap);
    stroke.line_join(agg::round_join);
    stroke.inner_join(agg::inner_round);
    stroke.approximation_scale(8);
    addPath(stroke);
}

// --- coverage -------------------------------------------------------------------------

// Groups the cells by rows; false if there are none.
bool AM_AggRaster::finish() {
    closePolygon();
    cells.sort_cells();
    return cells.total_cells() > 0;
}

AM_PixelRect AM_AggRaster::getBounds() {
    if (!finish()) return {};
    return {cells.min_x(), cells.min_y(), cells.max_x() + 1, cells.max_y() + 1};
}

// `area` in 512ths of 256ths of a pixel.
u8 AM_AggRaster::coverOf(u32 area, bool evenOdd) const {
    i32 cover = std::abs(static_cast<i32>(area) >> 9);
    if (evenOdd) {
        cover &= 511;
        if (cover > 256) cover = 512 - cover;
    }
    cover = std::min(cover, 255);
    if (hardEdge != 0) cover = cover < hardEdge ? 0 : 255;
    return static_cast<u8>(cover);
}

void AM_AggRaster::sweep(bool evenOdd, Sink& sink) {
    const AM_PixelRect bounds = getBounds();
    if (bounds.isEmpty()) return;
    const size_t width = static_cast<size_t>(bounds.right - bounds.left);
    if (sums.size() < width) {
        sums.resize(width);
        covers.resize(width);
        touched.resize(width / 64 + 1);
    }
    for (i32 y = bounds.top; y < bounds.bottom; ++y)
        if (cells.scanline_num_cells(static_cast<unsigned>(y)) > 0) sweepRow(y, evenOdd, sink);
}

void AM_AggRaster::sweepRow(i32 y, bool evenOdd, Sink& sink) {
    const i32 left = cells.min_x();
    const AM_RasterCell* const* cell = cells.scanline_cells(static_cast<unsigned>(y));
    size_t first = std::numeric_limits<size_t>::max();
    size_t last = 0;
    for (unsigned i = cells.scanline_num_cells(static_cast<unsigned>(y)); i > 0; --i, ++cell) {
        const size_t x = static_cast<size_t>((*cell)->x - left);
        sums[x].cover += static_cast<u32>((*cell)->cover);
        sums[x].area += static_cast<u32>((*cell)->area);
        touched[x / 64] |= u64(1) << x % 64;
        first = std::min(first, x / 64);
        last = std::max(last, x / 64);
    }
    u32 cover = 0; // left of `next`, times 512
    i32 next = 0;  // the first pixel that is not done, from `left` on
    i32 start = 0; // of what is in `covers` and not given to the sink
    const auto flush = [&] {
        if (next > start) sink.covered(left + start, y, next - start, covers.data() + start);
    };
    for (size_t word = first; word <= last; ++word) {
        for (u64 bits = std::exchange(touched[word], 0); bits; bits &= bits - 1) {
            const i32 x = static_cast<i32>(word * 64) + std::countr_zero(bits);
            if (x > next) {
                const u8 between = coverOf(cover, evenOdd);
                if (between != 0 && x - next < k_shortGap) {
                    std::memset(covers.data() + next, between, static_cast<size_t>(x - next));
                } else {
                    flush();
                    if (between != 0) sink.solid(left + next, y, x - next, between);
                    start = x;
                }
                next = x;
            }
            const Sum sum = std::exchange(sums[static_cast<size_t>(x)], {});
            cover += sum.cover * 512;
            // An outline along the pixel's side leaves it to what follows.
            if (sum.area != 0)
                covers[static_cast<size_t>(next++)] = coverOf(cover - sum.area, evenOdd);
        }
    }
    flush();
}

void AM_AggRaster::draw(const AM_PixelView& pixels, const AM_Pixel& colour, bool evenOdd) {
    PixelSink sink(pixels, colour);
    sweep(evenOdd, sink);
}
