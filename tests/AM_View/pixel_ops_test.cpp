#include "AM_PixelOps.h"

#include "AM_Colour.h"
#include "AM_PixelBlendRow.h"
#include "AM_View/PixelBuffer.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace {

using Rgb = std::array<f64, 3>;

f64 mixed(i32 mode, f64 b, f64 s) {
    switch (mode) {
    case k_blendMultiply:
        return b * s;
    case k_blendScreen:
        return b + s - b * s;
    case k_blendOverlay:
        return b <= 0.5 ? 2 * b * s : 1 - 2 * (1 - b) * (1 - s);
    case k_blendDarken:
        return std::min(b, s);
    case k_blendLighten:
        return std::max(b, s);
    case k_blendColourDodge:
        return b == 0 ? 0 : s == 1 ? 1 : std::min(1.0, b / (1 - s));
    case k_blendColourBurn:
        return b == 1 ? 1 : s == 0 ? 0 : 1 - std::min(1.0, (1 - b) / s);
    case k_blendDifference:
        return std::abs(b - s);
    default:
        return s;
    }
}

f64 luminosity(const Rgb& c) {
    return 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
}

Rgb coloured(const Rgb& b, Rgb c) {
    const f64 shift = luminosity(b) - luminosity(c);
    for (f64& x : c)
        x += shift;
    const f64 l = luminosity(c);
    const f64 n = std::min({c[0], c[1], c[2]});
    const f64 m = std::max({c[0], c[1], c[2]});
    for (f64& x : c) {
        if (n < 0) x = l + (x - l) * l / (l - n);
        if (m > 1) x = l + (x - l) * (1 - l) / (m - l);
    }
    return c;
}

// What the bytes should be: alpha, and colours that only count as far as alpha has room for them.
std::array<f64, 4> composited(i32 mode, const Pixel& back, const Pixel& source, u32 alpha) {
    const f64 as = std::round(source[3] * alpha / 255.0) / 255;
    const f64 ab = back[3] / 255.0;
    const f64 whole = as + ab * (1 - as);
    Rgb b{back[0] / 255.0, back[1] / 255.0, back[2] / 255.0};
    Rgb s{source[0] / 255.0, source[1] / 255.0, source[2] / 255.0};
    Rgb mix = coloured(b, s);
    std::array<f64, 4> result{0, 0, 0, whole * 255};
    for (size_t c = 0; c < 3; ++c) {
        if (mode != k_blendColour) mix[c] = mixed(mode, b[c], s[c]);
        const f64 sum = s[c] * as * (1 - ab) + mix[c] * as * ab + b[c] * ab * (1 - as);
        result[c] = whole > 0 ? sum / whole * 255 : 0;
    }
    return result;
}

} // namespace

TEST(PixelBlend, followsTheFormulasInEveryMode) {
    for (i32 mode = 0; mode < k_numBlendModes; ++mode)
        for (const f32 alpha : {1.0f, 0.4f}) {
            PixelBuffer back(61, 40);
            PixelBuffer source(61, 40);
            back.fillRandom(1);
            source.fillRandom(2);
            // Half of the rows lie on an opaque backdrop, which has a road of its own.
            for (i32 i = 0; i < 61 * 20; ++i)
                back.pixels[static_cast<size_t>(i)][3] = 255;
            const PixelBuffer before = back;
            AM_PixelOps::blend(back.view(), source.view(), alpha, mode);
            for (size_t i = 0; i < back.pixels.size(); ++i) {
                const auto wanted = composited(mode, before.pixels[i], source.pixels[i],
                                               AM_PixelOps::alphaByte(alpha));
                ASSERT_NEAR(back.pixels[i][3], wanted[3], 0.51) << mode << " " << i;
                if (back.pixels[i][3] == 0) continue;
                for (size_t c = 0; c < 3; ++c)
                    ASSERT_NEAR(back.pixels[i][c], wanted[c], 1.1) << mode << " " << i;
            }
        }
}

// Rows of runs as layers have them, over backdrops that are opaque in places: by vectors of any
// width what single pixels give, and whole where all is opaque.
TEST(PixelBlend, makesOfRunsWhatSinglePixelsGive) {
    for (const AM_OverBlocks blocks : {AM_overBlocksSse, AM_overBlocks()}) {
        PixelBuffer back(137, 60), source(137, 60);
        back.fillRandom(3);
        source.fillRandom(4);
        for (i32 i = 0; i < 137 * 60; ++i) {
            const size_t at = static_cast<size_t>(i);
            const i32 kind = i / 137 < 3 ? 0 : i / 29 % 3; // the first rows are opaque
            if (kind < 2) source.pixels[at][3] = kind == 0 ? 255 : 0;
            if (i / 137 % 2 || i / 40 % 2) back.pixels[at][3] = 255;
        }
        PixelBuffer byBlocks = back, byOnes = back;
        for (i32 y = 0; y < 60; ++y) {
            u8* const target = byBlocks.view().row(y);
            const u8* const from = source.view().row(y);
            for (i32 x = y % 9; x < 137;) {
                x = blocks(target, from, x, 137);
                const i32 end = std::min(x + 8, 137);
                for (; x < end; ++x)
                    AM_blendNormalRow(target + 4 * x, from + 4 * x, 1, 255, nullptr);
            }
            for (i32 x = y % 9; x < 137; ++x)
                AM_blendNormalRow(byOnes.view().row(y) + 4 * x, from + 4 * x, 1, 255, nullptr);
        }
        EXPECT_EQ(byBlocks.pixels, byOnes.pixels);
        for (i32 x = 2; x < 137; ++x)
            EXPECT_EQ(byBlocks.at(x, 2), source.at(x, 2));
    }
}

