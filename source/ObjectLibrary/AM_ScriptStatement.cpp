#include "AM_ScriptStatement.h"

#include <algorithm>

void ScriptStatement::store(char c) {
    // One byte stays for the zero behind the last token.
    if (used >= k_textBytes - 1) return;
    if (!inToken) tokenStart = used;
    inToken = true;
    text[used++] = c;
}

void ScriptStatement::endToken() {
    if (!inToken) return;
    inToken = false;
    text[used] = '\0';
    if (used < k_textBytes - 1) ++used;
    if (tokenCount + 1 < k_maxTokens) tokens[++tokenCount] = text + tokenStart;
}

bool ScriptStatement::skipComment(Cursor& cursor) {
    size_t& position = cursor.position;
    const char kind = cursor.at(position + 1);
    if (cursor.at(position) != '/' || (kind != '/' && kind != '*')) return false;
    const size_t size = cursor.script.size();
    if (kind == '/') {
        position =
            std::min(cursor.script.find_first_of(std::string_view("\n\r\0", 3), position), size);
        return true;
    }
    position += 2;
    while (position < size) {
        const char c = cursor.script[position];
        if (static_cast<unsigned char>(c) >= 0x80 || (c == '*' && cursor.at(position + 1) == '/')) {
            position = std::min(position + 2, size);
            return true;
        }
        ++position;
    }
    return true;
}

void ScriptStatement::read(std::string_view script, size_t* position) {
    used = 0;
    inToken = false;
    tokenCount = -1;
    bool quoted = false;
    Cursor cursor{script, *position};
    while (cursor.position < script.size()) {
        if (skipComment(cursor)) continue;
        const char c = script[cursor.position++];
        if (c == '\0' || c == '\n' || c == '\r') break;
        if (c == '\'') {
            quoted = !quoted;
        } else if (c == '\t' || c == ' ' || c == '=') {
            if (!quoted)
                endToken();
            else if (used > 0)
                store(' ');
        } else {
            store(c);
        }
    }
    endToken();
    *position = cursor.position;
}

const char* ScriptStatement::getAttribute(std::string_view key) const {
    for (i32 i = 0; i < tokenCount; ++i)
        if (tokens[i] == key) return tokens[i + 1];
    return nullptr;
}
