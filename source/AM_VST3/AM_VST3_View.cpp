#include "AM_VST3_View.h"

#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"

// The SDK leaves these to each binary.
namespace Steinberg {

DEF_CLASS_IID(IPlugView)
DEF_CLASS_IID(IPlugFrame)
DEF_CLASS_IID(IPlugViewContentScaleSupport)
#if SMTG_OS_LINUX
namespace Linux {
DEF_CLASS_IID(IEventHandler)
DEF_CLASS_IID(ITimerHandler)
DEF_CLASS_IID(IRunLoop)
} // namespace Linux
#endif

} // namespace Steinberg

Steinberg::IPlugView* AM_VST3_createView(AM_VST3_Controller&) {
    return nullptr;
}
