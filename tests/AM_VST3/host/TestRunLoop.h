// The run loop that a Linux host offers. Its clock stands still until a test moves it.
#pragma once

#include "HostObject.h"
#include "pluginterfaces/gui/iplugview.h"

#include <mutex>
#include <thread>
#include <vector>

class TestRunLoop : public HostObject<Steinberg::Linux::IRunLoop> {
public:
    TestRunLoop() : HostObject(Steinberg::Linux::IRunLoop_iid) {}

    // Moves the clock and calls every timer as often as it falls due, in order of time, on the
    // calling thread. Timers may come and go meanwhile.
    void advance(u64 milliseconds);
    // Like hosts, the loop holds no reference on a handler: one that dies registered is a fault.
    size_t timers() const;
    size_t eventHandlers() const;
    // Whether timers came, went or ran on another thread than the one that made the loop.
    bool usedFromAfar() const;

    Steinberg::tresult PLUGIN_API registerTimer(Steinberg::Linux::ITimerHandler* handler,
                                                Steinberg::Linux::TimerInterval interval) override;
    Steinberg::tresult PLUGIN_API
    unregisterTimer(Steinberg::Linux::ITimerHandler* handler) override;
    Steinberg::tresult PLUGIN_API registerEventHandler(
        Steinberg::Linux::IEventHandler* handler, Steinberg::Linux::FileDescriptor file) override;
    Steinberg::tresult PLUGIN_API
    unregisterEventHandler(Steinberg::Linux::IEventHandler* handler) override;

private:
    struct Timer {
        Steinberg::Linux::ITimerHandler* handler;
        u64 interval;
        u64 due;
    };
    // The earliest timer due until `time`, moved on by its interval; null if there is none.
    Steinberg::Linux::ITimerHandler* nextDue(u64 time);
    void visit();

    const std::thread::id home = std::this_thread::get_id();
    mutable std::mutex lock;
    u64 now = 0;
    bool afar = false;
    std::vector<Timer> registered;
    std::vector<Steinberg::Linux::IEventHandler*> events;
};
