#include "AM_Resample.h"

#include "AM_PixelBlend.h"
#include "AM_View/PixelBuffer.h"
#include "AM_ViewPreferences.h"
#include "ground/LogCapture.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace {

void draw(PixelBuffer& target, PixelBuffer& image, const AM_ImagePlacement& how,
          AM_Resampling choice, AM_PixelRect clip = {0, 0, 100000, 100000}) {
    AM_Resampler().draw(target.view(), clip, image.view(), how, choice);
}

AM_Resampling nth(i32 i) {
    return static_cast<AM_Resampling>(i);
}

AM_ImagePlacement at(AM_Rect rect, f32 angle = 0) {
    AM_ImagePlacement how;
    how.target = rect;
    how.angle = angle;
    return how;
}

int largestDifference(const PixelBuffer& a, const PixelBuffer& b) {
    int largest = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i)
        for (size_t c = 0; c < 4; ++c)
            largest = std::max(largest, std::abs(a.pixels[i][c] - b.pixels[i][c]));
    return largest;
}

const AM_Rect k_rects[] = {{13, 14, 40, 30},      {1, 2, 83, 90},          {5.25f, 3.5f, 20, 30},
                           {4.5f, 6, 7.3f, 5.2f}, {-30.5f, -20, 170, 200}, {10, 10, 2, 90}};

} // namespace

TEST(Resample, keepsAnEvenColourWhateverTheSize) {
    for (i32 choice = 0; choice < k_numResamplings; ++choice)
        for (const AM_Rect& rect : k_rects)
            for (const f32 angle : {0.0f, 90.0f, 33.0f})
                for (const u8 alpha : {u8{255}, u8{99}}) {
                    PixelBuffer image(20, 30, {10, 200, 255, alpha});
                    PixelBuffer target(100, 100);
                    draw(target, image, at(rect, angle), nth(choice));
                    f64 covered = 0;
                    for (const Pixel& pixel : target.pixels) {
                        covered += pixel[3];
                        ASSERT_LE(pixel[3], alpha);
                        if (pixel[3] < 20) continue;
                        ASSERT_NEAR(pixel[0], 10, 1);
                        ASSERT_NEAR(pixel[1], 200, 1);
                        ASSERT_EQ(pixel[2], 255);
                    }
                    const bool inside = rect.left > 0 && rect.height < 80;
                    if (inside) {
                        ASSERT_NEAR(covered / alpha, rect.width * rect.height,
                                    1 + rect.width * rect.height * 0.01)
                            << choice << " " << angle;
                    }
                }
}

TEST(Resample, keepsPlaceSumAndColourOfAShape) {
    for (i32 choice = 1; choice < k_numResamplings; ++choice)
        for (const AM_Rect& rect : {AM_Rect{7, 9, 70, 80}, {20.3f, 30.6f, 13, 12}, {9, 4, 30, 40}})
            for (const f32 angle : {0.0f, 180.0f, 57.0f}) {
                // A red spot, not in the middle, on transparent green.
                PixelBuffer image(30, 40, {0, 255, 0, 0});
                for (i32 y = 12; y < 20; ++y)
                    for (i32 x = 16; x < 24; ++x)
                        image.at(x, y) = {255, 0, 0, 255};
                PixelBuffer target(100, 100);
                draw(target, image, at(rect, angle), nth(choice));
                const f64 sum = target.sum(3);
                f64 momentX = 0;
                f64 momentY = 0;
                for (i32 y = 0; y < 100; ++y)
                    for (i32 x = 0; x < 100; ++x) {
                        const Pixel& pixel = target.at(x, y);
                        const u8 red = pixel[3] ? 255 : 0;
                        ASSERT_EQ(pixel, (Pixel{red, 0, 0, pixel[3]})) << choice;
                        momentX += (x + 0.5) * pixel[3];
                        momentY += (y + 0.5) * pixel[3];
                    }
                const f64 radians = angle * std::acos(-1) / 180;
                const f64 x = (20 / 30.0 - 0.5) * rect.width;
                const f64 y = (16 / 40.0 - 0.5) * rect.height;
                const f64 toX =
                    rect.left + rect.width / 2 + x * std::cos(radians) - y * std::sin(radians);
                const f64 toY =
                    rect.top + rect.height / 2 + x * std::sin(radians) + y * std::cos(radians);
                EXPECT_NEAR(momentX / sum, toX, 0.1) << choice << " " << angle;
                EXPECT_NEAR(momentY / sum, toY, 0.1) << choice << " " << angle;
                const f64 area = 64 * 255.0 * rect.width * rect.height / 1200;
                EXPECT_NEAR(sum, area, area * 0.04) << choice << " " << angle;
            }
}

