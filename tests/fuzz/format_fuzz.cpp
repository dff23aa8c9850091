// The formatter with any format text, any row of arguments and any capacity: it stays inside both
// and always terminates its text.
#include "AM_Format.h"
#include "AM_Log.h"

#include <cstring>
#include <deque>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>

namespace {

// Formats on the way to the sink run to their end too, as errors of the formatter are logged.
class LengthCheck final : public AM_LogSink {
public:
    void writeLine(std::string_view line) override {
        if (line.size() > k_maxLogLine) __builtin_trap();
    }
};

// Owns what a row points to.
struct Row {
    AM_Arguments arguments;
    std::deque<std::string> texts;
    std::deque<std::u32string> wideTexts;
    f32 rect[4] = {0, 1.5f, -2, 1e30f};

    void add(FuzzedDataProvider& data) {
        switch (data.ConsumeIntegralInRange(0, 8)) {
        case 0:
            arguments.add(data.ConsumeIntegral<i32>());
            break;
        case 1:
            arguments.add(data.ConsumeIntegral<u64>());
            break;
        case 2:
            arguments.add(data.ConsumeFloatingPoint<f64>());
            break;
        case 3:
            arguments.add(texts.emplace_back(data.ConsumeRandomLengthString(300)));
            break;
        case 4:
            addUnterminated(data.ConsumeRandomLengthString(8));
            break;
        case 5: {
            std::u32string& text = wideTexts.emplace_back();
            while (data.ConsumeBool())
                text += data.ConsumeIntegral<char32_t>();
            arguments.add(text.c_str());
            break;
        }
        case 6:
            arguments.add(rect);
            break;
        case 7:
            arguments.add(nullptr);
            break;
        case 8:
            arguments.add(static_cast<const void*>(this));
            break;
        }
    }

    void addUnterminated(const std::string& text) {
        auto& name = names.emplace_back(std::make_unique<Name>());
        std::memcpy(name->characters, text.data(), text.size());
        arguments.add(name->characters);
    }

private:
    struct Name {
        char characters[8] = {};
    };
    std::deque<std::unique_ptr<Name>> names; // each on its own, so that reading on is caught
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static LengthCheck sink;
    AM_resetLog();
    AM_setLogSink(&sink);
    FuzzedDataProvider data(bytes, size);
    const size_t capacity = data.ConsumeIntegralInRange<size_t>(0, 2000);
    Row row;
    for (i32 i = data.ConsumeIntegralInRange(0, 95); i > 0; --i)
        row.add(data);
    const std::string format = data.ConsumeRemainingBytesAsString();

    const auto target = std::make_unique<char[]>(capacity);
    const i32 length = AM_STD::sprintv(target.get(), capacity, format.c_str(), row.arguments);
    const bool fits = capacity == 0 ? length == 0 : length < static_cast<i32>(capacity);
    if (!fits || (capacity != 0 && strnlen(target.get(), capacity) != static_cast<size_t>(length)))
        __builtin_trap();
    AM_logArguments(format.c_str(), row.arguments);
    return 0;
}
