// Pictures of what was rendered.
#include "RenderProcess.h"

#include <gtest/gtest.h>

TEST(Plot, StandsBesideTheSoundAndIsNotOverwritten) {
    TestFolder folder;
    const Arguments arguments = {"--quiet", "--impulse",         "--code",          "DTNR14P-XYZ",
                                 "--plot",  folder / "plot.PNG", folder / "out.wav"};
    EXPECT_EQ(render(folder, arguments).exitCode, 0);
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"out.wav", "plot.PNG"}));
    const std::string first = folder.read("plot.PNG");
    // Width and height stand behind the first chunk's name.
    EXPECT_EQ(first.substr(0, 24),
              std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x04\xb0\0\0\x03\x84", 24));
    std::filesystem::remove(folder / "out.wav");
    const ProcessResult again = render(folder, arguments);
    EXPECT_EQ(again.exitCode, 2);
    EXPECT_NE(again.errors.find("--force"), std::string::npos) << again.errors;
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"plot.PNG"}));

    Arguments forced = {"--force", "--set", "FB=90"};
    forced.insert(forced.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(render(folder, forced).exitCode, 0);
    EXPECT_NE(folder.read("plot.PNG"), first);
}

TEST(Plot, BelongsToARenderAndIsAPng) {
    TestFolder folder;
    const std::string out = folder / "out.wav";
    const Arguments wrong[] = {{"--list", "--plot", folder / "a.png"},
                               {"--impulse", "--plot", folder / "a.jpg", out},
                               {"--impulse", "--plot", "", out}};
    for (const Arguments& arguments : wrong) {
        const ProcessResult result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.errors.find("--plot"), std::string::npos) << result.errors;
        EXPECT_TRUE(folder.files().empty());
    }
}
