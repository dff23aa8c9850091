#include "TestManager.h"

#include "AM_Allocator.h"
#include "AM_Circuit.h"
#include "AM_StopWatch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace {

struct Host : AM_IInterCom {
    std::atomic<i32> reports{0}, latency{-1}, posts{0};
    std::string text; // the last post
    void post(const char* addressee, const char* subject, const char* content) override {
        text = std::string(addressee) + " " + subject + " " + content;
        ++posts;
    }
    static void callback(void* data, i32 code, i32 value) {
        auto* host = static_cast<Host*>(data);
        if (code != k_hostLatencyChanged) return;
        host->latency = value;
        ++host->reports;
    }
};

struct StateMan : TestMan {
    using AM_AudioMan::stateChanges;
    using AM_AudioMan::stopTick;
};

} // namespace

TEST(AudioMan, InitializeLaysOutMemoryOnce) {
    LogCapture log;
    TestMan man;
    TestModule* module = man.plan("tst: Test Module", std::vector<ParameterInfo>{}, 2, 0u, 0, 3);
    module->dataBytes = 100;
    module->modBytes = 4;
    man.processBlock(); // too early
    man.setSampleRate(96000);
    man.initialize();
    man.initialize();
    EXPECT_EQ(log.count("initialize() called again"), 1);
    const BlockContext* context = man.getBlockContext();
    EXPECT_EQ(context->sampleRateI, 96000);
    for (const f32* place : {context->audioBuffer, context->bypassBuffer, context->modBuffers,
                             module->getModData(), module->getVoiceData(0)})
        EXPECT_EQ(reinterpret_cast<uintptr_t>(place) % 16, 0u);
    EXPECT_EQ(module->getFirstModBuffer(), 5) << "behind the circuit's four";
}

TEST(AudioMan, NothingIsLeftBehind) {
    LogCapture log;
    const size_t before = AM_liveAllocations();
    {
        TestMan man, never;
        never.plan("n: Never");
        man.plan("a: A");
        man.initialize();
        man.run(64);
        // A module that joined the registry but never the tree, with a child of its own.
        auto* stray = new TestModule(&man, "s: Stray");
        stray->add(new TestModule(&man, "c: Child"));
        stray->setHost(man.AM_Object::getHost());
    }
    EXPECT_EQ(AM_liveAllocations(), before);
    EXPECT_EQ(log.count("Object still alive"), 0);
    EXPECT_EQ(log.count("max CPU @ watch: watch"), 1);
}

TEST(AudioMan, LatencyReachesTheHostAsItsModeSays) {
    for (const i32 mode : {0, 1, 2, 3}) {
        const bool inReset = mode >= 2; // the host asks for nothing outside of one
        Host host;
        TestMan man;
        man.setHost(mode == 3 ? "Nuendo 12" : "Any");
        if (mode != 3) man.setReportMode(static_cast<AM_ReportMode>(mode));
        man.initialize();
        man.setHostCallback(Host::callback, &host);
        const auto expectReports = [&](i32 expected, const char* when) {
            EXPECT_EQ(host.reports.load(), expected) << "mode " << mode << ", " << when;
        };
        // The timer's own ticks may come in between and change nothing of this.
        const auto ticks = [&](i32 count) {
            while (count-- > 0)
                man.tick();
        };
        if (inReset) {
            ticks(40);
            expectReports(0, "before a reset");
            man.reset();
            if (mode == 2) expectReports(1, "in the reset");
        }
        ticks(21);
        expectReports(1, "after the ticks");
        EXPECT_EQ(host.latency.load(), 16);
        man.changePlugInLatency(100);
        EXPECT_EQ(man.getLatency(), 116);
        if (inReset) man.reset();
        ticks(21);
        EXPECT_EQ(host.latency.load(), 116);
        expectReports(2, "after the change");
        man.setHostCallback(nullptr, nullptr);
    }
}

TEST(AudioMan, AnIrregularBlockTellsHostAndEditor) {
    Host host;
    TestMan man;
    man.initialize();
    man.setHostCallback(Host::callback, &host);
    man.setInterCom(&host);
    man.setPreferenceValue(k_prefBaseLatency, 0);
    man.tick();
    EXPECT_EQ(man.getLatency(), 0);
    man.run(17);
    for (i32 n = 0; n < 200 && host.posts == 0; ++n) {
        man.tick();
        std::this_thread::yield();
    }
    EXPECT_EQ(host.posts.load(), 1);
    EXPECT_EQ(host.text, "ViewMan COM_LATENCY_EMERGENCY reset");
    EXPECT_EQ(host.latency.load(), 16);
    man.setInterCom(nullptr);
    man.setHostCallback(nullptr, nullptr);
}

