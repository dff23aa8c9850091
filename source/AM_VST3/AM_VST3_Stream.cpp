#include "AM_VST3_Stream.h"

#include "AM_Log.h"

#include <algorithm>

using Steinberg::IBStream;
using Steinberg::int32;

namespace {

constexpr u32 k_piece = 64 << 10;

bool readAll(IBStream& stream, void* target, u32 size) {
    char* place = static_cast<char*>(target);
    while (size > 0) {
        int32 count = 0;
        if (stream.read(place, static_cast<int32>(size), &count) != Steinberg::kResultOk ||
            count <= 0 || static_cast<u32>(count) > size)
            return false;
        place += count;
        size -= static_cast<u32>(count);
    }
    return true;
}

bool writeAll(IBStream& stream, const void* source, u32 size) {
    const char* place = static_cast<const char*>(source);
    while (size > 0) {
        int32 count = 0;
        // The interface asks for a pointer that is not const, and writes nothing there.
        void* bytes = const_cast<char*>(place);
        if (stream.write(bytes, static_cast<int32>(size), &count) != Steinberg::kResultOk ||
            count <= 0 || static_cast<u32>(count) > size)
            return false;
        place += count;
        size -= static_cast<u32>(count);
    }
    return true;
}

} // namespace

bool AM_VST3_writeState(IBStream& stream, const char* text, u32 size) {
    const u8 head[4] = {static_cast<u8>(size), static_cast<u8>(size >> 8),
                        static_cast<u8>(size >> 16), static_cast<u8>(size >> 24)};
    return writeAll(stream, head, sizeof head) && writeAll(stream, text, size);
}

bool AM_VST3_readState(IBStream& stream, std::string* text) {
    text->clear();
    u8 head[4];
    if (!readAll(stream, head, sizeof head)) {
        AM_Log("WARNING: the state is empty");
        return false;
    }
    const u32 size = head[0] | static_cast<u32>(head[1]) << 8 | static_cast<u32>(head[2]) << 16 |
                     static_cast<u32>(head[3]) << 24;
    if (size < k_vst3MinState || size >= k_vst3MaxState) {
        AM_Log("WARNING: a state of %d bytes is ignored", size);
        return false;
    }
    while (text->size() < size) {
        const size_t before = text->size();
        const size_t piece = std::min<size_t>(k_piece, size - before);
        text->resize(before + piece);
        if (readAll(stream, text->data() + before, static_cast<u32>(piece))) continue;
        AM_Log("WARNING: a state that ends before its %d bytes is ignored", size);
        return false;
    }
    return true;
}
