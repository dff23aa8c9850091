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
    std::vector<f32> fade;
    for (i32 n = 0; n < 511; ++n) {
        const std::vector<f32> part = man.next(16);
        fade.insert(fade.end(), part.begin(), part.end());
    }
    for (size_t i = 0; i < 8176; ++i)
        ASSERT_NEAR(fade[i], 1.0 - static_cast<f64>(i) / 8176, 1e-6) << i;
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

TEST(Circuit, RowsSlotsAndNames) {
    LogCatcher log;
    OnesMan man;
    AM_CircuitObject& circuit = *man.getCircuit();
    AM_ParaMan& table = *man.getParaMan();
    EXPECT_EQ(circuit.getNumSlots(), 2);
    EXPECT_STREQ(circuit.getSlotProcessor(0)->getShortName(), "PCore");
    EXPECT_STREQ(circuit.getSlotProcessor(1)->getName(), "one: Ones");
    EXPECT_EQ(circuit.getSlotProcessor(2), nullptr);
    EXPECT_EQ(circuit.getModDataSize(), 112 + 2 * 52 + 8);
    EXPECT_EQ(circuit.getDataSize(), 96);

    const ParameterInfo* output = table.row(table.findParameter("Output"));
    EXPECT_TRUE(output->hasShortName("CcOp"));
    EXPECT_EQ(output->flags, 7u);
    EXPECT_EQ(output->hostId, 0);
    const ParameterInfo* bypass = table.row(man.row);
    EXPECT_TRUE(bypass->hasShortName("one"));
    EXPECT_EQ(bypass->flags, 0x84u);
    EXPECT_EQ(bypass->hostId, 1);
    EXPECT_EQ(table.getParameterValue(man.row), 1.0f);
    EXPECT_EQ(table.getParameterValue(table.findParameter("Random")), 10.0f);
    EXPECT_EQ(circuit.getOutput(), 100.0f);

    EXPECT_TRUE(circuit.isModulated(0));
    EXPECT_TRUE(circuit.isModulated(man.module->getObjectId()));
    man.activate(false);
    EXPECT_FALSE(circuit.isModulated(man.module->getObjectId()));
    circuit.setModule("nobody", 0, 0);
    circuit.setModule("one: Ones", 0, 11);
    EXPECT_EQ(log.count("failed"), 2) << "an unknown name, a route beyond the bus";
    AM_ModSourceName name{};
    circuit.getModSourceName(1, &name);
    EXPECT_STREQ(name.name, "PitchW");
    EXPECT_EQ(name.word, 0x50001u);
}

TEST(Circuit, RunsInOrderAndAlongRoutes) {
    TestMan man;
    std::vector<std::string> order;
    const auto writes = [&](const char* name, f32 value) {
        TestModule* module = man.plan(name);
        module->onProcess = [&order, name, value](i32, i32, CircuitModule* slot,
                                                  BlockContext* block) {
            order.push_back(name);
            EXPECT_EQ(slot->channels, 2);
            block->audioBuffer[slot->firstOutput * 64] += value;
        };
    };
    writes("a: A", 1);
    writes("b: B", 2);
    writes("c: C", 4);
    man.initialize();
    man.setPreferenceValue(k_prefBaseLatency, 0);
    man.run(16);
    EXPECT_EQ(order, (std::vector<std::string>{"a: A", "b: B", "c: C"}));
    EXPECT_EQ(man.output[0][0], 7.0f);
    order.clear();
    man.getCircuit()->setModule("a: A", 0, 4);
    man.run(16);
    EXPECT_EQ(order, (std::vector<std::string>{"b: B", "c: C", "a: A"}));
    EXPECT_EQ(man.output[0][0], 6.0f);
}

TEST(Circuit, AModuleThatDoesNotFitIsRefused) {
    LogCatcher log;
    TestMan man;
    man.plan("big: Big", std::vector<ParameterInfo>{}, 4);
    man.plan("ok: Ok");
    man.initialize();
    EXPECT_EQ(
        log.count("CIRCUIT ERROR: AudioObject big: Big needs more Channels than available! 4 vs 2"),
        1);
    EXPECT_EQ(man.findObject("Big"), nullptr);
    EXPECT_EQ(man.getCircuit()->getNumSlots(), 2);
    man.addToMainCircuit(new TestModule(&man, "late: Late"));
    EXPECT_EQ(man.findObject("Late"), nullptr);
    man.run(64);
}

TEST(Circuit, RandomizeLeavesTheCircuitsOwnRowsAlone) {
    TestMan man;
    std::vector<ParameterInfo> rows;
    for (i32 i = 0; i < 8; ++i)
        rows.push_back(ParameterInfo("p", "Parameter", k_float, 0, 100, 50));
    TestModule* module = man.plan("tst: Test", rows);
    man.initialize();
    AM_ParaMan& table = *man.getParaMan();
    const i32 random = table.findParameter("Random");
    const i32 press = table.findParameter("Randomize");
    table.setParameterValue(random, 0);
    table.setParameterValue(press, 1);
    man.run(64);
    EXPECT_EQ(module->modFloat(0), 50.0f);
    table.setParameterValue(random, 100);
    table.setParameterValue(press, 1);
    man.run(64);
    i32 moved = 0;
    for (i32 i = 0; i < 8; ++i)
        moved += module->modFloat(i) != 50.0f;
    EXPECT_GT(moved, 5);
    EXPECT_EQ(man.getCircuit()->getOutput(), 100.0f);
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
                f32 last = state.current[1];
                i32 blocks = 0;
                while (state.current[1] != target && blocks < 20000) {
                    context.quadCounter += 4;
                    sources.run(context, 0, 4, synchronous);
                    const f32 way = target - last;
                    for (i32 i = 0; i < 16; ++i) {
                        ASSERT_TRUE((target - buffers[16 + i]) * way >= -1e-3f) << "overshoot";
                    }
                    last = state.current[1];
                    ++blocks;
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
    const BlockContext* context = man.getBlockContext();
    man.processEvent(k_eventModWheel, 0, 0, 0.5f, 0);
    man.processEvent(k_eventController, 0, 11, 0.25f, 0);
    for (i32 n = 0; n < 500; ++n)
        man.run(64);
    const i32 first = man.getCircuit()->getFirstModBuffer();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(context->modBuffers[first * 16 + 15], 0.5f);
    EXPECT_EQ(context->modBuffers[(first + 3) * 16 + 15], 0.25f);
    EXPECT_EQ(context->modBuffers[(first + 1) * 16 + 15], 0.0f);
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
