#include "AM_StateLines.h"
#include "AM_StateText.h"

#include <gtest/gtest.h>

#include <random>

namespace {

std::string walk(std::string_view text) {
    AM_StateLines lines(text);
    std::string all;
    for (std::string_view line; lines.next(&line);)
        all += std::to_string(lines.getNumber()) + ':' + std::string(line) + '|';
    return lines.isAtDollar() ? all + '$' : all;
}

TEST(StateLines, DropBlanksAndCommentsOutsideQuotes) {
    const struct {
        const char* text;
        const char* lines;
    } cases[] = {
        {"", ""},
        {"FB=50", "1:FB=50|"},
        {"FB=50\n\n \t\nDry = 1 0\t\t\t// Dry\n", "1:FB=50|4:Dry=10|"},
        {"A=1//x\nB=2/*y\n\nz*/3\nC=/4\n", "1:A=1|4:B=23|5:C=/4|"},
        {"/* open\nA=1", ""},
        {"A=' x\ty '\nB=' //a/*b*/$ '\n", "1:A=' x\ty '|2:B=' //a/*b*/$ '|"},
        {"A='open\nB = 2", "1:A='open|2:B=2|"},
        {"A='it''s  $'\n", "1:A='it''s  $'|"},
        {"A=1\r\nB='x'\r\n", "1:A=1|2:B='x'|"},
        {"A=1\nB$=2\n", "1:A=1|2:B|$"},
        {"$", "$"},
        {"#pgm=Cash $5 /* 'n' //\nA=1\n", "2:A=1|"},
        {"A=1\n#pgm=$", "1:A=1|"},
        {"x#pgm=$", "1:x#pgm=|$"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(walk(c.text), c.lines) << c.text;
    EXPECT_EQ(walk(std::string_view("A=1\0B=2", 7)), "1:A=1|");
    const std::string cut = walk("A=" + std::string(300, 'x') + "\nB=1");
    EXPECT_EQ(cut, "1:A=" + std::string(249, 'x') + "|2:B=1|");
}

TEST(StateText, ComesBackAsItWas) {
    std::mt19937 random(5);
    const std::string_view nasty = "ab'\\*/$#0A \n\t\x01\x7f\xc3\xa4\xe2\x82\xac";
    for (i32 i = 0; i < 20000; ++i) {
        std::string text;
        for (u32 n = random() % 12; n > 0; --n)
            text += random() % 4 ? nasty[random() % nasty.size()]
                                 : static_cast<char>(1 + random() % 255);
        const std::string quoted = AM_quoteText(text);
        ASSERT_EQ(AM_unquoteText(quoted), text);
        const std::string source = "N=" + quoted + "\nB=1\n";
        AM_StateLines kept(source);
        std::string_view line;
        ASSERT_TRUE(kept.next(&line));
        ASSERT_EQ(line, "N=" + quoted);

        const std::string meta = AM_escapeMeta(text);
        ASSERT_EQ(meta.find("*/"), meta.npos);
        ASSERT_EQ(AM_escapeMeta(AM_unescapeMeta(meta)), meta);
    }
    EXPECT_EQ(AM_unescapeMeta(AM_escapeMeta("a\\'b*/c\\\n")), "a\\'b*/c\\\n");
    // Quotes as others may have left them.
    EXPECT_EQ(AM_unquoteText("'BOB'S'"), "BOB'S");
    EXPECT_EQ(AM_unquoteText("'open"), "open");
    EXPECT_EQ(AM_unquoteText("bare"), "bare");
    EXPECT_EQ(AM_unquoteText("''"), "");
}

TEST(StateText, NumbersAndCutsHoldTheirLimits) {
    EXPECT_EQ(AM_parseNumber("-50.25"), -50.25f);
    EXPECT_EQ(AM_parseNumber("+1e2"), 100.0f);
    for (const char* text : {"", "nan", "inf", "1,5", "5x", "+-5", "0x10", "1e99"})
        EXPECT_EQ(AM_parseNumber(text), std::nullopt) << text;
    EXPECT_EQ(AM_parseWhole("10000", 16), 0x10000);
    EXPECT_EQ(AM_parseWhole("99999999999999999999"), -1);
    EXPECT_EQ(AM_parseWhole("-1"), -1);
    const std::string euro = "a\xe2\x82\xac";
    EXPECT_EQ(AM_truncateUtf8(euro, 4), euro);
    EXPECT_EQ(AM_truncateUtf8(euro, 3), "a");
    EXPECT_EQ(AM_truncateUtf8(euro, 0), "");
    EXPECT_EQ(AM_truncateUtf8("\x80\x80\x80\x80\x80\x80", 5).size(), 2u);
    EXPECT_TRUE(AM_sameWithoutBlanks("all modules", "allmodules "));
    EXPECT_FALSE(AM_sameWithoutBlanks("all", "alls"));
}

} // namespace
