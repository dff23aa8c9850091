// Files of the virtual file system, always held by shared pointer.
#pragma once

#include "AM_Format.h"
#include "AM_Types.h"

#include <memory>

// A file longer than this is not read, as its content is held in memory whole.
inline constexpr i64 k_maxFileContent = i64{64} << 20;

enum AM_SeekOrigin : i32 { k_seekStart = 0, k_seekEnd = 1, k_seekCurrent = 2 };

// One open file; one thread at a time.
class AM_VirtualFile {
public:
    virtual ~AM_VirtualFile() = default;

    // Writes the cached content back from offset 0.
    virtual bool saveContent() = 0;
    // Reads the content; true if no error is set.
    virtual bool loadContent() = 0;
    // Once set it stays.
    virtual bool hasError() = 0;
    virtual i64 size() = 0; // bytes
    // Selector 0: year * 65536 + month * 256 + day of the last change, 1 if it can't be had; 0 for
    // other selectors and after an error.
    virtual u32 getDateModified(i32 selector) = 0;
    // True on failure. `origin` as in AM_SeekOrigin.
    virtual bool seek(i64 offset, i32 origin) = 0;
    // -1 after an error.
    virtual i64 tell() = 0;
    // Returns the bytes written and drops the cached content.
    virtual u32 write(const void* buffer, u32 length) = 0;
    // The whole file, terminated by a zero, owned by this object until the next write; null after
    // an error. A file above k_maxFileContent is an error.
    virtual char* getContentBuffer() = 0;
    // A byte of the content, counted from the end if negative; 0 on an error or outside it.
    virtual u8 getByte(i64 index);
    // Writes formatted text of fewer than `maxLength` bytes, nothing after an error; what is longer
    // is cut between characters and logged as "fprintv: length exceeded maxLen!: %d >= %d".
    virtual void fprintv(i32 maxLength, const char* format, const AM_Arguments& arguments);
    template <class... A>
    void fprintf(i32 maxLength, const char* format, const A&... args) {
        fprintv(maxLength, format, AM_Arguments(args...));
    }
    // Bytes in front of the zero that ends getContentBuffer(), which it reads if it must; 0 after
    // an error. Other than size() it holds for the content when another process changes the file.
    virtual i64 getContentSize() = 0;
};

using AM_VirtualFilePtr = std::shared_ptr<AM_VirtualFile>;

// Stands for a file that could not be opened: hasError is true, saveContent and loadContent are
// false, getByte gives 0, fprintv and fprintf do nothing. The others assert "!hasError()".
class AM_VirtualErrorFile : public AM_VirtualFile {
public:
    bool saveContent() override { return false; }
    bool loadContent() override { return false; }
    bool hasError() override { return true; }
    i64 size() override;
    u32 getDateModified(i32 selector) override;
    bool seek(i64 offset, i32 origin) override;
    i64 tell() override;
    u32 write(const void* buffer, u32 length) override;
    char* getContentBuffer() override;
    i64 getContentSize() override;
};
