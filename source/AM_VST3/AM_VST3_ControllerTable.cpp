// The units, parameters and programs that AM_VST3_Controller publishes.
#include "AM_AudioObject.h"
#include "AM_ParaMan.h"
#include "AM_VST3_Controller.h"
#include "VelParameter.h"

#include "pluginterfaces/base/ustring.h"

#include <string>

using Steinberg::Vst::kNoProgramListId;
using Steinberg::Vst::kRootUnitId;
using Steinberg::Vst::Unit;

namespace {

constexpr size_t k_maxUnitName = 24;
constexpr i32 k_programList = 0;
constexpr i32 k_programSteps = 2; // three programs

} // namespace

// One unit for each object with parameters, in the order of the table.
void AM_VST3_Controller::addUnits() {
    for (i32 object = 0; object < audioMan->getNumObjects(); ++object) {
        const AM_AudioObject* owner = audioMan->getObject(object);
        if (!owner) continue;
        const std::string name(owner->getShortName());
        Steinberg::Vst::String128 wide{};
        Steinberg::UString(wide, 128).fromAscii(name.substr(0, k_maxUnitName).c_str());
        addUnit(new Unit(wide, object + 1, kRootUnitId, kNoProgramListId));
    }
}

void AM_VST3_Controller::addParameters() {
    AM_ParaMan& table = *audioMan->getParaMan();
    map = AM_VST3_ParameterMap(table);
    parameters.init(map.size() + 2);
    for (i32 i = 0; i < map.size(); ++i) {
        const ParameterInfo* row = table.row(i);
        parameters.addParameter(new VelParameter(row, row->owner));
    }
    bypassRow = audioMan->getBypassParameter();
    if (bypassRow >= 0) bypassId = AM_VST3_idOf(*table.row(bypassRow));

    addUnit(new Unit(STR16("ProgramList0Unit"), k_vst3ProgramUnit, kRootUnitId, k_programList));
    parameters.addParameter(STR16("ProgramChange"), STR16(""), k_programSteps, 0,
                            Steinberg::Vst::ParameterInfo::kIsProgramChange, k_vst3Program,
                            k_vst3ProgramUnit, STR16("ProgramChange"));
}

void AM_VST3_Controller::addMidiParameters() {
    addUnit(new Unit(STR16("midi"), k_vst3MidiUnit, kRootUnitId, k_programList));
    midi = Steinberg::owned(
        new Steinberg::Vst::Parameter(STR16("MidiController"), k_vst3FirstMidi, STR16("Midi"), 0, 0,
                                      Steinberg::Vst::ParameterInfo::kNoFlags, k_vst3MidiUnit));
    midiValues.assign(k_vst3MidiChannels * k_vst3MidiNumbers, 0);
    numInFront = parameters.getParameterCount();
    const bool hasBypass = bypassRow >= 0;
    AM_Log("DO WE HAVE A BYPASS? %d", hasBypass);
    if (hasBypass)
        parameters.addParameter(STR16("Bypass"), STR16(""), 1, 0,
                                Steinberg::Vst::ParameterInfo::kIsBypass, k_vst3Bypass,
                                kRootUnitId);
}

void AM_VST3_Controller::addPrograms() {
    auto* list = new Steinberg::Vst::ProgramList(STR16("MyFirstProgramList"), k_programList,
                                                 k_vst3ProgramUnit);
    list->addProgram(STR16("MyFirstProgram"));
    list->addProgram(STR16("MySecondProgram"));
    list->addProgram(STR16("MyThirdProgram"));
    addProgramList(list);
}
