#include "AM_TextFonts.h"

#include "AM_Log.h"
#include "AM_TextEngine.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>

namespace {
std::mutex mutex;
std::vector<std::string> folders;
std::map<std::pair<std::string, std::string>, std::string> found;
constexpr size_t k_maxFound = 256;

std::vector<std::string> systemFiles() {
#ifdef _WIN32
    const char* windows = std::getenv("WINDIR");
    if (!windows) return {};
    return {std::string(windows) + "\\Fonts\\l_10646.ttf"};
#else
    const std::string base = "/usr/share/fonts/truetype/";
    return {base + "ttf-bitstream-vera/Vera.ttf", base + "dejavu/DejaVuSans.ttf",
            base + "liberation/LiberationSans-Regular.ttf",
            base + "liberation2/LiberationSans-Regular.ttf", base + "freefont/FreeSans.ttf"};
#endif
}

bool isFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

// A name that leads out of the folder is none.
bool isPlainName(const std::string& name) {
    return !name.empty() && name[0] != '.' && name.find_first_of("/\\:") == std::string::npos &&
           name.find('\0') == std::string::npos;
}

bool canUse(const std::string& file) {
    return isFile(file) && AM_TextEngine::get().canLoad(file);
}

std::string search(const std::string& path, const std::string& name) {
    if (!path.empty() && canUse(path)) return path;
    if (isPlainName(name))
        for (const std::string& folder : folders)
            if (const std::string file = folder + "Fonts/" + name + ".ttf"; canUse(file))
                return file;
    for (const std::string& file : systemFiles())
        if (canUse(file)) return file;
    for (const std::string& folder : folders)
        for (const char* place : {"Fonts/Vera.ttf", "Vera.ttf"})
            if (canUse(folder + place)) {
                AM_Log("using VERA!");
                return folder + place;
            }
    return "";
}
} // namespace

void AM_TextFonts::setFolders(const std::vector<std::string>& newFolders) {
    const std::lock_guard lock(mutex);
    folders.clear();
    for (const std::string& folder : newFolders) {
        if (folder.empty()) continue;
        const char last = folder.back();
        folders.push_back(last == '/' || last == '\\' ? folder : folder + "/");
    }
    found.clear();
}

std::string AM_TextFonts::find(const std::string& path, const std::string& name) {
    const std::lock_guard lock(mutex);
    const std::pair key(path, name);
    if (const auto known = found.find(key); known != found.end()) return known->second;
    if (found.size() >= k_maxFound) found.clear();
    std::string& file = found[key];
    file = search(path, name);
    return file;
}
