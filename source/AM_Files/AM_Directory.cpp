#include "AM_Directory.h"

#include "AM_FilePath.h"
#include "AM_FileSystemCalls.h"
#include "AM_Log.h"

#include <algorithm>

namespace {

constinit AM_Once createFailed;

AM_String joined(const AM_String& left, std::u16string_view right) {
    return AM_String(std::u16string_view(left.wide() + std::u16string(right)));
}

bool leadsElsewhere(const AM_String& name) {
    return name.wide() == u".." || name.wide().find_first_of(u"/\\") != std::u16string::npos;
}

} // namespace

AM_Directory::AM_Directory(const AM_String& path) : AM_FileObject(path, k_typeUnknown) {
    const std::u16string& text = this->path.wide();
    if (!text.empty() && text.back() != u'\\') this->path = joined(this->path, u"\\");
}

AM_String AM_Directory::pathOf(const AM_String& name) const {
    return path.isEmpty() ? AM_String() : joined(path, name.wide());
}

bool AM_Directory::exists(const AM_String& name, bool* isDirectory) const {
    AM_FileCalls::Status status;
    const AM_String item = pathOf(name);
    if (AM_FileCalls::status(item, &status) != k_fileOk && !AM_FileCalls::hasShortcut(item))
        return false;
    if (isDirectory != nullptr) *isDirectory = status.isFolder;
    return true;
}

AM_FileErr AM_Directory::createDirectory(const AM_String& name) const {
    return AM_FileCalls::createFolder(pathOf(name));
}

AM_FileErr AM_Directory::enter(const AM_String& name, bool create) {
    if (leadsElsewhere(name)) return k_fileNotFound;
    bool isDirectory = false;
    if (exists(name, &isDirectory)) {
        if (!isDirectory) return k_fileNotFolder;
        if (!name.isEmpty()) *this = AM_Directory(pathOf(name));
        return k_fileOk;
    }
    if (!create) return k_fileNotFound;
    const AM_FileErr error = createDirectory(name);
    // Another process may have made it meanwhile.
    if (error != k_fileOk && !exists(name)) return error;
    return enter(name, false);
}

AM_FileErr AM_Directory::getFile(const AM_String& name, AM_File* file, bool create) const {
    bool isDirectory = false;
    if (!exists(name, &isDirectory)) return create ? createFile(name, file, false) : k_fileNotFound;
    if (isDirectory) return k_fileNotFound;
    *file = AM_File(pathOf(name));
    return k_fileOk;
}

AM_FileErr AM_Directory::createFile(const AM_String& name, AM_File* file, bool overwrite) const {
    const AM_String item = pathOf(name);
    if (AM_FileCalls::create(item, overwrite) != k_fileOk) {
        if (createFailed.first())
            AM_Log("vela Error 1: file couldn't be created to %S - this is most likely a problem "
                   "with file permissions.Check out the FAQ section on the support page to solve "
                   "file permisson issues.",
                   item.wide().c_str());
        return k_fileNotCreated;
    }
    *file = AM_File(item);
    return k_fileOk;
}

AM_DirectoryIterator::~AM_DirectoryIterator() = default;

std::unique_ptr<AM_FileObject> AM_DirectoryIterator::next() {
    if (left == nullptr) {
        left = std::make_unique<std::vector<std::unique_ptr<AM_FileObject>>>();
        std::vector<AM_FileCalls::Entry> entries;
        if (AM_FileCalls::listFolder(directory->getPathString(), &entries) != k_fileOk)
            return nullptr;
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return AM_listedBefore(b.path, a.path); });
        for (const AM_FileCalls::Entry& entry : entries) {
            if (entry.isFolder)
                left->push_back(std::make_unique<AM_Directory>(entry.path));
            else
                left->push_back(std::make_unique<AM_File>(entry.path));
        }
    }
    while (!left->empty()) {
        std::unique_ptr<AM_FileObject> object = std::move(left->back());
        left->pop_back();
        if (predicate == nullptr || predicate(*object)) return object;
    }
    return nullptr;
}
