#include "AM_PixelBlend.h"

#include "AM_Colour.h"
#include "AM_PixelBlendRow.h"

#include <algorithm>
#include <cstring>

const char AM_blendModeLabels[k_numBlendModes][32] = {
    "selected", "normal",      "multiply",   "screen",     "overlay", "darken",
    "lighten",  "colourdodge", "colourburn", "difference", "colour"};

namespace {

using AM_PixelOps::times255;

// The mixes of the separable modes: backdrop and source, 0 to 255.
struct Normal {
    static u32 channel(u32, u32 s) { return s; }
};
struct Multiply {
    static u32 channel(u32 b, u32 s) { return times255(b, s); }
};
struct Screen {
    static u32 channel(u32 b, u32 s) { return b + s - times255(b, s); }
};
struct Overlay {
    static u32 channel(u32 b, u32 s) {
        return b < 128 ? times255(2 * b, s) : Screen::channel(2 * b - 255, s);
    }
};
struct Darken {
    static u32 channel(u32 b, u32 s) { return std::min(b, s); }
};
struct Lighten {
    static u32 channel(u32 b, u32 s) { return std::max(b, s); }
};
struct Difference {
    static u32 channel(u32 b, u32 s) { return b > s ? b - s : s - b; }
};
u32 ratio255(u32 part, u32 whole) {
    return (part * 255 + whole / 2) / whole;
}
struct ColourDodge {
    static u32 channel(u32 b, u32 s) {
        if (b == 0) return 0;
        return b + s >= 255 ? 255 : ratio255(b, 255 - s);
    }
};
struct ColourBurn {
    static u32 channel(u32 b, u32 s) {
        if (b == 255) return 255;
        return 255 - b >= s ? 0 : 255 - ratio255(255 - b, s);
    }
};

template <class Channel>
struct Separable {
    static void mix(const u8* b, const u8* s, u32* mixed) {
        for (i32 c = 0; c < 3; ++c)
            mixed[c] = Channel::channel(b[c], s[c]);
    }
};

// Hue and saturation of the source with the luminosity of the backdrop. Where that leaves the
// range, the colour moves towards its grey.
struct Colour {
    static f32 luminosity(const f32* c) { return 0.3f * c[0] + 0.59f * c[1] + 0.11f * c[2]; }
    static void mix(const u8* b, const u8* s, u32* mixed) {
        const f32 backdrop[3] = {f32(b[0]), f32(b[1]), f32(b[2])};
        f32 colour[3] = {f32(s[0]), f32(s[1]), f32(s[2])};
        const f32 wanted = luminosity(backdrop);
        const f32 shift = wanted - luminosity(colour);
        for (f32& c : colour)
            c += shift;
        const f32 low = std::min({colour[0], colour[1], colour[2]});
        const f32 high = std::max({colour[0], colour[1], colour[2]});
        f32 scale = 1;
        if (low < 0) scale = wanted / (wanted - low);
        if (high > 255) scale = std::min(scale, (255 - wanted) / (high - wanted));
        for (i32 c = 0; c < 3; ++c) {
            const f32 value = wanted + (colour[c] - wanted) * scale;
            mixed[c] = static_cast<u32>(std::clamp(value, 0.0f, 255.0f) + 0.5f);
        }
    }
};

u32 sourceAlpha(const u8* source, u32 alpha, const u8* cover) {
    const u32 a = times255(source[3], alpha);
    return cover ? times255(a, *cover) : a;
}

// All products below are at most 255 * 65025, which a float holds exactly.
template <class Mode>
void mixRow(u8* d, const u8* s, i32 count, u32 alpha, const u8* cover) {
    for (i32 i = 0; i < count; ++i, d += 4, s += 4) {
        const u32 sa = sourceAlpha(s, alpha, cover ? cover + i : nullptr);
        if (sa == 0) continue;
        const u32 backAlone = d[3] * (255 - sa);
        const u32 both = d[3] * sa;
        const u32 sourceAlone = (255u - d[3]) * sa;
        const u32 whole = backAlone + both + sourceAlone;
        const f32 inverse = 1.0f / static_cast<f32>(whole);
        u32 mixed[3];
        Mode::mix(d, s, mixed);
        for (i32 c = 0; c < 3; ++c) {
            const u32 sum = d[c] * backAlone + mixed[c] * both + s[c] * sourceAlone;
            d[c] = static_cast<u8>(static_cast<f32>(sum) * inverse + 0.5f);
        }
        d[3] = static_cast<u8>((whole + 127) / 255);
    }
}

// One colour into what is there.
template <class Mode>
void tintRow(u8* d, const u8* colour, i32 count, u32 alpha) {
    for (i32 i = 0; i < count; ++i, d += 4) {
        if (d[3] == 0) continue;
        u32 mixed[3];
        Mode::mix(d, colour, mixed);
        for (i32 c = 0; c < 3; ++c) {
            const u32 t = mixed[c] * alpha + d[c] * (255 - alpha) + 128;
            d[c] = static_cast<u8>((t + (t >> 8)) >> 8);
        }
    }
}

using BlendRow = void (*)(u8*, const u8*, i32, u32, const u8*);
constexpr BlendRow blendRows[k_numBlendModes] = {AM_blendNormalRow,
                                                 AM_blendNormalRow,
                                                 mixRow<Separable<Multiply>>,
                                                 mixRow<Separable<Screen>>,
                                                 mixRow<Separable<Overlay>>,
                                                 mixRow<Separable<Darken>>,
                                                 mixRow<Separable<Lighten>>,
                                                 mixRow<Separable<ColourDodge>>,
                                                 mixRow<Separable<ColourBurn>>,
                                                 mixRow<Separable<Difference>>,
                                                 mixRow<Colour>};
using TintRow = void (*)(u8*, const u8*, i32, u32);
constexpr TintRow tintRows[k_numBlendModes] = {tintRow<Separable<Normal>>,
                                               tintRow<Separable<Normal>>,
                                               tintRow<Separable<Multiply>>,
                                               tintRow<Separable<Screen>>,
                                               tintRow<Separable<Overlay>>,
                                               tintRow<Separable<Darken>>,
                                               tintRow<Separable<Lighten>>,
                                               tintRow<Separable<ColourDodge>>,
                                               tintRow<Separable<ColourBurn>>,
                                               tintRow<Separable<Difference>>,
                                               tintRow<Colour>};

i32 knownMode(i32 mode) {
    return mode > 0 && mode < k_numBlendModes ? mode : k_blendNormal;
}

i32 sharedWidth(const AM_PixelView& a, const AM_PixelView& b) {
    return a.isEmpty() || b.isEmpty() ? 0 : std::min(a.width, b.width);
}
i32 sharedHeight(const AM_PixelView& a, const AM_PixelView& b) {
    return a.isEmpty() || b.isEmpty() ? 0 : std::min(a.height, b.height);
}

} // namespace

