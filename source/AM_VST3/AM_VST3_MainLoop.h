// A periodic call on the host's main thread, where the host lends it, else on the timer thread.
#pragma once

#include "AM_Platform.h"
#include "AM_Types.h"

#include "pluginterfaces/gui/iplugview.h"

#include <atomic>

// Every 50 ms it calls whoever it belongs to. Host main thread.
class AM_VST3_MainLoop {
public:
    class Client {
    public:
        virtual ~Client() = default;
        // `onHostThread`: this is the host's main thread. Throws nothing.
        virtual void periodic(bool onHostThread) = 0;
    };

    explicit AM_VST3_MainLoop(Client& owner);
    ~AM_VST3_MainLoop() { stop(); }
    AM_VST3_MainLoop(const AM_VST3_MainLoop&) = delete;
    AM_VST3_MainLoop& operator=(const AM_VST3_MainLoop&) = delete;

    // Begins the calls, on the run loop that `host` offers, if it offers one. What ran before is
    // stopped.
    void start(Steinberg::FUnknown* host);
    // Ends the calls; when it returns none is running, unless it was called from inside one.
    void stop();
    bool runsOnHost() const { return onHost; }

private:
    struct Tick final : AM_TickListener {
        explicit Tick(Client& owner) : client(owner) {}
        void tick() override { client.periodic(false); }
        Client& client;
    };

    Client& client;
    Tick listener;
    u32 tickId = 0;
    std::atomic<bool> onHost{false};
#if SMTG_OS_LINUX
    class Timer;
    Steinberg::IPtr<Steinberg::Linux::IRunLoop> runLoop;
    Timer* timer = nullptr; // with one reference
#endif
};
