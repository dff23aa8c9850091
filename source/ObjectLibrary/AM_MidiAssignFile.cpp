#include "AM_MidiAssignFile.h"

#include "AM_Filesystem.h"
#include "AM_ParaMan.h"
#include "AM_Text.h"

#include <charconv>
#include <optional>
#include <set>
#include <utility>

namespace {

// Modes that are found in a file.
constexpr i32 k_numFileModes = 8;
// Characters of a name.
constexpr size_t k_maxName = 31;
// Lines that can't be read and are reported each.
constexpr i32 k_maxReports = 100;

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// A whole number from 0 to `maximum`, and nothing else but blanks around it.
std::optional<u8> numberUpTo(std::string_view text, i32 maximum) {
    text = trimmed(text);
    i32 value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (value < 0 || value > maximum) return std::nullopt;
    return static_cast<u8>(value);
}

i32 nameIndex(std::string_view name, const char (*names)[32], i32 count) {
    for (i32 i = 0; i < count; ++i)
        if (name == names[i]) return i;
    return -1;
}

i32 findShortNames(std::string_view module, std::string_view parameter, const AM_ParaMan& table) {
    for (i32 id = 0; id < table.getNumParams(); ++id) {
        char shortName[9];
        table.row(id)->copyShortName(shortName);
        const AM_AudioObject* owner = table.ownerOf(id);
        if (owner && parameter == shortName && module == owner->getShortName()) return id;
    }
    return -1;
}

i32 findNamed(std::string_view text, const AM_ParaMan& table) {
    const size_t colon = text.substr(0, 8).find(':');
    if (colon == std::string_view::npos) return -1;
    const std::string_view module = text.substr(0, colon);
    const std::string_view parameter = trimmed(text.substr(colon + 1));
    const i32 id = findShortNames(module, parameter, table);
    if (id >= 0) return id;
    return findShortNames(module, parameter.substr(0, parameter.find_first_of(" \t")), table);
}

// --- one line -----------------------------------------------------------------------------

// The fields of a row's line: "%d:%d=%s, %s, %d, %s, %s //..."
struct RowText {
    u8 channel, controller, page;
    std::string_view parameter, mode, type, selectPage;
};

std::optional<RowText> splitRow(std::string_view line) {
    line = line.substr(0, line.find("//"));
    const size_t equals = line.find('=');
    const size_t colon = line.substr(0, equals).find(':');
    if (equals == std::string_view::npos || colon == std::string_view::npos) return std::nullopt;
    std::string_view fields[5];
    std::string_view rest = line.substr(equals + 1);
    for (i32 i = 0; i < 5; ++i) {
        const size_t comma = rest.find(',');
        if (comma == std::string_view::npos && i < 4) return std::nullopt;
        fields[i] = rest.substr(0, comma);
        rest.remove_prefix(std::min(rest.size(), fields[i].size() + 1));
    }
    const auto channel = numberUpTo(line.substr(0, colon), 16);
    const auto controller = numberUpTo(line.substr(colon + 1, equals - colon - 1), 127);
    const auto page = numberUpTo(fields[2], MidiAssignMap::k_numPages - 1);
    if (!channel || !controller || !page) return std::nullopt;
    const RowText row = {*channel,          *controller,        *page,
                         fields[0],         trimmed(fields[1]), trimmed(fields[3]),
                         trimmed(fields[4])};
    // The last field may be empty no more than the others.
    if (row.mode.empty() || row.type.empty() || row.selectPage.empty()) return std::nullopt;
    for (const std::string_view name : {trimmed(row.parameter), row.mode, row.type, row.selectPage})
        if (name.size() > k_maxName) return std::nullopt;
    return row;
}

i32 findParameter(std::string_view text, const AM_ParaMan& table) {
    // As a signed character, so that what is not ASCII comes here too.
    if (text.empty() || static_cast<signed char>(text[0]) < '!') {
        AM_Log("Param starts non-ascii '%s'", std::string(text));
        return -1;
    }
    return findNamed(text, table);
}

// `verbose`: with the lines about type and mode.
std::optional<MidiAssign> scanRow(std::string_view line, const AM_ParaMan& table, bool verbose) {
    const std::optional<RowText> text = splitRow(line);
    if (!text) return std::nullopt;
    MidiAssign row;
    row.channel = text->channel;
    row.controller = text->controller;
    row.page = text->page;
    row.parameter = findParameter(text->parameter, table);
    const i32 type = nameIndex(text->type, k_midiTypeNames, k_numMidiTypes);
    const i32 mode = nameIndex(text->mode, k_midiModeNames, k_numFileModes);
    if (type >= 0) row.type = static_cast<u8>(type);
    if (mode >= 0) row.mode = static_cast<u8>(mode);
    if (verbose && type >= 0) AM_Log("Type = %d - %s", type, k_midiTypeNames[type]);
    if (verbose && mode >= 0) AM_Log("Mode = %d - %s", mode, k_midiModeNames[mode]);
    row.flagA = row.flagB = 1;
    row.selectPage = text->selectPage == "Yes";
    return row;
}

// "Page%d:%s, %d, %d, %d, %d"; the name may hold commas.
bool scanPage(std::string_view line, AM_MidiAssignments* content) {
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return false;
    const auto index = numberUpTo(line.substr(4, colon - 4), MidiAssignMap::k_numPages - 1);
    if (!index) return false;
    std::string_view name = line.substr(colon + 1);
    AM_MidiPage page;
    for (u8* neighbour : {&page.down, &page.up, &page.right, &page.left}) {
        const size_t comma = name.rfind(',');
        if (comma == std::string_view::npos) return false;
        const auto number = numberUpTo(name.substr(comma + 1), MidiAssignMap::k_numPages - 1);
        if (!number) return false;
        *neighbour = *number;
        name = name.substr(0, comma);
    }
    name = trimmed(name);
    for (const char c : name)
        if (static_cast<unsigned char>(c) < 0x20) return false;
    if (name.size() > k_maxName) return false;
    name.copy(page.name, k_maxName);
    content->pages[*index] = page;
    return true;
}

void reportLine(std::string_view line) {
    AM_Log("Error: was not able to parse line: %s", std::string(line));
}

// --- the whole file -----------------------------------------------------------------------

AM_MidiAssignments scanText(std::string_view text, const AM_ParaMan& table, bool verbose) {
    AM_MidiAssignments content;
    i32 reports = 0;
    while (!text.empty()) {
        const std::string_view whole = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), whole.size() + 1));
        const std::string_view line = trimmed(whole);
        if (line.empty() || line.starts_with("//")) continue;
        bool taken;
        if (line.starts_with("Page")) {
            taken = scanPage(line, &content);
        } else {
            const std::optional<MidiAssign> row = scanRow(line, table, verbose);
            taken = row.has_value();
            if (taken) content.rows.push_back(*row);
        }
        if (!taken && reports++ < k_maxReports) reportLine(line);
        verbose = verbose && content.rows.size() < static_cast<size_t>(MidiAssignMap::k_maxRows);
    }
    return content;
}

