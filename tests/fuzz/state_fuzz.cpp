// States of the plug-in: any text loads without harm, and what is then written is read back to the
// same text.
#include "AM_FolderResolver.h"
#include "AM_Log.h"
#include "fuzz/FuzzTarget.h"
#include "plugin/PluginHarness.h"

#include <cstdint>
#include <cstdlib>

namespace {

std::string written(Glassmere_AudioMan& man) {
    i32 size = 0;
    return man.getStateInfo(&size, true, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    // No folder of this machine.
    static const bool isolated = (AM_setAlternateFolder("/nonexistent"), true);
    static_cast<void>(isolated);
    static Plugin plugin;
    static Plugin other;
    if (size < 1) return 0;
    // A copy of the exact size, so that a byte read behind it is found.
    const std::vector<char> text(data + 1, data + size);
    if (data[0] % 4 == 3) {
        plugin.paraMan().readState(text.data(), static_cast<i32>(text.size()));
    } else {
        plugin.man.setStateInfo(text.data(), static_cast<i32>(text.size()), data[0] % 2);
    }
    const std::string first = written(plugin.man);
    if (!other.man.setStateInfo(first.c_str(), static_cast<i32>(first.size()) + 1, true)) abort();
    if (written(other.man) != first) abort();
    std::vector<f32> left(64, 0.5f), right(64, 0.5f);
    plugin.block(left.data(), right.data(), left.data(), right.data(), 64);
    return 0;
}
