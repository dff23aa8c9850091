// What this floor needs of the operating system's files and folders. Each system implements it in
// its own folder; nothing else here knows a system call.
#pragma once

#include "AM_FileErr.h"
#include "AM_String.h"

#include <cstddef>
#include <string>
#include <vector>

// Paths are absolute, with "\" between names, as an AM_String holds them; a path that the system
// can't have gives k_fileNotFound. Nothing here throws (memory apart), logs, or waits for the other
// end of a pipe. Any thread but an audio thread.
namespace AM_FileCalls {

using Handle = std::ptrdiff_t;
inline constexpr Handle k_noHandle = -1;

// The last one writes behind what other processes have written meanwhile.
enum class Access { read, write, readWrite, append };

struct Status {
    bool isFolder = false;
    u32 date = 1; // of the last change in UTC: year * 65536 + month * 256 + day
};

struct Entry {
    AM_String path;
    bool isFolder = false;
};

// Entries of a folder that a listing takes; the others are left out.
inline constexpr size_t k_maxEntries = 100000;

// Of what a link points to.
AM_FileErr status(const AM_String& path, Status* result);
// True if a shortcut of the system stands in for an item that is missing. False where links are
// seen through.
bool hasShortcut(const AM_String& path);

// Opens an existing regular file; anything else is an error.
AM_FileErr open(const AM_String& path, Access access, Handle* handle);
// Makes an empty file, or empties a regular one if `overwrite`.
AM_FileErr create(const AM_String& path, bool overwrite);
void close(Handle handle);
// One system call; fewer bytes than wanted are no error.
AM_FileErr read(Handle handle, void* buffer, u32 count, u32* bytesRead);
AM_FileErr write(Handle handle, const void* buffer, u32 count, u32* bytesWritten);
// `origin` as in AM_SeekOrigin.
AM_FileErr seek(Handle handle, i64 offset, i32 origin, i64* newOffset);
AM_FileErr size(Handle handle, i64* length);
AM_FileErr truncate(Handle handle);

AM_FileErr deleteFile(const AM_String& path);
AM_FileErr deleteFolder(const AM_String& path);
AM_FileErr createFolder(const AM_String& path);
// All entries but "." and "..", with their kinds, in any order. Names that fail nameFromSystem are
// left out.
AM_FileErr listFolder(const AM_String& folder, std::vector<Entry>* entries);
// Puts `bytes` in place of the regular file `path`, or of the one that it links to, which keeps its
// mode: through a temporary file beside it that is flushed to the disk and renamed. A failure
// leaves the old file and no temporary one. A file that may not be written is not replaced.
AM_FileErr replaceFile(const AM_String& path, const void* bytes, size_t length);

// A file name as the system has it, as text; false if an AM_String path can't hold it.
bool nameFromSystem(const std::string& name, AM_String* result);
// The same for an absolute path; a failure leaves `result` alone.
bool pathFromSystem(const std::string& path, AM_String* result);
// A path for the system's own calls, "" if there can be no such path.
std::string pathToSystem(const AM_String& path);

// The file of the library or program that holds this code, behind all links.
AM_FileErr libraryPath(AM_String* path);
// True if `path` is a link to a file or folder, wherever it leads.
bool isLink(const AM_String& path);
// What `path` is behind all links.
AM_FileErr resolveLink(const AM_String& path, AM_String* target);

// The folder below which vendors keep their data, made if it is missing.
AM_FileErr dataHome(AM_String* folder);
// Folders in the same order of use that hold data for all users, to be read only.
std::vector<AM_String> sharedDataHomes();

enum class UserFolder { desktop, documents, sharedDocuments };
// A folder of the user, which is not made if it is missing.
AM_FileErr userFolder(UserFolder which, AM_String* folder);

} // namespace AM_FileCalls
