#include "AM_StateReader.h"

#include "AM_ChunkCodec.h"
#include "AM_Log.h"
#include "AM_ParaMan.h"
#include "AM_StateLines.h"
#include "AM_StateLoad.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace {

constexpr std::string_view k_chunkMark = "$$$$";
constexpr size_t k_shortestChunk = 50; // characters at the end where none can begin
constexpr i32 k_maxChunks = 8;         // a text with more marks than that is no state
constexpr char k_guard[] = "DEADBEEF_HERE";
constexpr size_t k_guardOffset = 2; // behind the bytes
constexpr size_t k_guardRoom = 16;

} // namespace

// --- the chunk ---------------------------------------------------------------------------

bool AM_StateBytes::findChunk(std::string_view text, std::vector<u8>& buffer) {
    if (text.find(k_chunkMark) == text.npos) return false;
    // Marks in quotes and comments are none: the walk over the lines ends at the first real one.
    AM_StateLines lines(text);
    for (std::string_view line; lines.next(&line);) {
    }
    const size_t end = text.size() - std::min(text.size(), k_shortestChunk);
    size_t place = lines.isAtDollar() ? lines.getPosition() : end;
    for (i32 i = 0; i < k_maxChunks; ++i, place += k_chunkMark.size()) {
        place = text.find(k_chunkMark, place);
        if (place >= end) return false;
        const std::string_view behind = text.substr(place + k_chunkMark.size());
        const i64 size = AM_parseWhole(behind);
        if (size < 1) {
            AM_Log("couldn't determine max size of compressed binary chunk.../n");
            continue;
        }
        if (size > k_maxChunkSize) {
            AM_Log("Horribly big number for binary chunk: %d/n",
                   static_cast<i32>(std::min<i64>(size, INT32_MAX)));
            continue;
        }
        const auto length = static_cast<size_t>(size);
        buffer.assign(length + k_guardRoom, 0);
        std::memcpy(buffer.data() + length + k_guardOffset, k_guard, sizeof k_guard);
        guard = buffer.data() + length + k_guardOffset;
        if (!decodeChunk(buffer.data(), behind, static_cast<i32>(size))) continue;
        bytes = {reinterpret_cast<const char*>(buffer.data()), length};
        return true;
    }
    return false;
}

void AM_StateBytes::takeBehind(const char* text, size_t length, size_t size) {
    const size_t start = (length + 1 + 3) / 4 * 4;
    if (start < size) bytes = {text + start, size - start};
}

const u8* AM_StateBytes::take(i64 count) {
    const size_t left = bytes.size() - position;
    if (count < 0 || static_cast<u64>(count) > left) {
        position = bytes.size();
        return nullptr;
    }
    const char* at = bytes.data() + position;
    position += static_cast<size_t>(count);
    return reinterpret_cast<const u8*>(at);
}

bool AM_StateBytes::checkGuard(i32 level) const {
    if (!guard || std::memcmp(guard, k_guard, sizeof k_guard) == 0) return true;
    char found[sizeof k_guard] = {};
    std::memcpy(found, guard, sizeof k_guard - 1);
    AM_Log("Deadbeef %d: '%s'", level, found);
    return false;
}

// --- the metadata ------------------------------------------------------------------------

namespace {

// The value behind a key at `place`, which moves behind it; a key with anything but white space in
// front of its quote has an empty value.
std::string metaValue(std::string_view block, size_t& place) {
    const size_t quote = block.find_first_not_of(" \t\r\n", place);
    if (quote == block.npos || block[quote] != '\'') return {};
    size_t end = quote + 1;
    while (end < block.size() && block[end] != '\'')
        end += block[end] == '\\' && end + 1 < block.size() ? 2 : 1;
    end = std::min(end, block.size());
    place = end;
    return AM_unescapeMeta(block.substr(quote + 1, end - quote - 1));
}

} // namespace

bool AM_readMetadata(std::string_view text,
                     std::array<std::string, std::size(k_metaKeys)>& values) {
    if (text.starts_with("#pgm=")) text.remove_prefix(std::min(text.find('\n'), text.size()));
    size_t place = text.find("@meta");
    if (place == text.npos) return false;
    const std::string_view block = text.substr(0, text.find("*/", place));
    for (size_t i = 0; i < values.size(); ++i) {
        const std::string key = std::string(k_metaKeys[i].key) + ':';
        const size_t found = block.find(key, place);
        values[i].clear();
        if (found == block.npos) continue;
        place = found + key.size();
        values[i] = metaValue(block, place);
    }
    return true;
}

// --- the load ----------------------------------------------------------------------------

bool AM_StateReader::load(const char* text, i32 size, i32 mode) {
    if (!text || size < 0) {
        AM_Log("ERROR: a state without text");
        return false;
    }
    if (stateInfoLevel >= k_maxLevel) {
        AM_Log("stateInfoLevel exceeds limit");
        return false;
    }
    ++stateInfoLevel;
    bool recognised = false;
    try {
        recognised = loadAtLevel(text, static_cast<size_t>(size), mode);
    } catch (const std::exception& error) {
        AM_Log("ERROR: the load of a state ended early: %s", error.what());
    } catch (...) {
        AM_Log("ERROR: the load of a state ended early");
    }
    --stateInfoLevel;
    AM_Log("stateInfoLevel level back to %d", stateInfoLevel);
    return recognised;
}

bool AM_StateReader::loadAtLevel(const char* text, size_t size, i32 mode) {
    const std::string_view all(text, strnlen(text, size));
    AM_StateBytes bytes;
    const i32 level = stateInfoLevel;
    if (!bytes.findChunk(all, buffers[static_cast<size_t>(level - 1)]))
        bytes.takeBehind(text, all.size(), size);
    AM_StateLoad load(paraMan, bytes, mode);
    const AM_ImmediateScope immediate(paraMan);
    if (mode != k_loadPartial) load.readMetadata(all);
    AM_StateLines lines(all);
    for (std::string_view line; lines.next(&line);)
        load.readLine(line);
    load.finish();
    bytes.checkGuard(level);
    paraMan.requestQueueClear();
    return load.isRecognised();
}
