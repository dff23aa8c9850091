// Text helpers. All work on 8-bit text, treat null as the empty text and know no locale.
#pragma once

#include "AM_Types.h"

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace AM_STD {

// The first place of `pattern` in `text`, or null; `ignoreCase` takes "A" to "Z" as "a" to "z". An
// empty text holds nothing; an empty pattern is found at the start of any other.
const char* Find(const char* text, const char* pattern, bool ignoreCase = false);
// The same with the arguments the other way round, case counted.
const char* find(const char* pattern, const char* text);

// Characters in front of the terminator.
size_t Strlen(const char* text) noexcept;
// Negative, 0 or positive as `a` stands before, at or behind `b` in the order of unsigned bytes.
i32 Strcmp(const char* a, const char* b) noexcept;

// In place: removes blanks and tabs at both ends and makes one blank of every run of them inside.
void trimWhitespace(char* mutableString) noexcept;
// Without the blanks, tabs and line ends at both ends.
std::string stdString_trimWhitespaces(std::string_view string);
// The parts between the separators, with their blanks; n separators give n + 1 parts. An empty
// separator gives the whole as one part.
std::vector<std::string> stdString_split(std::string_view string, std::string_view separator);
// With "A" to "Z" as "a" to "z".
std::string toLower(std::string_view text);

// The part of a path behind its last "/" or "\\", as a pointer into it.
const char* fileName(const char* path) noexcept;

// Copies what fits of `source` into the array `destination` of `capacity` characters, always
// terminated; returns the characters copied. Allocates nothing.
size_t copyText(char* destination, size_t capacity, const char* source) noexcept;
template <size_t N>
size_t copyText(char (&destination)[N], const char* source) noexcept {
    return copyText(destination, N, source);
}

// Characters of UTF-8; bytes that continue one don't count.
size_t countCharacters(const char* text) noexcept;
// The first of `characters` characters of UTF-8 with "..." as the last three of them, and no blank
// in front of these; of three or less there are only dots. A text that has no more is copied as it
// is. At most `capacity` bytes, always whole characters; what is left of the array is cleared.
// Returns the bytes without the clearing. The two must not overlap.
size_t ellipsise(char* destination, size_t capacity, const char* text, size_t characters) noexcept;
template <size_t N>
size_t ellipsise(char (&destination)[N], const char* text, size_t characters) noexcept {
    return ellipsise(destination, N, text, characters);
}

} // namespace AM_STD
