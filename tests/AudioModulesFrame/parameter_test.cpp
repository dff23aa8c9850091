// Parameter records and the texts of values.
#include "AM_Assert.h"
#include "AM_Parameter.h"
#include "AM_ValueToString.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

// Knows one parameter, number 3.
struct Provider : AM_IParameterProvider {
    const ParameterInfo* getParameterRecord(i32 id) override { return id == 3 ? &row : nullptr; }
    const char* getParameterOwnerName(i32 id) override { return id == 3 ? "Delay" : nullptr; }
    bool wantsDetailedValues() override { return detailed; }

    ParameterInfo row{"FB", "Feedback", k_float, 0, 100, 50};
    bool detailed = false;
};

std::string show(const char* display, u32 kind, f32 value,
                 AM_IParameterProvider* context = nullptr) {
    const auto family = AM_makeValueToStrings();
    const ParameterInfo row("x", "x", kind, 0, 100, 0);
    char text[k_valueTextSize] = "untouched";
    family->find(display)->valueToString(context, &row, &value, text, sizeof text);
    return text;
}

} // namespace

TEST(ParameterInfo, NamesFillTheirFieldsAndSourcesAreChecked) {
    const ParameterInfo row("12345678overlong", std::string(70, 'x').c_str(), k_float, 0, 1, 0);
    char name[9];
    row.copyShortName(name);
    EXPECT_STREQ(name, "12345678");
    for (const char* other : {"1234567", "123456789"})
        EXPECT_TRUE(row.hasShortName("12345678") && !row.hasShortName(other));
    EXPECT_EQ(row.longName[59], 'x');
    ParameterInfo table[2];
    ParameterInfo("a", "a", k_integer, 0, 1, 0).withFlags(k_flagModSource).storeTo(table[0]);
    EXPECT_TRUE(table[0].hasShortName("a"));
    const ParameterInfo wrong = ParameterInfo("b", "b", k_float, 0, 1, 0).withFlags(0x10);
    LogCapture log;
    EXPECT_THROW(wrong.storeTo(table[1]), AM_AssertionError);
    EXPECT_EQ(log.count("ModSources must be integers!"), 1);
    EXPECT_TRUE(table[1].hasShortName(""));
}

TEST(ValueToString, EachClassShowsItsUnit) {
    const struct {
        const char* display;
        u32 kind;
        std::vector<std::pair<f32, const char*>> texts;
    } cases[] = {
        {"plain", k_integer, {{3.9f, "3"}, {-3.9f, "-3"}}},
        {"plain", k_float, {{1.006f, "1.01"}}},
        {"plain", k_metaSource, {{-1, "-1.00"}}},
        {"plain", k_meter, {{1, "unknown value"}}},
        {"plain", k_reference, {{-1.5f, "none"}, {3, "untouched"}}},
        {"ratio", k_integer, {{3.5f, "4:1"}}},
        {"ratio", k_float, {{12.4f, "12 : 1"}, {2.54f, "2.5 : 1"}, {1.256f, "1.26 : 1"}}},
        {"hertz", k_integer, {{999.6f, "1.00kHz"}, {440, "440Hz"}}},
        {"hertz",
         k_float,
         {{1500, "1.50kHz"}, {100, "100Hz"}, {10, "10.0Hz"}, {9.996f, "10.00Hz"}}},
        {"msec", k_integer, {{1000, "1.00s"}, {999.4f, "999ms"}}},
        {"msec", k_float, {{1, "1.0ms"}, {0.5f, "0.50ms"}, {250, "250ms"}}},
        {"percent", k_float, {{50, "50%"}, {9.5f, "9.5%"}}},
        {"percent", k_integer, {{9.5f, "10%"}}},
        {"percent", k_meter, {{1, "unknown value"}}},
        {"mix", k_float, {{25, "75 : 25"}}},
        {"mix", k_integer, {{24.6f, "75 : 25"}}},
        {"balance", k_float, {{50, "100 : 100"}, {75, "50 : 100"}}},
        {"dbval", k_integer, {{-5.5f, "-5dB"}}},
        {"dbval", k_float, {{-100, "-100dB"}, {-99.9f, "-99.9dB"}, {-0.25f, "-0.25dB"}}},
        {"ips", k_integer, {{15, "15dB"}}},
        {"ips", k_float, {{50, "50ips"}, {15, "15.0ips"}, {7.5f, "7.50ips"}}},
        {"empty", k_float, {{1, ""}}},
        {"empty", k_complex, {{1, "unknown value"}}},
    };
    for (const auto& [display, kind, texts] : cases)
        for (const auto& [value, text] : texts)
            EXPECT_EQ(show(display, kind, value), text) << display << " " << value;
}

TEST(ValueToString, DetailedTextsAndReferencesComeFromTheContext) {
    Provider provider;
    EXPECT_EQ(show("plain", k_reference, 3, &provider), "Delay: Feedback");
    EXPECT_EQ(show("plain", k_reference, 4, &provider), "untouched");
    EXPECT_EQ(show("percent", k_float, 50, &provider), "50%");
    provider.detailed = true;
    EXPECT_EQ(show("percent", k_float, 50, &provider), "50.00%");
    EXPECT_EQ(show("mix", k_float, 25, &provider), "75.00 : 25.00");
    EXPECT_EQ(show("balance", k_float, 75, &provider), "50.0 : 100.0");
    EXPECT_EQ(show("mix", k_integer, 25, &provider), "75 : 25");
}

TEST(ValueToString, SurvivesOddValuesSmallBuffersAndLocales) {
    const f32 inf = std::numeric_limits<f32>::infinity();
    EXPECT_EQ(show("plain", k_integer, inf), "2147483647");
    EXPECT_EQ(show("plain", k_integer, -inf), "-2147483648");
    EXPECT_EQ(show("plain", k_integer, std::nanf("")), "0");

    const ParameterInfo row("x", "x", k_float, 0, 100, 0);
    const f32 value = 50;
    char small[4] = "abc";
    for (const ParameterInfo* shown : {&row, static_cast<const ParameterInfo*>(nullptr)}) {
        AM_DBValueToStringObject().valueToString(nullptr, shown, &value, small, sizeof small);
        EXPECT_STREQ(small, "50.");
    }

    std::setlocale(LC_ALL, "de_DE.UTF-8"); // where the system has it
    EXPECT_EQ(show("plain", k_float, 1.5f), "1.50");
    std::setlocale(LC_ALL, "C");
}

TEST(ValueToString, Buttons) {
    const AM_BtnValueToStringObject button("switch", "Off", "On");
    const ParameterInfo row("x", "x", k_integer, 0, 1, 0);
    for (const auto& [value, expected] : {std::pair{0.9f, "Off"}, {1.0f, "On"}}) {
        char text[16];
        button.valueToString(nullptr, &row, &value, text, sizeof text);
        EXPECT_STREQ(text, expected);
    }
}
