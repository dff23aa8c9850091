// Sends a source through an instance into a file, block by block.
#pragma once

#include "Instance.h"
#include "MidiFile.h"
#include "Options.h"
#include "Progress.h"
#include "SoundFile.h"

#include <cstdint>

// What is rendered: a file, or the one sample of an impulse response.
class SampleSource {
public:
    virtual ~SampleSource() = default;
    // Fills up to `count` frames; fewer mean the end.
    virtual int read(float* left, float* right, int count) = 0;
    // Frames in all, 0 if unknown.
    virtual std::int64_t frames() const = 0;
};

class FileSource : public SampleSource {
public:
    explicit FileSource(SoundReader& soundReader) : reader(soundReader) {}
    int read(float* left, float* right, int count) override {
        return reader.read(left, right, count);
    }
    std::int64_t frames() const override { return reader.frames(); }

private:
    SoundReader& reader;
};

// One frame of full scale on both sides.
class ImpulseSource : public SampleSource {
public:
    int read(float* left, float* right, int count) override;
    std::int64_t frames() const override { return 1; }

private:
    bool sent = false;
};

class RenderJob {
public:
    // `midi`: what the plug-in hears on the way, by time.
    RenderJob(const Options& options, int rate, std::vector<MidiFileEvent> midi);

    // Runs until source and tail are written, compensating the latency: output frame n belongs to
    // input frame n. Throws Interrupted after a signal, RenderError of source and file.
    void run(Instance& instance, SampleSource& source, SoundWriter& writer, Progress& progress);

    // How many frames will be written at most; 0 if the source does not know its length.
    std::int64_t expectedFrames(const SampleSource& source) const;

private:
    void fillInput(SampleSource& source);
    void sendMidi(Instance& instance);
    bool isFinished(const Instance& instance) const;

    int block;
    bool inPlace;
    bool untilAsleep;
    std::int64_t tailFrames; // at most
    std::vector<float> buffers[4];
    int sampleRate;
    std::vector<MidiFileEvent> midiEvents;
    size_t midiSent = 0;
    std::int64_t framesIn = 0;
    std::int64_t inputFrames = 0;
    std::int64_t written = 0;
    bool inputEnded = false;
};
