// The walk through the folders of images.
#pragma once

#include "AM_GraphicsList.h"

#include <filesystem>
#include <set>
#include <vector>

class AM_MultiFrameGraphic;

// One walk; links may form circles.
class AM_ImageScan {
public:
    AM_ImageScan(AM_GraphicsList* newList, i32 newTheme) : list(newList), theme(newTheme) {}
    // Registers what is below `folder`; `depth` is 0 for the root.
    void walk(const std::filesystem::path& folder, i32 depth, bool isAnimations);
    i32 getCount() const { return count; }

private:
    struct Entry {
        std::filesystem::path path;
        std::string name; // in UTF-8
        bool isFolder;
    };
    std::vector<Entry> read(const std::filesystem::path& folder);
    void addPng(const Entry& file);
    void addStrip(const Entry& folder, const std::vector<Entry>& entries);

    AM_GraphicsList* list;
    i32 theme;
    i32 count = 0;
    std::set<std::filesystem::path> seen; // without links
};
