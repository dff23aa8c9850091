#include "AM_Assert.h"

#include "AM_AudioThread.h"
#include "AM_Log.h"
#include "AM_Platform.h"
#include "AM_Text.h"

AM_AssertionError::AM_AssertionError(const char* text) noexcept {
    AM_STD::copyText(message, text);
}

void AM_assertFailed(const char* text, const char* file, int line) {
    AM_Log("Assert failed at %s line %d: %s", AM_STD::fileName(file), line, text);
    // Looking for the debugger reads a file, which an audio thread must not.
    if (!AM_onAudioThread() && AM_debuggerPresent()) AM_breakIntoDebugger();
    throw AM_AssertionError(text);
}
