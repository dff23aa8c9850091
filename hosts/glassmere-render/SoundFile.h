// Sound files in and out, a block at a time, so that a file may be longer than the memory.
#pragma once

#include "Options.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Reads a mono or stereo file as two channels of 32-bit float; mono goes to both.
class SoundReader {
public:
    // Throws RenderError if the file can't be read or has more than two channels.
    explicit SoundReader(const std::string& path);
    ~SoundReader();

    int rate() const { return sampleRate; }
    // Frames by the file's header, 0 if it does not say.
    std::int64_t frames() const { return numFrames; }
    // Fills up to `count` frames of both channels; returns how many, 0 at the end. Throws
    // RenderError where the file breaks off with an error.
    int read(float* left, float* right, int count);

private:
    struct Handle;
    std::unique_ptr<Handle> handle;
    std::string name;
    int channels = 0;
    int sampleRate = 0;
    std::int64_t numFrames = 0;
    std::vector<float> interleaved;
};

// What went into a file.
struct SoundStatistics {
    std::int64_t frames = 0;
    std::int64_t clipped = 0; // samples beyond full scale, cut in integer formats
    float peak = 0;           // the largest magnitude before any cut
};

// Writes a stereo file beside its place under a temporary name; commit() moves it there, and
// without a commit nothing is left.
class SoundWriter {
public:
    // The format follows the extension. `expectedFrames` (0: unknown) tells whether a WAV file will
    // outgrow 4 GB. Throws UsageError for an extension or a combination of format and bits that
    // does not exist, RenderError if the place can't be written or is taken and `force` is not set.
    SoundWriter(const std::string& path, int rate, SampleFormat format, bool force,
                std::int64_t expectedFrames);
    ~SoundWriter();
    SoundWriter(const SoundWriter&) = delete;
    SoundWriter& operator=(const SoundWriter&) = delete;

    // Appends `count` frames. Throws RenderError when the disk is full and the like.
    void write(const float* left, const float* right, int count);
    // Closes the file and moves it into its place.
    void commit();

    const SoundStatistics& statistics() const { return stats; }
    // "WAV, 32-bit float" and the like.
    const std::string& formatText() const { return description; }

    // Throws UsageError as the constructor does; touches no file.
    static void checkFormat(const std::string& path, SampleFormat format);

private:
    struct Handle;
    void writeChunk(const float* left, const float* right, int count);
    void discard() noexcept;

    std::unique_ptr<Handle> handle;
    std::string target;
    std::string temporary;
    std::string description;
    bool cutsAtFullScale = false;
    bool forced;
    SoundStatistics stats;
    std::vector<float> interleaved;
};
