// Ticks and their texts, and pictures of all that can be rendered.
#include "AM_AGG_Context.h"
#include "ColourMap.h"
#include "PlotAxis.h"
#include "SoundPlot.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace {
std::string join(const std::vector<PlotTick>& ticks) {
    std::string text;
    for (const PlotTick& tick : ticks)
        if (!tick.label.empty()) text += (text.empty() ? "" : "|") + tick.label;
    return text;
}
} // namespace

TEST(PlotAxis, TicksAreRoundAndTextsShort) {
    EXPECT_EQ(join(findTimeTicks(0, 3.66, 8)), "0 s|0.5 s|1.0 s|1.5 s|2.0 s|2.5 s|3.0 s|3.5 s");
    EXPECT_EQ(join(findTimeTicks(1.7, 4.1, 4)), "2 s|3 s|4 s");
    EXPECT_EQ(join(findTimeTicks(0, 0.1, 5)), "0 ms|20 ms|40 ms|60 ms|80 ms|100 ms");
    EXPECT_EQ(join(findDecadeTicks(20, 20000, frequencyText)), "100 Hz|1 kHz|10 kHz");
    EXPECT_EQ(findDecadeTicks(20, 20000, frequencyText).size(), 28u);
    EXPECT_EQ(secondsText(0.0421), "42 ms");
    EXPECT_EQ(secondsText(2.145) + " " + secondsText(63), "2.15 s 63.0 s");
    EXPECT_EQ(frequencyText(44100) + " " + frequencyText(96000), "44.1 kHz 96 kHz");
    EXPECT_EQ(numberText(-35, 0), "\xe2\x88\x92"
                                  "35");
    EXPECT_EQ(numberText(-0.001, 1), "0.0");
    const PlotAxis axis{20, 20000, 300, 0, true};
    EXPECT_NEAR(axis.place(200), 200, 0.01);
    EXPECT_NEAR(axis.valueAt(2. / 3), 2000, 0.01);
    const f64 odd[] = {0, 1e300, std::numeric_limits<f64>::quiet_NaN()};
    for (const f64 value : odd) {
        EXPECT_LT(findTimeTicks(value, 1, 5).size(), 7u);
        EXPECT_LT(findTimeTicks(0, value, 5).size(), 7u);
        EXPECT_TRUE(std::isfinite(axis.place(value)));
    }
}

TEST(ColourMap, GetsLighterStepByStep) {
    f64 before = 0;
    for (size_t i = 0; i < k_numLevelColours; ++i) {
        const auto& [r, g, b] = getLevelColour(static_cast<f64>(i) / (k_numLevelColours - 1));
        const f64 light =
            0.2126 * std::pow(r, 2.2) + 0.7152 * std::pow(g, 2.2) + 0.0722 * std::pow(b, 2.2);
        EXPECT_GT(light, before) << i;
        before = light;
    }
}

TEST(SoundPlot, DrawsWhateverWasRendered) {
    const f32 nan = std::numeric_limits<f32>::quiet_NaN();
    std::vector<f32> decay(30000);
    for (size_t i = 0; i < decay.size(); ++i)
        decay[i] = static_cast<f32>(std::sin(0.1 * f64(i * i % 997)) * std::exp(-f64(i) / 2000));
    const std::vector<f32> soft(5000, 1e-30f);
    const std::vector<f32> sounds[] = {
        soft, {}, {1}, {nan, 1e30f, -1e30f, nan}, std::vector<f32>(5000), std::vector<f32>(5000, 1),
        decay};
    AM_AGG_Context context(k_soundPlotWidth, k_soundPlotHeight, 1, true);
    std::set<std::string> pictures;
    for (const std::vector<f32>& sound : sounds)
        for (const size_t channels : {0u, 1u, 2u}) {
            const SoundView view{{channels, sound}, 48000};
            for (const bool impulse : {false, true})
                drawSoundPlot(context, {view, impulse, "A-B", std::string(300, 'n')});
            const AM_PixelView pixels = context.getPixels();
            ASSERT_EQ(pixels.height, 900);
            pictures.emplace(reinterpret_cast<const char*>(pixels.pixels),
                             static_cast<size_t>(pixels.rowBytes) * 900);
        }
    context.setScale(8, 100, 100);
    drawSoundPlot(context, {{{decay}, std::numeric_limits<f64>::quiet_NaN()}, true, "", ""});
    drawSoundPlot(context, {{{decay}, 48000}, true, "", ""});
    // No sound looks like another, but those without channels.
    EXPECT_EQ(pictures.size(), 1 + 2 * std::size(sounds));
}
