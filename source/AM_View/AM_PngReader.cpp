#include "AM_PngReader.h"

#include "AM_Log.h"
#include "AM_Text.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <filesystem>
#include <memory>
#include <png.h>

namespace {

// What the callbacks of libpng know. The functions that libpng leaves by a jump hold nothing but
// pointers and numbers: memory belongs to those that call them.
struct Reading {
    const u8* bytes = nullptr;
    size_t size = 0;
    size_t position = 0;
    std::FILE* file = nullptr;
    char message[128] = "";
    png_structp png = nullptr;
    png_infop info = nullptr;

    ~Reading() { png_destroy_read_struct(&png, &info, nullptr); }
};

void fail(png_structp png, png_const_charp message) {
    auto* reading = static_cast<Reading*>(png_get_error_ptr(png));
    AM_STD::copyText(reading->message, message);
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {
}

void readBytes(png_structp png, png_bytep target, size_t count) {
    auto* reading = static_cast<Reading*>(png_get_io_ptr(png));
    if (count > reading->size - reading->position) png_error(png, "it ends too early");
    std::memcpy(target, reading->bytes + reading->position, count);
    reading->position += count;
}

void askForRgba(Reading* reading, i32 colourType, i32 depth, bool hasAlpha, f32 screenGamma) {
    const png_structp png = reading->png;
    f64 fileGamma = 0;
    if (!png_get_gAMA(png, reading->info, &fileGamma) || !(fileGamma > 0.01 && fileGamma < 100))
        fileGamma = k_defaultFileGamma;
    png_set_gamma(png, screenGamma, fileGamma);
    if (depth == 16) png_set_scale_16(png);
    png_set_expand(png); // palettes, small greys and tRNS
    if (!(colourType & PNG_COLOR_MASK_COLOR)) png_set_gray_to_rgb(png);
    if (!hasAlpha) png_set_add_alpha(png, 0xff, PNG_FILLER_AFTER);
}

// Fills all of `image` but its pixels.
bool readHeader(Reading* reading, f32 screenGamma, AM_PngImage* image) {
    const png_structp png = reading->png;
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_user_limits(png, k_maxPngSide, k_maxPngSide);
    if (reading->file)
        png_init_io(png, reading->file);
    else
        png_set_read_fn(png, reading, readBytes);
    png_read_info(png, reading->info);
    const u32 width = png_get_image_width(png, reading->info),
              height = png_get_image_height(png, reading->info);
    if (static_cast<u64>(width) * height * 4 > k_maxPngBytes) png_error(png, "it is too large");
    const i32 colourType = png_get_color_type(png, reading->info);
    image->width = static_cast<i32>(width);
    image->height = static_cast<i32>(height);
    image->hasAlpha = (colourType & PNG_COLOR_MASK_ALPHA) != 0 ||
                      png_get_valid(png, reading->info, PNG_INFO_tRNS) != 0;
    askForRgba(reading, colourType, png_get_bit_depth(png, reading->info), image->hasAlpha,
               screenGamma);
    png_set_interlace_handling(png);
    png_read_update_info(png, reading->info);
    if (png_get_rowbytes(png, reading->info) != static_cast<size_t>(width) * 4)
        png_error(png, "its rows have an unknown form");
    return true;
}

bool readRows(Reading* reading, u8* pixels, i32 rows, i32 rowBytes) {
    const png_structp png = reading->png;
    if (setjmp(png_jmpbuf(png))) return false;
    const i32 passes = png_get_interlace_type(png, reading->info) == PNG_INTERLACE_ADAM7 ? 7 : 1;
    for (i32 pass = 0; pass < passes; ++pass)
        for (i32 y = 0; y < rows; ++y)
            png_read_row(png, pixels + static_cast<i64>(y) * rowBytes, nullptr);
    return true;
}

AM_PngImage read(Reading& reading, f32 screenGamma, const char* name) {
    // Not a number becomes the neutral one.
    const f32 gamma =
        screenGamma == screenGamma ? std::clamp(screenGamma, 0.1f, 10.0f) : k_neutralScreenGamma;
    reading.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reading, fail, ignoreWarning);
    if (!reading.png) {
        AM_Log("PNG loading: png_ptr == NULL");
        return {};
    }
    reading.info = png_create_info_struct(reading.png);
    if (!reading.info) {
        AM_Log("PNG loading: info_ptr == NULL");
        return {};
    }
    AM_PngImage image;
    bool good = readHeader(&reading, gamma, &image);
    if (good) {
        const i32 rowBytes = 4 * image.width;
        image.pixels.resize(static_cast<size_t>(rowBytes) * static_cast<size_t>(image.height));
        good = readRows(&reading, image.pixels.data(), image.height, rowBytes);
    }
    if (good) return image;
    AM_Log("Can't read '%s': %s", name, reading.message);
    return {};
}

} // namespace

AM_PngImage AM_readPng(const void* bytes, size_t size, f32 screenGamma, const char* name) {
    Reading reading;
    reading.bytes = static_cast<const u8*>(bytes);
    reading.size = bytes ? size : 0;
    return read(reading, screenGamma, name);
}

AM_PngImage AM_readPng(std::FILE* file, f32 screenGamma, const char* name) {
    Reading reading;
    reading.file = file;
    return read(reading, screenGamma, name);
}

AM_PngImage AM_readPngFile(const char* path, f32 screenGamma) {
    const auto close = [](std::FILE* file) { std::fclose(file); };
    std::unique_ptr<std::FILE, decltype(close)> file(nullptr, close);
    // Opening a pipe would wait for its other end.
    std::error_code error;
    if (path && std::filesystem::is_regular_file(path, error)) file.reset(std::fopen(path, "rb"));
    if (!file) {
        AM_Log("Can't open '%s'", path);
        return {};
    }
    return AM_readPng(file.get(), screenGamma, path);
}
