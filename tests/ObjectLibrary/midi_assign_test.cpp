#include "AM_MemoryFilesystem.h"
#include "AM_MidiAssignFile.h"
#include "AM_MidiControllerInput.h"
#include "AudioModulesFrame/TestManager.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <thread>

namespace {

constexpr char k_path[] = "/support/com.v.p.midiassign.txt";

MidiAssign rowOf(i32 parameter, u8 controller, u8 mode = k_midiNormal,
                 u8 type = k_midiContinuous7) {
    MidiAssign row;
    row.parameter = parameter;
    row.controller = controller;
    row.mode = mode;
    row.type = type;
    return row;
}

// Its ticks come from the test alone.
struct StillMan : TestMan {
    using AM_AudioMan::stopTick;
};

// An instance with rows of several kinds, and the parameters that its host heard of.
struct Instance {
    Instance() {
        man.plan("tst: Test Module",
                 std::vector<ParameterInfo>{{"Pad", "Id 0", k_float, 0, 1, 0},
                                            {"Flt", "Float, of 100", k_float, 0, 100, 50},
                                            {"Int", "Whole of 8", k_integer, 0, 8, 4}});
        man.initialize();
        man.stopTick();
        man.setHostCallback(
            [](void* data, i32 code, i32 value) {
                if (code == k_hostParameterChanged)
                    static_cast<Lines*>(data)->push_back(std::to_string(value));
            },
            &told);
        flt = find("tst:Flt");
        integer = find("tst:Int");
    }
    i32 find(const char* name) { return man.getParaMan()->findParameter(name); }
    void set(const char* name, f32 value) {
        man.getParaMan()->setParameterValue(find(name), value);
    }
    f32 value(i32 id) { return man.getParaMan()->getParameterTarget(id); }
    i32 page() { return static_cast<i32>(value(find("PCore:PAGE"))); }
    void send(i32 channel, i32 controller, i32 value) {
        const AM_AudioThreadScope audio;
        AM_controllerInput(man, map, state, channel, controller, value);
    }
    void wants(i32 parameter) {
        state.learnTargets[3] = parameter;
        state.learnCount = 8;
    }

    Lines told;
    StillMan man;
    MidiAssignMap map;
    AM_MidiControllerState state;
    i32 flt, integer;
};

std::string textOf(AM_MemoryFilesystem& files) {
    return files.content(k_path).value_or("(none)");
}

} // namespace

