#include "Options.h"

#include "Errors.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <map>

namespace {
constexpr size_t k_maxCodeLength = 31;
constexpr double k_maxTailSeconds = 24 * 3600;
constexpr int k_maxBlock = 65536;

// What the options hold before they are checked against each other.
struct RawOptions {
    Options options;
    bool impulse = false;
    bool list = false;
    std::string code;
    std::string describe;
    std::vector<std::string> settings;
    std::vector<std::string> metadata;
    std::vector<std::string> preferences;
    std::string program;
    std::string rate;
    std::string tail;
    std::string bits;
    bool noBaseLatency = false;
    std::vector<std::string> files;
};

// An option takes its next argument as it stands, also if that is empty or begins with a dash,
// but CLI11 reads "--code=" as "--code": the empty text is made an argument of its own.
void splitEmptyTexts(std::vector<std::string>& arguments) {
    for (size_t i = 0; i < arguments.size() && arguments[i] != "--"; ++i) {
        std::string& name = arguments[i];
        if (name.size() > 3 && name.starts_with("--") && name.find('=') == name.size() - 1) {
            name.pop_back();
            arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, "");
        }
    }
}

double parseNumber(const char* option, const std::string& text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !std::isfinite(value))
        throw UsageError(std::string(option) + ": '" + text + "' is not a number");
    return value;
}

void checkCode(const std::string& code) {
    if (code.size() > k_maxCodeLength)
        throw UsageError("a code has at most 31 characters, this one has " +
                         std::to_string(code.size()));
}

std::vector<std::pair<std::string, std::string>> readPairs(const std::vector<std::string>& texts,
                                                           const std::string& wanted) {
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const std::string& text : texts) {
        const size_t equals = text.find('=');
        if (equals == 0 || equals == std::string::npos)
            throw UsageError(wanted + ", not '" + text + "'");
        pairs.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return pairs;
}

void readProgram(const RawOptions& raw, Options& options) {
    if (raw.program.empty()) return;
    const size_t colon = raw.program.find(':');
    const std::string usage =
        "--program wants BANK:NUMBER, 0 to 127 each, not '" + raw.program + "'";
    if (colon == std::string::npos) throw UsageError(usage);
    const auto part = [&usage](const std::string& text) {
        int value = -1;
        const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || rest != text.data() + text.size() || value < 0 || value > 127)
            throw UsageError(usage);
        return value;
    };
    options.program = {part(raw.program.substr(0, colon)), part(raw.program.substr(colon + 1))};
}

void checkPlot(const Options& options, bool given) {
    if (!given) return;
    if (options.mode != Options::Mode::render && options.mode != Options::Mode::impulse)
        throw UsageError("--plot belongs to a render");
    const std::string& name = options.plot;
    if (!CLI::detail::to_lower(name).ends_with(".png"))
        throw UsageError("--plot wants a name that ends with .png, not '" + name + "'");
}

void checkPresets(const Options& options) {
    const bool printing =
        options.mode == Options::Mode::list || options.mode == Options::Mode::describe;
    if (printing && !options.savedPreset.empty())
        throw UsageError("--save-preset can't be used with --list or --describe");
    if (options.mode == Options::Mode::describe && !options.preset.empty())
        throw UsageError("--describe takes its code as its argument and no preset");
    if (options.savedPreset.empty() && (options.comments || !options.metadata.empty()))
        throw UsageError("--comments and --meta belong to --save-preset");
}

void readFormat(const RawOptions& raw, Options& options) {
    static const std::map<std::string, SampleFormat> formats = {
        {"16", SampleFormat::pcm16}, {"24", SampleFormat::pcm24}, {"32f", SampleFormat::float32}};
    if (raw.bits.empty()) return;
    const auto found = formats.find(raw.bits);
    if (found == formats.end()) throw UsageError("--bits wants 16, 24 or 32f");
    options.format = found->second;
}

