#include "AM_Platform.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

bool AM_debugChannelIsOpen() noexcept {
    return isatty(STDERR_FILENO) == 1;
}

void AM_writeDebugChannel(std::string_view line) noexcept {
    // One call for both, so that lines of several processes on one terminal stay whole.
    iovec pieces[2] = {{const_cast<char*>(line.data()), line.size()}, {const_cast<char*>("\n"), 1}};
    const int keptErrno = errno;
    while (writev(STDERR_FILENO, pieces, 2) < 0 && errno == EINTR) {
    }
    errno = keptErrno;
}

bool AM_debuggerPresent() noexcept {
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    char status[4096]; // the entry stands among the first few lines
    const ssize_t length = read(file, status, sizeof status - 1);
    close(file);
    if (length <= 0) return false;
    status[length] = 0;
    static constexpr char key[] = "TracerPid:\t";
    const char* tracer = std::strstr(status, key);
    if (tracer == nullptr) return false;
    i32 pid = 0;
    std::from_chars(tracer + sizeof key - 1, status + length, pid);
    return pid != 0;
}

void AM_breakIntoDebugger() noexcept {
    raise(SIGTRAP);
}
