#include "AM_ChannelMaps.h"
#include "AM_OutputRoutes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

namespace {

struct Host {
    Host(const std::vector<i32>& connectedInputs, const std::vector<i32>& connectedOutputs) {
        for (const i32 c : connectedInputs)
            inputs[c] = &sample;
        for (const i32 c : connectedOutputs)
            outputs[c] = &sample;
    }
    AM_ChannelMaps maps(i32 layout, i32 lfeMode = 0, i32 numChannels = 2) const {
        AM_ChannelMaps result{};
        result.build(inputs, outputs, layout, lfeMode, numChannels);
        for (i32 c = 0; c < k_maxChannels; ++c) {
            EXPECT_TRUE(result.inputMap[c] < 0 || inputs[result.inputMap[c]]);
            EXPECT_TRUE(result.outputMap[c] < 0 || outputs[result.outputMap[c]]);
        }
        return result;
    }

    f32 sample = 0;
    f32* inputs[k_maxChannels] = {};
    f32* outputs[k_maxChannels] = {};
};

void expectMap(const i32 (&map)[k_maxChannels], std::vector<i32> expected) {
    expected.resize(k_maxChannels, -1);
    EXPECT_EQ(std::vector<i32>(std::begin(map), std::end(map)), expected);
}

} // namespace

TEST(ChannelMaps, ConnectedOutputsOverrideTheLayout) {
    const Host stereo({0, 1}, {0, 1});
    for (const i32 layout : {0, 1, 2, 3, 7, -5, 99}) {
        const AM_ChannelMaps maps = stereo.maps(layout, 1);
        expectMap(maps.inputMap, {0, 1});
        expectMap(maps.outputMap, {0, 1});
        EXPECT_EQ(maps.numMappedChannels, 3);
        EXPECT_EQ(maps.positions[0], -1);
        EXPECT_EQ(maps.positions[1], 1);
    }
    // Mono and sum stay what they are.
    const AM_ChannelMaps mono = stereo.maps(6);
    expectMap(mono.inputMap, {0, 0});
    expectMap(mono.outputMap, {0, 0});
    EXPECT_EQ(mono.channelSilent[1], 1);
    const AM_ChannelMaps sum = stereo.maps(8);
    expectMap(sum.inputMap, {0, 0});
    expectMap(sum.outputMap, {0, 1});
    EXPECT_EQ(stereo.maps(8, 1).channelSilent[1], 1);

    for (const i32 only : {0, 1}) {
        const AM_ChannelMaps maps = Host({0, 1}, {only}).maps(2);
        EXPECT_EQ(maps.numMappedChannels, 7);
        expectMap(maps.outputMap, {only, only});
    }
    EXPECT_EQ(Host({}, {}).maps(0).numUsed(), 0);
}

TEST(ChannelMaps, LayoutsOfALargerHost) {
    const Host surround({0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 4, 5});
    const AM_ChannelMaps direct = surround.maps(0);
    expectMap(direct.outputMap, {0, 1, 2, 3, 4, 5});
    EXPECT_EQ(direct.numMappedChannels, 6);
    EXPECT_EQ(direct.positions[4], 2);
    EXPECT_EQ(direct.positions[5], -2);
    EXPECT_EQ(direct.numUsed(), 6);

    const AM_ChannelMaps withoutBass = surround.maps(0, 1);
    expectMap(withoutBass.inputMap, {0, 2, 3, 4, 5});
    EXPECT_EQ(withoutBass.channelSilent[1], 1);
    expectMap(surround.maps(0, 2).outputMap, {2, 3, 4, 5});

    const AM_ChannelMaps pair = surround.maps(3);
    expectMap(pair.inputMap, {2, 3});
    expectMap(pair.outputMap, {2, 3});
    EXPECT_EQ(pair.channelSilent[0], 1);
    EXPECT_EQ(pair.channelSilent[2], 0);
    expectMap(Host({2}, {0, 1, 2, 3}).maps(3).inputMap, {2, 2});

    const AM_ChannelMaps pairs = surround.maps(7, 0, 4);
    expectMap(pairs.inputMap, {0, 1, 0, 1});
    expectMap(pairs.outputMap, {0, 1, 2, 3, 4, 5});
    expectMap(surround.maps(8, 0, 4).inputMap, {0, 0, 0, 0});
    EXPECT_EQ(surround.maps(7, 2).channelSilent[0], 1);
    EXPECT_EQ(Host({0}, {0, 1, 2}).maps(7, 2).channelSilent[0], 0);
    EXPECT_EQ(surround.maps(1).positions[15], 15);
}

TEST(OutputRoutes, CleaningRemovesWhatIsNoSample) {
    const f32 infinity = std::numeric_limits<f32>::infinity();
    const f32 denormal = std::numeric_limits<f32>::denorm_min();
    using Samples = std::vector<f32>;
    Samples finite = {infinity, -infinity, std::nanf(""), denormal, 0.5f, -1e30f, 1.2e-38f};
    Samples normal = finite;
    AM_cleanNonFinite(finite.data(), 7);
    AM_cleanNotNormal(normal.data(), 7);
    EXPECT_EQ(finite, (Samples{0, 0, 0, denormal, 0.5f, -1e30f, 1.2e-38f}));
    EXPECT_EQ(normal, (Samples{0, 0, 0, 0, 0.5f, -1e30f, 1.2e-38f}));
}

TEST(OutputRoutes, FollowEachChangeOfConnection) {
    f32 left[1], right[1], stereo[2] = {1, 3};
    f32* both[] = {left, right};
    f32* one[] = {left, left};
    const i32 crossed[] = {1, 0};
    AM_OutputRoutes routes;
    const auto written = [&] {
        routes.write(stereo, 1, 0, 1);
        return std::pair(left[0], right[0]);
    };
    for (i32 turn = 0; turn < 2; ++turn) {
        routes.connect(both, 2);
        EXPECT_EQ(written(), std::pair(1.0f, 3.0f));
        routes.connectMapped(both, crossed, 2);
        EXPECT_EQ(written(), std::pair(3.0f, 1.0f));
        routes.connect(both, 2);
        EXPECT_EQ(written(), std::pair(1.0f, 3.0f));
        routes.connect(one, 2);
        EXPECT_EQ(written(), std::pair(2.0f, 3.0f));
    }
}
