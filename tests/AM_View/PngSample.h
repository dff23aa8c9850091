// PNG files that tests write themselves.
#pragma once

#include "AM_Types.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <png.h>
#include <string>
#include <vector>

// Writes what it is told; any mistake ends the program.
struct PngSample {
    i32 width = 8;
    i32 height = 8;
    i32 colourType = PNG_COLOR_TYPE_RGBA;
    i32 depth = 8;
    i32 interlace = PNG_INTERLACE_NONE;
    f64 gamma = 0; // 0 for none in the file
    std::vector<png_color> palette;
    std::vector<u8> paletteAlpha;        // of the first colours
    const png_color_16* clear = nullptr; // the one colour of a tRNS chunk
    // The samples of a row, packed as the file has them.
    std::function<void(i32 y, u8* row)> fill = [](i32, u8*) {};

    std::string bytes() const {
        std::string file;
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_set_write_fn(
            png, &file,
            [](png_structp writer, png_bytep data, size_t size) {
                static_cast<std::string*>(png_get_io_ptr(writer))
                    ->append(reinterpret_cast<char*>(data), size);
            },
            nullptr);
        png_set_IHDR(png, info, static_cast<u32>(width), static_cast<u32>(height), depth,
                     colourType, interlace, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (gamma > 0) png_set_gAMA(png, info, gamma);
        if (!palette.empty())
            png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
        if (!paletteAlpha.empty() || clear)
            png_set_tRNS(png, info, paletteAlpha.data(), static_cast<int>(paletteAlpha.size()),
                         clear);
        png_write_info(png, info);
        const size_t rowBytes = png_get_rowbytes(png, info);
        std::vector<u8> pixels(rowBytes * static_cast<size_t>(height));
        std::vector<u8*> rows;
        for (i32 y = 0; y < height; ++y) {
            rows.push_back(&pixels[rowBytes * static_cast<size_t>(y)]);
            fill(y, rows.back());
        }
        png_write_image(png, rows.data());
        png_write_end(png, nullptr);
        png_destroy_write_struct(&png, &info);
        return file;
    }
    void save(const std::string& path) const {
        const std::string file = bytes();
        std::ofstream(path, std::ios::binary).write(file.data(), static_cast<i64>(file.size()));
    }

    // An RGBA image of one colour.
    static PngSample flat(i32 width, i32 height, std::vector<u8> rgba) {
        PngSample sample;
        sample.width = width;
        sample.height = height;
        sample.fill = [width, rgba](i32, u8* row) {
            for (i32 x = 0; x < width; ++x)
                std::memcpy(row + 4 * x, rgba.data(), 4);
        };
        return sample;
    }
};
