#include "TestManager.h"

#include "AM_Allocator.h"
#include "AM_Circuit.h"
#include "AM_InstanceRecs.h"
#include "AM_StopWatch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <thread>

namespace {

struct Host {
    std::atomic<i32> reports{0};
    std::atomic<i32> latency{-1};
    static void callback(void* data, i32 code, i32 value) {
        auto* host = static_cast<Host*>(data);
        if (code != k_hostLatencyChanged) return;
        host->latency = value;
        ++host->reports;
    }
};

struct Editor : AM_IInterCom {
    void post(const char* addressee, const char* subject, const char* content) override {
        text = std::string(addressee) + " " + subject + " " + content;
        ++posts;
    }
    std::string text;
    std::atomic<i32> posts{0};
};

class StateMan : public TestMan {
public:
    using AM_AudioMan::stateChanges;
    using AM_AudioMan::stopTick;
};

} // namespace

TEST(AudioMan, InitializeNumbersLaysOutAndDefaults) {
    LogCatcher log;
    TestMan man;
    TestModule* module = man.plan(
        "tst: Test Module",
        std::vector<ParameterInfo>{ParameterInfo("v", "Value", k_float, 0, 10, 3)}, 2, 0u, 0, 3);
    module->dataBytes = 100;
    EXPECT_EQ(man.getBlockContext(), nullptr);
    man.processBlock();
    man.setSampleRate(96000);
    man.initialize();
    man.initialize();
    EXPECT_EQ(log.count("initialize() called again"), 1);
    const BlockContext* context = man.getBlockContext();
    EXPECT_EQ(context->sampleRateI, 96000);
    EXPECT_EQ(context->bpm, 120.0);
    for (const f32* place : {context->audioBuffer, context->bypassBuffer, context->modBuffers,
                             module->getModData(), module->getVoiceData(0)})
        EXPECT_EQ(reinterpret_cast<uintptr_t>(place) % 16, 0u);
    EXPECT_EQ(module->getFirstModBuffer(), 5) << "behind the circuit's four";
    EXPECT_EQ(module->modFloat(0), 3.0f);
    EXPECT_EQ(man.getNumObjects(), 3);
    EXPECT_EQ(man.findObject("Test Module"), module);
    EXPECT_EQ(man.findObject("tst"), module);
    EXPECT_EQ(man.findObject("PCore"), man.getParaMan());
    EXPECT_EQ(man.findObject(nullptr), nullptr);
    const i32 id = man.getParameterId(module->getObjectId(), 0);
    EXPECT_EQ(id, man.getParaMan()->findParameter("tst:Value"));
    EXPECT_EQ(man.getParameterOwner(id), module);
    EXPECT_STREQ(man.getParameterOwnerName(id), "Test Module");
    EXPECT_EQ(man.getParameterId(module->getObjectId(), 1), -1);
    EXPECT_EQ(man.getParameterOwner(-1), nullptr);
}

TEST(AudioMan, NothingIsLeftBehind) {
    LogCatcher log;
    const size_t before = AM_liveAllocations();
    {
        TestMan first;
        first.plan("a: A");
        first.initialize();
        TestMan second;
        second.initialize();
        second.run(64);
        // A module that joined the registry but never the tree, with a child of its own.
        auto* stray = new TestModule(&second, "s: Stray");
        stray->add(new TestModule(&second, "c: Child"));
        stray->setHost(second.AM_Object::getHost());
        TestMan never;
        never.plan("n: Never");
    }
    EXPECT_EQ(AM_liveAllocations(), before);
    EXPECT_EQ(log.count("Object still alive"), 0);
    EXPECT_EQ(log.count("max CPU @ watch: watch"), 2);
}

TEST(AudioMan, LatencyReachesTheHostAsItsModeSays) {
    for (const i32 mode : {0, 1, 2, 3}) {
        Host host;
        TestMan man;
        man.setHost(mode == 3 ? "Nuendo 12" : "Any");
        if (mode != 3) man.setReportMode(static_cast<AM_ReportMode>(mode));
        man.initialize();
        EXPECT_EQ(man.getLatency(), 16);
        man.setHostCallback(Host::callback, &host);
        const auto expectReports = [&](i32 expected, const char* when) {
            EXPECT_EQ(host.reports.load(), expected) << "mode " << mode << ", " << when;
        };
        // The timer's own ticks may come in between and change nothing of this.
        if (mode == 2 || mode == 3) {
            for (i32 n = 0; n < 40; ++n)
                man.tick();
            expectReports(0, "before a reset");
            man.reset();
            if (mode == 2) expectReports(1, "in the reset");
        }
        for (i32 n = 0; n < 21; ++n)
            man.tick();
        expectReports(1, "after the ticks");
        EXPECT_EQ(host.latency.load(), 16);
        man.changePlugInLatency(100);
        EXPECT_EQ(man.getLatency(), 116);
        if (mode == 3 || mode == 2) man.reset();
        for (i32 n = 0; n < 21; ++n)
            man.tick();
        EXPECT_EQ(host.latency.load(), 116);
        expectReports(2, "after the change");
        man.setHostCallback(nullptr, nullptr);
    }
}

