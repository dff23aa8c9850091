#include "AM_DelayNetWorks.h"

#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_DelayNetworkBlocks.h"
#include "AM_LetterPicker.h"
#include "AM_Log.h"
#include "AM_ModelCache.h"
#include "AM_ParaMan.h"
#include "AM_Text.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

// What the pointers of AM_DelayNetworkData point to.
struct AM_DelayNetworkElements {
    DSP_SVF filterRecords[4] = {};
    DSP_SVF_ZeroDelay filters[16];
    fdnMatrixHouseHolder<4> rootMatrix;
    fdnMatrixHouseHolder<4> innerMatrices[4];
    fdnMatrixHouseHolder<4> householder4[16];
    fdnMatrixHadamardWalsh4 hadamard4[16];
    fdnMatrixGerzon4 gerzon4[16];
    fdnMatrixHouseHolder<6> householder6[10];
    fdnMatrixHouseHolder<8> householder8[8];
    fdnMatrixHadamardWalsh8 hadamard8[8];
    std::vector<std::unique_ptr<fixedDelay>> lines;

    fixedDelay* newLine(i32 size) {
        lines.push_back(std::make_unique<fixedDelay>(size));
        return lines.back().get();
    }
};

namespace {

constexpr i32 k_lineSize = 8192;            // samples of a line's ring
constexpr i32 k_feedSize = 256;             // samples of a tap's ring
constexpr i32 k_ringSize = 64;              // samples of a resampler's ring
constexpr i32 k_maxTail = 22;               // characters of a tail behind eight letters and '-'
constexpr f32 k_inputCutoff = 0.012046485f; // until the first block knows the rate
constexpr f32 k_outputCutoff = 0.03125f;
constexpr const char* k_defaultCode = "press button";
constexpr const char* k_seedAlphabet = "QWERTZUIOPASDFGHJLYXCVNBM!1234567890?";

const std::array<ParameterInfo, AM_DelayNetWorks::kNumParameters>& parameterTable() {
    using P = ParameterInfo;
    constexpr u32 automated = 0x7;
    constexpr u32 button = k_flagMomentary | k_flagNotifyOwner;
    static const std::array<P, AM_DelayNetWorks::kNumParameters> table = [] {
        std::array<P, AM_DelayNetWorks::kNumParameters> t;
        P("Mode", "Mode", k_integer, 0, 2, 0).withFlags(k_flagNoRandom).storeTo(t[0]);
        P("FB", "Feedback", k_float, 0, 100, 50).withFlags(automated).storeTo(t[1]);
        P("Dry", "Dry", k_float, 0, 100, 100).withFlags(automated).storeTo(t[2]);
        P("Wet", "Wet", k_float, 0, 100, 30).withFlags(automated).storeTo(t[3]);
        P("Ord", "Rand Delay", k_integer, 0, 1, 0).withFlags(button).storeTo(t[4]);
        P("Rnd", "Random Model", k_integer, 0, 1, 0).withFlags(button).storeTo(t[5]);
        P("Matrix", "Matrix", k_integer, 0, 1, 0).withFlags(k_flagNoRandom).storeTo(t[6]);
        P("Freq", "Frequency kHz", k_float, 1, 20, 20).withFlags(k_flagNoRandom).storeTo(t[7]);
        P("Params", "Params", k_complexText, 0, 32, 0).withFlags(0x4080).storeTo(t[8]);
        return t;
    }();
    return table;
}

} // namespace

AM_DelayNetWorks::AM_DelayNetWorks(AM_AudioMan* owner, const char* name)
    : AM_AudioObject(owner, name), exchange(std::make_unique<AM_ModelExchange>()) {
    setupObject(0x01000010, kNumParameters, 2, 0, 0);
    // Two instances shall draw different codes: their addresses decide where each starts.
    const auto rounds = static_cast<i32>((reinterpret_cast<uintptr_t>(this) >> 5) % 56381);
    f32 last = 0.0f;
    for (i32 i = 0; i < rounds; ++i)
        last = manager->randomRange(0.0f, 1000.0f);
    AM_Log("DelayNetWorks random %f after %d rounds", last, rounds);
}

AM_DelayNetWorks::~AM_DelayNetWorks() = default;

