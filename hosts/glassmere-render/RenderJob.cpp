#include "RenderJob.h"

#include "Interrupt.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double k_longestAutoTail = 60; // s
}

int ImpulseSource::read(float* left, float* right, int count) {
    if (sent || count < 1) return 0;
    sent = true;
    left[0] = right[0] = 1.0f;
    return 1;
}

RenderJob::RenderJob(const Options& options, int rate, std::vector<MidiFileEvent> midi)
    : block(options.block), inPlace(options.inPlace), untilAsleep(!options.tailSeconds),
      tailFrames(std::llround(options.tailSeconds.value_or(k_longestAutoTail) * rate)),
      sampleRate(rate), midiEvents(std::move(midi)) {
    for (std::vector<float>& buffer : buffers)
        buffer.resize(static_cast<size_t>(block));
}

std::int64_t RenderJob::expectedFrames(const SampleSource& source) const {
    return source.frames() > 0 ? source.frames() + tailFrames : 0;
}

void RenderJob::fillInput(SampleSource& source) {
    const int got = inputEnded ? 0 : source.read(buffers[0].data(), buffers[1].data(), block);
    inputFrames += got;
    inputEnded = inputEnded || got < block;
    for (int channel = 0; channel < 2; ++channel)
        std::fill(buffers[channel].begin() + got, buffers[channel].end(), 0.0f);
}

// The events that fall into the block to come.
void RenderJob::sendMidi(Instance& instance) {
    const std::int64_t end = framesIn + block;
    for (; midiSent < midiEvents.size(); ++midiSent) {
        const MidiFileEvent& event = midiEvents[midiSent];
        const double frame = std::floor(event.seconds * sampleRate + 0.5);
        if (!(frame < static_cast<double>(end))) break;
        const std::int64_t offset = static_cast<std::int64_t>(std::max(frame, 0.0)) - framesIn;
        instance.sendMidi(event.bytes.data(), event.length,
                          static_cast<int>(std::max<std::int64_t>(offset, 0)));
    }
    framesIn = end;
}

bool RenderJob::isFinished(const Instance& instance) const {
    if (!inputEnded || written < inputFrames) return false;
    if (written >= inputFrames + tailFrames) return true;
    return untilAsleep && instance.isAsleep();
}

void RenderJob::run(Instance& instance, SampleSource& source, SoundWriter& writer,
                    Progress& progress) {
    const int first = inPlace ? 0 : 2;
    float* const in[2] = {buffers[0].data(), buffers[1].data()};
    float* const out[2] = {buffers[first].data(), buffers[first + 1].data()};
    int skip = instance.latency();
    while (!isFinished(instance)) {
        throwIfInterrupted();
        fillInput(source);
        sendMidi(instance);
        instance.process(in, out, block);
        const int start = std::min(skip, block);
        skip -= start;
        std::int64_t count = block - start;
        if (inputEnded) count = std::min(count, inputFrames + tailFrames - written);
        writer.write(out[0] + start, out[1] + start, static_cast<int>(count));
        written += count;
        progress.show("rendering", written, untilAsleep ? source.frames() : expectedFrames(source));
    }
}
