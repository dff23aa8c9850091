#include "AM_Text.h"

#include <algorithm>

namespace AM_STD {
namespace {

constexpr char lowerCharacter(char character) noexcept {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

constexpr bool isBlank(char character) noexcept {
    return character == ' ' || character == '\t';
}

bool beginsWith(const char* text, const char* pattern, bool ignoreCase) noexcept {
    for (; *pattern != 0; ++text, ++pattern) {
        const bool equal =
            ignoreCase ? lowerCharacter(*text) == lowerCharacter(*pattern) : *text == *pattern;
        if (!equal) return false; // also at the end of the text, whose zero equals no pattern byte
    }
    return true;
}

} // namespace

const char* Find(const char* text, const char* pattern, bool ignoreCase) {
    if (text == nullptr || pattern == nullptr) return nullptr;
    for (; *text != 0; ++text)
        if (beginsWith(text, pattern, ignoreCase)) return text;
    return nullptr;
}

const char* find(const char* pattern, const char* text) {
    return Find(text, pattern, false);
}

size_t Strlen(const char* text) noexcept {
    return text == nullptr ? 0 : std::strlen(text);
}

i32 Strcmp(const char* a, const char* b) noexcept {
    return std::strcmp(a == nullptr ? "" : a, b == nullptr ? "" : b);
}

void trimWhitespace(char* mutableString) noexcept {
    if (mutableString == nullptr) return;
    char* write = mutableString;
    bool blankPending = false;
    for (const char* read = mutableString; *read != 0; ++read) {
        if (isBlank(*read)) {
            blankPending = write != mutableString; // blanks at the head leave nothing
            continue;
        }
        if (blankPending) *write++ = ' ';
        blankPending = false;
        *write++ = *read;
    }
    *write = 0;
}

std::string stdString_trimWhitespaces(std::string_view string) {
    constexpr std::string_view white = " \t\r\n";
    const size_t first = string.find_first_not_of(white);
    if (first == std::string_view::npos) return {};
    const size_t last = string.find_last_not_of(white);
    return std::string(string.substr(first, last - first + 1));
}

std::vector<std::string> stdString_split(std::string_view string, std::string_view separator) {
    std::vector<std::string> parts;
    if (!separator.empty()) {
        for (size_t place = string.find(separator); place != std::string_view::npos;
             place = string.find(separator)) {
            parts.emplace_back(string.substr(0, place));
            string.remove_prefix(place + separator.size());
        }
    }
    parts.emplace_back(string);
    return parts;
}

std::string toLower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerCharacter);
    return lower;
}

const char* fileName(const char* path) noexcept {
    if (path == nullptr) return "";
    const char* name = path;
    for (; *path != 0; ++path)
        if (*path == '/' || *path == '\\') name = path + 1;
    return name;
}

size_t copyText(char* destination, size_t capacity, const char* source) noexcept {
    if (destination == nullptr || capacity == 0) return 0;
    const size_t length = source == nullptr ? 0 : strnlen(source, capacity - 1);
    std::memmove(destination, source == nullptr ? "" : source, length);
    destination[length] = 0;
    return length;
}

size_t countCharacters(const char* text) noexcept {
    size_t count = 0;
    for (; text && *text; ++text)
        count += (*text & 0xc0) != 0x80;
    return count;
}

size_t ellipsise(char* destination, size_t capacity, const char* text, size_t characters) noexcept {
    if (destination == nullptr || capacity == 0) return 0;
    if (text == nullptr) text = "";
    // How many bytes this many characters take, as far as there is room.
    const auto bytesOf = [text](size_t count, size_t room) {
        size_t bytes = 0;
        for (size_t next = 0; count > 0 && text[next] != 0; --count) {
            do
                ++next;
            while ((text[next] & 0xc0) == 0x80);
            if (next > room) break;
            bytes = next;
        }
        return bytes;
    };
    size_t length = bytesOf(characters, capacity - 1);
    size_t dots = 0;
    if (text[length] != 0) {
        dots = std::min({characters, capacity - 1, size_t{3}});
        length = bytesOf(characters - dots, capacity - 1 - dots);
        while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\t'))
            --length;
    }
    std::memcpy(destination, text, length);
    std::memset(destination + length, '.', dots);
    std::memset(destination + length + dots, 0, capacity - length - dots);
    return length + dots;
}

} // namespace AM_STD
