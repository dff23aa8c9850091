#include "PngFile.h"

#include <png.h>

#include <cstdio>
#include <stdexcept>

void writePng(const std::string& file, const AM_PixelView& pixels) {
    if (pixels.isEmpty()) throw std::runtime_error("there is nothing to write to '" + file + "'");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixels.width);
    image.height = static_cast<png_uint_32>(pixels.height);
    image.format = PNG_FORMAT_RGBA;
    if (png_image_write_to_file(&image, file.c_str(), 0, pixels.pixels, pixels.rowBytes, nullptr))
        return;
    const std::string why = image.message;
    png_image_free(&image);
    throw std::runtime_error("can't write '" + file + "': " + why);
}
