// One load of a state's text under way: what its lines do to the instance.
#pragma once

#include "AM_Log.h"
#include "AM_StateRows.h"

#include <map>
#include <string>
#include <vector>

class AM_IPresetAdapter;
class AM_StateBytes;

class AM_StateLoad {
public:
    AM_StateLoad(AM_ParaMan& manager, AM_StateBytes& bytes, i32 mode);

    // Takes the metadata block of a whole preset.
    void readMetadata(std::string_view text);
    // Takes one line as AM_StateLines gives it. Numbers are set at once; texts wait for finish, so
    // that a row which is named often is built once.
    void readLine(std::string_view line);
    // Sets the texts, then, if anything was recognised, the defaults of what a whole preset did not
    // name and the locks of a song.
    void finish();
    bool isRecognised() const { return recognised; }

private:
    static constexpr i32 k_maxReports = 100;

    template <class... A>
    void report(const char* format, const A&... args) {
        if (reports < k_maxReports) AM_Log(format, args...);
        if (++reports == k_maxReports) AM_Log("WARNING: further lines about this state left out");
    }
    void readKey(std::string_view line);
    void readSetUp(std::string_view line);
    void readName(std::string_view name);
    void selectModule(std::string_view name);
    void lock(std::string_view pair);
    void namePatch(std::string_view value);
    void readVersion(std::string_view value);
    void assign(std::string_view name, std::string_view value);
    void assignBytes(i32 id, std::string_view count);
    void assignValue(i32 id, std::string_view text);
    f32 translateSource(i32 id, f32 value) const;
    bool keeps(i32 id) const { return kept[static_cast<size_t>(id)]; }
    void setText(i32 id, const std::string& text);
    void applyDefaults();
    void applyDefault(i32 id);

    AM_ParaMan& paraMan;
    AM_StateBytes& bytes;
    const AM_StateRows rows;
    const i32 mode;
    bool wholePreset;
    bool recognised = false;
    bool nameSeen = false;
    AM_IPresetAdapter* adapter = nullptr;
    std::string moduleName; // as the text has it
    AM_AudioObject* module = nullptr;
    std::vector<bool> named;
    std::vector<bool> lockNamed;
    std::vector<bool> kept; // locked before the load, where locks hold
    std::map<i32, std::string> texts;
    std::vector<std::string> sourceNames; // of the text
    i32 reports = 0;
};
