// What the start of an instance and its state cost. The figures mean something beside each other.
#include "AM_FolderResolver.h"
#include "AM_Log.h"
#include "AM_ParaMan.h"
#include "Glassmere_AudioMan.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

class Silence : public AM_LogSink {
public:
    Silence() { AM_setLogSink(this); }
    void writeLine(std::string_view) override {}
};

// A data folder with `count` presets as MIDI programs, used while it lives.
class Banks {
public:
    explicit Banks(i64 count)
        : folder(std::filesystem::temp_directory_path() / "glassmere-instances-bench") {
        static Silence silence;
        std::filesystem::remove_all(folder);
        const auto bank = folder / "Presets/Glassmere/MIDI Programs/A";
        std::filesystem::create_directories(bank);
        AM_setAlternateFolder(folder.c_str());
        Glassmere_AudioMan man(k_glassmereId);
        man.initialize();
        i32 size = 0;
        const std::string text = man.getStateInfo(&size, false, nullptr);
        for (i64 i = 0; i < count; ++i)
            std::ofstream(bank / (std::to_string(i) + ".q3p")) << text;
    }
    ~Banks() {
        AM_setAlternateFolder(nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

private:
    std::filesystem::path folder;
};

std::unique_ptr<Glassmere_AudioMan> start() {
    auto man = std::make_unique<Glassmere_AudioMan>(k_glassmereId);
    man->initialize();
    return man;
}

// The first instance reads the banks.
void firstInstance(benchmark::State& state) {
    const Banks banks(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(start());
}

void laterInstance(benchmark::State& state) {
    const Banks banks(state.range(0));
    const auto first = start();
    for (auto _ : state)
        benchmark::DoNotOptimize(start());
}

void saveState(benchmark::State& state) {
    const Banks banks(0);
    const auto man = start();
    i32 size = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(man->getStateInfo(&size, true, nullptr));
}

void loadState(benchmark::State& state) {
    const Banks banks(0);
    const auto man = start();
    i32 size = 0;
    const std::string text = man->getStateInfo(&size, true, nullptr);
    for (auto _ : state)
        man->setStateInfo(text.c_str(), size, true);
}

} // namespace

BENCHMARK(firstInstance)->Arg(0)->Arg(40)->Unit(benchmark::kMicrosecond);
BENCHMARK(laterInstance)->Arg(0)->Arg(40)->Unit(benchmark::kMicrosecond);
BENCHMARK(saveState)->Unit(benchmark::kMicrosecond);
BENCHMARK(loadState)->Unit(benchmark::kMicrosecond);
