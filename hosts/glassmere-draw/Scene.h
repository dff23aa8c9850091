// The scenes that glassmere-draw shows: functions that draw, by name.
#pragma once

#include "AM_AGG_Context.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct Scene {
    const char* name;  // "theme-what"
    const char* about; // one line
    f32 width;         // view units
    f32 height;
    void (*draw)(AM_Context& context); // on the background below
};

inline constexpr u32 k_sceneBackground = 0x23272eff;
inline constexpr u32 k_sceneInk = 0xe8eaedff;

// All of them, theme by theme.
const std::vector<Scene>& allScenes();
// Null if there is none of this name.
const Scene* findScene(std::string_view name);
// "NAME@SCALE.png", as the picture of a scene in a folder is called.
std::string pictureName(const Scene& scene, f32 scale);
// The scene in a context of its own, with the background drawn before it. `resampling` counts where
// a scene does not choose itself.
std::unique_ptr<AM_AGG_Context> drawScene(const Scene& scene, f32 scale,
                                          AM_Resampling resampling = k_bilinear);
// Those scenes side by side, each with its name.
std::unique_ptr<AM_AGG_Context> drawSheet(const std::vector<Scene>& scenes, f32 scale,
                                          AM_Resampling resampling = k_bilinear);

// Each theme's scenes, one file of the folder `scenes` each.
std::vector<Scene> lineScenes();
std::vector<Scene> areaScenes();
std::vector<Scene> textScenes();
std::vector<Scene> layerScenes();
std::vector<Scene> pixelScenes();
std::vector<Scene> filterScenes();
std::vector<Scene> graphicScenes();
