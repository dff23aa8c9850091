// PNG files of any bytes: what is read is whole, within the limits and the same each time. The
// checksums are made right first, or hardly an input would get past its first chunk.
#include "AM_PngReader.h"
#include "AM_ViewCompressedImageData.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>
#include <vector>

namespace {

u32 checksum(const u8* bytes, size_t size) {
    u32 sum = 0xffffffff;
    for (size_t i = 0; i < size; ++i) {
        sum ^= bytes[i];
        for (i32 bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ (sum & 1 ? 0xedb88320 : 0);
    }
    return ~sum;
}

u32 wordAt(const u8* bytes) {
    return u32(bytes[0]) << 24 | u32(bytes[1]) << 16 | u32(bytes[2]) << 8 | bytes[3];
}

// Chunks: length, type, data and the sum of the last two.
void correct(std::vector<u8>& file) {
    for (size_t place = 8; file.size() >= place + 12;) {
        const size_t length = wordAt(&file[place]);
        if (length > file.size() - place - 12) return;
        const u32 sum = checksum(&file[place + 4], length + 4);
        for (size_t i = 0; i < 4; ++i)
            file[place + 8 + length + i] = static_cast<u8>(sum >> (24 - 8 * i));
        place += length + 12;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    std::vector<u8> file(data, data + size);
    correct(file);
    // Large ones are the same as others, only slower.
    if (file.size() > 24 && u64(wordAt(&file[16])) * wordAt(&file[20]) > 4000000 &&
        wordAt(&file[16]) <= u32(k_maxPngSide) && wordAt(&file[20]) <= u32(k_maxPngSide))
        return 0;

    const f32 gamma = size > 0 ? static_cast<f32>(data[size - 1]) / 64 : 0;
    const AM_PngImage image = AM_readPng(file.data(), file.size(), gamma, "fuzz");
    if (image.isEmpty()) return 0;
    require(image.width >= 1 && image.width <= k_maxPngSide);
    require(image.height >= 1 && image.height <= k_maxPngSide);
    const size_t bytes = static_cast<size_t>(image.width) * static_cast<size_t>(image.height) * 4;
    require(image.pixels.size() == bytes && bytes <= k_maxPngBytes);
    for (size_t i = 3; i < bytes && !image.hasAlpha; i += 4)
        require(image.pixels[i] == 0xff);
    require(AM_readPng(file.data(), file.size(), gamma, "fuzz").pixels == image.pixels);

    const AM_ViewCompressedImageData runs(image.view(), AM_ViewCompressedImageData::k_refer);
    for (i32 i = 0; i < std::min(image.width, image.height); ++i)
        require(runs.hitTest(i, i) == (image.view().row(i)[4 * i + 3] > 0));
    return 0;
}
