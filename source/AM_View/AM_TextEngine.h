// Text with FreeType's outlines and Anti-Grain's font cache: one for the process, since faces are
// costly. Each operation holds its mutex, so that editors may draw on several threads.
#pragma once

#include "AM_PixelView.h"
#include "AM_ScanlineBlend.h"
#include "AM_ScanlineFiller.h"

#include <memory>
#include <string>

// What text looks like: a file, the em's height in pixels, and whether glyphs stand on quarters of
// a pixel and have smooth edges.
struct AM_TextStyle {
    std::string file;
    f64 size = 12; // 1 to 4096
    bool smooth = true;
    bool operator==(const AM_TextStyle& other) const {
        return size == other.size && smooth == other.smooth && file == other.file;
    }
};

// The next character of UTF-8 and its bytes; what is none is U+FFFD, of one byte. The text is not
// at its end. Control characters are blanks, and so that fonts can be asked for them, what is above
// U+FFFF is U+FFFD.
struct AM_TextCharacter {
    u32 code;
    u32 bytes;
};
AM_TextCharacter AM_nextCharacter(const char* text);

class AM_TextEngine {
public:
    // The one of the process; any thread.
    static AM_TextEngine& get();
    ~AM_TextEngine();

    // False if the file can't be read as a font.
    bool canLoad(const std::string& file);
    // In pixels; 0 if the font can't be loaded.
    f64 getWidth(const AM_TextStyle& style, const char* text);
    struct Metric {
        f64 ascent = 0;
        f64 descent = 0; // above 0
        f64 height = 0;
    };
    // As shares of the em; 0 if the font can't be loaded.
    Metric getMetric(const std::string& file);
    // Draws one line whose pen begins at x on a whole baseline. False if some glyph is missing.
    bool draw(const AM_TextStyle& style, const char* text, f64 x, i32 baseline,
              const AM_PixelView& pixels, const AM_PixelRect& clip, const AM_Pixel& colour);

private:
    AM_TextEngine();
    struct Parts;
    std::unique_ptr<Parts> parts;
};
