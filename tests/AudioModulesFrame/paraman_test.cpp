// The parameter table: its layout, how values travel, texts and locks.
#include "AM_Circuit.h"
#include "AM_Messages.h"
#include "TestManager.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>

namespace {

enum Row : i32 { k_plain, k_smooth, k_wrap, k_whole, k_button, k_ref, k_text, k_told, k_numRows };

std::vector<ParameterInfo> testRows() {
    return {
        ParameterInfo("Plain", "Plain Value", k_float, 1, 20, 20).withFlags(k_flagNoRandom),
        ParameterInfo("Smo", "Smooth", k_float, 0, 100, 50).withFlags(0x7),
        ParameterInfo("Wrap", "Wrapping", k_float, 0, 100, 90)
            .withFlags(k_flagSmoothed | k_flagWraps),
        ParameterInfo("Whole", "Whole", k_integer, -5, 10, 3),
        ParameterInfo("Btn", "Button", k_integer, 0, 1, 0).withFlags(0x40000080),
        ParameterInfo("Ref", "Reference", k_reference, -1, 100, -1).withFlags(k_flagNotifyOwner),
        ParameterInfo("Text", "Text", k_complexText, 0, 32, 0).withFlags(0x4080),
        ParameterInfo("Told", "Told", k_float, 0, 200, 100).withFlags(k_flagHost),
    };
}

class ParaMan : public testing::Test {
protected:
    void start(i32 metas = 0, i32 targets = 0) {
        module = man.plan("Tst: Test Module", testRows());
        module->pointerless(k_told);
        man.setMetaSizes(metas, targets);
        man.initialize();
        table = man.getParaMan();
        first = module->getFirstParameter();
        module->changes = 0;
        module->complexes = 0;
    }
    void set(i32 index, f32 value, bool immediate = false) {
        table->setParameterValue(first + index, value, 0, immediate);
    }
    f32 value(i32 index) const { return table->getParameterValue(first + index); }
    void steps(int count) {
        for (int i = 0; i < count; ++i)
            table->processSubBlock();
    }

    LogCatcher log;
    TestMan man;
    TestModule* module = nullptr;
    AM_ParaMan* table = nullptr;
    i32 first = 0;
};

} // namespace

TEST_F(ParaMan, TableFollowsTheTreeAndNumbersTheHostsRows) {
    start();
    const i32 circuitRows = man.getCircuit()->getNumOwnParameters();
    EXPECT_EQ(table->getOwnParamBase(), circuitRows);
    EXPECT_EQ(table->standardId(k_rowSwingBase), circuitRows + 2);
    EXPECT_EQ(first, circuitRows + 2 + k_numStandardRows);
    ASSERT_EQ(table->getNumParams(), first + k_numRows);
    i32 nextHostId = 0;
    for (i32 id = 0; id < table->getNumParams(); ++id) {
        const ParameterInfo& row = *table->row(id);
        EXPECT_EQ(row.id, static_cast<u32>(id));
        AM_AudioObject* owner = man.getObject(row.owner);
        ASSERT_NE(owner, nullptr);
        EXPECT_EQ(owner->getFirstParameter() + row.indexInOwner, id);
        if (row.flags & k_flagHost) {
            EXPECT_EQ(row.hostId, nextHostId);
            EXPECT_EQ(row.hostParamIndex, nextHostId);
            EXPECT_EQ(table->getParameterFlags(nextHostId++, true), row.flags);
        }
        if (!row.isMeter() && !row.isComplex()) {
            EXPECT_EQ(table->getParameterValue(id), row.defaultValue) << row.longName;
        }
    }
    EXPECT_EQ(nextHostId, 3); // "Output" of the circuit and two of ours
    // The defaults are in the module's memory, and it was not told of them.
    EXPECT_EQ(module->modFloat(k_smooth), 50);
    EXPECT_EQ(module->modInt(k_whole), 3);
    EXPECT_EQ(table->row(table->getNumParams()), nullptr);
    EXPECT_EQ(table->row(-1), nullptr);
    EXPECT_EQ(log.count("Starting REVISION 4102"), 1);
}

TEST_F(ParaMan, DefaultsTellNobody) {
    module = man.plan("Tst: Test Module", testRows());
    man.initialize();
    EXPECT_EQ(module->changes, 0);
}

