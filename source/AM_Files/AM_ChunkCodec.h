// Binary data as printable text: the chunk at the end of a preset.
#pragma once

#include "AM_Types.h"

#include <cstddef>
#include <string>
#include <string_view>

// The layout is in docs/chunk.md. The codec knows no byte order of the machine: chunks are the same
// on all of them.

// Appends the chunk of `size` bytes (1 to 1000000; else nothing) to `dest`; returns the characters
// appended. The time grows with the square of the number of distinct words.
i32 encodeChunk(std::string& dest, const void* source, i32 size);

// Decodes the chunk in `text`, which ends at its first zero if there is one, into `dest` (null: the
// chunk is only checked) and writes at most `maxBytes` bytes. False for damaged text, with a line
// on the log; what was written to `dest` then stays. `outSize`, if given, gets the bytes expanded.
bool decodeChunk(void* dest, std::string_view text, i32 maxBytes, i32* outSize = nullptr);