TEST(MidiAssign, ValueByModeAndType) {
    constexpr f32 nan = std::numeric_limits<f32>::quiet_NaN();
    const AM_ControllerTarget flt = {0, 100, 50, false}, unit = {0, 1, 0.5f, false},
                              eight = {0, 8, 4, true}, notes = {-36, 36, 5, true},
                              broken = {0, 100, nan, false};
    const struct {
        const AM_ControllerTarget& target;
        i32 mode, type, value, before;
        f32 expected;
        i32 after;
    } table[] = {
        {flt, k_midiNormal, k_midiEncoder127, 127, 0, 49, 0},
        {flt, k_midiNormal, k_midiEncoder127, 63, 0, 100, 0}, // held
        {flt, k_midiNormal, k_midiEncoder127, 64, 0, 0, 0},
        {flt, k_midiNormal, k_midiEncoder64, 65, 0, 51, 0},
        {flt, k_midiFine, k_midiEncoder64, 62, 0, 49.98f, 0},
        {flt, k_midiSemitone, k_midiEncoder127, 2, 0, 50.2f, 0},
        {flt, k_midiOctaves, k_midiEncoder127, 126, 0, 26, 0},
        {unit, k_midiNormal, k_midiEncoder127, 32, 0, 0.75f, 0},
        {eight, k_midiNormal, k_midiEncoder127, 15, 0, 4, 15}, // 16 steps a unit
        {eight, k_midiNormal, k_midiEncoder127, 33, 15, 7, 0},
        {eight, k_midiInteger, k_midiEncoder64, 63, -15, 3, 0},
        {eight, k_midiFine, k_midiEncoder127, 2, 99, 5, 1},
        {eight, k_midiSemitone, k_midiEncoder127, 127, -9, 3, 0},
        {notes, k_midiOctaves, k_midiEncoder64, 63, 0, -7, 0},
        {flt, k_midiInteger, k_midiContinuous7, 64, 0, 50, 0}, // of 50.39
        {eight, k_midiNormal, k_midiContinuous7, 72, 0, 5, 0}, // of 4.54
        {notes, k_midiOctaves, k_midiContinuous7, 100, 0, 24, 0},
        {flt, k_midiSemitone, k_midiContinuous7, 0, 0, 0.1f, 0},
        {unit, k_midiSemitone, k_midiContinuous7, 127, 0, 1, 0},
        {flt, k_midiNormal, k_midiContinuous14, 64, 3, 64 * 128 * 100 * 6.200397e-05f, 64},
        {flt, k_midiFine, k_midiContinuous14, 5, 64, (64 * 128 + 5) * 100 * 6.200397e-05f, 64},
        {flt, k_midiNormal, k_midiContinuous14, 127, 0, 100, 127},
        {broken, k_midiNormal, k_midiEncoder64, 65, 0, 0, 0},
    };
    for (const auto& entry : table) {
        SCOPED_TRACE(std::to_string(&entry - table));
        i32 remainder = entry.before;
        EXPECT_FLOAT_EQ(
            AM_controllerValue(entry.target, entry.mode, entry.type, entry.value, &remainder),
            entry.expected);
        EXPECT_EQ(remainder, entry.after);
    }
    // No parameter's limits make the arithmetic leave them.
    for (const f32 span : {0.0f, 1e-30f, 3e38f})
        for (i32 mode = k_midiNormal; mode <= k_midiSemitone; ++mode)
            for (i32 type = 0; type < k_numMidiTypes; ++type)
                for (const i32 value : {0, 1, 64, 127}) {
                    i32 remainder = INT32_MAX - 64;
                    const f32 moved = AM_controllerValue({0, span, span, span == 0}, mode, type,
                                                         value, &remainder);
                    EXPECT_TRUE(moved >= 0 && moved <= span) << mode << ' ' << type;
                }
}

TEST(MidiAssign, LearnsOnceAndMovesAtOnce) {
    LogCapture log;
    Instance instance;
    instance.wants(instance.flt);
    instance.set("PCore:PAGE", 3);
    instance.send(4, 0, 127); // the bank controller can be assigned too
    ASSERT_EQ(instance.map.getNumberOfMIDIassigns(), 1);
    EXPECT_TRUE(
        log.has("ch 4, cc 0, page 3, mode 1, type 2, parameter " + std::to_string(instance.flt)));
    EXPECT_EQ(instance.value(instance.flt), 100);
    instance.man.tick();
    EXPECT_EQ(instance.told, Lines{std::to_string(instance.flt)});
    EXPECT_EQ(instance.state.learnTargets[3], -1);
    EXPECT_TRUE(instance.map.takeChanged() && !instance.map.takeChanged());
    instance.send(5, 0, 0); // another channel
    instance.send(4, 1, 0); // another controller
    EXPECT_EQ(instance.value(instance.flt), 100);
    instance.wants(instance.flt);
    instance.send(4, 0, 127);
    EXPECT_EQ(instance.map.getNumberOfMIDIassigns(), 1) << "the same again";
    instance.man.tick();
    EXPECT_EQ(instance.told.size(), 1u) << "no change, no word";
    instance.set("PCore:MidiL", 0);
    instance.wants(instance.integer);
    instance.send(4, 9, 1);
    instance.set("PCore:MidiL", 1);
    instance.send(4, 9, 1);
    EXPECT_EQ(instance.map.getNumberOfMIDIassigns(), 1) << "dropped with mode 0";
    instance.map.setNumberOfMIDIassigns(MidiAssignMap::k_maxRows);
    instance.wants(instance.integer);
    instance.send(4, 9, 1);
    EXPECT_FALSE(instance.map.setNumberOfMIDIassigns(MidiAssignMap::k_maxRows + 1));
    EXPECT_EQ(log.count("limited to 1024"), 1);
    EXPECT_EQ(log.count("too many midi assigns"), 1);
    EXPECT_EQ(instance.map.removeParameter(instance.flt), 1);
    EXPECT_TRUE(instance.map.add(rowOf(instance.flt, 7))) << "in the place of the removed one";
}

