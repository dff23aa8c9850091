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

constexpr i32 k_lines = 64;

// Lines, taps and points of one block, with a plan that reads all over them.
struct Blocks {
    std::mt19937 random{1};
    f32 lines[k_lines][k_subBlockFrames + 1];
    f32 tapSamples[4][k_subBlockFrames];
    f32 gains[k_lines];
    const f32* outs[2 * k_lines];
    const f32* taps[4];
    AM_NetworkPlan plan{};
    f32 frames[2 * (k_sincTaps + k_subBlockFrames)];
    f32 phases[34 * 2 * k_sincTaps];
    AM_ResamplerPoints points;

    f32 number() { return static_cast<f32>(random()) / 2147483648.0f - 1.0f; }
    i32 below(u32 count) { return static_cast<i32>(random() % count); }
    template <size_t N>
    void fill(f32 (&samples)[N]) {
        for (f32& sample : samples)
            sample = number();
    }
    void fill(AM_PlanRead (&reads)[k_maxMatrixSize]) {
        for (AM_PlanRead& read : reads)
            read = static_cast<AM_PlanRead>(below(2 * k_lines));
    }
    Blocks() {
        for (i32 k = 0; k < k_lines; ++k) {
            fill(lines[k]);
            outs[2 * k] = lines[k];
            outs[2 * k + 1] = lines[k] + 1;
        }
        for (i32 t = 0; t < 4; ++t) {
            fill(tapSamples[t]);
            taps[t] = tapSamples[t];
        }
        fill(gains);
        fill(frames);
        for (i32 i = 0; i < 34 * 2 * k_sincTaps; i += 2)
            phases[i] = phases[i + 1] = number();
        for (i32 i = 0; i < k_subBlockFrames; ++i) {
            points.newest[i] = below(65);
            points.position[i] = static_cast<f32>(below(3300)) * 0.01f - 0.5f;
        }
        points.place(k_subBlockFrames);
        plan.numMatrices = plan.numOutputs = plan.numMeans = 8;
        for (i32 i = 0; i < 8; ++i) {
            fill(plan.means[i].reads);
            fill(plan.matrices[i].reads);
            fill(plan.outputs[i].reads);
            plan.matrices[i].firstLine = static_cast<u8>(8 * i);
            plan.matrices[i].muted = i == 3;
            plan.matrices[i].fromTap = i < 4;
            plan.matrices[i].source = static_cast<u8>(i % 4);
            plan.outputs[i].left = number();
            plan.outputs[i].right = number();
        }
    }

    // All that a set computes of the blocks, one after the other.
    std::vector<f32> run(const AM_KernelSet& set, i32 steps) {
        std::vector<f32> results;
        const auto keep = [&](const f32* from, i32 count) {
            results.insert(results.end(), from, from + count);
        };
        for (const auto network : set.network) {
            f32 fed[k_lines][k_subBlockFrames] = {};
            f32* ins[k_lines];
            for (i32 k = 0; k < k_lines; ++k)
                ins[k] = fed[k];
            AM_StepSamples means[AM_NetworkPlan::k_maxParts] = {};
            f32 sums[2 * k_subBlockFrames] = {};
            network(plan, {outs, ins, gains, taps, means, 0.7f}, sums, steps);
            keep(fed[0], static_cast<i32>(sizeof fed / sizeof(f32)));
            keep(sums, 2 * k_subBlockFrames);
        }
        f32 left[k_subBlockFrames] = {}, right[k_subBlockFrames] = {};
        set.resample(frames, phases, points, steps - 3, left, right);
        keep(left, steps - 3);
        keep(right, steps - 3);
        return results;
    }
};

} // namespace

TEST(Kernels, OfEveryWidthGiveTheSameBits) {
    if (&AM_kernels() != &AM_kernelsAvx) GTEST_SKIP() << "this machine has one width only";
    const auto blocks = std::make_unique<Blocks>();
    for (i32 steps = k_vectorSteps; steps <= k_subBlockFrames; steps += k_vectorSteps) {
        const std::vector<f32> narrow = blocks->run(AM_kernelsSse, steps);
        const std::vector<f32> wide = blocks->run(AM_kernelsAvx, steps);
        ASSERT_EQ(std::memcmp(narrow.data(), wide.data(), narrow.size() * sizeof(f32)), 0) << steps;
    }
}
