#include "AM_ScriptLexer.h"

#include <algorithm>
#include <bit>
#include <charconv>

namespace {
// Longer ones in front of those that they begin with.
constexpr std::string_view k_signs[] = {
    "<<=", ">>=", "&&=", "||=", "++", "--", "+=", "-=", "*=", "/=", "%=", "&=",
    "|=",  "^=",  "<<",  ">>",  "&&", "||", "<=", ">=", "==", "!=", "+",  "-",
    "*",   "/",   "%",   "&",   "|",  "^",  "<",  ">",  "=",  "!",  "~",  "?",
    ":",   ";",   ",",   ".",   "(",  ")",  "[",  "]",  "{",  "}"};
constexpr std::string_view k_words[] = {"int",   "float", "void",     "if",     "else", "for",
                                        "while", "break", "continue", "return", "mod"};
constexpr size_t k_maxQuote = 40;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isWord(char c) {
    return isLetter(c) || isDigit(c);
}
} // namespace

void AM_scriptFail(i32 code, const AM_ScriptToken& token, std::string sentence) {
    throw AM_ScriptFailure{{code, token.line, token.column, std::move(sentence)}};
}

std::string AM_scriptQuote(std::string_view text) {
    std::string quoted = "'";
    quoted += text.substr(0, k_maxQuote);
    if (text.size() > k_maxQuote) quoted += "...";
    return quoted += "'";
}

std::string AM_scriptQuote(const AM_ScriptToken& token) {
    return token.kind == AM_ScriptToken::k_end ? "the end of the text" : AM_scriptQuote(token.text);
}

bool AM_scriptIsName(std::string_view text) {
    return !text.empty() && isLetter(text[0]) && std::all_of(text.begin(), text.end(), isWord) &&
           std::find(std::begin(k_words), std::end(k_words), text) == std::end(k_words);
}

AM_ScriptToken AM_ScriptLexer::start() const {
    AM_ScriptToken token;
    token.line = line;
    token.column = static_cast<i32>(position - lineStart) + 1;
    return token;
}

AM_ScriptToken AM_ScriptLexer::next() {
    skipBlanks();
    AM_ScriptToken token = start();
    const size_t first = position;
    const char c = at();
    if (c == '\0') return token;
    if (isDigit(c) || (c == '.' && isDigit(at(1))))
        readNumber(token);
    else if (isLetter(c))
        readName(token);
    else
        readSign(token);
    token.text = text.substr(first, position - first);
    return token;
}

void AM_ScriptLexer::skipBlanks() {
    for (;;) {
        const char c = at();
        if (c == '\n') {
            ++position;
            ++line;
            lineStart = position;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
            ++position;
        } else if (c == '/' && at(1) == '/') {
            while (at() != '\0' && at() != '\n')
                ++position;
        } else if (c == '/' && at(1) == '*') {
            skipComment();
        } else {
            return;
        }
    }
}

void AM_ScriptLexer::skipComment() {
    const AM_ScriptToken opening = start();
    for (position += 2; at() != '*' || at(1) != '/'; ++position) {
        if (at() == '\0')
            AM_scriptFail(k_scriptComment, opening,
                          "expected '*/' behind the comment that begins here");
        if (at() == '\n') {
            ++line;
            lineStart = position + 1;
        }
    }
    position += 2;
}

void AM_ScriptLexer::readNumber(AM_ScriptToken& token) {
    const size_t first = position;
    if (at() == '0' && (at(1) == 'x' || at(1) == 'X'))
        readHexadecimal(token);
    else
        readDecimal(token);
    if (!isWord(at()) && at() != '.') return;
    while (isWord(at()) || at() == '.')
        ++position;
    AM_scriptFail(k_scriptNumber, token,
                  "expected a number, found " +
                      AM_scriptQuote(text.substr(first, position - first)));
}

void AM_ScriptLexer::readHexadecimal(AM_ScriptToken& token) {
    token.kind = AM_ScriptToken::k_int;
    const char* const first = text.data() + position + 2;
    u32 number = 0;
    const auto [end, error] = std::from_chars(first, text.data() + text.size(), number, 16);
    if (error == std::errc::result_out_of_range)
        AM_scriptFail(k_scriptNumber, token, "expected an integer from 0x0 to 0xFFFFFFFF");
    if (error != std::errc())
        AM_scriptFail(k_scriptNumber, token, "expected hexadecimal digits behind '0x'");
    token.value = static_cast<i32>(number);
    position = static_cast<size_t>(end - text.data());
}

void AM_ScriptLexer::readDecimal(AM_ScriptToken& token) {
    const size_t first = position;
    token.kind = AM_ScriptToken::k_int;
    const auto skipDigits = [this] {
        while (isDigit(at()))
            ++position;
    };
    skipDigits();
    if (at() == '.') {
        token.kind = AM_ScriptToken::k_float;
        ++position;
        skipDigits();
    }
    const bool sign = at(1) == '+' || at(1) == '-';
    if ((at() == 'e' || at() == 'E') && isDigit(at(sign ? 2 : 1))) {
        token.kind = AM_ScriptToken::k_float;
        position += sign ? 2 : 1;
        skipDigits();
    }
    const char* const begin = text.data() + first;
    const char* const end = text.data() + position;
    if (token.kind == AM_ScriptToken::k_float) {
        f32 number = 0;
        if (std::from_chars(begin, end, number).ec != std::errc())
            AM_scriptFail(k_scriptNumber, token, "expected a number in the range of a float");
        token.value = std::bit_cast<i32>(number);
        if (at() == 'f') ++position;
        return;
    }
    u32 number = 0;
    if (std::from_chars(begin, end, number).ec != std::errc() || number > 0x80000000u)
        AM_scriptFail(k_scriptNumber, token, "expected an integer up to 2147483648");
    token.value = static_cast<i32>(number);
}

void AM_ScriptLexer::readName(AM_ScriptToken& token) {
    const size_t first = position;
    while (isWord(at()))
        ++position;
    token.kind = AM_ScriptToken::k_name;
    if (text.substr(first, position - first) != "mod") return;
    token.kind = AM_ScriptToken::k_sign;
    if (at() == '=' && at(1) != '=') ++position;
}

void AM_ScriptLexer::readSign(AM_ScriptToken& token) {
    token.kind = AM_ScriptToken::k_sign;
    const std::string_view rest = text.substr(position);
    for (const std::string_view sign : k_signs) {
        if (sign[0] != rest[0] || !rest.starts_with(sign)) continue;
        position += sign.size();
        return;
    }
    const auto code = static_cast<unsigned char>(rest[0]);
    const bool printable = code > ' ' && code < 0x7f;
    AM_scriptFail(k_scriptCharacter, token,
                  "expected no " +
                      (printable ? AM_scriptQuote(rest.substr(0, 1))
                                 : "character of code " + std::to_string(code)) +
                      " outside of a comment");
}
