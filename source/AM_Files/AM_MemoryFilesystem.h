// A file system in memory that can be told to fail.
#pragma once

#include "AM_Filesystem.h"

#include <optional>
#include <string>
#include <string_view>

inline constexpr u64 k_memoryCapacity = u64{256} << 20; // bytes

// A leaf beside the platform's: names are told apart by case, listings are sorted, a replaced file
// is seen whole by who has it open. Files may outlive it. Any thread; one file, one thread.
class AM_MemoryFilesystem : public AM_Filesystem {
public:
    AM_MemoryFilesystem();

    // The next four look past all faults and limits. False if a file is where a folder is needed,
    // or the other way round. Folders on the way are made.
    bool addFile(const AM_FilePath& path, std::string_view content);
    bool addDirectory(const AM_FilePath& path);
    // A folder goes with all in it, the root is emptied; false if there is none. Who has a file
    // open keeps it.
    bool remove(const AM_FilePath& path);
    // Of a file; nothing for anything else.
    std::optional<std::string> content(const AM_FilePath& path) const;

    // Writes fill what is left of `bytes` and then fail; a replaced file needs room beside the old
    // one.
    void setCapacity(u64 bytes);
    // Nothing can be written, by open files either.
    void setReadOnly(bool readOnly);
    // Lets `count` operations fail from the `nth` on, 1 for the next one; 0 for none. Each
    // question, listing, open or replace of the tree and each use of an open file is one.
    void failOperation(u64 nth, u64 count = 1);
    // Operations so far.
    u64 operations() const;

protected:
    bool existsLocal(const AM_FilePath& path) override;
    bool isDirectoryLocal(const AM_FilePath& path) override;
    void openLocal(const AM_FilePath& path, AM_VirtualFilePtr* result, i32 mode) override;
    void listLocal(const AM_FilePath& path, std::vector<AM_FilePath>* result) override;
    bool replaceLocal(const AM_FilePath& path, const void* bytes, size_t length) override;

private:
    struct Content;
    struct Store;
    class File;

    const std::shared_ptr<Store> store;
};
