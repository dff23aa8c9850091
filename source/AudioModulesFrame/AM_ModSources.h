// The four MIDI performance controls of a circuit, smoothed into ModBuffers.
#pragma once

#include "BlockContext.h"

// Modulation wheel, pitch wheel, breath, expression. A ModBuffer has 4 values a quad. All of it
// belongs to the audio thread.
class AM_ModSources {
public:
    enum Source : i32 { k_modWheel, k_pitchWheel, k_breath, k_expression, k_count };

    // A circuit's `data`.
    struct State {
        f32 target[k_count];
        f32 current[k_count];
        f32 step[k_count];
        i32 lastQuads;
        i32 lastStart;
        f64 sampleRate; // last seen, Hz
        u8 reserved[32];
    };
    static_assert(sizeof(State) == 96);

    // Works on `state` and on the four ModBuffers of 16 floats at `buffers`, both zeroed memory
    // that outlives it; null buffers are not written.
    void attach(State* newState, f32* newBuffers);
    // Sets where a source is heading; a value that is not finite is ignored.
    void setTarget(i32 source, f32 value);
    // All sources at their targets at once.
    void settle();
    // Runs a sub-block. With `synchronous` unset every change goes the smooth way, at a speed that
    // depends on its size; with it, changes come 4 block periods late and go by
    // context.smoothingMode: 2 smooth, 1 light, else within the sub-block.
    void run(const BlockContext& context, i32 start, i32 numQuads, bool synchronous);
    // True if every source is at its target.
    bool isResting() const { return resting; }

private:
    // Differences below this count as none.
    static constexpr f32 k_closeEnough = 6.103888e-05f;

    void runSource(const BlockContext& context, i32 source, i32 numQuads, f32 target,
                   bool synchronous);
    void takeSmoothStep(const BlockContext& context, i32 source, f32 difference, bool synchronous);
    void fill(i32 source, f32 value);

    State* state = nullptr;
    f32* buffers = nullptr;
    u64 period = 0;                // of 4 quads, the pipeline's clock
    f32 pipeline[k_count][4] = {}; // newest first
    // The buffer holds nothing but `current`, so it need not be written again.
    bool filled[k_count] = {true, true, true, true};
    bool resting = false; // all of them, so there is nothing to run
};
