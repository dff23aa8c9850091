// The audio of process calls: channels of any number of buses, with guarded borders.
#pragma once

#include "AM_Types.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"

#include <memory>
#include <vector>

class TestBuffers {
public:
    // Makes channels of `maxFrames` frames: `inputs[b]` of them for input bus b, `outputs[b]` for
    // output bus b. A bus may have none.
    explicit TestBuffers(i32 maxFrames, const std::vector<i32>& inputs = {2},
                         const std::vector<i32>& outputs = {2});
    TestBuffers(const TestBuffers&) = delete;
    TestBuffers& operator=(const TestBuffers&) = delete;

    f32* input(i32 bus, i32 channel) { return sides[0].channel(bus, channel); }
    f32* output(i32 bus, i32 channel) { return sides[1].channel(bus, channel); }
    // Each output channel becomes the memory of its input channel, where there is one.
    void inPlace();
    // The process call sees a null pointer for this channel.
    void nullInput(i32 bus, i32 channel) { sides[0].channel(bus, channel) = nullptr; }
    void nullOutput(i32 bus, i32 channel) { sides[1].channel(bus, channel) = nullptr; }

    // What to hand to a process call of `frames` frames (at most maxFrames). Outputs that are not
    // in place are filled with not-a-numbers and guarded behind the last frame. Changes, events,
    // context and mode stay as the caller set them; silence flags are cleared. Allocates nothing.
    Steinberg::Vst::ProcessData& data(i32 frames);
    // Whether the last call wrote nothing outside the frames it was given.
    bool intact() const;

private:
    struct Side {
        void make(i32 maxFrames, const std::vector<i32>& counts);
        f32*& channel(i32 bus, i32 index);

        std::vector<std::vector<f32>> memory;    // one a channel
        std::vector<std::vector<f32*>> pointers; // per bus
        std::vector<Steinberg::Vst::AudioBusBuffers> buses;
    };

    const i32 capacity;
    i32 frames = 0;
    Side sides[2];
    bool shared = false;
    Steinberg::Vst::ProcessData process;
};
