// The log: one printf-style function for all diagnostics of the process.
//
// Lines. The text of a call is cut into lines at each newline and carriage return, and after 250
// characters; what is left at the end of the call is a line too, so lines of two calls are never
// joined. Empty lines are left out, except that a call whose text holds nothing else gives one.
// Of a call at most 10000 characters count. "ALERT!", "WARNING" and "ERROR" at the head of a line
// are the only levels.
//
// Where they go: to the sink while one is attached, else to the log file if an opener is set and
// finds one, else to the platform's debug channel. While there is none of them, a call returns
// before formatting. A run's log falls silent after 100000 calls that anybody could hear.
//
// Threads. Any thread but an audio thread writes its lines at once, under the log's mutex. An audio
// thread (AM_AudioThread.h) puts them into a ring of 256 lines, without a lock, allocation or
// system call; a line that finds the ring full is dropped and counted, and the number is reported
// with the next lines that come out. The ring is emptied every 20 ms by the writer thread of
// AM_LogSession, by AM_flushLog and by the next direct line.
#pragma once

#include "AM_Format.h"
#include "AM_Types.h"

#include <atomic>
#include <string_view>

inline constexpr u32 k_maxLogCalls = 100000;
inline constexpr size_t k_maxLogLine = 250;
inline constexpr size_t k_maxLogText = 10000;
inline constexpr u32 k_logRingLines = 256;

// Takes the lines of the log.
class AM_LogSink {
public:
    virtual ~AM_LogSink() = default;
    // One line of at most 250 characters, without its end. One call at a time, on the thread that
    // logs or on the writer thread. What it throws is dropped; what it logs itself is not written.
    virtual void writeLine(std::string_view line) = 0;
};

// Attaches `sink` in place of the debug channel, null for none, and returns the one before. Lines
// still in the ring go to the old one first; after the return it is not called any more. Not from
// an audio thread nor from inside writeLine, where it changes nothing.
AM_LogSink* AM_setLogSink(AM_LogSink* sink);

// Answers with the log's file as a new sink, which the log deletes, or null if there is none. It
// may take its time; what it logs goes to the debug channel. What it throws counts as null.
using AM_LogFileOpener = AM_LogSink* (*)();
// Sets who opens the log file, null for nobody. It is asked once, by the first line that no sink
// takes, never on an audio thread. Setting another one closes the file; setting the same one again
// does nothing. Not from an audio thread, writeLine or an opener, where it changes nothing.
void AM_setLogFileOpener(AM_LogFileOpener opener);

// Keeps the writer thread alive while an instance lives: the first one starts it, the last one
// joins it and empties the ring. Any number at once, from any threads but audio threads and not
// from inside writeLine. Without a writer thread the log works too, but audio threads' lines wait.
class AM_LogSession {
public:
    AM_LogSession();
    ~AM_LogSession();
    AM_LogSession(const AM_LogSession&) = delete;
    AM_LogSession& operator=(const AM_LogSession&) = delete;
};

// Writes the lines of the ring now. On an audio thread it does nothing.
void AM_flushLog();

// True if a line logged now could reach anybody. Costs a few loads.
bool AM_logIsHeard() noexcept;
// Logs with a row of arguments made before.
void AM_logArguments(const char* format, const AM_Arguments& arguments);
// Starts the run's log anew: calls count from 0, the log file is closed, and the file and the debug
// channel are looked up again. For tests.
void AM_resetLog();

// Logs `format` with its arguments (see AM_Format.h); a null format logs what the formatter says of
// it. Any thread.
template <class... A>
void AM_Log(const char* format, const A&... args) {
    if (AM_logIsHeard()) AM_logArguments(format, AM_Arguments(args...));
}

// For a line that would come with every block: `if (once.first()) AM_Log(...)`. One per instance of
// the thing reported. Any thread.
class AM_Once {
public:
    // True for the first caller only.
    bool first() noexcept {
        return !done.load(std::memory_order_relaxed) &&
               !done.exchange(true, std::memory_order_relaxed);
    }
    void reset() noexcept { done.store(false, std::memory_order_relaxed); }

private:
    std::atomic<bool> done{false};
};

// `N` of these side by side, for lines that come once per instance and parameter.
template <size_t N>
class AM_OnceFlags {
public:
    // True for the first caller with this index; false for an index outside 0 to N - 1.
    bool first(size_t index) noexcept {
        if (index >= N) return false;
        const u32 bit = 1u << (index & 31);
        std::atomic<u32>& word = words[index / 32];
        return (word.load(std::memory_order_relaxed) & bit) == 0 &&
               (word.fetch_or(bit, std::memory_order_relaxed) & bit) == 0;
    }
    void reset() noexcept {
        for (std::atomic<u32>& word : words)
            word.store(0, std::memory_order_relaxed);
    }

private:
    std::atomic<u32> words[(N + 31) / 32] = {};
};
