#include "AM_FileObject.h"

#include "AM_Directory.h"
#include "AM_FileSystemCalls.h"

#include <algorithm>

AM_FileObject::AM_FileObject(const AM_String& path, i32 type)
    : path(withSeparators(path)), type(type) {
}

AM_String AM_FileObject::withSeparators(const AM_String& path) {
    std::u16string text = path.wide();
    std::replace(text.begin(), text.end(), u'/', u'\\');
    return AM_String(std::u16string_view(text));
}

const char* AM_FileObject::getTypeName() {
    return getType() == k_typeDirectory ? "Directory" : "File";
}

i32 AM_FileObject::getType() {
    AM_FileCalls::Status status;
    if (type == k_typeUnknown && AM_FileCalls::status(path, &status) == k_fileOk)
        type = status.isFolder ? k_typeDirectory : k_typeFile;
    return type;
}

size_t AM_FileObject::nameStart() const {
    const std::u16string& text = path.wide();
    if (text.size() < 2) return 0;
    const size_t separator = text.rfind(u'\\', text.size() - 2);
    return separator == text.npos ? 0 : separator + 1;
}

AM_FileErr AM_FileObject::getParent(AM_Directory* directory) const {
    const size_t start = nameStart();
    if (start > 0) *directory = AM_Directory(path.substring(0, static_cast<i32>(start)));
    return k_fileOk;
}

AM_FileErr AM_FileObject::getName(AM_String* name) const {
    std::u16string_view text = path.wide();
    text.remove_prefix(nameStart());
    if (!text.empty() && text.back() == u'\\') text.remove_suffix(1);
    *name = AM_String(text);
    return k_fileOk;
}

u32 AM_FileObject::getDateModified() {
    if (dateModified == 0) {
        AM_FileCalls::Status status;
        if (AM_FileCalls::status(path, &status) != k_fileOk) access = 0;
        dateModified = status.date;
    }
    return dateModified;
}

AM_FileErr AM_FileObject::deleteObject() {
    return getType() == k_typeFile ? AM_FileCalls::deleteFile(path)
                                   : AM_FileCalls::deleteFolder(path);
}

bool AM_FileObject::exists() const {
    AM_FileCalls::Status status;
    return AM_FileCalls::status(path, &status) == k_fileOk;
}
