// Presets and the data folder, as a user of the renderer meets them.
#include "RenderProcess.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(Presets, RenderTheSameBitsAsWhatTheyWereSavedFrom) {
    TestFolder folder;
    const std::string preset = folder / "caf\xc3\xa9 $.q3p";
    const Arguments impulse = {"--impulse", "--tail", "0.2", "--quiet", "--force"};
    const auto bits = [&](Arguments arguments) {
        arguments.insert(arguments.end(), impulse.begin(), impulse.end());
        arguments.push_back(folder / "out.wav");
        const ProcessResult result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return readSound(folder / "out.wav").samples;
    };
    const std::vector<float> before =
        bits({"--code", "DTNR14P-BOB'S", "--set", "FB=77.25", "--set", "Freq=7.5", "--save-preset",
              preset, "--comments", "--meta", "Author=Zo\xc3\xab 'Z' */", "--meta", "usage=pads"});
    EXPECT_TRUE(bits({"--preset", preset}) == before);
    const std::string text = folder.read(preset);
    EXPECT_TRUE(text.starts_with("/*@meta\n\nAuthor:\n'Zo\xc3\xab \\'Z\\' *\\/'\n")) << text;
    EXPECT_NE(text.find("\nFB=77.25\t\t\t// Feedback\n"), text.npos);
    EXPECT_EQ(text.find("$$$$"), text.npos);

    folder.write("host.fxp", std::string(60, '\1') + text);
    EXPECT_TRUE(bits({"--preset", folder / "host.fxp"}) == before);
    EXPECT_FALSE(bits({"--preset", preset, "--code", "FTUR237S-ROOM"}) == before);
    // Read and written without a render, it is the same text.
    const std::string copy = folder / "copy.q3p";
    const ProcessResult saved =
        render(folder, {"--preset", preset, "--comments", "--save-preset", copy});
    EXPECT_EQ(saved.exitCode, 0) << saved.errors;
    EXPECT_EQ(folder.read(copy), text);
    // Not over what is there, unless asked to.
    folder.write(copy, "mine");
    EXPECT_EQ(render(folder, {"--save-preset", copy}).exitCode, 1);
    EXPECT_EQ(folder.read(copy), "mine");
    EXPECT_EQ(render(folder, {"--save-preset", copy, "--force"}).exitCode, 0);
    EXPECT_EQ(render(folder, {"--save-preset", folder / "no/such/folder.q3p"}).exitCode, 2);
}

TEST(Presets, TellWhatIsWrongWithTheCommandLineOrTheFile) {
    TestFolder folder;
    folder.write("noise.q3p", "\x01\x02 noise");
    folder.write("short.fxp", "too short");
    expectFailures(
        folder,
        {
            {{"--preset", folder / "none.q3p"}, 2, "is not there"},
            {{"--preset", folder / "noise.q3p"}, 2, "is no preset"},
            {{"--preset", folder / "short.fxp"}, 2, "is no preset"},
            {{"--comments"}, 1, "--save-preset"},
            {{"--save-preset", folder / "a.q3p", "--meta", "Mood=sad"}, 1, "no metadata 'Mood'"},
            {{"--save-preset", folder / "a.q3p", "--meta", "Author"}, 1, "KEY=VALUE"},
            {{"--data", folder / "nowhere"}, 1, "wants a folder"},
        });
}

TEST(Presets, BeginWithTheDefaultOfTheDataFolder) {
    TestFolder folder;
    const std::string data = folder / "data";
    folder.write(data + "/Presets/Glassmere/default.q3p",
                 "#cm=FDN\nParams='FTUR237S-ROOM'\nFB=12\n");
    const auto code = [&](const Arguments& more) {
        Arguments arguments = {"--data", data, "--save-preset", folder / "p.q3p", "--force"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProcessResult result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return folder.read(folder / "p.q3p");
    };
    const std::string started = code({});
    EXPECT_NE(started.find("Params='FTUR237S-ROOM'"), started.npos);
    EXPECT_NE(started.find("\nFB=12.00\n"), started.npos);
    EXPECT_NE(started.find("PFile='default.q3p'"), started.npos);
    // One that is none leaves the built-in sound.
    folder.write(data + "/Presets/Glassmere/default.q3p", "noise");
    EXPECT_NE(code({}).find("Params='press button'"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_directory(data + "/Presets/Glassmere/MIDI Programs"));
}

} // namespace
