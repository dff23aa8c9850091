// The network in blocks against lines and matrices that take turns, where no code leads: lines
// about as long as their rings, in which what is written comes close to what is still to be heard.
#include "AM_BlockNetwork.h"
#include "AM_DelayMatrix.h"
#include "AM_DelayModel.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace {

struct Lines {
    std::vector<std::unique_ptr<fixedDelay>> owned;
    fixedDelay* lines[k_numDelays];
    fdnMatrixHouseHolder<4> matrices[16];

    explicit Lines(const AM_DelayModel& model) {
        for (i32 k = 0; k < k_numDelays; ++k) {
            owned.push_back(std::make_unique<fixedDelay>(k_maxDelayLength + 1));
            lines[k] = owned.back().get();
            lines[k]->setLength(model.lengths[k]);
            lines[k]->setGain(0.9f);
            matrices[k / 4].setElement(lines[k], k % 4);
        }
        for (i32 k = 0; k < k_numDelays; ++k)
            if (model.aliases[k] >= 0) lines[k]->setAlias(lines[model.aliases[k]]);
    }
};

AM_DelayModel longModel(std::mt19937& random) {
    AM_DelayModel model{};
    model.family = k_householder4;
    model.numMatrices = model.numInputs = 16;
    model.matrixSize = 4;
    for (i32 k = 0; k < k_numDelays; ++k) {
        model.lengths[k] = k_maxDelayLength - static_cast<i32>(random() % 100);
        model.aliases[k] = k % 9 == 0 ? static_cast<i32>(random() % k_numDelays) : -1;
    }
    for (i32 i = 0; i < 16; ++i)
        model.inputs[i] = {i >= 8, i % 4, i};
    model.numOutputs = 2;
    model.outputs[1] = 15;
    model.outputLeft[0] = model.outputRight[1] = 1.0f;
    model.plan = AM_makeNetworkPlan(model);
    return model;
}

} // namespace

TEST(BlockNetwork, LinesMayBeAsLongAsTheirRings) {
    std::mt19937 random(1);
    const AM_DelayModel model = longModel(random);
    Lines plain(model), lines(model);
    const auto blocks = std::make_unique<AM_BlockNetwork>();
    blocks->setLines(lines.lines, k_numDelays);
    blocks->setPlan(model.plan);
    blocks->takeGains(lines.lines, k_numDelays);
    ASSERT_TRUE(blocks->canRun());
    for (i32 done = 0; done < 30000;) {
        const i32 steps = 1 + static_cast<i32>(random() % 64);
        f32 samples[4][k_subBlockFrames + k_vectorSteps] = {};
        f32 frames[2 * (k_subBlockFrames + k_vectorSteps)];
        for (auto& tap : samples)
            for (i32 n = 0; n < steps; ++n)
                tap[n] = static_cast<f32>(random()) / 4294967296.0f - 0.5f;
        const f32* const taps[] = {samples[0], samples[1], samples[2], samples[3]};
        blocks->run(taps, frames, steps, 0.7f);
        for (i32 n = 0; n < steps; ++n) {
            for (i32 i = 0; i < 16; ++i) {
                const f32 input =
                    i < 8 ? samples[i % 4][n] : plain.matrices[model.inputs[i].source].read();
                plain.matrices[i].tick(input, 0.7f);
            }
            ASSERT_EQ(frames[2 * n], plain.matrices[0].read()) << done + n;
            ASSERT_EQ(frames[2 * n + 1], plain.matrices[15].read()) << done + n;
        }
        done += steps;
        if (random() % 50 == 0) blocks->release();
    }
}