// Nothing if the file can't be read.
std::optional<AM_MidiAssignments> readContent(AM_Filesystem& filesystem, const AM_FilePath& path,
                                              const AM_ParaMan& table, bool verbose) {
    const AM_VirtualFilePtr file = filesystem.open(path, AM_Filesystem::kRead);
    if (file->hasError() || file->size() > k_maxMidiAssignFile) return std::nullopt;
    const char* bytes = file->getContentBuffer();
    const i64 size = file->getContentSize();
    if (!bytes || file->hasError() || size > k_maxMidiAssignFile) return std::nullopt;
    return scanText({bytes, static_cast<size_t>(size)}, table, verbose);
}

// `mine` and what others have added to the file, `disk`, since it was as in `known`.
AM_MidiAssignments merged(AM_MidiAssignments mine, const AM_MidiAssignments& known,
                          const AM_MidiAssignments& disk) {
    std::set<decltype(MidiAssign().assigned())> seen;
    for (const AM_MidiAssignments* side : {&known, &std::as_const(mine)})
        for (const MidiAssign& row : side->rows)
            seen.insert(row.assigned());
    for (const MidiAssign& row : disk.rows)
        if (seen.insert(row.assigned()).second) mine.rows.push_back(row);
    for (size_t i = 0; i < mine.pages.size(); ++i)
        if (mine.pages[i] == known.pages[i]) mine.pages[i] = disk.pages[i];
    return mine;
}

