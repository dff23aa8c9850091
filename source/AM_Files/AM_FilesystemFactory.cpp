#include "AM_FilesystemFactory.h"

#include "AM_FolderResolver.h"
#include "AM_Log.h"
#include "AM_PlatformFilesystem.h"
#include "AM_Text.h"

namespace {

constexpr i32 k_allUsers = 2; // domain
constexpr const char* k_midiPrograms = "MIDI Programs";

AM_String pathOfFolder(i32 kind, const char* product, int line) {
    AM_Directory folder;
    if (resolveFolder(&folder, kind, k_allUsers, k_vendorFolder, product) == k_fileOk)
        return folder.getPathString();
    AM_Log("File Error in file %s line %d", AM_STD::fileName(__FILE__), line);
    return {};
}

std::shared_ptr<AM_PlatformFilesystem> treeOf(const AM_String& path,
                                              const std::vector<AM_String>& shared) {
    auto tree = std::make_shared<AM_PlatformFilesystem>(path.c_str());
    for (const AM_String& root : shared)
        tree->addReadOnlyRoot(root.c_str());
    return tree;
}

AM_FilesystemPtr presetsTree(const AM_String& path, const std::vector<AM_String>& shared) {
    const auto tree = treeOf(path, shared);
    if (!tree->exists("")) return std::make_shared<AM_Filesystem>();
    if (!tree->exists(k_midiPrograms)) tree->createFolder(k_midiPrograms);
    return tree;
}

bool isVersionControl(AM_FilePath path) {
    return path.filename() == AM_FilePath(".svn");
}

} // namespace

void AM_FilesystemFactory::getPresetsPath(AM_String* result, const char*,
                                          const char* presetSubfolder) const {
    *result = pathOfFolder(k_folderPresets, presetSubfolder, __LINE__);
}

void AM_FilesystemFactory::getSupportPath(AM_String* result, const char* name) const {
    *result = pathOfFolder(k_folderSupport, name, __LINE__);
}

void AM_FilesystemFactory::getDataPath(AM_String* result, const char* name) const {
    *result = pathOfFolder(k_folderData, name, __LINE__);
}

std::vector<AM_String>
AM_FilesystemFactory::getSharedPresetsPaths(const char* presetSubfolder) const {
    return AM_sharedFolders(k_folderPresets, k_vendorFolder, presetSubfolder);
}

std::vector<AM_String> AM_FilesystemFactory::getSharedDataPaths(const char* name) const {
    return AM_sharedFolders(k_folderData, k_vendorFolder, name);
}

void createFilesystem(const AM_FilesystemFactory& factory, AM_FilesystemPtr* result,
                      const char* name, const char* presetSubfolder) {
    *result = std::make_shared<AM_Filesystem>();
    AM_Filesystem& tree = **result;
    tree.addExclusion(isVersionControl);
    AM_String path;
    factory.getSupportPath(&path, name);
    tree.mount("/module-patches", treeOf(path, {}));
    factory.getPresetsPath(&path, name, presetSubfolder);
    tree.mount("/patches", presetsTree(path, factory.getSharedPresetsPaths(presetSubfolder)));
    factory.getSupportPath(&path, name);
    tree.mount("/support", treeOf(path, {}));
    factory.getDataPath(&path, name);
    tree.mount("/data", treeOf(path, factory.getSharedDataPaths(name)));
}
