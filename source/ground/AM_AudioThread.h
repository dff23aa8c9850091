// Tells code that may wait or write from code that runs inside an audio callback.
#pragma once

// Marks the calling thread as an audio thread while an instance lives. Scopes nest; each belongs to
// the thread that made it. Allocates nothing and takes no lock.
class AM_AudioThreadScope {
public:
    AM_AudioThreadScope() noexcept;
    ~AM_AudioThreadScope();
    AM_AudioThreadScope(const AM_AudioThreadScope&) = delete;
    AM_AudioThreadScope& operator=(const AM_AudioThreadScope&) = delete;
};

// True while the calling thread is inside at least one AM_AudioThreadScope.
bool AM_onAudioThread() noexcept;
