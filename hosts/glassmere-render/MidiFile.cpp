#include "MidiFile.h"

#include "Errors.h"
#include "HostFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <mfmidi.h>
#include <new>
#include <string_view>

namespace {

constexpr std::size_t k_maxFileBytes = std::size_t{16} << 20;
// The library's buffer for a message grows in small steps, each of which copies it.
constexpr std::size_t k_maxMessageBytes = std::size_t{256} << 10;
constexpr std::int64_t k_maxTicks = std::int64_t{1} << 48;

[[noreturn]] void fail(const std::string& reason) {
    throw RenderError(reason);
}

std::uint32_t bigEndian(std::string_view bytes) {
    std::uint32_t value = 0;
    for (const char byte : bytes)
        value = value << 8 | static_cast<std::uint8_t>(byte);
    return value;
}

// The header and the tracks of the file without the chunks of other kinds that may stand between.
std::string knownChunks(std::string_view file) {
    if (file.substr(0, 4) != "MThd") fail("it is no Standard MIDI File");
    std::string result;
    while (!file.empty()) {
        if (file.size() < 8 && !result.empty()) break; // some writers pad the end
        const std::uint32_t length = file.size() < 8 ? 0 : bigEndian(file.substr(4, 4));
        if (file.size() < 8 || length > file.size() - 8) fail("it breaks off inside a chunk");
        const std::string_view chunk = file.substr(0, 8 + std::size_t{length});
        if (result.empty() && length < 6) fail("its header is too short");
        if (result.empty() || chunk.substr(0, 4) == "MTrk") result += chunk;
        file.remove_prefix(chunk.size());
    }
    return result;
}

struct TickedEvent {
    std::int64_t tick;
    std::array<std::uint8_t, 3> bytes;
    int length;
};

struct TempoChange {
    std::int64_t tick;
    double secondsPerQuarter;
};

bool isEarlier(const auto& a, const auto& b) {
    return a.tick < b.tick;
}

// Gathers what the library finds. Every error leaves the library by an exception.
class Reader final : private Midifile_reader {
public:
    explicit Reader(std::string_view content) : input(k_warmUp), content(content) {}
    ~Reader() { finalize(); }

    // Call once.
    void read();
    // Call after read().
    std::vector<MidiFileEvent> timedEvents();

private:
    // The library hands out its message buffer even if no message was long enough to need one; a
    // text of one character makes it.
    static constexpr std::string_view k_warmUp{"MThd\0\0\0\6\0\0\0\1\0\x60"
                                               "MTrk\0\0\0\5\0\xFF\1\1 ",
                                               27};

    std::int64_t tick() {
        // Deltas of any length may have wrapped around.
        if (Mf_currtime < lastTick || Mf_currtime > k_maxTicks) fail("it has a delta out of range");
        return lastTick = Mf_currtime;
    }
    void add(int status, int channel, int data1, int data2, int length) {
        if (data1 > 0x7F || data2 > 0x7F) fail("it has a message that breaks off");
        if (ended) return;
        events.push_back({tick(),
                          {static_cast<std::uint8_t>(status | channel),
                           static_cast<std::uint8_t>(data1), static_cast<std::uint8_t>(data2)},
                          length});
    }

    int Mf_getc() override {
        if (position == input.size()) fail("it breaks off");
        return static_cast<std::uint8_t>(input[position++]);
    }
    void* Mf_malloc(size_t size) override {
        if (size > k_maxMessageBytes) fail("it has a message of more than 256 KiB");
        // Zeros, as messages that are too short are read beyond their end.
        void* block = std::calloc(size, 1);
        if (block == nullptr) throw std::bad_alloc();
        return block;
    }
    void Mf_free(void* block, size_t) override { std::free(block); }
    void Mf_error(char* text) override { fail(text); }
    void Mf_header(int format, int, int newDivision) override {
        if (format > 1) fail("it is of format " + std::to_string(format) + ", not 0 or 1");
        division = newDivision;
    }
    void Mf_starttrack() override {
        lastTick = 0;
        ended = false;
    }
    void Mf_eot() override { ended = true; }
    void Mf_off(int channel, int key, int velocity) override {
        add(0x80, channel, key, velocity, 3);
    }
    void Mf_on(int channel, int key, int velocity) override {
        add(0x90, channel, key, velocity, 3);
    }
    void Mf_pressure(int channel, int key, int value) override {
        add(0xA0, channel, key, value, 3);
    }
    void Mf_controller(int channel, int number, int value) override {
        add(0xB0, channel, number, value, 3);
    }
    void Mf_program(int channel, int program) override { add(0xC0, channel, program, 0, 2); }
    void Mf_chanpressure(int channel, int value) override { add(0xD0, channel, value, 0, 2); }
    void Mf_pitchbend(int channel, int low, int high) override { add(0xE0, channel, low, high, 3); }
    void Mf_tempo(int microseconds) override {
        if (microseconds > 0 && !ended) tempos.push_back({tick(), microseconds * 1e-6});
    }

