// The command line of glassmere-draw.
#include "DrawOptions.h"
#include "Scene.h"

#include <gtest/gtest.h>

TEST(DrawOptions, WantsSomethingToDrawAndAPlaceForIt) {
    const std::vector<std::string> right[] = {{"--list"},
                                              {"text-sizes", "-o", "a.png"},
                                              {"--sheet", "a.png"},
                                              {"--into", "folder"},
                                              {"text-sizes", "--into", "folder"},
                                              {"--into", "f", "--scale", "0.7"}};
    for (const auto& line : right)
        EXPECT_EQ(parseDrawOptions(line).wrong, "") << line[0];
    const std::vector<std::string> wrong[] = {{},
                                              {"text-sizes"},
                                              {"-o", "a.png"},
                                              {"--into", "f", "--scale", "0,7"},
                                              {"--into", "f", "--scale", "9"},
                                              {"--into"},
                                              {"--nonsense"}};
    for (const auto& line : wrong)
        EXPECT_NE(parseDrawOptions(line).wrong, "") << (line.empty() ? "nothing" : line[0]);
    const DrawOptions options = parseDrawOptions({"text-sizes", "--scale", "1.3", "--into", "f"});
    EXPECT_EQ(options.folder + "/" + pictureName(*findScene(options.scene), options.scale),
              "f/text-sizes@1.3.png");
}
