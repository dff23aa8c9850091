#include "SoundFile.h"

#include "Errors.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
// libsndfile's Vorbis encoder takes its stack from the size of one call.
constexpr int k_chunkFrames = 1024;
constexpr std::int64_t k_wavLimitBytes = 0xFFFF0000;

struct FileFormat {
    int code; // of libsndfile
    const char* text;
    bool cutsAtFullScale;
    int bytesPerFrame;
};

std::string lowerExtension(const std::string& path) {
    std::string extension = fs::path(path).extension().string();
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return extension;
}

FileFormat pcmFormat(int container, const char* const (&texts)[3], SampleFormat format) {
    switch (format) {
    case SampleFormat::pcm16:
        return {container | SF_FORMAT_PCM_16, texts[0], true, 4};
    case SampleFormat::pcm24:
        return {container | SF_FORMAT_PCM_24, texts[1], true, 6};
    default:
        return {container | SF_FORMAT_FLOAT, texts[2], false, 8};
    }
}

FileFormat chooseFormat(const std::string& path, SampleFormat format) {
    static const char* const wav[3] = {"WAV, 16 bit", "WAV, 24 bit", "WAV, 32-bit float"};
    static const char* const aiff[3] = {"AIFF, 16 bit", "AIFF, 24 bit", "AIFF, 32-bit float"};
    static const char* const flac[3] = {"FLAC, 16 bit", "FLAC, 24 bit", ""};
    const std::string extension = lowerExtension(path);
    if (extension == ".wav") return pcmFormat(SF_FORMAT_WAV, wav, format);
    if (extension == ".aif" || extension == ".aiff" || extension == ".aifc")
        return pcmFormat(SF_FORMAT_AIFF, aiff, format);
    if (extension == ".flac") {
        if (format == SampleFormat::float32)
            throw UsageError("FLAC has no float samples: take --bits 16 or 24");
        return pcmFormat(SF_FORMAT_FLAC, flac,
                         format == SampleFormat::automatic ? SampleFormat::pcm24 : format);
    }
    if (extension == ".ogg" || extension == ".oga") {
        if (format != SampleFormat::automatic)
            throw UsageError("OGG is compressed: it takes no --bits");
        return {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "OGG Vorbis", false, 0};
    }
    throw UsageError("'" + path + "': the extension must be wav, flac, aif, aiff or ogg");
}

std::string systemText(const std::error_code& error) {
    return error.message();
}
} // namespace

struct SoundReader::Handle {
    SNDFILE* file = nullptr;
    ~Handle() {
        if (file) sf_close(file);
    }
};

