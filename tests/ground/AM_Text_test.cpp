#include "AM_Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Text, find) {
    EXPECT_STREQ(AM_STD::Find("|findme|", "findme", false), "findme|");
    EXPECT_STREQ(AM_STD::Find("|findme|", "|", false), "|findme|");
    EXPECT_STREQ(AM_STD::find("findme", "|findme|"), "findme|");
    EXPECT_STREQ(AM_STD::Find("aab", "ab"), "ab"); // a false start
    EXPECT_STREQ(AM_STD::Find("xABc", "abC", true), "ABc");
    const char* const none = nullptr;
    for (const auto& [text, pattern] : {std::pair{"xABc", "abC"},
                                        {"find", "findme"},
                                        {"\0a", ""},
                                        {"\0a", "a"},
                                        {none, "a"},
                                        {"a", none}})
        EXPECT_EQ(AM_STD::Find(text, pattern), nullptr);
}

TEST(Text, trimInPlace) {
    const char* cases[][2] = {{"   space at beginning", "space at beginning"},
                              {"more \t space\t     \tinside", "more space inside"},
                              {"at the end \t ", "at the end"},
                              {"\n line ends stay\n", "\n line ends stay\n"},
                              {" \t ", ""},
                              {"", ""}};
    for (const auto& [text, expected] : cases) {
        char buffer[64];
        AM_STD::copyText(buffer, text);
        AM_STD::trimWhitespace(buffer);
        EXPECT_STREQ(buffer, expected);
    }
}

TEST(Text, trimAndSplitOfStrings) {
    EXPECT_EQ(AM_STD::stdString_trimWhitespaces("\n\n SomeText\n"), "SomeText");
    EXPECT_EQ(AM_STD::stdString_trimWhitespaces("Some \n Text"), "Some \n Text");
    EXPECT_EQ(AM_STD::stdString_trimWhitespaces(" \r\n\t"), "");
    using Parts = std::vector<std::string>;
    EXPECT_EQ(AM_STD::stdString_split("Some, String,String", ","),
              (Parts{"Some", " String", "String"}));
    EXPECT_EQ(AM_STD::stdString_split(",a,,", ","), (Parts{"", "a", "", ""}));
    EXPECT_EQ(AM_STD::stdString_split("a::b", "::"), (Parts{"a", "b"}));
    EXPECT_EQ(AM_STD::stdString_split("ab", ""), Parts{"ab"});
    EXPECT_EQ(AM_STD::stdString_split("", ","), Parts{""});
    EXPECT_EQ(AM_STD::toLower("aaAAlzZ"), "aaaalzz");
}

TEST(Text, copiesCompareAndLength) {
    char buffer[4];
    EXPECT_EQ(AM_STD::copyText(buffer, "abcdef"), 3u);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(AM_STD::copyText(buffer, nullptr), 0u);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(AM_STD::Strlen(nullptr), 0u);
    EXPECT_LT(AM_STD::Strcmp("abc", "abd"), 0);
    EXPECT_GT(AM_STD::Strcmp("\xFC", "u"), 0);
    EXPECT_EQ(AM_STD::Strcmp(nullptr, ""), 0);
    EXPECT_STREQ(AM_STD::fileName("/a/b\\c.cpp"), "c.cpp");
}

} // namespace