namespace AM_PixelOps {

u32 alphaByte(f32 alpha) {
    return alpha > 0 ? static_cast<u32>(std::min(alpha, 1.0f) * 255.0f) : 0;
}

void clear(const AM_PixelView& target, u32 rgba) {
    if (target.isEmpty()) return;
    const u8 bytes[4] = {static_cast<u8>(rgba >> 24), static_cast<u8>(rgba >> 16),
                         static_cast<u8>(rgba >> 8), static_cast<u8>(rgba)};
    for (i32 x = 0; x < target.width; ++x)
        std::memcpy(target.pixels + 4 * static_cast<size_t>(x), bytes, 4);
    for (i32 y = 1; y < target.height; ++y)
        std::memcpy(target.row(y), target.pixels, 4 * static_cast<size_t>(target.width));
}

void clearRect(const AM_PixelView& target, i32 left, i32 top, i32 width, i32 height) {
    if (target.isEmpty()) return;
    const i32 l = std::max(left, 0);
    const i32 t = std::max(top, 0);
    const i64 r = std::min<i64>(static_cast<i64>(left) + width, target.width);
    const i64 b = std::min<i64>(static_cast<i64>(top) + height, target.height);
    if (l >= r) return;
    for (i32 y = t; y < b; ++y)
        std::memset(target.row(y) + 4 * static_cast<size_t>(l), 0, 4 * static_cast<size_t>(r - l));
}

void multiplyAlpha(const AM_PixelView& target, f32 alpha) {
    if (target.isEmpty()) return;
    const u32 factor = alphaByte(alpha);
    if (factor == 0) return clear(target, 0);
    if (factor == 255) return;
    for (i32 y = 0; y < target.height; ++y) {
        u8* row = target.row(y);
        for (i32 x = 0; x < target.width; ++x)
            row[4 * x + 3] = static_cast<u8>(row[4 * x + 3] * factor >> 8);
    }
}

void fade(const AM_PixelView& target, f32 amount) {
    const u32 kept = 255 - alphaByte(amount);
    if (target.isEmpty() || !(amount > 0)) return;
    for (i32 y = 0; y < target.height; ++y) {
        u8* row = target.row(y);
        for (i32 x = 0; x < target.width; ++x) {
            const u32 a = row[4 * x + 3];
            const u32 less = a ? a - 1 : 0;
            row[4 * x + 3] = static_cast<u8>(std::min(times255(a, kept), less));
        }
    }
}

void blendRow(u8* target, const u8* source, i32 count, u32 alpha, const u8* cover, i32 mode) {
    if (alpha) blendRows[knownMode(mode)](target, source, count, std::min(alpha, 255u), cover);
}

void blend(const AM_PixelView& target, const AM_PixelView& source, f32 alpha, i32 mode) {
    const i32 width = sharedWidth(target, source);
    const i32 height = sharedHeight(target, source);
    for (i32 y = 0; y < height; ++y)
        blendRow(target.row(y), source.row(y), width, alphaByte(alpha), nullptr, mode);
}

void blendAdd(const AM_PixelView& target, const AM_PixelView& source, f32 alpha) {
    const i32 width = sharedWidth(target, source);
    const i32 height = sharedHeight(target, source);
    const u32 factor = alphaByte(alpha);
    for (i32 y = 0; y < height; ++y) {
        u8* d = target.row(y);
        const u8* s = source.row(y);
        for (i32 x = 0; x < width; ++x, d += 4, s += 4) {
            const u32 sa = times255(s[3], factor);
            if (sa == 0) continue;
            const u32 da = d[3];
            const u32 whole = std::min(sa + da, 255u);
            for (i32 c = 0; c < 3; ++c) {
                const u32 sum = s[c] * sa + d[c] * da;
                d[c] = static_cast<u8>(std::min((sum + whole / 2) / whole, 255u));
            }
            d[3] = static_cast<u8>(whole);
        }
    }
}

void mask(const AM_PixelView& target, const AM_PixelView& source) {
    const i32 width = sharedWidth(target, source);
    const i32 height = sharedHeight(target, source);
    for (i32 y = 0; y < height; ++y) {
        u8* d = target.row(y) + 3;
        const u8* s = source.row(y) + 3;
        for (i32 x = 0; x < width; ++x)
            d[4 * x] = static_cast<u8>(times255(d[4 * x], s[4 * x]));
    }
}

void combine(const AM_PixelView& target, const AM_PixelView& source) {
    mask(target, source);
    const i32 width = sharedWidth(target, source);
    const i32 height = sharedHeight(target, source);
    clearRect(target, width, 0, target.width - width, height);
    clearRect(target, 0, height, target.width, target.height - height);
}

void tint(const AM_PixelView& target, const AM_Rgba& colour, f32 amount, i32 mode) {
    const u32 word = colour.toWord();
    const u32 alpha = times255(
        word & 255, static_cast<u32>(amount > 0 ? std::min(amount, 1.0f) * 255 + 0.5f : 0));
    if (target.isEmpty() || alpha == 0) return;
    const u8 bytes[3] = {static_cast<u8>(word >> 24), static_cast<u8>(word >> 16),
                         static_cast<u8>(word >> 8)};
    for (i32 y = 0; y < target.height; ++y)
        tintRows[knownMode(mode)](target.row(y), bytes, target.width, alpha);
}

} // namespace AM_PixelOps