    void Mf_endtrack() override {}
    void Mf_chanprefix(int) override {}
    void Mf_portprefix(int) override {}
    void Mf_sysex(int, unsigned char*) override {}
    void Mf_arbitrary(int, unsigned char*) override {}
    void Mf_metamisc(int, int, unsigned char*) override {}
    void Mf_seqnum(int) override {}
    void Mf_smpte(int, int, int, int, int) override {}
    void Mf_timesig(int, int, int, int) override {}
    void Mf_keysig(int, int) override {}
    void Mf_sqspecific(int, unsigned char*) override {}
    void Mf_text(int, int, unsigned char*) override {}

    // In SMPTE time.
    double secondsPerSmpteTick() const;

    std::string_view input;
    const std::string_view content;
    std::size_t position = 0;
    int division = 0;
    std::int64_t lastTick = 0;
    bool ended = false; // the end of the track was seen
    std::vector<TickedEvent> events;
    std::vector<TempoChange> tempos;
};

void Reader::read() {
    midifile();
    input = content;
    position = 0;
    midifile();
}

double Reader::secondsPerSmpteTick() const {
    const int frames = 0x100 - (division >> 8); // it is stored negative
    if (frames != 24 && frames != 25 && frames != 29 && frames != 30)
        fail("it has " + std::to_string(frames) + " SMPTE frames a second");
    return 1.0 / ((frames == 29 ? 30000.0 / 1001.0 : frames) * (division & 0xFF));
}

std::vector<MidiFileEvent> Reader::timedEvents() {
    std::stable_sort(events.begin(), events.end(), isEarlier<TickedEvent, TickedEvent>);
    std::stable_sort(tempos.begin(), tempos.end(), isEarlier<TempoChange, TempoChange>);
    const bool followsTempo = (division & 0x8000) == 0;
    if ((followsTempo ? division : division & 0xFF) == 0) fail("it has no time division");
    double secondsPerTick = followsTempo ? 0.5 / division : secondsPerSmpteTick();

    std::vector<MidiFileEvent> result;
    result.reserve(events.size());
    double baseSeconds = 0.0;
    std::int64_t baseTick = 0;
    const auto secondsAt = [&](std::int64_t tick) {
        return baseSeconds + static_cast<double>(tick - baseTick) * secondsPerTick;
    };
    auto tempo = tempos.begin();
    for (const TickedEvent& event : events) {
        for (; followsTempo && tempo != tempos.end() && tempo->tick <= event.tick; ++tempo) {
            baseSeconds = secondsAt(tempo->tick);
            baseTick = tempo->tick;
            secondsPerTick = tempo->secondsPerQuarter / division;
        }
        result.push_back({secondsAt(event.tick), event.bytes, event.length});
    }
    return result;
}

std::string readBytes(const std::string& path) {
    if (path.empty()) fail("it has no name");
    const HostFile place(path);
    const AM_VirtualFilePtr file = place.files().open(place.name(), AM_Filesystem::kRead);
    if (file->hasError()) fail("it can't be opened");
    if (file->size() > static_cast<i64>(k_maxFileBytes)) fail("it is longer than 16 MiB");
    const char* bytes = file->getContentBuffer();
    if (bytes == nullptr) fail("reading it failed");
    const auto length = static_cast<std::size_t>(file->getContentSize());
    if (length > k_maxFileBytes) fail("it is longer than 16 MiB");
    return std::string(bytes, length);
}

} // namespace

std::vector<MidiFileEvent> readMidiFile(const std::string& path) {
    try {
        const std::string content = knownChunks(readBytes(path));
        Reader reader(content);
        reader.read();
        return reader.timedEvents();
    } catch (const RenderError& error) {
        throw RenderError("can't read the MIDI file '" + path + "': " + error.what());
    }
}
