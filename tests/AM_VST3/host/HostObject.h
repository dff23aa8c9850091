// What the host's own objects have in common.
#pragma once

#include "AM_Types.h"
#include "pluginterfaces/base/funknown.h"

#include <atomic>

// An object of the host that offers FUnknown and `Interface`. It belongs to the test that made it:
// a plug-in's references are counted and never delete it. Any thread.
template <class Interface>
class HostObject : public Interface {
public:
    // `id`: the interface's. (Not Interface::iid: some of those are a plug-in's to define.)
    explicit HostObject(const Steinberg::TUID id) : own(id) {}
    virtual ~HostObject() = default;
    HostObject(const HostObject&) = delete;
    HostObject& operator=(const HostObject&) = delete;

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted,
                                                 void** out) override {
        using Steinberg::FUnknownPrivate::iidEqual;
        const bool known = iidEqual(wanted, own) || iidEqual(wanted, Steinberg::FUnknown_iid);
        *out = known ? static_cast<Interface*>(this) : nullptr;
        if (!known) return Steinberg::kNoInterface;
        addRef();
        return Steinberg::kResultOk;
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return static_cast<u32>(++held); }
    Steinberg::uint32 PLUGIN_API release() override { return static_cast<u32>(--held); }

    // References that were taken and not given back; below 0 if too many were.
    i32 references() const { return held; }

private:
    const char* const own;
    std::atomic<i32> held{0};
};
