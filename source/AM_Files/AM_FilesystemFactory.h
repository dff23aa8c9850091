// Makes the tree of files that an instance works with.
#pragma once

#include "AM_Filesystem.h"

#include <vector>

// Answers where the parts of the tree lie, as absolute UTF-8 paths; "" if there is no such folder,
// which is logged.
class AM_FilesystemFactory {
public:
    virtual ~AM_FilesystemFactory() = default;
    virtual void getPresetsPath(AM_String* result, const char* name,
                                const char* presetSubfolder) const;
    virtual void getSupportPath(AM_String* result, const char* name) const;
    virtual void getDataPath(AM_String* result, const char* name) const;
    // Folders to be read behind that of getPresetsPath or getDataPath.
    virtual std::vector<AM_String> getSharedPresetsPaths(const char* presetSubfolder) const;
    virtual std::vector<AM_String> getSharedDataPaths(const char* name) const;
};

// Builds the tree with "/module-patches", "/patches", "/support" and "/data"; ".svn" is excluded.
// `name` is the product's name, `presetSubfolder` that of its folder below the presets. What does
// not exist on this machine is an empty part of the tree. Not on an audio thread.
void createFilesystem(const AM_FilesystemFactory& factory, AM_FilesystemPtr* result,
                      const char* name, const char* presetSubfolder);
