#include "AM_FolderResolver.h"

#include "AM_FileSystemCalls.h"
#include "AM_Log.h"

#include <array>
#include <mutex>

#ifdef _WIN32
#define GLASSMERE_EXPORT __declspec(dllexport)
#else
#define GLASSMERE_EXPORT [[gnu::visibility("default")]]
#endif

namespace {

constexpr size_t k_maxShortcut = 260; // characters, with the terminator
constexpr size_t k_maxLinkText = 32767;

// The outcome of the last search, and what a host has set.
struct Alternate {
    std::mutex mutex;
    AM_String alternateDirString;
    AM_String applicationDirString;
    AM_String chosen;
    bool isChosen = false;
    bool useAlternateDir = false;
};

Alternate& alternate() {
    static Alternate state;
    return state;
}

AM_String childOf(const AM_Directory& directory, const char* name) {
    return directory.pathOf(AM_String(name));
}

// Sets `folder` to that of the library's file; false if the system can't tell.
bool libraryFolder(AM_Directory* folder) {
    AM_String library;
    if (AM_FileCalls::libraryPath(&library) != k_fileOk) return false;
    AM_File(library).getParent(folder);
    return true;
}

// Sets `resources` to the folder of that name of the bundle whose binary the library is; false if
// it stands outside a bundle.
bool bundleResources(AM_Directory* resources) {
    AM_Directory folder;
    if (!libraryFolder(&folder)) return false;
    AM_String name;
    folder.moveToParent();
    folder.getName(&name);
    if (name != AM_String("Contents")) return false;
    *resources = AM_Directory(childOf(folder, "Resources"));
    return true;
}

// Where "Glassmere.data" can stand: beside the library and in its bundle.
std::vector<AM_Directory> searchedFolders() {
    std::vector<AM_Directory> folders;
    AM_Directory folder;
    if (libraryFolder(&folder)) folders.push_back(folder);
    if (bundleResources(&folder)) folders.push_back(folder);
    return folders;
}

struct Search {
    AM_String folder;
    bool found = false;
    bool throughLink = false; // found as a link
    bool anyLink = false;
    bool wrongLink = false;
};

// Sets the result if "Glassmere.data" stands in `folder`.
bool look(const AM_Directory& folder, Search* search) {
    const AM_String path = childOf(folder, k_dataFolderName);
    AM_FileCalls::Status status;
    const bool isLink = AM_FileCalls::isLink(path);
    AM_String target = path;
    const bool leads = !isLink || AM_FileCalls::resolveLink(path, &target) == k_fileOk;
    search->found = leads && AM_FileCalls::status(target, &status) == k_fileOk && status.isFolder;
    search->throughLink = isLink;
    search->anyLink |= isLink;
    search->wrongLink |= isLink && !search->found;
    if (search->found) search->folder = AM_Directory(target).getPathString();
    return search->found;
}

Search findAlternate() {
    Search search;
    {
        std::lock_guard lock(alternate().mutex);
        search.found = alternate().isChosen;
        search.folder = alternate().chosen;
    }
    if (search.found) return search;
    for (const AM_Directory& folder : searchedFolders())
        if (look(folder, &search)) break;
    return search;
}

// The log is never called under the lock: it asks for a folder itself when it opens its file.
AM_String searchAndLog(bool* found) {
    AM_Log("TRYING TO RETRIEVE");
    const Search search = findAlternate();
    {
        std::lock_guard lock(alternate().mutex);
        alternate().useAlternateDir = search.found;
        alternate().alternateDirString = search.folder;
    }
    if (search.anyLink) AM_Log("Link found, HERE WE GO:");
    if (search.wrongLink) AM_Log("WRONG Link");
    if (search.found && !search.throughLink) AM_Log("ALTERNATE_DIRECTORY, HERE WE GO:");
    AM_Log(search.found ? "using ALTERNATE_DIRECTORY" : "DOESN'T USE ALT LINK");
    *found = search.found;
    return search.folder;
}

// Sets `directory` to the folder below which all others lie; tells if it is the alternate one.
AM_FileErr resolveBase(AM_Directory* directory, bool* isAlternate) {
    const AM_String found = searchAndLog(isAlternate);
    AM_String application;
    {
        // The first alternate folder stays that of the process, also if the link is changed.
        std::lock_guard lock(alternate().mutex);
        AM_String& kept = alternate().applicationDirString;
        if (*isAlternate && (kept.length() < 5 || alternate().isChosen)) kept = found;
        application = kept;
    }
    AM_Log("SApplicationDir(%s) AM_UseAlternateDir %d getAltDirString() %S", application.c_str(),
           *isAlternate, found.wide().c_str());
    if (*isAlternate) {
        *directory = AM_Directory(application);
        return k_fileOk;
    }
    AM_String base;
    const AM_FileErr error = AM_FileCalls::dataHome(&base);
    *directory = AM_Directory(base);
    return error;
}

AM_FileErr resolveUserFolder(AM_Directory* directory, i32 kind, i32 domain) {
    using AM_FileCalls::UserFolder;
    const UserFolder documents = domain == 1 ? UserFolder::documents : UserFolder::sharedDocuments;
    AM_String folder;
    const AM_FileErr error = AM_FileCalls::userFolder(
        kind == k_folderDesktop ? UserFolder::desktop : documents, &folder);
    *directory = AM_Directory(folder);
    return error;
}

// The names below the base, outermost first. In an alternate folder there is no vendor's folder,
// and that of the product only where it stands behind the kind's own name.
std::vector<AM_String> foldersBelow(i32 kind, bool inAlternate, const char* vendor,
                                    const char* product) {
    static constexpr std::array names{
        "", "Data",    "Presets", "Modules", "NKS", "MetaAssignment", "Tunefiles", "CCMaps",
        "", "Support", "VST",     "",        "",    "Support"};
    const bool productFirst = kind == k_folderData || kind == k_folderModules ||
                              kind == k_folderNKS || kind == k_folderMetaAssignment;
    const bool productLast = kind == k_folderPresets || kind == k_folderNKS;
    std::vector<AM_String> folders;
    if (!inAlternate && kind != k_folderPlugin) folders.emplace_back(vendor);
    if (!inAlternate && productFirst) folders.emplace_back(product);
    folders.emplace_back(names[static_cast<size_t>(kind)]);
    if (productLast) folders.emplace_back(product);
    if (inAlternate && productFirst) AM_Log("going back from ProductApp Support");
    return folders;
}

} // namespace

