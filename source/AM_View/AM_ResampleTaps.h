// Which pixels of an image make a pixel of its scaled form, and with which weights.
#pragma once

#include "AM_Context.h"
#include "AM_PremultipliedRow.h"

#include <vector>

// The filter of a choice at `x` source pixels from its middle, and how far it reaches to each side.
f32 AM_filterWeight(AM_Resampling choice, f32 x);
f32 AM_filterReach(AM_Resampling choice);

// The weights of one direction.
struct AM_ResampleTaps {
    static constexpr i32 k_one = 16384; // what the weights of a pixel sum up to
    i32 perPixel = 0;                   // even
    std::vector<i32> first;             // per pixel: the first source pixel
    std::vector<i16> weights;           // perPixel of each
    i32 lowest = 0;                     // of `first`
    i32 highest = 0;

    // For the pixels `begin` to `end` - 1, of an image of `sourceSize` pixels, at least 1, that is
    // drawn from `origin` on in `size` pixels. Source pixels beyond the last, which a very small
    // image can have, weigh nothing.
    void make(AM_Resampling choice, i32 sourceSize, f64 origin, f64 size, i32 begin, i32 end);
    const i16* of(i32 pixel) const {
        return weights.data() + static_cast<size_t>(pixel) * static_cast<size_t>(perPixel);
    }

private:
    void makePixel(AM_Resampling choice, i32 sourceSize, f64 centre, f64 widening, i32 pixel);
    std::vector<f64> exact;
};

// The last few that were asked for: most images of an editor are drawn in the same size again and
// again.
class AM_KeptTaps {
public:
    // What AM_ResampleTaps::make makes of these, for at least one pixel; good until the next call.
    const AM_ResampleTaps& get(AM_Resampling choice, i32 sourceSize, f64 origin, f64 size,
                               i32 begin, i32 end);

private:
    struct Key {
        AM_Resampling choice = k_bilinear;
        i32 sourceSize = 0;
        f64 origin = 0;
        f64 size = 0;
        i32 begin = 0;
        i32 end = 0;
        bool operator==(const Key&) const = default;
    };
    struct Entry {
        Key key;
        u64 lastUse = 0;
        AM_ResampleTaps taps;
    };
    static constexpr size_t k_count = 4;
    Entry entries[k_count];
    u64 uses = 0;
};