TEST(PixelBlend, addsMasksAndFades) {
    PixelBuffer target(3, 1, {100, 0, 200, 255});
    PixelBuffer source(2, 1, {100, 50, 100, 128});
    AM_PixelOps::blendAdd(target.view(), source.view(), 1);
    EXPECT_EQ(target.at(0, 0), (Pixel{150, 25, 250, 255}));
    AM_PixelOps::mask(target.view(), source.view());
    EXPECT_EQ(target.at(1, 0)[3], 128);
    EXPECT_EQ(target.at(2, 0)[3], 255);
    AM_PixelOps::combine(target.view(), source.view());
    EXPECT_EQ(target.at(1, 0)[3], 64);
    EXPECT_EQ(target.at(2, 0), Pixel{});
    AM_PixelOps::multiplyAlpha(target.view(), 1);
    EXPECT_EQ(target.at(0, 0)[3], 64);
    AM_PixelOps::multiplyAlpha(target.view(), 0.5f);
    EXPECT_EQ(target.at(0, 0), (Pixel{150, 25, 250, 64 * 127 >> 8}));
    for (i32 i = 0; i < 40; ++i)
        AM_PixelOps::fade(target.view(), 0.001f);
    EXPECT_EQ(target.at(0, 0)[3], 0);
    AM_PixelOps::multiplyAlpha(target.view(), 0.0039f);
    EXPECT_EQ(target.at(0, 0), Pixel{});
}

TEST(PixelBlend, tintsWhatIsThereAndNothingElse) {
    PixelBuffer target(2, 1, {200, 100, 50, 77});
    target.at(1, 0) = {};
    AM_PixelOps::tint(target.view(), {1, 0, 0, 1}, 0.5f, k_blendMultiply);
    EXPECT_EQ(target.at(0, 0), (Pixel{200, 50, 25, 77}));
    EXPECT_EQ(target.at(1, 0), Pixel{});
}

TEST(PixelFilters, blurWithoutShiftFringeOrLoss) {
    const std::array<void (*)(AM_PixelView), 2> blurs = {
        [](AM_PixelView view) {
            AM_PixelOps::blurX(view, 0.6f);
            AM_PixelOps::blurY(view, 0.6f);
        },
        [](AM_PixelView view) { AM_PixelOps::gaussBlur(view, 4.5f); }};
    for (const auto blur : blurs) {
        // A red square on transparent green: no green may show, the square stays where it was.
        PixelBuffer target(150, 101, {0, 255, 0, 0});
        for (i32 y = 40; y < 61; ++y)
            for (i32 x = 60; x < 81; ++x)
                target.at(x, y) = {255, 0, 0, 255};
        const f64 before = target.sum(3);
        blur(target.view());
        f64 momentX = 0;
        f64 momentY = 0;
        for (i32 y = 0; y < 101; ++y)
            for (i32 x = 0; x < 150; ++x) {
                const Pixel& pixel = target.at(x, y);
                momentX += x * pixel[3];
                momentY += y * pixel[3];
                const u8 red = pixel[3] ? 255 : 0;
                ASSERT_EQ(pixel, (Pixel{red, 0, 0, pixel[3]}));
            }
        EXPECT_NEAR(target.sum(3), before, before * 0.01);
        EXPECT_NEAR(momentX / target.sum(3), 70, 0.05);
        EXPECT_NEAR(momentY / target.sum(3), 50, 0.05);
        EXPECT_LT(target.at(60, 50)[3], 200);
        PixelBuffer even(70, 3, {10, 200, 30, 99});
        blur(even.view());
        EXPECT_EQ(even.at(0, 0), (Pixel{10, 200, 30, 99}));
        EXPECT_EQ(even.at(69, 2), (Pixel{10, 200, 30, 99}));
    }
}