TEST(MidiAssign, RowsByChannelPageAndSelection) {
    LogCapture log;
    Instance instance;
    MidiAssignMap& map = instance.map;
    MidiAssign row = rowOf(instance.flt, 7);
    row.page = 5;
    row.selectPage = 1;
    map.add(row); // moves only on page 5
    row = rowOf(-1, 8, k_midiNone);
    row.page = 5;
    map.add(row); // goes there
    map.add(rowOf(0, 20, k_midiFineSelected, k_midiEncoder64));
    map.add(rowOf(instance.integer, 9));
    map.add(rowOf(instance.flt, 10, k_midiNormal, k_midiContinuous14));
    map.add(rowOf(instance.flt, 42, k_midiNormal, k_midiContinuous14));
    map.add(rowOf(999999, 11)); // of no parameter
    instance.send(3, 20, 65);   // nothing has been moved yet
    instance.send(3, 11, 65);
    instance.send(3, 7, 127);
    instance.man.tick();
    EXPECT_TRUE(instance.told.empty());
    EXPECT_EQ(log.count("if page 5 selected - it is 0"), 1);
    instance.send(3, 8, 1);
    instance.send(3, 7, 127);
    EXPECT_EQ(instance.page(), 5);
    EXPECT_EQ(instance.value(instance.flt), 100);
    instance.send(3, 10, 32);
    instance.send(3, 42, 64);
    EXPECT_FLOAT_EQ(instance.value(instance.flt), (32 * 128 + 64) * (100 * 6.200397e-05f));
    EXPECT_EQ(log.count("rewriting CC to LSB"), 1);
    instance.send(3, 20, 65);
    EXPECT_FLOAT_EQ(instance.value(instance.flt), 27) << "a whole unit more, of 25.79, rounded";
    instance.send(3, 9, 0);
    for (i32 i = 0; i < 2; ++i)
        instance.send(3, 20, 114); // a hundred fine steps
    EXPECT_EQ(instance.value(instance.integer), 1);
    instance.man.setHostCallback(nullptr, nullptr);
    instance.send(3, 9, 127);
    instance.send(3, 9, 0);
    EXPECT_EQ(log.count("No Host-Callback!"), 1);
    for (const auto [channel, controller, value] :
         {std::array{-1, 9, 64}, {16, 9, 64}, {0, 128, 64}, {0, 9, 128}, {0, 9, -1}})
        instance.send(channel, controller, value);
    EXPECT_EQ(instance.value(instance.integer), 0);
}

TEST(MidiAssign, PageModesWalkTheLayout) {
    LogCapture log;
    Instance instance;
    instance.map.setPage(1, {"One", 0, 2, 7, 0});
    instance.map.setPage(2, {"Two\n", 1, 3, 0, 9});
    for (u8 mode = k_midiPage; mode < k_numMidiModes; ++mode)
        instance.map.add(rowOf(-1, mode, mode, k_midiEncoder127));
    const struct {
        i32 from, mode, value, to;
    } table[] = {
        {1, k_midiPageRight, 1, 2},  {1, k_midiPageRight, 0, 1},       {2, k_midiPageLeft, 1, 1},
        {3, k_midiPageLeft, 1, 1},   {1, k_midiPageUp, 1, 7},          {2, k_midiPageUp, 1, 2},
        {2, k_midiPageDown, 1, 9},   {2, k_midiPageLeftRight, 127, 1}, {2, k_midiPage, 1, 3},
        {1, k_midiPageUpDown, 1, 7}, {2, k_midiPageUpDown, 127, 9}};
    for (const auto& step : table) {
        instance.set("PCore:PAGE", static_cast<f32>(step.from));
        instance.send(0, step.mode, step.value);
        EXPECT_EQ(instance.page(), step.to) << step.mode << " from " << step.from;
    }
    EXPECT_TRUE(log.has("we are at page 'One' going RIGHT to 2"));
    EXPECT_TRUE(log.has("we are at page 'Two' going LEFT to 1"));
}

