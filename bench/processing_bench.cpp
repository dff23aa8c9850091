// What a frame costs. Each line reports time per frame, so that two lines of one run can be
// compared as a ratio; absolute times say nothing across machines.
#include "AM_DelayNetWorks.h"
#include "AM_Format.h"
#include "AM_ParaMan.h"
#include "AM_PluginTable.h"
#include "Glassmere_AudioMan.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

// An instance with noise to chew on; denormals are flushed, as in a host.
class Bench {
public:
    explicit Bench(const char* code, i32 blockFrames)
        : man(std::make_unique<Glassmere_AudioMan>(k_glassmereId)), frames(blockFrames),
          left(static_cast<size_t>(frames)), right(left.size()), outLeft(left), outRight(left) {
        __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | 0x8040);
        man->initialize();
        man->setSampleRate(48000.0);
        AM_ParaMan& paraMan = *man->getParaMan();
        paraMan.setParameterValueComplex(paraMan.findParameter("FDN:Params"), code,
                                         static_cast<i32>(std::strlen(code)) + 1);
        std::mt19937 engine(1);
        for (size_t i = 0; i < left.size(); ++i) {
            left[i] = static_cast<f32>(engine()) / 4294967296.0f - 0.5f;
            right[i] = static_cast<f32>(engine()) / 4294967296.0f - 0.5f;
        }
    }

    void silence() {
        std::fill(left.begin(), left.end(), 0.0f);
        std::fill(right.begin(), right.end(), 0.0f);
    }
    AM_DelayNetWorks& network() { return *static_cast<AM_DelayNetWorks*>(man->findObject("FDN")); }
    void block() {
        BlockContext* context = man->getBlockContext();
        context->inputs[0] = left.data();
        context->inputs[1] = right.data();
        context->outputs[0] = outLeft.data();
        context->outputs[1] = outRight.data();
        context->numFrames = frames;
        man->setTransport(context, 0.0, 0.0);
        man->processBlock();
        benchmark::DoNotOptimize(outLeft.data());
    }
    void report(benchmark::State& state) {
        state.SetItemsProcessed(state.iterations() * frames);
        state.counters["per_frame"] =
            benchmark::Counter(static_cast<f64>(state.iterations()) * frames,
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    }

private:
    std::unique_ptr<Glassmere_AudioMan> man;
    i32 frames;
    std::vector<f32> left, right, outLeft, outRight;
};

void family(benchmark::State& state, const char* code) {
    Bench bench(code, 512);
    for (auto _ : state)
        bench.block();
    bench.report(state);
}

void blockSize(benchmark::State& state) {
    Bench bench("AGUZ36-BENCH", static_cast<i32>(state.range(0)));
    for (auto _ : state)
        bench.block();
    bench.report(state);
}

void asleep(benchmark::State& state) {
    Bench bench("AGUZ36-BENCH", 512);
    bench.silence();
    while (!bench.network().isAsleep())
        bench.block();
    for (auto _ : state)
        bench.block();
    bench.report(state);
}

void modelOfLaw(benchmark::State& state, const char* letters) {
    AM_DelayModelBuilder builder;
    AM_DelayModel model;
    u32 n = 0;
    for (auto _ : state) {
        char code[k_maxCode];
        AM_STD::sprintv(code, sizeof(code), "AGUZ5%s-%d", letters, ++n);
        builder.build(code, model);
        benchmark::DoNotOptimize(model);
    }
}

void instance(benchmark::State& state) {
    for (auto _ : state) {
        Glassmere_AudioMan man(k_glassmereId);
        man.initialize();
    }
}

} // namespace

BENCHMARK_CAPTURE(family, householder4, "AGUZ36-BENCH");
BENCHMARK_CAPTURE(family, hadamard4, "BGUZ36-BENCH");
BENCHMARK_CAPTURE(family, gerzon4, "CGUZ36-BENCH");
BENCHMARK_CAPTURE(family, householder6, "DGUZ36-BENCH");
BENCHMARK_CAPTURE(family, householder8, "EGUZ36-BENCH");
BENCHMARK_CAPTURE(family, hadamard8, "FGUZ36-BENCH");
BENCHMARK(blockSize)->Arg(1)->Arg(16)->Arg(64)->Arg(512);
BENCHMARK(asleep);
BENCHMARK_CAPTURE(modelOfLaw, doublettes, "6")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(modelOfLaw, firstOrder, "7")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(modelOfLaw, secondOrder, "8")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(modelOfLaw, primer, "P")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(modelOfLaw, chromatic, "Q")->Unit(benchmark::kMicrosecond);
BENCHMARK(instance)->Unit(benchmark::kMillisecond);
