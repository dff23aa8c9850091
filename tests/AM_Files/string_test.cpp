#include "AM_Assert.h"
#include "AM_String.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

template <class F>
std::string assertionOf(F&& misuse) {
    try {
        misuse();
    } catch (const AM_AssertionError& error) {
        return error.what();
    }
    return {};
}

TEST(String, convertsBothWays) {
    const struct {
        std::string utf8;
        std::u16string wide;
    } cases[] = {{"", u""},
                 {"plain", u"plain"},
                 {"Gr\u00fc\u00dfe", u"Gr\u00fc\u00dfe"},
                 {"\u6b8b\u97ff \U0001F3B9", u"\u6b8b\u97ff \U0001F3B9"},
                 {"a\0b"s, u"a\0b"s}};
    for (const auto& [utf8, wide] : cases) {
        const AM_String narrow{std::string_view(utf8)};
        EXPECT_EQ(narrow.wide(), wide);
        EXPECT_EQ(narrow.utf8(), utf8);
        EXPECT_EQ(narrow.length(), static_cast<i32>(wide.size()));
        EXPECT_EQ(narrow.isEmpty(), wide.empty());
        EXPECT_EQ(narrow, AM_String(std::u16string_view(wide)));
    }
    EXPECT_TRUE(AM_String(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_NE(AM_String("a"), AM_String("A"));
}

TEST(String, replacesWhatIsBroken) {
    const std::pair<const char*, const char16_t*> bytes[] = {
        {"a\xffz", u"a\ufffdz"},                 // no lead byte
        {"\x80z", u"\ufffdz"},                   // a tail without a head
        {"\xc3z", u"\ufffdz"},                   // a head without a tail, and the z is kept
        {"\xc0\xaf", u"\ufffd\ufffd"},           // "/" in two bytes
        {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd"}, // half a pair
        {"\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"}, // behind U+10FFFF
        {"z\xf0\x9f\x8e", u"z\ufffd\ufffd\ufffd"}};        // cut off
    for (const auto& [broken, expected] : bytes)
        EXPECT_EQ(AM_String(broken).wide(), expected);
    const std::u16string units = {u'a', 0xDC00, 0xD800, u'b', 0xD801};
    const AM_String mended{std::u16string_view(units)};
    EXPECT_EQ(mended.wide(), u"a\ufffd\ufffdb\ufffd");
    EXPECT_STREQ(mended.c_str(), "a\ufffd\ufffdb\ufffd");
}

TEST(String, copiesWholeCharactersAndCuts) {
    const AM_String text("a\u00fc\U0001F3B9z"); // 1, 2, 4 and 1 bytes; 1, 1, 2 and 1 units
    const i32 bytesThatFit[] = {0, 1, 1, 3, 3, 3, 3, 7, 8, 8};
    const i32 unitsThatFit[] = {0, 1, 2, 2, 4, 5, 5};
    for (i32 capacity = 1; capacity <= 10; ++capacity) {
        std::string bytes(static_cast<size_t>(capacity), '#');
        const i32 copied = text.copyToBuffer(bytes.data(), capacity);
        EXPECT_EQ(copied, bytesThatFit[capacity - 1]);
        EXPECT_EQ(bytes.c_str(), text.utf8().substr(0, static_cast<size_t>(copied)));
    }
    for (i32 capacity = 1; capacity <= 7; ++capacity) {
        std::u16string units(static_cast<size_t>(capacity), u'#');
        const i32 copied = text.copyToBuffer(units.data(), capacity);
        EXPECT_EQ(copied, unitsThatFit[capacity - 1]);
        EXPECT_EQ(units.c_str(), text.wide().substr(0, static_cast<size_t>(copied)));
    }
    EXPECT_STREQ(text.substring(2).c_str(), "\U0001F3B9z");
    EXPECT_STREQ(text.substring(3).c_str(), "\ufffdz");
    EXPECT_STREQ(text.substring(1, 1).c_str(), "\u00fc");
    EXPECT_TRUE(text.substring(5, 7).isEmpty());
}

TEST(String, assertsMisuse) {
    const AM_String none = AM_String::invalid();
    const AM_String text("four");
    char buffer[8];
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(none, AM_String::invalid());
    EXPECT_NE(none, AM_String());
    EXPECT_EQ(assertionOf([&] { none.length(); }), "string not valid");
    EXPECT_EQ(assertionOf([&] { none.c_str(); }), "string not valid");
    EXPECT_EQ(assertionOf([&] { text.substring(-1); }), "illegal Position");
    EXPECT_EQ(assertionOf([&] { text.substring(0, -1); }), "illegal Position");
    EXPECT_EQ(assertionOf([&] { text.substring(5); }), "length() >= StartCharacter");
    EXPECT_EQ(assertionOf([&] { text.copyToBuffer(buffer, 0); }), "parameter error");
    EXPECT_EQ(assertionOf([&] { text.copyToBuffer(static_cast<char*>(nullptr), 8); }),
              "parameter error");
}

} // namespace
