// The audio of process calls: channels of any number of buses, with guarded borders.
#pragma once

#include "AM_Types.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"

#include <algorithm>
#include <limits>
#include <vector>

class TestBuffers {
public:
    // Makes channels of `maxFrames` frames: `inputs[b]` of them for input bus b, `outputs[b]` for
    // output bus b.
    explicit TestBuffers(i32 maxFrames, const std::vector<i32>& inputs = {2},
                         const std::vector<i32>& outputs = {2})
        : capacity(maxFrames) {
        make(0, inputs);
        make(1, outputs);
        process.numInputs = static_cast<i32>(inputs.size());
        process.numOutputs = static_cast<i32>(outputs.size());
        process.inputs = inputs.empty() ? nullptr : buses[0].data();
        process.outputs = outputs.empty() ? nullptr : buses[1].data();
    }
    TestBuffers(const TestBuffers&) = delete;
    TestBuffers& operator=(const TestBuffers&) = delete;

    // What the process call sees of a channel; null hides it.
    f32*& input(i32 bus, i32 channel) { return at(0, bus, channel); }
    f32*& output(i32 bus, i32 channel) { return at(1, bus, channel); }
    // The first bus's output becomes the memory of its input.
    void inPlace() {
        shared = true;
        pointers[1][0] = pointers[0][0];
        buses[1][0].channelBuffers32 = pointers[1][0].data();
    }

    // What to hand to a process call of `frames` frames, at most maxFrames. Outputs that are not in
    // place are filled with not-a-numbers and guarded behind the last frame. Allocates nothing.
    Steinberg::Vst::ProcessData& data(i32 wanted) {
        frames = wanted;
        for (i32 side = 0; side < 2; ++side) {
            for (Steinberg::Vst::AudioBusBuffers& bus : buses[side])
                bus.silenceFlags = 0;
            for (std::vector<f32>& channel : memory[side]) {
                if (side == 1)
                    std::fill_n(&channel[k_border], frames, std::numeric_limits<f32>::quiet_NaN());
                if (side == 1 || shared)
                    std::fill(channel.begin() + k_border + frames, channel.end(), k_guard);
            }
        }
        process.numSamples = frames;
        return process;
    }
    // Whether the last call wrote nothing outside the frames it was given.
    bool intact() const {
        const auto isGuard = [](f32 value) { return value == k_guard; };
        for (i32 side = 0; side < 2; ++side)
            for (const std::vector<f32>& channel : memory[side]) {
                const auto first = channel.begin() + k_border;
                const auto end = first + (side == 1 || shared ? frames : capacity);
                if (!std::all_of(channel.begin(), first, isGuard) ||
                    !std::all_of(end, channel.end(), isGuard))
                    return false;
            }
        return true;
    }

private:
    static constexpr i32 k_border = 32; // frames before and behind a channel
    static constexpr f32 k_guard = 1234567.0f;

    void make(i32 side, const std::vector<i32>& counts) {
        for (const i32 count : counts) {
            std::vector<f32*>& bus = pointers[side].emplace_back();
            for (i32 i = 0; i < count; ++i) {
                memory[side].emplace_back(static_cast<size_t>(capacity + 2 * k_border), k_guard);
                bus.push_back(&memory[side].back()[k_border]);
                std::fill_n(bus.back(), capacity, 0.0f);
            }
        }
        for (std::vector<f32*>& bus : pointers[side]) {
            buses[side].emplace_back().numChannels = static_cast<i32>(bus.size());
            buses[side].back().channelBuffers32 = bus.data();
        }
    }
    f32*& at(i32 side, i32 bus, i32 channel) {
        return pointers[side].at(static_cast<size_t>(bus)).at(static_cast<size_t>(channel));
    }

    const i32 capacity;
    i32 frames = 0;
    bool shared = false;
    // Of the inputs and of the outputs.
    std::vector<std::vector<f32>> memory[2];
    std::vector<std::vector<f32*>> pointers[2];
    std::vector<Steinberg::Vst::AudioBusBuffers> buses[2];
    Steinberg::Vst::ProcessData process;
};
