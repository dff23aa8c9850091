#include "AM_Format.h"

#include "AM_Log.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

void AM_Arguments::putReal(f64 value) noexcept {
    put(k_real, std::bit_cast<u64>(value));
}

void AM_Arguments::putBoundedText(const char* text, size_t bound) noexcept {
    if (count + 2u > k_capacity) return put(k_missing, 0); // never half of it
    putPointer(k_boundedText, text);
    put(k_boundedText, bound);
}

// Takes the arguments of a row one after the other; what is missing or of the wrong kind is logged,
// skipped and read as 0 or null.
class AM_ArgumentReader {
public:
    struct Integer {
        u64 word;
        bool wide; // 64 bits count, else the lower 32
        i64 asSigned() const noexcept {
            return wide ? static_cast<i64>(word) : static_cast<i32>(static_cast<u32>(word));
        }
        u64 asUnsigned() const noexcept { return wide ? word : static_cast<u32>(word); }
    };
    struct Pointer {
        const char* address;
        AM_Arguments::Kind kind;
        size_t bound; // of 8-bit text, in characters
    };

    explicit AM_ArgumentReader(const AM_Arguments& row) noexcept : arguments(row) {}

    Integer getNextInt() {
        const u32 place = take();
        if (place != k_none) {
            const u8 kind = arguments.kinds[place];
            if (kind == AM_Arguments::k_int32 || kind == AM_Arguments::k_int64)
                return {arguments.words[place], kind == AM_Arguments::k_int64};
        }
        AM_Log("Error in getNextInt");
        return {0, false};
    }

    f64 getNextDouble() {
        const u32 place = take();
        if (place != k_none && arguments.kinds[place] == AM_Arguments::k_real)
            return std::bit_cast<f64>(arguments.words[place]);
        AM_Log("Error in getNextDouble");
        return 0;
    }

    // A pointer for which `accepts` says yes to its kind; null is of every kind.
    template <class Accepts>
    Pointer getNextPtr(Accepts accepts) {
        const u32 place = take();
        if (place != k_none && arguments.kinds[place] >= AM_Arguments::k_text) {
            const auto kind = static_cast<AM_Arguments::Kind>(arguments.kinds[place]);
            const auto address = static_cast<std::uintptr_t>(arguments.words[place]);
            if (address == 0 || accepts(kind))
                return {std::bit_cast<const char*>(address), kind,
                        kind == AM_Arguments::k_boundedText ? arguments.words[place + 1]
                                                            : ~size_t{0}};
        }
        AM_Log("Error in getNextPtr");
        return {nullptr, AM_Arguments::k_pointer, 0};
    }

    void skip() noexcept { take(); }

private:
    static constexpr u32 k_none = ~0u;

    u32 take() noexcept {
        if (next >= arguments.count) return k_none;
        const u32 place = next;
        next += arguments.kinds[place] == AM_Arguments::k_boundedText ? 2 : 1;
        return place;
    }

    const AM_Arguments& arguments;
    u32 next = 0;
};

