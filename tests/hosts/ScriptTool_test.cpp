// glassmere-script as its users meet it: what it prints where, and how it ends.
#include "RenderProcess.h"

namespace {
ProcessResult runScript(const TestFolder& folder, const std::string& text, Arguments arguments) {
    std::ofstream(folder / "a.script") << text;
    arguments.push_back(folder / "a.script");
    return RenderProcess(folder, arguments, GLASSMERE_SCRIPT).wait();
}
} // namespace

TEST(ScriptTool, PrintsResultsAndTellsErrorsByPlace) {
    TestFolder folder;
    const ProcessResult good = runScript(folder, "int n = 3;\nout.print(n * 1.5);", {"--steps"});
    EXPECT_EQ(good.exitCode, 0) << good.errors;
    EXPECT_EQ(good.output.substr(0, 4), "4.5\n") << good.output;
    EXPECT_NE((good.output + good.errors).find(" steps"), std::string::npos);

    const ProcessResult listed = runScript(folder, "knob.count = 2;", {"--list"});
    EXPECT_NE(listed.output.find("Store Obj i"), std::string::npos) << listed.output;

    const std::string path = folder / "a.script";
    const struct {
        const char* text;
        const char* error;
    } cases[] = {{"int x = 3\nx = 4;", ":2:1: expected ';'"},
                 {"for (;;);", "stopped after 100000 instructions"}};
    for (const auto& c : cases) {
        const ProcessResult bad = runScript(folder, c.text, {});
        EXPECT_EQ(bad.exitCode, 1);
        EXPECT_NE(bad.errors.find(path), std::string::npos) << bad.errors;
        EXPECT_NE(bad.errors.find(c.error), std::string::npos) << bad.errors;
    }
    EXPECT_EQ(RenderProcess(folder, {folder / "none"}, GLASSMERE_SCRIPT).wait().exitCode, 1);
}
