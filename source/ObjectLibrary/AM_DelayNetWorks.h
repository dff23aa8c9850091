// The reverb module: 64 delay lines, six families of feedback matrices over these same
// lines, and a resampler on each side. The text parameter "Params" decides the structure
// (AM_DelayModel.h); what is computed per sample stands in AM_DelayNetworkProcess.cpp.
#pragma once

#include "AM_AudioObject.h"
#include "AM_DelayMatrix.h"
#include "AM_DelayModel.h"
#include "AM_ModelExchange.h"
#include "AM_SincTable.h"
#include "DSP_SVF.h"

#include <atomic>
#include <memory>

struct AM_DelayNetworkBlocks;
struct AM_DelayNetworkElements;

// The module's `data`, one per voice.
struct AM_DelayNetworkData {
    DSP_SVF* filterRecords[4];
    DSP_SVF_ZeroDelay* filters[16];
    fdnMatrixHouseHolder<4>* rootMatrix;
    fixedDelay* feeds[8]; // the input taps
    fdnMatrixHouseHolder<4>* householder4[16];
    fdnMatrixHadamardWalsh4* hadamard4[16];
    fdnMatrixGerzon4* gerzon4[16];
    fdnMatrixHouseHolder<6>* householder6[10];
    fdnMatrixHouseHolder<8>* householder8[8];
    fdnMatrixHadamardWalsh8* hadamard8[8];
    iDelayElement* inputSources[k_maxRoutes];
    iDelayElement* inputTargets[k_maxRoutes];
    iDelayElement* outputs[k_maxRoutes];
    f32 outputLeft[k_maxRoutes];
    f32 outputRight[k_maxRoutes];
    f32 outputPan[k_maxRoutes];
    f32 outputGain[k_maxRoutes];
    i32 numInputs;
    i32 numOutputs;
    fixedDelay* delays[k_numDelays];
    f32 phase; // of the internal clock, 0 to 1
    std::atomic<i32> resetPending;
    fixedDelay* inputRing[2];
    fixedDelay* outputRing[2];
    AM_SincTable inputTable;
    AM_SincTable outputTable;
    f32 lastRatio;
    i32 silentBlocks; // 0 sounding; to 1000 fading; above asleep
    f32 dryGain;
    f32 wetGain;
};
static_assert(sizeof(AM_DelayNetworkData) == 11128);

// The module's `modData`: its parameters, 4 bytes apart.
struct AM_DelayNetworkParams {
    i32 mode;
    f32 feedback; // 0 to 100
    f32 dry;      // percent
    f32 wet;      // percent
    i32 randDelay;
    i32 randomModel;
    i32 matrix;
    f32 frequency; // kHz, half the internal rate
    char paramString[k_maxCode];
    i32 gainLaw; // of the model in force
};
static_assert(sizeof(AM_DelayNetworkParams) == 68);

class AM_DelayNetWorks : public AM_AudioObject {
public:
    // Parameters by index.
    enum Parameter : i32 {
        kMode,
        kFeedback,
        kDry,
        kWet,
        kRandDelay,
        kRandomModel,
        kMatrix,
        kFrequency,
        kParams,
        kNumParameters,
    };

    AM_DelayNetWorks(AM_AudioMan* manager, const char* name);
    ~AM_DelayNetWorks() override;

    i32 getDataSize() override { return sizeof(AM_DelayNetworkData); }
    i32 getModDataSize() override { return sizeof(AM_DelayNetworkParams); }
    void setup() override;
    const ParameterInfo* getParameterInfo(i32 index) override;
    void* getParameterPointer(i32 index) override;
    // A press of "Ord" or "Rnd" draws a new code and builds its model; on the audio thread the
    // press is put off to the next tick.
    void parameterChanged(i32* index, f32* value, f32* time) override;
    // Builds the model of the new text. Not on the audio thread.
    void setParameterComplex(i32* index, const void* data, i32 size) override;
    AM_ProcessFunction getProcessFunction(BlockContext* context) override;
    // Empties lines, rings and ramps at the next block. Any thread.
    void reset() override;
    void runDeferred() override;

    // Creates the lines and matrices, with all lines at their first lengths.
    virtual void setupFDN();
    virtual void prepareModel() {}
    // Select and draw into the model being built; `applyParams` publishes it.
    virtual void buildStructure(i32 routing, i32 family);
    virtual void setBridges(i32 kind);
    virtual void collisionLaw(i32 law, i32 arrangement);
    // Sets the gain of every line for `feedback` (0.25 to 1) by `gainLaw`. Audio thread.
    virtual void setDelayGains(i32 gainLaw, f32 feedback);
    virtual f32 random(f32 lo, f32 hi) { return work().generator.random(lo, hi); }
    // Builds the model of `paramString` and publishes it; the sound changes at the next sub-block,
    // what is in the lines goes on. Any thread but the audio thread.
    virtual void applyParams();

    // Has every sample computed by the matrices and lines themselves, one after the other, as tests
    // do it to hold the faster road against it. The samples are the same. Any thread; takes effect
    // with the next sub-block.
    void usePlainPath(bool on) { plainPath.store(on, std::memory_order_relaxed); }

    // True while the module sleeps: input and output have been silent and nothing is computed.
    bool isAsleep() const;
    bool isResting() override { return isAsleep(); }

private:
    friend class AM_DelayNetworkRun;

    static void processSubBlock(i32* start, i32* numQuads, CircuitModule* slot,
                                BlockContext* context);

    AM_DelayNetworkData& myData() const { return *reinterpret_cast<AM_DelayNetworkData*>(data); }
    AM_DelayNetworkParams& myParams() const {
        return *reinterpret_cast<AM_DelayNetworkParams*>(modData);
    }
    iDelayMatrix* matrixOf(i32 family, i32 index) const;
    void install(const AM_DelayModel& model);
    void clearNetwork(f32 sampleRate);
    AM_DelayModelBuilder& work();
    void press(i32 parameter);
    void randomModel();
    void randDelay();
    void codeChanged(const char* logText);

    std::atomic<bool> ready{false};
    std::atomic<bool> asleep{false};
    std::atomic<bool> plainPath{false};
    std::atomic<u32> pendingPresses{0};
    std::unique_ptr<AM_DelayNetworkElements> elements;
    std::unique_ptr<AM_DelayNetworkBlocks> blocks;
    std::unique_ptr<AM_DelayModelBuilder> builder; // null but while a model is built
    std::unique_ptr<AM_ModelExchange> exchange;
};
