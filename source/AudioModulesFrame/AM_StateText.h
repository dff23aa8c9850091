// Texts and numbers as they stand in the text of a state (docs/preset-text.md).
#pragma once

#include "AM_Types.h"

#include <optional>
#include <string>
#include <string_view>

// `text` in single quotes, on one line: a quote inside is doubled, a control character stands as
// its hexadecimal code between two quoted pieces, as in 'one'#0A'two'.
std::string AM_quoteText(std::string_view text);
// The text behind a quoted value; without the form above, what stands between the first quote and
// the last; without quotes, the value as it is.
std::string AM_unquoteText(std::string_view value);

// `text` as a metadata value: \ in front of \ and ' and of the / of a comment's marks; control
// characters but tabs and line feeds are left out.
std::string AM_escapeMeta(std::string_view text);
// Takes those \ away; others stay.
std::string AM_unescapeMeta(std::string_view text);

// Appends the two hexadecimal digits of a byte, in upper case.
void AM_appendHex(std::string& text, char byte);
// The byte that the two hexadecimal digits at the start of `text` mean; -1 if there are none, and
// for 0, which no text holds.
i32 AM_readHex(std::string_view text);

// The longest start of `text` with at most `maxBytes` bytes that does not end inside a UTF-8
// character.
std::string_view AM_truncateUtf8(std::string_view text, size_t maxBytes);

// The number that `text` is, all of it, with "." in every locale; nothing for other texts and for
// values that are not finite.
std::optional<f32> AM_parseNumber(std::string_view text);
// A whole number in `base` at the start of `text`, -1 if there is none or it does not fit.
i64 AM_parseWhole(std::string_view text, i32 base = 10);

// True if the two are equal once blanks and tabs are left out of them.
bool AM_sameWithoutBlanks(std::string_view a, std::string_view b);
