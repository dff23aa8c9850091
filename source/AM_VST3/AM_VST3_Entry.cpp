// The entry points of the VST3 side of the library. Hosts of Linux call ModuleEntry and ModuleExit,
// those of Windows InitDll and ExitDll.
#include "AM_Text.h"
#include "AM_VST3_Controller.h"
#include "AM_VST3_Guard.h"
#include "AM_VST3_Ids.h"
#include "AM_VST3_Processor.h"
#include "PluginFactory.h"

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"

#include <atomic>
#include <mutex>

using Steinberg::CPluginFactory;
using Steinberg::FUnknown;
using Steinberg::PClassInfo;
using Steinberg::PClassInfo2;
using Steinberg::PFactoryInfo;

namespace {

constexpr char k_webAddress[] = "https://vela.example";
constexpr char k_mailAddress[] = "mailto:info@vela.example";
constexpr char k_sdkVersion[] = "VST 3.5.1";
// An effect all the same: hosts file the plug-in by this text, so it stays.
constexpr char k_subCategories[] = "Instrument|vela";

// What the loader gave the library, for whoever looks for its files.
std::atomic<void*> moduleHandle{nullptr};

template <class T>
FUnknown* newInstance() {
    return (new T)->unknownCast();
}

CPluginFactory* makeFactory() {
    char version[16];
    AM_STD::sprintv(version, sizeof version, "%d.%d.%d", 1, 0, 0);
    auto* factory = new CPluginFactory(
        PFactoryInfo("vela", k_webAddress, k_mailAddress, PFactoryInfo::kUnicode));
    factory->registerClass(PClassInfo2(k_vst3ProcessorClass, PClassInfo::kManyInstances,
                                       kVstAudioEffectClass, "Glassmere",
                                       Steinberg::Vst::kSimpleModeSupported, k_subCategories, "",
                                       version, k_sdkVersion),
                           &newInstance<AM_VST3_Processor_vlGM>);
    factory->registerClass(PClassInfo2(k_vst3ControllerClass, PClassInfo::kManyInstances,
                                       kVstComponentControllerClass, "GlassmereController", 0, "",
                                       "", version, k_sdkVersion),
                           &newInstance<AM_VST3_ControllervlGM>);
    return factory;
}

} // namespace

extern "C" {

// The one factory of the library; each call adds a reference. Null without memory for it.
SMTG_EXPORT_SYMBOL Steinberg::IPluginFactory* PLUGIN_API GetPluginFactory() {
    return AM_VST3_guarded("GetPluginFactory", nullptr, [] {
        static std::mutex mutex;
        // Owned by the library, for as long as it is loaded.
        static CPluginFactory* factory = nullptr;
        const std::lock_guard lock(mutex);
        if (!factory) factory = makeFactory();
        factory->addRef();
        return factory;
    });
}

SMTG_EXPORT_SYMBOL bool InitDll(void* handle) {
    moduleHandle.store(handle);
    return true;
}

SMTG_EXPORT_SYMBOL bool ExitDll() {
    return true;
}

SMTG_EXPORT_SYMBOL bool ModuleEntry(void* handle) {
    return InitDll(handle);
}

SMTG_EXPORT_SYMBOL bool ModuleExit() {
    return ExitDll();
}

} // extern "C"
