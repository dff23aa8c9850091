// Where the product's data lives on this machine.
#pragma once

#include "AM_Directory.h"

#include <vector>

enum AM_FolderKind : i32 {
    k_folderData = 1,
    k_folderPresets = 2,
    k_folderModules = 3,
    k_folderNKS = 4,
    k_folderMetaAssignment = 5,
    k_folderTuneFiles = 6,
    k_folderControllerMaps = 7,
    k_folderDocuments = 8,
    k_folderSupport = 9,
    k_folderPlugin = 10,
    k_folderNone = 11,
    k_folderDesktop = 12,
    k_folderSupport2 = 13,
};

// The vendor's folder, below which that of the product lies.
inline constexpr const char* k_vendorFolder = "vela";
// The folder that holds all data if it stands next to the library.
inline constexpr const char* k_dataFolderName = "Glassmere.data";

// Sets `directory` to a folder of the product and makes what is missing of it (of kind 4, and of
// the user's own folders, nothing is made). `domain` 1 with kind 8 means the user's own documents.
// Other kinds than the above change nothing and give 0. The first failure is the result, and
// `directory` is then the folder as far as it got. Any thread but an audio thread.
AM_FileErr resolveFolder(AM_Directory* directory, i32 kind, i32 domain, const char* vendor,
                         const char* product);

// The folders of kind 1 or 2 to be read behind the user's own, whether they exist or not: that of
// the bundle that holds this code, then those for all users of the machine. Nothing is ever written
// there. None for other kinds or with an alternate folder.
std::vector<AM_String> AM_sharedFolders(i32 kind, const char* vendor, const char* product);

// Looks for the folder "Glassmere.data", or a link of that name, next to the library that holds
// this code (in a bundle also in its Resources), and returns it with a separator at its end, ""
// if there is none. The outcome is looked up anew by each call and logged.
AM_String getAltDirString();

// Makes the absolute path `folder` the product's data folder for this process, in place of
// "Glassmere.data" next to the library; null or "" undoes it. The folder is not made. While it is
// in force nothing outside it is made or read but the user's desktop and documents; a path that
// can't be one is logged and makes every folder in it fail. For hosts that bring their own folder,
// and for tests; before the first instance.
void AM_setAlternateFolder(const char* folder);

// What a link leads to, as an absolute path of the system in UTF-8, "" if it leads nowhere or the
// target takes more than 259 bytes. Each thread has its own result, good until its next call.
// Logs what it finds.
extern "C" const char* resolveShortcut(const char16_t* path);
