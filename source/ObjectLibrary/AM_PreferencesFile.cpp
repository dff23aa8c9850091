#include "AM_PreferencesFile.h"

#include "AM_FileErr.h"
#include "AM_Filesystem.h"
#include "AM_Log.h"
#include "AM_ScriptStatement.h"
#include "AM_StateText.h"

#include <charconv>
#include <cstring>

namespace {

constexpr AM_FileErr k_readError = 5;
constexpr AM_FileErr k_tooLarge = 27;

// `text` as it may stand between quotes. A backslash has a code too, so that one in front of a
// colon always belongs to it.
std::string escape(std::string_view text, bool isPart) {
    std::string escaped;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const char behind = i + 1 < text.size() ? text[i + 1] : '\0';
        const bool opensComment = c == '/' && (behind == '/' || behind == '*');
        if (isPart && c == ':') {
            escaped += "\\:";
        } else if (static_cast<unsigned char>(c) < 0x20 || c == '\'' || c == '=' || c == '\\' ||
                   opensComment) {
            escaped += "\\x";
            AM_appendHex(escaped, c);
        } else
            escaped += c;
    }
    return escaped;
}

// Takes the codes back; other backslashes stay.
std::string unescape(std::string_view text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::string_view code = text.substr(i);
        const i32 byte = code.starts_with("\\x") ? AM_readHex(code.substr(2)) : -1;
        if (byte > 0) {
            plain += static_cast<char>(byte);
            i += 3;
        } else if (code.starts_with("\\:")) {
            plain += ':';
            ++i;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

// The parts between colons, but for those with a backslash in front.
std::vector<std::string> splitValue(std::string_view value) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t i = 0; i <= value.size(); ++i) {
        const bool splits =
            i == value.size() || (value[i] == ':' && (i == 0 || value[i - 1] != '\\'));
        if (!splits) continue;
        parts.push_back(unescape(value.substr(start, i - start)));
        start = i + 1;
    }
    return parts;
}

i32 readId(const ScriptStatement& statement) {
    const char* text = statement.getAttribute("id");
    i32 id = 0;
    if (text) std::from_chars(text, text + std::strlen(text), id);
    return id;
}

// Whether a line ends with its own line feed, whatever comes behind. A comment may be open, or its
// last byte may swallow the line feed.
bool endsByItself(std::string_view line) {
    const std::string text = std::string(line) + "\nx";
    ScriptStatement statement;
    size_t end = 0;
    statement.read(text, &end);
    return end == line.size() + 1;
}

} // namespace

template <class... A>
void AM_PreferenceReader::complain(const char* format, const A&... args) {
    if (logsLeft > 0) {
        --logsLeft;
        AM_Log(format, args...);
    }
}

std::optional<AM_PreferenceLine> AM_PreferenceReader::next() {
    ScriptStatement statement;
    while (!rest.empty()) {
        size_t end = 0;
        statement.read(rest, &end);
        std::string_view source = rest.substr(0, end);
        rest.remove_prefix(end);
        if (statement.tokenCount < 0) continue;
        if (std::string_view("\n\r\0", 3).find(source.back()) != std::string_view::npos)
            source.remove_suffix(1);

        if (statement.tokens[0] != std::string_view("V_PROPERTY")) {
            complain("setPreferencesFromText error: expecting \"V_PROPERTY\" got \"%s\"",
                     statement.tokens[0]);
            continue;
        }
        const char* name = statement.getAttribute("name");
        const char* value = statement.getAttribute("value");
        if (!name) {
            complain("setPreferencesFromText error: a property without a name");
            continue;
        }
        AM_PreferenceLine line;
        line.id = readId(statement);
        if (source.size() <= k_maxPreferenceLine && endsByItself(source)) line.source = source;
        if (name == std::string_view("Author")) {
            line.kind = AM_PreferenceLine::k_author;
            line.value = unescape(value ? value : "");
            line.value.resize(AM_truncateUtf8(line.value, k_maxPreferenceAuthor).size());
        } else if (name == std::string_view("Preference")) {
            std::vector<std::string> parts = splitValue(value ? value : "");
            if (parts.size() != 3) {
                complain("Detected strange number of strings for prefs property '%s'",
                         value ? value : "");
                continue;
            }
            line.kind = AM_PreferenceLine::k_preference;
            line.module = std::move(parts[0]);
            line.key = std::move(parts[1]);
            line.value = std::move(parts[2]);
        }
        return line;
    }
    return std::nullopt;
}

void setPreferencesFromText(const char* text, i32 length, AM_IPreferencesStorage& store) {
    if (!text || length <= 0) return;
    AM_PreferenceReader reader(std::string_view(text, static_cast<size_t>(length)));
    while (const std::optional<AM_PreferenceLine> line = reader.next()) {
        if (line->kind == AM_PreferenceLine::k_author)
            store.setAuthor(line->value.c_str());
        else if (line->kind == AM_PreferenceLine::k_preference)
            store.setPreference(line->module.c_str(), line->key.c_str(), line->id,
                                line->value.c_str());
    }
}

std::string AM_writeAuthorLine(std::string_view author) {
    const std::string_view name = AM_truncateUtf8(author, k_maxPreferenceAuthor);
    return "V_PROPERTY name='Author' id='0' value='" + escape(name, false) + "'\n";
}

std::string AM_writePreferenceLine(std::string_view module, std::string_view key, i32 id,
                                   std::string_view value) {
    return "V_PROPERTY name='Preference' id='" + std::to_string(id) + "' value='" +
           escape(module, true) + ":" + escape(key, true) + ":" + escape(value, true) + "'\n";
}

std::optional<std::string> AM_readPreferenceFile(AM_Filesystem& files, const AM_FilePath& path,
                                                 bool wanted) {
    const AM_VirtualFilePtr file = files.open(path, AM_Filesystem::kRead);
    if (file->hasError()) {
        const bool missing = !files.exists(path);
        if (wanted || !missing)
            AM_Log("Can't open UIprefsFile for reading: %d",
                   missing ? k_fileNotFound : k_readError);
        return missing ? std::optional<std::string>("") : std::nullopt;
    }
    const i64 size = file->size();
    if (file->hasError() || size < 0) {
        AM_Log("Can't get size of UIprefsFile: %d", k_readError);
        return std::nullopt;
    }
    if (size > static_cast<i64>(k_maxPreferencesFile)) {
        AM_Log("Can't read bytes of UIprefsFile: %d", k_tooLarge);
        return std::nullopt;
    }
    const char* content = file->getContentBuffer();
    const i64 length = content ? file->getContentSize() : -1;
    if (length < 0 || length > static_cast<i64>(k_maxPreferencesFile)) {
        AM_Log("Can't read bytes of UIprefsFile: %d", content ? k_tooLarge : k_readError);
        return std::nullopt;
    }
    return std::string(content, static_cast<size_t>(length));
}
