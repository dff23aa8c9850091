// The two ways to the same samples: the lines and matrices one after the other, and the network in
// blocks. Bit for bit, whatever is turned, and also if one takes over from the other.
#include "PluginHarness.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace {

#ifdef GLASSMERE_SANITIZED
constexpr i32 k_scenarios = 24;
#else
constexpr i32 k_scenarios = 144;
#endif

class Scenario {
public:
    explicit Scenario(u32 seed) : random(seed), number(seed) {}

    void run() {
        SCOPED_TRACE("scenario " + std::to_string(number));
        const std::string code = randomCode(number);
        constexpr f64 k_rates[] = {8000, 32000, 44100, 48000, 48000, 96000, 192000};
        const f64 rate = k_rates[below(7)];
        Plugin plain(rate), blocks(rate), either(rate);
        Plugin* all[] = {&plain, &blocks, &either};
        plain.network().usePlainPath(true);
        for (Plugin* plugin : all)
            plugin->setCode(code);
        for (i32 n = 0; n < 40; ++n) {
            turnSomething(all);
            either.network().usePlainPath(below(3) == 0);
            const i32 frames = below(4) == 0 ? 1 + below(700) : 64 * (1 + below(4));
            const StereoBuffer input = randomInput(frames);
            const StereoBuffer expected = plain.run(input, frames);
            ASSERT_EQ(blocks.run(input, frames), expected) << code << ", block " << n;
            ASSERT_EQ(either.run(input, frames), expected) << code << ", block " << n;
        }
        ASSERT_EQ(blocks.network().isAsleep(), plain.network().isAsleep());
    }

private:
    i32 below(u32 limit) { return static_cast<i32>(random() % limit); }
    f32 amount(f32 most) { return static_cast<f32>(random() % 10001) * 0.0001f * most; }

    // Every family and routing, in turn; the rest at random.
    std::string randomCode(u32 n) {
        std::string code{"ABCDEF"[n % 6], "GHIT"[n / 6 % 4]};
        for (const char* alphabet : {"ULMN", "Z12", "345Y", "678PQ"})
            code += alphabet[below(static_cast<u32>(std::strlen(alphabet)))];
        return code + "-" + std::to_string(random());
    }

    void turnSomething(Plugin* const (&all)[3]) {
        const i32 what = below(12);
        const char* names[] = {"FDN:FB", "FDN:Wet", "FDN:Dry", "FDN:Freq"};
        const f32 value = amount(what == 3 ? 20 : 100);
        const bool full = below(4) == 0;
        const std::string code = randomCode(random());
        for (Plugin* plugin : all) {
            if (what < 4) // with its ramp
                plugin->paraMan().setParameterValue(plugin->id(names[what]), full ? 100 : value);
            if (what == 4) plugin->setCode(code);
            if (what == 5) plugin->man.reset();
            if (what == 6) plugin->man.setBypass(full);
        }
    }

    // Noise, a burst in silence, a side alone, nothing at all, or far too much.
    StereoBuffer randomInput(i32 frames) {
        StereoBuffer input(static_cast<size_t>(frames));
        const i32 kind = below(8);
        for (i32 i = 0; i < frames; ++i) {
            const f32 a = amount(2) - 1, b = amount(2) - 1;
            const size_t at = static_cast<size_t>(i);
            if (kind < 4) input.left[at] = a;
            if (kind < 3) input.right[at] = b;
            if (kind == 4 && i == frames / 2) input.right[at] = 1;
            if (kind == 5 && number % 5 == 0) input.left[at] = a * 1e30f;
        }
        return input;
    }

    std::mt19937 random;
    const u32 number;
};

} // namespace

TEST(Paths, GiveTheSameBits) {
    for (i32 i = 0; i < k_scenarios && !::testing::Test::HasFatalFailure(); ++i)
        Scenario(static_cast<u32>(i)).run();
}

// Tail, sleep and waking up: the input is silent for the thousand sub-blocks after which a silent
// output puts the network to sleep.
TEST(Paths, FallAsleepAndWakeAlike) {
    for (const char* code : {"AGULZ36-SLEEP", "FTNR2Y7-SLEEP", "DIM13P-SLEEP"}) {
        Plugin plain(48000.0, code), blocks(48000.0, code), never(48000.0, code);
        plain.network().usePlainPath(true);
        for (Plugin* plugin : {&plain, &blocks, &never})
            plugin->set("FDN:FB", 0);
        for (const i32 silence : {0, 500000, 100}) {
            StereoBuffer input = noise(3000);
            const size_t length = input.size() + static_cast<size_t>(silence);
            input.left.resize(length);
            input.right.resize(length);
            const StereoBuffer output = blocks.run(input, 500);
            ASSERT_EQ(output, plain.run(input, 500)) << code;
            // The circuit is left out of silent blocks, but not of those of a negative zero.
            input.left.resize(3000);
            input.left.resize(length, -0.0f);
            ASSERT_EQ(output, never.run(input, 500)) << code;
            for (Plugin* plugin : {&plain, &blocks, &never})
                plugin->set("FDN:Freq", static_cast<f32>(7 + silence % 5));
            ASSERT_EQ(blocks.network().isAsleep(), plain.network().isAsleep());
            EXPECT_EQ(blocks.network().isAsleep(), silence > 100) << code;
        }
    }
}

// Digital silence takes a way of its own, which a zero with the sign of minus does not.
TEST(Paths, SilenceMakesNoDifference) {
    std::mt19937 random(3);
    Plugin silent(48000.0, "FTNR2Y7-STILL"), negative(48000.0, "FTNR2Y7-STILL");
    for (i32 n = 0; n < 400; ++n) {
        const i32 frames = 1 + static_cast<i32>(random() % 300);
        StereoBuffer input = random() % 30 == 0 ? noise(static_cast<size_t>(frames), random())
                                                : StereoBuffer(static_cast<size_t>(frames));
        const f32 value = static_cast<f32>(random() % 100);
        for (Plugin* plugin : {&silent, &negative}) {
            if (n % 40 == 7) plugin->set("FDN:Dry", value);
            if (n % 50 == 9) plugin->paraMan().setParameterValue(plugin->id("Output"), value);
        }
        const StereoBuffer expected = silent.run(input, frames);
        for (auto* channel : {&input.left, &input.right})
            for (f32& sample : *channel)
                if (sample == 0) sample = -0.0f;
        ASSERT_EQ(negative.run(input, frames), expected) << n;
    }
}
