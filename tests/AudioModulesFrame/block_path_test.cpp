// From a host's block to sub-blocks and back, against a naive model of the same filter.
#include "TestManager.h"

#include "AM_Circuit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {

using Channels = std::vector<std::vector<f32>>;

// How the host lays out its buffers.
enum class Layout { apart, inPlace, swapped };

Channels noise(size_t numChannels, size_t frames, u32 seed = 1) {
    std::mt19937 random(seed);
    Channels result(numChannels, std::vector<f32>(frames));
    for (auto& channel : result)
        for (f32& sample : channel)
            sample = static_cast<f32>(random() % 2001) / 1000.0f - 1.0f;
    return result;
}

// Any number of channels, and a module with a memory: y = x + side + 0.9 y of each channel.
class FilterMan : public TestMan {
public:
    explicit FilterMan(size_t channels, i32 baseLatency = 1) {
        pluginInfo.numChannels = static_cast<i32>(channels);
        module = plan("flt: Filter", std::vector<ParameterInfo>{}, pluginInfo.numChannels);
        module->onProcess = [this](i32 start, i32 quads, CircuitModule* slot, BlockContext* block) {
            quadSizes.push_back(quads);
            for (i32 c = 0; c < slot->channels; ++c)
                for (i32 i = start * 16; i < (start + quads) * 16; ++i) {
                    f32& sample = block->audioBuffer[c * 64 + i];
                    if (useSide) sample += block->audioBuffer[(slot->channels + c) * 64 + i];
                    sample = last[c] = sample + 0.9f * last[c];
                }
        };
        initialize();
        setPreferenceValue(k_prefBaseLatency, baseLatency);
    }
    // Sends `source` through in blocks of `nextSize()` frames and expects the filter's samples,
    // `delay` frames late.
    void expectFilter(const Channels& source, Layout layout, size_t delay,
                      const std::function<size_t()>& nextSize) {
        const size_t channels = source.size(), total = source[0].size();
        Channels work = source, apart = noise(channels, total, 99),
                 side = noise(channels, total, 98);
        Channels& out = layout == Layout::apart ? apart : work;
        const auto target = [&](size_t c) -> std::vector<f32>& {
            return out[layout == Layout::swapped ? channels - 1 - c : c];
        };
        BlockContext* context = getBlockContext();
        for (size_t done = 0; done < total;) {
            const size_t frames = std::min(nextSize(), total - done);
            for (size_t c = 0; c < channels; ++c) {
                context->inputs[c] = work[c].data() + done;
                context->outputs[c] = target(c).data() + done;
                if (useSide) context->sideChains[c] = side[c].data() + done;
            }
            context->numFrames = static_cast<i32>(frames);
            processBlock();
            done += frames;
        }
        for (size_t c = 0; c < channels; ++c) {
            f32 y = 0;
            for (size_t i = 0; i < total; ++i) {
                if (i >= delay) {
                    const f32 x = source[c][i - delay];
                    y = (useSide ? x + side[c][i - delay] : x) + 0.9f * y;
                }
                ASSERT_EQ(target(c)[i], y) << "channel " << c << " frame " << i;
            }
        }
    }
    std::vector<i32> sizes(i32 frames) {
        quadSizes.clear();
        run(frames);
        return quadSizes;
    }

    TestModule* module;
    bool useSide = false;
    f32 last[k_maxChannels] = {};
    std::vector<i32> quadSizes; // of the sub-blocks so far
};

} // namespace

TEST(BlockPath, AnyBlockSizesGiveTheSamplesOfOneLongPass) {
    for (const size_t channels : {1u, 2u, 4u, 16u})
        for (const Layout layout : {Layout::apart, Layout::inPlace, Layout::swapped})
            for (u32 seed = 1; seed <= 3; ++seed) {
                FilterMan man(channels);
                man.useSide = channels == 2 && seed == 1;
                std::mt19937 random(seed);
                man.expectFilter(noise(channels, 12000, seed), layout, 16, [&random] {
                    const u32 kind = random() % 8;
                    return random() % (kind == 0 ? 4096 : kind < 4 ? 700 : 90);
                });
            }
}