TEST_F(ParaMan, StandardRowsAndTheirTexts) {
    start();
    const i32 base = table->standardId(k_rowSwingBase);
    EXPECT_EQ(table->findParameter("PCore:PFile"), base + k_rowPatchFileName);
    EXPECT_EQ(table->findParameter("MetaCatebories"), base + 39);
    EXPECT_EQ(table->findParameter("0Instnc"), base + 42);
    EXPECT_EQ(table->row(base + k_rowChannelLayout)->flags, 0x8000u);

    EXPECT_EQ(table->displayText(base, 4), "1/4");
    EXPECT_EQ(table->displayText(base, 0), "4/1");
    EXPECT_EQ(table->displayText(base, 10), "1/4 T");
    EXPECT_EQ(table->displayText(base, 23), "1/128");
    EXPECT_EQ(table->displayText(base + k_rowPatchFormat, 1), "all modules");
    EXPECT_EQ(table->displayText(base + k_rowChannelLayout, 0), "auto/surround");
    EXPECT_EQ(table->displayText(base + k_rowChannelLayout, 8), "sum");
    EXPECT_EQ(table->displayText(base + k_rowChannelLayout, 9), "9");
    EXPECT_EQ(table->displayText(base + k_rowSwing, 50), "50%");
    EXPECT_EQ(table->displayText(base + k_rowInputVU, -12), "-12.0dB");
    EXPECT_EQ(table->displayText(base + k_rowCpuLoad, 3.25f), "3.2%");
    EXPECT_EQ(table->displayText(first + k_plain, 20), "20.00");
    EXPECT_EQ(table->displayText(first + k_told, 100), "100%");
    EXPECT_EQ(table->displayText(first + k_ref, static_cast<f32>(first)),
              "Test Module: Plain Value");
    EXPECT_EQ(table->displayText(-1, 0), "");
}

TEST_F(ParaMan, FindsByAnyName) {
    start();
    for (const char* name : {"Smo", "Smooth", "Tst:Smo", "Test Module:Smooth", "tst:SMO", "smooth"})
        EXPECT_EQ(table->findParameter(name), first + k_smooth) << name;
    EXPECT_EQ(table->findParameter("PCore:Smo"), -1);
    EXPECT_EQ(table->findParameter("Smoo"), -1);
    EXPECT_EQ(table->findParameter(""), -1);
    EXPECT_EQ(table->findParameter(nullptr), -1);
}

TEST_F(ParaMan, RampTakesFiftySubBlocksAndLandsExactly) {
    start();
    set(k_smooth, 100);
    EXPECT_EQ(value(k_smooth), 50);
    EXPECT_EQ(table->getParameterTarget(first + k_smooth), 100);
    for (int step = 1; step < k_smoothingSteps; ++step) {
        steps(1);
        EXPECT_NEAR(module->modFloat(k_smooth), 50 + step, 1e-3);
        EXPECT_EQ(value(k_smooth), module->modFloat(k_smooth));
        EXPECT_EQ(table->runtime().queuedCount, 1);
    }
    steps(1);
    EXPECT_EQ(module->modFloat(k_smooth), 100);
    EXPECT_EQ(table->runtime().queuedCount, 0);
    EXPECT_EQ(module->changes, 0); // it has a pointer
}

TEST_F(ParaMan, RampBendsFromWhereItStands) {
    start();
    set(k_smooth, 100);
    steps(10);
    EXPECT_NEAR(value(k_smooth), 60, 1e-3);
    set(k_smooth, 100); // the same target again: the ramp goes on
    set(k_smooth, 10);
    set(k_smooth, 20);
    EXPECT_EQ(table->runtime().queuedCount, 1);
    steps(1);
    EXPECT_NEAR(value(k_smooth), 60 - 0.8f, 1e-3);
    EXPECT_EQ(table->runtime().queuedCount, 1);
    steps(48);
    EXPECT_GT(value(k_smooth), 20);
    set(k_smooth, 20);
    steps(1);
    EXPECT_EQ(value(k_smooth), 20);
    set(k_smooth, 20); // unchanged and at rest
    steps(1);
    EXPECT_EQ(table->runtime().queuedCount, 0);
}

