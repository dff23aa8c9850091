// The lines of a state's text, without comments and blanks.
#pragma once

#include "AM_Types.h"

#include <string_view>

// Walks through a text once. Outside single quotes, blanks and tabs are dropped, "//" skips to the
// end of the line, "/*" to the next "*/" (also over lines), and "$" ends the walk; a line end
// closes an open quote. A line is cut at 251 characters. A line "#pgm=..." is passed over as it
// stands, for the name in it may hold anything.
class AM_StateLines {
public:
    static constexpr size_t k_maxLine = 251;

    // Reads up to the first zero in `text`, else all of it; the text outlives this object.
    explicit AM_StateLines(std::string_view text);

    // The next line that is not empty; false at the end. The line is good until the next call.
    bool next(std::string_view* line);
    // Number of the line that next has given, from 1.
    i32 getNumber() const { return number; }
    // Behind the last line: where the walk has ended, and whether at a "$".
    size_t getPosition() const { return position; }
    bool isAtDollar() const { return atDollar; }

private:
    bool startsWith(std::string_view pattern) const {
        return text.substr(position, pattern.size()) == pattern;
    }
    void skipTo(std::string_view pattern);
    bool isFinishedBy(char c);

    std::string_view text;
    size_t position = 0;
    i32 lineEnds = 0;
    i32 number = 0;
    bool quoted = false;
    bool atDollar = false;
    bool lineStart = true;
    size_t used = 0;
    char line[k_maxLine + 4];
};

// Takes "module:parameter" or "name=value" apart; false if `separator` is missing.
bool AM_splitPair(std::string_view text, char separator, std::string_view* left,
                  std::string_view* right);