TEST(BlockPath, WithoutCarryThereIsNoDelay) {
    for (const size_t channels : {2u, 4u})
        for (const Layout layout : {Layout::apart, Layout::inPlace, Layout::swapped})
            for (const size_t frames : {16u, 48u, 64u, 256u, 768u}) {
                if (channels == 4 && layout == Layout::swapped) continue;
                FilterMan man(channels, 0);
                // Four channels as they are; the default leaves out the bass.
                man.getBlockContext()->channelLayout = 1;
                man.useSide = channels == 2 && frames == 64;
                man.expectFilter(noise(channels, 48 * 64), layout, 0, [&] { return frames; });
            }
}

TEST(BlockPath, SubBlocksOfTheDirectMode) {
    LogCapture log;
    FilterMan man(2);
    man.run(16, 1.0f);
    man.setPreferenceValue(k_prefBaseLatency, 0);
    EXPECT_EQ(man.getLatency(), 0);
    EXPECT_EQ(man.sizes(128), (std::vector<i32>{4, 4}));
    EXPECT_EQ(log.count("ALERT!"), 0);
    EXPECT_EQ(man.sizes(48), std::vector<i32>{3});
    EXPECT_EQ(man.sizes(80), (std::vector<i32>{4, 1}));
    EXPECT_EQ(log.count("ALERT! BUFFERSIZE 48 mod 16 = 0, but not zero"), 1);
    EXPECT_EQ(log.count("ALERT!"), 1) << "once per instance";
    // A size that does not fit switches the mode off for good and still gives its block, without
    // what the carry held before.
    man.input[0].assign(50, 1.0f);
    man.last[0] = 0;
    EXPECT_EQ(man.sizes(50), std::vector<i32>{4});
    EXPECT_EQ(log.count("resetting base latency pref because num samples = 50"), 1);
    EXPECT_EQ(man.getPreference(k_prefBaseLatency), 1);
    EXPECT_EQ(man.getLatency(), 16);
    EXPECT_EQ(man.output[0][15], 0.0f);
    EXPECT_EQ(man.output[0][16], 1.0f);
}

TEST(BlockPath, ChannelsAndFramesMayBeMissing) {
    for (const i32 baseLatency : {1, 0}) {
        FilterMan man(2, baseLatency);
        Channels in = noise(2, 64), out = noise(2, 64);
        BlockContext* context = man.getBlockContext();
        const auto process = [&](f32* inL, f32* inR, f32* outL, f32* outR, i32 frames) {
            f32* const pointers[] = {inL, inR, outL, outR};
            for (i32 c = 0; c < 2; ++c)
                context->inputs[c] = pointers[c], context->outputs[c] = pointers[2 + c];
            context->numFrames = frames;
            man.processBlock();
        };
        for (u32 mask = 0; mask < 16; ++mask)
            process(mask & 1 ? in[0].data() : nullptr, mask & 2 ? in[1].data() : nullptr,
                    mask & 4 ? out[0].data() : nullptr, mask & 8 ? out[1].data() : nullptr, 64);
        const u64 quads = context->quadCounter;
        for (const i32 frames : {0, -5})
            process(in[0].data(), in[1].data(), nullptr, nullptr, frames);
        EXPECT_EQ(context->quadCounter, quads);
        EXPECT_FALSE(man.isBlockRunning());

        // One buffer for both sides gets the mean, one output of two likewise or, without carry,
        // the first input. A missing input is silence.
        man.module->onProcess = nullptr;
        std::fill(in[0].begin(), in[0].end(), 0.25f);
        std::fill(in[1].begin(), in[1].end(), 0.75f);
        f32* const target = out[0].data();
        for (const auto& [left, right] : {std::pair{target, target}, {target, {}}, {{}, target}}) {
            man.reset();
            process(in[0].data(), in[1].data(), left, right, 64);
            const bool mean = baseLatency || left == right;
            EXPECT_EQ(out[0][16], mean ? 0.5f : 0.25f);
            process(in[0].data(), nullptr, left, right, 64);
            EXPECT_EQ(out[0][16], mean ? 0.125f : 0.25f);
        }
    }
}

