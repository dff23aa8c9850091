#include "AM_Filesystem.h"

#include "AM_Assert.h"
#include "AM_Log.h"

#include <algorithm>
#include <climits>

namespace {

#ifdef _WIN32
constexpr bool k_onWindows = true;
#else
constexpr bool k_onWindows = false;
#endif

// Windows drops dots and blanks at the end of a name.
bool leadsUp(std::u16string_view name) {
    return name == u".." ||
           (k_onWindows && name != u"." && name.find_first_not_of(u". ") == name.npos);
}

// What no tree follows, so that no text leads out of its folder.
bool isForbidden(const AM_FilePath& path) {
    const std::u16string& text = path.text().wide();
    if (text.find(u'\0') != text.npos) return true;
    if (k_onWindows && text.find(u':') != text.npos) return true; // a drive or a stream
    for (auto segment = path.begin(); segment != path.end(); ++segment)
        if (leadsUp(segment.text())) return true;
    return false;
}

bool isRoot(const AM_FilePath& path) {
    return path.isEmpty() || path == AM_FilePath("/");
}

} // namespace

struct AM_Filesystem::Route {
    struct Step {
        const AM_Filesystem* tree;
        const AM_FilePath* point;
    };
    AM_Filesystem* tree = nullptr;
    AM_FilePath path;
    std::vector<Step> steps;
};

const AM_Filesystem::Mount* AM_Filesystem::findMount(const AM_FilePath& path,
                                                     AM_FilePath* remainder) const {
    const Mount* best = nullptr;
    i32 bestSegments = 0;
    for (const Mount& candidate : mounts) {
        const i32 segments = candidate.point.getNumSegments();
        if (segments <= bestSegments || !path.hasPrefix(candidate.point)) continue;
        best = &candidate;
        bestSegments = segments;
    }
    *remainder =
        best == nullptr ? path : AM_FilePath("/") / path.getSubSegments(bestSegments, INT_MAX);
    return best;
}

// False for a path that is excluded on its way or passes through too many mounts.
bool AM_Filesystem::findRoute(const AM_FilePath& path, Route* route) {
    route->tree = this;
    route->path = path;
    for (;;) {
        if (route->tree->isExcluded(route->path)) return false;
        AM_FilePath remainder;
        const Mount* mount = route->tree->findMount(route->path, &remainder);
        if (mount == nullptr) return true;
        if (route->steps.size() == k_maxMountDepth) {
            AM_Log("ERROR: mounts nested too deep at %s", path.text().c_str());
            return false;
        }
        route->steps.push_back({route->tree, &mount->point});
        route->tree = mount->fs.get();
        route->path = remainder;
    }
}

bool AM_Filesystem::exists(const AM_FilePath& path) {
    Route route;
    return findRoute(path, &route) && route.tree->existsLocal(route.path);
}

bool AM_Filesystem::isDirectory(const AM_FilePath& path) {
    Route route;
    return findRoute(path, &route) && route.tree->isDirectoryLocal(route.path);
}

AM_VirtualFilePtr AM_Filesystem::open(const AM_FilePath& path, i32 mode) {
    Route route;
    AM_VirtualFilePtr file;
    if (findRoute(path, &route))
        route.tree->openLocal(route.path, &file, mode);
    else
        AM_Log("!isExcluded(p)");
    if (file == nullptr) file = std::make_shared<AM_VirtualErrorFile>();
    return file;
}

std::vector<AM_FilePath> AM_Filesystem::list(const AM_FilePath& path) {
    std::vector<AM_FilePath> entries;
    Route route;
    if (!findRoute(path, &route)) return entries;
    route.tree->listLocal(route.path, &entries);
    route.tree->addMountPoints(route.path, &entries);
    route.tree->removeExcluded(&entries);
    for (auto step = route.steps.rbegin(); step != route.steps.rend(); ++step) {
        for (AM_FilePath& entry : entries)
            entry = *step->point / entry.withoutRoot(); // a leaf lists "x", a mount "/x"
        step->tree->removeExcluded(&entries);
    }
    return entries;
}

// "" and "/" both show the mounts at the top.
void AM_Filesystem::addMountPoints(const AM_FilePath& path,
                                   std::vector<AM_FilePath>* result) const {
    const i32 segments = path.getNumSegments() + (path.isEmpty() ? 2 : 1);
    for (const Mount& mount : mounts) {
        if (!mount.point.hasPrefix(path)) continue;
        const AM_FilePath shown = mount.point.getSubSegments(0, segments);
        const bool isListed =
            std::any_of(result->begin(), result->end(), [&](const AM_FilePath& entry) {
                return entry.withoutRoot() == shown.withoutRoot();
            });
        if (!isListed) result->push_back(shown);
    }
}

void AM_Filesystem::removeExcluded(std::vector<AM_FilePath>* paths) const {
    std::erase_if(*paths, [this](const AM_FilePath& path) { return isExcluded(path); });
}

void AM_Filesystem::mount(const AM_FilePath& path, AM_FilesystemPtr fs) {
    AM_ASSERT(fs != nullptr, "fs != nullptr");
    Route route;
    const bool found = findRoute(path, &route);
    if (!found || route.steps.size() == k_maxMountDepth) {
        AM_Log("ERROR: can't mount at %s", path.text().c_str());
    } else if (!route.steps.empty() && isRoot(route.path)) {
        // A second root would hide what the first mount holds.
        AM_Log("ERROR: %s is mounted already", path.text().c_str());
    } else {
        const bool isWhole = route.path.isEmpty();
        route.tree->mounts.push_back({isWhole ? AM_FilePath("/") : route.path, std::move(fs)});
    }
}

void AM_Filesystem::addExclusion(Exclusion predicate) {
    AM_ASSERT(predicate != nullptr, "predicate != nullptr");
    exclusions.push_back(predicate);
}

bool AM_Filesystem::isExcluded(const AM_FilePath& path) const {
    bool excluded = isForbidden(path);
    for (const Exclusion predicate : exclusions)
        excluded |= predicate(path);
    return excluded;
}

bool AM_Filesystem::replaceFile(const AM_FilePath& path, const void* bytes, size_t length) {
    Route route;
    if (!findRoute(path, &route)) {
        AM_Log("!isExcluded(p)");
        return false;
    }
    return route.tree->replaceLocal(route.path, bytes, length);
}

bool AM_Filesystem::existsLocal(const AM_FilePath&) {
    return false;
}

bool AM_Filesystem::isDirectoryLocal(const AM_FilePath&) {
    return false;
}

void AM_Filesystem::openLocal(const AM_FilePath&, AM_VirtualFilePtr*, i32) {
}

void AM_Filesystem::listLocal(const AM_FilePath&, std::vector<AM_FilePath>*) {
}

bool AM_Filesystem::replaceLocal(const AM_FilePath& path, const void*, size_t) {
    AM_Log("Failed to create file %s", path.text().c_str());
    return false;
}