TEST_F(ParaMan, ImmediateWritesEndARamp) {
    start();
    set(k_smooth, 100);
    steps(5);
    set(k_smooth, 30, true);
    EXPECT_EQ(value(k_smooth), 30); // for readers at once, for the module with the next sub-block
    EXPECT_NE(module->modFloat(k_smooth), 30);
    steps(1);
    EXPECT_EQ(module->modFloat(k_smooth), 30);
    EXPECT_EQ(table->runtime().queuedCount, 0);
    steps(60);
    EXPECT_EQ(module->modFloat(k_smooth), 30);
    EXPECT_EQ(log.count("already queued in slot"), 1);

    set(k_smooth, 100);
    steps(5);
    set(k_smooth, 30, true);
    table->update(); // as a reset does it: no sub-block, and no ramp is left behind
    EXPECT_EQ(module->modFloat(k_smooth), 30);
    EXPECT_EQ(table->runtime().queuedCount, 0);

    table->pushImmediate();
    set(k_smooth, 40);
    table->popImmediate();
    steps(1);
    EXPECT_EQ(module->modFloat(k_smooth), 40);

    set(k_smooth, 0);
    steps(3);
    table->requestQueueClear();
    set(k_wrap, 5); // immediate until the queue is clear
    steps(1);
    EXPECT_EQ(module->modFloat(k_smooth), 0);
    EXPECT_EQ(module->modFloat(k_wrap), 5);
    EXPECT_EQ(table->runtime().queuedCount, 0);
    set(k_wrap, 10);
    steps(1);
    EXPECT_EQ(table->runtime().queuedCount, 1);
}

TEST_F(ParaMan, WrappingRowTakesTheShorterWay) {
    start();
    set(k_wrap, 10); // from 90: 20 up through 100
    steps(1);
    EXPECT_NEAR(value(k_wrap), 90.4f, 1e-3);
    for (int i = 0; i < 48; ++i) {
        steps(1);
        EXPECT_GE(value(k_wrap), 0);
        EXPECT_LE(value(k_wrap), 100);
        EXPECT_TRUE(value(k_wrap) > 90 || value(k_wrap) < 10);
    }
    steps(1);
    EXPECT_EQ(module->modFloat(k_wrap), 10);
    set(k_wrap, 40); // 30 up is shorter than 70 down
    steps(1);
    EXPECT_NEAR(value(k_wrap), 10.6f, 1e-3);
}

TEST_F(ParaMan, ValuesAreClampedAndReportedOnce) {
    start();
    const f32 inf = std::numeric_limits<f32>::infinity();
    for (int i = 0; i < 3; ++i) {
        set(k_plain, inf);
        EXPECT_EQ(value(k_plain), 20);
        set(k_plain, -inf);
        EXPECT_EQ(value(k_plain), 1);
        set(k_plain, std::nanf(""));
        EXPECT_EQ(value(k_plain), 1);
        set(k_whole, std::nanf(""));
        EXPECT_EQ(value(k_whole), -5);
        table->setParameterValue(-1, 0);
        table->setParameterValue(table->getNumParams(), 0);
        table->setParameterValue(table->standardId(k_rowCpuLoad), 5);
        table->setParameterValue(table->standardId(k_rowRevision), 4000);
        table->setParameterValue(first + k_text, 5);
    }
    set(k_told, 200);
    EXPECT_EQ(log.count("value > params_Info"), 1); // a value of exactly the maximum is fine
    EXPECT_EQ(log.count("value < params_Info[ id ].minValue Plain Value"), 1);
    EXPECT_EQ(log.count("value < params_Info[ id ].minValue Whole"), 1);
    EXPECT_EQ(log.count("Can't set Parmeter with ID -1"), 1);
    EXPECT_EQ(log.count("k_meter"), 1);
    EXPECT_EQ(log.count("Preset for rev 4000 loaded into rev 4102, Revision"), 1);
    EXPECT_EQ(table->getParameterValue(table->standardId(k_rowRevision)), 4102);
    EXPECT_EQ(table->getParameterValue(table->standardId(k_rowCpuLoad)), 0);
    EXPECT_EQ(table->getParameterValue(-1), 0);

    set(k_whole, 2.5f);
    EXPECT_EQ(value(k_whole), 3);
    set(k_whole, -2.5f);
    EXPECT_EQ(value(k_whole), -2);
    steps(1);
    EXPECT_EQ(module->modInt(k_whole), -2);
    EXPECT_EQ(module->modFloat(k_plain), 1);
}