TEST(PixelFilters, hueSaturationAndValueFollowTheFormulas) {
    PixelBuffer target(64, 64);
    target.fillRandom(3);
    const PixelBuffer before = target;
    AM_PixelOps::saturate(target.view(), 0.3f, -0.4f, 0.25f);
    for (size_t i = 0; i < before.pixels.size(); ++i) {
        const Pixel& p = before.pixels[i];
        AM_Hsv hsv = AM_toHsv({p[0] / 255.0f, p[1] / 255.0f, p[2] / 255.0f, 1});
        hsv.hue = std::fmod(hsv.hue + 54, 360.0f);
        hsv.saturation *= 0.6f;
        hsv.value = std::min(1.0f, hsv.value * 1.25f);
        const AM_Rgba wanted = AM_fromHsv(hsv, 1);
        ASSERT_NEAR(target.pixels[i][0], wanted.r * 255, 0.6);
        ASSERT_NEAR(target.pixels[i][1], wanted.g * 255, 0.6);
        ASSERT_NEAR(target.pixels[i][2], wanted.b * 255, 0.6);
        ASSERT_EQ(target.pixels[i][3], p[3]);
    }
}

TEST(PixelFilters, curvesKeepBlackWhiteAndWhatIsNeutral) {
    PixelBuffer ramp(256, 1);
    for (i32 x = 0; x < 256; ++x)
        ramp.at(x, 0).fill(static_cast<u8>(x));
    const f32 none = std::numeric_limits<f32>::quiet_NaN();
    PixelBuffer same = ramp;
    AM_PixelOps::brightnessContrast(same.view(), 0, none);
    AM_PixelOps::gammaCorrect(same.view(), none);
    AM_PixelOps::saturate(same.view(), none, 0, 0);
    AM_PixelOps::noise(same.view(), none);
    AM_PixelOps::gaussBlur(same.view(), none);
    AM_PixelOps::blurX(same.view(), none);
    EXPECT_EQ(same.pixels, ramp.pixels);
    AM_PixelOps::gammaCorrect(same.view(), 2);
    EXPECT_EQ(same.at(0, 0)[0], 0);
    EXPECT_EQ(same.at(255, 0)[0], 255);
    EXPECT_NEAR(same.at(64, 0)[1], 255 * std::sqrt(64 / 255.0), 0.5);
    AM_PixelOps::brightnessContrast(same.view(), 0, -1);
    EXPECT_EQ(same.at(3, 0)[2], 128);
}

TEST(PixelFilters, noiseIsEvenStableAndWithinItsAmount) {
    PixelBuffer target(256, 256, {128, 128, 128, 7});
    PixelBuffer again = target;
    AM_PixelOps::noise(target.view(), 0.25f);
    AM_PixelOps::noise(again.view(), 0.25f);
    EXPECT_EQ(target.pixels, again.pixels);
    EXPECT_NEAR(target.sum(0) / 65536, 128, 0.5);
    const auto grain = [&](size_t i) { return target.pixels[i][0] - 128.0; };
    f64 power = 0;
    for (size_t i = 0; i < 65536; ++i) {
        ASSERT_LE(std::abs(grain(i)), 32);
        power += grain(i) * grain(i);
    }
    EXPECT_NEAR(std::sqrt(power / 65536), 64 / std::sqrt(12), 0.5);
    // Neighbours have nothing in common, nor do rows of any width: else there were stripes.
    for (size_t away = 1; away < 700; ++away) {
        f64 common = 0;
        for (size_t i = 0; i < 8192; ++i)
            common += grain(i) * grain(i + away);
        ASSERT_LT(std::abs(common / power * 8), 0.06) << away;
    }
}

TEST(PixelOps, standUpToAnySizeAndNumber) {
    const f32 inf = std::numeric_limits<f32>::infinity();
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 67}, {130, 1}, {17, 3}})
        for (const f32 x : {-inf, -1e9f, 0.5f, 3.7f, 300.0f, inf, inf - inf}) {
            PixelBuffer buffer(width, height);
            buffer.fillRandom(9);
            PixelBuffer other(3, 40);
            other.fillRandom(8);
            const AM_PixelView nothing;
            for (const AM_PixelView& view : {buffer.view(), nothing})
                for (const AM_PixelView& source : {other.view(), view, nothing}) {
                    AM_PixelOps::gaussBlur(view, x);
                    AM_PixelOps::blurX(view, x);
                    AM_PixelOps::blurY(view, x);
                    AM_PixelOps::brightnessContrast(view, x, x);
                    AM_PixelOps::gammaCorrect(view, x);
                    AM_PixelOps::saturate(view, x, x, x);
                    AM_PixelOps::noise(view, x);
                    AM_PixelOps::tint(view, {x, x, x, 1}, x, -7);
                    AM_PixelOps::blend(view, source, x, 99);
                    AM_PixelOps::blendAdd(view, source, x);
                    AM_PixelOps::mask(view, source);
                    AM_PixelOps::clearRect(view, 2147483647, -5, 2147483647, 2147483647);
                }
            AM_PixelOps::clearRect(buffer.view(), -2147483647, 0, 2147483647, 1);
            const PixelBuffer before = buffer;
            AM_PixelOps::clearRect(buffer.view(), 0, 0, -3, 1);
            EXPECT_EQ(buffer.pixels, before.pixels);
            AM_PixelOps::combine(buffer.view(), nothing);
            AM_PixelOps::clear(buffer.view(), 0x01020304);
            EXPECT_EQ(buffer.at(width - 1, height - 1), (Pixel{1, 2, 3, 4}));
        }
}