void readTail(const RawOptions& raw, Options& options) {
    if (raw.tail.empty() || raw.tail == "auto") return;
    const double seconds = parseNumber("--tail", raw.tail);
    if (seconds < 0 || seconds > k_maxTailSeconds)
        throw UsageError("--tail wants 0 to 86400 seconds, or auto");
    options.tailSeconds = seconds;
}

void readRate(const RawOptions& raw, Options& options) {
    if (raw.rate.empty()) return;
    if (!raw.impulse) throw UsageError("--rate belongs to --impulse; a file keeps its own rate");
    options.rate = parseNumber("--rate", raw.rate);
    if (options.rate < 1000 || options.rate > 768000 || options.rate != std::floor(options.rate))
        throw UsageError("--rate wants a whole number from 1000 to 768000 Hz");
}

void readFiles(const RawOptions& raw, Options& options) {
    const std::vector<std::string>& files = raw.files;
    switch (options.mode) {
    case Options::Mode::render:
        if (files.size() != 2) throw UsageError("INPUT and OUTPUT are needed");
        options.input = files[0];
        options.output = files[1];
        break;
    case Options::Mode::impulse:
        if (files.size() != 1) throw UsageError("--impulse wants OUTPUT, and no INPUT");
        options.output = files[0];
        break;
    case Options::Mode::savePreset:
        break;
    default:
        if (!files.empty()) throw UsageError("no file is used here: '" + files[0] + "'");
    }
}

Options check(const RawOptions& raw, bool hasCode, bool hasDescribe, bool hasPlot) {
    Options options = raw.options;
    if (int(raw.impulse) + int(raw.list) + int(hasDescribe) > 1)
        throw UsageError("--impulse, --list and --describe exclude each other");
    if (raw.impulse) options.mode = Options::Mode::impulse;
    if (raw.list) options.mode = Options::Mode::list;
    if (hasDescribe) options.mode = Options::Mode::describe;
    if (options.mode == Options::Mode::render && raw.files.empty() && !options.savedPreset.empty())
        options.mode = Options::Mode::savePreset;
    checkPresets(options);
    checkPlot(options, hasPlot);
    const bool printing = raw.list || hasDescribe;
    if (options.json && !printing) throw UsageError("--json belongs to --list or --describe");
    if (hasDescribe && (hasCode || !raw.settings.empty() || !options.presses.empty()))
        throw UsageError("--describe takes its code as its argument and no other settings");
    if (hasCode) options.code = raw.code;
    if (hasDescribe) options.code = raw.describe;
    if (options.code) checkCode(*options.code);

    options.settings = readPairs(raw.settings, "--set wants NAME=VALUE");
    options.preferences = readPairs(raw.preferences, "--pref wants KEY=VALUE");
    readProgram(raw, options);
    options.metadata = readPairs(raw.metadata, "--meta wants KEY=VALUE");
    readFormat(raw, options);
    readTail(raw, options);
    readRate(raw, options);
    readFiles(raw, options);
    options.baseLatency = !raw.noBaseLatency;
    if (options.block < 1 || options.block > k_maxBlock)
        throw UsageError("--block wants 1 to 65536 frames");
    if (raw.noBaseLatency && options.block % 16 != 0)
        throw UsageError("--no-base-latency wants a --block that is a multiple of 16");
    return options;
}

const char* const k_help =
    R"(glassmere-render [options] INPUT OUTPUT       process a sound file
glassmere-render --impulse [options] OUTPUT   the reverb's impulse response
glassmere-render --save-preset FILE [options] write a preset and render nothing
glassmere-render --list [--json]              parameters: short and long name, module, range,
                                              default, value text
