// The audio thread through the bundle as it ships: its process calls neither allocate nor wait nor
// enter the system, whatever a host does between them and with them.
#include "plugin/RealTimeWatch.h"
#include "TestInstance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr i32 k_maxFrames = 2048;

// A project's state that holds another reverb.
std::string stateOf(i32 number) {
    const std::string text = "#cm=FDN\nParams='FTUR237S-" + std::to_string(number) + "'\n";
    return {static_cast<char>(text.size()) + std::string(3, '\0') + text};
}

// What a host hands over with a block.
struct Block {
    explicit Block(const TestInstance& instance) {
        for (const ParameterInfo& info : instance.parameters())
            ids.push_back(info.id);
        for (const ParamID unknown : {99999u, 199999u, 299999u, 399999u, 400001u})
            ids.push_back(unknown);
    }

    ProcessData& fill(i32 n) {
        ProcessData& data = buffers.data(n % 7 == 0 ? 0 : 1 + n * 331 % k_maxFrames);
        const StereoBuffer sound = noise(static_cast<size_t>(data.numSamples), n);
        std::ranges::copy(sound.left, buffers.input(0, 0));
        if (n % 10 == 3 && data.numSamples > 0) buffers.input(0, 0)[0] = std::nanf("");
        changes.clear();
        outgoing.clear();
        events.list.clear();
        // All at once, or one after the other.
        for (size_t i = 0; i < ids.size(); ++i)
            if (n % 20 == 0 || i % 97 == static_cast<size_t>(n) % 97)
                changes.add(ids[i], (static_cast<i32>(i) + n) % 5 * 0.25, n % 64);
        for (int16 key = 0; key < n % 32; ++key) {
            events.note(key, 0, key, 0.5f, -1, 50.0f);
            events.pressure(key, 0, key, 0.25f);
        }
        context.tempo = n % 11 == 0 ? std::nan("") : 90.0;
        context.projectTimeMusic = n % 13 == 0 ? 1e300 : n;
        data.inputParameterChanges = &changes;
        data.outputParameterChanges = &outgoing;
        data.inputEvents = &events;
        data.processContext = n % 3 == 0 ? nullptr : &context;
        data.symbolicSampleSize = n % 50 == 7 ? kSample64 : kSample32;
        return data;
    }

    std::vector<ParamID> ids;
    TestBuffers buffers{k_maxFrames};
    TestChanges changes{4096, 2}, outgoing{1024, 1024};
    TestEvents events;
    ProcessContext context{};
};

} // namespace

TEST(BundleRealTime, TheWatchSeesTheBundlesOwnCalls) {
    const TestModule module(GLASSMERE_BUNDLE);
    const PClassInfo2 info = module.classInfo(0);
    IPtr<IComponent> component;
    const auto create = [&] { component = module.create<IComponent>(info.cid); };
    EXPECT_STREQ(watched(create).call, "malloc");
    ASSERT_TRUE(component);
    const auto getFactory = module.entry<TestModule::GetFactory>("GetPluginFactory");
    EXPECT_EQ(watched([&] { getFactory()->release(); }).locks, 1);
    const RealTimeFindings starting = watched([&] { component->initialize(nullptr); });
    EXPECT_EQ(starting.systemCall >= 0, canCatchSystemCalls());
    component->terminate();
}

TEST(BundleRealTime, ProcessNeitherAllocatesNorWaitsNorEntersTheSystem) {
    const TestModule module(GLASSMERE_BUNDLE);
    TestInstance instance(module, {.runLoop = true});
    instance.start();
    Block block(instance);
    for (i32 n = 0; n < 600; ++n) {
        if (n % 4 == 1) instance.load(stateOf(n));
        if (n % 25 == 2) instance.save();
        if (n % 5 == 0) instance.context.loop.advance(50);
        if (n % 40 == 39) {
            instance.stop();
            instance.start(n % 80 == 39 ? 44100.0 : 96000.0, n % 3 == 0 ? kOffline : kRealtime);
        }
        ProcessData& data = block.fill(n);
        RealTimeFindings found;
        const auto process = [&] { found = watched([&] { instance.process(data); }); };
        // Also on threads that the library has not seen before.
        if (n % 2 == 0)
            std::thread(process).join();
        else
            process();
        ASSERT_TRUE(found.clean()) << found << " in block " << n;
        ASSERT_LE(found.locks, 3) << "the manager's is the only one, in block " << n;
    }
    // Automated presses have drawn new codes on the main thread.
    EXPECT_GT(instance.handler.count(TestHandler::Kind::Dirty), 0u);
}
