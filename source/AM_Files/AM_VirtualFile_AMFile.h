// A virtual file that is a file of the operating system.
#pragma once

#include "AM_File.h"
#include "AM_VirtualFile.h"

#include <memory>

// Closes its file when it goes.
class AM_VirtualFile_AMFile : public virtual AM_VirtualFile {
public:
    // Takes the file over and opens it with `accessMode` as in AM_FileAccess, unless `failed` says
    // that it can't be; a failure sets the error.
    AM_VirtualFile_AMFile(AM_File file, u32 accessMode, bool failed);

    bool saveContent() override;
    bool loadContent() override;
    bool hasError() override { return error; }
    i64 size() override;
    u32 getDateModified(i32 selector) override;
    bool seek(i64 offset, i32 origin) override;
    i64 tell() override;
    u32 write(const void* buffer, u32 length) override;
    char* getContentBuffer() override;
    i64 getContentSize() override;

private:
    bool readContent();

    AM_File file;
    u32 accessMode;
    std::unique_ptr<char[]> content; // null until it is asked for
    i64 contentSize = 0;
    bool error;
};
