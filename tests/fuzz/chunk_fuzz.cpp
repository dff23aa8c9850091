// Chunks both ways. An even first byte: the rest is a text, with the sum put right so that damage
// gets behind it; an odd one: the rest is data, which has to come back from its chunk.
#include "AM_ChunkCodec.h"
#include "AM_Log.h"
#include "fuzz/FuzzTarget.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Decodes to a buffer of just `maxBytes` bytes; checking alone has to come to the same end.
bool decode(std::string_view text, i32 maxBytes, std::vector<u8>& data) {
    const std::vector<char> bounded(text.begin(), text.end());
    data.assign(static_cast<size_t>(maxBytes), 0);
    i32 size = -1, checkedSize = -1;
    const bool whole = decodeChunk(data.data(), {bounded.data(), bounded.size()}, maxBytes, &size);
    require(decodeChunk(nullptr, text, maxBytes, &checkedSize) == whole);
    require(size == checkedSize && size >= 0 && size <= maxBytes);
    data.resize(static_cast<size_t>(size));
    return whole;
}

void roundTrip(const std::vector<u8>& source) {
    std::string text;
    const i32 size = static_cast<i32>(source.size());
    const i32 length = encodeChunk(text, source.data(), size);
    const i32 bound = 180 + 2 * size;
    require(static_cast<size_t>(length) == text.size() && length <= bound + bound / 64);
    std::vector<u8> read;
    require(decode(text, size, read) && read == source);
}

void anyText(std::string text, i32 maxBytes) {
    std::vector<u8> read;
    decode(text, maxBytes, read);
    const size_t start = text.find('?');
    const size_t end = text.find('=', start);
    if (start == text.npos || end == text.npos) return;
    u32 sum = 0;
    for (size_t i = start; i < end; ++i)
        if (static_cast<u8>(text[i]) > 0x20) sum += static_cast<u8>(text[i]);
    text.replace(end + 1, text.npos, std::to_string(static_cast<i32>(sum)));
    if (decode(text, maxBytes, read) && !read.empty()) roundTrip(read);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    if (size < 2) return 0;
    if (data[0] % 2)
        roundTrip(std::vector<u8>(data + 1, data + size));
    else
        anyText(std::string(data + 1, data + size), data[0] * 8);
    return 0;
}
