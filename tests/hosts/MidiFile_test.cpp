// Standard MIDI Files, whole and damaged, made byte by byte.
#include "Errors.h"
#include "MidiFile.h"
#include "RenderProcess.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using Bytes = std::vector<int>;

std::string chunk(const std::string& name, const std::string& content) {
    std::string result = name;
    for (int shift = 24; shift >= 0; shift -= 8)
        result += static_cast<char>(content.size() >> shift);
    return result + content;
}

std::string text(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

std::string header(int format, int tracks, int division) {
    return chunk("MThd", text({0, format, 0, tracks, division >> 8, division & 0xFF}));
}

std::string track(const Bytes& bytes) {
    return chunk("MTrk", text(bytes));
}

class MidiFile : public testing::Test {
protected:
    std::vector<MidiFileEvent> read(const std::string& content) {
        std::ofstream(path, std::ios::binary) << content;
        return readMidiFile(path);
    }
    // "" if it is read.
    std::string errorOf(const std::string& content) {
        try {
            return read(content), "";
        } catch (const RenderError& error) {
            return error.what();
        }
    }
    TestFolder folder;
    const std::string path = folder / "song.mid";
};

TEST_F(MidiFile, TracksAreMergedInTheTimeOfAllTempoChanges) {
    std::string longText = text({0x00, 0xFF, 0x01, 0x81, 0x48}) + std::string(200, 't');
    const std::string file =
        header(1, 3, 96) +
        track({0x00, 0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40,       // 1 s a quarter
               0x81, 0x40, 0xFF, 0x51, 0x03, 0x03, 0xD0, 0x90, // at 192 ticks: 0.25 s
               0x00, 0xFF, 0x2F, 0x00}) +
        chunk("XYZa", "of no interest") +
        chunk("MTrk", longText + text({0x60, 0x90, 60,   100,  0x60, 60,   0, // running status
                                       0x60, 0xE1, 0x00, 0x40,                //
                                       0x00, 0xF0, 0x03, 1,    2,    0xF7,    //
                                       0x00, 0xC2, 5,    0x00, 0xFF, 0x2F, 0x00})) +
        track({0x60, 0xB3, 7, 64, 0x00, 0xA3, 1, 2, 0x00, 0xD3, 3, 0x00, 0x83, 4, 5}) + // no end
        std::string(3, '\0');
    const std::vector<MidiFileEvent> events = read(file);
    const std::vector<std::pair<double, Bytes>> expected = {
        {1.0, {0x90, 60, 100}}, {1.0, {0xB3, 7, 64}}, {1.0, {0xA3, 1, 2}},   {1.0, {0xD3, 3}},
        {1.0, {0x83, 4, 5}},    {2.0, {0x90, 60, 0}}, {2.25, {0xE1, 0, 64}}, {2.25, {0xC2, 5}},
    };
    ASSERT_EQ(events.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_DOUBLE_EQ(events[i].seconds, expected[i].first) << i;
        EXPECT_EQ(Bytes(events[i].bytes.begin(), events[i].bytes.begin() + events[i].length),
                  expected[i].second);
    }
}

TEST_F(MidiFile, KnowsTheTimeDivisions) {
    const struct {
        int division;
        double seconds; // of a tick
    } rows[] = {{96, 0.5 / 96},       {0x7FFF, 0.5 / 0x7FFF},    {0xE728, 0.001},
                {0xE250, 1.0 / 2400}, {0xE304, 1001.0 / 120000}, {0xE804, 1.0 / 96}};
    for (const auto& row : rows) {
        const auto events = read(header(0, 1, row.division) + track({0x01, 0xC0, 1}));
        ASSERT_EQ(events.size(), 1u);
        EXPECT_DOUBLE_EQ(events[0].seconds, row.seconds);
    }
}

TEST_F(MidiFile, DamagedFilesAreErrorsThatNameThem) {
    const std::string note = track({0x00, 0x90, 60, 100, 0x00, 0xFF, 0x2F, 0x00});
    const std::string bad[] = {
        "",
        "RIFF, perhaps",
        "MThd",
        header(0, 1, 96),
        header(0, 0, 96) + note,
        header(0, 2, 96) + note,
        header(2, 1, 96) + note,
        header(0, 1, 0) + note,
        header(0, 1, 0xE700) + note,
        header(0, 1, 0x8001) + note,
        chunk("MThd", "1234") + note,
        header(0, 1, 96) + note.substr(0, note.size() - 1),
        header(0, 1, 96) + track({0x00, 60, 100}),
        header(0, 1, 96) + track({0x00, 0x90, 60, 0x90}),
        header(0, 1, 96) + track({0x00, 0x90}),
        header(0, 1, 96) + track({0x00, 0xF4}),
        header(0, 1, 96) + track({0x00, 0xFF, 0x51, 0x7F, 0x01}),
        header(0, 1, 96) + track({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}),
        header(0, 1, 96) + track({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 0xC0, 1}),
        header(0, 1, 96) +
            chunk("MTrk", text({0, 0xF0, 0x90, 0x80, 0x00}) + std::string(1 << 18, 0)),
        header(0, 1, 96) + chunk("JUNK", std::string(16 << 20, 0)) + note,
    };
    for (const std::string& content : bad) {
        SCOPED_TRACE(testing::PrintToString(content.substr(0, 40)));
        EXPECT_NE(errorOf(content).find(path), std::string::npos);
    }
    EXPECT_THROW(readMidiFile(folder / "missing.mid"), RenderError);
    EXPECT_THROW(readMidiFile(folder / ""), RenderError);
    EXPECT_THROW(readMidiFile(""), RenderError);
    // Messages that say less than their kind has room for are no reason to refuse a file.
    for (const int type : {0x00, 0x20, 0x21, 0x51, 0x54, 0x58, 0x59, 0x7F})
        EXPECT_EQ(errorOf(header(0, 1, 96) + track({0x00, 0xFF, type, 0x00})), "") << type;
}

TEST_F(MidiFile, ChangedBytesNeverDoMoreThanAnError) {
    const std::string file =
        header(1, 2, 96) + track({0x00, 0xFF, 0x51, 0x03, 7, 8, 9, 0x00, 0xF0, 0x02, 1, 0xF7}) +
        track({0x10, 0x90, 60, 1, 0x81, 0x00, 62, 1, 0x00, 0xF7, 0x01, 1, 0x00, 0xFF, 0x2F, 0x00});
    std::mt19937 random(7);
    int whole = 0;
    for (int round = 0; round < 400; ++round) {
        std::string content = file;
        content[random() % content.size()] = static_cast<char>(random());
        if (round % 5 == 0) content.resize(random() % content.size());
        whole += errorOf(content).empty();
    }
    EXPECT_GT(whole, 40);
}

} // namespace
