// The formatter of all log lines and display texts, and its type-safe row of arguments.
//
// Codes of a format text, each behind a "%":
//   d          32-bit integer, signed           u     the same, unsigned
//   x X        the same in hexadecimal, lower or upper case, without leading zeros
//   c          one 8-bit character (the character 0 prints nothing)
//   M m        MIDI note as name and octave, "C3" for 60; m writes the name in lower case
//   f          float with 6 digits, or ".N" digits as in %.2f (none with "%.f"); "." in every
//              locale; non-finite values print "inf", "-inf", "nan"
//   s          8-bit text, "(null)" for null
//   S          wide text of 1 to 10000 characters, written as UTF-8; other lengths print nothing
//   R          rectangle of four floats in brackets, "[NULL]" for null
//   v          any pointer, as "0x" and its address
//   %          a percent sign
// An integer of 64 bits prints whole. Each unknown code prints as it stands and takes no argument.
//
// The formatter never stops, allocates or reads outside the row: what does not fit is logged and
// prints 0, "(null)" or "[NULL]". The lines are "format mismatch error\n" (a "." with digits not
// followed by f, a negative precision, an unknown code), "Error in getNextInt", "Error in
// getNextDouble" or "Error in getNextPtr" (the argument is missing or of another kind), and "ItoX
// unusual long - %d" (a hexadecimal number of more than 8 digits, which prints all the same).
#pragma once

#include "AM_Types.h"

#include <string>
#include <type_traits>

// A row of arguments with their kinds, in a fixed block of at most 808 bytes. It keeps pointers,
// not copies: the things pointed to must live until the text is printed. Arguments beyond the
// capacity are left out, which the formatter then reports as missing.
class AM_Arguments {
public:
    enum Kind : u8 {
        k_missing, // there was no room for it
        k_int32,
        k_int64,
        k_real,
        k_text,
        k_boundedText,
        k_wide16,
        k_wide32,
        k_rect,
        k_pointer
    };
    static constexpr u32 k_capacity = 89;

    AM_Arguments() noexcept : count(0) {}
    template <class... A>
    requires(sizeof...(A) > 0 &&
             !(sizeof...(A) == 1 && (std::is_same_v<A, AM_Arguments> &&
                                     ...))) explicit AM_Arguments(const A&... args) noexcept
        : count(0) {
        (add(args), ...);
    }
    AM_Arguments(const AM_Arguments&) = delete;
    AM_Arguments& operator=(const AM_Arguments&) = delete;

    // Appends one argument: an integer, bool, enum, float, double, text (8-bit, wide, std::string,
    // a char array that need not be terminated), a pointer to four f32, or any other pointer.
    template <class T>
    void add(const T& value) noexcept;

    u32 size() const noexcept { return count; }

private:
    friend class AM_ArgumentReader;

    void put(Kind kind, u64 word) noexcept {
        if (count < k_capacity) {
            words[count] = word;
            kinds[count++] = kind;
        }
    }
    void putReal(f64 value) noexcept;
    void putPointer(Kind kind, const void* pointer) noexcept {
        put(kind, static_cast<u64>(reinterpret_cast<std::uintptr_t>(pointer)));
    }
    // Text of at most `bound` characters; takes two places of the row.
    void putBoundedText(const char* text, size_t bound) noexcept;
    template <class P>
    void addPointer(const P* pointer) noexcept;

    u64 words[k_capacity];
    u8 kinds[k_capacity];
    u8 count;
};
static_assert(sizeof(AM_Arguments) <= 808);

namespace AM_STD {

// Where formatted text goes, piece by piece.
class TextOutput {
public:
    // Takes `length` characters, at most room().
    virtual void put(const char* text, size_t length) = 0;
    // Characters still wanted; at 0 the formatter ends.
    virtual size_t room() const noexcept = 0;

protected:
    ~TextOutput() = default;
};

// Formats into `target`. A null format logs "AM_STD::sprintv format NULL" and prints nothing.
void formatTo(TextOutput& target, const char* format, const AM_Arguments& arguments);

// Formats into `target`, cut to `capacity` - 1 characters and always terminated (with capacity 0
// nothing is written); returns the length written. A null target logs "AM_STD::sprintv target NULL"
// and gives 0, a null format "AM_STD::sprintv format NULL" and an empty text. Any thread.
i32 sprintv(char* target, size_t capacity, const char* format, const AM_Arguments& arguments);

// The same with the arguments written out.
template <class... A>
i32 sprintv(char* target, size_t capacity, const char* format, const A&... args) {
    return sprintv(target, capacity, format, AM_Arguments(args...));
}

} // namespace AM_STD

template <class T>
void AM_Arguments::add(const T& value) noexcept {
    using Plain = std::remove_cv_t<T>;
    if constexpr (std::is_array_v<T> &&
                  std::is_same_v<std::remove_cv_t<std::remove_extent_t<T>>, char>) {
        putBoundedText(value, std::extent_v<T>);
    } else if constexpr (std::is_array_v<T>) {
        addPointer(&value[0]);
    } else if constexpr (std::is_enum_v<Plain>) {
        add(static_cast<std::underlying_type_t<Plain>>(value));
    } else if constexpr (std::is_integral_v<Plain>) {
        put(sizeof(Plain) > 4 ? k_int64 : k_int32, static_cast<u64>(value));
    } else if constexpr (std::is_floating_point_v<Plain>) {
        putReal(static_cast<f64>(value));
    } else if constexpr (std::is_same_v<Plain, std::string>) {
        putPointer(k_text, value.c_str());
    } else if constexpr (std::is_null_pointer_v<Plain>) {
        putPointer(k_pointer, nullptr);
    } else {
        static_assert(std::is_pointer_v<Plain>, "no argument of the formatter");
        if constexpr (std::is_function_v<std::remove_pointer_t<Plain>>)
            putPointer(k_pointer, reinterpret_cast<const void*>(value));
        else
            addPointer(value);
    }
}

template <class P>
void AM_Arguments::addPointer(const P* pointer) noexcept {
    using Plain = std::remove_cv_t<P>;
    const void* address = const_cast<const Plain*>(pointer);
    if constexpr (std::is_same_v<Plain, char> || std::is_same_v<Plain, char8_t>)
        putPointer(k_text, address);
    else if constexpr (std::is_same_v<Plain, char16_t> ||
                       (std::is_same_v<Plain, wchar_t> && sizeof(wchar_t) == 2))
        putPointer(k_wide16, address);
    else if constexpr (std::is_same_v<Plain, char32_t> || std::is_same_v<Plain, wchar_t>)
        putPointer(k_wide32, address);
    else if constexpr (std::is_same_v<Plain, f32>)
        putPointer(k_rect, address);
    else
        putPointer(k_pointer, address);
}
