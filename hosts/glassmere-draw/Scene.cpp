#include "Scene.h"

#include <algorithm>
#include <charconv>

namespace {
constexpr f32 k_sheetWidth = 1330;
constexpr f32 k_gap = 10;
constexpr f32 k_caption = 18;

bool overlap(const AM_Rect& a, const AM_Rect& b) {
    return a.left < b.right() && b.left < a.right();
}

// Each where it comes highest, then most to the left; returns where the lowest ends.
f32 arrange(const std::vector<Scene>& scenes, std::vector<AM_Rect>& places) {
    f32 end = 0;
    for (const Scene& scene : scenes) {
        std::vector<f32> lefts = {0};
        for (const AM_Rect& place : places)
            lefts.push_back(place.right());
        AM_Rect best;
        for (const f32 left : lefts) {
            AM_Rect place{left, 0, scene.width + k_gap, scene.height + k_caption + k_gap};
            if (left > 0 && place.right() + k_gap > k_sheetWidth) continue;
            for (const AM_Rect& other : places)
                if (overlap(place, other)) place.top = std::max(place.top, other.bottom());
            const bool higher = place.top < best.top;
            if (best.isEmpty() || higher || (place.top == best.top && place.left < best.left))
                best = place;
        }
        places.push_back(best);
        end = std::max(end, best.bottom());
    }
    return end + k_gap;
}
} // namespace

const std::vector<Scene>& allScenes() {
    static const std::vector<Scene> scenes = [] {
        std::vector<Scene> all;
        for (const auto& theme : {lineScenes(), areaScenes(), textScenes(), layerScenes(),
                                  pixelScenes(), filterScenes(), graphicScenes()})
            all.insert(all.end(), theme.begin(), theme.end());
        return all;
    }();
    return scenes;
}

const Scene* findScene(std::string_view name) {
    for (const Scene& scene : allScenes())
        if (name == scene.name) return &scene;
    return nullptr;
}

std::string pictureName(const Scene& scene, f32 scale) {
    char digits[32];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, scale);
    const size_t count = error == std::errc() ? static_cast<size_t>(end - digits) : 0;
    return std::string(scene.name) + "@" + std::string(digits, count) + ".png";
}

std::unique_ptr<AM_AGG_Context> drawScene(const Scene& scene, f32 scale, AM_Resampling resampling) {
    auto context = std::make_unique<AM_AGG_Context>(scene.width, scene.height, scale, true);
    context->setResampling(resampling);
    context->clear(k_sceneBackground);
    context->setRGBA(k_sceneInk);
    scene.draw(*context);
    return context;
}

std::unique_ptr<AM_AGG_Context> drawSheet(const std::vector<Scene>& scenes, f32 scale,
                                          AM_Resampling resampling) {
    std::vector<AM_Rect> places;
    const f32 height = arrange(scenes, places);
    auto sheet = std::make_unique<AM_AGG_Context>(k_sheetWidth, height, scale, true);
    sheet->clear(0x14161aff);
    sheet->setRGBA(0x9aa0a8ff);
    sheet->setFontSize(10);
    for (size_t i = 0; i < scenes.size(); ++i) {
        const AM_Rect rect{places[i].left + k_gap, places[i].top + k_gap, scenes[i].width,
                           scenes[i].height};
        sheet->drawOffscreen(drawScene(scenes[i], scale, resampling).get(), rect, 1);
        sheet->drawText(scenes[i].name, {rect.left, rect.bottom(), rect.width, k_caption},
                        k_alignStart, k_alignCentre);
    }
    return sheet;
}
