#include "TestManager.h"

#include "AM_Circuit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

using Channels = std::vector<std::vector<f32>>;

Channels noise(size_t numChannels, size_t frames, u32 seed = 1) {
    std::mt19937 random(seed);
    Channels result(numChannels, std::vector<f32>(frames));
    for (auto& channel : result)
        for (f32& sample : channel)
            sample = static_cast<f32>(random() % 2001) / 1000.0f - 1.0f;
    return result;
}

// Any number of channels, and a module with a memory: y = x + 0.9 y of each channel.
class FilterMan : public TestMan {
public:
    explicit FilterMan(i32 channels) {
        pluginInfo.numChannels = channels;
        module = plan("flt: Filter", std::vector<ParameterInfo>{}, channels);
        module->onProcess = [this](i32 start, i32 quads, CircuitModule* slot, BlockContext* block) {
            quadSizes.push_back(quads);
            for (i32 c = 0; c < slot->channels; ++c)
                for (i32 i = 0; i < quads * 16; ++i) {
                    f32& sample = block->audioBuffer[c * 64 + start * 16 + i];
                    sample = last[c] = sample + 0.9f * last[c];
                }
        };
        initialize();
    }
    // One block of channels that begin at frame `first`.
    void block(Channels& in, Channels& out, size_t first, i32 frames, bool swapped = false) {
        BlockContext* context = getBlockContext();
        for (size_t c = 0; c < in.size(); ++c) {
            context->inputs[c] = in[c].data() + first;
            context->outputs[swapped ? in.size() - 1 - c : c] = out[c].data() + first;
        }
        context->numFrames = frames;
        processBlock();
    }
    std::vector<i32> sizes(i32 frames) {
        quadSizes.clear();
        run(frames);
        return quadSizes;
    }

    TestModule* module;
    f32 last[k_maxChannels] = {};
    std::vector<i32> quadSizes; // of the sub-blocks so far
};

Channels filtered(const Channels& source, size_t delay) {
    Channels result = source;
    for (size_t c = 0; c < source.size(); ++c) {
        f32 y = 0;
        for (size_t i = 0; i < source[c].size(); ++i)
            result[c][i] = i < delay ? 0.0f : y = source[c][i - delay] + 0.9f * y;
    }
    return result;
}

void expectSame(const Channels& got, const Channels& expected, const char* what) {
    for (size_t c = 0; c < got.size(); ++c)
        for (size_t i = 0; i < got[c].size(); ++i)
            ASSERT_EQ(got[c][i], expected[c][i]) << what << " channel " << c << " frame " << i;
}

} // namespace

TEST(BlockPath, AnyBlockSizesGiveTheSamplesOfOneLongPass) {
    constexpr size_t total = 20000;
    for (const size_t channels : {1u, 2u, 4u})
        for (u32 seed = 1; seed <= 6; ++seed) {
            const Channels source = noise(channels, total, seed);
            const Channels expected = filtered(source, 16);
            const bool inPlace = seed % 2 == 0;
            const bool swapped = seed % 3 == 0;
            FilterMan man(static_cast<i32>(channels));
            Channels work = source;
            Channels apart = noise(channels, total, 99);
            Channels& out = inPlace ? work : apart;
            std::mt19937 random(seed);
            for (size_t done = 0; done < total;) {
                const u32 largest = random() % 4 == 0 ? 4096 : 90;
                const size_t frames = std::min<size_t>(random() % largest + 1, total - done);
                man.block(work, out, done, static_cast<i32>(frames), swapped);
                done += frames;
            }
            // Swapped outputs arrive in the other channel's buffer.
            if (swapped) std::reverse(out.begin(), out.end());
            expectSame(out, expected, inPlace ? "in place" : "apart");
        }
}

TEST(BlockPath, WithoutCarryThereIsNoDelay) {
    constexpr size_t total = 48 * 64;
    for (const size_t channels : {2u, 4u})
        for (const bool inPlace : {false, true})
            for (const i32 frames : {16, 48, 64, 256, 768}) {
                FilterMan man(static_cast<i32>(channels));
                man.setPreferenceValue(k_prefBaseLatency, 0);
                // Four channels as they are; the default leaves out the bass.
                man.getBlockContext()->channelLayout = 1;
                const Channels source = noise(channels, total);
                Channels work = source;
                Channels apart = noise(channels, total, 99);
                Channels& out = inPlace ? work : apart;
                for (size_t done = 0; done < total; done += static_cast<size_t>(frames))
                    man.block(work, out, done, frames, inPlace && channels == 2);
                if (inPlace && channels == 2) std::reverse(out.begin(), out.end());
                expectSame(out, filtered(source, 0), "aligned");
            }
}

TEST(BlockPath, SubBlocksOfTheDirectMode) {
    LogCatcher log;
    FilterMan man(2);
    man.setPreferenceValue(k_prefBaseLatency, 0);
    EXPECT_EQ(man.getLatency(), 0);
    EXPECT_EQ(man.sizes(128), (std::vector<i32>{4, 4}));
    EXPECT_EQ(log.count("ALERT!"), 0);
    EXPECT_EQ(man.sizes(48), std::vector<i32>{3});
    EXPECT_EQ(man.sizes(80), (std::vector<i32>{4, 1}));
    EXPECT_EQ(log.count("ALERT! BUFFERSIZE 48 mod 16 = 0, but not zero"), 1);
    EXPECT_EQ(log.count("ALERT!"), 1) << "once per instance";

    // A size that does not fit switches the mode off for good and still gives its block.
    man.input[0].assign(50, 1.0f);
    EXPECT_EQ(man.sizes(50), std::vector<i32>{4});
    EXPECT_EQ(log.count("resetting base latency pref because num samples = 50"), 1);
    EXPECT_EQ(man.getPreference(k_prefBaseLatency), 1);
    EXPECT_EQ(man.getLatency(), 16);
    EXPECT_EQ(man.output[0][15], 0.0f);
    EXPECT_EQ(man.output[0][16], 1.0f);
}