TEST(BlockPath, WhatIsNoNumberNeverReachesTheHost) {
    for (const i32 baseLatency : {1, 0}) {
        FilterMan man(2, baseLatency);
        man.module->onProcess = nullptr;
        man.run(64);
        man.input[0][3] = std::nanf("");
        man.input[0][4] = std::numeric_limits<f32>::infinity();
        man.input[0][5] = 0.5f;
        man.run(64);
        const size_t delay = baseLatency ? 16 : 0;
        EXPECT_EQ(man.output[0][3 + delay], 0.0f);
        EXPECT_EQ(man.output[0][4 + delay], 0.0f);
        EXPECT_EQ(man.output[0][5 + delay], 0.5f);
        EXPECT_TRUE(std::isfinite(man.getInputMeter().rmsDecibels()));
    }
}

TEST(BlockPath, TheOutputGainRampsOverOneBlock) {
    FilterMan man(2, 0);
    man.module->onProcess = nullptr;
    const i32 output = man.getParaMan()->findParameter("CcOp");
    man.run(128, 1.0f);
    EXPECT_EQ(man.output[0][0], 1.0f);
    man.getParaMan()->setParameterValue(output, 50, 0, true);
    man.run(128);
    for (size_t i = 1; i < 128; ++i)
        EXPECT_NEAR(man.output[0][i - 1] - man.output[0][i], 0.5f / 128, 1e-5);
    EXPECT_NEAR(man.output[0][127], 0.5f, 1e-5);
    man.run(128);
    EXPECT_EQ(man.output[1], std::vector<f32>(128, 0.5f));
    // A reset starts at the target.
    man.getParaMan()->setParameterValue(output, 200, 0, true);
    man.reset();
    man.run(128);
    EXPECT_EQ(man.output[0][0], 2.0f);
}

TEST(BlockPath, EventsReachTheChainInTheirSubBlocks) {
    // Notes the sub-block in which each event arrives.
    using Heard = std::tuple<i32, i32, u32>;
    struct Listener : TestModule {
        using TestModule::TestModule;
        void processEvent(i32, i32 id, f32, f32, u32 timestamp) override {
            heard.emplace_back(id, processed, timestamp);
        }
        std::vector<Heard> heard;
    };
    TestMan man;
    auto* listener = man.plan<Listener>("lis: Listener", std::vector<ParameterInfo>{}, 2,
                                        u32{k_audioJoinsMidiChain});
    man.initialize();
    man.setPreferenceValue(k_prefBaseLatency, 0);
    man.processEvent(k_eventController, 1, 0, 0, 70);
    man.handleEvent(k_eventController, 2, 0, 0, 3);
    man.processEvent(k_eventController, 3, 0, 0, 300);
    for (const i32 frames : {128, 0, 128})
        man.run(frames);
    EXPECT_EQ(listener->heard, (std::vector<Heard>{{2, 0, 3}, {1, 1, 6}}));
    // A block without a running module still hears them and carries what comes later.
    man.setBypass(true);
    man.run(32);
    man.setBypass(false);
    man.run(64);
    ASSERT_EQ(listener->heard.size(), 3u);
    EXPECT_EQ(std::get<0>(listener->heard[2]), 3);
    EXPECT_EQ(std::get<2>(listener->heard[2]), 12u);
}

TEST(BlockPath, AFailingModuleGivesASilentBlock) {
    LogCapture log;
    FilterMan man(2);
    man.module->onProcess = [](i32, i32, CircuitModule*, BlockContext*) { throw 1; };
    for (i32 n = 0; n < 3; ++n) {
        man.run(100, 1.0f);
        EXPECT_EQ(man.output[0], std::vector<f32>(100));
    }
    EXPECT_EQ(log.count("ERROR"), 1);
    EXPECT_FALSE(man.isBlockRunning());
    man.module->onProcess = nullptr;
    man.run(64);
    EXPECT_EQ(man.output[0][16], 1.0f);
}
