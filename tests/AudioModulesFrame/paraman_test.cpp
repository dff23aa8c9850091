// The parameter table: its layout, how values travel, texts and locks.
#include "AM_Circuit.h"
#include "AM_InterComObject.h"
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
        module->pointerless = k_told;
        man.setMetaSizes(metas, targets);
        man.initialize();
        table = man.getParaMan();
        first = module->getFirstParameter();
        EXPECT_EQ(module->changes, 0) << "of defaults nobody is told";
    }
    void set(i32 index, f32 value, bool immediate = false) {
        table->setParameterValue(first + index, value, 0, immediate);
    }
    f32 value(i32 index) const { return table->getParameterValue(first + index); }
    i32 queued() const { return table->runtime().queuedCount; }
    void steps(int count) {
        for (int i = 0; i < count; ++i)
            table->processSubBlock();
    }

    LogCapture log;
    TestMan man;
    TestModule* module = nullptr;
    AM_ParaMan* table = nullptr;
    i32 first = 0;
};

} // namespace

TEST_F(ParaMan, TableFollowsTheTreeAndNumbersTheHostsRows) {
    start();
    const i32 circuitRows = man.getCircuit()->getNumOwnParameters();
    EXPECT_EQ(table->standardId(k_rowSwingBase), circuitRows + 2);
    EXPECT_EQ(first, circuitRows + 2 + k_numStandardRows + AM_InterComObject::k_numRows);
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
    EXPECT_EQ(module->modFloat(k_smooth), 50);
    EXPECT_EQ(module->modInt(k_whole), 3);
    EXPECT_EQ(table->row(table->getNumParams()), nullptr);
    EXPECT_EQ(table->row(-1), nullptr);
    EXPECT_EQ(log.count("Starting REVISION 4102"), 1);

    for (const char* name : {"Smo", "Smooth", "Tst:Smo", "Test Module:Smooth", "tst:SMO", "smooth"})
        EXPECT_EQ(table->findParameter(name), first + k_smooth) << name;
    for (const char* name : {"PCore:Smo", "Smoo", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(table->findParameter(name), -1);
    EXPECT_EQ(table->findParameter("PCore:PFile"), table->standardId(k_rowPatchFileName));
    // Looks like a meter, and can be set.
    const i32 random = table->findParameter("main:Random");
    table->setParameterValue(random, 42);
    EXPECT_EQ(table->getParameterValue(random), 42);
}

TEST_F(ParaMan, StandardRowsAndTheirTexts) {
    start();
    const i32 base = table->standardId(k_rowSwingBase);
    EXPECT_EQ(table->findParameter("MetaCatebories"), base + 39);
    EXPECT_EQ(table->findParameter("0Instnc"), base + 42);
    const std::tuple<i32, f32, const char*> texts[] = {
        {base, 4, "1/4"},
        {base, 0, "4/1"},
        {base, 10, "1/4 T"},
        {base, 23, "1/128"},
        {base + k_rowPatchFormat, 1, "all modules"},
        {base + k_rowChannelLayout, 0, "auto/surround"},
        {base + k_rowChannelLayout, 8, "sum"},
        {base + k_rowChannelLayout, 9, "9"},
        {base + k_rowInputVU, -12, "-12.0dB"},
        {first + k_told, 100, "100%"},
        {first + k_ref, static_cast<f32>(first), "Test Module: Plain Value"},
        {-1, 0, ""},
    };
    for (const auto& [id, shown, text] : texts)
        EXPECT_EQ(table->displayText(id, shown), text);
}

TEST_F(ParaMan, RampTakesFiftySubBlocksAndBendsFromWhereItStands) {
    start();
    set(k_smooth, 100);
    EXPECT_EQ(value(k_smooth), 50);
    EXPECT_EQ(table->getParameterTarget(first + k_smooth), 100);
    for (int step = 1; step < k_smoothingSteps; ++step) {
        steps(1);
        EXPECT_NEAR(module->modFloat(k_smooth), 50 + step, 1e-3);
        EXPECT_EQ(value(k_smooth), module->modFloat(k_smooth));
        EXPECT_EQ(queued(), 1);
        if (step == 10) set(k_smooth, 100); // the same target again: the ramp goes on
    }
    steps(1);
    EXPECT_EQ(module->modFloat(k_smooth), 100);
    EXPECT_EQ(queued(), 0);
    EXPECT_EQ(module->changes, 0); // it has a pointer

    set(k_smooth, 50);
    steps(40);
    set(k_smooth, 10);
    set(k_smooth, 20);
    EXPECT_EQ(queued(), 1);
    steps(1);
    EXPECT_NEAR(value(k_smooth), 60 - 0.8f, 1e-3);
    EXPECT_EQ(queued(), 1);
    steps(48);
    EXPECT_GT(value(k_smooth), 20);
    for (int n = 0; n < 2; ++n) { // the second time unchanged and at rest
        set(k_smooth, 20);
        steps(1);
        EXPECT_EQ(value(k_smooth), 20);
        EXPECT_EQ(queued(), 0);
    }
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
    EXPECT_EQ(queued(), 0);
    steps(60);
    EXPECT_EQ(module->modFloat(k_smooth), 30);
    EXPECT_EQ(log.count("already queued in slot"), 1);

    set(k_smooth, 100);
    steps(5);
    set(k_smooth, 30, true);
    table->update(); // as a reset does it: no sub-block, and no ramp is left behind
    EXPECT_EQ(module->modFloat(k_smooth), 30);
    EXPECT_EQ(queued(), 0);

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
    EXPECT_EQ(queued(), 0);
    set(k_wrap, 10);
    steps(1);
    EXPECT_EQ(queued(), 1);
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
    set(k_told, 200); // exactly the maximum is fine
    for (const char* line :
         {"value > params_Info", "value < params_Info[ id ].minValue Plain Value",
          "value < params_Info[ id ].minValue Whole", "Can't set Parmeter with ID -1", "k_meter",
          "Preset for rev 4000 loaded into rev 4102, Revision"})
        EXPECT_EQ(log.count(line), 1) << line;
    EXPECT_EQ(table->getParameterValue(table->standardId(k_rowRevision)), 4102);
    EXPECT_EQ(table->getParameterValue(table->standardId(k_rowCpuLoad)), 0);
    EXPECT_EQ(table->getParameterValue(-1), 0);

    for (const auto& [asked, rounded] : {std::pair{2.5f, 3.0f}, {-2.5f, -2.0f}}) {
        set(k_whole, asked);
        EXPECT_EQ(value(k_whole), rounded);
    }
    steps(1);
    EXPECT_EQ(module->modInt(k_whole), -2);
    EXPECT_EQ(module->modFloat(k_plain), 1);
}

TEST_F(ParaMan, OwnersAreTold) {
    start();
    std::vector<std::pair<i32, f32>> told;
    f32 during = -1;
    module->onChange = [&](i32 index, f32& heard, f32) {
        told.emplace_back(index, heard);
        during = value(index);
        if (index == k_ref) heard = 7; // the owner knows better
    };
    set(k_told, 150); // no pointer
    set(k_ref, 4);
    EXPECT_EQ(told, (std::vector<std::pair<i32, f32>>{{k_told, 150}, {k_ref, 4}}));
    EXPECT_EQ(value(k_ref), 7);
    steps(1);
    EXPECT_EQ(value(k_ref), 7);
    EXPECT_EQ(module->modInt(k_ref), 7);
    // Buttons act on the edge and spring back.
    set(k_button, 1);
    EXPECT_EQ(during, 1);
    EXPECT_EQ(value(k_button), 0);
    for (const f32 pressed : {0.0f, 0.5f, 1.0f})
        set(k_button, pressed);
    EXPECT_EQ(module->changes, 4);
    steps(2);
    EXPECT_EQ(value(k_button), 0);
}

TEST_F(ParaMan, ComplexValuesAreCheckedAndDelivered) {
    start();
    const i32 text = first + k_text;
    const std::string filled(33, 'x');
    table->setParameterValueComplex(text, nullptr, 0);
    table->setParameterValueComplex(1000, "x", 2);
    table->setParameterValueComplex(first + k_plain, "x", 2);
    table->setParameterValueComplex(text, filled.data(), 33);
    table->setParameterValueComplex(text, filled.data(), 32);
    for (const char* line : {"setParameterValueComplex with NULL data", "COMPLEX PARAM TOO BIG",
                             "WTF? AM_ParaMan::setParameterValueComplex Param 1000 is NULL",
                             "text too long for Text (32)"})
        EXPECT_EQ(log.count(line), 1) << line;
    EXPECT_EQ(module->lastComplex, "");

    table->setParameterValueComplex(text, "BZ7-AB", 7);
    EXPECT_EQ(table->displayText(text, 0), "BZ7-AB");
    EXPECT_EQ(module->lastComplex, std::string("BZ7-AB\0", 7));
    EXPECT_EQ(module->changes, 1);
    // Size 0: the row's maximum, without reading behind a text's end.
    const std::string heap(30, 'y');
    const std::unique_ptr<char[]> exact(new char[31]);
    std::memcpy(exact.get(), heap.c_str(), 31);
    table->setParameterValueComplex(text, exact.get(), 0);
    EXPECT_EQ(module->lastComplex, heap + std::string(2, '\0'));
    const i32 cores = table->findParameter("CoreN");
    char block[64];
    std::memset(block, 'c', sizeof block);
    table->setParameterValueComplex(cores, block, 0);
    EXPECT_EQ(std::memcmp(table->getParamPointer(cores), block, sizeof block), 0);
    {
        const AM_AudioThreadScope audio;
        table->setParameterValueComplex(text, "no", 3);
    }
    EXPECT_EQ(table->getText(text), heap);
    EXPECT_EQ(log.count("set on the audio thread"), 1);
    char message[] = "by message";
    man.sendMessage(0, AM_Message_SetComplexText, static_cast<u32>(text), message);
    EXPECT_EQ(table->getText(text), "by message");
}

TEST_F(ParaMan, ListOfComplexChangesKeepsEachIdOnce) {
    start();
    const i32 list = table->standardId(k_rowUpdateComplex);
    const auto next = [&] { return *static_cast<const i32*>(table->getParameterData(list)); };
    for (const i32 id : {first, first + k_text, first, -4})
        table->scheduleComplexParamNotification(id);
    for (const i32 id : {first, first + k_text, 0})
        EXPECT_EQ(next(), id);
    for (i32 id = 1; id <= 40; ++id)
        table->scheduleComplexParamNotification(id);
    i32 taken = 0;
    while (next() != 0)
        ++taken;
    EXPECT_EQ(taken, 32);
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
        table->setChannelLevel(1, channel, channel == 2 ? 1 : -1);
    }
    const auto* levels =
        static_cast<const u8*>(table->getParameterData(table->standardId(k_rowLevels)));
    for (const auto& [channel, level] : {std::pair{0, 0x10}, {1, 0x80}, {2, 0xFF}, {15, 0x00}})
        EXPECT_EQ(levels[channel], level) << channel;

    std::vector<std::pair<i32, f32>> heard;
    for (const i32 id : {first + k_plain, vu})
        table->watchParameter(id);
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
    const std::string id = std::to_string(first + k_plain);
    for (const char* text : {id.c_str(), "", "x", "-3", "99999", "99999999999999"})
        table->receiveCom("lock Parameter", text);
    EXPECT_EQ(log.count("locked Plain Value"), 1);
    EXPECT_TRUE(table->getParameterFlags(first + k_plain) & k_flagLocked);
    set(k_plain, 4);
    EXPECT_EQ(value(k_plain), 4); // a lock is for loads only
    table->receiveCom("unlock Parameter", id.c_str());
    EXPECT_FALSE(table->isLocked(first + k_plain));
    EXPECT_EQ(log.count("locked "), 2);
}

TEST_F(ParaMan, LiveHasFewerLayouts) {
    man.setHost("Live");
    start();
    const i32 id = table->standardId(k_rowChannelLayout);
    EXPECT_EQ(table->row(id)->maxValue, 2);
    table->setParameterValue(id, 5);
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
    const i32 base = table->standardId(k_rowSwingBase), press = table->findParameter("Randomize");
    std::vector<f32> before;
    for (i32 row = 0; row < k_numStandardRows; ++row)
        before.push_back(table->getParameterValue(base + row));
    std::set<f32> seen;
    for (int i = 0; i < 21; ++i) {
        table->setParameterValue(table->findParameter("Random"), i == 0 ? 0 : 100);
        table->setParameterValue(press, 1);
        steps(51);
        seen.insert(value(k_smooth));
        EXPECT_GE(value(k_smooth), 0);
        EXPECT_LE(value(k_smooth), 100);
        EXPECT_TRUE(i > 0 || value(k_smooth) == 50) << "by nothing";
        EXPECT_EQ(value(k_plain), 20); // has the flag
    }
    EXPECT_GT(seen.size(), 10u);
    EXPECT_EQ(table->getParameterValue(table->findParameter("Output")), 100);
    for (i32 row = 0; row < k_numStandardRows; ++row)
        EXPECT_EQ(table->getParameterValue(base + row), before[static_cast<size_t>(row)]) << row;

    // From inside itself it ends, and can be asked for again.
    int rounds = 0;
    module->onChange = [&](i32 index, f32&, f32) {
        EXPECT_NE(index, k_button);
        if (index != k_told || ++rounds > 100) return;
        man.getCircuit()->randomizeAll(100);
    };
    for (int round = 1; round <= 2; ++round) {
        man.getCircuit()->randomizeAll(100);
        EXPECT_EQ(rounds, round);
    }
}
