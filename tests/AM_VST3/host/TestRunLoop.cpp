#include "TestRunLoop.h"

#include <algorithm>

using Steinberg::kInvalidArgument;
using Steinberg::kResultFalse;
using Steinberg::kResultOk;
using Steinberg::tresult;
using Steinberg::Linux::IEventHandler;
using Steinberg::Linux::ITimerHandler;

void TestRunLoop::visit() {
    if (std::this_thread::get_id() != home) afar = true;
}

ITimerHandler* TestRunLoop::nextDue(u64 time) {
    const std::lock_guard guard(lock);
    visit();
    const auto first = std::ranges::min_element(registered, {}, &Timer::due);
    if (first == registered.end() || first->due > time) {
        now = time;
        return nullptr;
    }
    now = std::max(now, first->due);
    first->due += first->interval;
    return first->handler;
}

void TestRunLoop::advance(u64 milliseconds) {
    u64 end = 0;
    {
        const std::lock_guard guard(lock);
        end = now + milliseconds;
    }
    while (ITimerHandler* handler = nextDue(end))
        handler->onTimer();
}

size_t TestRunLoop::timers() const {
    const std::lock_guard guard(lock);
    return registered.size();
}

size_t TestRunLoop::eventHandlers() const {
    const std::lock_guard guard(lock);
    return events.size();
}

bool TestRunLoop::usedFromAfar() const {
    const std::lock_guard guard(lock);
    return afar;
}

tresult TestRunLoop::registerTimer(ITimerHandler* handler,
                                   Steinberg::Linux::TimerInterval interval) {
    if (!handler || interval == 0) return kInvalidArgument;
    const std::lock_guard guard(lock);
    visit();
    registered.push_back({handler, interval, now + interval});
    return kResultOk;
}

tresult TestRunLoop::unregisterTimer(ITimerHandler* handler) {
    const std::lock_guard guard(lock);
    visit();
    const auto is = [handler](const Timer& timer) { return timer.handler == handler; };
    return std::erase_if(registered, is) > 0 ? kResultOk : kResultFalse;
}

tresult TestRunLoop::registerEventHandler(IEventHandler* handler,
                                          Steinberg::Linux::FileDescriptor) {
    if (!handler) return kInvalidArgument;
    const std::lock_guard guard(lock);
    events.push_back(handler);
    return kResultOk;
}

tresult TestRunLoop::unregisterEventHandler(IEventHandler* handler) {
    const std::lock_guard guard(lock);
    return std::erase(events, handler) > 0 ? kResultOk : kResultFalse;
}
