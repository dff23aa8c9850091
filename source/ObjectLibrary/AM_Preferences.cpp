#include "AM_Preferences.h"

#include "AM_AudioManager.h"
#include "AM_Filesystem.h"
#include "AM_Log.h"
#include "AM_MidiAssignFile.h"
#include "AM_MidiControllerInput.h"
#include "AM_StateText.h"

namespace {

// The preferences in the order of their lines, by their defaults.
constexpr const AudioPrefEnum* k_defaults[AM_PreferencesAudio::k_numPreferences] = {
    &BaseLatency::yes, &MidiControlSmoothing::light, &NKS_AutoMap::yes, &NKS_ColourFit::no,
    &AutoTag_Features::never};

std::atomic<i32> liveObjects{0};

void copyName(char (&target)[32], const char* source) {
    const std::string_view name = AM_truncateUtf8(source ? source : "", sizeof(target) - 1);
    name.copy(target, name.size());
    target[name.size()] = '\0';
}

bool splitMessage(const char* text, std::string* name, std::string* value) {
    const std::string_view whole = text ? text : "";
    const size_t colon = whole.find(':');
    if (colon == whole.npos) return false;
    *name = whole.substr(0, colon);
    *value = whole.substr(colon + 1);
    return true;
}

// What a file says of the lines that the store writes itself, and the lines of others.
struct FileLines {
    std::string author;
    std::string preferences[AM_PreferencesAudio::k_numPreferences];
    std::string others;
};

} // namespace

// --- life --------------------------------------------------------------------------------

AM_PreferencesAudio::AM_PreferencesAudio(const char* productName, const char* vendorName) {
    copyName(product, productName);
    copyName(vendor, vendorName);
    for (i32 i = 0; i < k_numPreferences; ++i)
        entries[i].value.store(k_defaults[i], std::memory_order_relaxed);
    AM_Log("new instance of  AM_PreferencesAudio created for %s # %d", product,
           liveObjects.fetch_add(1) + 1);
}

AM_PreferencesAudio::~AM_PreferencesAudio() {
    liveObjects.fetch_sub(1);
}

i32 AM_PreferencesAudio::count() {
    return liveObjects.load();
}

// --- values ------------------------------------------------------------------------------

i32 AM_PreferencesAudio::indexOf(std::string_view name) {
    for (i32 i = 0; i < k_numPreferences; ++i)
        if (k_defaults[i]->getKey() == name) return i;
    return -1;
}

const AudioPrefEnum* AM_PreferencesAudio::find(std::string_view name, std::string_view value) {
    const i32 index = indexOf(name);
    // All values of a preference's list are of its class.
    return index < 0 ? nullptr : static_cast<const AudioPrefEnum*>(k_defaults[index]->find(value));
}

bool AM_PreferencesAudio::setPreference(const char* name, const char* value) {
    const AudioPrefEnum* found = find(name ? name : "", value ? value : "");
    if (!found) return false;
    const std::lock_guard guard(lock);
    Entry& entry = entries[indexOf(name)];
    entry.chosen = true;
    if (entry.value.exchange(found) != found) changed.store(true);
    return true;
}

bool AM_PreferencesAudio::describe(const char* name, std::string* value) const {
    const i32 index = indexOf(name ? name : "");
    if (index < 0) return false;
    *value = entries[index].value.load()->name;
    return true;
}

i32 AM_PreferencesAudio::valueOf(i32 id) const {
    if (id < 0) return -1;
    for (const Entry& entry : entries) {
        const AudioPrefEnum* value = entry.value.load(std::memory_order_acquire);
        if (value->id == id) return value->value;
    }
    return -1;
}

void AM_PreferencesAudio::setAuthor(const char* name) {
    const std::string_view kept = AM_truncateUtf8(name ? name : "", k_maxPreferenceAuthor);
    const std::lock_guard guard(lock);
    authorChosen = true;
    if (author == kept) return;
    author = kept;
    changed.store(true);
}

std::string AM_PreferencesAudio::getAuthor() const {
    const std::lock_guard guard(lock);
    return author;
}

bool AM_PreferencesAudio::takeChanged() {
    const bool assigns = midiAssigns.takeChanged();
    return changed.exchange(false) || assigns;
}

// --- messages ----------------------------------------------------------------------------

bool AM_PreferencesAudio::encodeStateMessage(const char* name, std::string* text) const {
    std::string value;
    if (!describe(name, &value)) return false;
    *text = std::string(name) + ":" + value;
    return true;
}

bool AM_PreferencesAudio::decodeIntercomMessage(const char* text, std::string* name,
                                                std::string* value) {
    if (splitMessage(text, name, value)) return true;
    AM_Log("error: AM_PreferencesAudio::decodeIntercomMessage no delimiter ':' found");
    return false;
}

bool AM_PreferencesAudio::decodeAudioPreferenceStateIntercomMessage(const char* text,
                                                                    std::string* name,
                                                                    std::string* value) {
    if (splitMessage(text, name, value)) return true;
    AM_Log("error: AM_PreferencesAudio::decodeAudioPreferenceStateIntercomMessage no delimiter "
           "':' found");
    return false;
}

void AM_PreferencesAudio::receiveCom(const char* subject, const char* content) {
    const std::string_view whole = content ? content : "";
    const size_t delimiter = whole.find("->");
    if (delimiter == whole.npos) {
        AM_Log("error: AM_PreferencesAudio::receiveCom no delimiter '->' found");
        return;
    }
    if (!subject || subject != std::string_view("COM_SET_AUDIO_PREF")) return;
    std::string name, value;
    if (!decodeIntercomMessage(content + delimiter + 2, &name, &value)) return;
    if (!setPreference(name.c_str(), value.c_str()))
        AM_Log("AM_PreferencesAudio::receiveCom didn't find matching preference for \"%s\"", name);
}

