// What the VST3 binding costs: beside the manager in a block, and for the machine when a host scans
// the bundle and opens instances of it. Times of one run mean something beside each other.
#include "AM_PluginTable.h"
#include "Glassmere_AudioMan.h"

#include "pluginterfaces/base/smartpointer.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"
#include "public.sdk/source/common/memorystream.h"
#include "public.sdk/source/vst/hosting/hostclasses.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// Seconds on a clock of the system: of the world, or of this thread at work.
f64 now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<f64>(time.tv_sec) + static_cast<f64>(time.tv_nsec) * 1e-9;
}

// What a stretch of code takes, in seconds.
struct Taken {
    f64 world = now(CLOCK_MONOTONIC);
    f64 work = now(CLOCK_THREAD_CPUTIME_ID);
    void end() {
        work = now(CLOCK_THREAD_CPUTIME_ID) - work;
        world = now(CLOCK_MONOTONIC) - world;
    }
};

// Of this process, in KiB.
f64 residentMemory() {
    i64 total = 0;
    i64 resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<f64>(resident * (sysconf(_SC_PAGESIZE) / 1024));
}

// The bundle finds no data folder but its own.
const bool emptyHome = [] {
    const auto folder = std::filesystem::temp_directory_path() / "glassmere-vst3-bench";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return setenv("XDG_DATA_HOME", folder.c_str(), 1) == 0;
}();

// Entered once and never left, as in a host.
IPluginFactory* openBundle() {
    void* library = dlopen(GLASSMERE_LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    if (!library) return nullptr;
    reinterpret_cast<bool (*)(void*)>(dlsym(library, "ModuleEntry"))(library);
    return reinterpret_cast<IPluginFactory* (*)()>(dlsym(library, "GetPluginFactory"))();
}

template <class Interface>
IPtr<Interface> create(IPluginFactory* factory, i32 index) {
    PClassInfo info;
    void* object = nullptr;
    if (factory->getClassInfo(index, &info) != kResultOk ||
        factory->createInstance(info.cid, Interface::iid, &object) != kResultOk)
        return nullptr;
    return owned(static_cast<Interface*>(object));
}

// Both halves, connected and active.
class Instance {
public:
    Instance()
        : audio(create<IComponent>(factory(), 0)), edit(create<IEditController>(factory(), 1)),
          processor(audio) {
        audio->initialize(&host());
        edit->initialize(&host());
        const FUnknownPtr<IConnectionPoint> audioPoint(audio);
        const FUnknownPtr<IConnectionPoint> editPoint(edit);
        audioPoint->connect(editPoint);
        editPoint->connect(audioPoint);
        ProcessSetup setup{kRealtime, kSample32, 512, 48000.0};
        processor->setupProcessing(setup);
        audio->setActive(true);
    }
    ~Instance() {
        edit->terminate();
        audio->terminate();
    }
    static IPluginFactory* factory() {
        static IPluginFactory* const one = openBundle();
        return one;
    }
    static HostApplication& host() {
        static HostApplication one;
        return one;
    }

    const IPtr<IComponent> audio;
    const IPtr<IEditController> edit;
    const FUnknownPtr<IAudioProcessor> processor;
};

// Runs once: the bundle is new to the process.
void scan(benchmark::State& state) {
    const f64 before = residentMemory();
    for (auto _ : state) {
        Taken taken;
        IPluginFactory* factory = Instance::factory();
        PClassInfo info;
        for (i32 i = 0; factory && i < factory->countClasses(); ++i)
            factory->getClassInfo(i, &info);
        taken.end();
        state.SetIterationTime(taken.world);
    }
    if (!Instance::factory()) state.SkipWithError(GLASSMERE_LIBRARY " can't be loaded");
    state.counters["KiB"] = residentMemory() - before;
}

// Runs once: `count` instances one after the other, of which the last is measured.
void instance(benchmark::State& state) {
    if (!Instance::factory()) return state.SkipWithError(GLASSMERE_LIBRARY " can't be loaded");
    std::vector<std::unique_ptr<Instance>> instances;
    const f64 atFirst = residentMemory();
    for (auto _ : state) {
        while (static_cast<i64>(instances.size()) < state.range(0) - 1)
            instances.push_back(std::make_unique<Instance>());
        const f64 before = residentMemory();
        Taken taken;
        instances.push_back(std::make_unique<Instance>());
        taken.end();
        state.SetIterationTime(taken.world);
        state.counters["work_ms"] = taken.work * 1e3;
        state.counters["KiB"] = residentMemory() - before;
    }
    const f64 grown = residentMemory() - atFirst;
    state.counters["KiB_each"] = grown / static_cast<f64>(instances.size());
}

// The same noise through the binding and through a manager, in turns; the thread's work alone
// counts.
void process(benchmark::State& state) {
    if (!Instance::factory()) return state.SkipWithError(GLASSMERE_LIBRARY " can't be loaded");
    const auto frames = static_cast<i32>(state.range(0));
    __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | 0x8040);
    std::vector<f32> channels[4];
    std::mt19937 engine(1);
    for (std::vector<f32>& channel : channels)
        for (i32 i = 0; i < frames; ++i)
            channel.push_back(static_cast<f32>(engine()) / 4294967296.0f - 0.5f);
    f32* pointers[4] = {channels[0].data(), channels[1].data(), channels[2].data(),
                        channels[3].data()};

    Instance plugin;
    AudioBusBuffers buses[2];
    for (i32 side = 0; side < 2; ++side) {
        buses[side].numChannels = 2;
        buses[side].channelBuffers32 = pointers + 2 * side;
    }
    ProcessContext transport{};
    transport.tempo = 120.0;
    transport.timeSigNumerator = transport.timeSigDenominator = 4;
    ProcessData data;
    data.numSamples = frames;
    data.numInputs = data.numOutputs = 1;
    data.inputs = &buses[0];
    data.outputs = &buses[1];
    data.processContext = &transport;

    Glassmere_AudioMan man(k_glassmereId);
    man.initialize();
    man.setSampleRate(48000.0);
    MemoryStream sameState; // the size's four bytes stand in front of the text
    plugin.audio->getState(&sameState);
    man.setStateInfo(sameState.getData() + 4, static_cast<i32>(sameState.getSize()) - 4, true);
    BlockContext* context = man.getBlockContext();
    f64 bindingTime = 0.0;
    f64 directTime = 0.0;
    for (auto _ : state) {
        Taken binding;
        plugin.processor->process(data);
        binding.end();
        Taken direct;
        for (i32 i = 0; i < 2; ++i) {
            context->inputs[i] = pointers[i];
            context->outputs[i] = pointers[2 + i];
        }
        context->numFrames = frames;
        man.setTransport(context, 0.0, 0.0);
        man.processBlock();
        direct.end();
        bindingTime += binding.work;
        directTime += direct.work;
        state.SetIterationTime(binding.work);
    }
    state.counters["ratio"] = bindingTime / directTime;
    state.SetItemsProcessed(state.iterations() * frames);
}

} // namespace

// In this order, since the first three look at a process that has not seen the bundle before.
BENCHMARK(scan)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(instance)->Arg(1)->Arg(100)->Iterations(1)->UseManualTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(process)->Arg(16)->Arg(64)->Arg(512)->UseManualTime()->Unit(benchmark::kMicrosecond);
