// MIDI files, assignments, programs and preferences, as a user of the renderer meets them.
#include "RenderProcess.h"

#include <gtest/gtest.h>

namespace {

// A file of one track at 1000 ticks a second; each event is its delta in ticks and its bytes.
std::string midiFile(const std::vector<std::pair<int, std::string>>& events) {
    std::string track("\0\xff\x51\3\x07\xa1\x20", 7); // 500000 microseconds a quarter
    for (const auto& [delta, bytes] : events) {
        track += static_cast<char>(0x80 | delta >> 7);
        track += static_cast<char>(delta & 0x7f);
        track += bytes;
    }
    track += std::string("\0\xff\x2f\0", 4);
    const auto word = [](size_t n) {
        return std::string{static_cast<char>(n >> 24), static_cast<char>(n >> 16 & 255),
                           static_cast<char>(n >> 8 & 255), static_cast<char>(n & 255)};
    };
    return "MThd" + word(6) + std::string("\0\0\0\1\1\xf4", 6) + "MTrk" + word(track.size()) +
           track;
}

// Where the level of a dry render first changes by more than a hundredth.
size_t firstChange(const std::vector<float>& samples, float level) {
    for (size_t frame = 0; frame < samples.size() / 2; ++frame)
        if (std::abs(samples[2 * frame] - level) > 0.01f) return frame;
    return samples.size();
}

TEST(MidiRender, ControllersAndProgramsActWhereTheFileSays) {
    TestFolder folder;
    Sound steady;
    steady.rate = 48000;
    steady.samples.assign(2 * 48000, 0.5f);
    writeSound(folder / "in.wav", steady);
    folder.write("assign.txt", "// Global MidiCC Map\n\n\n// Controller List\n\n"
                               "0:20=FDN:Dry, normal, 0, Continuous7bit, No //x\n");
    folder.write("move.mid", midiFile({{500, "\xb0\x14\x01"}}));
    const auto run = [&](Arguments arguments) {
        arguments.insert(arguments.end(), {"--set", "Wet=0", "--tail", "0", "--force", "--quiet",
                                           folder / "in.wav", folder / "out.wav"});
        const ProcessResult result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return readSound(folder / "out.wav").samples;
    };
    for (const char* block : {"1", "64", "100", "1000"}) {
        const std::vector<float> moved = run(
            {"--midi", folder / "move.mid", "--assign", folder / "assign.txt", "--block", block});
        const size_t frame = firstChange(moved, 0.5f);
        EXPECT_GE(frame, 24000u - 64) << block;
        EXPECT_LE(frame, 24000u + 256) << block << ": a ramp takes its time";
        EXPECT_LT(moved.back(), 0.01f);
    }

    const std::string data = folder / "data";
    for (const char* dry : {"40", "60"})
        folder.write(data + "/Presets/Glassmere/MIDI Programs/A/" + dry + ".q3p",
                     std::string("#cm=FDN\nWet=0\nDry=") + dry + "\n");
    folder.write("program.mid", midiFile({{250, std::string("\xb0\0\1", 3)}, {0, "\xc0\1"}}));
    const std::vector<float> switched = run(
        {"--data", data, "--program", "1:0", "--midi", folder / "program.mid", "--block", "64"});
    EXPECT_FLOAT_EQ(switched[2 * 11000], 0.2f);
    EXPECT_FLOAT_EQ(switched.back(), 0.3f);
    EXPECT_NEAR(static_cast<double>(firstChange(switched, 0.2f)), 12000, 80);
    EXPECT_TRUE(run({"--pref", "BaseLatencyBuffer16=NO"}) == run({})) << "latency is made up for";
    // What a render sets is nobody's preference.
    EXPECT_FALSE(std::filesystem::exists(data + "/Support/com.vela.Glassmere.Preferences.txt"));
}

TEST(MidiRender, TellsWhatIsWrong) {
    TestFolder folder;
    folder.write("bad.mid", "MThd nonsense");
    expectFailures(folder, {
                               {{"--midi", folder / "bad.mid"}, 2, "bad.mid"},
                               {{"--assign", folder / "none.txt"}, 2, "none.txt"},
                               {{"--program", "3"}, 1, "BANK:NUMBER"},
                               {{"--program", "1:5"}, 2, "no program 1:5"},
                               {{"--pref", "Colour=red"}, 1, "no such preference"},
                               {{"--pref", "NKS Auto Map=NO"}, 1, "does not concern"},
                           });
}

} // namespace
