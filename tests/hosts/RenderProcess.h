// Runs glassmere-render as a process, and makes and reads the sound files around it.
#pragma once

#include <sndfile.h>

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

struct ProcessResult {
    int exitCode = -1; // 128 + the signal if one ended the process
    std::string output;
    std::string errors;
};

// A folder of its own for one test, deleted with it.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    std::string operator/(const std::string& name) const { return (path / name).string(); }
    // Names of the files in it, hidden ones too, sorted.
    std::vector<std::string> files() const;

private:
    std::filesystem::path path;
};

// Starts the renderer; standard output and error go to files in `folder`.
class RenderProcess {
public:
    RenderProcess(const TestFolder& folder, const std::vector<std::string>& arguments);
    // Sends `signalNumber`.
    void send(int signalNumber) const;
    bool isRunning();
    ProcessResult wait();

private:
    pid_t pid = -1;
    int status = 0;
    bool ended = false;
    std::string outputPath;
    std::string errorPath;
};

ProcessResult render(const TestFolder& folder, const std::vector<std::string>& arguments);

struct Sound {
    int channels = 2;
    int rate = 44100;
    int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    std::vector<float> samples; // interleaved

    size_t frames() const { return samples.size() / static_cast<size_t>(channels); }
};

// Noise whose magnitude is between 0.1 and 0.6 in every sample, so that no block is silent.
Sound noise(size_t frames, int channels = 2, unsigned seed = 1);
void writeSound(const std::string& path, const Sound& sound);
// Fails the running test if the file can't be read.
Sound readSound(const std::string& path);
