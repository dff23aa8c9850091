#include "PngFile.h"

#include <png.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace {
namespace fs = std::filesystem;

bool isOpaque(const AM_PixelView& pixels) {
    for (i32 y = 0; y < pixels.height; ++y)
        for (i32 x = 0; x < pixels.width; ++x)
            if (pixels.row(y)[4 * x + 3] != 255) return false;
    return true;
}

std::vector<u8> withoutAlpha(const AM_PixelView& pixels) {
    std::vector<u8> colours;
    colours.reserve(3 * static_cast<size_t>(pixels.width) * static_cast<size_t>(pixels.height));
    for (i32 y = 0; y < pixels.height; ++y)
        for (i32 x = 0; x < pixels.width; ++x)
            colours.insert(colours.end(), pixels.row(y) + 4 * x, pixels.row(y) + 4 * x + 3);
    return colours;
}

[[noreturn]] void fail(const std::string& file, const std::string& why) {
    throw std::runtime_error("can't write '" + file + "': " + why);
}

// What the library has to say comes as a message, never as a jump.
std::vector<u8> encode(const std::string& file, const AM_PixelView& pixels) {
    const bool opaque = isOpaque(pixels);
    const std::vector<u8> colours = opaque ? withoutAlpha(pixels) : std::vector<u8>();
    const void* const buffer = opaque ? colours.data() : pixels.pixels;
    const png_int_32 stride = opaque ? 3 * pixels.width : pixels.rowBytes;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixels.width);
    image.height = static_cast<png_uint_32>(pixels.height);
    image.format = opaque ? PNG_FORMAT_RGB : PNG_FORMAT_RGBA;
    std::vector<u8> smallest;
    // Rows as they are suit few colours, the difference to their neighbours suits many.
    for (const png_uint_32 plainRows : {png_uint_32(0), png_uint_32(PNG_IMAGE_FLAG_FAST)}) {
        image.flags = plainRows;
        std::vector<u8> bytes(PNG_IMAGE_PNG_SIZE_MAX(image));
        png_alloc_size_t size = bytes.size();
        if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, buffer, stride, nullptr)) {
            const std::string why = image.message;
            png_image_free(&image);
            fail(file, why);
        }
        bytes.resize(size);
        if (smallest.empty() || size < smallest.size()) smallest.swap(bytes);
    }
    return smallest;
}
} // namespace

void writePng(const std::string& file, const AM_PixelView& pixels) {
    if (pixels.isEmpty()) throw std::runtime_error("there is nothing to write to '" + file + "'");
    const std::vector<u8> bytes = encode(file, pixels);
    std::error_code error;
    const fs::path place = fs::weakly_canonical(file, error);
    if (error) fail(file, error.message());
    std::string name = ".";
    name += place.filename().string();
    name.append(".").append(std::to_string(::getpid())).append(".part");
    const fs::path temporary = place.parent_path() / name;
    std::error_code ignored;
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        if (!out) fail(file, "the folder is missing or write-protected");
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        out.close();
        if (!out) {
            fs::remove(temporary, ignored);
            fail(file, "the disk is full or failed");
        }
    }
    fs::rename(temporary, place, error);
    if (!error) return;
    fs::remove(temporary, ignored);
    fail(file, error.message());
}
