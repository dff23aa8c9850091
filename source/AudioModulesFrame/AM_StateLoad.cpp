#include "AM_StateLoad.h"

#include "AM_AudioManager.h"
#include "AM_ParaMan.h"
#include "AM_PresetAdapter.h"
#include "AM_StateLines.h"
#include "AM_StateReader.h"
#include "AM_StateSection.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t k_maxAdapterName = 36; // characters
constexpr size_t k_maxSources = 1000;

bool takeKey(std::string_view& line, std::string_view key) {
    if (!line.starts_with(key)) return false;
    line.remove_prefix(key.size());
    return true;
}

} // namespace

AM_StateLoad::AM_StateLoad(AM_ParaMan& manager, AM_StateBytes& stateBytes, i32 loadMode)
    : paraMan(manager), bytes(stateBytes), rows(manager), mode(loadMode),
      wholePreset(loadMode != k_loadPartial),
      named(static_cast<size_t>(std::max(manager.getNumParams(), 0))), lockNamed(named.size()),
      kept(named.size()) {
    // A lock holds against presets; the state of an instance brings its own locks.
    for (i32 id = 0; mode != k_loadSong && id < manager.getNumParams(); ++id)
        kept[static_cast<size_t>(id)] = manager.isLocked(id);
}

void AM_StateLoad::readMetadata(std::string_view text) {
    std::array<std::string, std::size(k_metaKeys)> values;
    if (!AM_readMetadata(text, values)) return;
    for (size_t i = 0; i < values.size(); ++i)
        texts[paraMan.standardId(k_metaKeys[i].row)] = values[i];
}

// --- lines -------------------------------------------------------------------------------

void AM_StateLoad::readLine(std::string_view line) {
    std::string_view name, value;
    if (line[0] == '#')
        readKey(line);
    else if (line[0] == '!')
        readSetUp(line);
    else if (AM_splitPair(line, '=', &name, &value))
        assign(name, value);
    else
        report("Can't find '%s'", std::string(line));
}

void AM_StateLoad::readKey(std::string_view line) {
    if (takeKey(line, "#cm=")) {
        selectModule(line);
    } else if (takeKey(line, "#lock=")) {
        lock(line);
    } else if (takeKey(line, "#defaults=")) {
        if (line == "no" || line == "yes") wholePreset = line == "yes";
    } else if (takeKey(line, "#patchname=")) {
        namePatch(line);
    } else if (takeKey(line, "#Vers=")) {
        readVersion(line);
    } else if (takeKey(line, "#AM=")) {
        readName(line);
    } else if (takeKey(line, "#ms=")) {
        if (sourceNames.size() < k_maxSources) sourceNames.emplace_back(line);
    } else if (!line.starts_with("#nm=") && !line.starts_with("#nv=") &&
               !line.starts_with("#mv=") && !line.starts_with("#Endian=")) {
        report("Can't find '%s'", std::string(line));
    }
}

void AM_StateLoad::readSetUp(std::string_view line) {
    if (!paraMan.takesSetUpText()) return;
    struct SetUp {
        std::string_view line;
        i32 preference;
        i32 value;
    };
    static constexpr SetUp table[] = {
        {"!EDITOR=YES", k_prefEditor, 1},
        {"!DEBUG_SOME_MIDI_NOTE_CASES=YES", k_prefDebugMidiNotes, 1},
        {"!PRINT_PUBLIC_PARAMS=YES", k_prefPrintParams, 1},
        {"!PRINT_BINARY_STATE=YES", k_prefPrintBinaryState, 1},
        {"!SMOOTH_MIDI_CTRLS=OFF", k_prefMidiSmoothing, 0},
        {"!SMOOTH_MIDI_CTRLS=LIGHT", k_prefMidiSmoothing, 1},
        {"!SMOOTH_MIDI_CTRLS=SMOOTH", k_prefMidiSmoothing, 2},
    };
    for (const SetUp& row : table)
        if (row.line == line) paraMan.getManager()->setPreferenceValue(row.preference, row.value);
}

void AM_StateLoad::readName(std::string_view name) {
    if (nameSeen) return;
    nameSeen = true;
    const std::string wanted(AM_truncateUtf8(name, k_maxAdapterName));
    AM_AudioMan* manager = paraMan.getManager();
    if (AM_sameWithoutBlanks(manager->pluginInfo.name, wanted)) return;
    report("seeking for a PresetAdapter for '%s'", wanted);
    adapter = manager->findPresetAdapter(wanted.c_str());
    if (!adapter) return;
    report("FOUND IT");
    adapter->start();
    if (!adapter->applyDefaults(paraMan)) report("no defaults");
}

void AM_StateLoad::selectModule(std::string_view name) {
    moduleName = name;
    module = rows.findModule(adapter ? adapter->moduleName(name) : moduleName);
    if (!module) report("Can't find '%s'", moduleName);
}

void AM_StateLoad::lock(std::string_view pair) {
    const i32 id = rows.findPair(pair);
    if (id >= 0) {
        lockNamed[static_cast<size_t>(id)] = true;
        if (!paraMan.isLocked(id)) paraMan.setLocked(id, true);
        return;
    }
    std::string_view owner = pair, name;
    AM_splitPair(pair, ':', &owner, &name);
    report("#lock, no Param found : '%s:%s'\n", std::string(owner), std::string(name));
}

