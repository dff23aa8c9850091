// Binary data as printable text: the chunk at the end of a preset.
#pragma once

#include "AM_Types.h"

#include <cstddef>
#include <string>
#include <string_view>

// The layout is in docs/chunk.md. The codec knows no byte order of the machine: chunks are the same
// on all of them. Any thread but an audio thread.

// The bytes that one chunk can hold.
inline constexpr i32 k_maxChunkSize = 1000000;

// Appends the chunk of the `size` bytes at `source` to `dest` and returns the characters appended:
// at most 180 + 2 * size, and a line feed behind each 64. A `size` outside 1 to 1000000 appends
// nothing. The time is that of sorting the 32-bit words.
i32 encodeChunk(std::string& dest, const void* source, i32 size);

// Decodes the first chunk in `text`, which ends at its first zero if there is one, into `dest`
// (null: the chunk is only checked). At most `maxBytes` bytes are written: a repeat is cut there,
// and a token that follows is an error. False for damaged text, with a line on the log; what was
// written to `dest` then stays. `outSize`, if given, gets the bytes expanded, also on failure.
// Reads each character at most twice, and nothing behind the sum but white space.
bool decodeChunk(void* dest, std::string_view text, i32 maxBytes, i32* outSize = nullptr);
