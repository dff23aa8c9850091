#include "AM_Files/TemporaryFolder.h"
#include "AM_PngCache.h"
#include "AM_PngReader.h"
#include "AM_View/PngSample.h"
#include "ground/LogCapture.h"

#include <array>
#include <cmath>
#include <thread>

namespace {

using Rgba = std::array<i32, 4>;

Rgba pixelOf(const AM_PngImage& image, i32 x, i32 y) {
    const u8* pixel = image.view().row(y) + 4 * x;
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

AM_PngImage read(const PngSample& sample, f32 gamma = k_neutralScreenGamma) {
    const std::string bytes = sample.bytes();
    return AM_readPng(bytes.data(), bytes.size(), gamma, "sample");
}

// Of a channel as the reader has to change it.
i32 corrected(i32 channel, f64 fileGamma, f64 screenGamma) {
    return static_cast<i32>(
        std::lround(255 * std::pow(channel / 255.0, 1 / (fileGamma * screenGamma))));
}

const png_color_16 k_clearGrey = {0, 0, 0, 0, 5};

struct Form {
    const char* name;
    i32 colourType;
    i32 depth;
    const png_color_16* clear;
    bool hasAlpha;
    // What is written at x, y, and what has to be read.
    void (*write)(i32 x, i32 y, u8* row);
    Rgba (*expect)(i32 x, i32 y);
};

void setBits(u8* row, i32 x, i32 depth, i32 value) {
    row[x * depth / 8] |= static_cast<u8>(value << (8 - depth - x * depth % 8));
}

const Form k_forms[] = {
    {"rgba", PNG_COLOR_TYPE_RGBA, 8, nullptr, true,
     [](i32 x, i32 y, u8* row) {
         const u8 pixel[] = {u8(x), u8(y), 200, u8(x * 7)};
         std::memcpy(row + 4 * x, pixel, 4);
     },
     [](i32 x, i32 y) {
         return Rgba{x, y, 200, x * 7};
     }},
    {"rgb of 16 bits", PNG_COLOR_TYPE_RGB, 16, nullptr, false,
     [](i32 x, i32 y, u8* row) {
         const u8 pixel[] = {u8(x), 0, u8(y), 0x80, 255, 255};
         std::memcpy(row + 6 * x, pixel, 6);
     },
     [](i32 x, i32 y) { // rounded, not cut
         return Rgba{(x * 256 * 255 + 32767) / 65535, ((y * 256 + 128) * 255 + 32767) / 65535, 255,
                     255};
     }},
    {"palette of 2 bits with tRNS", PNG_COLOR_TYPE_PALETTE, 2, nullptr, true,
     [](i32 x, i32 y, u8* row) { setBits(row, x, 2, (x + y) % 4); },
     [](i32 x, i32 y) {
         constexpr Rgba colours[] = {
             {255, 0, 0, 0}, {0, 255, 0, 100}, {0, 0, 255, 255}, {9, 8, 7, 255}};
         return colours[(x + y) % 4];
     }},
    {"grey of 4 bits with tRNS", PNG_COLOR_TYPE_GRAY, 4, &k_clearGrey, true,
     [](i32 x, i32 y, u8* row) { setBits(row, x, 4, (x + y) % 16); },
     [](i32 x, i32 y) {
         const i32 grey = (x + y) % 16;
         return Rgba{grey * 17, grey * 17, grey * 17, grey == 5 ? 0 : 255};
     }},
    {"grey of 1 bit", PNG_COLOR_TYPE_GRAY, 1, nullptr, false,
     [](i32 x, i32 y, u8* row) { setBits(row, x, 1, (x + y) % 2); },
     [](i32 x, i32 y) {
         const i32 grey = (x + y) % 2 * 255;
         return Rgba{grey, grey, grey, 255};
     }},
    {"grey with alpha", PNG_COLOR_TYPE_GRAY_ALPHA, 8, nullptr, true,
     [](i32 x, i32 y, u8* row) {
         row[2 * x] = u8(x * 3);
         row[2 * x + 1] = u8(y * 5);
     },
     [](i32 x, i32 y) {
         return Rgba{x * 3, x * 3, x * 3, y * 5};
     }},
};

PngSample sampleOf(const Form& form, i32 interlace) {
    PngSample sample;
    sample.width = 37;
    sample.height = 19;
    sample.colourType = form.colourType;
    sample.depth = form.depth;
    sample.interlace = interlace;
    sample.clear = form.clear;
    if (form.colourType == PNG_COLOR_TYPE_PALETTE) {
        sample.palette = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {9, 8, 7}};
        sample.paletteAlpha = {0, 100};
    }
    sample.fill = [&form](i32 y, u8* row) {
        for (i32 x = 0; x < 37; ++x)
            form.write(x, y, row);
    };
    return sample;
}

TEST(Png, everyFormIsRead) {
    for (const Form& form : k_forms)
        for (const i32 interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7}) {
            SCOPED_TRACE(form.name);
            const AM_PngImage image = read(sampleOf(form, interlace));
            ASSERT_EQ(image.width, 37);
            ASSERT_EQ(image.height, 19);
            EXPECT_EQ(image.hasAlpha, form.hasAlpha);
            for (i32 y = 0; y < 19; ++y)
                for (i32 x = 0; x < 37; ++x)
                    ASSERT_EQ(pixelOf(image, x, y), form.expect(x, y)) << x << ", " << y;
        }
}

