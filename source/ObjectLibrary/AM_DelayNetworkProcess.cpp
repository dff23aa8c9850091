// What the reverb computes, from input sample to output sample: host rate -> input ring ->
// (sinc) -> taps -> matrices and lines at the internal rate -> output ring -> (sinc) ->
// host rate. The arithmetic is 32-bit float in the order written here. The plain path goes sample
// by sample through the lines and matrices; the one in blocks does the same pass by pass.
#include "AM_DelayNetworkBlocks.h"
#include "AM_DelayNetWorks.h"
#include "AM_LetterPicker.h"
#include "AM_Silence.h"
#include "AM_Take.h"

#include <algorithm>
#include <cmath>

namespace {

// Just above 2^-16, about -96 dB.
constexpr f32 k_silence = 1.5259022e-05f;
constexpr i32 k_sleepBlocks = 1000;
// A wet sample beyond this is taken for a network that has run away.
constexpr f32 k_runaway = 1048576.0f;

struct Stereo {
    f32 left;
    f32 right;
};

bool isAudible(f32 x) {
    return std::fabs(x) > k_silence;
}
// False for not-a-number and infinity too.
bool isSane(f32 x) {
    return std::fabs(x) <= k_runaway;
}

// One sample between two samples of the rings: `position`, 0 to 32, is the place in the table's
// phases, interpolated linearly.
Stereo resample(fixedDelay* const (&rings)[2], const AM_SincTable& table, f32 position) {
    const i32 idx = std::clamp(static_cast<i32>(std::floor(position)), 0, k_sincPhases);
    const f32 frac = position - static_cast<f32>(idx);
    Stereo sum{0.0f, 0.0f};
    for (i32 j = 0; j < k_sincTaps; ++j) {
        const i32 t = j * k_sincPhases + idx;
        const f32 a = rings[0]->read_ix(j);
        const f32 b = rings[1]->read_ix(j);
        sum.left += a * table[t + 1] * frac + a * table[t] * (1.0f - frac);
        sum.right += b * table[t + 1] * frac + b * table[t] * (1.0f - frac);
    }
    return sum;
}

bool anyAudible(const f32* samples, i32 count) {
    i32 found = 0;
    for (i32 i = 0; i < count; ++i)
        found |= isAudible(samples[i]) ? 1 : 0;
    return found != 0;
}

// Which sides carry a signal. The scan ends at the first audible sample on the right, so a left
// signal that only starts behind it does not open the left side in this block.
struct InputScan {
    bool leftOn = false;
    bool rightOn = false;
    bool anyOn = false;

    InputScan() = default;
    InputScan(const f32* left, const f32* right, i32 frames) {
        if (AM_isSilent(left, frames) && AM_isSilent(right, frames)) return;
        rightOn = anyAudible(right, frames);
        const i32 end = rightOn ? firstAudible(right) + 1 : frames;
        leftOn = anyAudible(left, end);
        anyOn = leftOn || rightOn;
    }

private:
    static i32 firstAudible(const f32* samples) {
        i32 i = 0;
        while (!isAudible(samples[i]))
            ++i;
        return i;
    }
};

// The levels of a ramp over a block, each a step behind the one before.
struct Ramp {
    alignas(16) f32 levels[k_subBlockFrames];

    // Returns where the ramp ends.
    f32 fill(f32 level, f32 step, i32 frames) {
        if (step == 0.0f) {
            std::fill_n(levels, frames, level);
            return level;
        }
        for (i32 i = 0; i < frames; ++i)
            levels[i] = level += step;
        return level;
    }
};

} // namespace

// One call of the process function.
class AM_DelayNetworkRun {
public:
    AM_DelayNetworkRun(AM_DelayNetWorks& owner, BlockContext& block)
        : module(owner), d(owner.myData()), params(owner.myParams()), context(block),
          blocks(*owner.blocks) {}

