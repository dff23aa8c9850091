// What many hosts put between the two halves of a plug-in.
#pragma once

#include "HostObject.h"
#include "pluginterfaces/vst/ivstmessage.h"

#include <atomic>
#include <thread>

// Stands for the peer: what is sent to it goes on to the half it was given. Each half gets a proxy
// of its own.
class ConnectionProxy : public HostObject<Steinberg::Vst::IConnectionPoint> {
public:
    // `target`: the half that is stood for. With `homeThreadOnly`, messages of other threads than
    // the one that made the proxy are refused, as the SDK's own host does.
    ConnectionProxy(Steinberg::Vst::IConnectionPoint* target, bool homeThreadOnly)
        : HostObject(Steinberg::Vst::IConnectionPoint_iid), peer(target), strict(homeThreadOnly) {}

    Steinberg::tresult PLUGIN_API connect(Steinberg::Vst::IConnectionPoint*) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::tresult PLUGIN_API disconnect(Steinberg::Vst::IConnectionPoint*) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::tresult PLUGIN_API notify(Steinberg::Vst::IMessage* message) override {
        const bool isHome = std::this_thread::get_id() == home;
        ++(isHome ? atHome : fromAfar);
        return isHome || !strict ? peer->notify(message) : Steinberg::kResultFalse;
    }

    // Messages of the home thread, and of all others.
    u32 messages() const { return atHome; }
    u32 messagesFromAfar() const { return fromAfar; }

private:
    Steinberg::Vst::IConnectionPoint* const peer;
    const bool strict;
    const std::thread::id home = std::this_thread::get_id();
    std::atomic<u32> atHome{0};
    std::atomic<u32> fromAfar{0};
};
