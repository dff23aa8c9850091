#include "AM_StateText.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace {

constexpr char k_hexDigits[] = "0123456789ABCDEF";

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

i32 hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Reads "#XX" codes at `i`, up to the quote that opens the next piece.
bool readCodes(std::string_view value, size_t& i, std::string& text) {
    while (i < value.size() && value[i] == '#') {
        const i32 byte = AM_readHex(value.substr(i + 1));
        if (byte < 0) return false;
        text += static_cast<char>(byte);
        i += 3;
    }
    return i < value.size() && value[i] == '\'';
}

// Pieces in quotes with nothing or codes between them; false for any other form.
bool readPieces(std::string_view value, std::string& text) {
    size_t i = 0;
    if (value.empty() || value[0] != '\'') return false;
    for (;;) {
        for (++i; i < value.size() && value[i] != '\''; ++i)
            text += value[i];
        if (i == value.size()) return false;
        if (++i == value.size()) return true;
        if (value[i] == '\'')
            text += '\'';
        else if (!readCodes(value, i, text))
            return false;
    }
}

} // namespace

void AM_appendHex(std::string& text, char byte) {
    const auto value = static_cast<unsigned char>(byte);
    text += k_hexDigits[value >> 4];
    text += k_hexDigits[value & 15];
}

i32 AM_readHex(std::string_view text) {
    const i32 high = text.size() > 1 ? hexDigit(text[0]) : -1;
    const i32 low = high >= 0 ? hexDigit(text[1]) : -1;
    return low >= 0 && high + low > 0 ? high << 4 | low : -1;
}

std::string AM_quoteText(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'') {
            quoted += "''";
        } else if (isControl(c)) {
            quoted += "'#";
            AM_appendHex(quoted, c);
            quoted += '\'';
        } else {
            quoted += c;
        }
    }
    quoted += '\'';
    return quoted;
}

std::string AM_unquoteText(std::string_view value) {
    std::string text;
    if (readPieces(value, text)) return text;
    const size_t first = value.find('\'');
    if (first == std::string_view::npos) return std::string(value);
    const size_t last = value.rfind('\'');
    return std::string(value.substr(first + 1, last > first ? last - first - 1 : value.npos));
}

std::string AM_escapeMeta(std::string_view text) {
    std::string plain(text);
    std::erase_if(plain, [](char c) { return isControl(c) && c != '\n' && c != '\t'; });
    std::string escaped;
    for (size_t i = 0; i < plain.size(); ++i) {
        // A mark of a comment's begin or end would be one for whoever reads the text.
        const bool marks = plain[i] == '/' && ((i > 0 && plain[i - 1] == '*') ||
                                               (i + 1 < plain.size() && plain[i + 1] == '*'));
        if (plain[i] == '\\' || plain[i] == '\'' || marks) escaped += '\\';
        escaped += plain[i];
    }
    return escaped;
}

std::string AM_unescapeMeta(std::string_view text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool escapes = text[i] == '\\' && i + 1 < text.size() &&
                             (text[i + 1] == '\\' || text[i + 1] == '\'' || text[i + 1] == '/');
        if (escapes) ++i;
        plain += text[i];
    }
    return plain;
}

std::string_view AM_truncateUtf8(std::string_view text, size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    size_t length = maxBytes;
    // A byte of the form 10xxxxxx goes on with the character before it. One has at most four.
    for (i32 i = 0; i < 3 && length > 0; ++i, --length)
        if ((static_cast<unsigned char>(text[length]) & 0xc0) != 0x80) break;
    return text.substr(0, length);
}

std::optional<f32> AM_parseNumber(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    f32 value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

i64 AM_parseWhole(std::string_view text, i32 base) {
    i64 value = -1;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return result.ec == std::errc() && value >= 0 ? value : -1;
}

bool AM_sameWithoutBlanks(std::string_view a, std::string_view b) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    size_t i = 0, j = 0;
    for (;;) {
        while (i < a.size() && isBlank(a[i]))
            ++i;
        while (j < b.size() && isBlank(b[j]))
            ++j;
        if (i == a.size() || j == b.size()) return i == a.size() && j == b.size();
        if (a[i++] != b[j++]) return false;
    }
}