TEST(Png, gammaOfFileAndScreenBendsTheColoursAlone) {
    for (const f64 fileGamma : {0.0, 1.0, 0.7})
        for (const f32 screen : {1.8f, 2.2f, 2.6f}) {
            PngSample sample;
            sample.width = 256;
            sample.height = 1;
            sample.gamma = fileGamma;
            sample.fill = [](i32, u8* row) {
                for (i32 x = 0; x < 256; ++x)
                    for (i32 c = 0; c < 4; ++c)
                        row[4 * x + c] = u8(x);
            };
            const AM_PngImage image = read(sample, screen);
            for (i32 x = 0; x < 256; ++x) {
                const i32 wanted = corrected(x, fileGamma > 0 ? fileGamma : 0.45455, screen);
                ASSERT_NEAR(pixelOf(image, x, 0)[0], wanted, 1) << fileGamma << " " << screen;
                ASSERT_EQ(pixelOf(image, x, 0)[3], x);
            }
        }
    const AM_PngImage palette = read(sampleOf(k_forms[2], PNG_INTERLACE_NONE), 1.1f);
    EXPECT_NEAR(pixelOf(palette, 3, 0)[0], corrected(9, 0.45455, 1.1), 1);
    EXPECT_EQ(pixelOf(palette, 1, 0)[3], 100);
}

TEST(Png, damageEndsInAnEmptyImageAndALine) {
    const std::string whole = sampleOf(k_forms[0], PNG_INTERLACE_ADAM7).bytes();
    LogCapture log;
    for (size_t size = 0; size + 12 < whole.size(); size += 7) { // the last chunk is empty
        EXPECT_TRUE(AM_readPng(whole.data(), size, 2.2f, "cut").isEmpty()) << size;
        EXPECT_EQ(log.count("Can't read 'cut': "), 1) << size;
        log.take();
    }
    std::string wrong = whole;
    wrong[60] = static_cast<char>(wrong[60] ^ 1); // of the pixels
    EXPECT_TRUE(AM_readPng(wrong.data(), wrong.size(), 2.2f, "wrong").isEmpty());
    EXPECT_TRUE(AM_readPng(nullptr, 5, 2.2f, "none").isEmpty());
    EXPECT_TRUE(AM_readPng(whole.data(), whole.size(), NAN, "whole").hasAlpha);
}

TEST(Png, imagesBeyondTheLimitsAreRefused) {
    const struct {
        i32 width, height;
        bool good;
    } cases[] = {{8192, 1, true},
                 {8193, 1, false},
                 {1, 8193, false},
                 {4096, 4096, true},
                 {4097, 4096, false}};
    for (const auto& size : cases) {
        PngSample sample;
        sample.width = size.width;
        sample.height = size.height;
        sample.colourType = PNG_COLOR_TYPE_GRAY;
        sample.depth = 1;
        EXPECT_EQ(read(sample).isEmpty(), !size.good) << size.width << " " << size.height;
    }
}

TEST(Png, whatIsNoFileCannotBeOpened) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    LogCapture log;
    for (const std::string& path : {folder / "missing.png", folder.path(), folder / "pipe"}) {
        EXPECT_TRUE(AM_readPngFile(path.c_str(), 2.2f).isEmpty());
        EXPECT_TRUE(log.has("Can't open '" + path + "'"));
    }
}

TEST(PngCache, sharesAnImageWhileSomebodyHoldsIt) {
    const TemporaryFolder folder;
    const std::string path = folder / "a.png";
    PngSample::flat(4, 4, {10, 20, 30, 40}).save(path);
    AM_PngCache cache;
    std::array<AM_PngImagePtr, 8> images;
    {
        std::vector<std::jthread> threads;
        for (AM_PngImagePtr& image : images)
            threads.emplace_back([&] { image = cache.get(path, 2.2f); });
    }
    for (const AM_PngImagePtr& image : images)
        EXPECT_EQ(image, images[0]);
    ASSERT_TRUE(images[0]);
    EXPECT_NE(cache.get(path, 1.8f), images[0]);
    EXPECT_EQ(cache.count(), 1u); // nobody holds the other one

    PngSample::flat(5, 5, {10, 20, 30, 40}).save(path);
    EXPECT_EQ(cache.get(path, 2.2f)->width, 4);
    images.fill(nullptr);
    EXPECT_EQ(cache.count(), 0u);
    EXPECT_EQ(cache.get(path, 2.2f)->width, 5);
    EXPECT_FALSE(cache.get(folder / "missing.png", 2.2f));
}

} // namespace
