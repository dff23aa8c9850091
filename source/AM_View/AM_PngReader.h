// PNG files as pixels.
#pragma once

#include "AM_PixelView.h"

#include <cstdio>
#include <vector>

// A decoded image; empty if it could not be read.
struct AM_PngImage {
    std::vector<u8> pixels; // rows without gaps
    i32 width = 0;
    i32 height = 0;
    bool hasAlpha = false; // as the file says: an alpha channel or a tRNS chunk

    bool isEmpty() const { return pixels.empty(); }
    // Good while the image lives; the pixels are not for writing.
    AM_PixelView view() const { return {const_cast<u8*>(pixels.data()), width, height, 4 * width}; }
};

inline constexpr i32 k_maxPngSide = 8192;                  // pixels
inline constexpr size_t k_maxPngBytes = 64u * 1024 * 1024; // of pixels, 4 bytes each
// The gamma of a file that does not tell, and that of a usual screen.
inline constexpr f64 k_defaultFileGamma = 0.45455;
inline constexpr f32 k_neutralScreenGamma = 2.2f;

// Reads an image of any sort that the format knows: every channel v becomes
// v ^ (1 / (file's gamma * screenGamma)), the alpha stays. Without transparency in the file the
// alpha is 0xff. `screenGamma` is held at 0.1 to 10. What is damaged, cut off or larger than the
// limits gives an empty image and a line in the log with `name`. Any thread.
AM_PngImage AM_readPng(const void* bytes, size_t size, f32 screenGamma, const char* name);
// The same from where the file stands; it stays open.
AM_PngImage AM_readPng(std::FILE* file, f32 screenGamma, const char* name);
// The same of the file `path`: "Can't open '%s'" in the log if there is none.
AM_PngImage AM_readPngFile(const char* path, f32 screenGamma);
