// glassmere-script: compiles a script and runs it once.
#include "AM_Log.h"
#include "AM_PScript.h"
#include "ScriptObjects.h"
#include "ScriptOptions.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

namespace {
// What the machine says of a run goes to standard error, but for what error() tells better.
class LogToError : public AM_LogSink {
public:
    LogToError() { AM_setLogSink(this); }
    ~LogToError() override { AM_setLogSink(nullptr); }
    void writeLine(std::string_view line) override {
        if (!silent) std::fprintf(target, "%.*s\n", static_cast<int>(line.size()), line.data());
    }
    std::FILE* target = stderr;
    bool silent = false;
};

std::string readAll(const std::string& name) {
    const bool isInput = name == "-";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        isInput ? stdin : std::fopen(name.c_str(), "rb"), isInput ? std::fflush : std::fclose);
    if (!file) throw std::runtime_error("can't open '" + name + "'");
    std::string text;
    char block[16384];
    size_t got = 0;
    // One byte more than a script may have is enough to see that it has too many.
    while (text.size() <= k_maxScriptText &&
           (got = std::fread(block, 1, sizeof block, file.get())) > 0)
        text.append(block, got);
    if (std::ferror(file.get())) throw std::runtime_error("can't read '" + name + "'");
    return text;
}

void report(const std::string& file, const AM_ScriptError& error) {
    if (error.column > 0)
        std::fprintf(stderr, "%s:%d:%d: %s\n", file.c_str(), error.line, error.column,
                     error.text.c_str());
    else if (error.line > 0)
        std::fprintf(stderr, "%s:%d: %s\n", file.c_str(), error.line, error.text.c_str());
    else
        std::fprintf(stderr, "%s: %s\n", file.c_str(), error.text.c_str());
}

bool runScript(const ScriptOptions& options, LogToError& log) {
    ScriptObjects objects;
    AM_PScript script(&objects);
    const std::string text = readAll(options.file);
    log.silent = true;
    const i32 program = script.compile(text);
    log.silent = false;
    if (program < 0) {
        report(options.file, script.error());
        return false;
    }
    if (options.list) {
        log.target = stdout;
        script.list(program);
        log.target = stderr;
    }
    const i32 result = script.execute(program);
    const std::string output = objects.takeOutput();
    std::fwrite(output.data(), 1, output.size(), stdout);
    if (options.steps) std::printf("%u steps\n", script.steps());
    if (std::fflush(stdout) != 0) throw std::runtime_error("can't write to standard output");
    if (result != k_scriptOk) report(options.file, script.error());
    return result == k_scriptOk;
}
} // namespace

int main(int argc, char** argv) {
    try {
        const ScriptOptions options =
            parseScriptOptions(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
        if (options.help) {
            std::fputs(std::string(scriptHelp()).c_str(), stdout);
            return 0;
        }
        if (!options.wrong.empty()) {
            std::fprintf(stderr, "glassmere-script: %s (--help shows the usage)\n",
                         options.wrong.c_str());
            return 1;
        }
        LogToError log;
        return runScript(options, log) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "glassmere-script: %s\n", error.what());
        return 1;
    }
}
