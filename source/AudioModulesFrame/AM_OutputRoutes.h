// Where the channels of the bus go in the host's buffers, and the last cleaning in front of it.
#pragma once

#include "BlockContext.h"

// One destination a channel. Channels that share a destination are summed and divided by their
// number, so a host whose left and right output are one buffer gets (L + R) / 2.
class AM_OutputRoutes {
public:
    // Channel c of the first `numChannels` (at most 16) to `outputs[c]`; null ones are dropped.
    // With a single output connected all channels go there.
    void connect(f32* const* outputs, i32 numChannels);
    // Channel c to `outputs[map[c]]`; a negative entry drops the channel.
    void connectMapped(f32* const* outputs, const i32* map, i32 numChannels);
    // Writes `count` frames of each channel, which lies at `source + c * stride`, from the host's
    // frame `first` on.
    void write(const f32* source, i32 stride, i32 first, i32 count) const;
    // The same for channels of zeros.
    void writeSilence(i32 first, i32 count) const;

private:
    void finish();

    i32 numRoutes = 0;
    i32 numConnected = -1; // outputs that the routes were made for by `connect`, -1 if not by it
    f32* connected[k_maxChannels] = {};
    f32* target[k_maxChannels] = {};
    f32 scale[k_maxChannels] = {};
    bool adds[k_maxChannels] = {};
};

// Samples whose magnitude is not below infinity become 0.
void AM_cleanNonFinite(f32* samples, i32 count);
// The same, and denormal ones too: every sample whose exponent is all ones or all zeros.
void AM_cleanNotNormal(f32* samples, i32 count);
