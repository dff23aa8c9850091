// The banks of MIDI programs, their cache file, and short MIDI messages.
#include "AM_EventQueue.h"
#include "AM_MemoryFilesystem.h"
#include "AM_MidiPrograms.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

const AM_FilePath k_banks("/patches/MIDI Programs");
const AM_FilePath k_cache("/patches/MIDI Programs/Midi.Bank.Cache.txt");
const std::string k_header(60, 'h');

TEST(MidiPrograms, FilesAreBankZeroAndEachFolderTheNextBank) {
    LogCapture log;
    AM_MemoryFilesystem files;
    const auto add = [&](const char* name, const std::string& content) {
        files.addFile(k_banks / name, content);
    };
    const std::string long57(57, 'x');
    add("a.Q3P", "text a");
    add("b.fxp", k_header + "text b");
    add("c.fxp", k_header); // counts, but holds no state
    add("d.txt", "no preset");
    add("e.two.q3p", std::string(size_t{1} << 20, 'e'));
    add("f.q3p", std::string((size_t{1} << 20) + 1, 'f'));
    add("g.q3p/inside.q3p", "a folder is a bank, whatever its name");
    add("Midi.Bank.Cache.txt", "");
    add("Second/q3p", "no extension");
    add(("Second/" + long57 + "\xc3\xa9.q3p").c_str(), "long");
    files.addDirectory(k_banks / "Third");

    const auto table = AM_readMidiPrograms(files);
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"0:0 a", "text a"},
        {"0:1 b", "text b"},
        {"0:3 e.two", std::string(size_t{1} << 20, 'e')},
        {"1:0 inside", "a folder is a bank, whatever its name"},
        {"2:0 " + long57, "long"},
    };
    ASSERT_EQ(table->programs.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(table->programs[i].name, expected[i].first);
        EXPECT_TRUE(table->programs[i].text == expected[i].second) << expected[i].first;
    }
    EXPECT_EQ(table->find(0, 3), &table->programs[2]);
    EXPECT_EQ(table->find(0, 2), nullptr);
    EXPECT_EQ(log.count("void AM_AudioMan::createMidiBank()"), 7);
    EXPECT_TRUE(log.has("c.fxp holds no state"));
    EXPECT_TRUE(log.has("f.q3p is too long"));

    EXPECT_TRUE(AM_writeMidiBankCache(files, *table));
    EXPECT_EQ(files.content(k_cache), "// Cache file that speeds up loading of MIDI Banks\n\n\n"
                                      "#Banks: up to date\n"
                                      "Bank 1: g.q3p (1)\nBank 2: Second (1)\nBank 3: Third (0)\n");
    AM_readMidiBankCache(files);
    EXPECT_FALSE(log.has("Can't"));
    files.setReadOnly(true);
    EXPECT_FALSE(AM_writeMidiBankCache(files, *table));
    files.remove(k_cache);
    AM_readMidiBankCache(files);
    EXPECT_EQ(log.count("WRITING midiBankCache"), 1);
    EXPECT_EQ(log.count("Can't open midiBankCacheFile for writing"), 1);
    EXPECT_EQ(log.count("Can't just load cache file... bugger"), 1);
}

TEST(MidiPrograms, ASingleFileOrNothingIsNoBank) {
    AM_MemoryFilesystem files;
    EXPECT_TRUE(AM_readMidiPrograms(files)->bankFolders.empty());
    files.addFile(k_banks / "only.q3p", "text");
    EXPECT_TRUE(AM_readMidiPrograms(files)->programs.empty());
    files.addFile(k_banks / "second.q3p", "text");
    EXPECT_EQ(AM_readMidiPrograms(files)->programs.size(), 2u);
    files.remove(k_banks);
    files.addFile(k_banks / "folder/only.q3p", "text");
    EXPECT_NE(AM_readMidiPrograms(files)->find(1, 0), nullptr);
}

