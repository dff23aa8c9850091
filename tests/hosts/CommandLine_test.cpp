// What the renderer says and how it ends when it is asked for something that cannot be.
#include "RenderProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

TEST(CommandLine, WrongUsageEndsWithOneAndWritesNothing) {
    TestFolder folder;
    const std::string in = folder / "in.wav", out = folder / "out.wav";
    writeSound(in, noise(1000));
    const std::vector<std::vector<std::string>> cases = {
        {},
        {in},
        {in, out, "third"},
        {"--nonsense", in, out},
        {"--impulse", in, out},
        {"--impulse", "--rate", "999", out},
        {"--rate", "44100", in, out},
        {"--list", in},
        {"--list", "--describe", "A-B"},
        {"--describe"},
        {"--describe", "A-B", "--set", "FB=3"},
        {"--json", in, out},
        {"--code", std::string(32, 'A'), in, out},
        {"--set", "FB", in, out},
        {"--set", "=3", in, out},
        {"--set", "FB=loud", in, out},
        {"--set", "FB=100.5", in, out},
        {"--set", "FB=nan", in, out},
        {"--set", "Nothing=1", in, out},
        {"--set", "CPU=1", in, out},
        {"--set", "Rnd=1", in, out},
        {"--press", "FB", in, out},
        {"--press", "Nothing", in, out},
        {"--block", "0", in, out},
        {"--block", "65537", in, out},
        {"--block", "100", "--no-base-latency", in, out},
        {"--tail", "-1", in, out},
        {"--tail", "forever", in, out},
        {"--bits", "20", in, out},
        {"--bits", "32f", in, folder / "out.flac"},
        {"--bits", "16", in, folder / "out.ogg"},
        {in, folder / "out.mp3"},
        {in, folder / "out"},
    };
    for (const std::vector<std::string>& arguments : cases) {
        const ProcessResult result = render(folder, arguments);
        std::string text;
        for (const std::string& argument : arguments)
            text += argument + ' ';
        EXPECT_EQ(result.exitCode, 1) << text;
        EXPECT_TRUE(result.errors.starts_with("glassmere-render: ")) << text << result.errors;
        EXPECT_EQ(folder.files(), std::vector<std::string>{"in.wav"}) << text;
    }
}

TEST(CommandLine, HelpAndVersionGoToStandardOutput) {
    TestFolder folder;
    const ProcessResult help = render(folder, {"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option :
         {"--impulse", "--list", "--describe", "--code", "--set", "--press", "--rate", "--block",
          "--no-base-latency", "--in-place", "--tail", "--bits", "--force", "--quiet", "--version"})
        EXPECT_NE(help.output.find(option), std::string::npos) << option;
    EXPECT_EQ(render(folder, {"--version"}).output, "glassmere-render 1.0.0\n");
}

TEST(CommandLine, BadFilesEndWithTwoAndLeaveNothing) {
    TestFolder folder;
    const std::string in = folder / "in.wav", out = folder / "out.wav";
    writeSound(in, noise(1000));
    writeSound(folder / "three.wav", noise(100, 3));
    std::ofstream(folder / "text.wav") << "this is no sound";
    std::ofstream(folder / "empty.wav");
    std::filesystem::create_directory(folder / "folder.wav");
    const std::vector<std::string> before = folder.files();
    const std::vector<std::vector<std::string>> cases = {
        {folder / "missing.wav", out},   {folder / "text.wav", out},
        {folder / "empty.wav", out},     {folder / "three.wav", out},
        {folder / "folder.wav", out},    {in, folder / "folder.wav", "--force"},
        {in, folder / "nowhere/out.wav"}};
    for (const std::vector<std::string>& arguments : cases) {
        const ProcessResult result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments[0] << ' ' << arguments[1];
        EXPECT_NE(result.errors, "");
        EXPECT_EQ(folder.files(), before) << arguments[0] << ' ' << arguments[1];
    }
    EXPECT_NE(render(folder, {folder / "three.wav", out}).errors.find("3 channels"),
              std::string::npos);
}

TEST(CommandLine, OverwritesOnlyWithForce) {
    TestFolder folder;
    const std::string in = folder / "in.wav", out = folder / "out.wav";
    writeSound(in, noise(1000));
    std::ofstream(out) << "precious";
    EXPECT_EQ(render(folder, {in, out}).exitCode, 2);
    std::string kept;
    std::ifstream(out) >> kept;
    EXPECT_EQ(kept, "precious");
    EXPECT_EQ(render(folder, {"--force", "--tail", "0", in, out}).exitCode, 0);
    EXPECT_EQ(readSound(out).frames(), 1000u);
    // A file may be its own target: it is read to its end before it is replaced.
    EXPECT_EQ(render(folder, {"--force", "--tail", "0", in, in}).exitCode, 0);
    EXPECT_EQ(readSound(in).frames(), 1000u);
}

TEST(CommandLine, InterruptLeavesNothing) {
    for (int signalNumber : {SIGINT, SIGTERM}) {
        TestFolder folder;
        RenderProcess process(folder, {"--impulse", "--tail", "86400", folder / "out.wav"});
        // The temporary file shows that the render runs; without a signal it would run for long.
        while (folder.files().empty() && process.isRunning())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        process.send(signalNumber);
        EXPECT_EQ(process.wait().exitCode, 130);
        EXPECT_TRUE(folder.files().empty());
    }
}