    void run(const f32* inLeft, const f32* inRight, f32* outLeft, f32* outRight, i32 frames);

private:
    void updateGains();
    void startBlock(f32 dry, f32 wet);
    void gateInput(const f32* inLeft, const f32* inRight, f32* gated, i32 frames) const;

    // The plain path: sample by sample through the objects.
    void wetPlain(const f32* inLeft, const f32* inRight, i32 frames);
    void internalStep();

    // The fast one: pass by pass over the sub-block.
    void wetInBlocks(const f32* inLeft, const f32* inRight, i32 frames);
    i32 planSteps(i32 frames);
    void runNetwork(i32 steps);

    void mix(const f32* inLeft, const f32* inRight, f32* outLeft, f32* outRight, i32 frames,
             f32 dryStep, f32 wetStep);

    AM_DelayNetWorks& module;
    AM_DelayNetworkData& d;
    AM_DelayNetworkParams& params;
    BlockContext& context;
    AM_DelayNetworkBlocks& blocks;
    f32 ratio = 1.0f;    // internal rate over host rate
    f32 feedback = 0.0f; // 0.25 to 1
    InputScan scan;
    bool outOn = false;
    bool runaway = false;
};

void AM_DelayNetworkRun::run(const f32* inLeft, const f32* inRight, f32* outLeft, f32* outRight,
                             i32 frames) {
    scan = InputScan(inLeft, inRight, frames);
    if (d.silentBlocks > k_sleepBlocks) {
        if (!scan.anyOn) {
            module.asleep.store(true, std::memory_order_relaxed);
            return;
        }
        d.silentBlocks = 0;
        module.asleep.store(false, std::memory_order_relaxed);
    }

    const f32 dry = params.dry * 0.01f;
    f32 wet = params.wet * 0.01f;
    feedback = params.feedback * 0.0075f + 0.25f;
    updateGains();
    if (d.silentBlocks > 0) {
        const f32 c = static_cast<f32>(std::min(d.silentBlocks, k_sleepBlocks));
        wet = wet * (1.0f - c * 0.001f);
    }
    // The internal rate never exceeds the host's: at most one internal step a host sample.
    ratio = params.frequency * 2000.0f * context.sampleReciprocal;
    ratio = ratio < 1.0f ? ratio : 1.0f;
    AM_LetterPicker::step();
    startBlock(dry, wet);

    const f32 dryStep = (dry - d.dryGain) / static_cast<f32>(frames);
    const f32 wetStep = (wet - d.wetGain) / static_cast<f32>(frames);
    if (blocks.network.canRun() && !module.plainPath.load(std::memory_order_relaxed))
        wetInBlocks(inLeft, inRight, frames);
    else
        wetPlain(inLeft, inRight, frames);
    mix(inLeft, inRight, outLeft, outRight, frames, dryStep, wetStep);
    // What is not finite would circle for ever and take the dry signal with it.
    if (runaway) d.resetPending = 1;
    d.silentBlocks = (outOn || scan.anyOn) ? 0 : d.silentBlocks + 1;
}

// Powers for 64 lines, so only when they have changed.
void AM_DelayNetworkRun::updateGains() {
    if (blocks.gainLaw == params.gainLaw && blocks.gainFeedback == feedback) return;
    module.setDelayGains(params.gainLaw, feedback);
    blocks.network.takeGains(d.delays, k_numDelays);
    blocks.gainLaw = params.gainLaw;
    blocks.gainFeedback = feedback;
}

void AM_DelayNetworkRun::startBlock(f32 dry, f32 wet) {
    if (AM_take(d.resetPending) != 0) {
        module.clearNetwork(context.sampleRate);
        d.phase = 0.0f;
        d.dryGain = dry;
        d.wetGain = wet;
    }
    if (ratio != d.lastRatio) {
        d.lastRatio = ratio;
        // Cut-off 17 kHz at any rate; the ratio keeps the level.
        AM_fillScaledSinc(d.inputTable, context.sampleReciprocal * 34000.0f * 0.03125f, ratio);
        blocks.tablesTaken = false;
    }
    if (!blocks.tablesTaken) {
        blocks.inputPhases.take(d.inputTable);
        blocks.outputPhases.take(d.outputTable);
        blocks.tablesTaken = true;
    }
}