TEST_F(ParaMan, OwnersAreTold) {
    start();
    set(k_told, 150); // no pointer
    EXPECT_EQ(module->changes, 1);
    EXPECT_EQ(module->lastIndex, k_told);
    EXPECT_EQ(module->lastValue, 150);
    module->onChange = [](i32 index, f32& heard, f32) {
        if (index == k_ref) heard = 7; // the owner knows better
    };
    set(k_ref, 4);
    EXPECT_EQ(value(k_ref), 7);
    steps(1);
    EXPECT_EQ(value(k_ref), 7);
    EXPECT_EQ(module->modInt(k_ref), 7);
}

TEST_F(ParaMan, ButtonsActOnTheEdgeAndSpringBack) {
    start();
    f32 during = -1;
    module->onChange = [&](i32 index, f32&, f32) { during = value(index); };
    set(k_button, 1);
    EXPECT_EQ(during, 1);
    EXPECT_EQ(value(k_button), 0);
    EXPECT_EQ(module->changes, 1);
    set(k_button, 0);
    set(k_button, 0.5f);
    EXPECT_EQ(module->changes, 1);
    set(k_button, 1);
    EXPECT_EQ(module->changes, 2);
    steps(2);
    EXPECT_EQ(value(k_button), 0);
}

TEST_F(ParaMan, LookalikeOfAMeterCanBeSet) {
    start();
    const i32 random = table->findParameter("main:Random");
    ASSERT_GE(random, 0);
    table->setParameterValue(random, 42);
    EXPECT_EQ(table->getParameterValue(random), 42);
}

TEST_F(ParaMan, ComplexValuesAreCheckedAndDelivered) {
    start();
    table->setParameterValueComplex(first + k_text, nullptr, 0);
    EXPECT_EQ(log.count("setParameterValueComplex with NULL data"), 1);
    table->setParameterValueComplex(1000, "x", 2);
    EXPECT_EQ(log.count("WTF? AM_ParaMan::setParameterValueComplex Param 1000 is NULL"), 1);
    table->setParameterValueComplex(first + k_plain, "x", 2);
    const std::vector<char> filled(33, 'x');
    table->setParameterValueComplex(first + k_text, filled.data(), 33);
    EXPECT_EQ(log.count("COMPLEX PARAM TOO BIG"), 1);
    table->setParameterValueComplex(first + k_text, filled.data(), 32);
    EXPECT_EQ(log.count("text too long for Text (32)"), 1);
    EXPECT_EQ(module->complexes, 0);

    table->setParameterValueComplex(first + k_text, "BZ7-AB", 7);
    EXPECT_EQ(table->getText(first + k_text), "BZ7-AB");
    EXPECT_EQ(table->displayText(first + k_text, 0), "BZ7-AB");
    EXPECT_EQ(module->lastComplex, std::string("BZ7-AB\0", 7));
    EXPECT_EQ(module->changes, 1);
    // Size 0: the row's maximum, without reading behind a text's end.
    const std::string heap(30, 'y');
    const std::unique_ptr<char[]> exact(new char[31]);
    std::memcpy(exact.get(), heap.c_str(), 31);
    table->setParameterValueComplex(first + k_text, exact.get(), 0);
    EXPECT_EQ(module->lastComplex, heap + std::string(2, '\0'));
    const i32 cores = table->findParameter("CoreN");
    char block[64];
    std::memset(block, 'c', sizeof block);
    table->setParameterValueComplex(cores, block, 0);
    EXPECT_EQ(std::memcmp(table->getParamPointer(cores), block, sizeof block), 0);

    {
        const AM_AudioThreadScope audio;
        table->setParameterValueComplex(first + k_text, "no", 3);
    }
    EXPECT_EQ(table->getText(first + k_text), heap);
    EXPECT_EQ(log.count("set on the audio thread"), 1);

    table->setInitPresetName();
    EXPECT_EQ(table->getText(table->standardId(k_rowPatchFileName)), "initialize.q3p");
    char longText[] = "by message";
    man.sendMessage(0, AM_Message_SetComplexText, static_cast<u32>(first + k_text), longText);
    EXPECT_EQ(table->getText(first + k_text), "by message");
}

