#include "AM_VST3_HostName.h"

#include "AM_Log.h"
#include "AM_StateText.h"

namespace {

constexpr size_t k_maxPath = 511;

} // namespace

std::string AM_VST3_nameOfExecutable(const std::string& path) {
    const size_t separator = path.find_last_of("\\/");
    const std::string name = separator == path.npos ? path : path.substr(separator + 1);
    return name.substr(0, name.find(".exe"));
}

std::string AM_VST3_hostName() {
    const std::string path = AM_executablePath();
    if (path.empty()) AM_Log("Can not perform WideCharToMultiByte on hostpath");
    return std::string(AM_truncateUtf8(AM_VST3_nameOfExecutable(path), k_maxPath));
}