// A side without a signal, and what is not finite, stays out of the network.
void AM_DelayNetworkRun::gateInput(const f32* inLeft, const f32* inRight, f32* gated,
                                   i32 frames) const {
    const bool leftOn = scan.leftOn;
    const bool rightOn = scan.rightOn;
    for (i32 i = 0; i < frames; ++i) {
        gated[2 * i] = leftOn && std::isfinite(inLeft[i]) ? inLeft[i] : 0.0f;
        gated[2 * i + 1] = rightOn && std::isfinite(inRight[i]) ? inRight[i] : 0.0f;
    }
}

// dry and wet, each on its way to a new level.
void AM_DelayNetworkRun::mix(const f32* inLeft, const f32* inRight, f32* outLeft, f32* outRight,
                             i32 frames, f32 dryStep, f32 wetStep) {
    Ramp dry, wet;
    d.dryGain = dry.fill(d.dryGain, dryStep, frames);
    d.wetGain = wet.fill(d.wetGain, wetStep, frames);
    i32 audible = 0;
    i32 insane = 0;
    for (i32 i = 0; i < frames; ++i) {
        const f32 wetLeft = blocks.wetLeft[i];
        const f32 wetRight = blocks.wetRight[i];
        const f32 dryLeft = inLeft[i] * dry.levels[i];
        const f32 dryRight = inRight[i] * dry.levels[i];
        const bool sane = isSane(wetLeft) && isSane(wetRight);
        const f32 left = sane ? wetLeft * wet.levels[i] + dryLeft : dryLeft;
        const f32 right = sane ? wetRight * wet.levels[i] + dryRight : dryRight;
        outLeft[i] = left;
        outRight[i] = right;
        insane |= sane ? 0 : 1;
        audible |= isAudible(left) || isAudible(right) ? 1 : 0;
    }
    runaway = insane != 0;
    outOn = audible != 0;
}

// --- plain -----------------------------------------------------------------------------------

void AM_DelayNetworkRun::wetPlain(const f32* inLeft, const f32* inRight, i32 frames) {
    blocks.release(d.feeds);
    f32* gated = blocks.input.block();
    gateInput(inLeft, inRight, gated, frames);
    for (i32 i = 0; i < frames; ++i) {
        d.inputRing[0]->write(gated[2 * i]);
        d.inputRing[1]->write(gated[2 * i + 1]);
        d.phase += ratio;
        if (d.phase >= 1.0f) {
            d.phase -= 1.0f;
            internalStep();
        }
        const Stereo out = resample(d.outputRing, d.outputTable, d.phase * 32.0f);
        blocks.wetLeft[i] = out.left;
        blocks.wetRight[i] = out.right;
    }
}

void AM_DelayNetworkRun::internalStep() {
    // Input resampling.
    const Stereo in = resample(d.inputRing, d.inputTable, (1.0f - d.phase / ratio) * 32.0f);
    const f32 a = in.left;
    const f32 b = in.right;
    // Taps.
    d.feeds[0]->write(a);
    d.feeds[1]->write(b);
    d.feeds[2]->write(-a);
    d.feeds[3]->write(-b);
    d.feeds[4]->write(a + b);
    d.feeds[5]->write(a - b);
    // Network.
    for (i32 i = 0; i < d.numInputs; ++i)
        d.inputTargets[i]->tick(d.inputSources[i]->read(), feedback);
    // Collect.
    f32 left = 0.0f;
    f32 right = 0.0f;
    for (i32 j = 0; j < d.numOutputs; ++j) {
        const f32 y = d.outputs[j]->read();
        left += y * d.outputLeft[j];
        right += y * d.outputRight[j];
    }
    d.outputRing[0]->write(left);
    d.outputRing[1]->write(right);
}

