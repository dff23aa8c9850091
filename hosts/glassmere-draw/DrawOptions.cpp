#include "DrawOptions.h"

#include "AM_ViewPreferences.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace {
// Numbers have a point in every locale.
bool readScale(const std::string& text, f32& scale) {
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, scale);
    return error == std::errc() && rest == end && scale >= 0.1f && scale <= 8;
}

std::string resamplingNames() {
    std::string names;
    for (const auto& label : AM_resamplingLabels)
        names += (names.empty() ? "'" : ", '") + std::string(label) + "'";
    return names;
}

void check(const std::string& scale, const std::string& resampling, DrawOptions& options) {
    const std::optional<AM_Resampling> choice = AM_findResampling(resampling);
    if (choice) options.resampling = *choice;
    if (!readScale(scale, options.scale))
        options.wrong = "--scale wants a number from 0.1 to 8, not '" + scale + "'";
    else if (!choice)
        options.wrong =
            "--resampling wants one of " + resamplingNames() + ", not '" + resampling + "'";
    else if (!options.scene.empty() && options.output.empty() && options.folder.empty())
        options.wrong = "the scene needs a file, -o FILE.png, or a folder, --into FOLDER";
    else if (options.scene.empty() && !options.output.empty())
        options.wrong = "-o needs a scene (--list names them)";
    else if (options.scene.empty() && options.folder.empty() && options.sheet.empty() &&
             !options.list)
        options.wrong = "a scene, --into, --sheet or --list is needed";
}
} // namespace

DrawOptions parseDrawOptions(std::vector<std::string> arguments) {
    DrawOptions options;
    std::string scale = "1";
    std::string resampling = AM_resamplingLabels[k_bilinear];
    CLI::App app("Draws scenes with the drawing context into PNG files.", "glassmere-draw");
    app.add_option("SCENE", options.scene, "name of a scene");
    app.add_option("-o,--output", options.output, "PNG file of the scene");
    app.add_option("--into", options.folder, "folder for NAME@SCALE.png of the scene, or of all");
    app.add_option("--scale", scale, "pixels per view unit, 0.1 to 8; 1 without");
    app.add_option("--resampling", resampling,
                   "how images are scaled, 'Bilinear' without; one of " + resamplingNames());
    app.add_option("--sheet", options.sheet, "PNG file of all scenes side by side");
    app.add_option("--resources", options.resources, "folder whose \"Fonts\" come first");
    app.add_flag("--list", options.list, "print the scenes");
    app.add_flag("--log", options.log, "tell on standard error what the editor's code logs");
    try {
        std::reverse(arguments.begin(), arguments.end());
        app.parse(arguments);
    } catch (const CLI::CallForHelp&) {
        options.help = app.help();
        return options;
    } catch (const CLI::ParseError& error) {
        options.wrong = error.what();
        return options;
    }
    check(scale, resampling, options);
    return options;
}
