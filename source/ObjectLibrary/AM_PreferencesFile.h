// Preference files: texts of statements, one line a choice (docs/preferences-file.md).
#pragma once

#include "AM_Types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class AM_FilePath;
class AM_Filesystem;

// A preference file is at most this long, in bytes; longer ones are neither read nor replaced.
inline constexpr size_t k_maxPreferencesFile = 256 * 1024;
// The longest line that is kept for others, in bytes.
inline constexpr size_t k_maxPreferenceLine = 1023;
// The longest name of an author, in bytes.
inline constexpr size_t k_maxPreferenceAuthor = 127;

// Takes what a preference file says.
class AM_IPreferencesStorage {
public:
    virtual ~AM_IPreferencesStorage() = default;
    // One choice: that of `module` for `key`. `id` is the number in the file, 0 if there is none.
    virtual void setPreference(const char* module, const char* key, i32 id, const char* value) = 0;
    // The author's name, at most k_maxPreferenceAuthor bytes.
    virtual void setAuthor(const char* name) = 0;
};

// One line that a preference file may hold.
struct AM_PreferenceLine {
    enum Kind : i32 { k_author, k_preference, k_other };
    Kind kind = k_other;
    i32 id = 0;
    std::string module, key; // of a preference
    std::string value;       // of a preference or an author
    // The line as it stands, without its end; empty if it can't stand in another file because it is
    // too long or its comment does not end.
    std::string_view source;
};

// Walks the lines of `text`, which must live meanwhile. Lines that say nothing are passed over,
// others that can't be used are logged unless `quiet`, the first 20 of them.
class AM_PreferenceReader {
public:
    explicit AM_PreferenceReader(std::string_view text, bool quiet = false)
        : rest(text), logsLeft(quiet ? 0 : 20) {}
    // The next line of use; nothing at the end.
    std::optional<AM_PreferenceLine> next();

private:
    template <class... A>
    void complain(const char* format, const A&... args);

    std::string_view rest;
    i32 logsLeft;
};

// Reads the `length` bytes of `text` into `store`, line by line.
void setPreferencesFromText(const char* text, i32 length, AM_IPreferencesStorage& store);

// The lines of a file, with their ends. Characters that would end a value or split it are written
// as codes; names of authors above k_maxPreferenceAuthor bytes are cut between characters.
std::string AM_writeAuthorLine(std::string_view author);
std::string AM_writePreferenceLine(std::string_view module, std::string_view key, i32 id,
                                   std::string_view value);

// The content of the file `path`, "" if there is none; nothing if it can't be read, which is
// logged. A missing file is logged if `wanted`.
std::optional<std::string> AM_readPreferenceFile(AM_Filesystem& files, const AM_FilePath& path,
                                                 bool wanted);
