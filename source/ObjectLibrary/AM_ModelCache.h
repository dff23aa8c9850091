// The models that the instances of the process have built last.
#pragma once

#include "AM_DelayModel.h"

// A code gives the same model in every instance, and some laws take tens of milliseconds to draw
// one; a project that opens a hundred instances, or steps back and forth between presets, builds
// each model once. Takes a lock; any thread but an audio thread.
namespace AM_ModelCache {

inline constexpr i32 k_numModels = 32; // about 2 kB each; the oldest goes first

// Sets `*model` to the finished model of `code`; false if it is not here.
bool find(const char* code, AM_DelayModel* model);
// Keeps a copy of a finished model.
void keep(const AM_DelayModel& model);

} // namespace AM_ModelCache
