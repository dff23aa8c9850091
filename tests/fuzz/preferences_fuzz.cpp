// Preference files of any text: what is written over one reads like it, and is what is written
// over that again.
#include "AM_Log.h"
#include "AM_Preferences.h"
#include "fuzz/FuzzTarget.h"

#include <cstdlib>
#include <string>

namespace {

void read(AM_PreferencesAudio& store, const std::string& text) {
    AudioPreferenceExtractor extractor(store);
    setPreferencesFromText(text.data(), static_cast<i32>(text.size()), extractor);
}

// All that a store knows; nothing of it was chosen there, so it is what a new file would say.
std::string state(const AM_PreferencesAudio& store) {
    return store.getAuthor() + '\n' + store.mergedText("");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    const std::string text(reinterpret_cast<const char*>(data), size);

    AM_PreferencesAudio first("Product", "Vendor"), second("Product", "Vendor");
    read(first, text);
    const std::string written = first.mergedText(text);
    read(second, written);
    require(state(first) == state(second));
    require(second.mergedText(written) == written);

    // Any name comes back out of the file.
    first.setAuthor(text.c_str());
    AM_PreferencesAudio third("Product", "Vendor");
    read(third, first.mergedText(text));
    require(third.getAuthor() == first.getAuthor());

    std::string name, value;
    if (AM_PreferencesAudio::decodeIntercomMessage(text.c_str(), &name, &value))
        require(name + ":" + value == text.c_str());
    first.receiveCom("COM_SET_AUDIO_PREF", text.c_str());
    return 0;
}
