// Both roads through the reverb beside each other: every figure is a ratio of medians of rounds
// that take turns, so that it holds on any machine. "times" is how many times cheaper a block is
// than by the plain path; "share" what a block costs beside one of 512 frames of a sounding hall.
#include "AM_DelayNetWorks.h"
#include "AM_ParaMan.h"
#include "AM_PluginTable.h"
#include "Glassmere_AudioMan.h"
#include "Rounds.h"
#ifdef GLASSMERE_YARDSTICK
#include "yardstick/Yardstick.h"
#endif

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr i32 k_roundFrames = 16384;
constexpr i32 k_sleepFactor = 16;
constexpr i32 k_block = 512;
constexpr const char* k_hall = "AGUZ36-BENCH";

// Runs blocks of noise, or of silence until it sleeps, at 48 kHz with feedback 50.
class Subject {
public:
    explicit Subject(const char* code, i32 blockFrames = k_block, bool plain = false)
        : man(std::make_unique<Glassmere_AudioMan>(k_glassmereId)), frames(blockFrames),
          roundFrames(k_roundFrames) {
        __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | 0x8040);
        man->initialize();
        man->setSampleRate(48000.0);
        AM_ParaMan& table = *man->getParaMan();
        table.setParameterValueComplex(table.findParameter("FDN:Params"), code,
                                       static_cast<i32>(std::strlen(code)) + 1);
        for (const auto& [name, value] : {std::pair{"FDN:FB", 50.0f}, {"FDN:Wet", 40.0f}})
            table.setParameterValue(table.findParameter(name), value, 0, true);
        network().usePlainPath(plain);
        std::mt19937 engine(1);
        for (std::vector<f32>& channel : in) {
            channel.resize(static_cast<size_t>(frames));
            for (f32& sample : channel)
                sample = static_cast<f32>(engine()) / 4294967296.0f - 0.5f;
        }
        out[0] = out[1] = in[0];
    }
    // With rounds so long that reading the time is not a part of what they cost.
    void sleep() {
        roundFrames = k_roundFrames * k_sleepFactor;
        for (std::vector<f32>& channel : in)
            std::fill(channel.begin(), channel.end(), 0.0f);
        while (!network().isAsleep())
            block();
    }
    void operator()() {
        for (i32 done = 0; done < roundFrames; done += frames)
            block();
    }

private:
    AM_DelayNetWorks& network() { return *static_cast<AM_DelayNetWorks*>(man->findObject("FDN")); }
    void block() {
        BlockContext* context = man->getBlockContext();
        for (i32 c = 0; c < 2; ++c) {
            context->inputs[c] = in[c].data();
            context->outputs[c] = out[c].data();
        }
        context->numFrames = frames;
        man->setTransport(context, 0.0, 0.0);
        man->processBlock();
        benchmark::DoNotOptimize(out[0].data());
    }

    std::unique_ptr<Glassmere_AudioMan> man;
    i32 frames;
    i32 roundFrames;
    std::vector<f32> in[2], out[2];
};

void timesCheaper(benchmark::State& state, const char* code) {
    Subject plain(code, k_block, true), blocks(code);
    for (auto _ : state)
        state.counters["times"] = costs(std::ref(plain), std::ref(blocks)).ratio();
}

// What a frame of one costs beside one of the other. Where the memory of an instance lies in the
// caches is chance, so five pairs are tried.
template <class Make>
f64 shareOfHall(const Make& make) {
    std::vector<f64> shares;
    for (i32 pair = 0; pair < 5; ++pair) {
        const std::unique_ptr<Subject> subject = make();
        Subject hall(k_hall);
        shares.push_back(costs(std::ref(*subject), std::ref(hall)).ratio());
    }
    return median(shares);
}

void blockSize(benchmark::State& state) {
    for (auto _ : state)
        state.counters["share"] = shareOfHall(
            [&] { return std::make_unique<Subject>(k_hall, static_cast<i32>(state.range(0))); });
}

void asleep(benchmark::State& state) {
    for (auto _ : state)
        state.counters["share"] = shareOfHall([] {
                                      auto subject = std::make_unique<Subject>(k_hall);
                                      subject->sleep();
                                      return subject;
                                  }) /
                                  k_sleepFactor;
}

#ifdef GLASSMERE_YARDSTICK
void yardstick(benchmark::State& state) {
    Yardstick other(k_block);
    Subject hall(k_hall);
    const auto run = [&] {
        for (i32 done = 0; done < k_roundFrames; done += k_block)
            other.block();
    };
    for (auto _ : state)
        state.counters["times"] = costs(run, std::ref(hall)).ratio();
}
BENCHMARK(yardstick)->Iterations(1);
#endif

} // namespace

BENCHMARK_CAPTURE(timesCheaper, householder4, "AGUZ36-BENCH")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, hadamard4, "BGUZ36-BENCH")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, gerzon4, "CGUZ36-BENCH")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, householder6, "DGUZ36-BENCH")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, householder8, "EGUZ36-BENCH")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, hadamard8, "FGUZ36-BENCH")->Iterations(1);
// The shortest lines of 60000 codes, 10 and 11 samples, and long ones with every bridge.
BENCHMARK_CAPTURE(timesCheaper, shortest, "BIL156-W8293")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, shortest2, "CGU2YP-W98")->Iterations(1);
BENCHMARK_CAPTURE(timesCheaper, bridges, "ATN2Y8-BENCH")->Iterations(1);
BENCHMARK(blockSize)->Arg(64)->Arg(32)->Arg(16)->Iterations(1);
BENCHMARK(asleep)->Iterations(1);
