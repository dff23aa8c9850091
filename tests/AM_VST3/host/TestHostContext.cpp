#include "TestHostContext.h"

using Steinberg::tresult;
using Steinberg::TUID;
using Steinberg::FUnknownPrivate::iidEqual;

namespace {

class CountedMessage : public Steinberg::Vst::HostMessage {
public:
    explicit CountedMessage(std::atomic<i32>& count) : counter(count) { ++counter; }
    ~CountedMessage() override { --counter; }

private:
    std::atomic<i32>& counter;
};

} // namespace

tresult TestHostContext::createInstance(TUID cid, TUID wanted, void** out) {
    using Steinberg::Vst::IMessage;
    if (!iidEqual(cid, IMessage::iid) || !iidEqual(wanted, IMessage::iid))
        return HostApplication::createInstance(cid, wanted, out);
    ++asked;
    *out = refusing ? nullptr : static_cast<IMessage*>(new CountedMessage(alive));
    return *out ? Steinberg::kResultOk : Steinberg::kResultFalse;
}

tresult TestHostContext::queryInterface(const TUID wanted, void** out) {
    // The base asks its support object for the wrong interface.
    if (iidEqual(wanted, Steinberg::Vst::IPlugInterfaceSupport::iid))
        return getPlugInterfaceSupport()->queryInterface(wanted, out);
    if (offersLoop && iidEqual(wanted, Steinberg::Linux::IRunLoop_iid))
        return loop.queryInterface(wanted, out);
    return HostApplication::queryInterface(wanted, out);
}