TEST(BlockPath, ChannelsAndFramesMayBeMissing) {
    for (const i32 baseLatency : {1, 0}) {
        FilterMan man(2);
        man.setPreferenceValue(k_prefBaseLatency, baseLatency);
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
        const f32 gain = man.getCircuit()->getOutput();
        for (const i32 frames : {0, -5})
            process(in[0].data(), in[1].data(), nullptr, nullptr, frames);
        EXPECT_EQ(context->quadCounter, quads);
        EXPECT_FALSE(man.isBlockRunning());

        // One buffer for both sides, or one output of two: the mean.
        for (const i32 variant : {0, 1, 2}) {
            man.reset();
            std::fill(std::begin(man.last), std::end(man.last), 0.0f);
            std::fill(in[0].begin(), in[0].end(), 0.25f);
            std::fill(in[1].begin(), in[1].end(), 0.25f);
            f32* left = variant == 1 ? nullptr : out[0].data();
            f32* right = variant == 0 ? out[0].data() : variant == 1 ? out[0].data() : nullptr;
            process(in[0].data(), in[1].data(), left, right, 64);
            EXPECT_EQ(out[0][baseLatency ? 16 : 0], 0.25f) << variant;
        }
        EXPECT_EQ(man.getCircuit()->getOutput(), gain);
    }
}

TEST(BlockPath, WhatIsNoNumberNeverReachesTheHost) {
    for (const i32 baseLatency : {1, 0}) {
        FilterMan man(2);
        man.setPreferenceValue(k_prefBaseLatency, baseLatency);
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
    FilterMan man(2);
    man.module->onProcess = nullptr;
    man.setPreferenceValue(k_prefBaseLatency, 0);
    const i32 output = man.getParaMan()->findParameter("CcOp");
    for (auto& channel : man.input)
        channel.assign(128, 1.0f);
    man.run(128);
    EXPECT_EQ(man.output[0][0], 1.0f);
    man.getParaMan()->setParameterValue(output, 50, 0, true);
    man.run(128);
    for (size_t i = 1; i < 128; ++i)
        EXPECT_NEAR(man.output[0][i - 1] - man.output[0][i], 0.5f / 128, 1e-5);
    EXPECT_NEAR(man.output[0][127], 0.5f, 1e-5);
    man.run(128);
    for (const f32 sample : man.output[1])
        EXPECT_EQ(sample, 0.5f);
    // A reset starts at the target.
    man.getParaMan()->setParameterValue(output, 200, 0, true);
    man.reset();
    man.run(128);
    EXPECT_EQ(man.output[0][0], 2.0f);
}

TEST(BlockPath, SideChainsLieBehindTheChannels) {
    FilterMan man(2);
    f32 seen[2] = {};
    man.module->onProcess = [&](i32, i32, CircuitModule*, BlockContext* block) {
        for (i32 c = 0; c < 2; ++c)
            seen[c] = block->audioBuffer[(2 + c) * 64 + 20];
        block->audioBuffer[11 * 64 + 20] = 5; // left behind, not to be seen again
    };
    std::vector<f32> side(64, 0.75f);
    for (const i32 baseLatency : {1, 0}) {
        man.setPreferenceValue(k_prefBaseLatency, baseLatency);
        man.getBlockContext()->sideChains[0] = side.data();
        man.run(64);
        EXPECT_EQ(seen[0], 0.75f);
        EXPECT_EQ(seen[1], 0.0f);
        man.getBlockContext()->sideChains[0] = nullptr;
        man.run(64);
        EXPECT_EQ(seen[0], 0.0f);
    }
}

TEST(BlockPath, EventsReachTheChainInTheirSubBlocks) {
    // Notes the frame of the block at which each event arrives.
    struct Listener : TestModule {
        using TestModule::TestModule;
        void processEvent(i32, i32 id, f32, f32, u32 timestamp) override {
            heard.emplace_back(id, processed, timestamp);
        }
        std::vector<std::tuple<i32, i32, u32>> heard;
    };
    TestMan man;
    auto* listener = man.plan<Listener>("lis: Listener", std::vector<ParameterInfo>{}, 2,
                                        u32{k_audioJoinsMidiChain});
    man.initialize();
    man.setPreferenceValue(k_prefBaseLatency, 0);
    man.processEvent(k_eventController, 1, 0, 0, 70);
    man.handleEvent(k_eventController, 2, 0, 0, 3);
    man.processEvent(k_eventController, 3, 0, 0, 300);
    man.run(128);
    man.run(0);
    man.run(128);
    ASSERT_EQ(listener->heard.size(), 2u);
    EXPECT_EQ(listener->heard[0], (std::tuple<i32, i32, u32>(2, 0, 3)));
    EXPECT_EQ(listener->heard[1], (std::tuple<i32, i32, u32>(1, 1, 6)));
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
    LogCatcher log;
    FilterMan man(2);
    const auto working = man.module->onProcess;
    man.module->onProcess = [](i32, i32, CircuitModule*, BlockContext*) { throw 1; };
    for (i32 n = 0; n < 3; ++n) {
        for (auto& channel : man.input)
            channel.assign(100, 1.0f);
        man.run(100);
        EXPECT_EQ(std::count(man.output[0].begin(), man.output[0].end(), 0.0f), 100);
    }
    EXPECT_EQ(log.count("ERROR"), 1);
    EXPECT_FALSE(man.isBlockRunning());
    man.module->onProcess = working;
    man.run(64);
    EXPECT_EQ(man.output[0][16], 1.0f);
}