TEST(AudioMan, AnIrregularBlockTellsHostAndEditor) {
    Host host;
    Editor editor;
    TestMan man;
    man.initialize();
    man.setHostCallback(Host::callback, &host);
    man.setInterCom(&editor);
    man.setPreferenceValue(k_prefBaseLatency, 0);
    man.tick();
    EXPECT_EQ(man.getLatency(), 0);
    man.run(17);
    for (i32 n = 0; n < 200 && editor.posts == 0; ++n) {
        man.tick();
        std::this_thread::yield();
    }
    EXPECT_EQ(editor.posts.load(), 1);
    EXPECT_EQ(editor.text, "ViewMan COM_LATENCY_EMERGENCY reset");
    EXPECT_EQ(host.latency.load(), 16);
    man.setInterCom(nullptr);
    man.setHostCallback(nullptr, nullptr);
}

TEST(AudioMan, ResetCutsWhatSoundsAndWorksOnceInABlock) {
    TestMan man;
    TestModule* module = man.plan("tst: Test");
    man.initialize();
    for (auto& channel : man.input)
        channel.assign(100, 1.0f);
    man.run(100);
    i32 resets = module->resets;
    man.reset();
    man.reset();
    EXPECT_EQ(module->resets, resets + 2) << "outside of blocks each one works";
    for (auto& channel : man.input)
        channel.assign(16, 0.0f);
    man.run(16);
    man.run(16);
    EXPECT_EQ(man.output[0], std::vector<f32>(16)) << "nothing was left in the carry";
    resets = module->resets;
    module->onProcess = [&](i32, i32, CircuitModule*, BlockContext*) { man.reset(); };
    man.run(256);
    EXPECT_EQ(module->resets, resets + 1);
    man.run(256);
    EXPECT_EQ(module->resets, resets + 2);
}

TEST(AudioMan, ABlockThatMeetsAStateLoadEndsInAReset) {
    StateMan man;
    TestModule* module = man.plan("tst: Test");
    man.initialize();
    module->onProcess = [&](i32, i32, CircuitModule*, BlockContext*) {
        man.stateChanges();
        module->onProcess = nullptr;
    };
    for (auto& channel : man.input)
        channel.assign(200, 1.0f);
    const i32 resets = module->resets;
    man.run(200);
    EXPECT_EQ(module->resets, resets + 1);
    EXPECT_EQ(man.output[0], std::vector<f32>(200));
    man.stateChanges();
    man.run(200);
    EXPECT_EQ(module->resets, resets + 1);
    EXPECT_EQ(man.output[0][15], 0.0f);
    EXPECT_EQ(man.output[0][16], 1.0f);
}

TEST(AudioMan, BypassTakesTheModulesRowOrLeavesTheBuffersAlone) {
    TestMan plain;
    plain.initialize();
    plain.setBypass(true);
    for (auto& channel : plain.input)
        channel.assign(64, 1.0f);
    plain.run(64);
    EXPECT_EQ(plain.output[0], std::vector<f32>(64)) << "untouched";
    EXPECT_FALSE(plain.isBlockRunning());
    plain.setBypass(false);
    plain.run(64);
    EXPECT_EQ(plain.output[0][16], 1.0f);

    TestMan man;
    man.plan("tst: Test", std::vector<ParameterInfo>{}, 2, u32{k_audioBypassable});
    man.initialize();
    const i32 row = man.getParaMan()->findParameter("Active tst");
    man.setBypass(true);
    EXPECT_EQ(man.getParaMan()->getParameterTarget(row), 0.0f);
    man.run(64);
    man.setBypass(true);
    man.setBypass(false);
    man.run(64);
    EXPECT_EQ(man.getParaMan()->getParameterValue(row), 1.0f);
}

TEST(AudioMan, RatesAndModesOfHosts) {
    struct Hearer : TestModule {
        using TestModule::TestModule;
        void receiveMessage(AM_Object* sender, u32 id, u32 value, void* about) override {
            if (id == 97) mode = static_cast<i32>(value);
            TestModule::receiveMessage(sender, id, value, about);
        }
        i32 mode = 77;
    };
    LogCatcher log;
    TestMan man;
    auto* module = man.plan<Hearer>("tst: Test");
    man.initialize();
    const BlockContext* context = man.getBlockContext();
    for (const f64 rate : {1000.0, 44100.0, 768000.0}) {
        const i32 updates = module->updates;
        man.setSampleRate(rate);
        EXPECT_EQ(context->sampleRateD, rate);
        EXPECT_EQ(context->sampleRate, static_cast<f32>(rate));
        EXPECT_EQ(context->sampleReciprocal, 1.0f / static_cast<f32>(rate));
        EXPECT_EQ(context->samplePeriod, 1.0 / rate);
        EXPECT_EQ(context->sampleRateI, static_cast<i32>(rate));
        EXPECT_GT(module->updates, updates);
    }
    for (const f64 rate : {0.0, -1.0, std::nan(""), 1e9, 999.0}) {
        man.setSampleRate(rate);
        EXPECT_EQ(context->sampleRateI, 44100);
    }
    EXPECT_EQ(log.count("taking 44100"), 5);
    man.setRenderMode(-1);
    EXPECT_EQ(module->mode, -1);
    man.setRenderMode(1);
    man.setRenderMode(1);
    EXPECT_EQ(context->renderMode, 1);
    EXPECT_EQ(log.count("AM_Message_RenderModeChanged! 1"), 1);
    man.getBlockContext()->bpm = 0;
    man.run(64);
    EXPECT_EQ(log.count("bpm < 10.0"), 0) << "offline";
    man.setRenderMode(0);
    man.run(64);
    man.run(64);
    EXPECT_EQ(log.count("bpm < 10.0 - 0.000000"), 1);
}

