#include "TestManager.h"

#include "AM_Circuit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace {

// A manager with one bypassable module that fills its channels with ones.
class OnesMan : public TestMan {
public:
    OnesMan() {
        module = plan("one: Ones", std::vector<ParameterInfo>{}, 2, u32{k_audioBypassable});
        module->onProcess = [](i32, i32 quads, CircuitModule* slot, BlockContext* block) {
            for (i32 c = 0; c < slot->channels; ++c)
                std::fill_n(block->audioBuffer + c * 64, quads * 16, 1.0f);
        };
        initialize();
        setPreferenceValue(k_prefBaseLatency, 0);
        row = getParaMan()->findParameter("Active one");
    }
    void activate(bool on) { getParaMan()->setParameterValue(row, on ? 1.0f : 0.0f); }
    // The output of the next `frames` frames.
    std::vector<f32> next(i32 frames) {
        run(frames);
        return output[1];
    }

    TestModule* module;
    i32 row;
};

} // namespace

TEST(BypassFade, AWholeFadeLasts8176Frames) {
    OnesMan man;
    EXPECT_EQ(man.next(64).back(), 1.0f);
    man.activate(false);
    for (i32 n = 0, i = 0; n < 511; ++n)
        for (const f32 sample : man.next(16))
            ASSERT_NEAR(sample, 1.0 - static_cast<f64>(i++) / 8176, 1e-6) << n;
    const i32 processed = man.module->processed;
    EXPECT_EQ(man.next(64), std::vector<f32>(64));
    EXPECT_EQ(man.module->processed, processed) << "a bypassed module costs nothing";

    // Switched on again it starts empty and comes in just as slowly.
    const i32 resets = man.module->resets;
    man.activate(true);
    EXPECT_EQ(man.module->resets, resets + 1);
    EXPECT_NEAR(man.next(64).back(), 63.0 / 8176, 1e-6);
}

TEST(BypassFade, ATurnInMidFadeIsNoStep) {
    OnesMan man;
    f32 last = man.next(64).back();
    for (i32 n = 0; n < 400; ++n) {
        if (n % 37 == 5) man.activate(n % 2 == 0);
        for (const f32 sample : man.next(16 * (1 + n % 4))) {
            ASSERT_LE(std::fabs(sample - last), 1.2f / 8176) << "block " << n;
            last = sample;
        }
    }
}

TEST(BypassFade, ATurnWhileASubBlockRunsIsKept) {
    std::atomic<u32> state{3};
    EXPECT_FALSE(AM_BypassFade::toggle(state, true));
    EXPECT_TRUE(AM_BypassFade::toggle(state, false));
    u32 seen = state.load();
    EXPECT_EQ(AM_BypassFade::counter(seen), 511u);
    AM_BypassFade::advance(state, seen, 4);
    seen = state.load();
    EXPECT_EQ(AM_BypassFade::counter(seen), 507u);
    EXPECT_TRUE(AM_BypassFade::toggle(state, true)); // between reading and advancing
    AM_BypassFade::advance(state, seen, 4);
    EXPECT_TRUE(AM_BypassFade::isActive(state.load()));
    EXPECT_EQ(AM_BypassFade::counter(state.load()), 511u - 503u);

    // However writers and the audio thread meet, the last writer wins.
    std::thread writer([&] {
        for (i32 n = 0; n < 20000; ++n)
            AM_BypassFade::toggle(state, n % 2 == 0);
    });
    for (i32 n = 0; n < 20000; ++n) {
        const u32 now = state.load();
        if (AM_BypassFade::counter(now)) AM_BypassFade::advance(state, now, 1 + n % 4);
    }
    writer.join();
    EXPECT_FALSE(AM_BypassFade::isActive(state.load()));
}

