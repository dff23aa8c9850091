#include "AM_DelayModel.h"

#include "AM_Log.h"
#include "AM_Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

const char* const AM_codeAlphabets[k_numSelections] = {"ABCDEF", "GHIT", "ULMN",  "R",
                                                       "Z12",    "345Y", "678PQ", "S"};

const AM_MatrixFamily AM_matrixFamilies[k_numFamilies] = {
    {"HHD", 16, 4}, {"HWD", 16, 4}, {"GZD", 16, 4}, {"HH6", 10, 6}, {"HH8", 8, 8}, {"HW8", 8, 8}};

const char* const AM_routingNames[4] = {"Wide", "Distributed", "TwoInMany", "Pairs"};

namespace {

void addInput(AM_DelayModel& model, bool fromMatrix, i32 source, i32 target) {
    model.inputs[model.numInputs++] = {fromMatrix, source, target};
}

void addOutput(AM_DelayModel& model, i32 matrix, f32 pan) {
    const i32 i = model.numOutputs++;
    model.outputs[i] = matrix;
    model.outputPan[i] = pan;
    model.outputGain[i] = 1.0f;
}

void routeWide(AM_DelayModel& model) {
    for (i32 i = 0; i < model.numMatrices; ++i) {
        addInput(model, false, i & 3, i);
        addOutput(model, i, static_cast<f32>(i & 1));
    }
}

void routeDistributed(AM_DelayModel& model) {
    for (i32 i = 0; i < model.numMatrices; ++i) {
        const f32 p = static_cast<f32>(2 * (i >> 1)) / static_cast<f32>(model.numMatrices - 3);
        addInput(model, false, i & 3, i);
        addOutput(model, i, (i & 1) ? 1.0f - p : p);
    }
}

void routeTwoInMany(AM_DelayModel& model) {
    for (i32 i = 0; i < 2; ++i) {
        addInput(model, false, i, i);
        model.muted[i] = true;
    }
    for (i32 i = 2; i < model.numMatrices; ++i) {
        addInput(model, true, i & 1, i);
        addOutput(model, i, static_cast<f32>(((i + 1) >> 1) & 1));
    }
}

void routePairs(AM_DelayModel& model) {
    const i32 count = model.numMatrices;
    for (i32 q = 0; q < count / 4; ++q) {
        const i32 b = 4 * q;
        addInput(model, false, (2 * q) & 3, b);
        addInput(model, false, (2 * q + 1) & 3, b + 1);
        model.muted[b] = model.muted[b + 1] = true;
        addInput(model, true, b, b + 2);
        addInput(model, true, b + 1, b + 3);
        addOutput(model, b + 2, 0.0f);
        addOutput(model, b + 3, 1.0f);
    }
    if (count % 4 == 2) {
        addInput(model, false, 0, count - 2);
        addInput(model, false, 1, count - 1);
        addOutput(model, count - 2, 0.0f);
        addOutput(model, count - 1, 1.0f);
    }
}

void panOutputs(AM_DelayModel& model) {
    for (i32 i = 0; i < model.numOutputs; ++i) {
        f32& pan = model.outputPan[i];
        if (pan > 1.0f) {
            AM_Log("myData->outputPan[ i ] > 1.f ");
            pan = 1.0f;
        } else if (pan < 0.0f) {
            AM_Log("myData->outputPan[ i ] < 0.f ");
            pan = 0.0f;
        }
        model.outputRight[i] = std::sqrt(pan) * model.outputGain[i];
        model.outputLeft[i] = std::sqrt(1.0f - pan) * model.outputGain[i];
    }
}

} // namespace

u32 AM_hashCodeTail(const char* code) {
    u32 hash = 0;
    const char* dash = std::strchr(code, '-');
    if (!dash) return hash;
    for (const char* c = dash + 1; *c; ++c)
        hash = hash * 31u + static_cast<u32>(static_cast<i32>(static_cast<signed char>(*c)));
    return hash;
}

void AM_readSelections(const char* code, i32 (&selections)[k_numSelections]) {
    const size_t front = std::strcspn(code, "-");
    for (i32 table = 0; table < k_numSelections; ++table) {
        const char* alphabet = AM_codeAlphabets[table];
        selections[table] = 0;
        const size_t place = std::strcspn(code, alphabet);
        if (place < front)
            selections[table] = static_cast<i32>(std::strchr(alphabet, code[place]) - alphabet);
    }
}

