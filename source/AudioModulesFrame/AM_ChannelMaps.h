// Which of the host's channels feed and take the channels of the bus, by speaker layout.
#pragma once

#include "BlockContext.h"

// Built at the start of each block of the path without carry. Audio thread.
struct AM_ChannelMaps {
    i32 inputMap[k_maxChannels];      // bus channel <- host input, -1 for none
    i32 outputMap[k_maxChannels];     // bus channel -> host output, -1 for none
    i32 channelSilent[k_maxChannels]; // 1: this host output gets zeros
    f32 positions[k_maxChannels];     // from left (-) to right (+), 1 apart or, around 0, 2
    f32 numMappedChannels;            // a code of the layout: its row in the channel meter

    // `layout` 0 auto, 1 all channels, 2 to 5 one pair ("1-2", "3-4", "5-6", "7-8"), 6 mono, 7
    // pairs, 8 sum; `lfeMode` 0 to 2. Layouts that hand one host channel to many bus channels do so
    // for the plug-in's `numChannels`. Out of range values count as 0. The number of outputs that
    // are connected overrides the layout: one makes it mono, two make it the first pair but for
    // layouts 6 and 8.
    void build(const f32* const* inputs, const f32* const* outputs, i32 layout, i32 lfeMode,
               i32 numChannels);
    // One behind the highest bus channel in use.
    i32 numUsed() const;

private:
    void reset(const f32* const* inputs, const f32* const* outputs);
    void mapDirect(i32 lfeMode, i32 numOutputs);
    void mapPair(i32 first);
    void mapMono(i32 numChannels, i32 input, i32 output);
    void mapInputs(i32 modulus, i32 lfeMode, i32 numInputs, i32 numChannels);
    void silenceUnmapped(const f32* const* outputs);
};
