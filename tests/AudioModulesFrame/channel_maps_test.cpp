#include "AM_ChannelMaps.h"
#include "AM_OutputRoutes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>

namespace {

struct Host {
    Host(std::initializer_list<i32> connectedInputs, std::initializer_list<i32> connectedOutputs) {
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

void expectMap(const i32 (&map)[k_maxChannels], std::initializer_list<i32> head) {
    i32 c = 0;
    for (const i32 channel : head) {
        EXPECT_EQ(map[c], channel) << "channel " << c;
        ++c;
    }
    for (; c < k_maxChannels; ++c)
        EXPECT_EQ(map[c], -1) << "channel " << c;
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
    const f32 broken[] = {infinity, -infinity, std::nanf(""), denormal, 0.5f, -1e30f, 1.2e-38f};
    f32 finite[7], normal[7];
    std::copy(std::begin(broken), std::end(broken), finite);
    std::copy(std::begin(broken), std::end(broken), normal);
    AM_cleanNonFinite(finite, 7);
    AM_cleanNotNormal(normal, 7);
    for (i32 i = 0; i < 3; ++i) {
        EXPECT_EQ(finite[i], 0.0f);
        EXPECT_EQ(normal[i], 0.0f);
    }
    EXPECT_EQ(finite[3], denormal);
    EXPECT_EQ(normal[3], 0.0f);
    for (i32 i = 4; i < 7; ++i) {
        EXPECT_EQ(finite[i], broken[i]);
        EXPECT_EQ(normal[i], broken[i]);
    }
}
