#include "AM_FileSystemCalls.h"

#include "AM_VirtualFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace AM_FileCalls {

namespace {

AM_FileErr lastError() {
    return static_cast<AM_FileErr>(errno);
}

// Calls `call` again while a signal ends it.
template <class Call>
auto repeated(const Call& call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

AM_FileErr resultOf(int result) {
    return result == 0 ? k_fileOk : lastError();
}

int fileOf(Handle handle) {
    return static_cast<int>(handle);
}

u32 packedDate(time_t seconds) {
    using namespace std::chrono;
    const year_month_day date(floor<days>(system_clock::from_time_t(seconds)));
    const u32 year = static_cast<u32>(static_cast<int>(date.year()));
    return year * 65536 + static_cast<unsigned>(date.month()) * 256 +
           static_cast<unsigned>(date.day());
}

// Devices, pipes and the like may hang or act when they are opened or read.
AM_FileErr checkRegular(const struct stat& status) {
    if (S_ISREG(status.st_mode)) return k_fileOk;
    return S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
}

// Never waits, and never becomes the terminal of the process.
constexpr int k_openFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

AM_FileErr openRegular(const AM_String& path, int flags, Handle* handle) {
    *handle = k_noHandle;
    const std::string name = pathToSystem(path);
    struct stat status;
    const bool found = stat(name.c_str(), &status) == 0;
    if (!found && (errno != ENOENT || (flags & O_CREAT) == 0)) return lastError();
    if (found)
        if (const AM_FileErr error = checkRegular(status); error != k_fileOk) return error;
    const int file = repeated([&] { return ::open(name.c_str(), flags | k_openFlags, 0666); });
    if (file < 0) return lastError();
    // It may have been exchanged meanwhile.
    const AM_FileErr error = fstat(file, &status) == 0 ? checkRegular(status) : lastError();
    if (error == k_fileOk)
        *handle = file;
    else
        ::close(file);
    return error;
}

} // namespace

bool nameFromSystem(const std::string& name, AM_String* result) {
    *result = AM_String(std::string_view(name));
    return name.find('\\') == name.npos && result->utf8() == name;
}

bool pathFromSystem(const std::string& path, AM_String* result) {
    AM_String checked;
    if (path.empty() || path[0] != '/' || !nameFromSystem(path, &checked)) return false;
    std::string text = path;
    std::replace(text.begin(), text.end(), '/', '\\');
    *result = AM_String(std::string_view(text));
    return true;
}

std::string pathToSystem(const AM_String& path) {
    std::string text = path.utf8();
    if (text.find('\0') != text.npos) return {};
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

AM_FileErr status(const AM_String& path, Status* result) {
    struct stat status;
    if (stat(pathToSystem(path).c_str(), &status) != 0) return lastError();
    result->isFolder = S_ISDIR(status.st_mode);
    result->date = packedDate(status.st_mtime);
    return k_fileOk;
}

bool hasShortcut(const AM_String&) {
    return false;
}

AM_FileErr open(const AM_String& path, Access access, Handle* handle) {
    static constexpr int flags[] = {O_RDONLY, O_WRONLY, O_RDWR, O_WRONLY | O_APPEND};
    return openRegular(path, flags[static_cast<int>(access)], handle);
}

AM_FileErr create(const AM_String& path, bool overwrite) {
    Handle handle = k_noHandle;
    AM_FileErr error = openRegular(path, O_WRONLY | O_CREAT | (overwrite ? 0 : O_EXCL), &handle);
    if (error != k_fileOk) return error;
    error = truncate(handle);
    close(handle);
    return error;
}

void close(Handle handle) {
    ::close(fileOf(handle));
}

AM_FileErr read(Handle handle, void* buffer, u32 count, u32* bytesRead) {
    *bytesRead = 0;
    const ssize_t done = repeated([&] { return ::read(fileOf(handle), buffer, count); });
    if (done < 0) return lastError();
    *bytesRead = static_cast<u32>(done);
    return k_fileOk;
}

AM_FileErr write(Handle handle, const void* buffer, u32 count, u32* bytesWritten) {
    *bytesWritten = 0;
    const ssize_t done = repeated([&] { return ::write(fileOf(handle), buffer, count); });
    if (done < 0) return lastError();
    *bytesWritten = static_cast<u32>(done);
    return k_fileOk;
}

AM_FileErr seek(Handle handle, i64 offset, i32 origin, i64* newOffset) {
    static constexpr int origins[] = {SEEK_SET, SEEK_END, SEEK_CUR}; // as AM_SeekOrigin
    if (origin < k_seekStart || origin > k_seekCurrent) return EINVAL;
    const off_t reached = lseek(fileOf(handle), offset, origins[origin]);
    if (reached < 0) return lastError();
    *newOffset = reached;
    return k_fileOk;
}

AM_FileErr size(Handle handle, i64* length) {
    struct stat status;
    if (fstat(fileOf(handle), &status) != 0) return lastError();
    *length = status.st_size;
    return k_fileOk;
}

AM_FileErr truncate(Handle handle) {
    return resultOf(repeated([&] { return ftruncate(fileOf(handle), 0); }));
}

AM_FileErr deleteFile(const AM_String& path) {
    return resultOf(unlink(pathToSystem(path).c_str()));
}

AM_FileErr deleteFolder(const AM_String& path) {
    return resultOf(rmdir(pathToSystem(path).c_str()));
}

AM_FileErr createFolder(const AM_String& path) {
    return resultOf(mkdir(pathToSystem(path).c_str(), 0777));
}

AM_FileErr listFolder(const AM_String& folder, std::vector<Entry>* entries) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(pathToSystem(folder).c_str()),
                                                     closedir);
    if (stream == nullptr) return lastError();
    errno = 0;
    while (const dirent* item = readdir(stream.get())) {
        const std::string text = item->d_name;
        AM_String name;
        if (text != "." && text != ".." && nameFromSystem(text, &name)) {
            if (entries->size() == k_maxEntries) return k_fileOk;
            struct stat status;
            const bool isFolder = fstatat(dirfd(stream.get()), item->d_name, &status, 0) == 0 &&
                                  S_ISDIR(status.st_mode);
            entries->push_back({AM_String(folder.utf8() + text), isFolder});
        }
        errno = 0; // tells an error of readdir from the end
    }
    return lastError();
}

} // namespace AM_FileCalls