template <class... A>
void print(std::string& text, const char* format, const A&... args) {
    char line[512];
    AM_STD::sprintv(line, sizeof line, format, args...);
    text += line;
}

void printRow(std::string& text, const MidiAssign& row, const AM_ParaMan& info) {
    const char* mode = k_midiModeNames[row.mode < k_numMidiModes ? row.mode : 0];
    const char* type = k_midiTypeNames[row.type < k_numMidiTypes ? row.type : 0];
    const char* select = row.selectPage ? "Yes" : "No";
    const ParameterInfo* parameter = info.row(row.parameter);
    const AM_AudioObject* owner = parameter ? info.ownerOf(row.parameter) : nullptr;
    if (!owner) {
        print(text, "%d:%d=none, %s, %d, %s, %s //no parameter\n", row.channel, row.controller,
              mode, row.page, type, select);
        return;
    }
    char shortName[9];
    parameter->copyShortName(shortName);
    print(text, "%d:%d=%s:%s, %s, %d, %s, %s //%s:%s\n", row.channel, row.controller,
          owner->getShortName(), shortName, mode, row.page, type, select, owner->getLongName(),
          parameter->longName);
}

std::string printContent(const AM_MidiAssignments& content, const std::string& header,
                         const AM_ParaMan& info) {
    std::string text = header + "// PAGE Layout\n\n";
    for (size_t i = 0; i < content.pages.size(); ++i) {
        const AM_MidiPage& page = content.pages[i];
        if (page.inUse())
            print(text, "Page%d:%s, %d, %d, %d, %d\n", static_cast<i32>(i), page.name, page.left,
                  page.right, page.up, page.down);
    }
    text += "// Controller List\n\n";
    for (const MidiAssign& row : content.rows)
        printRow(text, row, info);
    return text;
}

} // namespace

std::string AM_MidiAssignFile::getMidiAssignPath(const char* vendor, const char* product) {
    std::string path;
    print(path, "/support/com.%s.%s.midiassign.txt", vendor, product);
    return path;
}

bool AM_MidiAssignFile::parseLine(std::string_view text, MidiAssign* row, const AM_ParaMan& table) {
    const std::optional<MidiAssign> scanned = scanRow(text, table, true);
    if (!scanned) {
        reportLine(text);
        return false;
    }
    *row = *scanned;
    return true;
}

bool AM_MidiAssignFile::readFile(AM_Filesystem& filesystem, const AM_FilePath& path,
                                 MidiAssignMap& map, const AM_ParaMan& info) {
    const std::lock_guard hold(map.fileMutex);
    std::optional<AM_MidiAssignments> content;
    if (filesystem.exists(path)) content = readContent(filesystem, path, info, true);
    if (!content) {
        AM_Log("No midiassign-file");
        return false;
    }
    AM_Log("READING midiAssignFile");
    map.setContent(*content);
    map.known = map.content();
    return true;
}

bool AM_MidiAssignFile::writeFile(AM_Filesystem& filesystem, const AM_FilePath& path,
                                  MidiAssignMap& map, const AM_ParaMan& info) {
    const std::lock_guard hold(map.fileMutex);
    AM_MidiAssignments mine = map.content();
    AM_MidiAssignments file = mine;
    // Read even if it does not seem to exist: a file that is there may hold what nobody else knows,
    // and one that can't be read then is not replaced.
    const bool exists = filesystem.exists(path);
    const std::optional<AM_MidiAssignments> disk = readContent(filesystem, path, info, false);
    if (disk) file = merged(mine, map.known, *disk);
    if ((exists && !disk) || filesystem.isExcluded(path) ||
        !filesystem.isDirectory(path.parent_path())) {
        AM_Log("Can't open midiAssignFile for writing");
        return false;
    }
    const std::string text = printContent(file, map.header(), info);
    AM_Log("WRITING midiAssignFile");
    const bool fits = text.size() <= static_cast<size_t>(k_maxMidiAssignFile);
    if (!fits || !filesystem.replaceFile(path, text.data(), text.size())) {
        AM_Log("write bytes to midimap file failed a bit");
        return false;
    }
    map.known = std::move(mine);
    return true;
}
