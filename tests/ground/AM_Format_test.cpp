#include "AM_Format.h"
#include "LogCapture.h"

#include <cfloat>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

template <class... A>
std::string format(const char* text, const A&... args) {
    char target[4096];
    const i32 length = AM_STD::sprintv(target, sizeof target, text, args...);
    EXPECT_EQ(strlen(target), static_cast<size_t>(length));
    return target;
}

TEST(Format, integersAndNotes) {
    EXPECT_EQ(format("%d|%d|%u", INT32_MIN, INT32_MAX, UINT32_MAX),
              "-2147483648|2147483647|4294967295");
    EXPECT_EQ(format("%d %u %X", UINT32_MAX, -1, -1), "-1 4294967295 FFFFFFFF"); // 32-bit codes
    EXPECT_EQ(format("%x %X %x", 0xab, 0xABCDEFu, 0), "ab ABCDEF 0");
    EXPECT_EQ(format("%d %u", INT64_MIN, UINT64_MAX), "-9223372036854775808 18446744073709551615");
    enum class Mode : u8 { kFirst, kSecond };
    EXPECT_EQ(format("%d%d%d", true, Mode::kSecond, short{-7}), "11-7");
    EXPECT_EQ(format("[%c%c%c]", 'a', 0, 0x62), "[ab]");
    EXPECT_EQ(format("%d%%", 50), "50%");
    EXPECT_EQ(format("%M %M %M %m %M %M", 60, 61, 127, 58, 0, -1), "C3 C#3 G8 a#2 C-2 B-3");
}

TEST(Format, floats) {
    EXPECT_EQ(format("%f", 1.5f), "1.500000");
    EXPECT_EQ(format("%.0f %.f %.1f %.2f", 2.5, 3.5, 0.25, -0.005), "2 4 0.2 -0.01");
    EXPECT_EQ(format("%f %f %f %.1f", HUGE_VAL, -HUGE_VAL, -std::nan(""), -0.0),
              "inf -inf nan -0.0");
    char expected[4096];
    snprintf(expected, sizeof expected, "%f %.1074f", DBL_MAX, -DBL_TRUE_MIN);
    EXPECT_EQ(format("%f %.99999999999f", DBL_MAX, -DBL_TRUE_MIN), expected);
    // The host may set any locale.
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(format("%.2f", 0.5), "0.50");
    std::setlocale(LC_ALL, "C");
}

TEST(Format, textsAndPointers) {
    const char* none = nullptr;
    EXPECT_EQ(format("<%s|%s|%s>", "text", std::string("string"), none), "<text|string|(null)>");
    const char unterminated[4] = {'n', 'a', 'm', 'e'};
    EXPECT_EQ(format("%s:%s:%d", unterminated, "", 3), "name::3");
    EXPECT_EQ(format("%v %v", reinterpret_cast<void*>(0xBEEF), nullptr), "0xbeef 0x0");
    EXPECT_EQ(format("%S|%S|%S", L"Gr\u00fc\u20ac", u"\U0001F3B5", U"\U0001F3B5"),
              "Gr\u00fc\u20ac|\U0001F3B5|\U0001F3B5");
    EXPECT_EQ(format("%S", u"\xD800x"), "\uFFFDx"); // half a pair
    EXPECT_EQ(format("[%S]", std::u32string(10000, U'a').c_str()).size(), 4095u);
    EXPECT_EQ(format("[%S%S]", std::u32string(10001, U'a').c_str(), L""), "[]");
    const f32 rect[4] = {1, -2.5f, 300, 0};
    EXPECT_EQ(format("%R %R", rect, nullptr), "[1.000000, -2.500000, 300.000000, 0.000000] [NULL]");
}

TEST(Format, capacityHoldsAndTerminates) {
    char target[8];
    for (size_t capacity = 0; capacity <= sizeof target; ++capacity) {
        memset(target, '#', sizeof target);
        const i32 length = AM_STD::sprintv(target, capacity, "%s%f%M", "ab", 1e300, 61);
        EXPECT_EQ(static_cast<size_t>(length), capacity == 0 ? 0 : capacity - 1);
        for (size_t i = capacity; i < sizeof target; ++i)
            EXPECT_EQ(target[i], '#');
        EXPECT_TRUE(capacity == 0 || target[capacity - 1] == 0);
    }
    EXPECT_EQ(AM_STD::sprintv(target, 3, "%S", L"a\u20ac"), 1); // no half characters
}

TEST(Format, mismatchesAreLoggedAndFormattingGoesOn) {
    LogCapture log;
    EXPECT_EQ(format("%.3d-%d", 1, 2) + format("%.-2f-%d", 1.0, 2), "-2-2");
    EXPECT_EQ(format("%.12") + format("%q %d %", 3), "%q 3 %");
    EXPECT_EQ(log.take(), Lines(5, "format mismatch error"));

    EXPECT_EQ(format("%d %f %s %R", 1.0, 1, 2, "three"), "0 0.000000 (null) [NULL]");
    EXPECT_EQ(log.take(), (Lines{"Error in getNextInt", "Error in getNextDouble",
                                 "Error in getNextPtr", "Error in getNextPtr"}));
    // 8-bit and wide text are told apart, and a plain pointer is no text.
    EXPECT_EQ(format("%s%S%s", L"wide", "narrow", static_cast<const void*>("x")),
              "(null)(null)(null)");
    EXPECT_EQ(log.take(), Lines(3, "Error in getNextPtr"));
    EXPECT_EQ(format("%X", u64{0x123456789A}), "123456789A");
    EXPECT_EQ(log.take(), Lines{"ItoX unusual long - 10"});

    char target[4] = "abc";
    EXPECT_EQ(AM_STD::sprintv(target, sizeof target, nullptr), 0);
    EXPECT_STREQ(target, "");
    EXPECT_EQ(AM_STD::sprintv(nullptr, 10, "text"), 0);
    AM_Log(nullptr);
    EXPECT_EQ(log.take(), (Lines{"AM_STD::sprintv format NULL", "AM_STD::sprintv target NULL",
                                 "AM_STD::sprintv format NULL"}));
}

TEST(Format, shortAndOverlongRows) {
    LogCapture log;
    EXPECT_EQ(format("%d %f %s %d", 1), "1 0.000000 (null) 0");
    EXPECT_EQ(log.take().size(), 3u);
    AM_Arguments row;
    std::string codes;
    for (u32 i = 0; i < AM_Arguments::k_capacity - 1; ++i) {
        row.add(i % 10);
        codes += "%d";
    }
    row.add("needs two places");
    row.add(7);
    char target[256];
    AM_STD::sprintv(target, sizeof target, (codes + "%s%d").c_str(), row);
    EXPECT_EQ(std::string(target).substr(80), "01234567(null)0");
    EXPECT_EQ(log.take(), (Lines{"Error in getNextPtr", "Error in getNextInt"}));
}

} // namespace
