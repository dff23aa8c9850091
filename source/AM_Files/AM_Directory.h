// A folder of the operating system, and the walk through it.
#pragma once

#include "AM_File.h"

#include <memory>
#include <vector>

// Its path ends in a separator; the empty path is no folder, and all that is asked of it fails.
// Names are one file or folder name each, in UTF-8.
class AM_Directory : public AM_FileObject {
public:
    AM_Directory() = default;
    explicit AM_Directory(const AM_String& path);

    // Links are followed; `isDirectory`, if given, is set for what exists. Where the system has
    // shortcuts, one of that name stands in for a missing item, and is no folder.
    bool exists(const AM_String& name, bool* isDirectory = nullptr) const;
    using AM_FileObject::exists;
    AM_FileErr createDirectory(const AM_String& name) const;
    // Moves into the folder `name`, making it first if it is missing and `create` is set.
    // k_fileNotFolder if something else has the name, k_fileNotFound if it is missing or leads
    // elsewhere; "" stays.
    AM_FileErr enter(const AM_String& name, bool create);
    // Sets `file` to the file `name`, made empty first if it is missing and `create` is set.
    AM_FileErr getFile(const AM_String& name, AM_File* file, bool create) const;
    // Makes the file, or empties an existing one if `overwrite` is set, and sets `file` to it, not
    // open. k_fileNotCreated for any failure; the first one of the process puts the "vela Error 1"
    // text on the log.
    AM_FileErr createFile(const AM_String& name, AM_File* file, bool overwrite) const;
    // Stays at the root. Always 0.
    AM_FileErr moveToParent() { return getParent(this); }
    // The path of an item.
    AM_String pathOf(const AM_String& name) const;
};

// Walks a folder, which must live meanwhile, in the order of listings: without regard to the case
// of "A" to "Z". What was there at the first step is shown, at most 100000 entries. Names that no
// path can hold (with a "\" in them or no UTF-8) are skipped.
class AM_DirectoryIterator {
public:
    // True for an object to be shown.
    using Predicate = bool (*)(AM_FileObject& object);

    explicit AM_DirectoryIterator(const AM_Directory& directory, Predicate predicate = nullptr)
        : predicate(predicate), directory(&directory) {}
    virtual ~AM_DirectoryIterator();

    // The next AM_Directory or AM_File, null at the end or if the folder can't be read. A link to
    // a folder is a folder.
    std::unique_ptr<AM_FileObject> next();

private:
    Predicate predicate;
    const AM_Directory* directory;
    // What is left, last entry first; null until the first step.
    std::unique_ptr<std::vector<std::unique_ptr<AM_FileObject>>> left;
};
