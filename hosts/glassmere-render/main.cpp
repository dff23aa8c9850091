// glassmere-render: renders sound files through the plug-in, without a host.
#include "AM_FolderResolver.h"
#include "AM_Log.h"
#include "Describe.h"
#include "Errors.h"
#include "Interrupt.h"
#include "Options.h"
#include "ParameterList.h"
#include "PlotJob.h"
#include "RenderJob.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string_view>

namespace {
constexpr const char* k_version = "glassmere-render 1.0.0";

// The plug-in's diagnostics are for its developers; the renderer says itself what went wrong.
class SilentLog : public AM_LogSink {
public:
    SilentLog() { AM_setLogSink(this); }
    ~SilentLog() override { AM_setLogSink(nullptr); }
    void writeLine(std::string_view) override {}
};

void report(const Options& options, const Instance& instance, const SoundWriter& writer, int rate) {
    const SoundStatistics& stats = writer.statistics();
    std::printf("%s: code %s, %.2f s at %d Hz, %s, peak %.1f dB", options.output.c_str(),
                instance.code().c_str(), static_cast<double>(stats.frames) / rate, rate,
                writer.formatText().c_str(),
                20 * std::log10(std::max(static_cast<double>(stats.peak), 1e-10)));
    if (stats.clipped > 0)
        std::printf(", %lld samples beyond full scale", static_cast<long long>(stats.clipped));
    std::printf("\n");
}

void renderSource(const Options& options, SampleSource& source, int rate) {
    Instance instance(options, rate);
    if (!options.presses.empty()) std::printf("code %s\n", instance.code().c_str());
    if (!options.savedPreset.empty()) instance.savePreset(options);
    RenderJob job(options, rate,
                  options.midi.empty() ? std::vector<MidiFileEvent>() : readMidiFile(options.midi));
    SoundWriter writer(options.output, rate, options.format, options.force,
                       job.expectedFrames(source));
    {
        Progress progress(!options.quiet);
        job.run(instance, source, writer, progress);
    }
    throwIfInterrupted();
    writer.commit();
    report(options, instance, writer, rate);
    if (!options.plot.empty()) drawPlot(options, instance.code());
}

void render(const Options& options) {
    SoundWriter::checkFormat(options.output, options.format);
    checkPlot(options);
    if (options.mode == Options::Mode::impulse) {
        ImpulseSource source;
        renderSource(options, source, static_cast<int>(options.rate));
        return;
    }
    SoundReader reader(options.input);
    FileSource source(reader);
    renderSource(options, source, reader.rate());
}

void useDataFolder(const std::string& folder) {
    if (!std::filesystem::is_directory(folder))
        throw UsageError("--data wants a folder, not '" + folder + "'");
    AM_setAlternateFolder(std::filesystem::absolute(folder).c_str());
}

void run(const Options& options) {
    if (!options.dataFolder.empty()) useDataFolder(options.dataFolder);
    if (options.mode == Options::Mode::describe) {
        const std::string& code = *options.code;
        std::fputs((options.json ? describeAsJson(code) : describeAsText(code)).c_str(), stdout);
    } else if (options.mode == Options::Mode::savePreset) {
        Instance instance(options, options.rate);
        instance.savePreset(options);
        std::printf("%s: code %s\n", options.savedPreset.c_str(), instance.code().c_str());
    } else if (options.mode == Options::Mode::list) {
        Instance instance(options, options.rate);
        std::fputs((options.json ? listAsJson(instance) : listAsText(instance)).c_str(), stdout);
    } else {
        render(options);
    }
    if (std::fflush(stdout) != 0) throw RenderError("can't write to standard output");
}
} // namespace

int main(int argc, char** argv) {
    try {
        const ParsedOptions parsed = parseOptions(
            std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), k_version);
        if (!parsed.options) {
            if (parsed.exitCode == k_exitOk)
                std::fputs(parsed.text.c_str(), stdout);
            else
                std::fprintf(stderr, "glassmere-render: %s (--help shows the usage)\n",
                             parsed.text.c_str());
            return parsed.exitCode;
        }
        const SilentLog silence;
        installInterruptHandler();
        run(*parsed.options);
        return k_exitOk;
    } catch (const Interrupted&) {
        std::fputs("glassmere-render: interrupted, nothing written\n", stderr);
        return k_exitInterrupt;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "glassmere-render: %s\n", error.what());
        return k_exitUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "glassmere-render: %s\n", error.what());
        return k_exitFailure;
    }
}
