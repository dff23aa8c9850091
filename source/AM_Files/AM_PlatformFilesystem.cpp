#include "AM_PlatformFilesystem.h"

#include "AM_FileSystemCalls.h"
#include "AM_Log.h"
#include "AM_VirtualFile_AMFile.h"

#include <algorithm>
#include <boost/filesystem.hpp>
#include <set>
#include <system_error>

namespace fs = boost::filesystem;

namespace {

AM_FilePath checkedRoot(const char* path) {
    if (path == nullptr || std::char_traits<char>::length(path) < k_maxRootPath) return path;
    AM_Log("ERROR: path of a folder too long: %s", path);
    return {};
}

void logFailure(const char* format, const AM_FilePath& path, AM_FileErr error) {
    AM_Log(format, path.c_str('/'));
    if (error != k_fileOk)
        AM_Log("AM_FileErr %u: %s", error, std::system_category().message(static_cast<int>(error)));
}

// Appends the names in `folder` behind `path`; false if it can't be read.
bool listFolder(const fs::path& folder, const AM_FilePath& path, std::set<std::string>* seen,
                std::vector<AM_FilePath>* result) {
    boost::system::error_code error;
    fs::directory_iterator entry(folder, error);
    if (error) return false;
    for (; entry != fs::directory_iterator() && seen->size() < AM_FileCalls::k_maxEntries;
         entry.increment(error)) {
        AM_String name;
        const std::string text = entry->path().filename().string();
        if (AM_FileCalls::nameFromSystem(text, &name) && seen->insert(text).second)
            result->push_back(path / AM_FilePath(name));
        if (error) return false;
    }
    return true;
}

} // namespace

struct AM_PlatformFilesystem::Place {
    Place() = default;
    Place(const AM_FilePath& root, const AM_FilePath& path) : full(root / path) {
        // "/" stands behind no other folder.
        const bool hasParent = full.getNumSegments() > 1;
        directory = AM_Directory((hasParent ? full.parent_path() : full).text());
        if (hasParent) name = full.filename().text();
    }

    AM_FilePath full;
    AM_Directory directory;
    AM_String name;
};

AM_PlatformFilesystem::AM_PlatformFilesystem(const char* root) : rootPath(checkedRoot(root)) {
}

void AM_PlatformFilesystem::addReadOnlyRoot(const char* path) {
    readOnlyRoots.push_back(checkedRoot(path));
}

std::vector<AM_FilePath> AM_PlatformFilesystem::roots() const {
    std::vector<AM_FilePath> all{rootPath};
    all.insert(all.end(), readOnlyRoots.begin(), readOnlyRoots.end());
    std::erase_if(all, [](const AM_FilePath& root) { return root.isEmpty(); });
    return all;
}

bool AM_PlatformFilesystem::find(const AM_FilePath& path, Place* place, bool* isDirectory) const {
    for (const AM_FilePath& root : roots()) {
        *place = Place(root, path);
        if (place->directory.exists(place->name, isDirectory)) return true;
    }
    return false;
}

bool AM_PlatformFilesystem::existsLocal(const AM_FilePath& path) {
    Place place;
    return find(path, &place, nullptr);
}

bool AM_PlatformFilesystem::isDirectoryLocal(const AM_FilePath& path) {
    Place place;
    bool isDirectory = false;
    return find(path, &place, &isDirectory) && isDirectory;
}

void AM_PlatformFilesystem::openLocal(const AM_FilePath& path, AM_VirtualFilePtr* result,
                                      i32 mode) {
    if (mode == kRead)
        openToRead(path, result);
    else
        openToWrite(path, result);
}

void AM_PlatformFilesystem::openToRead(const AM_FilePath& path, AM_VirtualFilePtr* result) {
    Place place;
    AM_File file;
    const bool failed = !find(path, &place, nullptr) ||
                        place.directory.getFile(place.name, &file, false) != k_fileOk;
    if (!failed)
        *result = std::make_shared<AM_VirtualFile_AMFile>(std::move(file), k_accessRead, false);
    if (failed || (*result)->hasError())
        AM_Log("Failed to open file %s", (rootPath / path).c_str('/'));
}

void AM_PlatformFilesystem::openToWrite(const AM_FilePath& path, AM_VirtualFilePtr* result) {
    makeParent(path);
    const Place place(rootPath, path);
    AM_File file;
    const AM_FileErr error =
        rootPath.isEmpty() ? k_fileNotFound : place.directory.createFile(place.name, &file, true);
    if (error == k_fileOk)
        *result =
            std::make_shared<AM_VirtualFile_AMFile>(std::move(file), k_accessReadWrite, false);
    if (error != k_fileOk || (*result)->hasError())
        AM_Log("Failed to create file %s", place.full.c_str('/'));
}

void AM_PlatformFilesystem::listLocal(const AM_FilePath& path, std::vector<AM_FilePath>* result) {
    const AM_FilePath inside = path == AM_FilePath("/") ? AM_FilePath() : path;
    const AM_FilePath shown = inside.withoutRoot(); // relative to the root
    std::set<std::string> seen;
    bool listed = false;
    for (const AM_FilePath& root : roots()) {
        bool isDirectory = false;
        const Place place(root, inside);
        if (!place.directory.exists(place.name, &isDirectory)) continue;
        // A file of the same name in front hides what the others hold.
        if (!isDirectory && !listed) break;
        listed |= isDirectory &&
                  listFolder(AM_FileCalls::pathToSystem(place.full.text()), shown, &seen, result);
    }
    if (!listed) AM_Log("Failed to list folder %s", (rootPath / inside).c_str('/'));
    std::sort(result->begin(), result->end(), AM_listedBefore);
}

bool AM_PlatformFilesystem::createFolder(const AM_FilePath& path) {
    boost::system::error_code error(ENOENT, boost::system::system_category());
    const AM_FilePath full = rootPath / path;
    const std::string folder = AM_FileCalls::pathToSystem(full.text());
    if (!rootPath.isEmpty() && !folder.empty()) fs::create_directories(folder, error);
    if (error)
        logFailure("Failed to create folder %s", full, static_cast<AM_FileErr>(error.value()));
    return !error;
}

// So that a file can be put where only a read-only root has the folder.
void AM_PlatformFilesystem::makeParent(const AM_FilePath& path) {
    const AM_FilePath parent = path.parent_path();
    const Place own(rootPath, parent);
    if (!readOnlyRoots.empty() && !own.directory.exists(own.name) && isDirectoryLocal(parent))
        createFolder(parent);
}

bool AM_PlatformFilesystem::replaceLocal(const AM_FilePath& path, const void* bytes,
                                         size_t length) {
    makeParent(path);
    const AM_FilePath full = rootPath / path;
    const AM_FileErr error =
        rootPath.isEmpty() ? k_fileNotFound : AM_FileCalls::replaceFile(full.text(), bytes, length);
    if (error != k_fileOk) logFailure("Failed to create file %s", full, error);
    return error == k_fileOk;
}