namespace AM_STD {
namespace {

constexpr i32 k_defaultPrecision = 6;
// No double has more digits behind the point than this; the rest would be zeros.
constexpr i32 k_maxPrecision = 1074;
constexpr size_t k_maxFloatText = 1 + 309 + 1 + k_maxPrecision;
constexpr size_t k_maxWideText = 10000;

void emit(TextOutput& target, const char* text, size_t length) {
    target.put(text, std::min(length, target.room()));
}

void emitText(TextOutput& target, const char* text) {
    emit(target, text, std::strlen(text));
}

template <class Number>
void emitNumber(TextOutput& target, Number value) {
    char text[24];
    emit(target, text,
         static_cast<size_t>(std::to_chars(text, text + sizeof text, value).ptr - text));
}

void ItoX(TextOutput& target, u64 value, bool upperCase) {
    char text[16];
    const char* end = std::to_chars(text, text + sizeof text, value, 16).ptr;
    const auto length = static_cast<size_t>(end - text);
    if (length > 8) AM_Log("ItoX unusual long - %d", length);
    if (upperCase)
        for (char* digit = text; digit != end; ++digit)
            if (*digit >= 'a') *digit = static_cast<char>(*digit - 'a' + 'A');
    emit(target, text, length);
}

void emitFloat(TextOutput& target, f64 value, i32 precision) {
    if (std::isnan(value)) return emitText(target, "nan");
    if (std::isinf(value)) return emitText(target, value < 0 ? "-inf" : "inf");
    char text[k_maxFloatText];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed,
                                   std::min(precision, k_maxPrecision));
    emit(target, text, static_cast<size_t>(end.ptr - text));
}

void emitNote(TextOutput& target, i64 note, bool upperCase) {
    static constexpr const char* names[2][12] = {
        {"c", "c#", "d", "d#", "e", "f", "f#", "g", "g#", "a", "a#", "b"},
        {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"}};
    const i64 key = ((note % 12) + 12) % 12;
    emitText(target, names[upperCase][key]);
    // Note 0 opens octave -2, so that the middle C, 60, is C3.
    emitNumber(target, (note - key) / 12 - 2);
}

void emitCharacter(TextOutput& target, char character) {
    if (character != 0) emit(target, &character, 1);
}

void emitPlainText(TextOutput& target, AM_ArgumentReader& reader) {
    const auto text = reader.getNextPtr([](AM_Arguments::Kind kind) {
        return kind == AM_Arguments::k_text || kind == AM_Arguments::k_boundedText;
    });
    if (text.address == nullptr) return emitText(target, "(null)");
    emit(target, text.address, strnlen(text.address, std::min(text.bound, target.room())));
}

u32 wideUnit(const char* text, size_t index, size_t unitSize) noexcept {
    u32 unit32 = 0;
    u16 unit16 = 0;
    if (unitSize == 4) {
        std::memcpy(&unit32, text + index * 4, 4);
        return unit32;
    }
    std::memcpy(&unit16, text + index * 2, 2);
    return unit16;
}

size_t encodeUtf8(u32 point, char (&out)[4]) noexcept {
    if ((point >= 0xD800 && point < 0xE000) || point > 0x10FFFF) point = 0xFFFD;
    if (point < 0x80) {
        out[0] = static_cast<char>(point);
        return 1;
    }
    const size_t length = point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
    static constexpr u8 heads[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (size_t i = length - 1; i > 0; --i, point >>= 6)
        out[i] = static_cast<char>(0x80 | (point & 0x3F));
    out[0] = static_cast<char>(heads[length] | point);
    return length;
}

void emitWideText(TextOutput& target, AM_ArgumentReader& reader) {
    const auto text = reader.getNextPtr([](AM_Arguments::Kind kind) {
        return kind == AM_Arguments::k_wide16 || kind == AM_Arguments::k_wide32;
    });
    if (text.address == nullptr) return emitText(target, "(null)");
    const size_t unitSize = text.kind == AM_Arguments::k_wide16 ? 2 : 4;
    size_t length = 0;
    while (length <= k_maxWideText && wideUnit(text.address, length, unitSize) != 0)
        ++length;
    if (length > k_maxWideText) return;
    for (size_t i = 0; i < length; ++i) {
        u32 point = wideUnit(text.address, i, unitSize);
        if (unitSize == 2 && point >= 0xD800 && point < 0xDC00 && i + 1 < length) {
            const u32 low = wideUnit(text.address, i + 1, unitSize);
            if (low >= 0xDC00 && low < 0xE000) {
                point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        char encoded[4];
        const size_t bytes = encodeUtf8(point, encoded);
        if (bytes > target.room()) return; // no half characters
        target.put(encoded, bytes);
    }
}

void emitRect(TextOutput& target, AM_ArgumentReader& reader) {
    const auto rect =
        reader.getNextPtr([](AM_Arguments::Kind kind) { return kind == AM_Arguments::k_rect; });
    if (rect.address == nullptr) return emitText(target, "[NULL]");
    f32 sides[4];
    std::memcpy(sides, rect.address, sizeof sides);
    for (i32 i = 0; i < 4; ++i) {
        emitText(target, i == 0 ? "[" : ", ");
        emitFloat(target, sides[i], k_defaultPrecision);
    }
    emitText(target, "]");
}

void emitPointer(TextOutput& target, AM_ArgumentReader& reader) {
    const auto pointer = reader.getNextPtr([](AM_Arguments::Kind) { return true; });
    char text[2 + 2 * sizeof(void*)] = {'0', 'x'};
    const char* end = std::to_chars(text + 2, text + sizeof text,
                                    reinterpret_cast<std::uintptr_t>(pointer.address), 16)
                          .ptr;
    emit(target, text, static_cast<size_t>(end - text));
}

// Prints the argument of one code; false if there is no such code.
bool emitCode(TextOutput& target, char code, AM_ArgumentReader& reader) {
    switch (code) {
    case 'd':
        emitNumber(target, reader.getNextInt().asSigned());
        return true;
    case 'u':
        emitNumber(target, reader.getNextInt().asUnsigned());
        return true;
    case 'x':
    case 'X':
        ItoX(target, reader.getNextInt().asUnsigned(), code == 'X');
        return true;
    case 'c':
        emitCharacter(target, static_cast<char>(reader.getNextInt().word));
        return true;
    case 'm':
    case 'M':
        emitNote(target, reader.getNextInt().asSigned(), code == 'M');
        return true;
    case 'f':
        emitFloat(target, reader.getNextDouble(), k_defaultPrecision);
        return true;
    case 's':
        emitPlainText(target, reader);
        return true;
    case 'S':
        emitWideText(target, reader);
        return true;
    case 'R':
        emitRect(target, reader);
        return true;
    case 'v':
        emitPointer(target, reader);
        return true;
    default:
        return false;
    }
}

bool isCode(char code) noexcept {
    return code != 0 && std::strchr("duxXcmMfsSRv", code) != nullptr;
}

// Prints "%.Nf", with `format` on the "."; returns the place behind the code. What is no precision
// of a float prints nothing, but takes its argument along, so that the others keep their places.
const char* emitWithPrecision(TextOutput& target, const char* format, AM_ArgumentReader& reader) {
    ++format;
    const bool negative = *format == '-';
    if (negative) ++format;
    i32 precision = 0;
    for (; *format >= '0' && *format <= '9'; ++format)
        precision = std::min(precision * 10 + (*format - '0'), k_maxPrecision);
    if (*format == 'f' && !negative) {
        emitFloat(target, reader.getNextDouble(), precision);
        return format + 1;
    }
    AM_Log("format mismatch error\n");
    if (isCode(*format)) reader.skip();
    return *format == 0 ? format : format + 1;
}

} // namespace

void formatTo(TextOutput& target, const char* format, const AM_Arguments& arguments) {
    if (format == nullptr) {
        AM_Log("AM_STD::sprintv format NULL");
        return;
    }
    AM_ArgumentReader reader(arguments);
    while (*format != 0 && target.room() > 0) {
        if (*format != '%') {
            size_t length = 1;
            const size_t room = target.room();
            while (length < room && format[length] != 0 && format[length] != '%')
                ++length;
            target.put(format, length);
            format += length;
        } else if (format[1] == '%') {
            target.put("%", 1);
            format += 2;
        } else if (format[1] == '.') {
            format = emitWithPrecision(target, format + 1, reader);
        } else if (emitCode(target, format[1], reader)) {
            format += 2;
        } else {
            AM_Log("format mismatch error\n");
            target.put("%", 1);
            ++format;
        }
    }
}

namespace {

class BoundedText final : public TextOutput {
public:
    BoundedText(char* target, size_t capacity) noexcept : text(target), left(capacity - 1) {}
    void put(const char* piece, size_t length) override {
        std::memcpy(text + used, piece, length);
        used += length;
        left -= length;
    }
    size_t room() const noexcept override { return left; }
    i32 finish() noexcept {
        text[used] = 0;
        return static_cast<i32>(used);
    }

private:
    char* text;
    size_t used = 0;
    size_t left;
};

} // namespace

i32 sprintv(char* target, size_t capacity, const char* format, const AM_Arguments& arguments) {
    if (target == nullptr) {
        AM_Log("AM_STD::sprintv target NULL");
        return 0;
    }
    if (capacity == 0) return 0;
    BoundedText text(target, std::min(capacity, size_t{INT32_MAX}));
    formatTo(text, format, arguments);
    return text.finish();
}

} // namespace AM_STD
