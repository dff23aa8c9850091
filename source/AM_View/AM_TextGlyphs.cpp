#include "AM_TextGlyphs.h"

#include <algorithm>

void AM_TextMask::draw(const AM_PixelView& pixels, const AM_PixelRect& clip, i32 x, i32 y,
                       const AM_Pixel& colour) const {
    const i32 l = std::max(x + left, clip.left);
    const i32 t = std::max(y + top, clip.top);
    const i32 r = std::min(x + left + width, clip.right);
    const i32 b = std::min(y + top + height, clip.bottom);
    if (l >= r) return;
    for (i32 row = t; row < b; ++row) {
        const size_t start = size_t(row - y - top) * width + (l - x - left);
        AM_blendCovered(pixels.row(row) + l * 4, r - l, colour, covers.data() + start);
    }
}

bool AM_TextGlyphs::has(const AM_TextStyle& style) const {
    return std::any_of(entries.begin(), entries.end(),
                       [&style](const Entry& entry) { return entry.style == style; });
}

AM_TextGlyphs::Glyphs& AM_TextGlyphs::of(const AM_TextStyle& style) {
    if (used > k_maxBytes) {
        entries.clear();
        used = 0;
    }
    ++uses;
    for (Entry& entry : entries)
        if (entry.style == style) {
            entry.lastUse = uses;
            return entry.glyphs;
        }
    if (entries.size() < k_maxStyles) {
        entries.push_back({style, uses, {}});
        return entries.back().glyphs;
    }
    Entry& oldest =
        *std::min_element(entries.begin(), entries.end(),
                          [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
    for (const auto& [code, glyph] : oldest.glyphs) {
        size_t bytes = glyph.kerning.size() * AM_TextGlyph::k_kerningBytes;
        for (const AM_TextMask& mask : glyph.masks)
            bytes += mask.covers.size();
        used -= std::min(used, bytes);
    }
    oldest = {style, uses, {}};
    return oldest.glyphs;
}
