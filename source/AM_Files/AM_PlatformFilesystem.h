// A part of the operating system's files as a file system.
#pragma once

#include "AM_Directory.h"
#include "AM_Filesystem.h"

// A path takes at most this many bytes, its terminator included.
inline constexpr size_t k_maxRootPath = 1024;

// The leaf that works on a folder. Behind the folder may stand others with the same layout that are
// read only: what the main folder lacks is looked for there, in the order in which they were added,
// and what it has hides theirs. Only the main folder is written to; a folder that only stands in
// one of the others is made there first. Listings are sorted without regard to case. After the
// roots are added any thread may use it.
class AM_PlatformFilesystem : public AM_Filesystem {
public:
    // `rootPath` is absolute and of at most 1023 bytes of UTF-8; "" or a longer one (which is
    // logged) gives a tree that holds nothing but its read-only part. Nothing is made or looked at.
    explicit AM_PlatformFilesystem(const char* rootPath);

    // Refused and logged like the main root.
    void addReadOnlyRoot(const char* path);
    // Makes the folder and those that it lies in, in the main folder; true if it is there already.
    // A failure is logged.
    bool createFolder(const AM_FilePath& path);

protected:
    // Files are opened to be read with access 0, to be written with access 2. Missing or unreadable
    // files log "Failed to open file %s", others "Failed to create file %s".
    bool existsLocal(const AM_FilePath& path) override;
    bool isDirectoryLocal(const AM_FilePath& path) override;
    void openLocal(const AM_FilePath& path, AM_VirtualFilePtr* result, i32 mode) override;
    void listLocal(const AM_FilePath& path, std::vector<AM_FilePath>* result) override;
    bool replaceLocal(const AM_FilePath& path, const void* bytes, size_t length) override;

private:
    // The folder and the name in it by which a path of the tree is known to the system.
    struct Place;

    void openToRead(const AM_FilePath& path, AM_VirtualFilePtr* result);
    void openToWrite(const AM_FilePath& path, AM_VirtualFilePtr* result);
    // The main root and then the others, without those that are "".
    std::vector<AM_FilePath> roots() const;
    // True if `path` is found; `isDirectory` tells what is found first.
    bool find(const AM_FilePath& path, Place* place, bool* isDirectory) const;
    void makeParent(const AM_FilePath& path);

    AM_FilePath rootPath;
    std::vector<AM_FilePath> readOnlyRoots;
};
