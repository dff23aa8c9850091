// The command line of glassmere-script.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct ScriptOptions {
    bool list = false;
    bool steps = false;
    bool help = false;
    std::string file;  // "-" is standard input
    std::string wrong; // what is wrong with the command line, empty if nothing
};

// Reads the arguments, without the program's name. Never throws for a wrong command line.
ScriptOptions parseScriptOptions(const std::vector<std::string>& arguments);
// What --help prints.
std::string_view scriptHelp();
