// The component handler of the host: what a controller tells it is recorded.
#pragma once

#include "HostObject.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"

#include <mutex>
#include <thread>
#include <vector>

class TestHandler : public HostObject<Steinberg::Vst::IComponentHandler>,
                    public Steinberg::Vst::IComponentHandler2 {
public:
    enum class Kind { Begin, Perform, End, Restart, Dirty, OpenEditor, BeginGroup, EndGroup };
    struct Call {
        Kind kind;
        Steinberg::Vst::ParamID id; // of edits
        f64 value;                  // normalised of Perform, flags of Restart, state of Dirty
        std::thread::id thread;
    };

    // Many hosts lack the second interface.
    explicit TestHandler(bool offersSecond = true)
        : HostObject(Steinberg::Vst::IComponentHandler_iid), second(offersSecond) {}

    // Everything so far, oldest first.
    std::vector<Call> calls() const;
    size_t count(Kind kind) const;
    // The flags of all restarts, or-ed.
    i32 restarted() const;
    // Whether a call came from another thread than the one that made this object.
    bool calledFromAfar() const;
    void clear();

    Steinberg::tresult PLUGIN_API beginEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API performEdit(Steinberg::Vst::ParamID id,
                                              Steinberg::Vst::ParamValue value) override;
    Steinberg::tresult PLUGIN_API endEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API restartComponent(Steinberg::int32 flags) override;

    Steinberg::tresult PLUGIN_API setDirty(Steinberg::TBool state) override;
    Steinberg::tresult PLUGIN_API requestOpenEditor(Steinberg::FIDString name) override;
    Steinberg::tresult PLUGIN_API startGroupEdit() override;
    Steinberg::tresult PLUGIN_API finishGroupEdit() override;

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted, void** out) override;
    Steinberg::uint32 PLUGIN_API addRef() override { return HostObject::addRef(); }
    Steinberg::uint32 PLUGIN_API release() override { return HostObject::release(); }

private:
    Steinberg::tresult record(Kind kind, Steinberg::Vst::ParamID id = 0, f64 value = 0.0);

    const bool second;
    const std::thread::id home = std::this_thread::get_id();
    mutable std::mutex lock;
    std::vector<Call> recorded;
};
