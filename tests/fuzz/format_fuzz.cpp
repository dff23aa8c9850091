// The formatter with any format text, any row of arguments and any capacity: it stays inside both
// and always terminates its text. Input: a line whose two bytes are the capacity, a line an
// argument (its kind and its bytes), an empty line, the format.
#include "AM_Format.h"
#include "AM_Log.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>

namespace {

// Formats on the way to the sink run to their end too, as errors of the formatter are logged.
class LengthCheck final : public AM_LogSink {
public:
    void writeLine(std::string_view line) override {
        if (line.size() > k_maxLogLine) __builtin_trap();
    }
};

// The bytes of a number, as many as there are.
template <class T>
T numberOf(std::string_view bytes) {
    T number{};
    bytes.copy(reinterpret_cast<char*>(&number), sizeof number);
    return number;
}

// Owns what a row points to.
struct Row {
    AM_Arguments arguments;
    std::deque<std::string> texts;
    std::deque<std::u32string> wideTexts;
    f32 rect[4] = {0, 1.5f, -2, 1e30f};

    void add(char kind, std::string_view bytes) {
        switch (kind) {
        case 'd':
            arguments.add(numberOf<i32>(bytes));
            break;
        case 'u':
            arguments.add(numberOf<u64>(bytes));
            break;
        case 'f':
            arguments.add(numberOf<f64>(bytes));
            break;
        case 's':
            arguments.add(texts.emplace_back(bytes));
            break;
        case 'n':
            addUnterminated(bytes);
            break;
        case 'w': {
            std::u32string& text = wideTexts.emplace_back();
            for (; !bytes.empty(); bytes.remove_prefix(std::min<size_t>(4, bytes.size())))
                text += numberOf<char32_t>(bytes);
            arguments.add(text.c_str());
            break;
        }
        case 'r':
            arguments.add(rect);
            break;
        case '0':
            arguments.add(nullptr);
            break;
        default:
            arguments.add(static_cast<const void*>(this));
            break;
        }
    }

    void addUnterminated(std::string_view text) {
        auto& name = names.emplace_back(std::make_unique<Name>());
        text.copy(name->characters, sizeof name->characters);
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
    std::string_view rest(reinterpret_cast<const char*>(bytes), size);
    const auto takeLine = [&rest] {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        return line;
    };
    const size_t capacity = numberOf<u16>(takeLine()) % 2001;
    Row row;
    for (std::string_view line = takeLine(); !line.empty(); line = takeLine())
        row.add(line[0], line.substr(1));
    const std::string format(rest);

    const auto target = std::make_unique<char[]>(capacity);
    const i32 length = AM_STD::sprintv(target.get(), capacity, format.c_str(), row.arguments);
    const bool fits = capacity == 0 ? length == 0 : length < static_cast<i32>(capacity);
    if (!fits || (capacity != 0 && strnlen(target.get(), capacity) != static_cast<size_t>(length)))
        __builtin_trap();
    AM_logArguments(format.c_str(), row.arguments);
    return 0;
}
