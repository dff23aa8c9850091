#include "AM_Assert.h"
#include "AM_String.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

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

template <class Text>
void copiesWhole(const AM_String& source, const Text& whole, std::initializer_list<i32> fitting) {
    i32 capacity = 0;
    for (const i32 expected : fitting) {
        Text buffer(static_cast<size_t>(++capacity), '#');
        EXPECT_EQ(source.copyToBuffer(buffer.data(), capacity), expected);
        EXPECT_EQ(buffer.c_str(), whole.substr(0, static_cast<size_t>(expected)));
    }
}

TEST(String, copiesWholeCharactersAndCuts) {
    const AM_String text("a\u00fc\U0001F3B9z"); // 1, 2, 4 and 1 bytes; 1, 1, 2 and 1 units
    copiesWhole(text, text.utf8(), {0, 1, 1, 3, 3, 3, 3, 7, 8, 8});
    copiesWhole(text, text.wide(), {0, 1, 2, 2, 4, 5, 5});
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
    const std::pair<std::function<void()>, const char*> misuses[] = {
        {[&] { none.length(); }, "string not valid"},
        {[&] { none.c_str(); }, "string not valid"},
        {[&] { text.substring(-1); }, "illegal Position"},
        {[&] { text.substring(0, -1); }, "illegal Position"},
        {[&] { text.substring(5); }, "length() >= StartCharacter"},
        {[&] { text.copyToBuffer(buffer, 0); }, "parameter error"}};
    for (const auto& [misuse, assertion] : misuses) {
        try {
            misuse();
            ADD_FAILURE() << assertion;
        } catch (const AM_AssertionError& error) {
            EXPECT_STREQ(error.what(), assertion);
        }
    }
}

} // namespace