AM_FileErr resolveFolder(AM_Directory* directory, i32 kind, i32 domain, const char* vendor,
                         const char* product) {
    if (kind < k_folderData || kind > k_folderSupport2 || kind == k_folderNone) return k_fileOk;
    if (kind == k_folderDocuments || kind == k_folderDesktop)
        return resolveUserFolder(directory, kind, domain);
    bool isAlternate = false;
    AM_FileErr error = resolveBase(directory, &isAlternate);
    if (error != k_fileOk) return error;
    for (const AM_String& name : foldersBelow(kind, isAlternate, vendor, product)) {
        error = directory->enter(name, kind != k_folderNKS);
        if (error != k_fileOk) return error;
    }
    return k_fileOk;
}

std::vector<AM_String> AM_sharedFolders(i32 kind, const char* vendor, const char* product) {
    std::vector<AM_String> folders;
    if ((kind != k_folderData && kind != k_folderPresets) || findAlternate().found) return folders;
    std::vector<AM_Directory> bases;
    AM_Directory resources;
    // What came with the library goes before what belongs to the machine.
    if (bundleResources(&resources)) bases.push_back(resources);
    for (const AM_String& base : AM_FileCalls::sharedDataHomes())
        bases.emplace_back(base);
    for (AM_Directory folder : bases) {
        for (const AM_String& name : foldersBelow(kind, false, vendor, product))
            folder = AM_Directory(folder.pathOf(name));
        folders.push_back(folder.getPathString());
    }
    return folders;
}

AM_String getAltDirString() {
    bool found = false;
    return searchAndLog(&found);
}

void AM_setAlternateFolder(const char* folder) {
    AM_String path;
    const bool isChosen = folder != nullptr && folder[0] != 0;
    if (isChosen && !AM_FileCalls::pathFromSystem(folder, &path))
        AM_Log("ERROR: this can't be the data folder: %s", folder);
    std::lock_guard lock(alternate().mutex);
    alternate().isChosen = isChosen;
    alternate().chosen = AM_Directory(path).getPathString();
    alternate().applicationDirString = AM_String();
}

extern "C" GLASSMERE_EXPORT const char* resolveShortcut(const char16_t* path) {
    // Of each thread, so that two callers never share a result; on the heap, since a host has few
    // bytes for what each thread of it keeps for a library.
    static thread_local std::string narrow;
    narrow.clear();
    try {
        size_t length = 0;
        while (path != nullptr && length < k_maxLinkText && path[length] != 0)
            ++length;
        const AM_String link(std::u16string_view(path, length));
        AM_String target;
        AM_Log("Trying to resolve link called %S", link.wide().c_str());
        if (AM_FileCalls::resolveLink(link, &target) != k_fileOk) return narrow.c_str();
        const std::string text = AM_FileCalls::pathToSystem(target);
        if (text.size() >= k_maxShortcut) return narrow.c_str();
        narrow = text;
        AM_Log("What we found was: %S", AM_String(std::string_view(text)).wide().c_str());
        AM_Log("(equally): %s", narrow.c_str());
    } catch (...) {
        // Without memory there is no answer.
    }
    return narrow.c_str();
}
