// How the state of an AM_AudioMan goes out and comes back, and the files that it works with.
#include "AM_Assert.h"
#include "AM_AudioManager.h"
#include "AM_Filesystem.h"
#include "AM_FilesystemFactory.h"
#include "AM_ParaMan.h"
#include "AM_StateRows.h"
#include "AM_Text.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace {

constexpr i32 k_maxStateSize = 16 << 20; // bytes
constexpr i32 k_fxpHeader = 60;          // bytes in front of the state's text
constexpr const char* k_defaultPreset = "default.q3p";

// A word that stands while something is under way.
template <class T>
class Mark {
public:
    explicit Mark(T& word) : marked(word), before(word) { marked = 1; }
    ~Mark() { marked = before; }
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;

private:
    T& marked;
    T before;
};

} // namespace

// --- files -------------------------------------------------------------------------------

void AM_AudioMan::setupFilesystem(const AM_FilesystemFactory& factory, const char* name,
                                  const char* presetFolder) {
    createFilesystem(factory, &filesystem, name, presetFolder);
}

void AM_AudioMan::setupFilesystem(const char* name, const char* presetFolder) {
    setupFilesystem(AM_FilesystemFactory(), name, presetFolder);
}

AM_Filesystem& AM_AudioMan::getFilesystem() const {
    AM_ASSERT(filesystem, "Plugin must call createFilesystem() in it's constructor!");
    return *filesystem;
}

// --- saving ------------------------------------------------------------------------------

const char* AM_AudioMan::getStateInfo(i32* outSize, bool complete, const char* header) {
    if (outSize) *outSize = 0;
    if (!context) return nullptr;
    const std::lock_guard texts(stateTexts);
    const Mark mark(pluginInfo.wholeState);
    pluginInfo.wholeState = complete;
    return paraMan->writeStateSection(outSize, complete, header);
}

i32 AM_AudioMan::prepareStateInfo(const char* header) {
    if (stateCachePhase != 0) AM_Log("stateInfoCachePhase not 0 during prepare");
    i32 size = 0;
    const char* text = getStateInfo(&size, true, header);
    stateCache.assign(text ? text : "", static_cast<size_t>(size));
    stateCachePhase = 1;
    return size;
}

const char* AM_AudioMan::fetchStateInfo(i32* size) {
    if (stateCachePhase != 1) AM_Log("stateInfoCachePhase not 1 during fetch");
    if (size) *size = static_cast<i32>(stateCache.size());
    if (!stateCache.empty()) {
        stateCachePhase = 0;
        return stateCache.c_str();
    }
    AM_Log("stateInfoCache was empty during fetchStateInfo");
    return nullptr;
}

bool AM_AudioMan::savePreset(AM_Filesystem& files, const AM_FilePath& path) {
    if (!context) return false;
    const i32 row = paraMan->standardId(k_rowNoInstance);
    const f32 before = paraMan->getParameterTarget(row);
    paraMan->setParameterValue(row, 1, 0, true);
    i32 size = 0;
    const char* text = getStateInfo(&size, false, nullptr);
    paraMan->setParameterValue(row, before, 0, true);
    return text && files.replaceFile(path, text, static_cast<size_t>(size) - 1);
}

// --- loading -----------------------------------------------------------------------------

bool AM_AudioMan::setStateInfo(const char* text, i32 size, bool inSong) {
    if (!text || size < 0 || size >= k_maxStateSize) {
        AM_Log("ERROR: a state of %d bytes is refused", text ? size : 0);
        return false;
    }
    if (!context) {
        AM_Log("ERROR: a state comes before initialize()");
        return false;
    }
    const std::lock_guard texts(stateTexts);
    const std::lock_guard lock(stateLock);
    const bool recognised = loadStateLocked(text, size, inSong);
    reset();
    return recognised;
}

bool AM_AudioMan::loadStateLocked(const char* text, i32 size, bool inSong) {
    if (settingState) AM_Log("ALERT: setStateInfo interrupts setStateInfo");
    const Mark setting(settingState);
    const Mark song(pluginInfo.loadingSong);
    pluginInfo.loadingSong = inSong;
    stateChanges();
    const bool recognised = paraMan->loadStateText(text, size, inSong ? k_loadSong : k_loadPreset);
    const i32 first = std::min(pluginInfo.numChannels, context->numBusChannels);
    std::fill(bus(first), bus(context->numBusChannels), 0.0f);
    stateChanges();
    return recognised;
}

bool AM_AudioMan::loadPreset(const AM_FilePath& path) {
    return loadPreset(getFilesystem(), path);
}

bool AM_AudioMan::loadPreset(AM_Filesystem& files, const AM_FilePath& path) {
    AM_Log("void AM_AudioMan::loadPreset()");
    const std::string extension = AM_STD::toLower(path.extension().utf8());
    const bool foreign = extension == "fxp";
    if (!foreign && extension != "q3p") {
        AM_Log("no preset: %s", path.c_str('/'));
        return false;
    }
    const AM_VirtualFilePtr file = files.open(path, AM_Filesystem::kRead);
    if (file->hasError()) {
        AM_Log("Eeek, AM_FileErr occurred on AM_File->open()\n");
        return false;
    }
    const char* content = file->getContentBuffer();
    if (!content || file->hasError()) {
        AM_Log("Eeek, AM_FileErr occurred on AM_File->readBytes()\n");
        return false;
    }
    const i64 size = file->getContentSize();
    const i64 start = foreign ? k_fxpHeader : 0;
    if (size < start || size - start >= k_maxStateSize) {
        AM_Log("ERROR: %s of %d bytes is no preset", path.c_str('/'),
               static_cast<i32>(std::min<i64>(size, INT32_MAX)));
        return false;
    }
    return setStateInfo(content + start, static_cast<i32>(size - start), false);
}

// What a user wants each instance to begin with, if there is such a preset.
void AM_AudioMan::loadDefaultPreset() {
    const AM_FilePath path("/patches/default.q3p");
    if (filesystem && filesystem->exists(path) && loadPreset(path))
        setPresetFileName(k_defaultPreset);
}

// --- names -------------------------------------------------------------------------------

std::string AM_AudioMan::getPresetFileName() const {
    return paraMan ? paraMan->getText(paraMan->standardId(k_rowPatchFileName)) : std::string();
}

void AM_AudioMan::setPresetFileName(const char* name) {
    if (!paraMan || !name) return;
    const i32 id = paraMan->standardId(k_rowPatchFileName);
    const ParameterInfo* info = paraMan->row(id);
    if (!info) return;
    const std::string fitting(AM_truncateUtf8(name, static_cast<size_t>(info->maxValue) - 1));
    paraMan->setParameterValueComplex(id, fitting.c_str(), static_cast<i32>(fitting.size()) + 1);
}

AM_IPresetAdapter* AM_AudioMan::findPresetAdapter(const char*) {
    return nullptr;
}