void AM_StateLoad::namePatch(std::string_view value) {
    if (value != "no" && value != "yes") return;
    const i32 id = paraMan.standardId(k_rowPatchNamed);
    paraMan.restoreParameterValue(id, value == "yes" ? 1.0f : 0.0f);
    named[static_cast<size_t>(id)] = true;
}

void AM_StateLoad::readVersion(std::string_view value) {
    const i64 version = AM_parseWhole(value, 16);
    if (version < 1 || version > INT32_MAX) return;
    paraMan.setPatchVersion(static_cast<i32>(version), false);
    if (adapter) adapter->versionFound(static_cast<u32>(version));
}

// --- assignments -------------------------------------------------------------------------

void AM_StateLoad::assign(std::string_view name, std::string_view value) {
    if (!module) return;
    const i32 id = adapter ? rows.findRow(module, adapter->parameterName(moduleName, name))
                           : rows.findRow(module, name);
    if (id < 0) {
        report("Can't find '%s'", std::string(name));
        return;
    }
    const ParameterInfo& info = *paraMan.row(id);
    if (rows.binarySize(id) > 0) {
        assignBytes(id, value);
    } else if (!rows.isSaved(id)) {
        return;
    } else if (info.kind == k_complexText) {
        recognised = true;
        named[static_cast<size_t>(id)] = true;
        if (!keeps(id)) texts[id] = AM_unquoteText(value);
    } else {
        assignValue(id, value);
    }
}

void AM_StateLoad::assignBytes(i32 id, std::string_view count) {
    const u8* section = nullptr;
    const i64 size = AM_parseWhole(count);
    if (bytes.isEmpty())
        report("CHUNK IS NULL\n");
    else if (!(section = bytes.take(size)))
        report("ERROR: the chunk ends inside %s", paraMan.row(id)->longName);
    if (!section) return;
    recognised = true;
    if (keeps(id)) return;
    i32 length = 0;
    const u8* data = AM_sectionData(section, static_cast<i32>(size), &length);
    std::vector<u8> padded(data, data + length);
    padded.resize(static_cast<size_t>(std::max(length, rows.binarySize(id))));
    paraMan.setParameterValueComplex(id, padded.data(), static_cast<i32>(padded.size()));
}

void AM_StateLoad::assignValue(i32 id, std::string_view text) {
    const std::optional<f32> value = rows.valueOf(id, text);
    if (!value) {
        report("CHUNK INDEX UNDEFINED - '%s'", std::string(text));
        return;
    }
    recognised = true;
    named[static_cast<size_t>(id)] = true;
    if (!keeps(id)) paraMan.restoreParameterValue(id, translateSource(id, *value));
}

// Sources are numbered anew with every change of the plug-in; their names stay.
f32 AM_StateLoad::translateSource(i32 id, f32 value) const {
    if (sourceNames.empty() || !paraMan.isMatrixSource(id)) return value;
    if (!(value >= 0 && value < static_cast<f32>(sourceNames.size()))) return value;
    const std::string& wanted = sourceNames[static_cast<size_t>(value)];
    const std::vector<std::string> own = AM_modSourceNames(*paraMan.getManager());
    const auto found = std::find_if(own.begin(), own.end(), [&wanted](const std::string& name) {
        return AM_sameWithoutBlanks(name, wanted);
    });
    return found == own.end() ? 0.0f : static_cast<f32>(found - own.begin());
}

// --- the end -----------------------------------------------------------------------------

void AM_StateLoad::setText(i32 id, const std::string& text) {
    const ParameterInfo& info = *paraMan.row(id);
    const auto room = static_cast<size_t>(std::max(info.maxValue, 1.0f)) - 1;
    const std::string fitting(AM_truncateUtf8(text, room));
    if (fitting.size() < text.size())
        report("WARNING: %s is longer than %d bytes and was cut", info.longName,
               static_cast<i32>(room));
    paraMan.setParameterValueComplex(id, fitting.c_str(), static_cast<i32>(fitting.size()) + 1);
}

void AM_StateLoad::finish() {
    if (!recognised) return;
    for (const auto& [id, text] : texts) {
        named[static_cast<size_t>(id)] = true;
        if (!keeps(id)) setText(id, text);
    }
    if (wholePreset) applyDefaults();
    for (i32 id = 0; mode == k_loadSong && wholePreset && id < paraMan.getNumParams(); ++id)
        if (paraMan.isLocked(id) && !lockNamed[static_cast<size_t>(id)])
            paraMan.setLocked(id, false);
}

void AM_StateLoad::applyDefaults() {
    for (i32 id = 0; id < paraMan.getNumParams(); ++id) {
        // Preset files leave the rows of the instance out, which so keep their values.
        const bool left = mode != k_loadSong && rows.isInstanceRow(id);
        if (!left && !named[static_cast<size_t>(id)] && rows.isSaved(id) && !keeps(id))
            applyDefault(id);
    }
}

void AM_StateLoad::applyDefault(i32 id) {
    const ParameterInfo& info = *paraMan.row(id);
    if (info.kind == k_complexText) {
        const std::string& text = paraMan.getInitialText(id);
        if (paraMan.getText(id) != text) setText(id, text);
    } else if (!info.isComplex() && paraMan.getParameterTarget(id) != info.defaultValue) {
        paraMan.restoreParameterValue(id, info.defaultValue);
    }
}
