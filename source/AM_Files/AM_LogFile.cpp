#include "AM_LogFile.h"

#include "AM_FileSystemCalls.h"
#include "AM_FolderResolver.h"
#include "AM_Log.h"

#include <memory>
#include <new>
#include <string>

namespace {

class LogFile final : public AM_LogSink {
public:
    explicit LogFile(AM_FileCalls::Handle file) : handle(file) {}
    ~LogFile() override { AM_FileCalls::close(handle); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // One call with the line's end, so that the lines of several processes stay whole.
    void writeLine(std::string_view line) override {
        char text[k_maxLogLine + 1];
        const size_t length = line.copy(text, k_maxLogLine);
        text[length] = '\n';
        u32 written = 0;
        AM_FileCalls::write(handle, text, static_cast<u32>(length + 1), &written);
    }

private:
    const AM_FileCalls::Handle handle;
};

// "Glassmere.data" up to its last dot, with the ending of a log.
std::string logFileName() {
    const std::string name = k_dataFolderName;
    return name.substr(0, name.rfind('.')) + ".log";
}

// True if the existing file can be read.
bool isReadable(const AM_String& path) {
    AM_FileCalls::Handle file = AM_FileCalls::k_noHandle;
    if (AM_FileCalls::open(path, AM_FileCalls::Access::read, &file) != k_fileOk) return false;
    AM_FileCalls::close(file);
    return true;
}

AM_LogSink* openLogFile() {
    AM_Directory desktop;
    resolveFolder(&desktop, k_folderDesktop, 0, nullptr, nullptr);
    const AM_String path = desktop.pathOf(AM_String(logFileName().c_str()));
    if (!isReadable(path)) {
        AM_Log("no deskTopFile found");
        return nullptr;
    }
    AM_FileCalls::Handle file = AM_FileCalls::k_noHandle;
    if (AM_FileCalls::open(path, AM_FileCalls::Access::append, &file) != k_fileOk) {
        AM_Log("deskTopFile write protected");
        return nullptr;
    }
    std::unique_ptr<AM_LogSink> sink(new (std::nothrow) LogFile(file));
    if (sink == nullptr || AM_FileCalls::truncate(file) != k_fileOk) {
        AM_Log("deskTopFile write protected");
        if (sink == nullptr) AM_FileCalls::close(file);
        return nullptr;
    }
    return sink.release();
}

// Takes the opener away before its code goes.
class Removal {
public:
    Removal() = default;
    ~Removal() { AM_setLogFileOpener(nullptr); }
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;
};

} // namespace

void AM_useLogFile() {
    static const Removal removal;
    AM_setLogFileOpener(openLogFile);
}
