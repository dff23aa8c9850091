#include "AM_File.h"

#include "AM_FileSystemCalls.h"
#include "AM_Log.h"
#include "AM_VirtualFile.h"

#include <utility>

static_assert(AM_FileCalls::k_noHandle == -1);

namespace {

constinit AM_Once openFailed;

// A box would stand in the way of a host that scans without a display.
void reportFirst(u32 mode, const AM_String& path) {
    if (!openFailed.first()) return;
    const char* format =
        mode == k_accessRead
            ? "vela Error 3: file couldn't be opened %S - this is a problem with file "
              "permissions. Check out the FAQ section on the support page to solve file permisson "
              "issues."
            : "vela Error 3: file couldn't be written to %S - this is a problem with file "
              "permissions. Check out the FAQ section on the support page to solve file permisson "
              "issues.";
    AM_Log(format, path.wide().c_str());
}

AM_FileCalls::Access accessOf(u32 mode) {
    if (mode == k_accessRead) return AM_FileCalls::Access::read;
    return mode == k_accessWrite ? AM_FileCalls::Access::write : AM_FileCalls::Access::readWrite;
}

} // namespace

AM_File::AM_File(AM_File&& other) noexcept
    : AM_FileObject(std::move(other)), handle(std::exchange(other.handle, -1)) {
}

AM_File& AM_File::operator=(AM_File&& other) noexcept {
    if (this == &other) return *this;
    close();
    AM_FileObject::operator=(std::move(other));
    handle = std::exchange(other.handle, -1);
    return *this;
}

AM_FileErr AM_File::open(u32 mode) {
    close();
    const AM_FileErr error = AM_FileCalls::open(path, accessOf(mode), &handle);
    if (error != k_fileOk) reportFirst(mode, path);
    access = mode;
    return error;
}

AM_FileErr AM_File::close() {
    if (isOpen()) AM_FileCalls::close(handle);
    handle = -1;
    return k_fileOk;
}

AM_FileErr AM_File::readBytes(void* buffer, u32 count, u32* bytesRead) {
    return AM_FileCalls::read(handle, buffer, count, bytesRead);
}

AM_FileErr AM_File::writeBytes(const void* buffer, u32 count, u32* bytesWritten) {
    return AM_FileCalls::write(handle, buffer, count, bytesWritten);
}

AM_FileErr AM_File::seek(i64 offset, i32 origin) {
    i64 reached = 0;
    return AM_FileCalls::seek(handle, offset, origin, &reached);
}

AM_FileErr AM_File::tell(i64* offset) {
    return AM_FileCalls::seek(handle, 0, k_seekCurrent, offset);
}

AM_FileErr AM_File::size(i64* length) {
    return AM_FileCalls::size(handle, length);
}
