// What --list and --describe print.
#include "RenderProcess.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace {
nlohmann::json printed(const TestFolder& folder, const std::vector<std::string>& arguments) {
    const ProcessResult result = render(folder, arguments);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return nlohmann::json::parse(result.output);
}
} // namespace

TEST(Printing, ListIsCompleteAndShowsTheValuesInForce) {
    TestFolder folder;
    const nlohmann::json list = printed(folder, {"--list", "--json", "--set", "Feedback=12.5",
                                                 "--code", "B\"\xff-1", "--set", "ChLay=1"});
    std::set<std::string> names;
    for (const nlohmann::json& row : list) {
        for (const char* key :
             {"short", "long", "module", "kind", "minimum", "maximum", "default", "value", "text"})
            EXPECT_TRUE(row.contains(key)) << row;
        EXPECT_TRUE(names.insert(row["short"].get<std::string>()).second) << row;
        if (row["short"] == "FB") {
            const nlohmann::json expected = {{"long", "Feedback"}, {"module", "FDN"},
                                             {"minimum", 0},       {"maximum", 100},
                                             {"default", 50},      {"value", 12.5}};
            for (const auto& [key, value] : expected.items())
                EXPECT_EQ(row[key], value);
        }
        EXPECT_TRUE(row["short"] != "Params" || row["text"] == "B\"\xef\xbf\xbd-1") << row;
        EXPECT_TRUE(row["short"] != "ChLay" || row["text"] == "all channels") << row;
    }
    for (const char* name :
         {"CcOp", "Dry", "Wet", "Ord", "Rnd", "Freq", "Fix1", "SBase", "0Instnc"})
        EXPECT_TRUE(names.contains(name)) << name;
    const std::string text = render(folder, {"--list"}).output;
    EXPECT_NE(text.find("Feedback"), std::string::npos);
    EXPECT_NE(text.find("press button"), std::string::npos);
}

TEST(Printing, DescribeHoldsTheWholeModel) {
    TestFolder folder;
    for (const char* code :
         {"press button", "CTLRZ36S-4EVE", "DTNR14P-X", "6-AT", "-", "", "\xfe"}) {
        const nlohmann::json model = printed(folder, {"--describe", code, "--json"});
        EXPECT_EQ(model["selections"].size(), 8u) << code;
        EXPECT_EQ(model["lengths"].size(), 64u) << code;
        for (const nlohmann::json& length : model["lengths"])
            EXPECT_TRUE(length >= 0 && length <= 8191) << length;
        EXPECT_EQ(model["pans"].size(), model["numOutputs"].get<size_t>()) << code;
        for (const nlohmann::json& pan : model["pans"])
            EXPECT_TRUE(pan >= 0 && pan <= 1) << pan;
        for (const nlohmann::json& alias : model["aliases"])
            EXPECT_TRUE(alias.size() == 2 && alias[0] != alias[1]) << alias;
        for (const char* key : {"hash", "seed", "family", "routing", "numMatrices", "matrixSize",
                                "numInputs", "gainLaw", "law", "arrangement", "tests"})
            EXPECT_TRUE(model.contains(key)) << key;
    }
    const nlohmann::json model = printed(folder, {"--describe", "DTNR14P-AB", "--json"});
    EXPECT_EQ(model["code"], "DTNR14P-AB");
    EXPECT_EQ(model["selections"], nlohmann::json({3, 3, 3, 0, 1, 1, 3, 0}));
    EXPECT_EQ(model["hash"], 65 * 31 + 66);
    EXPECT_EQ(model["family"], "HH6");
    EXPECT_EQ(model["matrixSize"], 6);
    // Bridges "N" chain ten rows of six: 4 from 2, 5 from 3, 6 from 4 and so on, then 2 and 3.
    EXPECT_EQ(model["aliases"].size(), 8u);
    const std::string text = render(folder, {"--describe", "DTNR14P-AB"}).output;
    EXPECT_NE(text.find("HH6"), std::string::npos);
    EXPECT_NE(text.find(std::to_string(model["lengths"][63].get<int>())), std::string::npos);
}
