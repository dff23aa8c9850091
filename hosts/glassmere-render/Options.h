// The command line of the renderer.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

enum class SampleFormat { automatic, pcm16, pcm24, float32 };

struct Options {
    enum class Mode { render, impulse, list, describe, savePreset };

    Mode mode = Mode::render;
    std::string input;                          // render only
    std::string output;                         // render and impulse
    std::string plot;                           // --plot, empty: none
    std::string dataFolder;                     // --data, empty: the machine's
    std::string preset;                         // --preset, empty: none
    std::string midi;                           // --midi, empty: none
    std::string assignments;                    // --assign, empty: the plug-in's own
    std::optional<std::pair<int, int>> program; // --program, bank and number
    std::vector<std::pair<std::string, std::string>> preferences; // --pref, in order
    std::string savedPreset;                                      // --save-preset, empty: none
    bool comments = false;                                        // in the saved preset
    std::vector<std::pair<std::string, std::string>> metadata;    // --meta, in order
    std::optional<std::string> code; // --code, or the argument of --describe
    std::vector<std::pair<std::string, std::string>> settings; // --set, in order
    std::vector<std::string> presses;                          // --press, in order
    double rate = 48000;                                       // Hz, impulse only
    int block = 512;                                           // frames
    bool baseLatency = true;
    bool inPlace = false;
    std::optional<double> tailSeconds; // nothing: until the module sleeps
    SampleFormat format = SampleFormat::automatic;
    bool force = false;
    bool quiet = false;
    bool json = false;
};

// What a command line leads to: options to act on, or a text to print and an exit code.
struct ParsedOptions {
    std::optional<Options> options;
    std::string text;
    int exitCode = 0;
};

// Reads the arguments (without the program's name); `version` is what --version prints. Never
// throws for a wrong command line: the result then holds the message and the usage exit code.
ParsedOptions parseOptions(std::vector<std::string> arguments, const std::string& version);
