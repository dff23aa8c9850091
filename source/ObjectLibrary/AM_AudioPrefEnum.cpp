#include "AM_AudioPrefEnum.h"

namespace {

constexpr const SmartEnum* k_smoothings[] = {
    &MidiControlSmoothing::off, &MidiControlSmoothing::light, &MidiControlSmoothing::smooth};
constexpr const SmartEnum* k_latencies[] = {&BaseLatency::no, &BaseLatency::yes};
constexpr const SmartEnum* k_autoMaps[] = {&NKS_AutoMap::no, &NKS_AutoMap::yes};
constexpr const SmartEnum* k_colourFits[] = {&NKS_ColourFit::no, &NKS_ColourFit::yes};
constexpr const SmartEnum* k_autoTags[] = {&AutoTag_Features::never, &AutoTag_Features::onLoad,
                                           &AutoTag_Features::ifEmpty};

} // namespace

// Constants of the load image: code that runs before main may use them.
constinit const SmartEnumList MidiControlSmoothing::list = k_smoothings;
constinit const MidiControlSmoothing MidiControlSmoothing::off("OFF", 0);
constinit const MidiControlSmoothing MidiControlSmoothing::light("LIGHT", 1);
constinit const MidiControlSmoothing MidiControlSmoothing::smooth("SMOOTH", 2);

constinit const SmartEnumList BaseLatency::list = k_latencies;
constinit const BaseLatency BaseLatency::no("NO", 0);
constinit const BaseLatency BaseLatency::yes("YES", 1);

constinit const SmartEnumList NKS_AutoMap::list = k_autoMaps;
constinit const NKS_AutoMap NKS_AutoMap::no("NO", 0);
constinit const NKS_AutoMap NKS_AutoMap::yes("YES", 1);

constinit const SmartEnumList NKS_ColourFit::list = k_colourFits;
constinit const NKS_ColourFit NKS_ColourFit::no("NO", 0);
constinit const NKS_ColourFit NKS_ColourFit::yes("YES", 1);

constinit const SmartEnumList AutoTag_Features::list = k_autoTags;
constinit const AutoTag_Features AutoTag_Features::never("never", 0);
constinit const AutoTag_Features AutoTag_Features::onLoad("on load", 1);
constinit const AutoTag_Features AutoTag_Features::ifEmpty("if empty", 2);
