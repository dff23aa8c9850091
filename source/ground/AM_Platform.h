// What this floor needs of the operating system. Each system implements it in its own folder.
#pragma once

#include "AM_Types.h"

#include <string_view>

// True if the debug channel has a reader: on Linux, if standard error is a terminal. May make a
// system call.
bool AM_debugChannelIsOpen() noexcept;
// Writes `line` and a line end to the debug channel; errors are ignored.
void AM_writeDebugChannel(std::string_view line) noexcept;

// True if a debugger is attached to the process. Reads a file.
bool AM_debuggerPresent() noexcept;
// Stops in the attached debugger; without one, the process ends.
void AM_breakIntoDebugger() noexcept;

// Is called every 50 ms on the process-wide timer thread.
class AM_TickListener {
public:
    virtual ~AM_TickListener() = default;
    // Sets flags and watches; never touches trees or views. What it throws is logged.
    virtual void tick() = 0;
};

inline constexpr u32 k_tickMilliseconds = 50;

// Calls `listener` from now on until AM_stopTick; returns an id for that, never 0. Null or a system
// without a thread to spare gives 0 and a log line. The timer thread starts with the first
// listener.
u32 AM_startTick(AM_TickListener* listener);
// Ends the calls; when it returns, tick() of that listener is not running and does not run again.
// From inside a tick it returns at once, and a running tick() goes on to its end. The last one also
// joins the timer thread; if that was called from inside a tick, the next AM_stopTick from another
// thread does, whatever its id. An unknown id or 0 is ignored. The caller holds no lock that a
// tick() takes.
void AM_stopTick(u32 id);
