#include "Envelope.h"

std::vector<EnvelopeColumn> findEnvelope(std::span<const f32> channel, i32 count) {
    std::vector<EnvelopeColumn> columns(static_cast<size_t>(std::clamp(count, 0, 65536)));
    if (channel.empty()) return columns;
    for (size_t c = 0; c < columns.size(); ++c) {
        const size_t begin = c * channel.size() / columns.size();
        const size_t end = std::max(begin + 1, (c + 1) * channel.size() / columns.size());
        f64 low = sampleOf(channel, begin);
        f64 high = low;
        f64 squares = 0;
        for (size_t i = begin; i < end; ++i) {
            const f64 sample = sampleOf(channel, i);
            low = std::min(low, sample);
            high = std::max(high, sample);
            squares += sample * sample;
        }
        const f64 rms = std::sqrt(squares / static_cast<f64>(end - begin));
        columns[c] = {static_cast<f32>(low), static_cast<f32>(high), static_cast<f32>(rms)};
    }
    return columns;
}