TEST(MidiAssign, LinesOfTheFile) {
    Instance instance;
    const AM_ParaMan& table = *instance.man.getParaMan();
    const struct {
        const char* line;
        i32 parameter, mode;
        const char* says;
    } lines[] = {
        {"0:7=tst:Flt, fine, 12, Encoder64, Yes //x, y", instance.flt, 3, "Mode = 3 - fine"},
        {"16:127=tst:Int  rest,normal,0,Encoder127,No", instance.integer, 1, "Type = 0 - E"},
        {"1:1=none, page, 0, Encoder127, No //", -1, 0, "Type = 0"},
        {"1:1=abc:Flt, normal, 0, Other, No //", -1, 1, "Mode = 1"},
        {"1:1= tst:Flt, normal, 0, Encoder127, No", -1, 1, "non-ascii ' tst:Flt'"},
    };
    for (const auto& entry : lines) {
        LogCapture log;
        MidiAssign row;
        EXPECT_TRUE(AM_MidiAssignFile::parseLine(entry.line, &row, table)) << entry.line;
        EXPECT_EQ(row.parameter, entry.parameter);
        EXPECT_EQ(row.mode, entry.mode);
        EXPECT_TRUE(row.flagA == 1 && row.flagB == 1);
        EXPECT_TRUE(log.has(entry.says)) << entry.line;
    }
    LogCapture log;
    for (const char* line :
         {"1:1=tst:Flt, normal, 0, Encoder127 //a, b", "1:1=tst:Flt, normal, 0, Encoder127, ",
          "17:1=tst:Flt, normal, 0, Encoder127, No", "1:128=tst:Flt, normal, 0, Encoder127, No",
          "1:-1=tst:Flt, normal, 0, Encoder127, No", "1:1=tst:Flt, normal, 128, Encoder127, No",
          "1:1=tst:Flt, normalnormalnormalnormalnormalno, 0, Encoder127, No", "1=a,b,0,c,No", ""}) {
        MidiAssign row = rowOf(77, 99);
        EXPECT_FALSE(AM_MidiAssignFile::parseLine(line, &row, table)) << line;
        EXPECT_EQ(row.parameter, 77);
        EXPECT_EQ(log.count("Error: was not able to parse line: " + std::string(line)), 1) << line;
        log.take();
    }
}

TEST(MidiAssign, FileOfAWholeTable) {
    LogCapture log;
    Instance instance;
    const AM_ParaMan& table = *instance.man.getParaMan();
    AM_MemoryFilesystem files;
    MidiAssign row = rowOf(instance.flt, 7, k_midiSemitone);
    row.channel = 5;
    row.page = 9;
    row.selectPage = 1;
    instance.map.add(row);
    instance.map.add(rowOf(-1, 0, k_midiPageUp, k_midiContinuous14));
    instance.map.setPage(9, {"a, b", 1, 2, 3, 200});
    EXPECT_FALSE(AM_MidiAssignFile::writeFile(files, k_path, instance.map, table));
    EXPECT_TRUE(log.has("Can't open midiAssignFile for writing")) << "no folder";
    files.addDirectory("/support");
    ASSERT_TRUE(AM_MidiAssignFile::writeFile(files, k_path, instance.map, table));
    const std::string expected =
        "// Global MidiCC Map\n\n\n// PAGE Layout\n\nPage9:a, b, 1, 2, 3, 0\n"
        "// Controller List\n\n"
        "5:7=tst:Flt, semitone, 9, Continuous7bit, Yes //Test Module:Float, of 100\n"
        "0:0=none, pageUp, 0, Continuous14bit, No //no parameter\n";
    EXPECT_EQ(textOf(files), expected);
    MidiAssignMap other;
    ASSERT_TRUE(AM_MidiAssignFile::readFile(files, k_path, other, table));
    EXPECT_EQ(other.row(0).assigned(), row.assigned());
    EXPECT_EQ(other.row(1).mode, k_midiNone);
    EXPECT_EQ(other.page(9), instance.map.page(9));
    EXPECT_FALSE(other.takeChanged());
    // What can't be read or written stays as it was, in the file and in the table.
    const std::string others = expected + "0:1=none, none, 0, Encoder127, No //no parameter\n";
    files.addFile(k_path, others);
    for (u64 nth = 1; nth <= 8; ++nth) {
        files.failOperation(nth);
        AM_MidiAssignFile::writeFile(files, k_path, instance.map, table);
        files.failOperation(0);
        EXPECT_TRUE(textOf(files).ends_with("0:1=none, none, 0, Encoder127, No //no parameter\n"))
            << nth;
    }
    files.setReadOnly(true);
    EXPECT_FALSE(AM_MidiAssignFile::writeFile(files, k_path, instance.map, table));
    EXPECT_TRUE(log.has("write bytes to midimap file failed a bit"));
    EXPECT_FALSE(AM_MidiAssignFile::readFile(files, "/support/none", other, table));
    EXPECT_TRUE(log.has("No midiassign-file"));
    EXPECT_EQ(other.getNumberOfMIDIassigns(), 2);
    EXPECT_EQ(AM_MidiAssignFile::getMidiAssignPath("v", "p"), k_path);
}

