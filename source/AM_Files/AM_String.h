// Text as it meets the operating system's files: wide, with an 8-bit copy.
#pragma once

#include "AM_Types.h"

#include <string>
#include <string_view>

// A text of UTF-16 units and its UTF-8 copy, both zero-terminated; the invalid string is a state of
// its own, told apart from the empty text. Text that is not well formed becomes U+FFFD where it is
// broken, one for each byte or unit that can't be read. One thread at a time changes it; const
// operations may run on several.
class AM_String {
public:
    AM_String() = default; // empty
    // From UTF-8; null gives the empty text.
    AM_String(const char* text);
    explicit AM_String(std::string_view text);
    explicit AM_String(std::u16string_view text);
    AM_String(const AM_String&) = default;
    AM_String(AM_String&&) = default;
    AM_String& operator=(const AM_String&) = default;
    AM_String& operator=(AM_String&&) = default;
    virtual ~AM_String() = default;

    static AM_String invalid();
    bool isValid() const { return valid; }

    // UTF-16 units. The operations below assert "string not valid" for the invalid string.
    i32 length() const;
    bool isEmpty() const;
    // The invalid string equals only itself.
    bool operator==(const AM_String& other) const;
    bool operator!=(const AM_String& other) const = default;

    // The UTF-8 text; good until the string changes or goes.
    const char* c_str() const;
    const std::string& utf8() const;
    const std::u16string& wide() const;
    // Copies what fits, cut between characters and always terminated; returns the units or bytes
    // copied. Asserts "parameter error" for a null buffer or a capacity below 1.
    i32 copyToBuffer(char* buffer, i32 capacity) const;
    i32 copyToBuffer(char16_t* buffer, i32 capacity) const;
    // From unit `first` on, all or `count` units. Asserts "illegal Position" for a negative start
    // or count and "length() >= StartCharacter" for a start behind the end.
    AM_String substring(i32 first) const;
    AM_String substring(i32 first, i32 count) const;

private:
    void set(std::string_view text);
    void set(std::u16string_view text);

    std::u16string units;
    std::string narrow;
    bool valid = true;
};
