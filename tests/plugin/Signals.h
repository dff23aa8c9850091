// Signals that tests send through the plug-in.
#pragma once

#include "AM_Types.h"

#include <cstring>
#include <random>
#include <vector>

struct StereoBuffer {
    std::vector<f32> left;
    std::vector<f32> right;

    explicit StereoBuffer(size_t frames = 0) : left(frames), right(frames) {}
    size_t size() const { return left.size(); }
    bool operator==(const StereoBuffer& other) const {
        const auto same = [](const std::vector<f32>& a, const std::vector<f32>& b) {
            return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * 4) == 0;
        };
        return same(left, other.left) && same(right, other.right);
    }
    f64 energy(size_t from, size_t to) const {
        f64 sum = 0.0;
        for (size_t i = from; i < to; ++i)
            sum += static_cast<f64>(left[i]) * left[i] + static_cast<f64>(right[i]) * right[i];
        return sum;
    }
};

// White noise on both sides, the same on every machine.
inline StereoBuffer noise(size_t frames, u32 seed = 1, f32 level = 0.5f) {
    StereoBuffer result(frames);
    std::mt19937 engine(seed);
    for (size_t i = 0; i < frames; ++i)
        for (std::vector<f32>* side : {&result.left, &result.right})
            (*side)[i] = (static_cast<f32>(engine() >> 8) / 8388608.0f - 1.0f) * level;
    return result;
}

inline StereoBuffer impulse(size_t frames, f32 level = 1.0f) {
    StereoBuffer result(frames);
    result.left[0] = result.right[0] = level;
    return result;
}
