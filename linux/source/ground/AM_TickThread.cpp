// The 50 ms tick: one timer thread for the process.
#include "AM_Log.h"
#include "AM_Platform.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds k_period{k_tickMilliseconds};

struct Entry {
    u32 id;
    AM_TickListener* listener;
};

// One timer thread with its listeners, from the first of them to the last. All fields are under
// `tickMutex`; `thread` is joined by the one caller that finds it joinable.
struct TickThread {
    std::vector<Entry> entries;
    std::condition_variable changed; // `stopping` or `runningId`
    u32 runningId = 0;
    bool stopping = false;
    bool finished = false; // the thread is past its last use of this record
    bool joined = false;
    u32 users = 1; // the place in `active` or `ended`, and each caller that waits for `changed`
    std::thread thread;
    TickThread* nextEnded = nullptr;
};

// Constant-initialised and without destructors: nothing is left to the order of unloading.
constinit std::mutex tickMutex;
constinit TickThread* active = nullptr;
constinit TickThread* ended = nullptr; // stopped from inside a tick, so still to be joined
constinit u32 lastId = 0;

[[gnu::tls_model("initial-exec")]] thread_local bool onTickThread = false;

// Under `tickMutex`.
void release(TickThread* timer) {
    if (--timer->users == 0) delete timer;
}

void callListener(AM_TickListener* listener) noexcept {
    try {
        listener->tick();
    } catch (const std::exception& error) {
        AM_Log("ALERT! a tick threw: %s", error.what());
    } catch (...) {
        AM_Log("ALERT! a tick threw");
    }
}

// Calls each listener once, in the order of their ids; the list may change at each call.
void callAll(TickThread* timer, std::unique_lock<std::mutex>& lock) {
    u32 previousId = 0;
    while (!timer->stopping) {
        const auto next = std::find_if(timer->entries.begin(), timer->entries.end(),
                                       [&](const Entry& entry) { return entry.id > previousId; });
        if (next == timer->entries.end()) return;
        AM_TickListener* const listener = next->listener;
        previousId = timer->runningId = next->id;
        lock.unlock();
        callListener(listener);
        lock.lock();
        timer->runningId = 0;
        timer->changed.notify_all();
    }
}

void run(TickThread* timer) {
    onTickThread = true;
    std::unique_lock lock(tickMutex);
    Clock::time_point due = Clock::now() + k_period;
    while (!timer->changed.wait_until(lock, due, [timer] { return timer->stopping; })) {
        callAll(timer, lock);
        due = std::max(due + k_period, Clock::now()); // late ticks are not made up for
    }
    timer->finished = true;
}

// Takes `timer` out of the chain `ended`. Under `tickMutex`.
void unchain(const TickThread* timer) {
    TickThread** link = &ended;
    while (*link != timer)
        link = &(*link)->nextEnded;
    *link = timer->nextEnded;
}

// The first ended thread to be joined: with `wait` any, else one that is through. Under
// `tickMutex`.
TickThread* nextToJoin(bool wait) {
    TickThread* timer = ended;
    while (timer != nullptr && !wait && !timer->finished)
        timer = timer->nextEnded;
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): a freed one has left the chain before
    return timer;
}

// Joins threads that were stopped: with `wait` all of them, also those that another caller is just
// joining, else those that are through. Not on a tick thread.
void joinEnded(std::unique_lock<std::mutex>& lock, bool wait) {
    while (TickThread* const timer = nextToJoin(wait)) {
        if (timer->thread.joinable()) {
            std::thread thread = std::move(timer->thread);
            lock.unlock();
            thread.join();
            lock.lock();
            unchain(timer); // its place there becomes this call's use
            timer->joined = true;
            timer->changed.notify_all();
        } else {
            ++timer->users;
            timer->changed.wait(lock, [timer] { return timer->joined; });
        }
        release(timer);
    }
}

// Takes a thread without listeners out of use. Under `tickMutex`.
void stopThread(TickThread* timer) {
    active = nullptr;
    timer->stopping = true;
    timer->nextEnded = ended;
    ended = timer;
    timer->changed.notify_all();
}

// Under `tickMutex`.
void addListener(AM_TickListener* listener, u32 id) {
    if (active != nullptr) {
        active->entries.push_back({id, listener});
        return;
    }
    TickThread* const timer = new TickThread;
    try {
        timer->entries.push_back({id, listener});
        timer->thread = std::thread(run, timer);
    } catch (...) {
        delete timer;
        throw;
    }
    active = timer;
}

} // namespace

u32 AM_startTick(AM_TickListener* listener) {
    if (listener == nullptr) {
        AM_Log("ERROR: AM_startTick without a listener");
        return 0;
    }
    std::unique_lock lock(tickMutex);
    if (!onTickThread) joinEnded(lock, false);
    const u32 id = lastId + 1;
    try {
        addListener(listener, id);
    } catch (const std::exception& error) {
        lock.unlock();
        AM_Log("ERROR: AM_startTick: %s", error.what());
        return 0;
    }
    return lastId = id;
}

void AM_stopTick(u32 id) {
    std::unique_lock lock(tickMutex);
    TickThread* const timer = active;
    if (timer != nullptr) {
        ++timer->users;
        const auto place = std::find_if(timer->entries.begin(), timer->entries.end(),
                                        [id](const Entry& entry) { return entry.id == id; });
        const bool known = place != timer->entries.end();
        if (known) timer->entries.erase(place);
        // Also if it is unknown by now: a tick that stopped itself may still be running.
        if (!onTickThread && id != 0)
            timer->changed.wait(lock, [timer, id] { return timer->runningId != id; });
        if (known && timer->entries.empty() && active == timer) stopThread(timer);
        release(timer);
    }
    if (!onTickThread) joinEnded(lock, true);
}
