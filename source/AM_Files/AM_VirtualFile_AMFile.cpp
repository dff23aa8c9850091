#include "AM_VirtualFile_AMFile.h"

#include "AM_Log.h"

#include <new>
#include <utility>

AM_VirtualFile_AMFile::AM_VirtualFile_AMFile(AM_File openFile, u32 mode, bool failed)
    : file(std::move(openFile)), accessMode(mode), error(failed) {
    if (!error) error = file.open(accessMode) != k_fileOk;
    if (!error) file.seek(0, k_seekStart);
}

bool AM_VirtualFile_AMFile::saveContent() {
    if (error || accessMode == k_accessRead) return false;
    const i64 before = tell();
    const i64 length = getContentSize();
    const char* buffer = getContentBuffer();
    if (buffer == nullptr || seek(0, k_seekStart)) return false;
    const u32 written = write(buffer, static_cast<u32>(length));
    seek(before, k_seekStart);
    if (written != length || size() != length) error = true;
    return !error;
}

bool AM_VirtualFile_AMFile::loadContent() {
    if (error || accessMode == k_accessWrite) return false;
    getContentBuffer();
    return !error;
}

i64 AM_VirtualFile_AMFile::size() {
    i64 length = 0;
    if (!error && file.size(&length) != k_fileOk) error = true;
    return error ? 0 : length;
}

u32 AM_VirtualFile_AMFile::getDateModified(i32 selector) {
    return error || selector != 0 ? 0 : file.getDateModified();
}

bool AM_VirtualFile_AMFile::seek(i64 offset, i32 origin) {
    return error || file.seek(offset, origin) != k_fileOk;
}

i64 AM_VirtualFile_AMFile::tell() {
    i64 offset = -1;
    return error || file.tell(&offset) != k_fileOk ? -1 : offset;
}

u32 AM_VirtualFile_AMFile::write(const void* buffer, u32 length) {
    if (error) return 0;
    const auto* const bytes = static_cast<const char*>(buffer);
    u32 written = 0;
    AM_FileErr result = k_fileOk;
    // What the system takes only in part it refuses with a reason the next time.
    while (result == k_fileOk && written < length) {
        u32 count = 0;
        result = file.writeBytes(bytes + written, length - written, &count);
        written += count;
        if (result == k_fileOk && count == 0) break;
    }
    if (written < length) {
        error = true;
        AM_Log("ERROR: %u of %u bytes written to %s, error %u", written, length,
               file.getPathString().c_str(), result);
    }
    content.reset(); // only now, as `buffer` may be it
    return written;
}

char* AM_VirtualFile_AMFile::getContentBuffer() {
    if (!error && content == nullptr && !readContent()) {
        error = true;
        AM_Log("ERROR: %s can't be read", file.getPathString().c_str());
    }
    return error ? nullptr : content.get();
}

i64 AM_VirtualFile_AMFile::getContentSize() {
    return getContentBuffer() == nullptr ? 0 : contentSize;
}

// Leaves the offset where it is.
bool AM_VirtualFile_AMFile::readContent() {
    const i64 length = size();
    const i64 before = tell();
    if (error || length > k_maxFileContent || before < 0 || seek(0, k_seekStart)) return false;
    // The zero behind it is there for every length that the file turns out to have.
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<size_t>(length) + 1]());
    if (bytes == nullptr) return false;
    i64 total = 0;
    for (u32 count = 1; count > 0 && total < length; total += count)
        if (file.readBytes(bytes.get() + total, static_cast<u32>(length - total), &count) !=
            k_fileOk)
            return false;
    content = std::move(bytes);
    contentSize = total;
    return !seek(before, k_seekStart);
}
