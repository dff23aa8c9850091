// The kernels of each width against each other, bit for bit. What they have to compute is held
// against the plain path by the tests of the whole plug-in.
#include "AM_Kernels.h"
#include "AM_SincTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr i32 k_most = 64; // samples of a block

struct Blocks {
    std::mt19937 random{1};
    alignas(32) f32 outs[k_maxMatrixSize][k_most + 8];
    alignas(32) f32 ins[k_maxMatrixSize][k_most + 8];
    f32 gains[k_maxMatrixSize];
    f32 input[k_most + 8];
    alignas(32) f32 phases[34 * k_sincTaps];
    AM_ResamplerPoint points[k_most];

    f32 number() { return static_cast<f32>(random()) / 2147483648.0f - 1.0f; }
    Blocks() {
        for (auto& line : outs)
            for (f32& sample : line)
                sample = number();
        for (f32& sample : input)
            sample = number();
        for (f32& gain : gains)
            gain = number();
        for (f32& tap : phases)
            tap = number();
        for (AM_ResamplerPoint& point : points)
            point = {static_cast<i32>(random() % 33),
                     static_cast<f32>(random() % 3300) * 0.01f - 0.5f};
    }

    // All that a set computes of the blocks, one after the other.
    std::vector<f32> run(const AM_KernelSet& set, i32 steps) {
        std::vector<f32> results;
        const auto keep = [&](const f32* from, i32 count) {
            results.insert(results.end(), from, from + count);
        };
        const f32* out[k_maxMatrixSize];
        f32* in[k_maxMatrixSize];
        for (i32 i = 0; i < k_maxMatrixSize; ++i) {
            out[i] = outs[i] + i % 3;
            in[i] = ins[i] + i % 2;
        }
        for (i32 family = 0; family < k_numKernelFamilies; ++family) {
            std::memset(ins, 0, sizeof ins);
            set.matrix[family]({out, in, gains, input, 0.7f}, steps);
            keep(ins[0], static_cast<i32>(sizeof ins / sizeof(f32)));
        }
        f32 left[k_most + 8] = {}, right[k_most + 8] = {};
        for (const i32 count : {4, 6, 8}) {
            set.mean(out, count, left, steps);
            keep(left, k_most + 8);
            set.collect(out, count, 0.3f, 0.6f, left, right, steps);
            keep(right, k_most + 8);
        }
        const f32* const channels[2] = {&outs[0][0], &outs[2][1]};
        set.resample(channels, phases, points, steps, left, right);
        keep(left, steps);
        keep(right, steps);
        return results;
    }
};

} // namespace

TEST(Kernels, OfEveryWidthGiveTheSameBits) {
    if (&AM_kernels() != &AM_kernelsAvx) GTEST_SKIP() << "this machine has one width only";
    const auto blocks = std::make_unique<Blocks>();
    for (i32 steps = 1; steps <= k_most; ++steps) {
        const std::vector<f32> narrow = blocks->run(AM_kernelsSse, steps);
        const std::vector<f32> wide = blocks->run(AM_kernelsAvx, steps);
        ASSERT_EQ(std::memcmp(narrow.data(), wide.data(), narrow.size() * sizeof(f32)), 0) << steps;
    }
}