TEST_F(ParaMan, ListOfComplexChangesKeepsEachIdOnce) {
    start();
    const i32 list = table->standardId(k_rowUpdateComplex);
    const auto next = [&] { return *static_cast<const i32*>(table->getParameterData(list)); };
    table->scheduleComplexParamNotification(first);
    table->scheduleComplexParamNotification(first + k_text);
    table->scheduleComplexParamNotification(first);
    table->scheduleComplexParamNotification(-4);
    EXPECT_EQ(next(), first);
    table->scheduleComplexParamNotification(first + 1); // into the lowest free place
    EXPECT_EQ(next(), first + 1);
    EXPECT_EQ(next(), first + k_text);
    EXPECT_EQ(next(), 0);
    for (i32 id = 1; id <= 40; ++id)
        table->scheduleComplexParamNotification(id);
    std::set<i32> taken;
    while (const i32 id = next())
        taken.insert(id);
    EXPECT_EQ(taken.size(), 32u);
    EXPECT_EQ(table->getParameterData(first), nullptr);
    EXPECT_EQ(log.count("wrong id!!!"), 1);
}

TEST_F(ParaMan, MetersLevelsAndWatchedRows) {
    start();
    const i32 vu = table->standardId(k_rowInputVU);
    table->setMeter(k_rowInputVU, -20);
    EXPECT_EQ(table->getParameterValue(vu), -20);
    EXPECT_EQ(*static_cast<f32*>(table->getParamPointer(vu)), -20);
    EXPECT_TRUE(table->needsUpdate(vu));
    EXPECT_FALSE(table->needsUpdate(vu));

    for (const auto& [channel, level] : {std::pair{0, 0.0005f}, {1, 0.5f}, {2, 7.0f}}) {
        table->setChannelLevel(0, channel, level);
        table->setChannelLevel(1, channel, -1);
    }
    table->setChannelLevel(1, 2, 1);
    const auto* levels =
        static_cast<const u8*>(table->getParameterData(table->standardId(k_rowLevels)));
    EXPECT_EQ(levels[0], 0x10);
    EXPECT_EQ(levels[1], 0x80);
    EXPECT_EQ(levels[2], 0xFF);
    EXPECT_EQ(levels[15], 0x00);

    std::vector<std::pair<i32, f32>> heard;
    table->watchParameter(first + k_plain);
    table->watchParameter(vu);
    table->setWatchListener(
        [](void* data, i32 id, f32 watched) {
            static_cast<decltype(heard)*>(data)->emplace_back(id, watched);
        },
        &heard, 100);
    set(k_plain, 5);
    table->blockEnded(99);
    EXPECT_TRUE(heard.empty());
    table->blockEnded(51); // 150: one period and 50 of the next
    EXPECT_EQ(heard, (std::vector<std::pair<i32, f32>>{{first + k_plain, 5}}));
    table->setMeter(k_rowInputVU, -3);
    table->blockEnded(50);
    EXPECT_EQ(heard.size(), 2u);
}

TEST_F(ParaMan, LocksComeAsTexts) {
    start();
    table->receiveCom("lock Parameter", std::to_string(first + k_plain).c_str());
    EXPECT_EQ(log.count("locked Plain Value"), 1);
    EXPECT_TRUE(table->getParameterFlags(first + k_plain) & k_flagLocked);
    set(k_plain, 4);
    EXPECT_EQ(value(k_plain), 4); // a lock is for loads only
    table->receiveCom("unlock Parameter", std::to_string(first + k_plain).c_str());
    EXPECT_FALSE(table->isLocked(first + k_plain));
    for (const char* bad : {"", "x", "-3", "99999", "99999999999999"})
        table->receiveCom("lock Parameter", bad);
    EXPECT_EQ(log.count("locked "), 2);
}

