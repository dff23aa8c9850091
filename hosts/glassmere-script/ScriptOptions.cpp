#include "ScriptOptions.h"

ScriptOptions parseScriptOptions(const std::vector<std::string>& arguments) {
    ScriptOptions options;
    bool onlyFiles = false;
    for (const std::string& argument : arguments) {
        const bool isOption = !onlyFiles && argument.size() > 1 && argument[0] == '-';
        if (isOption && argument == "--")
            onlyFiles = true;
        else if (isOption && argument == "--list")
            options.list = true;
        else if (isOption && argument == "--steps")
            options.steps = true;
        else if (isOption && (argument == "--help" || argument == "-h"))
            options.help = true;
        else if (isOption)
            options.wrong = "there is no option '" + argument + "'";
        else if (!options.file.empty())
            options.wrong = "only one FILE is possible";
        else
            options.file = argument;
    }
    if (options.file.empty() && options.wrong.empty()) options.wrong = "FILE is needed";
    return options;
}

std::string_view scriptHelp() {
    return R"(glassmere-script [options] FILE     compile a script and run it; "-" is standard input

  --list     print the instructions first
  --steps    print at the end how many instructions were executed
  --help     this text

What the script prints with out.print comes on standard output. An error is told on standard
error, as FILE:LINE:COLUMN: sentence. The exit code is 0, or 1 if there was any error.
The page docs/script-language.md describes the language and the objects that are there.
)";
}
