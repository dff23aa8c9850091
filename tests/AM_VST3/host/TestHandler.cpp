#include "TestHandler.h"

#include <algorithm>

using Steinberg::kResultOk;
using Steinberg::tresult;
using Steinberg::Vst::ParamID;

std::vector<TestHandler::Call> TestHandler::calls() const {
    const std::lock_guard guard(lock);
    return recorded;
}

size_t TestHandler::count(Kind kind) const {
    const std::lock_guard guard(lock);
    return static_cast<size_t>(
        std::ranges::count_if(recorded, [kind](const Call& call) { return call.kind == kind; }));
}

i32 TestHandler::restarted() const {
    i32 flags = 0;
    for (const Call& call : calls())
        if (call.kind == Kind::Restart) flags |= static_cast<i32>(call.value);
    return flags;
}

bool TestHandler::calledFromAfar() const {
    const std::lock_guard guard(lock);
    return std::ranges::any_of(recorded, [this](const Call& call) { return call.thread != home; });
}

void TestHandler::clear() {
    const std::lock_guard guard(lock);
    recorded.clear();
}

tresult TestHandler::record(Kind kind, ParamID id, f64 value) {
    const std::lock_guard guard(lock);
    recorded.push_back({kind, id, value, std::this_thread::get_id()});
    return kResultOk;
}

tresult TestHandler::beginEdit(ParamID id) {
    return record(Kind::Begin, id);
}
tresult TestHandler::performEdit(ParamID id, Steinberg::Vst::ParamValue value) {
    return record(Kind::Perform, id, value);
}
tresult TestHandler::endEdit(ParamID id) {
    return record(Kind::End, id);
}
tresult TestHandler::restartComponent(Steinberg::int32 flags) {
    return record(Kind::Restart, 0, flags);
}
tresult TestHandler::setDirty(Steinberg::TBool state) {
    return record(Kind::Dirty, 0, state);
}
tresult TestHandler::requestOpenEditor(Steinberg::FIDString) {
    return record(Kind::OpenEditor);
}
tresult TestHandler::startGroupEdit() {
    return record(Kind::BeginGroup);
}
tresult TestHandler::finishGroupEdit() {
    return record(Kind::EndGroup);
}

tresult TestHandler::queryInterface(const Steinberg::TUID wanted, void** out) {
    using Steinberg::Vst::IComponentHandler2;
    if (!second || !Steinberg::FUnknownPrivate::iidEqual(wanted, IComponentHandler2::iid))
        return HostObject::queryInterface(wanted, out);
    addRef();
    *out = static_cast<IComponentHandler2*>(this);
    return kResultOk;
}