void AM_DelayModelBuilder::build(const char* code, AM_DelayModel& model) {
    start(code, model);
    buildStructure(model.selections[1], model.selections[0], model);
    collisionLaw(model.selections[6], model.selections[5], model);
    setBridges(model.selections[2], model);
    finish(model);
}

void AM_DelayModelBuilder::start(const char* code, AM_DelayModel& model) {
    model = {};
    AM_STD::copyText(model.code, code);
    model.hash = AM_hashCodeTail(model.code);
    AM_readSelections(model.code, model.selections);
    model.gainLaw = model.selections[4];
    generator.start(model.hash);
}

void AM_DelayModelBuilder::finish(AM_DelayModel& model) {
    model.seed = generator.seed;
    model.plan = AM_makeNetworkPlan(model);
}

void AM_DelayModelBuilder::buildStructure(i32 routing, i32 family, AM_DelayModel& model) {
    AM_Log("Structure %d - %d", routing, family);
    if (family < 0 || family >= k_numFamilies) family = k_hadamard4;
    if (routing < 0 || routing > 3) routing = 0;
    model.family = family;
    model.routing = routing;
    model.numMatrices = AM_matrixFamilies[family].numMatrices;
    model.matrixSize = AM_matrixFamilies[family].matrixSize;
    AM_Log(AM_matrixFamilies[family].label);
    std::fill(std::begin(model.muted), std::end(model.muted), false);
    model.numInputs = model.numOutputs = 0;
    AM_Log(AM_routingNames[routing]);
    switch (routing) {
    case 1:
        routeDistributed(model);
        break;
    case 2:
        routeTwoInMany(model);
        break;
    case 3:
        routePairs(model);
        break;
    default:
        routeWide(model);
        break;
    }
    panOutputs(model);
}

void AM_DelayModelBuilder::collisionLaw(i32 law, i32 arrangement, AM_DelayModel& model) {
    model.law = law;
    model.arrangement = arrangement;
    model.tests = laws.draw(generator, law, model.lengths);
    laws.arrange(arrangement, model.numMatrices, model.matrixSize, model.lengths);
    for (i32& length : model.lengths)
        length = std::min(length, k_maxDelayLength);
}

void AM_DelayModelBuilder::setBridges(i32 kind, AM_DelayModel& model) {
    model.bridges = kind;
    std::fill(std::begin(model.aliases), std::end(model.aliases), -1);
    const i32 width = model.matrixSize;
    const i32 rows = model.numMatrices;
    // A bridge joins the first lines of two matrices.
    const auto bridge = [&](i32 row, i32 source) { model.aliases[row * width] = source * width; };
    switch (kind) {
    case 1:
        for (i32 k = 2; k < rows - 1; k += 4) {
            bridge(k, k + 1);
            bridge(k + 1, k);
            AM_Log("Alias %d <-> %d", k * width, (k + 1) * width);
        }
        break;
    case 2:
        for (i32 k = 4; k - 2 < rows - 3; k += 4) {
            bridge(k, k - 2);
            bridge(k + 1, k - 1);
            bridge(k - 2, k + 1);
            bridge(k - 1, k);
            AM_Log("Alias %d -> %d ^ %d -> %d", (k - 2) * width, k * width, (k - 1) * width,
                   (k + 1) * width);
        }
        break;
    case 3: {
        i32 last = 2;
        for (i32 k = 4; last < rows - 3; k += 2) {
            bridge(k, k - 2);
            bridge(k + 1, k - 1);
            AM_Log("Alias %d -> %d | %d -> %d", (k - 2) * width, k * width, (k - 1) * width,
                   (k + 1) * width);
            last = k;
        }
        // Closes the chain into a ring, crosswise.
        bridge(2, last + 1);
        bridge(3, last);
        AM_Log("Alias %d -> %d | %d -> %d", (last + 1) * width, 2 * width, last * width, 3 * width);
        break;
    }
    default:
        AM_Log("No Bridges");
        break;
    }
}
