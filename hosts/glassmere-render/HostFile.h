// A file of the machine, by the path that a command line gives.
#pragma once

#include "AM_PlatformFilesystem.h"

#include <filesystem>
#include <string>

// The folder of the file as a tree, and the file's name in it.
class HostFile {
public:
    explicit HostFile(const std::string& path) : HostFile(std::filesystem::absolute(path)) {}

    AM_PlatformFilesystem& files() const { return *tree; }
    const AM_FilePath& name() const { return fileName; }

private:
    explicit HostFile(const std::filesystem::path& path)
        : tree(std::make_unique<AM_PlatformFilesystem>(path.parent_path().c_str())),
          fileName(path.filename().c_str()) {}

    std::unique_ptr<AM_PlatformFilesystem> tree;
    AM_FilePath fileName;
};