void AM_DelayNetWorks::setup() {
    new (data) AM_DelayNetworkData{};
    new (modData) AM_DelayNetworkParams{};
    AM_DelayNetworkData& d = myData();
    d.resetPending = 1;
    elements = std::make_unique<AM_DelayNetworkElements>();
    for (i32 i = 0; i < 16; ++i) {
        d.filterRecords[i / 4] = &elements->filterRecords[i / 4];
        d.filters[i] = &elements->filters[i];
        d.filters[i]->record = d.filterRecords[i / 4];
    }
    setupFDN();
    for (i32 side = 0; side < 2; ++side) {
        d.inputRing[side] = elements->newLine(k_ringSize);
        d.outputRing[side] = elements->newLine(k_ringSize);
    }
    blocks->input.setRings(d.inputRing);
    blocks->output.setRings(d.outputRing);
    AM_fillSinc(d.inputTable, k_inputCutoff);
    AM_fillSinc(d.outputTable, k_outputCutoff);
    AM_STD::copyText(myParams().paramString, k_defaultCode);
    ready = true;
}

void AM_DelayNetWorks::setupFDN() {
    AM_DelayNetworkData& d = myData();
    AM_DelayNetworkElements& e = *elements;
    // Ring size less the triangular numbers.
    i32 lengths[k_numDelays];
    for (i32 k = 0; k < k_numDelays; ++k)
        lengths[k] = k_lineSize - (k + 1) * (k + 2) / 2;

    d.rootMatrix = &e.rootMatrix;
    for (i32 i = 0; i < 4; ++i) {
        e.rootMatrix.setElement(&e.innerMatrices[i], i);
        for (i32 j = 0; j < 4; ++j) {
            const i32 m = 4 * i + j;
            d.householder4[m] = &e.householder4[m];
            d.hadamard4[m] = &e.hadamard4[m];
            d.gerzon4[m] = &e.gerzon4[m];
            e.innerMatrices[i].setElement(d.householder4[m], j);
            for (i32 k = 0; k < 4; ++k) {
                fixedDelay* line = e.newLine(k_lineSize);
                // Digits reversed, so that the lines of a group lie 16 steps apart in the table.
                line->setLength(lengths[i + 4 * j + 16 * k]);
                d.delays[16 * i + 4 * j + k] = line;
                d.householder4[m]->setElement(line, k);
                d.hadamard4[m]->setElement(line, k);
                d.gerzon4[m]->setElement(line, k);
            }
        }
    }
    for (i32 g = 0; g < 8; ++g) {
        d.householder8[g] = &e.householder8[g];
        d.hadamard8[g] = &e.hadamard8[g];
        for (i32 k = 0; k < 8; ++k) {
            d.householder8[g]->setElement(d.delays[8 * g + k], k);
            d.hadamard8[g]->setElement(d.delays[8 * g + k], k);
        }
        d.feeds[g] = e.newLine(k_feedSize);
        d.feeds[g]->setLength(1);
    }
    for (i32 g = 0; g < 10; ++g) {
        d.householder6[g] = &e.householder6[g];
        for (i32 k = 0; k < 6; ++k)
            d.householder6[g]->setElement(d.delays[6 * g + k], k);
    }
    // Routes for the time until the first code is built; the lengths stay.
    AM_DelayModel& model = exchange->buildSlot();
    model = {};
    buildStructure(0, k_hadamard8);
    setBridges(0);
    for (i32 k = 0; k < k_numDelays; ++k)
        model.lengths[k] = static_cast<i32>(d.delays[k]->getLength());
    model.plan = AM_makeNetworkPlan(model);
    exchange->publish();
    blocks = std::make_unique<AM_DelayNetworkBlocks>();
    blocks->network.setLines(d.delays, k_numDelays);
    builder.reset();
}

void AM_DelayNetWorks::buildStructure(i32 routing, i32 family) {
    work().buildStructure(routing, family, exchange->buildSlot());
}

void AM_DelayNetWorks::setBridges(i32 kind) {
    work().setBridges(kind, exchange->buildSlot());
}

void AM_DelayNetWorks::collisionLaw(i32 law, i32 arrangement) {
    work().collisionLaw(law, arrangement, exchange->buildSlot());
}

// The work tables of a build are needed for the build only.
AM_DelayModelBuilder& AM_DelayNetWorks::work() {
    if (!builder) builder = std::make_unique<AM_DelayModelBuilder>();
    return *builder;
}