TEST_F(ParaMan, WithoutStateFormatTheStateIsEmpty) {
    start();
    i32 size = 5;
    EXPECT_EQ(table->writeStateSection(&size, true, ""), nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_FALSE(table->loadStateText("x", 1, false));
    EXPECT_EQ(table->writeState(&size), nullptr);
    EXPECT_FALSE(table->readState("x", 1));
    EXPECT_EQ(log.count("no state format"), 1);
    table->setPatchVersion(12, false);
    EXPECT_EQ(man.getBlockContext()->patchVersion, 12);
}

TEST_F(ParaMan, LiveHasFewerLayouts) {
    man.setHost("Live");
    start();
    const i32 id = table->standardId(k_rowChannelLayout);
    EXPECT_EQ(table->row(id)->maxValue, 2);
    table->setParameterValue(id, 5);
    EXPECT_EQ(table->getParameterValue(id), 2);
    man.setHost("Other");
    steps(1);
    EXPECT_EQ(man.getBlockContext()->channelLayout, 2);
}

TEST_F(ParaMan, SeveralMetasAddUpOnOneTarget) {
    start(2, 2);
    const i32 meta = table->getOwnParamBase();
    const i32 ranges = table->findParameter("XY1 Right1");
    EXPECT_EQ(ranges, meta + 2 + 1);
    EXPECT_EQ(table->findParameter("XY1 Down2"), meta + 2 + 3 * 3 + 2);
    const auto range = [&](i32 m, i32 slot, f32 high, f32 low) {
        table->setParameterValue(meta + 2 + (m * 2 + slot) * 3 + 1, high);
        table->setParameterValue(meta + 2 + (m * 2 + slot) * 3 + 2, low);
    };
    table->setParameterValue(meta + 2, static_cast<f32>(first + k_smooth)); // its target row
    table->setMetaTargetValue(1, 0, first + k_smooth);
    table->setMetaTargetValue(0, 1, first + k_whole);
    EXPECT_EQ(table->getMetaTarget(0, 0), first + k_smooth);
    EXPECT_EQ(table->row(meta + 2 + 3 + 1)->maxValue, 15); // the span of "Whole"
    range(0, 0, 40, 10);
    range(1, 0, -30, 0);
    range(0, 1, 15, 15);
    table->setParameterValue(meta, 50);
    table->setParameterValue(meta + 1, 100);
    steps(2);
    EXPECT_FLOAT_EQ(module->modFloat(k_smooth), 50 + 20 - 30);
    EXPECT_EQ(module->modInt(k_whole), 10); // 3 + 7.5, held at its maximum
    EXPECT_EQ(value(k_smooth), 50);         // the table is not touched
    table->setParameterValue(meta, 38);
    steps(1);
    EXPECT_EQ(module->modInt(k_whole), 9); // the nearest to 3 + 5.7
    table->setParameterValue(meta, -100);
    steps(1);
    EXPECT_FLOAT_EQ(module->modFloat(k_smooth), 50 + 10 - 30);

    table->setMetaTargetValue(1, 0, first + k_plain); // replaced: the old one is itself again
    table->setMetaTargetValue(0, 1, -2);              // kept
    steps(1);
    EXPECT_FLOAT_EQ(module->modFloat(k_smooth), 60);
    EXPECT_EQ(table->getMetaTarget(0, 1), first + k_whole);
    table->setMetaTargetValue(0, 1, 100000);
    EXPECT_EQ(table->getMetaTarget(0, 1), -1);
    table->clearMetaTargets();
    steps(1);
    EXPECT_EQ(module->modFloat(k_smooth), 50);
    EXPECT_EQ(module->modInt(k_whole), 3);
    EXPECT_EQ(module->modFloat(k_plain), 20);
    table->setMetaTargetValue(5, 0, first);
    table->setMetaTargetValue(0, -1, first);
    EXPECT_EQ(table->getMetaTarget(7, 7), -1);
}

TEST_F(ParaMan, RandomizeLeavesButtonsAndEditorAlone) {
    start();
    const i32 base = table->standardId(k_rowSwingBase);
    std::vector<f32> before;
    for (i32 row = 0; row < k_numStandardRows; ++row)
        before.push_back(table->getParameterValue(base + row));
    std::set<f32> seen;
    for (int i = 0; i < 20; ++i) {
        man.getCircuit()->randomizeAll(100);
        steps(51);
        seen.insert(value(k_smooth));
        EXPECT_GE(value(k_smooth), 0);
        EXPECT_LE(value(k_smooth), 100);
        EXPECT_EQ(value(k_plain), 20); // has the flag
    }
    EXPECT_GT(seen.size(), 10u);
    for (i32 row = 0; row < k_numStandardRows; ++row)
        EXPECT_EQ(table->getParameterValue(base + row), before[static_cast<size_t>(row)]) << row;
}

TEST_F(ParaMan, RandomizeFromInsideItselfEnds) {
    start();
    int rounds = 0;
    module->onChange = [&](i32 index, f32&, f32) {
        EXPECT_NE(index, k_button);
        if (index != k_told || ++rounds > 100) return;
        man.getCircuit()->randomizeAll(100);
    };
    man.getCircuit()->randomizeAll(100);
    EXPECT_EQ(rounds, 1);
    man.getCircuit()->randomizeAll(100); // and can be asked for again
    EXPECT_EQ(rounds, 2);
}