TEST(MidiPrograms, BanksAndBytesAreBounded) {
    LogCapture log;
    AM_MemoryFilesystem files;
    for (int i = 0; i < 129; ++i) {
        const std::string number = std::to_string(1000 + i);
        files.addFile(k_banks / (number + ".q3p").c_str(), "text");
        files.addFile(k_banks / ("bank " + number + "/a.q3p").c_str(), "text");
    }
    auto table = AM_readMidiPrograms(files);
    EXPECT_EQ(table->programs.size(), 128u + 127u);
    EXPECT_NE(table->find(0, 127), nullptr);
    EXPECT_NE(table->find(127, 0), nullptr);
    EXPECT_TRUE(log.has("more than 128 programs"));
    EXPECT_TRUE(log.has("more than 127 MIDI banks"));

    files.remove(k_banks);
    for (int i = 0; i < 65; ++i)
        files.addFile(k_banks / (std::to_string(100 + i) + ".q3p").c_str(),
                      std::string(size_t{1} << 20, 't'));
    EXPECT_EQ(AM_readMidiPrograms(files)->programs.size(), 64u);
    EXPECT_EQ(log.count("is more than all programs may take"), 1);
}

// Whatever operation fails, what is read is right and nothing is thrown.
TEST(MidiPrograms, EveryFailingOperationLosesNoMoreThanItsOwnPart) {
    LogCapture log;
    AM_MemoryFilesystem files;
    files.addFile(k_banks / "a.q3p", "a");
    files.addFile(k_banks / "folder/b.q3p", "b");
    AM_readMidiPrograms(files);
    const u64 operations = files.operations();
    for (u64 nth = 1; nth <= operations; ++nth) {
        files.failOperation(nth);
        const auto table = AM_readMidiPrograms(files);
        EXPECT_LE(table->programs.size(), 2u);
        for (const AM_MidiProgram& row : table->programs)
            EXPECT_EQ(row.text, std::string_view(row.name).substr(4));
    }
}

TEST(MidiMessage, ShortMessagesAreTakenApart) {
    using Message = AM_MidiMessage;
    constexpr f32 k_full = 127 * 0.007874016f;
    constexpr f32 k_bend = 0.00012207031f;
    const struct {
        std::vector<u8> bytes;
        Message expected;
    } rows[] = {
        {{0x83, 60, 64}, {Message::k_event, 3, 3, k_eventNote, 60, 0, 0, 0}},
        {{0x9F, 60, 64}, {Message::k_event, 3, 15, k_eventNote, 60, 64, 0, 0}},
        {{0xA0, 5, 127}, {Message::k_event, 3, 0, k_eventPressure, 5, k_full, 0, 0}},
        {{0xB2, 7, 99}, {Message::k_controller, 3, 2, 0, 0, 0, 7, 99}},
        {{0xC1, 12, 99}, {Message::k_program, 2, 1, 0, 0, 0, 12, 0}},
        {{0xD0, 127}, {Message::k_event, 2, 0, k_eventPressure, -1, k_full, 0, 0}},
        {{0xE0, 0, 0}, {Message::k_event, 3, 0, k_eventPitchBend, 0, -8192 * k_bend, 0, 0}},
        {{0xE0, 0, 64}, {Message::k_event, 3, 0, k_eventPitchBend, 0, 0, 0, 0}},
        {{0xE0, 127, 127}, {Message::k_event, 3, 0, k_eventPitchBend, 0, 8191 * k_bend, 0, 0}},
        {{}, {}},
        {{0xC0}, {}},
        {{0x90, 60}, {}},
        {{0x90, 0x90, 60}, {}},
        {{60, 64, 64}, {}},
        {{0xF0, 1, 0xF7}, {}},
        {{0xFF, 0, 0}, {}},
    };
    const auto all = [](const Message& m) {
        return std::tuple(static_cast<i32>(m.kind), m.used, m.channel, m.type, m.field1, m.field2,
                          m.data1, m.data2);
    };
    for (const auto& row : rows)
        EXPECT_EQ(all(AM_parseMidi(row.bytes.data(), static_cast<i32>(row.bytes.size()))),
                  all(row.expected))
            << testing::PrintToString(row.bytes);
}

} // namespace
