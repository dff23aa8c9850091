// A file of the operating system.
#pragma once

#include "AM_FileObject.h"

// Access of AM_File::open; any other value reads and writes too.
enum AM_FileAccess : u32 { k_accessRead = 0, k_accessWrite = 1, k_accessReadWrite = 2 };

// Holds at most one open handle, which it closes when it goes or is given another path. Operations
// on a file that is not open give the system's error.
class AM_File : public AM_FileObject {
public:
    AM_File() = default;
    explicit AM_File(const AM_String& path) : AM_FileObject(path, k_typeFile) {}
    ~AM_File() override { close(); }
    AM_File(AM_File&& other) noexcept;
    AM_File& operator=(AM_File&& other) noexcept;

    // Opens the existing regular file; nothing else is opened. The first failure of the process
    // puts the "vela Error 3" text on the log.
    AM_FileErr open(u32 mode);
    AM_FileErr close();
    bool isOpen() const { return handle != -1; }
    // One system call each; the count says how much of it was done.
    AM_FileErr readBytes(void* buffer, u32 count, u32* bytesRead);
    AM_FileErr writeBytes(const void* buffer, u32 count, u32* bytesWritten);
    // `origin` as in AM_SeekOrigin.
    AM_FileErr seek(i64 offset, i32 origin);
    AM_FileErr tell(i64* offset);
    AM_FileErr size(i64* length);

private:
    std::ptrdiff_t handle = -1;
};
