#include "AM_VST3_HostName.h"

#include <climits>
#include <unistd.h>

std::string AM_executablePath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}
