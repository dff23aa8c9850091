// The command line of glassmere-draw.
#pragma once

#include "AM_Context.h"

#include <string>
#include <vector>

struct DrawOptions {
    std::string scene;
    std::string output;                    // the PNG file of the scene
    std::string folder;                    // for NAME@SCALE.png of the scene, or of all without one
    std::string sheet;                     // the PNG file of all scenes
    std::string resources;                 // a folder with "Fonts", "" for none
    f32 scale = 1;                         // 0.1 to 8
    AM_Resampling resampling = k_bilinear; // of images, where a scene does not choose itself
    bool list = false;
    bool log = false;
    std::string help;  // what to print instead of anything else
    std::string wrong; // what is wrong with the command line, empty if nothing
};

// Reads the arguments, without the program's name. Never throws for a wrong command line.
DrawOptions parseDrawOptions(std::vector<std::string> arguments);
