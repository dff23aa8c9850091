// The coverages of glyphs that were drawn before.
#pragma once

#include "AM_TextEngine.h"

#include <array>
#include <unordered_map>
#include <vector>

// A glyph's coverages, around its pen position; empty for blanks.
struct AM_TextMask {
    i32 left = 0;
    i32 top = 0;
    i32 width = 0;
    i32 height = 0;
    std::vector<u8> covers;

    // Its coverages of a colour, as far as they are inside of the clip.
    void draw(const AM_PixelView& pixels, const AM_PixelRect& clip, i32 x, i32 y,
              const AM_Pixel& colour) const;
};

struct AM_TextGlyph {
    static constexpr size_t k_kerningBytes = 48; // of an entry, about

    u32 index = 0;                        // within the font; 0 if it has none for the character
    f64 advance = 0;                      // in steps of the pen
    bool large = false;                   // too large to be kept as a mask
    std::unordered_map<u32, f64> kerning; // steps of the pen, by the index of the glyph before
    std::array<bool, 4> made{};
    std::array<AM_TextMask, 4> masks; // by the quarter of a pixel on which it stands
};

// Of a few styles; the one that was asked for longest ago goes first.
class AM_TextGlyphs {
public:
    using Glyphs = std::unordered_map<u32, AM_TextGlyph>;
    // Those of a style, by character. Good until the next call.
    Glyphs& of(const AM_TextStyle& style);
    bool has(const AM_TextStyle& style) const;
    // Counts bytes that are kept; forgets all glyphs before it becomes too many.
    void count(size_t bytes) { used += bytes; }

private:
    static constexpr size_t k_maxStyles = 32;
    static constexpr size_t k_maxBytes = size_t(16) << 20;

    struct Entry {
        AM_TextStyle style;
        u64 lastUse = 0;
        Glyphs glyphs;
    };
    std::vector<Entry> entries;
    u64 uses = 0;
    size_t used = 0;
};
