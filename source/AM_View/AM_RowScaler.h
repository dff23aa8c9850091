// Scales an image row by row: horizontally, then vertically.
#pragma once

#include "AM_PixelView.h"
#include "AM_ResampleTaps.h"

#include <emmintrin.h>
#include <vector>

// The part of a target, in whole pixels, that is asked for, and where in it the image lies.
struct AM_ScaledArea {
    i32 left;
    i32 top;
    i32 right; // behind the last
    i32 bottom;
    f64 imageLeft;
    f64 imageTop;
    f64 imageWidth;
    f64 imageHeight;
};

// Each row of the image is scaled horizontally once, as long as those that a row of the target
// needs fit into the work buffer: k_maxRows.
class AM_RowScaler {
public:
    // The image has to stay until the last row is taken.
    void begin(const AM_PixelView& image, const AM_ScaledArea& area, AM_Resampling choice);
    // The pixels of row `y` of the area, as AM_PremultipliedRow has them, clamped; valid until the
    // next call.
    const i16* row(i32 y);

private:
    static constexpr i32 k_maxRows = 64;
    using Row = std::vector<i16>;

    const i16* scaledRow(i32 sourceY);
    __m128i pixelAcross(const i16* from, i32 x) const;
    void scaleAcross(const i16* from, i16* target) const;
    void scaleAcrossByTwo(const i16* from, i16* target) const;
    void mixTwo(const i16* a, const i16* b, i32 weight);
    void combine(const i16* const* rows, const i16* weights, i32 count);
    void sum(const i16* const* rows, const i16* weights, i32 count);
    void finish();

    AM_PixelView image;
    i32 width = 0;
    i32 top = 0;
    bool isPositive = true; // no weight is below 0
    i32 firstColumn = 0;    // of the image, that any pixel needs
    i32 numColumns = 0;
    i32 numRows = 0; // of the work buffer
    size_t stride = 0;
    AM_KeptTaps keptAcross;
    AM_KeptTaps keptDown;
    const AM_ResampleTaps* across = nullptr;
    const AM_ResampleTaps* down = nullptr;
    Row source;
    Row scaled;                  // numRows rows
    std::vector<i32> rowNumbers; // of the image, in `scaled`
    Row result;
    std::vector<i32> sums;
};