TEST(AudioMan, DeferredWorkRunsOnATickEvenBesideAFailure) {
    struct Failing : TestModule {
        using TestModule::TestModule;
        void runDeferred() override { throw std::runtime_error("no"); }
    };
    LogCatcher log;
    StateMan man;
    auto* failing = man.plan<Failing>("bad: Bad");
    TestModule* module = man.plan("tst: Test");
    man.initialize();
    man.stopTick();
    man.postDeferred(failing);
    for (i32 n = 0; n < 3; ++n)
        man.postDeferred(module);
    man.postDeferred(nullptr);
    man.tick();
    man.tick();
    EXPECT_EQ(module->deferred.load(), 1);
    EXPECT_EQ(log.count("bad: Bad: no"), 1);
}

TEST(AudioMan, MetersShowWhatPasses) {
    TestMan man;
    man.initialize();
    AM_ParaMan& table = *man.getParaMan();
    const auto meter = [&](AM_StandardRow row) {
        return table.getParameterValue(table.standardId(row));
    };
    for (auto& channel : man.input)
        channel.assign(480, 0.5f);
    for (i32 n = 0; n < 100; ++n)
        man.run(480);
    EXPECT_NEAR(meter(k_rowInputPeak), -6.02f, 0.1f);
    EXPECT_NEAR(meter(k_rowOutputPeak), -6.02f, 0.1f);
    EXPECT_NEAR(meter(k_rowOutputVU), 20 * std::log10(0.5f * std::sqrt(0.03f) / 0.07f), 0.1f);
    EXPECT_EQ(meter(k_rowMidiLed), 0.0f);
    man.processEvent(3, 0, 0, 1, 0);
    man.run(480);
    EXPECT_NEAR(meter(k_rowMidiLed), 0.97f, 1e-5f);
}

TEST(AudioMan, TheGeneratorOfAnInstance) {
    TestMan man;
    i32 a = 0x56CA39, b = 0x3E174BE;
    for (i32 n = 0; n < 2000; ++n) {
        a = static_cast<i32>(static_cast<u32>((a & 0xFFFF) * 36969LL) + static_cast<u32>(a >> 16));
        b = static_cast<i32>(static_cast<u32>((b & 0xFFFF) * 18000LL) + static_cast<u32>(b >> 16));
        const u32 bits = ((static_cast<u32>(a) << 16) + static_cast<u32>(b)) & 0x7fffff;
        const f32 unit = static_cast<f32>(bits) / 8388608.0f;
        ASSERT_EQ(man.randomRange(-1, 3), 4 * unit - 1);
    }
}

TEST(StopWatch, CountsRunsAndSurvivesOddBlocks) {
    AM_StopWatch watch(nullptr), slave(nullptr);
    slave.setMaster(&watch);
    EXPECT_EQ(watch.getRunningTime(), 0u);
    slave.start(0, 48000);
    slave.stop(0, 48000);
    watch.stop(64, 48000);
    for (const i32 frames : {1, 64, 100000, 1 << 30}) {
        slave.start(frames, 48000);
        slave.start(frames, 48000);
        while (watch.getRunningTime() == 0)
            std::this_thread::yield();
        slave.stop(frames, 48000);
        EXPECT_EQ(slave.getRunningTime(), 0u);
        EXPECT_TRUE(std::isfinite(watch.getUsage()));
    }
    EXPECT_GE(watch.getHighestUsage(), watch.getUsage());
}

TEST(InstanceRecs, CountInstancesByPlugin) {
    EXPECT_EQ(AM_InstanceRecs::acquire(0), nullptr);
    AM_InstanceRec* first = AM_InstanceRecs::acquire(7001);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(AM_InstanceRecs::acquire(7001), first);
    EXPECT_EQ(AM_InstanceRecs::count(7001), 2);
    EXPECT_EQ(AM_InstanceRecs::count(7002), 0);
    AM_InstanceRecs::release(first);
    AM_InstanceRecs::release(first);
    AM_InstanceRecs::release(nullptr);
    EXPECT_EQ(AM_InstanceRecs::count(7001), 0);
    EXPECT_EQ(AM_InstanceRecs::find(7001), first) << "rows stay";
    i32 rows = 1;
    for (u32 id = 7100; id < 7200; ++id) {
        AM_InstanceRec* row = AM_InstanceRecs::acquire(id);
        rows += row != nullptr;
        AM_InstanceRecs::release(row);
    }
    EXPECT_LE(rows, AM_InstanceRecs::k_rows);
}
