#include "AM_AGG_Context.h"
#include "AM_Font.h"
#include "AM_Text.h"
#include "AM_TextFonts.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

namespace {
const std::string k_veraFolder = "/usr/share/fonts/truetype/ttf-bitstream-vera/";

// Where there is ink, and how much of it in which column's middle.
struct Ink {
    i32 left = 1 << 20, top = 1 << 20, right = -1, bottom = -1; // of pixels more than half covered
    f64 sum = 0;
    f64 middle = 0;
    std::set<u8> levels;
};
Ink inkOf(AM_Context& c) {
    Ink ink;
    const AM_PixelView view = c.getPixels();
    for (i32 y = 0; y < view.height; ++y)
        for (i32 x = 0; x < view.width; ++x) {
            const u8 alpha = view.row(y)[x * 4 + 3];
            ink.levels.insert(alpha);
            ink.sum += alpha;
            ink.middle += f64(alpha) * x;
            if (alpha < 128) continue;
            ink.left = std::min(ink.left, x);
            ink.right = std::max(ink.right, x);
            ink.top = std::min(ink.top, y);
            ink.bottom = std::max(ink.bottom, y);
        }
    ink.middle /= ink.sum;
    return ink;
}
Ink drawn(const char* text, const AM_Rect& rect, i32 h, i32 v, f32 scale = 1, bool smooth = true,
          f32 size = 14) {
    AM_AGG_Context c(200, 60, scale, false);
    c.setRGBA(0xffffffff);
    c.setFontSize(size);
    c.setAntiAlias(smooth);
    c.drawText(text, rect, h, v);
    return inkOf(c);
}
} // namespace

TEST(ContextText, BaselineAndQuartersOfAPixel) {
    for (const i32 v : {0, 1, 2}) // with and without descenders and ascenders
        EXPECT_EQ(drawn("xxx", {5, 3.3f, 150, 31.7f}, 0, v).bottom,
                  drawn("HHH", {5, 3.3f, 150, 31.7f}, 0, v).bottom);
    const Ink first = drawn("Wave 0.25", {20, 10, 150, 30}, 0, 0);
    EXPECT_GT(first.levels.size(), 20u);
    for (i32 quarter = 1; quarter < 8; ++quarter) {
        const f32 shift = f32(quarter) / 4;
        const Ink moved = drawn("Wave 0.25", {20 + shift, 10, 150, 30}, 0, 0);
        EXPECT_NEAR(moved.middle - first.middle, shift, 0.02);
        EXPECT_NEAR(moved.sum, first.sum, first.sum * 0.01);
        const Ink hard = drawn("Wave 0.25", {20 + shift, 10, 150, 30}, 0, 0, 1, false);
        EXPECT_EQ(hard.levels, (std::set<u8>{0, 255}));
    }
    // A hard stem that is thinner than a pixel is there, wherever it lies.
    for (f32 size = 6; size < 14; size += 0.1f)
        for (const char* stem : {"i", "l", "I", "|"})
            EXPECT_GE(drawn(stem, {20, 10, 150, 30}, 0, 0, 1, false, size).sum, 3 * 255)
                << stem << size;
    // Glyphs that are too large to be kept are drawn alike.
    const Ink large = drawn("l", {20, 0, 150, 60}, 0, 1, 2, true, 49);
    const Ink kept = drawn("l", {20, 0, 150, 60}, 0, 1, 2, true, 47.9f);
    EXPECT_NEAR(large.sum / kept.sum, (49 / 47.9) * (49 / 47.9), 0.03);
    EXPECT_NEAR(large.bottom - large.top, kept.bottom - kept.top, 3);
}