TEST(MidiAssign, ProcessesThatWriteInTurnLoseNoRow) {
    Instance instance;
    const AM_ParaMan& table = *instance.man.getParaMan();
    AM_MemoryFilesystem files;
    files.addDirectory("/support");
    MidiAssignMap a, b, seen;
    const auto write = [&](MidiAssignMap& map) {
        EXPECT_TRUE(AM_MidiAssignFile::writeFile(files, k_path, map, table));
        EXPECT_TRUE(AM_MidiAssignFile::readFile(files, k_path, seen, table));
    };
    a.add(rowOf(instance.flt, 1));
    a.setPage(1, {"A", 0, 0, 0, 0});
    write(a);
    b.add(rowOf(instance.integer, 2));
    b.setPage(2, {"B", 0, 0, 0, 0});
    write(b);
    EXPECT_EQ(seen.getNumberOfMIDIassigns(), 2);
    a.add(rowOf(instance.flt, 3));
    write(a);
    EXPECT_EQ(seen.getNumberOfMIDIassigns(), 3);
    EXPECT_STREQ(seen.page(1).name, "A");
    EXPECT_STREQ(seen.page(2).name, "B");
    EXPECT_EQ(b.removeParameter(instance.integer), 1);
    write(b);
    write(b);
    EXPECT_EQ(seen.getNumberOfMIDIassigns(), 2) << "the removed one has gone, the others' stay";
    EXPECT_EQ(seen.removeParameter(instance.flt), 2);
}

TEST(MidiAssign, ThreadsLearnMoveAndChangeTheTableAtOnce) {
    LogCapture log;
    MidiAssignMap map;
    Instance first, second;
    std::atomic<bool> stop{false};
    const auto play = [&](Instance& instance) {
        for (i32 round = 0; round < 2000; ++round) {
            const AM_AudioThreadScope audio;
            if (round % 4 == 0) instance.wants(instance.flt);
            AM_controllerInput(instance.man, map, instance.state, round & 15, round % 97, 65);
            const f32 value = instance.value(instance.flt);
            EXPECT_TRUE(value >= 0 && value <= 100);
        }
    };
    std::thread editor([&] {
        while (!stop) {
            map.removeParameter(first.flt);
            map.setPage(3, {"three", 1, 2, 3, 4});
            map.setContent(map.content());
        }
    });
    std::thread one(play, std::ref(first)), two(play, std::ref(second));
    one.join();
    two.join();
    stop = true;
    editor.join();
    EXPECT_LE(map.getNumberOfMIDIassigns(), MidiAssignMap::k_maxRows);
    // A target that did not get the lock has waited and is learnt now.
    first.send(0, 99, 65);
    EXPECT_EQ(first.state.learnTargets[3], -1);
}
