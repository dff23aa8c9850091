// Paths of any text and trees of any mounts: the rules that join the operations hold, and no path
// leaves its tree. Lines of the input, each a letter and a text.
#include "AM_MemoryFilesystem.h"

namespace {

void require(bool holds) {
    if (!holds) __builtin_trap();
}

void checkPath(const AM_FilePath& path) {
    const i32 segments = path.getNumSegments();
    require(AM_FilePath(path.text()) == path);
    require(path.hasPrefix(path) && path.hasPrefix(""));
    require(path.getSubSegments(0, segments).getNumSegments() == segments);
    require(path.getSubSegments(segments, 1).isEmpty());
    require(segments == 0 || path.parent_path().getNumSegments() == segments - 1);
    require(segments == 0 || path.filename() == path.getSubSegments(segments - 1, 1));
    require(AM_String(path.text().c_str()).length() <= path.text().length());
    i32 walked = 0;
    for (const AM_FilePath segment : path) {
        require(segment.getNumSegments() == 1);
        require(segment == path.getSubSegments(walked++, 1));
    }
    require(walked == segments);
    AM_FilePath rebuilt = path.parent_path() / path.filename();
    require(rebuilt.getNumSegments() == segments && rebuilt.hasPrefix(path));
    for (AM_FilePath parent = path; parent.has_parent_path(); parent = parent.parent_path())
        require(path.hasPrefix(parent));
}

void checkTree(AM_Filesystem& tree, const AM_FilePath& path) {
    const bool exists = tree.exists(path);
    require(!tree.isDirectory(path) || exists);
    require(!tree.isExcluded(path) || !exists);
    const AM_VirtualFilePtr file = tree.open(path, AM_Filesystem::kRead);
    require(file->hasError() || (exists && file->loadContent()));
    for (const AM_FilePath& entry : tree.list(path)) {
        require(!tree.isExcluded(entry));
        // A leaf's entries are relative.
        require(!path.has_parent_path() || !entry.has_parent_path() || entry.hasPrefix(path));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(bytes), size);
    AM_Filesystem tree;
    AM_FilePath joined;
    for (int line = 0; line < 100 && !rest.empty(); ++line) {
        const std::string_view text = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), text.size() + 1));
        const AM_FilePath path(AM_String(text.substr(std::min<size_t>(1, text.size()))));
        checkPath(path);
        switch (text.empty() ? 0 : text[0]) {
        case 'm':
            tree.mount(path, std::make_shared<AM_MemoryFilesystem>());
            break;
        case 'e':
            tree.mount(path, std::make_shared<AM_Filesystem>());
            break;
        case 'w':
            tree.open(path, AM_Filesystem::kWrite)->fprintf(64, "%s", path.c_str());
            break;
        case 'r':
            if (tree.replaceFile(path, text.data(), text.size()))
                require(tree.open(path, AM_Filesystem::kRead)->getByte(-1) ==
                        static_cast<u8>(text.back()));
            break;
        case 'j':
            if (joined.text().length() < 4096) joined /= path;
            require(joined.hasPrefix(joined.parent_path()) || !joined.has_parent_path());
            break;
        }
        checkTree(tree, path);
        checkTree(tree, joined);
    }
    return 0;
}
