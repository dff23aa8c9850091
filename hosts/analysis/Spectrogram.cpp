#include "Spectrogram.h"

#include <fftw3.h>

#include <memory>
#include <mutex>
#include <new>
#include <numbers>

namespace {
// Transforms of one length, and the window before them. FFTW makes and destroys plans on one thread
// at a time.
class WindowedTransform {
public:
    explicit WindowedTransform(size_t windowFrames) : weights(windowFrames) {
        const size_t length = 2 * windowFrames;
        input.reset(fftwf_alloc_real(length));
        output.reset(fftwf_alloc_complex(length / 2 + 1));
        if (!input || !output) throw std::bad_alloc();
        const std::lock_guard lock(planning);
        plan = fftwf_plan_dft_r2c_1d(static_cast<int>(length), input.get(), output.get(),
                                     FFTW_ESTIMATE);
        if (!plan) throw std::bad_alloc();
        std::fill_n(input.get(), length, 0.f);
        f64 sum = 0;
        for (size_t i = 0; i < windowFrames; ++i) {
            const f64 phase =
                2 * std::numbers::pi * (static_cast<f64>(i) + 0.5) / static_cast<f64>(windowFrames);
            weights[i] = 0.5 - 0.5 * std::cos(phase);
            sum += weights[i];
        }
        for (f64& weight : weights)
            weight *= 2 / sum;
    }
    ~WindowedTransform() {
        const std::lock_guard lock(planning);
        fftwf_destroy_plan(plan);
    }
    WindowedTransform(const WindowedTransform&) = delete;
    WindowedTransform& operator=(const WindowedTransform&) = delete;

    size_t bins() const { return weights.size() + 1; }

    // Adds the powers of the window around a frame, times `share`. What is outside is silence.
    void addPowers(std::span<const f32> channel, f64 centre, f64 share, std::vector<f64>& powers) {
        const i64 first =
            static_cast<i64>(std::floor(centre + 0.5)) - static_cast<i64>(weights.size() / 2);
        for (size_t i = 0; i < weights.size(); ++i) {
            const i64 frame = first + static_cast<i64>(i);
            const bool inside = frame >= 0 && frame < static_cast<i64>(channel.size());
            const f64 sample = inside ? sampleOf(channel, static_cast<size_t>(frame)) : 0;
            input.get()[i] = static_cast<f32>(sample * weights[i]);
        }
        fftwf_execute(plan);
        for (size_t bin = 0; bin < bins(); ++bin) {
            const f64 re = output.get()[bin][0];
            const f64 im = output.get()[bin][1];
            const f64 power = re * re + im * im;
            if (std::isfinite(power)) powers[bin] += share * power;
        }
    }

private:
    struct Free {
        void operator()(void* memory) const { fftwf_free(memory); }
    };
    static std::mutex planning;
    std::vector<f64> weights;
    std::unique_ptr<f32[], Free> input;
    std::unique_ptr<fftwf_complex[], Free> output;
    fftwf_plan plan = nullptr;
};
std::mutex WindowedTransform::planning;

// Which bins make a row: those from `first` to `last` if there are any, and a place between two.
struct RowBins {
    f64 middle = 0;
    size_t first = 1;
    size_t last = 0;
};

std::vector<RowBins> findRowBins(const SpectrogramShape& shape, f64 binsPerHz) {
    std::vector<RowBins> rows(static_cast<size_t>(shape.rows));
    for (size_t row = 0; row < rows.size(); ++row) {
        const f64 edge = static_cast<f64>(row) - 0.5;
        rows[row] = {rowFrequency(shape, edge + 0.5) * binsPerHz,
                     static_cast<size_t>(std::ceil(rowFrequency(shape, edge) * binsPerHz)),
                     static_cast<size_t>(rowFrequency(shape, edge + 1) * binsPerHz)};
    }
    return rows;
}

f64 rowLevel(const std::vector<f64>& levels, const RowBins& row) {
    const size_t below = static_cast<size_t>(row.middle);
    if (below + 1 >= levels.size()) return k_silentLevel;
    const f64 part = row.middle - static_cast<f64>(below);
    f64 level = levels[below] + part * (levels[below + 1] - levels[below]);
    for (size_t bin = row.first; bin <= row.last && bin < levels.size(); ++bin)
        level = std::max(level, levels[bin]);
    return level;
}

bool isValid(const SpectrogramShape& shape) {
    return shape.columns >= 1 && shape.columns <= 8192 && shape.rows >= 1 && shape.rows <= 4096 &&
           shape.lowest > 0 && shape.highest > shape.lowest && shape.highest <= 1e6;
}
} // namespace

f64 rowFrequency(const SpectrogramShape& shape, f64 row) {
    return shape.lowest * std::pow(shape.highest / shape.lowest, (row + 0.5) / shape.rows);
}

Spectrogram findSpectrogram(const SoundView& sound, const SpectrogramShape& shape) {
    if (!isValid(shape)) return {};
    Spectrogram result{shape.columns, shape.rows, {}};
    const size_t columns = static_cast<size_t>(shape.columns);
    result.level.assign(columns * static_cast<size_t>(shape.rows), static_cast<f32>(k_silentLevel));
    const size_t frames = sound.frames();
    if (frames == 0) return result;
    const size_t window = static_cast<size_t>(std::clamp(shape.window, 16, 65536)) & ~size_t(1);
    WindowedTransform transform(window);
    const std::vector<RowBins> rows = findRowBins(shape, 2 * static_cast<f64>(window) / sound.rate);
    const f64 width = static_cast<f64>(frames) / static_cast<f64>(columns);
    const i32 windows =
        std::max(1, static_cast<i32>(std::ceil(4 * width / static_cast<f64>(window))));
    const f64 share = 1.0 / windows / static_cast<f64>(sound.channels.size());
    std::vector<f64> levels(transform.bins());
    for (size_t column = 0; column < columns; ++column) {
        std::fill(levels.begin(), levels.end(), 0.0);
        for (i32 i = 0; i < windows; ++i) {
            const f64 centre = (static_cast<f64>(column) + (i + 0.5) / windows) * width;
            for (const std::span<const f32>& channel : sound.channels)
                transform.addPowers(channel.first(frames), centre, share, levels);
        }
        for (f64& level : levels)
            level = levelOfPower(level);
        for (size_t row = 0; row < rows.size(); ++row)
            result.level[row * columns + column] = static_cast<f32>(rowLevel(levels, rows[row]));
    }
    return result;
}