TEST(AudioMan, ResetsWorkOnceInABlockAndAfterAStateLoad) {
    StateMan man;
    TestModule* module = man.plan("tst: Test");
    man.initialize();
    man.run(100, 1.0f);
    i32 resets = module->resets;
    man.reset();
    man.reset();
    EXPECT_EQ(module->resets, resets += 2) << "outside of blocks each one works";
    man.run(16, 0.0f);
    man.run(16);
    EXPECT_EQ(man.output[0], std::vector<f32>(16)) << "nothing was left in the carry";
    module->onProcess = [&](i32, i32, CircuitModule*, BlockContext*) { man.reset(); };
    for (i32 block = 0; block < 2; ++block) {
        man.run(256);
        EXPECT_EQ(module->resets, ++resets);
    }
    // A block that meets a load ends silent and in a reset, the one behind it sounds.
    module->onProcess = [&](i32, i32, CircuitModule*, BlockContext*) {
        man.stateChanges();
        module->onProcess = nullptr;
    };
    man.run(200, 1.0f);
    EXPECT_EQ(module->resets, ++resets);
    EXPECT_EQ(man.output[0], std::vector<f32>(200));
    man.stateChanges();
    man.run(200);
    EXPECT_EQ(module->resets, resets);
    EXPECT_EQ(man.output[0][15], 0.0f);
    EXPECT_EQ(man.output[0][16], 1.0f);
}

TEST(AudioMan, BypassWithoutAModuleForItLeavesTheBuffersAlone) {
    TestMan plain;
    plain.initialize();
    plain.setBypass(true);
    plain.run(64, 1.0f);
    EXPECT_EQ(plain.output[0], std::vector<f32>(64)) << "untouched";
    EXPECT_FALSE(plain.isBlockRunning());
    plain.setBypass(false);
    plain.run(64);
    EXPECT_EQ(plain.output[0][16], 1.0f);
}

TEST(AudioMan, RatesAndModesOfHosts) {
    LogCapture log;
    TestMan man;
    TestModule* module = man.plan("tst: Test");
    man.initialize();
    BlockContext* context = man.getBlockContext();
    for (const f64 rate : {1000.0, 44100.0, 768000.0, 0.0, -1.0, std::nan(""), 1e9, 999.0}) {
        const bool known = rate >= 1000.0 && rate <= 768000.0;
        const i32 updates = module->updates;
        man.setSampleRate(rate);
        EXPECT_EQ(context->sampleRateD, known ? rate : 44100.0);
        EXPECT_EQ(context->sampleRateI, known ? rate : 44100.0);
        EXPECT_EQ(context->sampleReciprocal, 1.0f / static_cast<f32>(context->sampleRateD));
        EXPECT_EQ(context->samplePeriod, 1.0 / context->sampleRateD);
        EXPECT_TRUE(module->updates > updates || !known);
    }
    EXPECT_EQ(log.count("taking 44100"), 5);
    context->bpm = 0;
    for (const i32 mode : {1, 1, 0, 0}) {
        man.setRenderMode(mode);
        EXPECT_EQ(context->renderMode, mode);
        EXPECT_EQ(log.count("AM_Message_RenderModeChanged! 1"), 1);
        man.run(64);
        EXPECT_EQ(log.count("bpm < 10.0 - 0.000000"), mode ? 0 : 1) << "not offline, and once";
    }
}

TEST(AudioMan, DeferredWorkRunsOnATickEvenBesideAFailure) {
    struct Failing : TestModule {
        using TestModule::TestModule;
        void runDeferred() override { throw std::runtime_error("no"); }
    };
    LogCapture log;
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
    for (i32 n = 0; n < 100; ++n)
        man.run(480, 0.5f);
    EXPECT_NEAR(meter(k_rowInputPeak), -6.02f, 0.1f);
    EXPECT_NEAR(meter(k_rowOutputPeak), -6.02f, 0.1f);
    EXPECT_NEAR(meter(k_rowOutputVU), 20 * std::log10(0.5f * std::sqrt(0.03f) / 0.07f), 0.1f);
    EXPECT_EQ(meter(k_rowMidiLed), 0.0f);
    man.processEvent(3, 0, 0, 1, 0);
    man.run(480);
    EXPECT_NEAR(meter(k_rowMidiLed), 0.97f, 1e-5f);
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
