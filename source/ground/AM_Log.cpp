#include "AM_Log.h"

#include "AM_AudioThread.h"
#include "AM_LogRing.h"
#include "AM_Platform.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

constexpr std::chrono::milliseconds k_writerPeriod{20};

enum ChannelState : u32 { k_channelUnknown, k_channelClosed, k_channelOpen };

// All of this is constant-initialised and has no destructor, so a line may be logged at any time of
// the library's life, static constructors and destructors included.
constinit std::atomic<AM_LogSink*> sink = nullptr; // written under `outputMutex`
constinit std::atomic<u32> channel = k_channelUnknown;
constinit std::atomic<u32> calls = 0;
constinit std::atomic<u32> dropped = 0;
constinit AM_LogRing ring; // read under `outputMutex`
constinit std::mutex outputMutex;

// True while this thread is inside a sink, which must not come back to the log's mutex.
[[gnu::tls_model("initial-exec")]] thread_local bool insideSink = false;

// Whether the debug channel has a reader. Asking is a system call, so an audio thread that comes
// first leaves the question to the thread that empties the ring.
ChannelState channelState() noexcept {
    u32 state = channel.load(std::memory_order_relaxed);
    if (state == k_channelUnknown && !AM_onAudioThread()) {
        state = AM_debugChannelIsOpen() ? k_channelOpen : k_channelClosed;
        channel.store(state, std::memory_order_relaxed);
    }
    return static_cast<ChannelState>(state);
}

// Under `outputMutex`, not on an audio thread.
void writeLine(std::string_view line) noexcept {
    AM_LogSink* const target = sink.load(std::memory_order_relaxed);
    if (target == nullptr) {
        if (channelState() == k_channelOpen) AM_writeDebugChannel(line);
        return;
    }
    insideSink = true;
    try {
        target->writeLine(line);
    } catch (...) {
        // Diagnostics never disturb what they report on.
    }
    insideSink = false;
}

// Under `outputMutex`. At most one ring of lines, so that a busy audio thread cannot hold it.
void emptyRing() noexcept {
    char text[k_maxLogLine];
    size_t length = 0;
    for (u32 i = 0; i < k_logRingLines && ring.pop(text, length); ++i)
        writeLine({text, length});
    if (const u32 lost = dropped.exchange(0, std::memory_order_relaxed); lost != 0) {
        length = static_cast<size_t>(
            AM_STD::sprintv(text, sizeof text, "WARNING log ring full, %u lines dropped", lost));
        writeLine({text, length});
    }
}

bool mayTakeOutputMutex() noexcept {
    return !insideSink && !AM_onAudioThread();
}

void sendLine(std::string_view line) noexcept {
    if (AM_onAudioThread()) {
        if (!ring.push(line)) dropped.fetch_add(1, std::memory_order_relaxed);
    } else if (!insideSink) {
        std::lock_guard lock(outputMutex);
        emptyRing(); // what happened before stands before
        writeLine(line);
    }
}

// Cuts the text of one call into lines.
class LineCutter final : public AM_STD::TextOutput {
public:
    void put(const char* text, size_t length) override {
        left -= length;
        for (size_t i = 0; i < length; ++i) {
            const bool atEnd = text[i] == '\n' || text[i] == '\r';
            if (atEnd || used == k_maxLogLine) flush();
            if (!atEnd) line[used++] = text[i];
        }
    }
    size_t room() const noexcept override { return left; }
    void finish() {
        flush();
        if (!sent) sendLine({});
    }

private:
    void flush() {
        if (used == 0) return;
        sendLine({line, used});
        sent = true;
        used = 0;
    }

    char line[k_maxLogLine];
    size_t used = 0;
    size_t left = k_maxLogText;
    bool sent = false;
};

// Empties the ring from time to time. It polls, since waking it would be a system call of the audio
// thread.
class Writer {
public:
    Writer() : thread([this] { run(); }) {}
    ~Writer() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        changed.notify_one();
        thread.join();
    }

private:
    void run() {
        std::unique_lock lock(mutex);
        while (!changed.wait_for(lock, k_writerPeriod, [this] { return stopping; })) {
            lock.unlock();
            AM_flushLog();
            lock.lock();
        }
    }

    std::mutex mutex;
    std::condition_variable changed;
    bool stopping = false;
    std::thread thread; // last: it uses the others
};

constinit std::mutex sessionMutex;
constinit u32 sessions = 0;         // under `sessionMutex`
constinit Writer* writer = nullptr; // under `sessionMutex`

} // namespace

bool AM_logIsHeard() noexcept {
    if (calls.load(std::memory_order_relaxed) >= k_maxLogCalls || insideSink) return false;
    return sink.load(std::memory_order_relaxed) != nullptr || channelState() != k_channelClosed;
}

void AM_logArguments(const char* format, const AM_Arguments& arguments) {
    if (!AM_logIsHeard() || calls.fetch_add(1, std::memory_order_relaxed) >= k_maxLogCalls) return;
    if (format == nullptr) {
        sendLine("AM_STD::sprintv format NULL");
        return;
    }
    LineCutter cutter;
    AM_STD::formatTo(cutter, format, arguments);
    cutter.finish();
}

AM_LogSink* AM_setLogSink(AM_LogSink* newSink) {
    if (!mayTakeOutputMutex()) return sink.load(std::memory_order_relaxed);
    std::lock_guard lock(outputMutex);
    emptyRing();
    return sink.exchange(newSink, std::memory_order_relaxed);
}

void AM_flushLog() {
    if (!mayTakeOutputMutex()) return;
    std::lock_guard lock(outputMutex);
    emptyRing();
}

void AM_resetLog() {
    calls.store(0, std::memory_order_relaxed);
    channel.store(k_channelUnknown, std::memory_order_relaxed);
}

AM_LogSession::AM_LogSession() {
    std::lock_guard lock(sessionMutex);
    ++sessions;
    if (writer != nullptr) return;
    try {
        writer = new Writer;
    } catch (const std::exception&) {
        // No thread or memory to spare: the lines wait for the next flush.
    }
}

AM_LogSession::~AM_LogSession() {
    // Held over the join, so that a session begun meanwhile starts a thread of its own.
    std::lock_guard lock(sessionMutex);
    if (--sessions != 0) return;
    delete writer;
    writer = nullptr;
    AM_flushLog();
}
