// What files and folders of the operating system have in common.
#pragma once

#include "AM_FileErr.h"
#include "AM_String.h"

class AM_Directory;

enum AM_FileType : i32 { k_typeUnknown = 0, k_typeFile = 1, k_typeDirectory = 2 };

// A thing at an absolute path, whose text has "\" between names on every system. One thread at a
// time; no operation here belongs on an audio thread.
class AM_FileObject {
public:
    virtual ~AM_FileObject() = default;
    // "Directory" or "File"; what does not exist is a "File".
    virtual const char* getTypeName();

    // An AM_FileType, kept once known; k_typeUnknown while there is no such thing.
    i32 getType();
    const AM_String& getPathString() const { return path; }
    // Sets `directory` to the folder that holds this; leaves it alone if there is none. Always 0.
    AM_FileErr getParent(AM_Directory* directory) const;
    // The last name of the path. Always 0.
    AM_FileErr getName(AM_String* name) const;
    // Of the last change, in UTC: year * 65536 + month * 256 + day, 1 if it can't be had. Kept.
    u32 getDateModified();
    // Deletes the file or the empty folder.
    AM_FileErr deleteObject();
    bool exists() const;

protected:
    AM_FileObject() = default;
    explicit AM_FileObject(const AM_String& path, i32 type = k_typeUnknown);
    AM_FileObject(const AM_FileObject&) = default;
    AM_FileObject& operator=(const AM_FileObject&) = default;
    AM_FileObject(AM_FileObject&&) = default;
    AM_FileObject& operator=(AM_FileObject&&) = default;

    // The text with "\" for each "/".
    static AM_String withSeparators(const AM_String& path);

    AM_String path;
    i32 type = k_typeUnknown;
    u32 access = 0;       // of the last open; 0 also after the date could not be had
    u32 dateModified = 0; // 0 until asked for

private:
    // Where the last name of the path begins; 0 if it has one name only.
    size_t nameStart() const;
};