TEST(Circuit, RunsInOrderAndAlongRoutes) {
    LogCapture log;
    TestMan man;
    std::string order;
    for (const auto& [name, value] : {std::pair{"a: A", 1.0f}, {"b: B", 2.0f}, {"c: C", 4.0f}})
        man.plan(name)->onProcess = [&order, letter = *name, added = value](
                                        i32, i32, CircuitModule* slot, BlockContext* b) {
            order += letter;
            EXPECT_EQ(slot->channels, 2);
            b->audioBuffer[slot->firstOutput * 64] += added;
        };
    man.plan("big: Big", std::vector<ParameterInfo>{}, 4);
    man.initialize();
    man.setPreferenceValue(k_prefBaseLatency, 0);
    EXPECT_EQ(
        log.count("CIRCUIT ERROR: AudioObject big: Big needs more Channels than available! 4 vs 2"),
        1);
    EXPECT_EQ(man.findObject("Big"), nullptr);
    man.addToMainCircuit(new TestModule(&man, "late: Late"));
    EXPECT_EQ(man.findObject("Late"), nullptr);
    man.run(16);
    EXPECT_EQ(order, "abc");
    EXPECT_EQ(man.output[0][0], 7.0f);
    AM_CircuitObject& circuit = *man.getCircuit();
    circuit.setModule("nobody", 0, 0);
    circuit.setModule("a: A", 0, 11);
    EXPECT_EQ(log.count("failed"), 2) << "an unknown name, a route beyond the bus";
    circuit.setModule("a: A", 0, 4);
    man.run(16);
    EXPECT_EQ(order, "abcbca");
    EXPECT_EQ(man.output[0][0], 6.0f);
    EXPECT_EQ(circuit.getNumSlots(), 5) << "the parameters, the messages, and a, b, c";
    EXPECT_STREQ(circuit.getSlotProcessor(0)->getShortName(), "PCore");
}

TEST(ModSources, FollowTheirEventsAndStandStill) {
    for (const bool synchronous : {false, true})
        for (const i32 mode : {0, 1, 2}) {
            BlockContext context{};
            context.samplePeriod = 1.0 / 48000;
            context.smoothingMode = mode;
            AM_ModSources::State state{};
            f32 buffers[4 * 16] = {};
            AM_ModSources sources;
            sources.attach(&state, buffers);
            for (const f32 target : {1.0f, 0.0f, -1.0f, 127.0f, 1.05f}) {
                sources.setTarget(AM_ModSources::k_pitchWheel, target);
                sources.setTarget(AM_ModSources::k_pitchWheel, std::nanf(""));
                i32 blocks = 0;
                for (; state.current[1] != target && blocks < 20000; ++blocks) {
                    const f32 way = target - state.current[1];
                    context.quadCounter += 4;
                    sources.run(context, 0, 4, synchronous);
                    for (i32 i = 0; i < 16; ++i)
                        ASSERT_TRUE((target - buffers[16 + i]) * way >= -1e-3f) << "overshoot";
                }
                EXPECT_EQ(state.current[1], target) << synchronous << mode;
                EXPECT_TRUE(!synchronous || mode != 0 || blocks == 4) << blocks;
            }
            sources.run(context, 0, 1, synchronous);
            buffers[16] = 99;
            sources.run(context, 0, 4, synchronous);
            EXPECT_EQ(buffers[16], 99.0f) << "a source at rest does not write";
            EXPECT_EQ(buffers[16 + 15], 1.05f);
        }
}

TEST(ModSources, MidiEventsSetThem) {
    TestMan man;
    man.initialize();
    man.processEvent(k_eventModWheel, 0, 0, 0.5f, 0);
    man.processEvent(k_eventController, 0, 11, 0.25f, 0);
    for (i32 n = 0; n < 500; ++n)
        man.run(64);
    const f32* first = man.getBlockContext()->modBuffers + 16;
    for (const auto& [source, value] : {std::pair{0, 0.5f}, {1, 0.0f}, {3, 0.25f}})
        EXPECT_EQ(first[source * 16 + 15], value);
}

TEST(ModTargets, MoveParametersAndPutThemBack) {
    f32 parameter = 40, other = 0.5f;
    f32 wheel[16] = {}, via[16] = {};
    wheel[7] = 1.0f;
    via[7] = 0.5f;
    AM_ModTargets targets;
    targets.add({&parameter, 0, 100, 100, 0.2f, wheel, nullptr, 0});
    targets.add({&parameter, 0, 100, 100, 1, wheel, via, 50});
    targets.add({&other, 0, 1, 1, std::nanf(""), wheel, nullptr, 0});
    targets.add({nullptr, 0, 1, 1, 1, wheel, nullptr, 0});
    targets.apply(2);
    EXPECT_EQ(parameter, 100.0f) << "40 + 20, + 75, clamped";
    EXPECT_EQ(other, 0.0f);
    targets.undo();
    EXPECT_EQ(parameter, 40.0f);
    EXPECT_EQ(other, 0.5f);
    targets.apply(2);
    other = 0.7f; // changed meanwhile
    targets.undo();
    EXPECT_EQ(other, 0.7f);
}
