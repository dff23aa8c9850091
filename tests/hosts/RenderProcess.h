// Runs glassmere-render as a process, and makes and reads the sound files around it.
#pragma once

#include "AM_Files/TemporaryFolder.h"

#include <sndfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using Arguments = std::vector<std::string>;

struct ProcessResult {
    int exitCode = -1; // 128 + the signal if one ended the process
    std::string output;
    std::string errors;
};

// A folder of its own for one test.
struct TestFolder : TemporaryFolder {
    // What is in it, sorted; without the process's texts.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& [name, content] : snapshot())
            if (name != ".stdout" && name != ".stderr") names.push_back(name);
        return names;
    }
};

// Starts the renderer or another program; standard output and error go to files in `folder`.
class RenderProcess {
public:
    RenderProcess(const TestFolder& inFolder, Arguments arguments,
                  std::string program = GLASSMERE_RENDER)
        : folder(inFolder) {
        std::vector<char*> pointers = {program.data()};
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        for (const auto& [file, name] : {std::pair{1, ".stdout"}, {2, ".stderr"}})
            posix_spawn_file_actions_addopen(&actions, file, (folder / name).c_str(),
                                             O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int error =
            posix_spawn(&pid, program.c_str(), &actions, nullptr, pointers.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0) throw std::runtime_error("can't start " + program);
    }
    void send(int signalNumber) const { kill(pid, signalNumber); }
    bool isRunning() {
        if (!ended) ended = waitpid(pid, &status, WNOHANG) == pid;
        return !ended;
    }
    ProcessResult wait() {
        if (!ended) waitpid(pid, &status, 0);
        ended = true;
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return {code, folder.read(".stdout"), folder.read(".stderr")};
    }

private:
    pid_t pid = -1;
    int status = 0;
    bool ended = false;
    const TestFolder& folder;
};

inline ProcessResult render(const TestFolder& folder, const Arguments& arguments) {
    return RenderProcess(folder, arguments).wait();
}

// What a command line without an output is to end with.
struct FailingCase {
    Arguments arguments;
    int exitCode;
    const char* error; // stands somewhere in what is printed
};

// Each case asked for an impulse response ends as it says and leaves no file.
inline void expectFailures(const TestFolder& folder, const std::vector<FailingCase>& cases) {
    for (const FailingCase& c : cases) {
        Arguments arguments = c.arguments;
        arguments.insert(arguments.end(), {"--impulse", folder / "out.wav"});
        const ProcessResult result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << result.errors;
        EXPECT_NE(result.errors.find(c.error), std::string::npos) << result.errors;
        EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
    }
}

struct Sound {
    int channels = 2;
    int rate = 44100;
    int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    std::vector<float> samples; // interleaved

    size_t frames() const { return samples.size() / static_cast<size_t>(channels); }
};

// Noise whose magnitude is between 0.1 and 0.6 in every sample, so that no block is silent.
inline Sound noise(size_t frames, int channels = 2) {
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> magnitude(0.1f, 0.6f);
    Sound sound;
    sound.channels = channels;
    sound.samples.resize(frames * static_cast<size_t>(channels));
    for (float& sample : sound.samples)
        sample = (generator() & 1) ? magnitude(generator) : -magnitude(generator);
    return sound;
}

inline void writeSound(const std::string& path, const Sound& sound) {
    SF_INFO info = {};
    info.channels = sound.channels;
    info.samplerate = sound.rate;
    info.format = sound.format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_TRUE(file) << sf_strerror(nullptr);
    sf_writef_float(file, sound.samples.data(), static_cast<sf_count_t>(sound.frames()));
    sf_close(file);
}

// Fails the running test if the file can't be read.
inline Sound readSound(const std::string& path) {
    SF_INFO info = {};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_TRUE(file) << path << ": " << sf_strerror(nullptr);
    if (!file) return {};
    Sound sound{info.channels, info.samplerate, info.format, {}};
    sound.samples.resize(static_cast<size_t>(info.frames * info.channels));
    EXPECT_EQ(sf_readf_float(file, sound.samples.data(), info.frames), info.frames);
    sf_close(file);
    return sound;
}