TEST(Resample, copiesWhatKeepsItsSize) {
    PixelBuffer image(21, 13);
    image.fillRandom(1);
    for (i32 choice = 0; choice < k_numResamplings; ++choice) {
        PixelBuffer backdrop(40, 40);
        backdrop.fillRandom(2);
        PixelBuffer target = backdrop;
        draw(target, image, at({5.001f, 7, 21, 13}), nth(choice));
        PixelBuffer wanted = backdrop;
        AM_PixelView part = wanted.view();
        part.pixels = part.row(7) + 4 * 5;
        AM_PixelOps::blend(part, image.view(), 1, k_blendNormal);
        ASSERT_EQ(target.pixels, wanted.pixels);
        // Quarters of a turn around the middle, which is at 15.5, 13.5.
        for (const i32 quarters : {1, 2, 3, -1, 5, 8}) {
            PixelBuffer turned(40, 40);
            draw(turned, image, at({5, 7, 21, 13}, 90.0f * static_cast<f32>(quarters)),
                 nth(choice));
            for (i32 y = 0; y < 13; ++y)
                for (i32 x = 0; x < 21; ++x) {
                    i32 dx = x - 10;
                    i32 dy = y - 6;
                    for (i32 k = 0; k < ((quarters + 8) & 3); ++k)
                        dx = -std::exchange(dy, dx);
                    const Pixel& from = image.at(x, y);
                    const Pixel wantedPixel = from[3] ? from : Pixel{};
                    ASSERT_EQ(turned.at(15 + dx, 13 + dy), wantedPixel) << quarters;
                }
        }
    }
}

TEST(Resample, reducesWithoutPatterns) {
    PixelBuffer image(160, 160);
    for (i32 y = 0; y < 160; ++y)
        for (i32 x = 0; x < 160; ++x)
            image.at(x, y) = (x ^ y) & 1 ? Pixel{255, 255, 255, 255} : Pixel{0, 0, 0, 255};
    for (i32 choice = 1; choice < k_numResamplings; ++choice)
        for (const f32 angle : {0.0f, 20.0f}) {
            PixelBuffer target(60, 60);
            draw(target, image, at({5.5f, 5, 48, 46}, angle), nth(choice));
            for (i32 y = 20; y < 40; ++y)
                for (i32 x = 20; x < 40; ++x)
                    ASSERT_NEAR(target.at(x, y)[0], 127.5, 10) << choice << " " << angle;
        }
}

TEST(Resample, partsMakeTheWholeAndBackdropsDoNotMatter) {
    PixelBuffer image(33, 27);
    image.fillRandom(5);
    PixelBuffer mask(5, 4);
    mask.fillRandom(6);
    const AM_PixelView maskView = mask.view();
    for (i32 choice = 0; choice < k_numResamplings; ++choice)
        for (const f32 angle : {0.0f, 270.0f, 41.0f})
            for (i32 mode = 0; mode < k_numBlendModes; mode += 3) {
                AM_ImagePlacement how = at({6.2f, 3.9f, 60, 16.5f}, angle);
                how.alpha = 0.7f;
                how.blend = static_cast<AM_BlendMode>(mode);
                how.mask = mode ? &maskView : nullptr;
                PixelBuffer backdrop(80, 70, {30, 99, 250, 255});
                PixelBuffer whole = backdrop;
                draw(whole, image, how, nth(choice));
                PixelBuffer parts = backdrop;
                for (i32 y = 0; y < 70; y += 13)
                    for (i32 x = 0; x < 80; x += 11)
                        draw(parts, image, how, nth(choice), {x, y, x + 11, y + 13});
                ASSERT_EQ(largestDifference(whole, parts), 0)
                    << choice << " " << angle << " " << mode;
                if (mode > k_blendNormal) continue;
                // On an opaque backdrop there is a faster road.
                PixelBuffer layer(80, 70);
                draw(layer, image, how, nth(choice));
                AM_PixelOps::blend(backdrop.view(), layer.view(), 1, k_blendNormal);
                ASSERT_LE(largestDifference(whole, backdrop), 1);
            }
}

