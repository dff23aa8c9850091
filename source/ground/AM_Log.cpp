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
constinit std::atomic<AM_LogSink*> sink = nullptr;         // written under `outputMutex`
constinit std::atomic<AM_LogSink*> file = nullptr;         // owned, written under `outputMutex`
constinit std::atomic<AM_LogFileOpener> unasked = nullptr; // the opener until it was asked
constinit AM_LogFileOpener fileOpener = nullptr;           // under `outputMutex`
constinit std::atomic<u32> channel = k_channelUnknown;
constinit std::atomic<u32> calls = 0;
constinit std::atomic<u32> dropped = 0;
constinit AM_LogRing ring; // read under `outputMutex`
constinit std::mutex outputMutex;

// Whose code this thread runs while it holds `outputMutex`, which it must not take again.
enum Inside : u8 { k_insideNothing, k_insideSink, k_insideOpener };
[[gnu::tls_model("initial-exec")]] thread_local Inside inside = k_insideNothing;

// Calls `function` as code that may throw and log. Diagnostics never disturb what they report on.
template <class F>
void callInside(Inside what, const F& function) noexcept {
    const Inside before = inside;
    inside = what;
    try {
        function();
    } catch (...) {
    }
    inside = before;
}

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

void writeToChannel(std::string_view line) noexcept {
    if (channelState() == k_channelOpen) AM_writeDebugChannel(line);
}

// Under `outputMutex`, so that no line of another thread passes by the file while it is opened.
void askForFile() noexcept {
    const AM_LogFileOpener opener = unasked.load(std::memory_order_relaxed);
    if (opener == nullptr) return;
    callInside(k_insideOpener, [&] { file.store(opener(), std::memory_order_relaxed); });
    unasked.store(nullptr, std::memory_order_relaxed);
}

// Under `outputMutex`.
void closeFile() noexcept {
    const AM_LogSink* const old = file.exchange(nullptr, std::memory_order_relaxed);
    callInside(k_insideSink, [&] { delete old; });
}

// Under `outputMutex`, not on an audio thread.
void writeLine(std::string_view line) noexcept {
    AM_LogSink* target = sink.load(std::memory_order_relaxed);
    if (target == nullptr) {
        askForFile();
        target = file.load(std::memory_order_relaxed);
    }
    if (target != nullptr)
        callInside(k_insideSink, [&] { target->writeLine(line); });
    else
        writeToChannel(line);
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
    return inside == k_insideNothing && !AM_onAudioThread();
}

void sendLine(std::string_view line) noexcept {
    if (AM_onAudioThread()) {
        if (!ring.push(line)) dropped.fetch_add(1, std::memory_order_relaxed);
    } else if (inside == k_insideOpener) {
        writeToChannel(line);
    } else if (inside == k_insideNothing) {
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
    if (calls.load(std::memory_order_relaxed) >= k_maxLogCalls || inside == k_insideSink)
        return false;
    const bool mayReachFile = sink.load(std::memory_order_relaxed) != nullptr ||
                              file.load(std::memory_order_relaxed) != nullptr ||
                              unasked.load(std::memory_order_relaxed) != nullptr;
    return (mayReachFile && inside != k_insideOpener) || channelState() != k_channelClosed;
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

void AM_setLogFileOpener(AM_LogFileOpener opener) {
    if (!mayTakeOutputMutex()) return;
    std::lock_guard lock(outputMutex);
    if (opener == fileOpener) return;
    closeFile();
    fileOpener = opener;
    unasked.store(opener, std::memory_order_relaxed);
}

void AM_flushLog() {
    if (!mayTakeOutputMutex()) return;
    std::lock_guard lock(outputMutex);
    emptyRing();
}

void AM_resetLog() {
    calls.store(0, std::memory_order_relaxed);
    channel.store(k_channelUnknown, std::memory_order_relaxed);
    if (!mayTakeOutputMutex()) return;
    std::lock_guard lock(outputMutex);
    closeFile();
    unasked.store(fileOpener, std::memory_order_relaxed);
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
