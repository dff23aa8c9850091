// What the carry keeps between blocks; its samples are compared in block_path_test.cpp.
#include "AM_CarryBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

// A carry of one channel with a bus that changes nothing.
struct Rig {
    Rig() : memory(static_cast<size_t>(AM_CarryBuffer::memoryFloats(1))) {
        carry.attach(memory.data(), 1);
    }
    // The sizes of the sub-blocks of one block.
    std::vector<i32> run(i32 frames) {
        f32* const channel[1] = {samples.data()};
        routes.connect(channel, 1);
        std::vector<i32> sizes;
        carry.beginBlock(frames);
        while (const i32 size = carry.nextSubBlock()) {
            sizes.push_back(size);
            carry.readInput(channel, nullptr, bus);
            carry.writeOutput(bus, routes);
        }
        carry.endBlock(channel, nullptr, routes);
        EXPECT_EQ(carry.getPendingInput() + carry.getPendingOutput(), 16);
        return sizes;
    }

    std::vector<f32> memory, samples = std::vector<f32>(128);
    f32 bus[2 * k_subBlockFrames] = {};
    AM_CarryBuffer carry;
    AM_OutputRoutes routes;
};

} // namespace

TEST(CarryBuffer, SubBlocksAndPendingFramesOfTypicalHosts) {
    Rig single, quads, odd;
    EXPECT_EQ(single.run(1), std::vector<i32>{16});
    for (i32 call = 0; call < 15; ++call) {
        EXPECT_EQ(single.carry.getPendingOutput(), 15 - call);
        EXPECT_TRUE(single.run(1).empty());
    }
    EXPECT_EQ(single.run(1), std::vector<i32>{16});
    for (i32 call = 0; call < 3; ++call) {
        EXPECT_EQ(quads.run(16), std::vector<i32>{16});
        EXPECT_EQ(quads.carry.getPendingInput(), 16);
    }
    EXPECT_EQ(odd.run(100), (std::vector<i32>{64, 48}));
    EXPECT_EQ(odd.carry.getPendingInput(), 4);
    EXPECT_EQ(odd.run(100), (std::vector<i32>{64, 32}));
    EXPECT_EQ(odd.carry.getPendingOutput(), 8);
    EXPECT_TRUE(odd.run(0).empty());
    EXPECT_EQ(odd.carry.getPendingInput(), 8);
    odd.carry.clear();
    EXPECT_EQ(odd.carry.getPendingInput(), 16);
    EXPECT_EQ(odd.run(64), std::vector<i32>{64});
    EXPECT_EQ(odd.carry.getPendingOutput(), 0);
}

// What was kept of a side chain is heard when it comes back, unless silence came in between.
TEST(CarryBuffer, ASideChainThatWasGoneBeginsWithSilence) {
    std::vector<f32> memory(static_cast<size_t>(AM_CarryBuffer::memoryFloats(1)));
    std::vector<f32> samples(32), ones(32, 1.0f);
    const f32* input = samples.data();
    const f32* side = ones.data();
    f32* output = samples.data();
    f32 bus[2 * k_subBlockFrames];
    AM_CarryBuffer carry;
    carry.attach(memory.data(), 1);
    AM_OutputRoutes routes;
    routes.connect(&output, 1);
    for (const bool connected : {false, true, false, true}) {
        const f32* const* sides = connected ? &side : nullptr;
        carry.beginBlock(32);
        while (carry.nextSubBlock()) {
            std::fill(bus, std::end(bus), -1.0f);
            carry.readInput(&input, sides, bus);
            for (i32 i = 0; i < 32 && connected; ++i)
                EXPECT_EQ(bus[k_subBlockFrames + i], i < 16 ? 0.0f : 1.0f);
            carry.writeOutput(bus, routes);
        }
        carry.endBlock(&input, sides, routes);
    }
}