TEST(Resample, standsUpToAnything) {
    const f32 inf = std::numeric_limits<f32>::infinity();
    const f32 nan = std::numeric_limits<f32>::quiet_NaN();
    const f32 numbers[] = {nan, inf, -inf, 1e30f, -3e5f, 1e-30f, 0, 0.01f, 9e5f, 50};
    PixelBuffer target(20, 20);
    for (const i32 size : {1, 3, 200}) {
        PixelBuffer image(size, 201 - size, {1, 2, 3, 255});
        for (i32 choice = -1; choice <= k_numResamplings; ++choice)
            for (const f32 x : numbers)
                for (const f32 width : numbers)
                    for (const f32 angle : {0.0f, 90.0f, 1.0f, x})
                        draw(target, image, at({x, 3, width, x}, angle), nth(choice));
    }
    const std::vector<Pixel> before = target.pixels;
    PixelBuffer image(2, 2, {1, 2, 3, 255});
    AM_ImagePlacement how = at({0, 0, 20, 20});
    const AM_PixelView nothing;
    how.mask = &nothing;
    draw(target, image, how, k_bilinear);
    how.mask = nullptr;
    how.alpha = nan;
    draw(target, image, how, k_bilinear);
    AM_Resampler().draw(nothing, {0, 0, 9, 9}, image.view(), at({0, 0, 9, 9}), k_cubic);
    AM_Resampler().draw(target.view(), {0, 0, 9, 9}, nothing, at({0, 0, 9, 9}), k_cubic);
    AM_Resampler().draw(target.view(), {9, 9, 9, 2}, image.view(), at({0, 0, 9, 9}), k_cubic);
    EXPECT_EQ(target.pixels, before);
}

// What a resampler keeps from image to image changes nothing: more sizes than it keeps, at whole
// pixels and between them, clipped and not.
TEST(Resample, keepsNothingThatShows) {
    AM_Resampler kept;
    PixelBuffer image(13, 9);
    image.fillRandom(5);
    for (i32 i = 0; i < 240; ++i) {
        // Neighbours differ in one thing: the choice, the clip or the place.
        const i32 step = i / 4;
        AM_ImagePlacement how;
        const f32 place = static_cast<f32>(step % 7 + (i % 4 > 2)) * (step % 2 ? 1.0f : 0.75f);
        how.target = {place, 20 - place, static_cast<f32>(10 + step % 6 * 7), 17};
        const AM_PixelRect clip{step % 3 * 4 + (i % 4 > 1), 0, 64 - step % 5, 48};
        PixelBuffer byKept(64, 48, {9, 9, 9, 255}), byNew = byKept;
        const AM_Resampling choice = nth((step + (i % 4 > 0)) % 5);
        kept.draw(byKept.view(), clip, image.view(), how, choice);
        AM_Resampler().draw(byNew.view(), clip, image.view(), how, choice);
        ASSERT_EQ(byKept.pixels, byNew.pixels) << i;
    }
}

TEST(Resample, isAPreferenceByName) {
    struct Store : AM_IViewPreferences {
        std::optional<std::string> value;
        std::string asked;
        std::string getPreferenceValue(const char* group, const char* name, i32,
                                       const char* standard) override {
            asked = std::string(group) + ":" + name;
            return value.value_or(standard);
        }
    } store;
    LogCapture log;
    EXPECT_EQ(AM_preferredResampling(store), k_bilinear);
    EXPECT_EQ(store.asked, "AllViews:Image Resampling");
    for (i32 i = 0; i < k_numResamplings; ++i) {
        store.value = AM_resamplingLabels[i];
        EXPECT_EQ(AM_preferredResampling(store), i);
    }
    EXPECT_EQ(AM_findResampling("Mitchell 2pass"), k_mitchell2Pass);
    EXPECT_TRUE(log.take().empty());
    for (const char* wrong : {"", "catrom", "Catrom 3pass"}) {
        store.value = wrong;
        EXPECT_EQ(AM_preferredResampling(store), k_bilinear);
        EXPECT_EQ(log.count("is no choice for 'Image Resampling'"), 1) << wrong;
        log.take();
    }
}
