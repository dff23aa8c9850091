// Exchanging a file for a new one in a single step.
#include "AM_FileSystemCalls.h"
#include "AM_VirtualFile.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace AM_FileCalls {

namespace {

AM_FileErr lastError() {
    return static_cast<AM_FileErr>(errno);
}

// The file to be exchanged, behind all links.
struct Target {
    std::string path;
    bool exists = false;
    struct stat status {};

    AM_FileErr find(const std::string& name);
    std::string folder() const { return path.substr(0, path.rfind('/') + 1); }
};

AM_FileErr Target::find(const std::string& name) {
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(name.c_str(), nullptr), free);
    if (resolved == nullptr) {
        if (errno != ENOENT) return lastError();
        // A link that leads nowhere is left as it is.
        if (name.find('/') == name.npos || lstat(name.c_str(), &status) == 0) return ENOENT;
        path = name;
        return k_fileOk;
    }
    path = resolved.get();
    exists = true;
    if (stat(path.c_str(), &status) != 0) return lastError();
    if (!S_ISREG(status.st_mode)) return S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
    // A rename would pass over the file's own write protection.
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? k_fileOk : lastError();
}

// A file of this process alone, which goes unless it takes another one's place.
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (file >= 0) ::close(file);
        if (!path.empty()) unlink(path.c_str());
    }

    AM_FileErr create(const Target& target);
    AM_FileErr fill(const char* bytes, size_t length);
    AM_FileErr takePlaceOf(const Target& target);

private:
    int file = -1;
    std::string path;
};

// Short, so that there is room for it wherever there is room for a preset's name, and hidden.
std::string temporaryName() {
    static constinit std::atomic<u32> counter = 0;
    char digits[20];
    const auto append = [&](std::string text, u32 number) {
        return text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    };
    const std::string process = append(".Glassmere-", static_cast<u32>(getpid())) + '-';
    return append(process, counter.fetch_add(1, std::memory_order_relaxed)) + ".tmp";
}

AM_FileErr TemporaryFile::create(const Target& target) {
    constexpr int k_attempts = 100;
    for (int attempt = 0; file < 0; ++attempt) {
        const std::string name = target.folder() + temporaryName();
        file = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                      target.exists ? 0600 : 0666);
        if (file >= 0)
            path = name;
        else if ((errno != EEXIST && errno != EINTR) || attempt == k_attempts)
            return lastError();
    }
    if (!target.exists) return k_fileOk;
    // Whoever may not give a file away keeps it.
    const bool given = fchown(file, target.status.st_uid, target.status.st_gid) == 0;
    static_cast<void>(given);
    return fchmod(file, target.status.st_mode & 0777) == 0 ? k_fileOk : lastError();
}

AM_FileErr TemporaryFile::fill(const char* bytes, size_t length) {
    while (length > 0) {
        const ssize_t done = ::write(file, bytes, length);
        if (done < 0 && errno == EINTR) continue;
        if (done < 0) return lastError();
        if (done == 0) return ENOSPC;
        bytes += done;
        length -= static_cast<size_t>(done);
    }
    // A crash of the machine shall find the old content or the new one.
    while (fsync(file) != 0)
        if (errno != EINTR) return lastError();
    const int closed = ::close(file);
    file = -1;
    return closed == 0 || errno == EINTR ? k_fileOk : lastError();
}

AM_FileErr TemporaryFile::takePlaceOf(const Target& target) {
    if (rename(path.c_str(), target.path.c_str()) != 0) return lastError();
    path.clear();
    // So that the exchange lasts too; it has happened, whatever comes of this.
    const int folder = ::open(target.folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        ::close(folder);
    }
    return k_fileOk;
}

} // namespace

AM_FileErr replaceFile(const AM_String& path, const void* bytes, size_t length) {
    if (bytes == nullptr && length > 0) return EINVAL;
    if (length > static_cast<u64>(k_maxFileContent)) return EFBIG; // it could not be read back
    Target target;
    TemporaryFile temporary;
    AM_FileErr error = target.find(pathToSystem(path));
    if (error == k_fileOk) error = temporary.create(target);
    if (error == k_fileOk) error = temporary.fill(static_cast<const char*>(bytes), length);
    if (error == k_fileOk) error = temporary.takePlaceOf(target);
    return error;
}

} // namespace AM_FileCalls
