// Which program the plug-in runs in.
#pragma once

#include <string>

// The name of the running executable: what stands behind the last `\` or `/` of its path, up to the
// first ".exe". At most 511 bytes of UTF-8; "" if the path can't be had, with a line in the log.
// Makes a system call.
std::string AM_VST3_hostName();

// The same of a path.
std::string AM_VST3_nameOfExecutable(const std::string& path);

// The path of the running executable, "" if it can't be had. Each system has its own.
std::string AM_executablePath();
