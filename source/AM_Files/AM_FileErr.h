// How the file and folder objects answer.
#pragma once

#include "AM_Types.h"

// 0, one of this floor's own three codes, or the operating system's error number.
using AM_FileErr = u32;

inline constexpr AM_FileErr k_fileOk = 0;
inline constexpr AM_FileErr k_fileNotFound = 2; // no such file or folder
inline constexpr AM_FileErr k_fileNotCreated = 5;
inline constexpr AM_FileErr k_fileNotFolder = 80; // the name exists but is not a folder
