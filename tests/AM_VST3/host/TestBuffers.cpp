#include "TestBuffers.h"

#include <algorithm>
#include <limits>

namespace {

constexpr i32 k_border = 32; // frames before and behind a channel
constexpr f32 k_guard = 1234567.0f;

} // namespace

void TestBuffers::Side::make(i32 maxFrames, const std::vector<i32>& counts) {
    for (const i32 count : counts) {
        std::vector<f32*>& bus = pointers.emplace_back();
        for (i32 i = 0; i < count; ++i) {
            memory.emplace_back(static_cast<size_t>(maxFrames + 2 * k_border), k_guard);
            f32* start = memory.back().data() + k_border;
            std::fill_n(start, maxFrames, 0.0f);
            bus.push_back(start);
        }
    }
    for (std::vector<f32*>& bus : pointers) {
        buses.emplace_back().numChannels = static_cast<i32>(bus.size());
        buses.back().channelBuffers32 = bus.empty() ? nullptr : bus.data();
    }
}

f32*& TestBuffers::Side::channel(i32 bus, i32 index) {
    return pointers.at(static_cast<size_t>(bus)).at(static_cast<size_t>(index));
}

TestBuffers::TestBuffers(i32 maxFrames, const std::vector<i32>& inputs,
                         const std::vector<i32>& outputs)
    : capacity(maxFrames) {
    sides[0].make(maxFrames, inputs);
    sides[1].make(maxFrames, outputs);
    process.numInputs = static_cast<i32>(sides[0].buses.size());
    process.numOutputs = static_cast<i32>(sides[1].buses.size());
    process.inputs = process.numInputs > 0 ? sides[0].buses.data() : nullptr;
    process.outputs = process.numOutputs > 0 ? sides[1].buses.data() : nullptr;
}

void TestBuffers::inPlace() {
    shared = true;
    for (size_t bus = 0; bus < std::min(sides[0].pointers.size(), sides[1].pointers.size());
         ++bus) {
        const std::vector<f32*>& from = sides[0].pointers[bus];
        std::vector<f32*>& to = sides[1].pointers[bus];
        std::copy_n(from.begin(), std::min(from.size(), to.size()), to.begin());
    }
}

Steinberg::Vst::ProcessData& TestBuffers::data(i32 wanted) {
    frames = std::clamp(wanted, 0, capacity);
    for (Side& side : sides)
        for (Steinberg::Vst::AudioBusBuffers& bus : side.buses)
            bus.silenceFlags = 0;
    for (std::vector<f32>& channel : sides[1].memory) {
        const auto start = channel.begin() + k_border;
        std::fill(start, start + frames, std::numeric_limits<f32>::quiet_NaN());
        std::fill(start + frames, channel.end(), k_guard);
    }
    if (shared) // what lies behind the block belongs to the host here too
        for (std::vector<f32>& channel : sides[0].memory)
            std::fill(channel.begin() + k_border + frames, channel.end(), k_guard);
    process.numSamples = frames;
    return process;
}

bool TestBuffers::intact() const {
    const auto isGuard = [](f32 value) { return value == k_guard; };
    const auto untouched = [&](const std::vector<f32>& channel, i32 used) {
        return std::all_of(channel.begin(), channel.begin() + k_border, isGuard) &&
               std::all_of(channel.begin() + k_border + used, channel.end(), isGuard);
    };
    return std::ranges::all_of(sides[0].memory,
                               [&](const auto& channel) {
                                   return untouched(channel, shared ? frames : capacity);
                               }) &&
           std::ranges::all_of(sides[1].memory,
                               [&](const auto& channel) { return untouched(channel, frames); });
}
