// Parameter records and the texts of values.
#include "AM_Assert.h"
#include "AM_Parameter.h"
#include "AM_ValueToString.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace {

// Knows one parameter, number 3.
class Provider : public AM_IParameterProvider {
public:
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

TEST(ParameterInfo, NamesFillTheirFieldsWithoutTerminator) {
    const ParameterInfo row("12345678overlong", std::string(70, 'x').c_str(), k_float, 0, 1, 0);
    char name[9];
    row.copyShortName(name);
    EXPECT_STREQ(name, "12345678");
    EXPECT_TRUE(row.hasShortName("12345678"));
    EXPECT_FALSE(row.hasShortName("1234567"));
    EXPECT_FALSE(row.hasShortName("123456789"));
    EXPECT_EQ(row.longName[59], 'x');
    EXPECT_EQ(row.owner, -1);
    EXPECT_EQ(row.skew, 0.5f);
}

TEST(ParameterInfo, ModulationSourcesMustBeIntegers) {
    ParameterInfo table[2];
    ParameterInfo("a", "a", k_integer, 0, 1, 0).withFlags(k_flagModSource).storeTo(table[0]);
    EXPECT_TRUE(table[0].hasShortName("a"));
    const ParameterInfo wrong = ParameterInfo("b", "b", k_float, 0, 1, 0).withFlags(0x10);
    try {
        wrong.storeTo(table[1]);
        FAIL();
    } catch (const AM_AssertionError& error) {
        EXPECT_STREQ(error.what(), "ModSources must be integers!");
    }
    EXPECT_TRUE(table[1].hasShortName(""));
}

TEST(ParameterInfo, LookalikeOfAMeterIsWritable) {
    EXPECT_TRUE(ParameterInfo("a", "a", k_meter, 0, 1, 0).isMeter());
    EXPECT_FALSE(ParameterInfo("a", "a", k_floatPlain, 0, 1, 0).isMeter());
    EXPECT_TRUE(ParameterInfo("a", "a", k_complexText, 0, 1, 0).isComplex());
    EXPECT_TRUE(ParameterInfo("a", "a", k_reference, 0, 1, 0).isWholeNumber());
}

TEST(ValueToString, EachClassShowsItsUnit) {
    struct Case {
        const char* display;
        u32 kind;
        f32 value;
        const char* text;
    };
    const Case cases[] = {
        {"plain", k_integer, 3.9f, "3"},
        {"plain", k_integer, -3.9f, "-3"},
        {"plain", k_float, 1.006f, "1.01"},
        {"plain", k_metaSource, -1, "-1.00"},
        {"plain", k_meter, 1, "unknown value"},
        {"plain", k_reference, -1.5f, "none"},
        {"plain", k_reference, 3, "untouched"},
        {"ratio", k_integer, 3.5f, "4:1"},
        {"ratio", k_float, 12.4f, "12 : 1"},
        {"ratio", k_float, 2.54f, "2.5 : 1"},
        {"ratio", k_float, 1.256f, "1.26 : 1"},
        {"hertz", k_integer, 999.6f, "1.00kHz"},
        {"hertz", k_integer, 440, "440Hz"},
        {"hertz", k_float, 1500, "1.50kHz"},
        {"hertz", k_float, 100, "100Hz"},
        {"hertz", k_float, 10, "10.0Hz"},
        {"hertz", k_float, 9.996f, "10.00Hz"},
        {"msec", k_integer, 1000, "1.00s"},
        {"msec", k_integer, 999.4f, "999ms"},
        {"msec", k_float, 1, "1.0ms"},
        {"msec", k_float, 0.5f, "0.50ms"},
        {"msec", k_float, 250, "250ms"},
        {"percent", k_float, 50, "50%"},
        {"percent", k_float, 9.5f, "9.5%"},
        {"percent", k_integer, 9.5f, "10%"},
        {"percent", k_meter, 1, "unknown value"},
        {"mix", k_float, 25, "75 : 25"},
        {"mix", k_integer, 24.6f, "75 : 25"},
        {"balance", k_float, 50, "100 : 100"},
        {"balance", k_float, 75, "50 : 100"},
        {"dbval", k_integer, -5.5f, "-5dB"},
        {"dbval", k_float, -100, "-100dB"},
        {"dbval", k_float, -99.9f, "-99.9dB"},
        {"dbval", k_float, -0.25f, "-0.25dB"},
        {"ips", k_integer, 15, "15dB"},
        {"ips", k_float, 50, "50ips"},
        {"ips", k_float, 15, "15.0ips"},
        {"ips", k_float, 7.5f, "7.50ips"},
        {"empty", k_float, 1, ""},
        {"empty", k_complex, 1, "unknown value"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(show(c.display, c.kind, c.value), c.text) << c.display << " " << c.value;
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
    AM_DBValueToStringObject display;
    display.valueToString(nullptr, &row, &value, small, sizeof small);
    EXPECT_STREQ(small, "50.");
    display.valueToString(nullptr, nullptr, &value, small, sizeof small);
    EXPECT_STREQ(small, "50.");

    std::setlocale(LC_ALL, "de_DE.UTF-8"); // where the system has it
    EXPECT_EQ(show("plain", k_float, 1.5f), "1.50");
    std::setlocale(LC_ALL, "C");
}

TEST(ValueToString, ButtonsAndNames) {
    const AM_BtnValueToStringObject button("switch", "Off", "On");
    const ParameterInfo row("x", "x", k_integer, 0, 1, 0);
    char text[16];
    f32 value = 0.9f;
    button.valueToString(nullptr, &row, &value, text, sizeof text);
    EXPECT_STREQ(text, "Off");
    value = 1;
    button.valueToString(nullptr, &row, &value, text, sizeof text);
    EXPECT_STREQ(text, "On");
    EXPECT_STREQ(AM_ValueToStringObject().getName(), "noSetATValueToStringObject");
    EXPECT_EQ(AM_makeValueToStrings()->find("decibel"), nullptr);
}
