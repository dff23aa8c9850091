// Files of MIDI assignments: any text is read without harm, and what is then written is read back
// to the same rows and pages, and written again to the same text.
#include "AM_FolderResolver.h"
#include "AM_Log.h"
#include "AM_MemoryFilesystem.h"
#include "AM_MidiAssignFile.h"
#include "fuzz/FuzzTarget.h"
#include "plugin/PluginHarness.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

constexpr char k_path[] = "/support/file.txt";

bool same(const AM_MidiAssignments& a, const AM_MidiAssignments& b) {
    if (a.rows.size() != b.rows.size() || a.pages != b.pages) return false;
    for (size_t i = 0; i < a.rows.size(); ++i)
        if (a.rows[i].assigned() != b.rows[i].assigned()) return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    // No folder of this machine.
    static const bool isolated = (AM_setAlternateFolder("/nonexistent"), true);
    static_cast<void>(isolated);
    static Plugin plugin;
    AM_resetLog();
    AM_setLogSink(&silence);
    const AM_ParaMan& table = plugin.paraMan();
    AM_MemoryFilesystem files;
    files.addFile(k_path, {reinterpret_cast<const char*>(data), size});
    MidiAssignMap map, other;
    require(AM_MidiAssignFile::readFile(files, k_path, map, table));
    // In place of the text, which has rows that are no others, and anew.
    require(AM_MidiAssignFile::writeFile(files, k_path, map, table));
    const std::string text = files.content(k_path).value();
    require(AM_MidiAssignFile::readFile(files, k_path, other, table));
    require(same(map.content(), other.content()));
    require(AM_MidiAssignFile::writeFile(files, k_path, other, table));
    require(files.content(k_path) == text);
    return 0;
}
