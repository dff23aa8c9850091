#include "AM_ViewText.h"

#include "AM_Text.h"

bool AM_isScriptText(const char* text) {
    for (const char* key :
         {"name", "path", "type", "graphic", "id", "value", "parent", "rgba", "location"})
        if (AM_STD::Strcmp(text, key) == 0) return false;
    for (const char* c = text; *c; ++c)
        if (static_cast<u8>(*c) < 0x20 || *c == '\'' || *c == '=' ||
            (*c == '/' && (c[1] == '/' || c[1] == '*')))
            return false;
    return *text != '\0';
}
