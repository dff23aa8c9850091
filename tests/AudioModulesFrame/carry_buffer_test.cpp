#include "AM_CarryBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Channels = std::vector<std::vector<f32>>;

Channels noise(i32 numChannels, i32 frames, u32 seed) {
    std::mt19937 random(seed);
    Channels result(static_cast<size_t>(numChannels),
                    std::vector<f32>(static_cast<size_t>(frames)));
    for (auto& channel : result)
        for (f32& sample : channel)
            sample = static_cast<f32>(random() % 2001) - 1000.0f;
    return result;
}

// A carry with a bus behind it that changes nothing, or hands the side chains to the outputs.
class Rig {
public:
    explicit Rig(i32 channels)
        : numChannels(channels),
          memory(static_cast<size_t>(AM_CarryBuffer::memoryFloats(channels))),
          bus(static_cast<size_t>(2 * channels * k_subBlockFrames)) {
        carry.attach(memory.data(), channels);
    }

    std::vector<i32> run(f32* const* inputs, f32* const* outputs, i32 frames,
                         f32* const* sideChains = nullptr) {
        routes.connect(outputs, numChannels);
        std::vector<i32> sizes;
        carry.beginBlock(frames);
        while (const i32 size = carry.nextSubBlock()) {
            sizes.push_back(size);
            carry.readInput(inputs, sideChains, bus.data());
            if (sideChains)
                std::copy_n(bus.data() + numChannels * k_subBlockFrames,
                            numChannels * k_subBlockFrames, bus.data());
            carry.writeOutput(bus.data(), routes);
        }
        carry.endBlock(inputs, sideChains, routes);
        EXPECT_EQ(carry.getPendingInput() + carry.getPendingOutput(), 16);
        return sizes;
    }

    i32 numChannels;
    std::vector<f32> memory;
    std::vector<f32> bus;
    AM_CarryBuffer carry;
    AM_OutputRoutes routes;
};

// How the host lays out its buffers.
enum class Layout { apart, inPlace, swapped };

// Runs `source` through in blocks of random sizes and expects it 16 frames later.
void expectDelay(i32 numChannels, Layout layout, bool sideChain, u32 seed) {
    constexpr i32 total = 6000;
    const Channels source = noise(numChannels, total, seed);
    const Channels unused = noise(numChannels, total, seed + 1);
    Channels work = source;
    Channels apart = noise(numChannels, total, seed + 2);
    Channels& out = layout == Layout::apart ? apart : work;
    Rig rig(numChannels);
    std::mt19937 random(seed);
    for (i32 done = 0; done < total;) {
        const i32 largest = random() % 3 == 0 ? 700 : 40;
        const i32 frames =
            std::min(static_cast<i32>(random() % static_cast<u32>(largest)), total - done);
        std::vector<f32*> in, to, side;
        for (size_t c = 0; c < work.size(); ++c) {
            const size_t other = layout == Layout::swapped ? work.size() - 1 - c : c;
            in.push_back((sideChain ? const_cast<f32*>(unused[c].data()) : work[c].data()) + done);
            side.push_back(work[c].data() + done);
            to.push_back(out[other].data() + done);
        }
        for (const i32 size :
             rig.run(in.data(), to.data(), frames, sideChain ? side.data() : nullptr))
            EXPECT_TRUE(size > 0 && size <= 64 && size % 16 == 0) << size;
        done += frames;
    }
    for (size_t c = 0; c < source.size(); ++c) {
        const size_t other = layout == Layout::swapped ? source.size() - 1 - c : c;
        for (size_t i = 0; i < static_cast<size_t>(total); ++i)
            ASSERT_EQ(out[other][i], i < 16 ? 0.0f : source[c][i - 16]) << "frame " << i;
    }
}

} // namespace

TEST(CarryBuffer, AnyBlockSizesAreADelayOf16InAnyLayout) {
    for (u32 seed = 1; seed <= 6; ++seed)
        for (const Layout layout : {Layout::apart, Layout::inPlace, Layout::swapped})
            for (const i32 channels : {1, 2, 4, 16})
                expectDelay(channels, layout, false, seed);
    expectDelay(2, Layout::apart, true, 1);
    expectDelay(2, Layout::inPlace, true, 2);
}

TEST(CarryBuffer, SubBlocksAndPendingFramesOfTypicalHosts) {
    std::vector<f32> samples(4096);
    f32* channel[1] = {samples.data()};
    const auto sizes = [&](Rig& rig, i32 frames) { return rig.run(channel, channel, frames); };

    Rig single(1);
    EXPECT_EQ(sizes(single, 1), std::vector<i32>{16});
    for (i32 call = 0; call < 15; ++call) {
        EXPECT_EQ(single.carry.getPendingOutput(), 15 - call);
        EXPECT_TRUE(sizes(single, 1).empty());
    }
    EXPECT_EQ(sizes(single, 1), std::vector<i32>{16});

    Rig quads(1);
    for (i32 call = 0; call < 3; ++call) {
        EXPECT_EQ(sizes(quads, 16), std::vector<i32>{16});
        EXPECT_EQ(quads.carry.getPendingInput(), 16);
    }

    Rig odd(1);
    EXPECT_EQ(sizes(odd, 100), (std::vector<i32>{64, 48}));
    EXPECT_EQ(odd.carry.getPendingOutput(), 12);
    EXPECT_EQ(odd.carry.getPendingInput(), 4);
    EXPECT_EQ(sizes(odd, 100), (std::vector<i32>{64, 32}));
    EXPECT_EQ(odd.carry.getPendingOutput(), 8);
    EXPECT_TRUE(sizes(odd, 0).empty());
    EXPECT_EQ(odd.carry.getPendingInput(), 8);

    odd.carry.clear();
    EXPECT_EQ(odd.carry.getPendingInput(), 16);
    EXPECT_EQ(sizes(odd, 64), std::vector<i32>{64});
    EXPECT_EQ(odd.carry.getPendingOutput(), 0);
}

TEST(CarryBuffer, MissingChannelsReadAsSilenceAndAreNotWritten) {
    Rig rig(2);
    std::vector<f32> left(48, 1.0f), out(48, 7.0f);
    f32* in[2] = {left.data(), nullptr};
    f32* none[2] = {nullptr, nullptr};
    f32* only[2] = {nullptr, out.data()};
    rig.run(in, none, 48);
    rig.run(in, only, 48);
    // One output of two gets the mean of both sides.
    for (const f32 sample : out)
        EXPECT_EQ(sample, 0.5f);
    f32* same[2] = {out.data(), out.data()};
    rig.run(none, same, 48);
    EXPECT_EQ(out[15], 0.5f);
    EXPECT_EQ(out[16], 0.0f);
}
