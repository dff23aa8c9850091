// The host as a plug-in's two halves see it.
#pragma once

#include "HostObject.h"
#include "pluginterfaces/gui/iplugview.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "public.sdk/source/vst/hosting/hostclasses.h"

#include <algorithm>
#include <mutex>
#include <thread>
#include <vector>

// The run loop of a Linux host. Its clock stands still until a test moves it, and like hosts it
// holds no reference on a handler. Whoever uses it on another thread than its own is found out.
class TestRunLoop : public HostObject<Steinberg::Linux::IRunLoop> {
public:
    TestRunLoop() : HostObject(Steinberg::Linux::IRunLoop_iid) {}

    // Moves the clock and calls each timer as often as it falls due.
    void advance(u64 milliseconds) {
        for (const u64 end = now + milliseconds; now < end;) {
            ++now;
            for (size_t i = 0; i < timers.size(); ++i)
                if (now % timers[i].interval == 0) timers[i].handler->onTimer();
        }
    }
    Steinberg::tresult PLUGIN_API registerTimer(Steinberg::Linux::ITimerHandler* handler,
                                                Steinberg::Linux::TimerInterval interval) override {
        usedFromAfar |= std::this_thread::get_id() != home;
        timers.push_back({handler, interval});
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API
    unregisterTimer(Steinberg::Linux::ITimerHandler* handler) override {
        usedFromAfar |= std::this_thread::get_id() != home;
        std::erase_if(timers, [=](const Timer& timer) { return timer.handler == handler; });
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API registerEventHandler(Steinberg::Linux::IEventHandler*,
                                                       Steinberg::Linux::FileDescriptor) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::tresult PLUGIN_API
    unregisterEventHandler(Steinberg::Linux::IEventHandler*) override {
        return Steinberg::kNotImplemented;
    }

    struct Timer {
        Steinberg::Linux::ITimerHandler* handler;
        u64 interval;
    };
    std::vector<Timer> timers;
    bool usedFromAfar = false;

private:
    const std::thread::id home = std::this_thread::get_id();
    u64 now = 0;
};

// The SDK's host application, with the faults and additions that hosts have.
class TestHostContext : public Steinberg::Vst::HostApplication {
public:
    // `offersRunLoop`: the context answers for a run loop, as some Linux hosts' do.
    explicit TestHostContext(bool offersRunLoop) : offersLoop(offersRunLoop) {}

    Steinberg::tresult PLUGIN_API createInstance(Steinberg::TUID cid, Steinberg::TUID wanted,
                                                 void** out) override {
        ++messagesAsked;
        return refusesMessages ? Steinberg::kResultFalse
                               : HostApplication::createInstance(cid, wanted, out);
    }
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted,
                                                 void** out) override {
        using Steinberg::FUnknownPrivate::iidEqual;
        // The base asks its support object for the wrong interface.
        if (iidEqual(wanted, Steinberg::Vst::IPlugInterfaceSupport::iid))
            return getPlugInterfaceSupport()->queryInterface(wanted, out);
        if (offersLoop && iidEqual(wanted, Steinberg::Linux::IRunLoop_iid))
            return loop.queryInterface(wanted, out);
        return HostApplication::queryInterface(wanted, out);
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return static_cast<u32>(++references); }
    Steinberg::uint32 PLUGIN_API release() override { return static_cast<u32>(--references); }

    TestRunLoop loop;
    std::atomic<bool> refusesMessages{false};
    std::atomic<u32> messagesAsked{0};
    std::atomic<i32> references{0}; // taken and not given back

private:
    const bool offersLoop;
};

// The component handler: what a controller tells it is recorded.
class TestHandler : public HostObject<Steinberg::Vst::IComponentHandler>,
                    public Steinberg::Vst::IComponentHandler2 {
public:
    using ParamID = Steinberg::Vst::ParamID;
    enum class Kind { Begin, Perform, End, Restart, Dirty, Other };
    struct Call {
        Kind kind;
        ParamID id; // of edits
        f64 value;  // normalised of Perform, flags of Restart, state of Dirty
        bool operator==(const Call&) const = default;
    };

    // Many hosts lack the second interface.
    explicit TestHandler(bool offersSecond)
        : HostObject(Steinberg::Vst::IComponentHandler_iid), second(offersSecond) {}

    // Everything so far, oldest first.
    std::vector<Call> calls() const {
        const std::lock_guard guard(lock);
        return recorded;
    }
    size_t count(Kind kind) const {
        const std::vector<Call> all = calls();
        return static_cast<size_t>(std::ranges::count(all, kind, &Call::kind));
    }
    void clear() {
        const std::lock_guard guard(lock);
        recorded.clear();
    }
    // Whether a call came from another thread than the one that made this object.
    bool calledFromAfar() const { return afar; }

    Steinberg::tresult PLUGIN_API beginEdit(ParamID id) override { return note(Kind::Begin, id); }
    Steinberg::tresult PLUGIN_API performEdit(ParamID id, f64 value) override {
        return note(Kind::Perform, id, value);
    }
    Steinberg::tresult PLUGIN_API endEdit(ParamID id) override { return note(Kind::End, id); }
    Steinberg::tresult PLUGIN_API restartComponent(Steinberg::int32 flags) override {
        return note(Kind::Restart, 0, flags);
    }
    Steinberg::tresult PLUGIN_API setDirty(Steinberg::TBool state) override {
        return note(Kind::Dirty, 0, state);
    }
    Steinberg::tresult PLUGIN_API requestOpenEditor(Steinberg::FIDString) override {
        return note(Kind::Other);
    }
    Steinberg::tresult PLUGIN_API startGroupEdit() override { return note(Kind::Other); }
    Steinberg::tresult PLUGIN_API finishGroupEdit() override { return note(Kind::Other); }

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted,
                                                 void** out) override {
        using Steinberg::Vst::IComponentHandler2;
        if (!second || !Steinberg::FUnknownPrivate::iidEqual(wanted, IComponentHandler2::iid))
            return HostObject::queryInterface(wanted, out);
        addRef();
        *out = static_cast<IComponentHandler2*>(this);
        return Steinberg::kResultOk;
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return HostObject::addRef(); }
    Steinberg::uint32 PLUGIN_API release() override { return HostObject::release(); }

private:
    Steinberg::tresult note(Kind kind, ParamID id = 0, f64 value = 0.0) {
        if (std::this_thread::get_id() != home) afar = true;
        const std::lock_guard guard(lock);
        recorded.push_back({kind, id, value});
        return Steinberg::kResultOk;
    }

    const bool second;
    const std::thread::id home = std::this_thread::get_id();
    std::atomic<bool> afar{false};
    mutable std::mutex lock;
    std::vector<Call> recorded;
};

// What many hosts put between the two halves: it stands for the peer and takes messages of the
// thread that made it alone, as the SDK's own host does.
class ConnectionProxy : public HostObject<Steinberg::Vst::IConnectionPoint> {
public:
    explicit ConnectionProxy(Steinberg::Vst::IConnectionPoint* target)
        : HostObject(Steinberg::Vst::IConnectionPoint_iid), peer(target) {}
    Steinberg::tresult PLUGIN_API connect(IConnectionPoint*) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::tresult PLUGIN_API disconnect(IConnectionPoint*) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override {
        return std::this_thread::get_id() == home ? peer->notify(message) : Steinberg::kResultFalse;
    }

private:
    Steinberg::Vst::IConnectionPoint* const peer;
    const std::thread::id home = std::this_thread::get_id();
};
