#include "AM_MidiPrograms.h"

#include "AM_Filesystem.h"
#include "AM_Log.h"
#include "AM_StateText.h"
#include "AM_Text.h"

#include <algorithm>
#include <optional>

namespace {

constexpr char k_folder[] = "/patches/MIDI Programs";
constexpr char k_cacheFile[] = "/patches/MIDI Programs/Midi.Bank.Cache.txt";

constexpr i32 k_maxPrograms = 128; // of a bank, as a program change tells them apart
constexpr i32 k_maxBanks = 127;    // beside bank 0
constexpr size_t k_maxPresetBytes = size_t{1} << 20;
constexpr size_t k_maxTableBytes = size_t{64} << 20;
constexpr size_t k_fxpHeaderBytes = 60;

// A file's name without its extension, and what is no text in front of the state.
struct PresetFile {
    std::string name;
    size_t headerBytes;
};

std::optional<PresetFile> presetFileOf(const AM_FilePath& path) {
    const std::string name = path.filename().text().utf8();
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos) return std::nullopt;
    const std::string extension = AM_STD::toLower(name.substr(dot + 1));
    if (extension != "q3p" && extension != "fxp") return std::nullopt;
    return PresetFile{name.substr(0, dot), extension == "fxp" ? k_fxpHeaderBytes : 0};
}

// Builds the table bank by bank.
class BankReader {
public:
    explicit BankReader(AM_Filesystem& tree) : files(tree) {}

    void createMidiBank(const std::vector<AM_FilePath>& entries, i32 bank);
    std::vector<AM_MidiProgram> programs;

private:
    std::optional<std::string> readText(const AM_FilePath& path, size_t headerBytes);

    AM_Filesystem& files;
    size_t room = k_maxTableBytes;
};

void BankReader::createMidiBank(const std::vector<AM_FilePath>& entries, i32 bank) {
    i32 index = 0;
    for (const AM_FilePath& path : entries) {
        const std::optional<PresetFile> preset = presetFileOf(path);
        if (!preset || files.isDirectory(path)) continue;
        if (index == k_maxPrograms) {
            AM_Log("WARNING: MIDI bank %d has more than %d programs, the others are left out", bank,
                   k_maxPrograms);
            return;
        }
        AM_Log("void AM_AudioMan::createMidiBank()");
        const i32 program = index++;
        std::optional<std::string> text = readText(path, preset->headerBytes);
        if (!text) continue;
        AM_MidiProgram& row = programs.emplace_back();
        row.bank = bank;
        row.program = program;
        row.text = std::move(*text);
        const std::string name =
            std::to_string(bank) + ":" + std::to_string(program) + " " + preset->name;
        AM_STD::copyText(row.name, std::string(AM_truncateUtf8(name, sizeof row.name - 1)).c_str());
    }
}

// Half a state would be worse than none: what is too long is left out, not cut.
std::optional<std::string> BankReader::readText(const AM_FilePath& path, size_t headerBytes) {
    const char* reason = "can't be read";
    const AM_VirtualFilePtr file = files.open(path, AM_Filesystem::kRead);
    const i64 length = file->hasError() ? 0 : file->size();
    if (length > static_cast<i64>(headerBytes + k_maxPresetBytes)) {
        reason = "is too long";
    } else if (file->hasError() || file->getContentBuffer() == nullptr) {
    } else if (const size_t size = static_cast<size_t>(file->getContentSize());
               size <= headerBytes) {
        reason = "holds no state";
    } else if (const size_t bytes = size - headerBytes; bytes > std::min(room, k_maxPresetBytes)) {
        reason = bytes > k_maxPresetBytes ? "is too long" : "is more than all programs may take";
    } else {
        room -= bytes;
        return std::string(file->getContentBuffer() + headerBytes, bytes);
    }
    AM_Log("WARNING: MIDI program %s %s", path.text().c_str(), reason);
    return std::nullopt;
}

std::vector<AM_FilePath> directoriesOf(AM_Filesystem& files,
                                       const std::vector<AM_FilePath>& entries) {
    std::vector<AM_FilePath> directories;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(directories),
                 [&](const AM_FilePath& entry) { return files.isDirectory(entry); });
    return directories;
}

} // namespace

const AM_MidiProgram* AM_MidiProgramTable::find(i32 bank, i32 program) const {
    const auto row = std::find_if(programs.begin(), programs.end(), [=](const auto& candidate) {
        return candidate.bank == bank && candidate.program == program;
    });
    return row == programs.end() ? nullptr : &*row;
}

std::shared_ptr<const AM_MidiProgramTable> AM_readMidiPrograms(AM_Filesystem& files) {
    AM_Log("void AM_AudioMan::createMidiPrograms()");
    auto table = std::make_shared<AM_MidiProgramTable>();
    if (!files.exists(k_folder)) return table;
    table->bankFolders = files.list(k_folder);
    const std::vector<AM_FilePath> directories = directoriesOf(files, table->bankFolders);
    // A single file is the cache.
    if (table->bankFolders.size() == 1 && directories.empty()) return table;

    BankReader reader(files);
    reader.createMidiBank(table->bankFolders, 0);
    for (size_t i = 0; i < directories.size(); ++i) {
        if (i == k_maxBanks) {
            AM_Log("WARNING: more than %d MIDI banks, the others are left out", k_maxBanks);
            break;
        }
        reader.createMidiBank(files.list(directories[i]), static_cast<i32>(i) + 1);
    }
    table->programs = std::move(reader.programs);
    return table;
}

bool AM_writeMidiBankCache(AM_Filesystem& files, const AM_MidiProgramTable& table) {
    std::string text = "// Cache file that speeds up loading of MIDI Banks\n\n\n"
                       "#Banks: up to date\n";
    i32 bank = 0;
    for (const AM_FilePath& folder : directoriesOf(files, table.bankFolders)) {
        ++bank;
        const auto presets = std::count_if(table.programs.begin(), table.programs.end(),
                                           [=](const auto& row) { return row.bank == bank; });
        text += "Bank " + std::to_string(bank) + ": " + folder.filename().text().utf8() + " (" +
                std::to_string(presets) + ")\n";
    }
    if (!files.replaceFile(k_cacheFile, text.data(), text.size())) {
        AM_Log("Can't open midiBankCacheFile for writing");
        return false;
    }
    AM_Log("WRITING midiBankCache");
    return true;
}

void AM_readMidiBankCache(AM_Filesystem& files) {
    const AM_VirtualFilePtr file = files.open(k_cacheFile, AM_Filesystem::kRead);
    if (file->hasError() || !file->loadContent()) AM_Log("Can't just load cache file... bugger");
}
