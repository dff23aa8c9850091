// Tuning files of any text: every note has a target that is a number and at most the highest one.
#include "AM_Log.h"
#include "AM_TuneFile.h"
#include "fuzz/FuzzTarget.h"

#include <cmath>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    const std::string content(reinterpret_cast<const char*>(data), size);
    const AM_TuneFile tuning("tun", content.c_str());
    for (i32 note = 0; note < 128; ++note) {
        const f32 target = tuning.getTargetNote(note);
        if (!std::isfinite(target) || target > 150.0f) std::abort();
    }
    AM_TuneFile::isExtensionSupported(content.c_str());
    return 0;
}
