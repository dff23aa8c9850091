#include "AM_String.h"

#include "AM_Assert.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <iterator>

namespace {

namespace utf = boost::locale::utf;

constexpr utf::code_point k_replacement = 0xFFFD;

// After a character that can't be read, reading goes on one unit behind its start, so that no good
// character next to it is lost.
template <class To, class From>
std::basic_string<To> convert(std::basic_string_view<From> source) {
    std::basic_string<To> result;
    result.reserve(source.size());
    const From* const end = source.data() + source.size();
    for (const From* at = source.data(); at != end;) {
        const From* const start = at;
        utf::code_point point = utf::utf_traits<From>::decode(at, end);
        if (point == utf::illegal || point == utf::incomplete) {
            point = k_replacement;
            at = start + 1;
        }
        utf::utf_traits<To>::encode(point, std::back_inserter(result));
    }
    return result;
}

template <class Unit>
i32 copyWhole(const std::basic_string<Unit>& source, Unit* buffer, i32 capacity) {
    AM_ASSERT(buffer != nullptr && capacity > 0, "parameter error");
    size_t count = std::min(source.size(), static_cast<size_t>(capacity) - 1);
    while (count > 0 && count < source.size() && utf::utf_traits<Unit>::is_trail(source[count]))
        --count;
    std::copy_n(source.data(), count, buffer);
    buffer[count] = 0;
    return static_cast<i32>(count);
}

} // namespace

AM_String::AM_String(const char* text) {
    if (text != nullptr) set(std::string_view(text));
}

AM_String::AM_String(std::string_view text) {
    set(text);
}

AM_String::AM_String(std::u16string_view text) {
    set(text);
}

AM_String AM_String::invalid() {
    AM_String string;
    string.valid = false;
    return string;
}

void AM_String::set(std::string_view text) {
    units = convert<char16_t>(text);
    narrow = convert<char>(std::u16string_view(units));
}

void AM_String::set(std::u16string_view text) {
    narrow = convert<char>(text);
    units = convert<char16_t>(std::string_view(narrow));
}

i32 AM_String::length() const {
    return static_cast<i32>(wide().size());
}

bool AM_String::isEmpty() const {
    return wide().empty();
}

bool AM_String::operator==(const AM_String& other) const {
    return valid == other.valid && units == other.units;
}

const char* AM_String::c_str() const {
    return utf8().c_str();
}

const std::string& AM_String::utf8() const {
    AM_ASSERT(valid, "string not valid");
    return narrow;
}

const std::u16string& AM_String::wide() const {
    AM_ASSERT(valid, "string not valid");
    return units;
}

i32 AM_String::copyToBuffer(char* buffer, i32 capacity) const {
    return copyWhole(utf8(), buffer, capacity);
}

i32 AM_String::copyToBuffer(char16_t* buffer, i32 capacity) const {
    return copyWhole(wide(), buffer, capacity);
}

AM_String AM_String::substring(i32 first) const {
    return substring(first, length());
}

AM_String AM_String::substring(i32 first, i32 count) const {
    const std::u16string_view whole = wide();
    AM_ASSERT(first >= 0 && count >= 0, "illegal Position");
    AM_ASSERT(whole.size() >= static_cast<size_t>(first), "length() >= StartCharacter");
    return AM_String(whole.substr(static_cast<size_t>(first), static_cast<size_t>(count)));
}
