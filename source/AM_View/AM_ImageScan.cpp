#include "AM_ImageScan.h"

#include "AM_Log.h"
#include "AM_MultiFrameGraphic.h"
#include "AM_Text.h"

#include <algorithm>
#include <memory>

namespace fs = std::filesystem;

namespace {

std::string toUtf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

bool isPng(const std::string& name) {
    return name.size() > 4 && AM_STD::toLower(name.substr(name.size() - 4)) == ".png";
}

} // namespace

std::vector<AM_ImageScan::Entry> AM_ImageScan::read(const fs::path& folder) {
    std::vector<Entry> entries;
    std::error_code error;
    const fs::path place = fs::canonical(folder, error);
    if (error || !seen.insert(place).second) return entries;
    fs::directory_iterator walk(folder, fs::directory_options::skip_permission_denied, error);
    for (; !error && walk != fs::directory_iterator(); walk.increment(error)) {
        std::error_code unknown;
        Entry entry{walk->path(), toUtf8(walk->path().filename()), walk->is_directory(unknown)};
        if (entry.name.size() <= 2 || !(entry.isFolder || isPng(entry.name))) continue;
        entries.push_back(std::move(entry));
        if (entries.size() < static_cast<size_t>(AM_GraphicsList::k_maxGraphics)) continue;
        AM_Log("Folder '%s' holds too much", toUtf8(folder));
        break;
    }
    if (error) AM_Log("Can't read folder '%s'", toUtf8(folder));
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        const std::string first = AM_STD::toLower(a.name), second = AM_STD::toLower(b.name);
        return first != second ? first < second : a.name < b.name;
    });
    return entries;
}

void AM_ImageScan::walk(const fs::path& folder, i32 depth, bool isAnimations) {
    if (depth >= AM_GraphicsList::k_maxScanDepth || list->isFull()) return;
    for (const Entry& entry : read(folder)) {
        if (!entry.isFolder) {
            addPng(entry);
        } else if (isAnimations) {
            const std::vector<Entry> frames = read(entry.path);
            addStrip(entry, frames);
            for (const Entry& inner : frames)
                if (inner.isFolder) walk(inner.path, depth + 2, false);
        } else {
            walk(entry.path, depth + 1, depth == 0 && entry.name == "Animations");
        }
    }
}

void AM_ImageScan::addPng(const Entry& file) {
    if (AM_PngGraphic* const graphic = list->createPng(toUtf8(file.path), file.name.c_str(), theme))
        count += list->addScanned(graphic) ? 1 : 0;
}

void AM_ImageScan::addStrip(const Entry& folder, const std::vector<Entry>& entries) {
    auto strip = std::make_unique<AM_MultiFrameGraphic>();
    strip->setName(folder.name.c_str());
    strip->setThemeIndex(theme);
    for (const Entry& entry : entries)
        if (!entry.isFolder && strip->getFrameCount() < AM_MultiFrameGraphic::k_maxFrames)
            if (AM_PngGraphic* const frame =
                    list->createPng(toUtf8(entry.path), entry.name.c_str(), theme))
                strip->add(frame);
    if (strip->getFrameCount() > 0) count += list->addScanned(strip.release()) ? 1 : 0;
}
