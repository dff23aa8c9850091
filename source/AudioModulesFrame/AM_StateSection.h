// The binary side of a state: sections of complex rows in a chunk, and the stream of records.
#pragma once

#include "AM_Parameter.h"

#include <string>
#include <vector>

class AM_AudioMan;
class AM_ParaMan;

// A section: magic, i32 size, the row's minimum and default as raw words, then `size` bytes; words
// in the byte order of the machine.
inline constexpr u32 k_sectionMagic = 0x414D6263;
inline constexpr i32 k_sectionHeaderSize = 16;

// Appends the section of a row, with the row's maximum as size.
void AM_appendSection(std::vector<u8>& target, const ParameterInfo& info, const void* data);
// The bytes that `count` bytes at `section` hold: those behind the header if they begin with one,
// of either byte order, else all. `*size` is at most `count`.
const u8* AM_sectionData(const u8* section, i32 count, i32* size);

// Names of the instance's modulation sources by number, "none" for number 0, and of its ModBuffers.
std::vector<std::string> AM_modSourceNames(AM_AudioMan& manager);
std::vector<std::string> AM_modBufferNames(AM_AudioMan& manager);

// The stream: records of u16 size, u16 id and `size` bytes (an f32, or the bytes of a complex row)
// in the byte order of the machine; first id 0xFFFF with the patch version, last a size of 0.
std::vector<u8> AM_writeStateStream(AM_ParaMan& paraMan);
// Sets what the stream holds, locked rows left out, smoothing off. Messages 77 go out in front and
// behind. False if the stream breaks off, with a log line; what came before is set. Under
// stateLock.
bool AM_readStateStream(AM_ParaMan& paraMan, const void* stream, i32 size);
