// An image without the pixels that show nothing.
#pragma once

#include "AM_PixelView.h"
#include "AM_ViewPixelRun.h"

#include <vector>

// Built once and then only read, by any thread.
class AM_ViewCompressedImageData {
public:
    // What becomes of the pixels: copied, or left where they are by those who keep them alive.
    enum Keep : i32 { k_copy, k_refer };

    // Every run of pixels with an alpha above 0, as long as it can be.
    AM_ViewCompressedImageData(const AM_PixelView& image, Keep keep);
    AM_ViewCompressedImageData(const AM_ViewCompressedImageData&) = delete;
    AM_ViewCompressedImageData& operator=(const AM_ViewCompressedImageData&) = delete;

    i32 getWidth() const { return width; }
    i32 getHeight() const { return height; }
    const std::vector<AM_ViewPixelRun>& getRuns() const { return runs; }
    // True if a run covers the pixel; false outside of the image. A binary search.
    bool hitTest(i32 x, i32 y) const;
    // Draws the image with its top left at x, y of `target`, as far as left, top, right and bottom
    // (of the target) let it; alpha 0 to 1.
    void draw(const AM_PixelView& target, i32 x, i32 y, f32 alpha, i32 left, i32 top, i32 right,
              i32 bottom) const;

private:
    void findRuns(const AM_PixelView& image);
    void copyPixels();

    i32 width;
    i32 height;
    std::vector<AM_ViewPixelRun> runs;
    std::vector<size_t> rowStart; // of every row the index of its first run, and one more
    std::vector<u8> copied;
};
