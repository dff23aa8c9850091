#include "AM_PngCache.h"

AM_PngCache& AM_PngCache::shared() {
    static AM_PngCache cache;
    return cache;
}

AM_PngImagePtr AM_PngCache::get(const std::string& path, f32 screenGamma) {
    // A key that is not a number would never be found again.
    const Key key{path, screenGamma == screenGamma ? screenGamma : k_neutralScreenGamma};
    {
        std::unique_lock lock(mutex);
        // Entries of images that nobody holds any more go here.
        std::erase_if(entries, [](const auto& entry) {
            return !entry.second.reading && entry.second.image.expired();
        });
        finished.wait(lock, [&] {
            const auto found = entries.find(key);
            return found == entries.end() || !found->second.reading;
        });
        Entry& entry = entries[key];
        if (AM_PngImagePtr image = entry.image.lock()) return image;
        entry.reading = true;
    }
    AM_PngImagePtr image;
    try {
        AM_PngImage read = AM_readPngFile(key.path.c_str(), key.gamma);
        if (!read.isEmpty()) image = std::make_shared<const AM_PngImage>(std::move(read));
    } catch (...) {
        finish(key, nullptr);
        throw;
    }
    finish(key, image);
    return image;
}

void AM_PngCache::finish(const Key& key, const AM_PngImagePtr& image) {
    {
        const std::lock_guard lock(mutex);
        if (image)
            entries[key] = {image, false};
        else
            entries.erase(key);
    }
    finished.notify_all();
}

size_t AM_PngCache::count() {
    const std::lock_guard lock(mutex);
    size_t held = 0;
    for (const auto& [key, entry] : entries)
        held += entry.image.expired() ? 0 : 1;
    return held;
}
