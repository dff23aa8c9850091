// What the renderer says and how it ends when it is asked for something that cannot be.
#include "RenderProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

namespace {
// Runs the renderer with the words of `line`; "@name" is a file of the folder.
ProcessResult run(const TestFolder& folder, const std::string& line) {
    Arguments arguments;
    std::istringstream words(line);
    for (std::string word; words >> word;)
        arguments.push_back(word[0] == '@' ? folder / word.substr(1) : word);
    return render(folder, arguments);
}
} // namespace

TEST(CommandLine, WrongUsageEndsWithOneAndWritesNothing) {
    TestFolder folder;
    writeSound(folder / "in.wav", noise(1000));
    std::vector<std::string> lines = {"", "--describe"};
    std::istringstream files(
        "@in.wav;@in.wav @out.wav third;--impulse @in.wav @out.wav;--impulse --rate 999 @out.wav;"
        "--list @in.wav;--list --describe A-B;--describe A-B --set FB=3;"
        "--bits 32f @in.wav @out.flac;--bits 16 @in.wav @out.ogg;@in.wav @out.mp3;@in.wav @out");
    for (std::string line; std::getline(files, line, ';');)
        lines.push_back(line);
    std::istringstream options(
        "--nonsense;--rate 44100;--json;--code AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA;--set FB;--set =3;"
        "--set FB=loud;--set FB=100.5;--set FB=nan;--set Nothing=1;--set CPU=1;--set Rnd=1;"
        "--press FB;--press Nothing;--block 0;--block 65537;--block 100 --no-base-latency;"
        "--tail -1;--tail forever;--bits 20");
    for (std::string option; std::getline(options, option, ';');)
        lines.push_back(option + " @in.wav @out.wav");
    for (const std::string& line : lines) {
        const ProcessResult result = run(folder, line);
        EXPECT_EQ(result.exitCode, 1) << line;
        EXPECT_TRUE(result.errors.starts_with("glassmere-render: ")) << line << result.errors;
        EXPECT_EQ(folder.files(), std::vector<std::string>{"in.wav"}) << line;
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
    writeSound(folder / "in.wav", noise(1000));
    writeSound(folder / "three.wav", noise(100, 3));
    std::ofstream(folder / "text.wav") << "this is no sound";
    std::ofstream(folder / "empty.wav");
    std::filesystem::create_directory(folder / "folder.wav");
    const std::vector<std::string> before = folder.files();
    for (const char* line : {"@missing.wav @out.wav", "@text.wav @out.wav", "@empty.wav @out.wav",
                             "@three.wav @out.wav", "@folder.wav @out.wav",
                             "@in.wav @folder.wav --force", "@in.wav @nowhere/out.wav"}) {
        const ProcessResult result = run(folder, line);
        EXPECT_EQ(result.exitCode, 2) << line;
        EXPECT_NE(result.errors, "");
        EXPECT_EQ(folder.files(), before) << line;
    }
    EXPECT_NE(run(folder, "@three.wav @out.wav").errors.find("3 channels"), std::string::npos);
}

TEST(CommandLine, OverwritesOnlyWithForce) {
    TestFolder folder;
    const std::string out = folder / "out.wav";
    writeSound(folder / "in.wav", noise(1000));
    std::ofstream(out) << "precious";
    EXPECT_EQ(run(folder, "@in.wav @out.wav").exitCode, 2);
    std::string kept;
    std::ifstream(out) >> kept;
    EXPECT_EQ(kept, "precious");
    // A file may be its own target: it is read to its end before it is replaced.
    for (const char* files : {"@in.wav @out.wav", "@out.wav @out.wav"}) {
        EXPECT_EQ(run(folder, std::string("--force --tail 0 ") + files).exitCode, 0);
        EXPECT_EQ(readSound(out).frames(), 1000u);
    }
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
