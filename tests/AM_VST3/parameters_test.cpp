// What hosts save in projects and draw in their own editors: the list of parameters, frozen in
// parameters.txt, and how values and texts become each other.
#include "pluginterfaces/vst/ivstmidicontrollers.h"
#include "pluginterfaces/vst/ivstunits.h"
#include "TestInstance.h"
#include "TestText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr u32 k_firstMidi = 200000;
constexpr u32 k_midiEnd = 202080;

template <class T>
std::string number(T value) {
    char text[40];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string joined(std::initializer_list<std::string> fields) {
    std::string line;
    for (const std::string& field : fields)
        line += (line.empty() ? "" : " | ") + field;
    return line + '\n';
}

// All of a line but the id.
std::string described(const ParameterInfo& info) {
    return joined({toUtf8(info.title), toUtf8(info.shortTitle), toUtf8(info.units),
                   number(info.stepCount), number(info.defaultNormalizedValue), number(info.unitId),
                   number(info.flags)});
}

// One line a parameter; those of MIDI, alike and numbered through, are one line together.
std::string parameterLines(const std::vector<ParameterInfo>& list) {
    std::string text;
    for (size_t i = 0; i < list.size();) {
        size_t last = i;
        const auto follows = [&list, i](size_t at) {
            return at < list.size() && list[at].id < k_midiEnd && list[i].id >= k_firstMidi &&
                   list[at].id == list[i].id + (at - i) &&
                   described(list[at]) == described(list[i]);
        };
        while (follows(last + 1))
            ++last;
        const std::string id = number(list[i].id);
        text += (last > i ? id + "-" + number(list[last].id) : id) + " | " + described(list[i]);
        i = last + 1;
    }
    return text;
}

std::string unitLines(IUnitInfo& units) {
    std::string text;
    UnitInfo unit;
    for (i32 i = 0; i < units.getUnitCount() && units.getUnitInfo(i, unit) == kResultOk; ++i)
        text += joined({"unit " + number(unit.id), toUtf8(unit.name), number(unit.parentUnitId),
                        number(unit.programListId)});
    ProgramListInfo list;
    for (i32 i = 0; i < units.getProgramListCount(); ++i) {
        if (units.getProgramListInfo(i, list) != kResultOk) break;
        text += joined({"programs " + number(list.id), toUtf8(list.name)});
        for (i32 program = 0; program < list.programCount; ++program) {
            String128 name{};
            units.getProgramName(list.id, program, name);
            text += joined({"program " + number(program), toUtf8(name)});
        }
    }
    return text;
}

// Lines that only one side has, in order, with their side.
std::string difference(const std::string& expected, const std::string& found) {
    std::vector<std::string> sides[2];
    std::istringstream texts[2]{std::istringstream(expected), std::istringstream(found)};
    for (i32 side = 0; side < 2; ++side)
        for (std::string line; std::getline(texts[side], line);)
            sides[side].push_back(line);
    std::string text;
    for (i32 side = 0; side < 2; ++side)
        for (const std::string& line : sides[side])
            if (std::ranges::find(sides[1 - side], line) == sides[1 - side].end())
                text += (side == 0 ? "- " : "+ ") + line + '\n';
    return text.empty() ? "the same lines in another order" : text;
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
    const std::vector<ParameterInfo> list = instance.parameters();
    const auto units = instance.controllerAs<IUnitInfo>();
    ASSERT_TRUE(units);
    const std::string found = parameterLines(list) + unitLines(*units);
    std::stringstream expected;
    expected << std::ifstream(GLASSMERE_PARAMETERS).rdbuf();
    if (expected.str() != found) {
        const std::string path = testing::TempDir() + "parameters.txt";
        std::ofstream(path) << found;
        ADD_FAILURE() << "Projects rest on parameters.txt; the list now, written to " << path
                      << ", differs:\n"
                      << difference(expected.str(), found);
    }
    // The ids of hosts are unique, and 16 channels of 130 numbers stand in one row.
    std::vector<u32> ids;
    for (const ParameterInfo& info : list)
        ids.push_back(info.id);
    const auto first = std::ranges::find(ids, k_firstMidi);
    ASSERT_GE(ids.end() - first, 2080);
    for (u32 i = 0; i < 2080; ++i)
        EXPECT_EQ(first[i], k_firstMidi + i);
    std::ranges::sort(ids);
    EXPECT_EQ(std::ranges::adjacent_find(ids), ids.end());
}

TEST_F(Parameters, MapMidiWithTheirOwnStride) {
    const auto mapping = instance.controllerAs<IMidiMapping>();
    ASSERT_TRUE(mapping);
    const struct {
        i32 bus, channel, controller;
        u32 id;
    } cases[] = {{0, 0, 7, 200007},  {0, 0, 129, 200129},  {0, 1, 0, 200128}, {0, 1, 2, 200130},
                 {0, 15, 0, 201920}, {0, 15, 127, 202047}, {3, 0, 7, 200007}};
    for (const auto& [bus, channel, controller, expected] : cases) {
        ParamID id = kNoParamId;
        EXPECT_EQ(mapping->getMidiControllerAssignment(bus, static_cast<int16>(channel),
                                                       static_cast<int16>(controller), id),
                  kResultOk);
        EXPECT_EQ(id, expected) << channel << ' ' << controller;
    }
}

// Plain values are linear over a row's range, in single precision; whole numbers have as many steps
// as their range is wide.
TEST_F(Parameters, ConvertTheirValues) {
    i32 withSteps = 0;
    for (const ParameterInfo& info : numbers()) {
        SCOPED_TRACE(toUtf8(info.title));
        const f64 low = plain(info.id, 0.0);
        const f64 high = plain(info.id, 1.0);
        EXPECT_EQ(static_cast<f64>(static_cast<f32>(low)), low);
        if (low == high) {
            EXPECT_EQ(plain(info.id, 0.7), low);
            EXPECT_EQ(normalised(info.id, low), 0.0);
            EXPECT_EQ(normalised(info.id, low + 1.0), 0.0);
            EXPECT_EQ(info.defaultNormalizedValue, 0.0);
            EXPECT_EQ(info.stepCount, 0);
            continue;
        }
        for (const f64 value : {0.0, 0.25, 0.5, 1.0}) {
            EXPECT_NEAR(plain(info.id, value), low + (high - low) * value,
                        std::abs(high - low) * 1e-6);
            EXPECT_NEAR(normalised(info.id, plain(info.id, value)), value, 1e-6);
        }
        EXPECT_GE(info.defaultNormalizedValue, 0.0);
        EXPECT_LE(info.defaultNormalizedValue, 1.0);
        if (info.stepCount == 0) continue;
        ++withSteps;
        EXPECT_EQ(info.stepCount, static_cast<i32>(high - low));
    }
    EXPECT_GT(withSteps, 0);
}

TEST_F(Parameters, ShowAndReadNumbers) {
    for (const ParameterInfo& info : numbers()) {
        SCOPED_TRACE(toUtf8(info.title));
        for (const f64 value : {0.0, 0.3, 1.0}) {
            const f64 shown = plain(info.id, value);
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

// What has no number is there, since ids follow the rows, but is out of the host's hands.
TEST_F(Parameters, ThatAreNoNumbersAreHidden) {
    i32 hidden = 0;
    for (const ParameterInfo& info : instance.parameters()) {
        if ((info.flags & ParameterInfo::kIsHidden) == 0) continue;
        SCOPED_TRACE(toUtf8(info.title));
        ++hidden;
        EXPECT_EQ(info.stepCount, 0);
        EXPECT_EQ(info.flags & ParameterInfo::kCanAutomate, 0);
        const f64 before = instance.value(info.id);
        for (const f64 value : {0.0, 1.0}) {
            instance.controller()->setParamNormalized(info.id, value);
            text(info.id, value);
        }
        instance.controller()->setParamNormalized(info.id, before);
    }
    EXPECT_GT(hidden, 0);
}
