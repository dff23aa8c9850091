#include "Glassmere_AudioMan.h"

#include "AM_DelayNetWorks.h"
#include "AM_Format.h"
#include "AM_Preferences.h"
#include "AM_Text.h"

#include <atomic>

namespace {

constexpr i32 k_internalChannels = 10;
constexpr i32 k_matrixSlots = 0;

std::atomic<i32> liveInstances{0};

} // namespace

Glassmere_AudioMan::Glassmere_AudioMan(u32 id)
    : AM_AudioMan(nullptr, k_internalChannels, k_matrixSlots), tableRow(AM_findPlugin(id)) {
    setPlugId(id);
    AM_STD::copyText(pluginInfo.name, "Glassmere");
    AM_STD::copyText(pluginInfo.componentName, "Glassmere");
    AM_STD::copyText(pluginInfo.shortName, "Glassmere");
    AM_STD::copyText(pluginInfo.copyright, "Copyright vela");
    AM_STD::copyText(pluginInfo.vendor, "vela");
    if (id == k_glassmereId) {
        AM_STD::sprintv(pluginInfo.version, sizeof pluginInfo.version, "%d.%d.%d", 1, 0, 0);
        AM_STD::sprintv(pluginInfo.title, sizeof pluginInfo.title, "Glassmere %s",
                        pluginInfo.version);
        AM_STD::copyText(pluginInfo.dataFolder, "Glassmere");
        pluginInfo.versionNumber = 0x10000;
    }
    liveInstances.fetch_add(1);
    setupFilesystem(pluginInfo.name, pluginInfo.dataFolder);
}

Glassmere_AudioMan::~Glassmere_AudioMan() {
    stopTick();
    liveInstances.fetch_sub(1);
}

i32 Glassmere_AudioMan::getLiveInstances() {
    return liveInstances.load();
}

std::unique_ptr<AM_IPluginPreferences> Glassmere_AudioMan::createPreferences() {
    return std::make_unique<AM_PreferencesAudio>(pluginInfo.name, pluginInfo.vendor);
}

void Glassmere_AudioMan::createModules() {
    if (pluginInfo.plugId != k_glassmereId) return;
    network = new AM_DelayNetWorks(this, "FDN: FDN");
    addToMainCircuit(network);
}

void Glassmere_AudioMan::initialize() {
    AM_AudioMan::initialize();
    if (network) network->applyParams();
}
