// Where the product's data lives on this machine.
#pragma once

#include "AM_Directory.h"

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

// Sets `directory` to a folder of the product and makes what is missing of it (kind 4 is only
// entered). `domain` 1 with kind 8 means the user's own documents. Other kinds than the above
// change nothing and give 0; the first failure is the result. Not on an audio thread.
AM_FileErr resolveFolder(AM_Directory* directory, i32 kind, i32 domain, const char* vendor,
                         const char* product);

// Makes `folder` the product's data folder for this process, in place of "Glassmere.data" next to
// the library; null or "" undoes it. For hosts that bring their own folder, and for tests; before
// the first instance.
void AM_setAlternateFolder(const char* folder);
