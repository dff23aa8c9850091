#include "AM_AudioThread.h"

#include "AM_Types.h"

namespace {

// Initial-exec: the general model of a shared library may allocate at a thread's first access.
[[gnu::tls_model("initial-exec")]] thread_local u32 audioScopes = 0;

} // namespace

AM_AudioThreadScope::AM_AudioThreadScope() noexcept {
    ++audioScopes;
}

AM_AudioThreadScope::~AM_AudioThreadScope() {
    --audioScopes;
}

bool AM_onAudioThread() noexcept {
    return audioScopes != 0;
}
