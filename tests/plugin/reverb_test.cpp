// Properties of the sound, through the whole plug-in.
#include "PluginHarness.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

bool allFinite(const StereoBuffer& b) {
    for (size_t i = 0; i < b.size(); ++i)
        if (!std::isfinite(b.left[i]) || !std::isfinite(b.right[i])) return false;
    return true;
}

} // namespace

// (For what surrounds the network see AudioModulesFrame/block_path_test.cpp.)
TEST(Reverb, AnyBlockSizesGiveTheSamplesOfOneLongPass) {
    const StereoBuffer input = noise(30000);
    for (const char* code : {"CTN1Y8-WAVE", "FHMZ5P-AB", "AGUZ36-X"}) {
        Plugin whole(44100.0, code), pieces(44100.0, code);
        const StereoBuffer expected = whole.run(input, 4096);
        ASSERT_GT(expected.energy(10000, 30000), 1.0);
        std::mt19937 engine(99);
        const auto nextSize = [&] {
            const u32 kind = engine() % 3;
            return static_cast<i32>(1 + engine() % (kind == 0 ? 4 : kind == 1 ? 130 : 4096));
        };
        EXPECT_TRUE(pieces.run(input, nextSize) == expected) << code;
    }
}

TEST(Reverb, TheSameCodeSoundsTheSameAfterOtherCodesPressesAndInstances) {
    const StereoBuffer input = noise(6000);
    const char* code = "EIL2P5-QWERT";
    Plugin first(48000.0, code);
    const StereoBuffer expected = first.run(input);
    Plugin other(48000.0);
    other.set("Rnd", 1.0f);
    const std::string drawn = other.code();
    EXPECT_EQ(drawn.size(), 9u) << "eight letters, '-' and no tail: " << drawn;
    other.set("Ord", 1.0f);
    EXPECT_EQ(other.code().compare(0, 9, drawn), 0) << "a new seed keeps the structure";
    EXPECT_GE(other.code().size(), 13u);
    other.setCode("press button");
    other.set("Ord", 1.0f);
    EXPECT_EQ(other.code().compare(0, 11, "press butt-"), 0);
    other.setCode(code);
    EXPECT_TRUE(other.run(input) == expected);
}

TEST(Reverb, PressesKeepTheCodeInItsBounds) {
    Plugin plugin;
    plugin.setCode("A-BCDEFGHIJKLMNOPQRSTUVWXYZ1234");
    plugin.set("Rnd", 1.0f);
    EXPECT_EQ(plugin.code().size(), 31u);
    EXPECT_EQ(plugin.code().substr(8, 6), "-BCDEF");
    EXPECT_EQ(plugin.paraMan().getParameterValue(plugin.id("Rnd")), 0.0f);
    plugin.setCode("-X");
    plugin.set("Rnd", 1.0f);
    EXPECT_EQ(plugin.code().size(), 9u) << "a '-' in front has no tail to keep";
    plugin.setCode("-X");
    plugin.set("Ord", 1.0f);
    EXPECT_EQ(plugin.code()[0], '-');
    plugin.setCode("ABCDEFGHIJKL-X");
    plugin.set("Ord", 1.0f);
    EXPECT_EQ(plugin.code().substr(0, 11), "ABCDEFGHIJ-");
}

TEST(Reverb, APressDuringABlockWaitsForTheTick) {
    Plugin plugin(48000.0, "AG-X");
    {
        const AM_AudioThreadScope audio;
        plugin.set("Rnd", 1.0f);
        EXPECT_EQ(plugin.code(), "AG-X");
    }
    plugin.man.tick();
    EXPECT_EQ(plugin.code().size(), 10u);
    EXPECT_NE(plugin.code(), "AG-X");
}

TEST(Reverb, DryAloneIsTheInputSixteenFramesLater) {
    Plugin plugin;
    plugin.set("Wet", 0.0f);
    const StereoBuffer input = noise(4000);
    const StereoBuffer output = plugin.run(input, 333);
    for (size_t i = 16; i < input.size(); ++i) {
        ASSERT_EQ(output.left[i], input.left[i - 16]);
        ASSERT_EQ(output.right[i], input.right[i - 16]);
    }
    EXPECT_EQ(plugin.man.getLatency(), 16);
}

TEST(Reverb, SilenceSleepsAndASoundWakes) {
    Plugin plugin(48000.0, "FGZ6-SLEEP");
    plugin.set("Dry", 0.0f);
    const StereoBuffer silence(64 * 1001);
    plugin.run(StereoBuffer(64 * 1000), 64);
    EXPECT_FALSE(plugin.network().isAsleep());
    plugin.run(silence, 64);
    EXPECT_TRUE(plugin.network().isAsleep());
    const StereoBuffer woken = plugin.run(noise(20000), 64);
    EXPECT_FALSE(plugin.network().isAsleep());
    EXPECT_GT(woken.energy(10000, 20000), 1.0);
    // The tail dies away and the module sleeps again.
    for (i32 second = 0; second < 60 && !plugin.network().isAsleep(); ++second)
        plugin.run(StereoBuffer(48000), 512);
    EXPECT_TRUE(plugin.network().isAsleep());
}

