// The script files of the folder scripts, and the examples of the language's page, do what they
// say. scripts/README.md tells how they say it.
#include "AM_PScript.h"
#include "ground/LogCapture.h"
#include "ScriptObjects.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {
std::string linesOf(const std::vector<std::string>& lines) {
    std::string all;
    for (const std::string& line : lines)
        all += line + "\n";
    return all;
}

// A text and what comes of it.
struct Sample {
    std::string text, prints, logs, refused, stops;
    i32 line = 0; // of its beginning in the file
};

// What a line says behind `mark`, as a line of its own; nothing if it has no such mark.
std::string behind(std::string_view mark, const std::string& line) {
    const size_t at = line.rfind(mark);
    if (at == std::string::npos) return {};
    const std::string said = line.substr(at + mark.size());
    return said.substr(said.starts_with(' ') ? 1 : 0) + "\n";
}

void announce(Sample& sample, const std::string& line, i32 number) {
    std::string printed = behind("// prints", line);
    for (size_t at; (at = printed.find("; ")) != std::string::npos; printed.erase(at + 1, 1))
        printed[at] = '\n';
    sample.prints += printed;
    sample.logs += behind("// logs", line);
    sample.stops += behind("// stops:", line);
    if (const std::string sentence = behind("// refused:", line); !sentence.empty())
        sample.refused = std::to_string(number) + ": " + sentence;
}

std::vector<Sample> samplesOf(const std::filesystem::path& file) {
    std::vector<Sample> samples;
    std::ifstream in(file);
    std::string line;
    for (i32 number = 1; std::getline(in, line); ++number) {
        if (line.starts_with("////")) samples.emplace_back().line = number + 1;
        if (samples.empty() || line.starts_with("////")) continue;
        samples.back().text += line + "\n";
        announce(samples.back(), line, number);
    }
    return samples;
}

void check(AM_PScript& script, ScriptObjects& objects, LogCapture& log, const Sample& sample) {
    // The end is behind its last line, not where the next text begins.
    const std::string text = sample.text.substr(0, sample.text.find_last_not_of('\n') + 1);
    const i32 result = script.run(text, sample.line);
    const AM_ScriptError& error = script.error();
    const std::string logged = linesOf(log.take());
    if (error.line != 0) {
        EXPECT_EQ(std::to_string(error.line) + ": " + error.text + "\n", sample.refused);
        EXPECT_EQ(objects.takeOutput(), "");
        return;
    }
    EXPECT_EQ(sample.refused, "");
    EXPECT_EQ(result == k_scriptOk ? "" : error.text + "\n", sample.stops);
    EXPECT_EQ(objects.takeOutput(), sample.prints);
    EXPECT_EQ(logged, sample.logs);
}

TEST(ScriptConformance, FilesDoWhatTheirLinesSay) {
    i32 files = 0;
    for (const auto& file : std::filesystem::directory_iterator(GLASSMERE_SCRIPTS)) {
        if (file.path().extension() != ".script") continue;
        ++files;
        LogCapture log;
        ScriptObjects objects;
        AM_PScript script(&objects);
        script.setListing(false);
        for (const Sample& sample : samplesOf(file.path())) {
            SCOPED_TRACE(file.path().filename().string() + ":" + std::to_string(sample.line));
            check(script, objects, log, sample);
        }
    }
    EXPECT_GE(files, 11);
}

// What glassmere-script prints for a text.
std::string shown(const std::string& text) {
    ScriptObjects objects;
    AM_PScript script(&objects);
    script.setListing(false);
    if (script.run(text) == k_scriptOk) return objects.takeOutput();
    const AM_ScriptError& error = script.error();
    return std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.text +
           "\n";
}

TEST(ScriptConformance, ExamplesOfThePageGiveWhatIsBelowThem) {
    LogCapture log;
    std::ifstream page(GLASSMERE_SCRIPT_PAGE);
    std::string line, kind, block, script;
    i32 examples = 0;
    while (std::getline(page, line)) {
        if (!line.starts_with("```")) {
            block += line + "\n";
            continue;
        }
        if (line == "```") {
            if (kind == "script") script = block;
            if (kind == "output" || kind == "error") {
                EXPECT_EQ(shown(script), block) << script;
                ++examples;
            }
        }
        EXPECT_TRUE(line != "```script" || script.empty()) << "nothing stated for " << script;
        if (kind == "output" || kind == "error") script.clear();
        kind = line.substr(3);
        block.clear();
    }
    EXPECT_GE(examples, 9);
    EXPECT_EQ(script, "");
}
} // namespace