TEST(ContextText, SizesThatTakeTurnsKeepTheirGlyphs) {
    // Each letter is new to a size after the other size was drawn.
    const auto heightOf = [](const char* text, f32 size) {
        const Ink ink = drawn(text, {0, 0, 200, 60}, 0, 0, 1, true, size);
        return f64(ink.bottom - ink.top + 1) / size;
    };
    AM_AGG_Context c(200, 60, 1, false);
    const auto widthOf = [&c](const char* text, f32 size) {
        c.setFontSize(size);
        return f64(c.getTextWidth(text)) / size;
    };
    for (const char* text : {"K", "KV", "KVW", "AVKW"}) {
        EXPECT_NEAR(heightOf(text, 43.25f), 0.73, 0.03) << text;
        EXPECT_NEAR(heightOf(text, 11.75f), 0.73, 0.06) << text;
        EXPECT_NEAR(widthOf(text, 43.25f), widthOf(text, 11.75f), 0.04) << text;
    }
    EXPECT_LT(widthOf("AV", 43.25f), widthOf("A", 43.25f) + widthOf("V", 43.25f) - 0.03);
    EXPECT_EQ(widthOf("AV", 43.25f), widthOf("AV", 43.25f));
}

TEST(ContextText, IsShortenedToTheWidth) {
    AM_AGG_Context c(200, 60, 1.3f, false);
    c.setFontSize(11);
    const char* text = "Gro\xc3\x9f und sch\xc3\xb6n \xe2\x80\x93 concert hall";
    EXPECT_EQ(c.ellipsise(text, c.getTextWidth(text)), text);
    EXPECT_EQ(c.ellipsise("i", 8), std::string("i"));
    for (f32 width = c.getTextWidth(text) - 0.5f; width > 12; width -= 1.5f) {
        const char* shorter = c.ellipsise(text, width);
        const size_t length = std::strlen(shorter);
        EXPECT_LE(c.getTextWidth(shorter), width);
        ASSERT_GE(length, 3u);
        EXPECT_STREQ(shorter + length - 3, "...");
        EXPECT_EQ(std::strncmp(shorter, text, length - 3), 0);
        EXPECT_NE(text[length - 3] & 0xc0, 0x80); // no half characters
        for (size_t i = length; i < 256; ++i)
            ASSERT_EQ(shorter[i], 0);
    }
    const std::string endless(1 << 20, 'W');
    EXPECT_LE(c.getTextWidth(c.ellipsise(endless.c_str(), 1500)), 1500);
    EXPECT_STREQ(c.ellipsise(c.ellipsise(text, 80), 50), c.ellipsise(c.ellipsise(text, 80), 50));
    for (const f32 width : {0.f, -5.f, 0.5f, std::numeric_limits<f32>::quiet_NaN()})
        EXPECT_STREQ(c.ellipsise(text, width), "");
    EXPECT_STREQ(c.ellipsise(nullptr, 50), "");
    // Ink never leaves the rectangle on the right.
    EXPECT_LE(drawn(text, {10, 10, 90, 20}, 0, 0).right, 100);
}

TEST(ContextText, HelperTakesCharactersAndClearsTheRest) {
    struct Row {
        const char* text;
        size_t characters;
        const char* expected;
    };
    const Row rows[] = {{"abcdef", 6, "abcdef"},
                        {"abcdef", 5, "ab..."},
                        {"ab cdef", 6, "ab..."},
                        {"abcdef", 3, "..."},
                        {"abcdef", 1, "."},
                        {"abcdef", 0, ""},
                        {"\xc3\xa4\xc3\xb6\xc3\xbc\xc3\x9f\xc3\xa4", 4, "\xc3\xa4..."},
                        {"abcdefghijklmnop", 16, "abcdefg..."},
                        {"", 5, ""},
                        {nullptr, 5, ""}};
    for (const Row& row : rows) {
        char buffer[11];
        std::memset(buffer, 'x', sizeof buffer);
        const size_t length = AM_STD::ellipsise(buffer, row.text, row.characters);
        EXPECT_STREQ(buffer, row.expected);
        EXPECT_EQ(length, std::strlen(row.expected));
        for (size_t i = length; i < sizeof buffer; ++i)
            EXPECT_EQ(buffer[i], 0);
    }
}