TEST(Reverb, DecaysAsTheGainLawSays) {
    // A lone line falls by 60 dB in `decay` internal samples less what the matrix takes; with the
    // feedback factor of the matrix the whole is faster, so only order and bound are asked for.
    f64 earlier = 0.0;
    for (const f32 feedback : {20.0f, 60.0f, 95.0f}) {
        Plugin plugin(40000.0, "EGU1-DECAY");
        plugin.set("FB", feedback);
        plugin.set("Wet", 100.0f);
        plugin.set("Dry", 0.0f);
        const StereoBuffer out = plugin.run(impulse(80000, 100.0f));
        const f64 late = out.energy(60000, 80000) / out.energy(0, 20000);
        EXPECT_GE(late, earlier) << feedback;
        EXPECT_LT(late, 1.0) << feedback;
        earlier = late;
    }
    EXPECT_GT(earlier, 1e-4);
}

TEST(Reverb, EnergyStaysBoundedAtHighFeedback) {
    std::mt19937 engine(5);
    for (i32 round = 0; round < 12; ++round) {
        std::string code = randomCode(engine);
        // The one structure that grows: sign-pattern matrices, pairs, and the ring of bridges.
        if (code[0] == 'C' && code[1] == 'T' && code[2] == 'N') code[2] = 'U';
        Plugin plugin(48000.0, code.c_str());
        plugin.set("FB", 99.0f);
        plugin.set("Wet", 100.0f);
        plugin.set("Dry", 0.0f);
        StereoBuffer burst(48000 * 3);
        const StereoBuffer start = noise(2000);
        std::copy(start.left.begin(), start.left.end(), burst.left.begin());
        std::copy(start.right.begin(), start.right.end(), burst.right.begin());
        const StereoBuffer out = plugin.run(burst);
        ASSERT_TRUE(allFinite(out)) << code;
        EXPECT_LT(out.energy(96000, 144000), 1.05 * out.energy(24000, 72000) + 1e-3) << code;
    }
}

TEST(Reverb, SurvivesNonFiniteDenormalAndHugeInput) {
    const f32 inf = std::numeric_limits<f32>::infinity();
    const f32 values[] = {inf, -inf, std::numeric_limits<f32>::quiet_NaN(), 1e-42f, 3e38f, -3e38f};
    for (const char* code : {"CTNZ36-X", "DIMZ36-X"}) {
        for (const f32 value : values) {
            Plugin plugin(48000.0, code);
            plugin.set("FB", 100.0f);
            StereoBuffer input = noise(4000);
            input.left[1000] = value;
            input.right[1001] = value;
            ASSERT_TRUE(allFinite(plugin.run(input, 100))) << value;
            // After a short while the plug-in reverberates as before.
            plugin.set("FB", 50.0f);
            plugin.run(StereoBuffer(4000));
            const StereoBuffer after = plugin.run(noise(48000), 256);
            ASSERT_TRUE(allFinite(after));
            const f64 energy = after.energy(24000, 48000);
            EXPECT_GT(energy, 100.0) << value;
            EXPECT_LT(energy, 1e7) << value;
        }
    }
}

TEST(Reverb, EveryHostRateAndItsChanges) {
    Plugin plugin(48000.0, "BHMZ5P-RATE");
    plugin.set("Wet", 100.0f);
    for (const f64 rate : {1000.0, 8000.0, 11025.0, 22050.0, 32000.0, 39999.0, 44100.0, 88200.0,
                           192000.0, 768000.0, 48000.0}) {
        plugin.man.setSampleRate(rate);
        plugin.set("Freq", rate < 40000.0 ? 20.0f : 1.0f + static_cast<f32>(rate / 50000.0));
        const StereoBuffer out = plugin.run(noise(9000), 512);
        EXPECT_TRUE(allFinite(out)) << rate;
        EXPECT_GT(out.energy(4000, 9000), 1.0) << rate;
    }
    for (const f64 rate : {0.0, -5.0, std::nan(""), static_cast<f64>(INFINITY)}) {
        plugin.man.setSampleRate(rate);
        EXPECT_EQ(plugin.man.getBlockContext()->sampleRate, 44100.0f);
    }
}

TEST(Reverb, BypassFadesWithoutAClick) {
    Plugin plugin(48000.0, "EGZ36-B");
    plugin.set("Wet", 100.0f);
    StereoBuffer tone(48000);
    for (size_t i = 0; i < tone.size(); ++i)
        tone.left[i] = tone.right[i] =
            0.25f * static_cast<f32>(std::sin(static_cast<f64>(i) * 6.283185307179586 / 600.0));
    // The steps that the sound has by itself, once it stands.
    plugin.run(tone);
    f32 previous = 0.0f;
    const auto largestStep = [&previous](const StereoBuffer& out) {
        f32 largest = 0.0f;
        for (const f32 x : out.left) {
            largest = std::max(largest, std::fabs(x - previous));
            previous = x;
        }
        return largest;
    };
    previous = plugin.run(tone).left.back();
    const f32 steady = largestStep(plugin.run(tone, 480));
    for (i32 part = 0; part < 3; ++part) {
        plugin.man.setBypass(part != 1);
        const StereoBuffer out = plugin.run(tone, 480);
        // Switched on it starts from silence, so the tone's edge comes out of the lines.
        EXPECT_LT(largestStep(out), part == 1 ? 0.03f : 1.1f * steady + 0.001f) << part;
        if (part == 0) {
            EXPECT_NEAR(out.left[40000], tone.left[40000 - 16], 1e-6) << "bypassed is dry";
        }
    }
}
