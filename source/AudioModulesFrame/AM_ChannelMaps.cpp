#include "AM_ChannelMaps.h"

#include <algorithm>

namespace {

i32 countConnected(const f32* const* channels) {
    return k_maxChannels -
           static_cast<i32>(std::count(channels, channels + k_maxChannels, nullptr));
}

// The first connected channel, 0 if there is none.
i32 firstConnected(const f32* const* channels) {
    for (i32 c = 0; c < k_maxChannels; ++c)
        if (channels[c]) return c;
    return 0;
}

// Front pair, then centre and bass, then pairs further and further out.
void surroundPositions(f32* positions) {
    positions[0] = -1;
    positions[1] = 1;
    positions[2] = positions[3] = 0;
    for (i32 c = 4; c < k_maxChannels; ++c) {
        const f32 distance = static_cast<f32>(c / 2);
        positions[c] = c % 2 == 0 ? distance : -distance;
    }
}

} // namespace

void AM_ChannelMaps::reset(const f32* const* inputs, const f32* const* outputs) {
    for (i32 c = 0; c < k_maxChannels; ++c) {
        inputMap[c] = inputs[c] ? c : -1;
        outputMap[c] = outputs[c] ? c : -1;
        channelSilent[c] = 0;
        positions[c] = 0;
    }
}

void AM_ChannelMaps::build(const f32* const* inputs, const f32* const* outputs, i32 layout,
                           i32 lfeMode, i32 numChannels) {
    reset(inputs, outputs);
    const i32 numOutputs = countConnected(outputs);
    layout = layout < 0 || layout > 8 ? 0 : layout;
    lfeMode = lfeMode < 0 || lfeMode > 2 ? 0 : lfeMode;
    if (numOutputs == 1) layout = 6;
    if (numOutputs == 2 && layout != 6 && layout != 8) layout = 2;
    switch (layout) {
    case 0:
        mapDirect(lfeMode, numOutputs);
        break;
    case 1:
        for (i32 c = 0; c < k_maxChannels; ++c)
            positions[c] = static_cast<f32>(c);
        numMappedChannels = 8;
        break;
    case 2:
    case 3:
    case 4:
    case 5:
        mapPair(2 * (layout - 2));
        numMappedChannels = static_cast<f32>(layout + 1);
        break;
    case 6:
        mapMono(numChannels, firstConnected(inputs), firstConnected(outputs));
        numMappedChannels = 7;
        break;
    default:
        mapInputs(layout == 7 ? 2 : 1, lfeMode, countConnected(inputs), numChannels);
        numMappedChannels = 9;
        break;
    }
    for (i32 c = 0; c < k_maxChannels; ++c)
        if (inputMap[c] >= 0 && !inputs[inputMap[c]]) inputMap[c] = -1;
    silenceUnmapped(outputs);
}

void AM_ChannelMaps::mapDirect(i32 lfeMode, i32 numOutputs) {
    numMappedChannels = static_cast<f32>(numOutputs);
    if (lfeMode == 0) {
        surroundPositions(positions);
        return;
    }
    // Mode 1 keeps channel 0 and leaves out the one behind it, mode 2 leaves out both.
    const i32 firstMoved = lfeMode == 1 ? 1 : 0;
    const i32 shift = lfeMode == 1 ? 1 : 2;
    for (i32 c = firstMoved; c < k_maxChannels; ++c) {
        inputMap[c] = c + shift < k_maxChannels ? inputMap[c + shift] : -1;
        outputMap[c] = c + shift < k_maxChannels ? outputMap[c + shift] : -1;
    }
    const f32 centre = static_cast<f32>(std::max(numOutputs - shift, 1) - 1) * 0.5f;
    for (i32 c = 0; c < k_maxChannels; ++c)
        positions[c] = 1.0f - centre + static_cast<f32>(c);
}

void AM_ChannelMaps::mapPair(i32 first) {
    const i32 in[2] = {inputMap[first], inputMap[first + 1]};
    const i32 out[2] = {outputMap[first], outputMap[first + 1]};
    std::fill_n(inputMap, k_maxChannels, -1);
    std::fill_n(outputMap, k_maxChannels, -1);
    inputMap[0] = in[0];
    inputMap[1] = in[1] < 0 && first > 0 ? in[0] : in[1];
    outputMap[0] = out[0];
    outputMap[1] = out[1];
    positions[0] = -1;
    positions[1] = 1;
}

void AM_ChannelMaps::mapMono(i32 numChannels, i32 input, i32 output) {
    for (i32 c = 0; c < k_maxChannels; ++c) {
        inputMap[c] = c < numChannels ? input : -1;
        outputMap[c] = c < numChannels ? output : -1;
    }
}

void AM_ChannelMaps::mapInputs(i32 modulus, i32 lfeMode, i32 numInputs, i32 numChannels) {
    for (i32 c = 0; c < k_maxChannels; ++c)
        inputMap[c] = c < numChannels ? c % modulus : -1;
    surroundPositions(positions);
    if (numInputs % 2 != 0) return;
    if (lfeMode > 0) outputMap[1] = -1;
    if (lfeMode == 2) outputMap[0] = -1;
}

void AM_ChannelMaps::silenceUnmapped(const f32* const* outputs) {
    for (i32 c = 0; c < k_maxChannels; ++c) {
        const bool mapped =
            std::find(outputMap, outputMap + k_maxChannels, c) != outputMap + k_maxChannels;
        channelSilent[c] = outputs[c] && !mapped ? 1 : 0;
    }
}

i32 AM_ChannelMaps::numUsed() const {
    i32 used = 0;
    for (i32 c = 0; c < k_maxChannels; ++c)
        if (inputMap[c] >= 0 || outputMap[c] >= 0) used = c + 1;
    return used;
}
