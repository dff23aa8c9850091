#include "AM_FilePath.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

std::string shown(const AM_FilePath& path) {
    return path.c_str('/');
}

TEST(FilePath, formAndParts) {
    const struct {
        const char *text, *canonical, *segments, *parent;
        bool hasParent;
        const char *name, *extension;
    } cases[] = {
        {"", "", "", "", false, "", ""},
        {"/", "/", "|/", "", false, "/", ""},
        {"///", "/", "|/", "", false, "/", ""},
        {"/test", "/test", "|/|test", "/", true, "test", ""},
        {"/one/two/", "/one/two", "|/|one|two", "/one", true, "two", ""},
        {"/t//f.ext", "/t//f.ext", "|/|t|f.ext", "/t", true, "f.ext", "ext"},
        {"t\\f.ext//", "t/f.ext", "|t|f.ext", "t", false, "f.ext", "ext"},
        {"a.b/c", "a.b/c", "|a.b|c", "a.b", false, "c", "b\\c"},
        {"/\u00dc/\u6b8b.q3p", "/\u00dc/\u6b8b.q3p", "|/|\u00dc|\u6b8b.q3p", "/\u00dc", true,
         "\u6b8b.q3p", "q3p"},
        {"dot.", "dot.", "|dot.", "", false, "dot.", ""},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.text);
        const AM_FilePath path(expected.text);
        std::string segments;
        for (const AM_FilePath segment : path)
            segments += '|' + shown(segment);
        EXPECT_EQ(segments, expected.segments);
        EXPECT_EQ(path.getNumSegments(), std::count(segments.begin(), segments.end(), '|'));
        EXPECT_EQ(shown(path), expected.canonical);
        EXPECT_EQ(path.parent_path(), AM_FilePath(expected.parent));
        EXPECT_EQ(path.has_parent_path(), expected.hasParent);
        EXPECT_EQ(path.filename(), AM_FilePath(expected.name));
        EXPECT_STREQ(path.extension().c_str(), expected.extension);
    }
    EXPECT_STREQ(AM_FilePath("\\test/fest.ext").c_str(), "\\test\\fest.ext");
}

TEST(FilePath, joinsAreNotMadeCanonical) {
    const char* cases[][3] = {{"/a", "b", "/a/b"}, {"/a", "/b", "/a/b"}, {"", "b", "b"},
                              {"", "/b", "/b"},    {"a", "", "a"},       {"/", "b", "/b"},
                              {"/", "/b", "//b"}};
    for (const auto& [left, right, joined] : cases)
        EXPECT_EQ(shown(AM_FilePath(left) / right), joined);
    AM_FilePath held = AM_FilePath("/test/foo.ext") / "/";
    EXPECT_EQ(shown(held), "/test/foo.ext/");
    EXPECT_EQ(shown(held.filename()), "foo.ext");
    EXPECT_EQ(shown(held / "/bar"), "/test/foo.ext//bar");
    const AM_FilePath& itself = held;
    held /= itself;
    EXPECT_EQ(shown(held), "/test/foo.ext//test/foo.ext/");
}

TEST(FilePath, subSegments) {
    const struct {
        i32 first, count;
        const char* expected;
    } cases[] = {{0, 0, ""}, {0, 1, "/"},   {0, 2, "/one"},    {0, 3, "/one/two"},
                 {1, 0, ""}, {1, 1, "one"}, {1, 2, "one/two"}, {3, 9, "three"},
                 {4, 1, ""}, {-1, 1, "/"},  {0, -1, ""}};
    for (const auto& [first, count, expected] : cases)
        EXPECT_EQ(shown(AM_FilePath("/one//two/three").getSubSegments(first, count)), expected);
}

TEST(FilePath, prefixes) {
    const AM_FilePath path("/path/with/prefix");
    for (const char* prefix : {"/path/with/prefix", "/path/with", "/path/", "/path", "/", ""})
        EXPECT_TRUE(path.hasPrefix(prefix)) << prefix;
    for (const char* other : {"/not_path/", "/path/not_with/", "/path/not_with/prefix",
                              "/path/with/prefix/too_long", "/path/wi", "path", "path/with"})
        EXPECT_FALSE(path.hasPrefix(other)) << other;
    const AM_FilePath relative("one/two");
    EXPECT_TRUE(relative.hasPrefix("") && relative.hasPrefix(relative));
    EXPECT_FALSE(relative.hasPrefix("one") || relative.hasPrefix("/") ||
                 AM_FilePath("").hasPrefix("/"));
}

} // namespace
