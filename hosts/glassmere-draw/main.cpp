// glassmere-draw: draws scenes with the drawing context into PNG files.
#include "AM_Log.h"
#include "AM_TextFonts.h"
#include "DrawOptions.h"
#include "PngFile.h"
#include "Scene.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {
class LogToError : public AM_LogSink {
public:
    explicit LogToError(bool loud) : loud(loud) { AM_setLogSink(this); }
    ~LogToError() override { AM_setLogSink(nullptr); }
    void writeLine(std::string_view line) override {
        if (loud) std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    }

private:
    bool loud;
};

void run(const DrawOptions& options) {
    LogToError log(options.log);
    if (!options.resources.empty()) AM_TextFonts::setFolders({options.resources});
    if (options.list)
        for (const Scene& scene : allScenes())
            std::printf("%-20s %s\n", scene.name, scene.about);
    const auto write = [&](const std::string& file, const Scene& scene) {
        writePng(file, drawScene(scene, options.scale, options.resampling)->getPixels());
    };
    const Scene* const one = findScene(options.scene);
    if (!options.scene.empty() && !one)
        throw std::runtime_error("there is no scene '" + options.scene + "' (--list names them)");
    for (const Scene& scene : allScenes()) {
        if (options.folder.empty() || (one && one != &scene)) continue;
        write(options.folder + "/" + pictureName(scene, options.scale), scene);
    }
    if (!options.output.empty()) write(options.output, *one);
    if (!options.sheet.empty())
        writePng(options.sheet,
                 drawSheet(allScenes(), options.scale, options.resampling)->getPixels());
    if (std::fflush(stdout) != 0) throw std::runtime_error("can't write to standard output");
}
} // namespace

int main(int argc, char** argv) {
    try {
        const DrawOptions options =
            parseDrawOptions(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
        if (!options.help.empty()) {
            std::fputs(options.help.c_str(), stdout);
            return 0;
        }
        if (!options.wrong.empty()) {
            std::fprintf(stderr, "glassmere-draw: %s (--help shows the usage)\n",
                         options.wrong.c_str());
            return 1;
        }
        run(options);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "glassmere-draw: %s\n", error.what());
        return 1;
    }
}
