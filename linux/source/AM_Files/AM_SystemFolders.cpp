// Where Linux keeps libraries, data and the user's own folders, by the XDG base directories and
// user directories.
#include "AM_FileSystemCalls.h"
#include "AM_Text.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <memory>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace AM_FileCalls {

namespace {

// What is read at most of the list of user directories.
constexpr u32 k_maxUserDirs = 64 << 10;

AM_FileErr lastError() {
    return static_cast<AM_FileErr>(errno);
}

// An absolute path of the environment, or "".
std::string folderOfEnvironment(const char* variable) {
    const char* value = getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

// "" for a user without a home.
std::string homeFolder() {
    std::string home = folderOfEnvironment("HOME");
    if (!home.empty()) return home;
    std::array<char, 16384> buffer;
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && entry.pw_dir != nullptr && entry.pw_dir[0] == '/')
        home = entry.pw_dir;
    return home;
}

// Makes what is missing of `folder` behind its first `existing` characters, for the user alone.
AM_FileErr makeFolders(const std::string& folder, size_t existing) {
    for (size_t end = existing; end != folder.npos;) {
        end = folder.find('/', end + 1);
        const std::string part = folder.substr(0, end);
        if (mkdir(part.c_str(), 0700) == 0) continue;
        const AM_FileErr error = lastError();
        struct stat status;
        if (stat(part.c_str(), &status) != 0) return error;
        if (!S_ISDIR(status.st_mode)) return ENOTDIR;
    }
    return k_fileOk;
}

AM_FileErr canonicalPath(const std::string& path, AM_String* target) {
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(path.c_str(), nullptr), free);
    if (resolved == nullptr) return lastError();
    return pathFromSystem(resolved.get(), target) ? k_fileOk : k_fileNotFound;
}

std::string readHead(const std::string& path) {
    std::string text;
    AM_String name;
    Handle file = k_noHandle;
    if (!pathFromSystem(path, &name) || open(name, Access::read, &file) != k_fileOk) return text;
    text.resize(k_maxUserDirs);
    u32 length = 0;
    for (u32 count = 1; count > 0 && length < k_maxUserDirs; length += count)
        if (read(file, text.data() + length, k_maxUserDirs - length, &count) != k_fileOk) break;
    close(file);
    text.resize(length);
    return text;
}

// The text between the quotes at its head, with "\" taken from in front of characters; "" if it
// has no end.
std::string quotedText(std::string_view text) {
    std::string value;
    if (text.empty() || text.front() != '"') return {};
    for (size_t i = 1; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && ++i == text.size()) return {};
        value += text[i];
        if (i + 1 == text.size()) return {};
    }
    return value;
}

// What a line such as XDG_DESKTOP_DIR="$HOME/Desktop" names, the last one of its kind as a shell
// takes it; "" if there is none.
std::string userDirectory(const std::string& list, std::string_view key, const std::string& home) {
    std::string folder;
    for (const std::string& line : AM_STD::stdString_split(list, "\n")) {
        const std::string text = AM_STD::stdString_trimWhitespaces(line);
        if (!text.starts_with(key) || text.size() == key.size() || text[key.size()] != '=')
            continue;
        const std::string value = quotedText(std::string_view(text).substr(key.size() + 1));
        constexpr std::string_view k_home = "$HOME";
        if (value.starts_with('/'))
            folder = value;
        else if (value == k_home || value.starts_with("$HOME/"))
            folder = home + value.substr(k_home.size());
    }
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return folder;
}

} // namespace

AM_FileErr libraryPath(AM_String* path) {
    Dl_info info{};
    void* map = nullptr;
    if (dladdr1(reinterpret_cast<const void*>(&libraryPath), &info, &map, RTLD_DL_LINKMAP) == 0)
        return k_fileNotFound;
    // A program is known by the name it was called with, which may be found elsewhere by now.
    const char* loaded = static_cast<const link_map*>(map)->l_name;
    const bool isProgram = loaded == nullptr || loaded[0] == 0;
    return canonicalPath(isProgram ? "/proc/self/exe" : info.dli_fname, path);
}

bool isLink(const AM_String& path) {
    struct stat status;
    return lstat(pathToSystem(path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

AM_FileErr resolveLink(const AM_String& path, AM_String* target) {
    return canonicalPath(pathToSystem(path), target);
}

AM_FileErr dataHome(AM_String* folder) {
    std::string path = folderOfEnvironment("XDG_DATA_HOME");
    size_t existing = 0;
    if (path.empty()) {
        // A home that does not exist is not made.
        const std::string home = homeFolder();
        existing = home.size();
        path = home + "/.local/share";
        if (home.empty() || access(home.c_str(), F_OK) != 0) return k_fileNotFound;
    }
    if (!pathFromSystem(path, folder)) return k_fileNotFound;
    return makeFolders(path, existing);
}

std::vector<AM_String> sharedDataHomes() {
    return {AM_String("\\usr\\local\\share"), AM_String("\\usr\\share")};
}

AM_FileErr userFolder(UserFolder which, AM_String* folder) {
    const bool isDesktop = which == UserFolder::desktop;
    const std::string home = homeFolder();
    if (home.empty()) return k_fileNotFound;
    std::string config = folderOfEnvironment("XDG_CONFIG_HOME");
    if (config.empty()) config = home + "/.config";
    const std::string named =
        userDirectory(readHead(config + "/user-dirs.dirs"),
                      isDesktop ? "XDG_DESKTOP_DIR" : "XDG_DOCUMENTS_DIR", home);
    if (named.empty() || !pathFromSystem(named, folder))
        if (!pathFromSystem(home + (isDesktop ? "/Desktop" : "/Documents"), folder))
            return k_fileNotFound;
    Status found;
    const AM_FileErr error = status(*folder, &found);
    return error == k_fileOk && !found.isFolder ? ENOTDIR : error;
}

} // namespace AM_FileCalls
