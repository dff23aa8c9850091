// Rows of pixels as filters want them: four 16-bit numbers, the colours multiplied with the alpha.
#pragma once

#include "AM_Types.h"

using i16 = std::int16_t;

namespace AM_PremultipliedRow {

inline constexpr i16 k_full = 255 * 64; // an opaque alpha

// From straight bytes.
void load(i16* row, const u8* pixels, i32 count);
// To straight bytes; alphas are held at 0 to k_full and colours at 0 to their alpha.
void store(u8* pixels, const i16* row, i32 count);
// Holds them there.
void clamp(i16* row, i32 count);
// Blends a clamped row into straight bytes, as AM_PixelOps::blendRow.
void blend(u8* target, const i16* row, i32 count, u32 alpha, const u8* cover, i32 mode);

} // namespace AM_PremultipliedRow
