// Cuts a script's text into tokens.
#pragma once

#include "AM_ScriptError.h"
#include "AM_Types.h"

#include <string>
#include <string_view>

// Ends a compile; caught in AM_MachineCompiler.
struct AM_ScriptFailure {
    AM_ScriptError error;
};

struct AM_ScriptToken {
    enum Kind : u8 { k_end, k_name, k_int, k_float, k_sign };
    Kind kind = k_end;
    i32 line = 1;
    i32 column = 1;
    std::string_view text; // as written; keywords are names, "mod" and "mod=" are signs
    i32 value = 0;         // of an integer, or the bits of a float

    bool is(std::string_view wanted) const {
        return (kind == k_name || kind == k_sign) && text == wanted;
    }
};

// Ends the compile with a sentence about the place of `token`.
[[noreturn]] void AM_scriptFail(i32 code, const AM_ScriptToken& token, std::string sentence);
// The token as sentences name it: in quotes and not too long, or "the end of the text".
std::string AM_scriptQuote(const AM_ScriptToken& token);
std::string AM_scriptQuote(std::string_view text);

// True for a name: letters, digits and '_', not beginning with a digit, and no word of the
// language.
bool AM_scriptIsName(std::string_view text);

// Reads one token after the other; the text must outlive the tokens.
class AM_ScriptLexer {
public:
    AM_ScriptLexer(std::string_view text, i32 line) : text(text), line(line) {}
    // The next token, k_end from the end on. Fails for unknown characters, comments without an end
    // and numbers out of range.
    AM_ScriptToken next();

private:
    char at(size_t ahead = 0) const {
        return position + ahead < text.size() ? text[position + ahead] : '\0';
    }
    AM_ScriptToken start() const;
    void skipBlanks();
    void skipComment();
    void readNumber(AM_ScriptToken& token);
    void readHexadecimal(AM_ScriptToken& token);
    void readDecimal(AM_ScriptToken& token);
    void readName(AM_ScriptToken& token);
    void readSign(AM_ScriptToken& token);

    std::string_view text;
    size_t position = 0;
    size_t lineStart = 0;
    i32 line;
};
