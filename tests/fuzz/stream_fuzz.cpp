// States in the streams of hosts, which deliver and take what they like, and lie about it: whatever
// is read is what the stream said, and what is written is never more than the state.
#include "AM_VST3_Stream.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

using Steinberg::int32;
using Steinberg::int64;
using Steinberg::tresult;

// Its manners at each call are the next byte of a script, over and over.
class AwkwardStream final : public Steinberg::IBStream {
public:
    AwkwardStream(std::string_view manners, std::string_view content)
        : script(manners), source(content) {}

    tresult PLUGIN_API read(void* target, int32 wanted, int32* done) override {
        return move(wanted, source.size() - place, done,
                    [&](size_t count) { std::memcpy(target, source.data() + place, count); });
    }
    tresult PLUGIN_API write(void* from, int32 wanted, int32* done) override {
        return move(wanted, static_cast<size_t>(wanted), done,
                    [&](size_t count) { written.append(static_cast<const char*>(from), count); });
    }
    tresult PLUGIN_API seek(int64, int32, int64*) override { return Steinberg::kNotImplemented; }
    tresult PLUGIN_API tell(int64*) override { return Steinberg::kNotImplemented; }
    tresult PLUGIN_API queryInterface(const Steinberg::TUID, void**) override {
        return Steinberg::kNoInterface;
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return 1; }
    Steinberg::uint32 PLUGIN_API release() override { return 1; }

    size_t moved() const { return place; }
    // Whether a call failed or said something that can't be.
    bool isBroken() const { return broken; }

    std::string written;

private:
    template <class Move>
    tresult move(int32 wanted, size_t left, int32* done, const Move& take) {
        require(wanted > 0 && !broken);
        const u32 manner = script.empty() ? 0 : static_cast<u8>(script[calls++ % script.size()]);
        const auto most = std::min(static_cast<size_t>(wanted), left);
        const size_t count = manner % 16 == 0 ? most : std::min<size_t>(most, 1u << manner % 16);
        take(count);
        place += count;
        *done = static_cast<int32>(count);
        if (manner >= 0xf0) *done = wanted + 1;
        if (manner >= 0xf8) *done = INT32_MIN;
        const bool fails = manner >= 0xe0 && manner < 0xf0;
        broken = manner >= 0xe0 || count == 0;
        return fails ? Steinberg::kResultFalse : Steinberg::kResultOk;
    }

    const std::string_view script, source;
    size_t calls = 0;
    size_t place = 0;
    bool broken = false;
};

void readOne(std::string_view manners, std::string_view content) {
    constexpr size_t head = 4;
    AwkwardStream stream(manners, content);
    std::string text = "before";
    const bool isRead = AM_VST3_readState(stream, &text);
    u32 size = 0;
    for (size_t i = 0; i < head && i < content.size(); ++i)
        size |= static_cast<u32>(static_cast<u8>(content[i])) << 8 * i;
    const bool isState = content.size() >= head && size >= k_vst3MinState &&
                         size < k_vst3MaxState && content.size() - head >= size;
    require(isRead == (isState && !stream.isBroken()));
    require(!isRead || (text == content.substr(head, size) && stream.moved() == head + size));
    // However long it is said to be.
    require(text.capacity() <= 2 * (stream.moved() + (64 << 10)));
}

void writeOne(std::string_view manners, std::string_view text) {
    const auto size = static_cast<u32>(text.size());
    AwkwardStream honest({}, {}), stream(manners, {});
    require(AM_VST3_writeState(honest, text.data(), size));
    const bool isWritten = AM_VST3_writeState(stream, text.data(), size);
    require(isWritten == !stream.isBroken());
    require(honest.written.starts_with(stream.written));
    require(!isWritten || stream.written == honest.written);
    if (size >= k_vst3MinState) readOne(manners, honest.written);
}

} // namespace

// The first byte is the length of the script, then follow the script and the stream.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    if (size < 1) return 0;
    const std::string_view all(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string_view manners = all.substr(0, data[0] % 32);
    const std::string_view content = all.substr(manners.size());
    readOne(manners, content);
    writeOne(manners, content);
    return 0;
}