TEST(ContextText, FitsIntoTheRectangle) {
    LogCapture log;
    AM_AGG_Context c(300, 100, 1.3f, false);
    const AM_Rect boxes[] = {{0, 0, 100, 30}, {0, 0, 300, 9}, {0, 0, 20, 90}, {0, 0, 2, 90}};
    for (const AM_Rect& box : boxes)
        for (const char* text : {"A", "Hall", "Concert Hall, far away"}) {
            const f32 size = c.fitFontSize(text, box, 60);
            const bool fits =
                c.getTextWidth(text) <= box.width && c.getFontMetric().height <= box.height;
            EXPECT_TRUE(fits || size == 1) << text << " " << size;
            c.setFontSize(size * 1.12f + 0.5f); // nor is it much too small
            EXPECT_TRUE(size == 60 || c.getTextWidth(text) > box.width ||
                        c.getFontMetric().height > box.height)
                << text << " " << size;
        }
    EXPECT_FALSE(log.has("lots of iterations"));
}

TEST(ContextText, FontsAreFoundInOrder) {
    const auto folder = std::filesystem::path(testing::TempDir()) / "glassmere-fonts";
    std::filesystem::create_directories(folder / "Fonts");
    const auto copy = [&](const char* from, const char* to) {
        std::filesystem::copy_file(k_veraFolder + from, folder / "Fonts" / to,
                                   std::filesystem::copy_options::overwrite_existing);
    };
    copy("VeraMono.ttf", "Panel.ttf");
    copy("VeraBd.ttf", "../Outside.ttf");
    std::ofstream(folder / "Fonts" / "Broken.ttf") << "this is no font";
    AM_TextFonts::setFolders({"", (folder / "none").string(), folder.string()});
    const auto find = [](const char* path, const char* name) {
        return std::filesystem::path(AM_TextFonts::find(path, name)).filename().string();
    };
    EXPECT_EQ(find((k_veraFolder + "VeraIt.ttf").c_str(), "Panel"), "VeraIt.ttf");
    EXPECT_EQ(find("", "Panel"), "Panel.ttf");
    for (const char* name : {"Broken", "../Outside", "unknown", ""})
        EXPECT_EQ(find("/no/such/file.ttf", name), "Vera.ttf") << name;
    // The file is kept in the font, whose size counts.
    AM_AGG_Context c(100, 50, 1, false);
    AM_Font panel("Panel", 20);
    c.setFont(&panel);
    EXPECT_EQ(panel.path, (folder / "Fonts" / "Panel.ttf").string());
    EXPECT_EQ(c.getTextWidth("i"), c.getTextWidth("W")); // a monospaced one
    EXPECT_NEAR(c.getFontMetric().height, 20 * 1.164f, 0.3f);
    LogCapture log;
    c.drawText("\xf0\x9f\x8e\xb5\xff\xc3 x\x01\n", {0, 0, 100, 50}, 0, 0);
    c.drawText("\xe4\xb8\xad", {0, 0, 100, 50}, 0, 0);
    EXPECT_EQ(log.count("no glyph..."), 1);
    AM_TextFonts::setFolders({});
    std::filesystem::remove_all(folder);
}

TEST(ContextText, EditorsOnTwoThreadsShareTheFonts) {
    const auto draw = [](f32 scale) { // in more styles than are kept
        f64 sum = 0;
        for (i32 i = 0; i < 120; ++i)
            sum += drawn("Hall", {3, 3, 150, 30}, i % 3, 1, scale, i % 2, f32(8 + i % 90)).sum;
        return sum;
    };
    const f64 one = draw(1), two = draw(2);
    f64 same = 0;
    std::thread other([&] { same = draw(2); });
    EXPECT_EQ(draw(1), one);
    other.join();
    EXPECT_EQ(same, two);
}
