#include "AM_ViewCompressedImageData.h"

#include <algorithm>
#include <cstring>

namespace {

// `source` over `target`, colours not multiplied with the alpha. `alpha` 0 to 256.
void blendRun(u8* target, const u8* source, i32 count, u32 alpha) {
    for (const u8* const end = source + 4 * count; source != end; source += 4, target += 4) {
        const u32 over = (source[3] * alpha + 128) >> 8;
        if (over == 0) continue;
        if (over == 255) {
            std::memcpy(target, source, 4);
        } else if (target[3] == 255) {
            for (i32 c = 0; c < 3; ++c)
                target[c] =
                    static_cast<u8>((source[c] * over + target[c] * (255 - over) + 127) / 255);
        } else {
            // Weights in 255ths of 255ths, so that nothing is rounded before the division.
            const u32 under = target[3] * (255 - over), sum = over * 255 + under;
            for (i32 c = 0; c < 3; ++c)
                target[c] =
                    static_cast<u8>((source[c] * over * 255 + target[c] * under + sum / 2) / sum);
            target[3] = static_cast<u8>((sum + 127) / 255);
        }
    }
}

} // namespace

AM_ViewCompressedImageData::AM_ViewCompressedImageData(const AM_PixelView& image, Keep keep)
    : width(image.isEmpty() ? 0 : image.width), height(image.isEmpty() ? 0 : image.height) {
    findRuns(image);
    if (keep == k_copy) copyPixels();
    for (size_t i = 1; i < runs.size(); ++i)
        runs[i - 1].next = &runs[i];
}

void AM_ViewCompressedImageData::findRuns(const AM_PixelView& image) {
    rowStart.reserve(static_cast<size_t>(height) + 1);
    for (i32 y = 0; y < height; ++y) {
        rowStart.push_back(runs.size());
        const u8* const row = image.row(y);
        for (i32 x = 0; x < width;) {
            const i32 start = x;
            while (x < width && x - start < AM_ViewPixelRun::k_maxLength && row[4 * x + 3] > 0)
                ++x;
            if (x > start)
                runs.emplace_back(start, y, static_cast<u16>(x - start), row + 4 * start);
            else
                ++x;
        }
    }
    rowStart.push_back(runs.size());
}

void AM_ViewCompressedImageData::copyPixels() {
    size_t size = 0;
    for (const AM_ViewPixelRun& run : runs)
        size += 4u * run.length;
    copied.resize(size);
    u8* place = copied.data();
    for (AM_ViewPixelRun& run : runs) {
        std::memcpy(place, run.pixels, 4u * run.length);
        run.pixels = place;
        place += 4u * run.length;
    }
}

bool AM_ViewCompressedImageData::hitTest(i32 x, i32 y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) return false;
    const auto row = runs.begin() + static_cast<std::ptrdiff_t>(rowStart[static_cast<size_t>(y)]);
    const auto end =
        runs.begin() + static_cast<std::ptrdiff_t>(rowStart[static_cast<size_t>(y) + 1]);
    const auto behind = std::upper_bound(
        row, end, x, [](i32 column, const AM_ViewPixelRun& run) { return column < run.x; });
    return behind != row && x < (behind - 1)->x + (behind - 1)->length;
}

void AM_ViewCompressedImageData::draw(const AM_PixelView& target, i32 x, i32 y, f32 alpha, i32 left,
                                      i32 top, i32 right, i32 bottom) const {
    if (target.isEmpty() || !(alpha > 0)) return;
    const u32 weight = static_cast<u32>(std::min(alpha, 1.0f) * 256 + 0.5f);
    // In the image's own pixels; x and y may be anything.
    const i64 firstRow = std::max<i64>(0, static_cast<i64>(std::max(top, 0)) - y),
              lastRow =
                  std::min<i64>(height, static_cast<i64>(std::min(bottom, target.height)) - y),
              firstColumn = static_cast<i64>(std::max(left, 0)) - x,
              lastColumn = static_cast<i64>(std::min(right, target.width)) - x;
    for (i64 row = firstRow; row < lastRow; ++row) {
        u8* const pixels = target.row(static_cast<i32>(row + y));
        for (size_t i = rowStart[static_cast<size_t>(row)];
             i < rowStart[static_cast<size_t>(row) + 1]; ++i) {
            const AM_ViewPixelRun& run = runs[i];
            const i64 begin = std::max<i64>(run.x, firstColumn),
                      end = std::min<i64>(run.x + run.length, lastColumn);
            if (begin < end)
                blendRun(pixels + 4 * (begin + x), run.pixels + 4 * (begin - run.x),
                         static_cast<i32>(end - begin), weight);
        }
    }
}
