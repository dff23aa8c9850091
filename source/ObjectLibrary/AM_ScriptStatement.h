// The statement language of scripts and preference files: lines of a keyword and key='value' pairs.
#pragma once

#include "AM_Types.h"

#include <cstddef>
#include <string_view>

// One line taken apart; reused from line to line.
//
// Tabs, blanks and "=" separate tokens; inside single quotes each of them is read as a blank. A
// quote itself is never part of a token, and quotes with nothing between them give none. A line
// ends at a zero, line feed or carriage return, inside quotes too. Comments, "//" to the end of the
// line and "/*" to "*/", open inside quotes too; "/*" also ends at a byte from 0x80 on, which is
// skipped with the one behind it.
class ScriptStatement {
public:
    static constexpr size_t k_textBytes = 1024;
    static constexpr i32 k_maxTokens = 32;

    // Reads the line at `*position` (inside `script`) and steps behind its end.
    void read(std::string_view script, size_t* position);
    // The token behind the first one equal to `key`, be that a key or a value; null if there is
    // none.
    const char* getAttribute(std::string_view key) const;

    i32 tokenCount = -1; // index of the last token, the keyword being token 0; -1 for an empty line
    const char* tokens[k_maxTokens] = {}; // further ones are left out

private:
    // What is being read.
    struct Cursor {
        std::string_view script;
        size_t position;
        // 0 at the end.
        char at(size_t index) const { return index < script.size() ? script[index] : '\0'; }
    };
    bool skipComment(Cursor& cursor);
    void store(char c);
    void endToken();

    size_t used = 0;       // bytes of text
    size_t tokenStart = 0; // in text
    bool inToken = false;
    char text[k_textBytes]; // the tokens, each with its zero
};
