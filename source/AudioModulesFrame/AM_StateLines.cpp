#include "AM_StateLines.h"

AM_StateLines::AM_StateLines(std::string_view source) : text(source.substr(0, source.find('\0'))) {
}

void AM_StateLines::skipTo(std::string_view pattern) {
    const size_t found = text.find(pattern, position);
    position = found == std::string_view::npos ? text.size() : found;
}

// Takes one character outside comments; true if it ends a line or the walk.
bool AM_StateLines::isFinishedBy(char c) {
    if (c == '\n') {
        ++lineEnds;
        ++position;
        quoted = false;
        lineStart = true;
        return true;
    }
    if (c == '$' && !quoted) {
        atDollar = true;
        return true;
    }
    if (c == '\'') quoted = !quoted;
    const bool dropped = c == '\r' || (!quoted && (c == ' ' || c == '\t'));
    if (!dropped && used < k_maxLine) line[used++] = c;
    ++position;
    return false;
}

bool AM_StateLines::next(std::string_view* out) {
    used = 0;
    while (position < text.size() && !atDollar) {
        if (lineStart && startsWith("#pgm=")) skipTo("\n");
        if (position == text.size()) break;
        lineStart = false;
        if (!quoted && startsWith("//")) {
            skipTo("\n");
        } else if (!quoted && startsWith("/*")) {
            const size_t start = position;
            position += 2;
            skipTo("*/");
            for (size_t i = start; i < position; ++i)
                lineEnds += text[i] == '\n';
            position = position + 2 < text.size() ? position + 2 : text.size();
        } else {
            const bool isEnd = text[position] == '\n';
            if (!isFinishedBy(text[position]) || used == 0) continue;
            number = lineEnds + (isEnd ? 0 : 1);
            *out = {line, used};
            return true;
        }
    }
    number = lineEnds + 1;
    *out = {line, used};
    return used > 0;
}

bool AM_splitPair(std::string_view text, char separator, std::string_view* left,
                  std::string_view* right) {
    const size_t place = text.find(separator);
    if (place == std::string_view::npos) return false;
    *left = text.substr(0, place);
    *right = text.substr(place + 1);
    return true;
}