// --- in blocks ---------------------------------------------------------------------------------

// input -> (sinc) -> taps -> network -> (sinc) -> wet
void AM_DelayNetworkRun::wetInBlocks(const f32* inLeft, const f32* inRight, i32 frames) {
    AM_ResamplerInput& input = blocks.input;
    AM_ResamplerInput& output = blocks.output;
    blocks.hold(d.feeds);
    gateInput(inLeft, inRight, input.block(), frames);
    const i32 steps = planSteps(frames);
    input.resample(blocks.kernels, blocks.inputPhases, blocks.steps, steps,
                   blocks.taps[0] + blocks.k_tapsPast, blocks.taps[1] + blocks.k_tapsPast);
    input.advance(frames);
    runNetwork(steps);
    output.resample(blocks.kernels, blocks.outputPhases, blocks.frames, frames, blocks.wetLeft,
                    blocks.wetRight);
    output.advance(steps);
}

// Where the internal clock ticks within the block; it does not depend on the signal.
i32 AM_DelayNetworkRun::planSteps(i32 frames) {
    i32 steps = 0;
    f32 phase = d.phase;
    for (i32 i = 0; i < frames; ++i) {
        phase += ratio;
        if (phase >= 1.0f) {
            phase -= 1.0f;
            blocks.steps.newest[steps] = i + 1;
            blocks.steps.position[steps++] = (1.0f - phase / ratio) * 32.0f;
        }
        blocks.frames.newest[i] = steps;
        blocks.frames.position[i] = phase * 32.0f;
    }
    d.phase = phase;
    blocks.steps.place(steps);
    blocks.frames.place(frames);
    return steps;
}

// A tap is heard one internal sample after it was written.
void AM_DelayNetworkRun::runNetwork(i32 steps) {
    constexpr i32 k_past = AM_DelayNetworkBlocks::k_tapsPast;
    auto& taps = blocks.taps;
    for (i32 n = k_past; n < k_past + steps; ++n) {
        const f32 a = taps[0][n];
        const f32 b = taps[1][n];
        taps[2][n] = -a;
        taps[3][n] = -b;
        taps[4][n] = a + b;
        taps[5][n] = a - b;
    }
    const f32* heard[AM_DelayNetworkBlocks::k_heardTaps];
    for (i32 i = 0; i < AM_DelayNetworkBlocks::k_heardTaps; ++i)
        heard[i] = taps[i] + k_past - 1;
    blocks.network.run(heard, blocks.output.block(), steps, feedback);
    for (auto& tap : taps)
        for (i32 n = 0; n < k_past; ++n)
            tap[n] = tap[n + steps];
}

void AM_DelayNetWorks::processSubBlock(i32* start, i32* numQuads, CircuitModule* slot,
                                       BlockContext* context) {
    auto& module = static_cast<AM_DelayNetWorks&>(*slot->object);
    if (const AM_DelayModel* model = module.exchange->fetch()) module.install(*model);
    const i32 offset = *start * k_quadFrames;
    f32* in = context->audioBuffer + slot->firstInput * k_subBlockFrames + offset;
    f32* out = context->audioBuffer + slot->firstOutput * k_subBlockFrames + offset;
    AM_DelayNetworkRun(module, *context)
        .run(in, in + k_subBlockFrames, out, out + k_subBlockFrames, *numQuads * k_quadFrames);
}

iDelayMatrix* AM_DelayNetWorks::matrixOf(i32 family, i32 index) const {
    const AM_DelayNetworkData& d = myData();
    switch (family) {
    case k_householder4:
        return d.householder4[index];
    case k_gerzon4:
        return d.gerzon4[index];
    case k_householder6:
        return d.householder6[index];
    case k_householder8:
        return d.householder8[index];
    case k_hadamard8:
        return d.hadamard8[index];
    default:
        return d.hadamard4[index];
    }
}

