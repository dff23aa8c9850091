// The decoded images of the process, each there once however many editors show it.
#pragma once

#include "AM_PngReader.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

using AM_PngImagePtr = std::shared_ptr<const AM_PngImage>;

// Any thread.
class AM_PngCache {
public:
    // That of the process.
    static AM_PngCache& shared();

    // The image of a file as it is for a gamma of the screen: the one that somebody still holds, or
    // read now. Two threads that ask at once read it once. Null if it can't be read, which is
    // logged.
    AM_PngImagePtr get(const std::string& path, f32 screenGamma);
    // Images that somebody holds.
    size_t count();

private:
    struct Key {
        std::string path; // with the file's name
        f32 gamma;
        bool operator<(const Key& other) const {
            return gamma != other.gamma ? gamma < other.gamma : path < other.path;
        }
    };
    struct Entry {
        std::weak_ptr<const AM_PngImage> image;
        bool reading = false;
    };
    void finish(const Key& key, const AM_PngImagePtr& image);

    std::mutex mutex;
    std::condition_variable finished;
    std::map<Key, Entry> entries;
};
