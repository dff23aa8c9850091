// The host as a plug-in's components see it.
#pragma once

#include "AM_Types.h"
#include "public.sdk/source/vst/hosting/hostclasses.h"
#include "TestRunLoop.h"

#include <atomic>

// The SDK's host application, with the faults and additions that hosts have. Any thread.
class TestHostContext : public Steinberg::Vst::HostApplication {
public:
    // `offersRunLoop`: the context itself answers for a run loop, as some Linux hosts' do.
    explicit TestHostContext(bool offersRunLoop = false) : offersLoop(offersRunLoop) {}

    // From now on no messages are made, or are made again.
    void refuseMessages(bool refuse) { refusing = refuse; }
    // How often a message was asked for, and how many of those made are not deleted yet.
    u32 messagesAsked() const { return asked; }
    i32 messagesAlive() const { return alive; }
    // References that were taken and not given back.
    i32 references() const { return held; }

    TestRunLoop loop;

    Steinberg::tresult PLUGIN_API createInstance(Steinberg::TUID cid, Steinberg::TUID wanted,
                                                 void** out) override;
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted, void** out) override;
    Steinberg::uint32 PLUGIN_API addRef() override { return static_cast<u32>(++held); }
    Steinberg::uint32 PLUGIN_API release() override { return static_cast<u32>(--held); }

private:
    const bool offersLoop;
    std::atomic<bool> refusing{false};
    std::atomic<u32> asked{0};
    std::atomic<i32> alive{0};
    std::atomic<i32> held{0};
};
