// Reads the text of a state (docs/preset-text.md) into an instance.
#pragma once

#include "AM_StateRows.h"

#include <array>
#include <string_view>
#include <vector>

// A load can start another one; each level has its own bytes of the chunk, and an eighth is
// refused. One per parameter manager, under the manager's stateLock.
class AM_StateReader {
public:
    static constexpr i32 k_maxLevel = 7;

    explicit AM_StateReader(AM_ParaMan& manager) : paraMan(manager) {}

    // Sets what `size` bytes at `text` name; `mode` is an AM_LoadMode. Nothing in a text stops the
    // load: what is unknown or damaged is logged, at most 100 lines a load, and passed over. True
    // if anything in it was a value of this plug-in; without one nothing is set to its default.
    bool load(const char* text, i32 size, i32 mode);
    i32 getLevel() const { return stateInfoLevel; }

private:
    bool loadAtLevel(const char* text, size_t size, i32 mode);

    AM_ParaMan& paraMan;
    i32 stateInfoLevel = 0;
    std::array<std::vector<u8>, k_maxLevel> buffers;
};

// The bytes that a state's text brings with it.
class AM_StateBytes {
public:
    // Decodes the first chunk of `text` that is sound into `buffer`; false if there is none.
    bool findChunk(std::string_view text, std::vector<u8>& buffer);
    // Takes what lies behind the text's terminator, on the next multiple of 4, inside `size`.
    void takeBehind(const char* text, size_t length, size_t size);
    bool isEmpty() const { return bytes.empty(); }
    // The next `count` bytes; null if fewer are left, and then none are.
    const u8* take(i64 count);
    // The text that was put behind the buffer stands; else it is logged for `level`.
    bool checkGuard(i32 level) const;

private:
    std::string_view bytes;
    size_t position = 0;
    const u8* guard = nullptr;
};

// Reads the six metadata values into `values`, in the order of k_metaKeys; false without a block.
bool AM_readMetadata(std::string_view text, std::array<std::string, std::size(k_metaKeys)>& values);
