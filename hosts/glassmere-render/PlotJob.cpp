#include "PlotJob.h"

#include "AM_AGG_Context.h"
#include "AM_TextFonts.h"
#include "Errors.h"
#include "PlotAxis.h"
#include "PngFile.h"
#include "SoundFile.h"
#include "SoundPlot.h"

#include <filesystem>

namespace {
namespace fs = std::filesystem;

constexpr size_t k_mostFrames = size_t(1) << 25;
constexpr int k_block = 65536; // frames

// Beside the program, as the build lays it, or in the data that is installed with it.
void useFontsOfProgram() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (error) return;
    const fs::path folder = program.parent_path();
    AM_TextFonts::setFolders(
        {folder.string(), (folder.parent_path() / "share/vela/Glassmere/Data").string()});
}

// False if there is more than is kept.
bool readSound(SoundReader& reader, std::vector<f32> (&channels)[2]) {
    std::vector<f32> block[2] = {std::vector<f32>(k_block), std::vector<f32>(k_block)};
    while (channels[0].size() < k_mostFrames) {
        const int got = reader.read(block[0].data(), block[1].data(), k_block);
        if (got < 1) return true;
        for (int channel = 0; channel < 2; ++channel)
            channels[channel].insert(channels[channel].end(), block[channel].begin(),
                                     block[channel].begin() + got);
    }
    return reader.read(block[0].data(), block[1].data(), 1) < 1;
}
} // namespace

void checkPlot(const Options& options) {
    if (options.plot.empty()) return;
    std::error_code error;
    if (!options.force && fs::exists(options.plot, error))
        throw RenderError("'" + options.plot + "' exists; --force overwrites it");
    const fs::path folder = fs::absolute(options.plot, error).parent_path();
    if (!fs::is_directory(folder, error))
        throw RenderError("'" + folder.string() + "' is no folder to put a plot into");
    useFontsOfProgram();
    if (AM_TextFonts::find("", "Vera").empty())
        throw RenderError("--plot finds no font: install ttf-bitstream-vera");
}

void drawPlot(const Options& options, const std::string& code) {
    SoundReader reader(options.output);
    std::vector<f32> channels[2];
    const bool whole = readSound(reader, channels);
    SoundPlot plot;
    plot.sound = {{channels[0], channels[1]}, static_cast<f64>(reader.rate())};
    plot.impulse = options.mode == Options::Mode::impulse;
    plot.title = code;
    plot.name = fs::path(options.output).filename().string();
    if (!whole) plot.name += ", the first " + secondsText(plot.sound.seconds());
    AM_AGG_Context context(k_soundPlotWidth, k_soundPlotHeight, 1, true);
    drawSoundPlot(context, plot);
    try {
        writePng(options.plot, context.getPixels());
    } catch (const std::runtime_error& error) {
        throw RenderError(error.what());
    }
}
