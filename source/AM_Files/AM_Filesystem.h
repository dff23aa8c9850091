// One tree of files out of several, by mount points.
#pragma once

#include "AM_FilePath.h"
#include "AM_VirtualFile.h"

#include <memory>
#include <vector>

// Mounts that a path may pass through.
inline constexpr size_t k_maxMountDepth = 32;

class AM_Filesystem;
using AM_FilesystemPtr = std::shared_ptr<AM_Filesystem>;

// A tree that holds nothing but its mounts; a leaf overrides the four local operations. A path with
// a ".." segment or a zero (on Windows also a ":") counts as excluded everywhere. Mounts and
// exclusions are added before the tree is shared; afterwards any thread may read through it.
class AM_Filesystem {
public:
    // kWrite creates the file or empties it.
    enum Mode : i32 { kRead = 0, kWrite = 1 };
    using Exclusion = bool (*)(AM_FilePath path);

    AM_Filesystem() = default;
    virtual ~AM_Filesystem() = default;
    AM_Filesystem(const AM_Filesystem&) = delete;
    AM_Filesystem& operator=(const AM_Filesystem&) = delete;

    // False for an excluded path.
    bool exists(const AM_FilePath& path);
    bool isDirectory(const AM_FilePath& path);
    // Never null: a file that can't be had, an excluded one too, is an AM_VirtualErrorFile.
    AM_VirtualFilePtr open(const AM_FilePath& path, i32 mode);
    // Entries of a folder without the excluded ones: full virtual paths for a mounted part, else
    // relative to this object; nothing for an excluded path.
    std::vector<AM_FilePath> list(const AM_FilePath& path);
    // A mount below a mount lands in the inner tree. Refused with a log line: a point that is
    // excluded, taken already, or below k_maxMountDepth mounts. Asserts "fs != nullptr".
    void mount(const AM_FilePath& path, AM_FilesystemPtr fs);
    // Asserts "predicate != nullptr".
    void addExclusion(Exclusion predicate);
    bool isExcluded(const AM_FilePath& path) const;
    // Replaces the file `path` by `length` bytes in one step: readers see the old content or the
    // new one, and a failure leaves the old one and is logged. False for a failure.
    bool replaceFile(const AM_FilePath& path, const void* bytes, size_t length);

protected:
    // What a leaf does itself; "" and "/" are its root, the paths it lists are relative to that. It
    // leaves `result` null for a file that can't be had, and logs what fails.
    virtual bool existsLocal(const AM_FilePath& path);
    virtual bool isDirectoryLocal(const AM_FilePath& path);
    virtual void openLocal(const AM_FilePath& path, AM_VirtualFilePtr* result, i32 mode);
    virtual void listLocal(const AM_FilePath& path, std::vector<AM_FilePath>* result);
    virtual bool replaceLocal(const AM_FilePath& path, const void* bytes, size_t length);

private:
    struct Mount {
        AM_FilePath point;
        AM_FilesystemPtr fs;
    };
    // Where a path leads: the tree behind the last mount, the path in there, the mounts on the way.
    struct Route;
    // The mount with the longest prefix of `path`, or null; `remainder` is the path behind it, "/"
    // for the mount point itself.
    const Mount* findMount(const AM_FilePath& path, AM_FilePath* remainder) const;
    bool findRoute(const AM_FilePath& path, Route* route);
    void addMountPoints(const AM_FilePath& path, std::vector<AM_FilePath>* result) const;
    void removeExcluded(std::vector<AM_FilePath>* paths) const;

    std::vector<Mount> mounts;
    std::vector<Exclusion> exclusions;
};