// Takes a published model over into the route tables and lines; what sounds in them stays.
void AM_DelayNetWorks::install(const AM_DelayModel& model) {
    AM_DelayNetworkData& d = myData();
    blocks->network.setPlan(model.plan);
    for (i32 i = 0; i < model.numMatrices; ++i)
        matrixOf(model.family, i)->setMuteFeedback(model.muted[i]);
    for (i32 i = 0; i < model.numInputs; ++i) {
        const AM_InputRoute& route = model.inputs[i];
        d.inputTargets[i] = matrixOf(model.family, route.target);
        if (route.fromMatrix)
            d.inputSources[i] = matrixOf(model.family, route.source);
        else
            d.inputSources[i] = d.feeds[route.source];
    }
    for (i32 j = 0; j < model.numOutputs; ++j)
        d.outputs[j] = matrixOf(model.family, model.outputs[j]);
    std::copy_n(model.outputPan, model.numOutputs, d.outputPan);
    std::copy_n(model.outputGain, model.numOutputs, d.outputGain);
    std::copy_n(model.outputLeft, model.numOutputs, d.outputLeft);
    std::copy_n(model.outputRight, model.numOutputs, d.outputRight);
    d.numInputs = model.numInputs;
    d.numOutputs = model.numOutputs;
    for (i32 k = 0; k < k_numDelays; ++k) {
        d.delays[k]->setLength(model.lengths[k]);
        d.delays[k]->setAlias(model.aliases[k] < 0 ? nullptr : d.delays[model.aliases[k]]);
    }
    myParams().gainLaw = model.gainLaw;
    blocks->gainLaw = -1;
}

// Taps and bridges are not touched.
void AM_DelayNetWorks::clearNetwork(f32 sampleRate) {
    AM_DelayNetworkData& d = myData();
    blocks->release(d.feeds);
    for (i32 r = 0; r < 4; ++r) {
        DSP_SVF& record = *d.filterRecords[r];
        record.shape = 0;
        record.resonance = 0.0f;
        record.gain = 1.0f;
        record.cutoff = std::min(40000.0f / sampleRate, 0.99f);
        d.filters[4 * r]->updateZeroDelay();
        for (i32 i = 0; i < 4; ++i)
            d.filters[4 * r + i]->clear();
    }
    for (i32 side = 0; side < 2; ++side) {
        d.inputRing[side]->clear();
        d.outputRing[side]->clear();
    }
    d.rootMatrix->clear();
}

void AM_DelayNetWorks::setDelayGains(i32 gainLaw, f32 feedback) {
    AM_DelayNetworkData& d = myData();
    for (i32 i = 0; i < d.numInputs; ++i)
        d.inputTargets[i]->setGain(feedback);
    for (fixedDelay* line : d.delays)
        line->setGain(feedback);
    // At full feedback the lines lose nothing.
    if (feedback == 1.0f) return;
    // Internal samples in which the sound falls by 60 dB; a line's gain is its share of that.
    const f32 decay = feedback * feedback * 3990000.0f + 10000.0f;
    const f32 perSample = 1.0f / decay;
    if (gainLaw == 1) {
        for (fixedDelay* line : d.delays)
            line->setGain(std::pow(0.001f, line->getLength() * perSample));
    } else if (gainLaw == 2) {
        for (i32 i = 0; i < d.numInputs; ++i) {
            iDelayElement* matrix = d.inputTargets[i];
            const f32 length = matrix->getLength() / static_cast<f32>(matrix->getNumDelays());
            matrix->setGain(std::pow(0.001f, length * perSample));
        }
    } else {
        f32 mean = 0.0f;
        for (fixedDelay* line : d.delays)
            mean += line->getLength() * 0.015625f;
        const f32 gain = std::pow(0.001f, mean / decay);
        for (fixedDelay* line : d.delays)
            line->setGain(gain);
    }
}