// --- files -------------------------------------------------------------------------------

AM_FilePath AM_PreferencesAudio::getPreferencesPath() const {
    const std::string path =
        std::string("/support/com.") + vendor + "." + product + ".Preferences.txt";
    return path.c_str();
}

bool AM_PreferencesAudio::adopt(const char* name, const char* value) {
    const AudioPrefEnum* found = find(name, value);
    if (!found) return false;
    const std::lock_guard guard(lock);
    Entry& entry = entries[indexOf(name)];
    if (!entry.chosen) entry.value.store(found);
    return true;
}

void AM_PreferencesAudio::adoptAuthor(const char* name) {
    const std::lock_guard guard(lock);
    if (!authorChosen) author = name;
}

bool AM_PreferencesAudio::load(AM_Filesystem& files, const AM_FilePath& path) {
    const std::lock_guard guard(fileLock);
    const std::optional<std::string> text = AM_readPreferenceFile(files, path, true);
    if (!text) return false;
    AudioPreferenceExtractor extractor(*this);
    setPreferencesFromText(text->data(), static_cast<i32>(text->size()), extractor);
    return true;
}

std::string AM_PreferencesAudio::mergeLocked(std::string_view fileText) const {
    FileLines file;
    AM_PreferenceReader reader(fileText, true);
    while (const std::optional<AM_PreferenceLine> line = reader.next()) {
        std::string source(line->source);
        if (!source.empty()) source += '\n';
        const bool ours = line->kind == AM_PreferenceLine::k_preference && line->module == k_module;
        const i32 index = ours ? indexOf(line->key) : -1;
        if (line->kind == AM_PreferenceLine::k_author) {
            file.author = source.empty() ? AM_writeAuthorLine(line->value) : source;
        } else if (index < 0) {
            file.others += source;
        } else if (const AudioPrefEnum* value = find(line->key, line->value)) {
            file.preferences[index] =
                AM_writePreferenceLine(k_module, line->key, value->id, value->name);
        } else if (file.preferences[index].empty()) {
            file.preferences[index] = source; // a choice that a newer version knows
        }
    }
    std::string text =
        authorChosen || file.author.empty() ? AM_writeAuthorLine(author) : file.author;
    for (i32 i = 0; i < k_numPreferences; ++i) {
        const AudioPrefEnum* value = entries[i].value.load();
        text += entries[i].chosen || file.preferences[i].empty()
                    ? AM_writePreferenceLine(k_module, value->getKey(), value->id, value->name)
                    : file.preferences[i];
    }
    return text + file.others;
}

std::string AM_PreferencesAudio::mergedText(std::string_view fileText) const {
    const std::lock_guard guard(lock);
    return mergeLocked(fileText);
}

bool AM_PreferencesAudio::save(AM_Filesystem& files, const AM_FilePath& path) {
    const std::lock_guard fileGuard(fileLock);
    const std::optional<std::string> before = AM_readPreferenceFile(files, path, false);
    std::string text;
    bool chosen[k_numPreferences];
    bool authorWas = false;
    if (before) {
        const std::lock_guard guard(lock);
        text = mergeLocked(*before);
        for (i32 i = 0; i < k_numPreferences; ++i) {
            chosen[i] = entries[i].chosen;
            entries[i].chosen = false;
        }
        authorWas = authorChosen;
        authorChosen = false;
        if (text == *before) return true;
    }
    if (before && text.size() <= k_maxPreferencesFile &&
        files.replaceFile(path, text.data(), text.size()))
        return true;
    AM_Log("Can't store UI Preferences");
    if (!before) return false;
    const std::lock_guard guard(lock);
    for (i32 i = 0; i < k_numPreferences; ++i)
        entries[i].chosen = entries[i].chosen || chosen[i];
    authorChosen = authorChosen || authorWas;
    return false;
}

void AM_PreferencesAudio::load(AM_AudioMan& instance) {
    AM_Filesystem& files = instance.getFilesystem();
    const std::string assignPath = AM_MidiAssignFile::getMidiAssignPath(vendor, product);
    AM_Log("getMidiAssignPath(): %s", assignPath);
    if (const AM_ParaMan* table = instance.getParaMan())
        AM_MidiAssignFile::readFile(files, assignPath.c_str(), midiAssigns, *table);
    load(files, getPreferencesPath());
}

void AM_PreferencesAudio::save(AM_AudioMan& instance) {
    AM_Filesystem& files = instance.getFilesystem();
    const std::string assignPath = AM_MidiAssignFile::getMidiAssignPath(vendor, product);
    if (const AM_ParaMan* table = instance.getParaMan())
        AM_MidiAssignFile::writeFile(files, assignPath.c_str(), midiAssigns, *table);
    save(files, getPreferencesPath());
}

// --- MIDI controllers --------------------------------------------------------------------

void AM_PreferencesAudio::controllerInput(AM_AudioMan& instance, AM_MidiControllerState& state,
                                          i32 channel, i32 controller, i32 value) {
    AM_controllerInput(instance, midiAssigns, state, channel, controller, value);
}

// --- extractor ---------------------------------------------------------------------------

void AudioPreferenceExtractor::setPreference(const char* module, const char* key, i32,
                                             const char* value) {
    if (module == std::string_view(AM_PreferencesAudio::k_module) && store.adopt(key, value))
        return;
    if (logsLeft > 0) {
        --logsLeft;
        AM_Log("Warning! AudioPreferenceExtractor::setPreference didn't find matching preference");
    }
}

void AudioPreferenceExtractor::setAuthor(const char* name) {
    store.adoptAuthor(name);
}