glassmere-render --describe CODE [--json]     the model that a code builds

  --preset FILE        a preset (q3p, fxp); --code and --set come after it
  --code TEXT          the code ("Params"), taken exactly as given
  --set NAME=VALUE     a parameter by short or long name, or MODULE:NAME; repeatable
  --press NAME         press a momentary button (Rnd, Ord) before processing; prints the
                       new code; repeatable
  --program BANK:N     a program out of the banks in "MIDI Programs"; --code and --set come
                       after it
  --midi FILE          a Standard MIDI File whose events reach the plug-in in time with INPUT
  --assign FILE        which controllers move which parameters, in place of the plug-in's own
  --pref KEY=VALUE     a preference (SmoothMidiCtrls, BaseLatencyBuffer16) for this render;
                       repeatable
  --save-preset FILE   write what is set to a preset (q3p)
  --comments           with --save-preset: the long names behind the values
  --meta KEY=VALUE     with --save-preset: Author, Description, Usage, Categories, Features or
                       Character; repeatable
  --data DIR           use DIR as the data folder and none of this machine's; a preset
                       Presets/Glassmere/default.q3p in it is what the plug-in begins with
  --rate HZ            with --impulse: the sample rate (default 48000)
  --block N            host block size in frames (default 512)
  --no-base-latency    the path without carry (N a multiple of 16)
  --in-place           give the plug-in one buffer for input and output
  --tail SEC|auto      go on after the input ends; auto (default): until the module sleeps,
                       at most 60 s
  --bits 16|24|32f     sample format (default 32f, FLAC 24); WAV, FLAC, AIFF, OGG by OUTPUT's
                       extension
  --plot FILE.png      also draw OUTPUT: waveform, spectrogram, energy decay curve with its
                       decay time, echo density
  --force              overwrite OUTPUT, the preset and the plot
  -q, --quiet          no progress
  --version, --help

INPUT is mono or stereo, at any rate; OUTPUT is stereo at the same rate, and its frame n
belongs to frame n of INPUT. Exit status: 0 ok, 1 usage, 2 input, output or processing
error, 130 on interrupt.
)";

void declare(CLI::App& app, RawOptions& raw) {
    Options& options = raw.options;
    app.add_flag("--impulse", raw.impulse);
    app.add_flag("--list", raw.list);
    app.add_option("--describe", raw.describe);
    app.add_flag("--json", options.json);
    app.add_option("--code", raw.code);
    app.add_option("--set", raw.settings)->allow_extra_args(false);
    app.add_option("--meta", raw.metadata)->allow_extra_args(false);
    app.add_option("--preset", options.preset);
    app.add_option("--midi", options.midi);
    app.add_option("--assign", options.assignments);
    app.add_option("--program", raw.program);
    app.add_option("--pref", raw.preferences)->allow_extra_args(false);
    app.add_option("--save-preset", options.savedPreset);
    app.add_option("--data", options.dataFolder);
    app.add_option("--plot", options.plot);
    app.add_flag("--comments", options.comments);
    app.add_option("--press", options.presses)->allow_extra_args(false);
    app.add_option("--rate", raw.rate);
    app.add_option("--block", options.block);
    app.add_flag("--no-base-latency", raw.noBaseLatency);
    app.add_flag("--in-place", options.inPlace);
    app.add_option("--tail", raw.tail);
    app.add_option("--bits", raw.bits);
    app.add_flag("--force", options.force);
    app.add_flag("-q,--quiet", options.quiet);
    app.add_option("files", raw.files);
}
} // namespace

ParsedOptions parseOptions(std::vector<std::string> arguments, const std::string& version) {
    RawOptions raw;
    CLI::App app("Renders sound files through Glassmere.", "glassmere-render");
    declare(app, raw);
    app.set_version_flag("--version", version);
    splitEmptyTexts(arguments);
    ParsedOptions result;
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        result.options = check(raw, app.count("--code") > 0, app.count("--describe") > 0,
                               app.count("--plot") > 0);
    } catch (const CLI::CallForHelp&) {
        result.text = k_help;
    } catch (const CLI::CallForVersion& call) {
        result.text = std::string(call.what()) + "\n";
    } catch (const CLI::ParseError& error) {
        result.text = error.what();
        result.exitCode = k_exitUsage;
    } catch (const UsageError& error) {
        result.text = error.what();
        result.exitCode = k_exitUsage;
    }
    return result;
}
