// Pixels of a test's own, and those of a context.
#pragma once

#include "AM_Context.h"
#include "AM_PixelView.h"

#include <array>
#include <random>
#include <vector>

using Pixel = std::array<u8, 4>;

struct PixelBuffer {
    PixelBuffer(i32 newWidth, i32 newHeight, Pixel fill = {})
        : width(newWidth), height(newHeight),
          pixels(static_cast<size_t>(newWidth) * static_cast<size_t>(newHeight), fill) {}
    AM_PixelView view() { return {pixels.data()->data(), width, height, 4 * width}; }
    Pixel& at(i32 x, i32 y) { return pixels[static_cast<size_t>(y * width + x)]; }
    // Bytes of all values, with plenty of transparent and opaque pixels.
    void fillRandom(u32 seed) {
        std::mt19937 random(seed);
        for (Pixel& pixel : pixels) {
            for (u8& byte : pixel)
                byte = static_cast<u8>(random() >> 24);
            if (random() % 3 == 0) pixel[3] = random() % 2 ? 255 : 0;
            for (u8& byte : pixel)
                if (random() % 8 == 0) byte = random() % 2 ? 255 : 0;
        }
    }
    f64 sum(i32 channel) const {
        f64 total = 0;
        for (const Pixel& pixel : pixels)
            total += pixel[static_cast<size_t>(channel)];
        return total;
    }

    i32 width;
    i32 height;
    std::vector<Pixel> pixels;
};

inline std::vector<u8> bytesOf(AM_Context& context) {
    const AM_PixelView view = context.getPixels();
    std::vector<u8> bytes;
    for (i32 y = 0; y < view.height; ++y)
        bytes.insert(bytes.end(), view.row(y), view.row(y) + 4 * view.width);
    return bytes;
}
