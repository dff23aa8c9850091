#include "AM_ShadowLayer.h"

#include "AM_PixelOps.h"
#include "AM_Resample.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr f32 k_strongestBlur = 0.97f;
constexpr i32 k_maxMargin = 128;

// The filter that moves in one view unit as far as `blur` says.
f32 blurPerPixel(f32 blur, f32 scale) {
    const f32 held = std::clamp(blur, 0.0f, k_strongestBlur);
    return held > 0 ? std::pow(held, 1 / scale) : 0;
}

i32 marginFor(f32 strength) {
    return std::min(k_maxMargin, 2 + static_cast<i32>(6 * strength / (1 - strength)));
}

} // namespace

AM_ShadowLayer::AM_ShadowLayer(const AM_PixelView& pixels, f32 right, f32 down, f32 blur,
                               f32 scale) {
    const f32 strength = blurPerPixel(blur, scale);
    margin = marginFor(strength);
    layer.width = pixels.width + 2 * margin;
    layer.height = pixels.height + 2 * margin;
    layer.rowBytes = 4 * layer.width;
    store.resize(static_cast<size_t>(layer.rowBytes) * static_cast<size_t>(layer.height));
    layer.pixels = store.data();
    AM_ImagePlacement how;
    how.target = {static_cast<f32>(margin) + right, static_cast<f32>(margin) + down,
                  static_cast<f32>(pixels.width), static_cast<f32>(pixels.height)};
    AM_Resampler().draw(layer, {0, 0, layer.width, layer.height}, pixels, how, k_bilinear);
    for (i32 pass = 0; pass < 2; ++pass) {
        AM_PixelOps::blurX(layer, strength);
        AM_PixelOps::blurY(layer, strength);
    }
}

void AM_ShadowLayer::draw(const AM_PixelView& pixels, bool inside, u32 rgba, f32 strength) {
    const u8 colour[3] = {static_cast<u8>(rgba >> 24), static_cast<u8>(rgba >> 16),
                          static_cast<u8>(rgba >> 8)};
    const f32 factor = std::clamp(strength, 0.0f, 1e6f) * static_cast<f32>(rgba & 255) / 255;
    Table table;
    for (i32 i = 0; i < 256; ++i) {
        const f32 amount = static_cast<f32>(inside ? 255 - i : i) * factor;
        table[static_cast<size_t>(i)] = static_cast<u8>(std::min(amount, 255.0f) + 0.5f);
    }
    if (inside)
        drawInside(pixels, colour, table);
    else
        drawBelow(pixels, colour, table);
}

void AM_ShadowLayer::drawBelow(const AM_PixelView& pixels, const u8* colour, const Table& table) {
    const size_t bytes = 4 * static_cast<size_t>(pixels.width);
    std::vector<u8> line(bytes);
    for (i32 y = 0; y < pixels.height; ++y) {
        const u8* shape = row(y);
        for (size_t i = 0; i < bytes; i += 4) {
            std::memcpy(line.data() + i, colour, 3);
            line[i + 3] = table[shape[i + 3]];
        }
        AM_PixelOps::blendRow(line.data(), pixels.row(y), pixels.width, 255, nullptr,
                              k_blendNormal);
        std::memcpy(pixels.row(y), line.data(), bytes);
    }
}

void AM_ShadowLayer::drawInside(const AM_PixelView& pixels, const u8* colour, const Table& table) {
    for (i32 y = 0; y < pixels.height; ++y) {
        const u8* shape = row(y);
        u8* pixel = pixels.row(y);
        for (i32 x = 0; x < pixels.width; ++x, pixel += 4, shape += 4) {
            const u32 part = table[shape[3]];
            for (i32 c = 0; c < 3; ++c)
                pixel[c] = static_cast<u8>(AM_PixelOps::times255(colour[c], part) +
                                           AM_PixelOps::times255(pixel[c], 255 - part));
        }
    }
}
