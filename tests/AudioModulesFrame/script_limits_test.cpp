// Texts and programs of any size: each is taken, or refused with its sentence, in little time.
#include "AM_PScript.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

namespace {
// `part` again and again, '#' being the number of the copy.
std::string copies(std::string_view part, i32 count) {
    std::string all;
    for (i32 copy = 0; copy < count; ++copy)
        for (const char c : part) {
            if (c == '#')
                all += std::to_string(copy);
            else
                all += c;
        }
    return all;
}

class ScriptLimits : public testing::Test {
protected:
    ScriptLimits() {
        script.setListing(false);
        script.declare("x", k_scriptInt);
    }
    // "ok", or what the error is.
    std::string compiled(const std::string& text) {
        const i32 program = script.compile(text);
        if (program < 0) {
            EXPECT_TRUE(script.machine().getCode().empty());
            return script.error().text;
        }
        script.clear();
        script.declare("x", k_scriptInt);
        return "ok";
    }
    LogCapture log;
    AM_PScript script;
};

TEST_F(ScriptLimits, PartsWithinPartsAreBounded) {
    constexpr const char* tooDeep = "expected no more than 200 parts within parts";
    constexpr const char* tooLong =
        "expected a simpler expression, this one has more than 400 levels";
    const struct {
        const char *before, *opening, *middle, *closing;
        i32 most; // copies of opening and closing, or nearly so
        const char* refusal;
    } rows[] = {
        {"x = ", "(", "1", ")", 190, tooDeep},
        {"", "{", "", "}", 190, tooDeep},
        {"", "if (x) ", "x = 1;", "", 190, tooDeep},
        {"", "if (x) x = 2; else ", "x = 1;", "", 190, tooDeep},
        {"", "for (;;) ", "x = 1;", "", 190, tooDeep},
        {"", "x = ", "1", "", 190, tooDeep},
        {"x = ", "- ", "x", "", 190, tooDeep},
        {"x = ", "x ? 1 : ", "1", "", 190, tooDeep},
        {"int a[2]; x = ", "a[", "1", "]", 190, tooDeep},
        {"int f(int n) { return n; } x = ", "f(", "1", ")", 190, tooDeep},
        {"x = 1", " + x", "", "", 200000, ""},
        {"x = x", " && x", "", "", 390, tooLong},
    };
    for (const auto& row : rows) {
        const auto text = [&](i32 count) {
            return row.before + copies(row.opening, count) + row.middle +
                   copies(row.closing, count) + ";";
        };
        EXPECT_EQ(compiled(text(row.most)), "ok") << row.opening;
        if (*row.refusal == '\0') continue;
        for (const i32 more : {row.most + 20, 50000})
            EXPECT_EQ(compiled(text(more)), row.refusal) << row.opening;
    }
}

TEST_F(ScriptLimits, ManyThingsAreTakenOrRefused) {
    constexpr const char* registers =
        "expected fewer values at the same time, a frame has 256 registers of each type";
    const struct {
        const char* part;
        i32 count;
        const char* behind;
        const char* result;
    } rows[] = {
        {"x = x + #; ", 70000, "", "ok"},
        {"int f#(int n) { return n; }", 30000, "x = f29999(7);", "ok"},
        {"{ int v# = #; }", 40000, "", "ok"},
        {"int v#; ", 256, "", "ok"},
        {"int v#; ", 257, "", registers},
        {"float v#; ", 60000, "", registers},
        {"int a#[200]; ", 256, "", "ok"},
        {"int v#; void f#() { v# = #; }", 20000, "f7();", "ok"},
        {"float b#[60000]; void f#() { b#[1] = #; }", 18, "",
         "expected fewer or smaller variables, the store is full"},
        {" ", 1048576, "", "ok"},
        {" ", 1048576, ";", "expected a text of at most 1048576 bytes"},
        {"/* ", 300000, "", "expected '*/' behind the comment that begins here"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(compiled(copies(row.part, row.count) + row.behind), row.result) << row.part;
    // Each text is fine, the code is full in the end; others still run when some has gone.
    const std::string text = copies("x = x / 3 + #; ", 50000);
    std::vector<i32> programs;
    do {
        programs.push_back(script.compile(text));
    } while (programs.back() > 0 && programs.size() < 30);
    EXPECT_EQ(programs.back(), k_scriptCodeFull);
    EXPECT_EQ(script.error().text,
              "expected a shorter text, there is room for 1000000 instructions");
    EXPECT_LE(script.machine().getCode().size(), k_maxScriptCode);
    EXPECT_TRUE(script.release(programs[0]));
    EXPECT_GT(script.compile(text), 0);
}
} // namespace