void AM_DelayNetWorks::applyParams() {
    const boost::lock_guard lock(manager->getParaMan()->complexLock());
    AM_DelayModel& model = exchange->buildSlot();
    myParams().paramString[k_maxCode - 1] = 0;
    if (!AM_ModelCache::find(myParams().paramString, &model)) {
        work().start(myParams().paramString, model);
        buildStructure(model.selections[1], model.selections[0]);
        collisionLaw(model.selections[6], model.selections[5]);
        setBridges(model.selections[2]);
        work().finish(model);
        AM_ModelCache::keep(model);
        builder.reset();
    }
    exchange->publish();
}

const ParameterInfo* AM_DelayNetWorks::getParameterInfo(i32 index) {
    if (index < 0 || index >= kNumParameters) return nullptr;
    return &parameterTable()[index];
}

void* AM_DelayNetWorks::getParameterPointer(i32 index) {
    if (!modData || index < 0 || index >= kNumParameters) return nullptr;
    return modData + index;
}

void AM_DelayNetWorks::setParameterComplex(i32* index, const void* bytes, i32 size) {
    (void)size;
    const ParameterInfo* info = getParameterInfo(*index);
    if (!ready || !info || std::strcmp(info->longName, "Params") != 0) return;
    AM_Log("Params: %s", static_cast<const char*>(bytes));
    AM_Log("AM_DelayNetWorks::setParameterComplex");
    applyParams();
    prepareModel();
}

void AM_DelayNetWorks::parameterChanged(i32* index, f32* value, f32*) {
    if (!ready || !(*value > 0.5f) || (*index != kRandDelay && *index != kRandomModel)) return;
    if (AM_onAudioThread()) {
        pendingPresses.fetch_or(1u << *index, std::memory_order_relaxed);
        manager->postDeferred(this);
        return;
    }
    press(*index);
}

void AM_DelayNetWorks::runDeferred() {
    const u32 presses = pendingPresses.exchange(0, std::memory_order_relaxed);
    for (const i32 parameter : {kRandomModel, kRandDelay})
        if (presses & (1u << parameter)) press(parameter);
}

void AM_DelayNetWorks::press(i32 parameter) {
    const boost::lock_guard lock(manager->getParaMan()->complexLock());
    if (parameter == kRandomModel)
        randomModel();
    else
        randDelay();
}

void AM_DelayNetWorks::randomModel() {
    char(&code)[k_maxCode] = myParams().paramString;
    AM_Log("myParams->paramString = '%s'", code);
    char tail[k_maxTail + 1] = "";
    const char* dash = std::strchr(code, '-');
    if (dash && dash > code) AM_STD::copyText(tail, dash + 1);
    AM_Log("tmp= '%s'", tail);
    for (i32 i = 0; i < k_numSelections; ++i)
        code[i] = AM_LetterPicker::pick(AM_codeAlphabets[i]);
    code[k_numSelections] = '-';
    AM_STD::copyText(code + k_numSelections + 1, k_maxTail + 1, tail);
    AM_Log("myParams->paramString after = '%s'", code);
    codeChanged("AM_DelayNetWorks random Model");
}

void AM_DelayNetWorks::randDelay() {
    constexpr i32 lastPlace = 10;
    char(&code)[k_maxCode] = myParams().paramString;
    const char* dash = std::strchr(code, '-');
    i32 length = dash ? static_cast<i32>(dash - code) : lastPlace + 1;
    if (length > lastPlace) {
        length = std::min(static_cast<i32>(std::strlen(code)), lastPlace);
        code[length] = '-';
    }
    code[++length] = 0;
    AM_Log("myParams->paramString[ len ] = '%s'", code);
    const i32 count = static_cast<i32>(std::floor(manager->randomRange(4.0f, 8.0f) + 0.5f));
    for (i32 i = 0; i < count; ++i) {
        code[length++] = AM_LetterPicker::pick(k_seedAlphabet);
        code[length] = 0;
    }
    AM_Log("myParams->paramString numRands %d = '%s'", count, code);
    codeChanged("AM_DelayNetWorks random Delays");
}

void AM_DelayNetWorks::codeChanged(const char* logText) {
    manager->notifyHost(k_hostParameterChanged, firstParameter + kParams);
    AM_Log(logText);
    applyParams();
}

void AM_DelayNetWorks::reset() {
    if (ready) myData().resetPending = 1;
}

bool AM_DelayNetWorks::isAsleep() const {
    return asleep.load(std::memory_order_relaxed);
}

AM_ProcessFunction AM_DelayNetWorks::getProcessFunction(BlockContext*) {
    return &processSubBlock;
}