SoundReader::SoundReader(const std::string& path) : handle(std::make_unique<Handle>()), name(path) {
    SF_INFO info = {};
    handle->file = sf_open(path.c_str(), SFM_READ, &info);
    if (!handle->file) throw RenderError("can't read '" + path + "': " + sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 2)
        throw RenderError("'" + path + "' has " + std::to_string(info.channels) +
                          " channels; only mono and stereo files can be rendered");
    if (info.samplerate < 1) throw RenderError("'" + path + "' has no valid sample rate");
    // Compressed samples beyond full scale are kept, and no range is assumed for float files.
    sf_command(handle->file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
    channels = info.channels;
    sampleRate = info.samplerate;
    numFrames = info.frames > 0 && info.frames < SF_COUNT_MAX ? info.frames : 0;
}

SoundReader::~SoundReader() = default;

int SoundReader::read(float* left, float* right, int count) {
    interleaved.resize(static_cast<size_t>(count) * static_cast<size_t>(channels));
    const sf_count_t got = sf_readf_float(handle->file, interleaved.data(), count);
    if (got < count && sf_error(handle->file) != SF_ERR_NO_ERROR)
        throw RenderError("can't read '" + name + "': " + sf_strerror(handle->file));
    for (sf_count_t i = 0; i < got; ++i) {
        left[i] = interleaved[static_cast<size_t>(i * channels)];
        right[i] = interleaved[static_cast<size_t>(i * channels + channels - 1)];
    }
    return static_cast<int>(got);
}

struct SoundWriter::Handle {
    SNDFILE* file = nullptr;
    int close() {
        const int result = file ? sf_close(file) : 0;
        file = nullptr;
        return result;
    }
    ~Handle() { close(); }
};

void SoundWriter::checkFormat(const std::string& path, SampleFormat format) {
    chooseFormat(path, format);
}

SoundWriter::SoundWriter(const std::string& path, int rate, SampleFormat format, bool force,
                         std::int64_t expectedFrames)
    : handle(std::make_unique<Handle>()), forced(force) {
    FileFormat chosen = chooseFormat(path, format);
    // A link is followed, so that the file behind it is replaced and not the link.
    std::error_code error;
    const fs::path place = fs::weakly_canonical(path, error);
    if (error) throw RenderError("can't write '" + path + "': " + systemText(error));
    target = place.string();
    const fs::file_status status = fs::status(place, error);
    if (fs::exists(status)) {
        if (!fs::is_regular_file(status)) throw RenderError("'" + path + "' is no regular file");
        if (!force) throw RenderError("'" + path + "' exists; --force overwrites it");
    }
    std::string name = ".";
    name += place.filename().string();
    name.append(".").append(std::to_string(::getpid())).append(".part");
    temporary = (place.parent_path() / name).string();

    if ((chosen.code & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV &&
        expectedFrames > k_wavLimitBytes / chosen.bytesPerFrame)
        chosen.code = (chosen.code & ~SF_FORMAT_TYPEMASK) | SF_FORMAT_RF64;
    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = 2;
    info.format = chosen.code;
    handle->file = sf_open(temporary.c_str(), SFM_WRITE, &info);
    if (!handle->file) {
        const std::string reason = sf_strerror(nullptr);
        discard();
        throw RenderError("can't write '" + path + "': " + reason);
    }
    // The same samples shall give the same bytes: the peak chunk holds the time of day.
    sf_command(handle->file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    sf_command(handle->file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    description = chosen.text;
    cutsAtFullScale = chosen.cutsAtFullScale;
}

SoundWriter::~SoundWriter() {
    discard();
}

void SoundWriter::discard() noexcept {
    handle->close();
    std::error_code ignored;
    if (!temporary.empty()) fs::remove(temporary, ignored);
    temporary.clear();
}

void SoundWriter::write(const float* left, const float* right, int count) {
    for (int done = 0; done < count; done += k_chunkFrames)
        writeChunk(left + done, right + done, std::min(k_chunkFrames, count - done));
}

void SoundWriter::writeChunk(const float* left, const float* right, int count) {
    interleaved.resize(static_cast<size_t>(count) * 2);
    for (int i = 0; i < count; ++i) {
        for (int channel = 0; channel < 2; ++channel) {
            float sample = channel == 0 ? left[i] : right[i];
            const float magnitude = std::fabs(sample);
            stats.peak = std::max(stats.peak, magnitude);
            if (magnitude > 1.0f) {
                ++stats.clipped;
                if (cutsAtFullScale) sample = std::copysign(1.0f, sample);
            }
            interleaved[static_cast<size_t>(i * 2 + channel)] = sample;
        }
    }
    if (sf_writef_float(handle->file, interleaved.data(), count) != count)
        throw RenderError("can't write '" + target + "': " + sf_strerror(handle->file));
    stats.frames += count;
}

void SoundWriter::commit() {
    sf_write_sync(handle->file);
    if (const int result = handle->close(); result != 0)
        throw RenderError("can't write '" + target + "': " + sf_error_number(result));
    std::error_code error;
    if (!forced && fs::exists(target, error))
        throw RenderError("'" + target + "' has come to exist; --force overwrites it");
    fs::rename(temporary, target, error);
    if (error) throw RenderError("can't write '" + target + "': " + systemText(error));
    temporary.clear();
}
