// A state in a host's stream: its size as a little-endian 32-bit number, then the text.
#pragma once

#include "AM_Types.h"

#include "pluginterfaces/base/ibstream.h"

#include <string>

// A state has fewer bytes than this.
inline constexpr u32 k_vst3MaxState = 16 << 20;
// Shorter states hold nothing.
inline constexpr u32 k_vst3MinState = 9;

// Writes `size` and the text; false if the stream takes less.
bool AM_VST3_writeState(Steinberg::IBStream& stream, const char* text, u32 size);

// Reads one; false, with a line in the log, for sizes outside the above and for streams that end
// early. Streams may deliver in pieces of any size. Allocates no more than the stream delivers.
bool AM_VST3_readState(Steinberg::IBStream& stream, std::string* text);
