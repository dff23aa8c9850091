// What hosts save in projects and draw in their own editors: the list of parameters, frozen in
// parameters.txt, and how values and texts become each other.
#include "pluginterfaces/vst/ivstmidicontrollers.h"
#include "pluginterfaces/vst/ivstunits.h"
#include "TestInstance.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr u32 k_firstMidi = 200000;
constexpr u32 k_midiEnd = 202080;

// All of a line but the id; the default as short as it is read back the same.
std::string described(const ParameterInfo& info) {
    char value[40] = {};
    std::to_chars(value, value + sizeof value, info.defaultNormalizedValue);
    std::ostringstream line;
    line << toUtf8(info.title) << " | " << toUtf8(info.shortTitle) << " | " << toUtf8(info.units)
         << " | " << info.stepCount << " | " << value << " | " << info.unitId << " | " << info.flags
         << '\n';
    return line.str();
}

// One line a parameter; those of MIDI, alike and numbered through, are one line together.
std::string parameterLines(const std::vector<ParameterInfo>& list) {
    std::ostringstream text;
    for (size_t i = 0; i < list.size(); ++i) {
        const size_t first = i;
        const auto follows = [&](size_t at) {
            return at < list.size() && list[at].id < k_midiEnd && list[first].id >= k_firstMidi &&
                   list[at].id == list[first].id + (at - first) &&
                   described(list[at]) == described(list[first]);
        };
        text << list[i].id;
        while (follows(i + 1))
            ++i;
        if (i > first) text << '-' << list[i].id;
        text << " | " << described(list[i]);
    }
    return text.str();
}

std::string unitLines(IUnitInfo& units) {
    std::ostringstream text;
    UnitInfo unit;
    for (i32 i = 0; i < units.getUnitCount() && units.getUnitInfo(i, unit) == kResultOk; ++i)
        text << "unit " << unit.id << " | " << toUtf8(unit.name) << " | " << unit.parentUnitId
             << " | " << unit.programListId << '\n';
    ProgramListInfo list;
    for (i32 i = 0; i < units.getProgramListCount(); ++i) {
        if (units.getProgramListInfo(i, list) != kResultOk) break;
        text << "programs " << list.id << " | " << toUtf8(list.name) << '\n';
        for (i32 program = 0; program < list.programCount; ++program) {
            String128 name{};
            units.getProgramName(list.id, program, name);
            text << "program " << program << " | " << toUtf8(name) << '\n';
        }
    }
    return text.str();
}

class Parameters : public testing::Test {
protected:
    f64 plain(ParamID id, f64 value) {
        return instance.controller()->normalizedParamToPlain(id, value);
    }
    f64 normalised(ParamID id, f64 value) {
        return instance.controller()->plainParamToNormalized(id, value);
    }
    std::string text(ParamID id, f64 value) {
        String128 chars{};
        EXPECT_EQ(instance.controller()->getParamStringByValue(id, value, chars), kResultOk) << id;
        return toUtf8(chars);
    }
    tresult parse(ParamID id, const char* string, f64& value) {
        String wide(string);
        wide.toWideString();
        return instance.controller()->getParamValueByString(id, const_cast<TChar*>(wide.text16()),
                                                            value);
    }
    // Those of the parameter table that are numbers.
    std::vector<ParameterInfo> numbers() {
        std::vector<ParameterInfo> list = instance.parameters();
        std::erase_if(list, [](const ParameterInfo& info) {
            return info.id >= k_firstMidi || (info.flags & ParameterInfo::kIsHidden) != 0;
        });
        return list;
    }

    const TestModule module{GLASSMERE_BUNDLE};
    TestInstance instance{module};
};

} // namespace

TEST_F(Parameters, AreTheFrozenList) {
    const std::string found =
        parameterLines(instance.parameters()) + unitLines(*instance.controllerAs<IUnitInfo>());
    std::stringstream expected;
    expected << std::ifstream(GLASSMERE_PARAMETERS).rdbuf();
    EXPECT_EQ(found, expected.str()) << "Projects rest on parameters.txt.";
    for (const ParameterInfo& info : instance.parameters())
        text(info.id, 1.0); // hidden ones too
}

TEST_F(Parameters, MapMidiWithTheirOwnStride) {
    const auto mapping = instance.controllerAs<IMidiMapping>();
    ASSERT_TRUE(mapping);
    const struct {
        i32 bus;
        int16 channel, controller;
        u32 id;
    } cases[] = {{0, 0, 7, 200007},  {0, 0, 129, 200129},  {0, 1, 0, 200128}, {0, 1, 2, 200130},
                 {0, 15, 0, 201920}, {0, 15, 127, 202047}, {3, 0, 7, 200007}};
    for (const auto& [bus, channel, controller, expected] : cases) {
        ParamID id = kNoParamId;
        EXPECT_EQ(mapping->getMidiControllerAssignment(bus, channel, controller, id), kResultOk);
        EXPECT_EQ(id, expected) << channel << ' ' << controller;
    }
}

// Plain values are linear over a row's range, in single precision; whole numbers have as many steps
// as their range is wide.
TEST_F(Parameters, AreConvertedShownAndRead) {
    for (const ParameterInfo& info : numbers()) {
        SCOPED_TRACE(toUtf8(info.title));
        const f64 low = plain(info.id, 0.0);
        const f64 high = plain(info.id, 1.0);
        if (low == high) {
            EXPECT_EQ(plain(info.id, 0.7), low);
            EXPECT_EQ(info.defaultNormalizedValue, 0.0);
        }
        EXPECT_TRUE(info.stepCount == 0 || info.stepCount == static_cast<i32>(high - low));
        for (const f64 value : {0.0, 0.25, 0.3, 1.0}) {
            const f64 shown = plain(info.id, value);
            EXPECT_NEAR(shown, low + (high - low) * value, std::abs(high - low) * 1e-6);
            EXPECT_NEAR(normalised(info.id, shown), low == high ? 0.0 : value, 1e-6);
            char expected[64];
            std::snprintf(expected, sizeof expected, "%.2f", shown); // in the C locale
            const std::string found = text(info.id, value);
            EXPECT_EQ(found, std::string(expected).substr(0, 33));
            f64 read = -1.0;
            ASSERT_EQ(parse(info.id, found.c_str(), read), kResultOk) << found;
            EXPECT_NEAR(plain(info.id, read), shown, 0.005 + std::abs(shown) * 1e-6);
        }
        f64 kept = 0.625;
        for (const char* nonsense : {"", "loud", "."})
            EXPECT_NE(parse(info.id, nonsense, kept), kResultOk) << nonsense;
        EXPECT_EQ(kept, 0.625);
    }
}
