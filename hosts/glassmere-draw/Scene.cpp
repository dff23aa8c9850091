#include "Scene.h"

#include <algorithm>

namespace {
constexpr f32 k_sheetWidth = 1010;
constexpr f32 k_gap = 10;
constexpr f32 k_caption = 18;

struct Place {
    f32 left;
    f32 top;
};

// Row by row, each as high as its highest scene; returns the height of all.
f32 arrange(const std::vector<Scene>& scenes, std::vector<Place>& places) {
    f32 x = k_gap, y = k_gap, row = 0;
    for (const Scene& scene : scenes) {
        if (x > k_gap && x + scene.width + k_gap > k_sheetWidth) {
            x = k_gap;
            y += row + k_caption + k_gap;
            row = 0;
        }
        places.push_back({x, y});
        x += scene.width + k_gap;
        row = std::max(row, scene.height);
    }
    return y + row + k_caption + k_gap;
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

std::unique_ptr<AM_AGG_Context> drawScene(const Scene& scene, f32 scale) {
    auto context = std::make_unique<AM_AGG_Context>(scene.width, scene.height, scale, true);
    context->clear(k_sceneBackground);
    context->setRGBA(k_sceneInk);
    scene.draw(*context);
    return context;
}

std::unique_ptr<AM_AGG_Context> drawSheet(const std::vector<Scene>& scenes, f32 scale) {
    std::vector<Place> places;
    const f32 height = arrange(scenes, places);
    auto sheet = std::make_unique<AM_AGG_Context>(k_sheetWidth, height, scale, true);
    sheet->clear(0x14161aff);
    sheet->setRGBA(0x9aa0a8ff);
    sheet->setFontSize(10);
    for (size_t i = 0; i < scenes.size(); ++i) {
        const auto [x, y] = places[i];
        const AM_Rect rect{x, y, scenes[i].width, scenes[i].height};
        sheet->drawOffscreen(drawScene(scenes[i], scale).get(), rect, 1);
        sheet->drawText(scenes[i].name, {x, rect.bottom(), rect.width, k_caption}, k_alignStart,
                        k_alignCentre);
    }
    return sheet;
}
