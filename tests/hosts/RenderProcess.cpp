#include "RenderProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
std::string readText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

constexpr const char* k_outputName = ".stdout";
constexpr const char* k_errorName = ".stderr";
} // namespace

TestFolder::TestFolder() {
    std::string pattern = (fs::temp_directory_path() / "glassmere-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path = pattern;
}

TestFolder::~TestFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::vector<std::string> TestFolder::files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path)) {
        const std::string name = entry.path().filename().string();
        if (name != k_outputName && name != k_errorName) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

RenderProcess::RenderProcess(const TestFolder& folder, const std::vector<std::string>& arguments)
    : outputPath(folder / k_outputName), errorPath(folder / k_errorName) {
    std::vector<std::string> texts = {GLASSMERE_RENDER};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorPath.c_str(), flags, 0600);
    const int error =
        posix_spawn(&pid, GLASSMERE_RENDER, &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("can't start " GLASSMERE_RENDER);
}

void RenderProcess::send(int signalNumber) const {
    kill(pid, signalNumber);
}

bool RenderProcess::isRunning() {
    if (!ended) ended = waitpid(pid, &status, WNOHANG) == pid;
    return !ended;
}

ProcessResult RenderProcess::wait() {
    if (!ended) waitpid(pid, &status, 0);
    ended = true;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, readText(outputPath), readText(errorPath)};
}

ProcessResult render(const TestFolder& folder, const std::vector<std::string>& arguments) {
    return RenderProcess(folder, arguments).wait();
}

Sound noise(size_t frames, int channels, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> magnitude(0.1f, 0.6f);
    Sound sound;
    sound.channels = channels;
    sound.samples.resize(frames * static_cast<size_t>(channels));
    for (float& sample : sound.samples)
        sample = (generator() & 1) ? magnitude(generator) : -magnitude(generator);
    return sound;
}

void writeSound(const std::string& path, const Sound& sound) {
    SF_INFO info = {};
    info.channels = sound.channels;
    info.samplerate = sound.rate;
    info.format = sound.format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_TRUE(file) << sf_strerror(nullptr);
    sf_writef_float(file, sound.samples.data(), static_cast<sf_count_t>(sound.frames()));
    sf_close(file);
}

Sound readSound(const std::string& path) {
    SF_INFO info = {};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_TRUE(file) << path << ": " << sf_strerror(nullptr);
    Sound sound;
    if (!file) return sound;
    sound.channels = info.channels;
    sound.rate = info.samplerate;
    sound.format = info.format;
    sound.samples.resize(static_cast<size_t>(info.frames * info.channels));
    EXPECT_EQ(sf_readf_float(file, sound.samples.data(), info.frames), info.frames);
    sf_close(file);
    return sound;
}
