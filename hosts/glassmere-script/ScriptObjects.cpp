#include "ScriptObjects.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numbers>
#include <utility>

namespace {
constexpr i32 k_limit = 128;

enum Value : i32 { k_value, k_hue, k_count, k_limitValue, k_light, k_pi };
struct ValueRow {
    std::string_view path;
    Value handle;
    AM_ScriptType type;
    bool readable;
    bool writable;
};
constexpr ValueRow k_values[] = {
    {"knob.value", k_value, k_scriptFloat, true, true},
    {"knob.colour.hue", k_hue, k_scriptFloat, true, true},
    {"knob.count", k_count, k_scriptInt, true, true},
    {"knob.limit", k_limitValue, k_scriptInt, true, false},
    {"light", k_light, k_scriptFloat, false, true},
    {"math.pi", k_pi, k_scriptFloat, true, false},
};

// Functions of floats; their handle is the place in this list. The C++ names are the double ones.
using Values = const AM_ScriptValue*;
struct FunctionRow {
    std::string_view path;
    std::string_view signature;
    f32 (*compute)(Values arguments);
};
constexpr FunctionRow k_functions[] = {
    {"math.sin", "ff", [](Values x) { return std::sin(x[0].asFloat); }},
    {"math.cos", "ff", [](Values x) { return std::cos(x[0].asFloat); }},
    {"math.tan", "ff", [](Values x) { return std::tan(x[0].asFloat); }},
    {"math.exp", "ff", [](Values x) { return std::exp(x[0].asFloat); }},
    {"math.log", "ff", [](Values x) { return std::log(x[0].asFloat); }},
    {"math.sqrt", "ff", [](Values x) { return std::sqrt(x[0].asFloat); }},
    {"math.floor", "ff", [](Values x) { return std::floor(x[0].asFloat); }},
    {"math.ceil", "ff", [](Values x) { return std::ceil(x[0].asFloat); }},
    {"math.abs", "ff", [](Values x) { return std::fabs(x[0].asFloat); }},
    {"math.pow", "fff", [](Values x) { return std::pow(x[0].asFloat, x[1].asFloat); }},
    {"math.atan2", "fff", [](Values x) { return std::atan2(x[0].asFloat, x[1].asFloat); }},
    {"math.min", "fff", [](Values x) { return std::fmin(x[0].asFloat, x[1].asFloat); }},
    {"math.max", "fff", [](Values x) { return std::fmax(x[0].asFloat, x[1].asFloat); }},
};
constexpr i32 k_random = static_cast<i32>(std::size(k_functions));
constexpr i32 k_firstPrint = k_random + 1;

void append(std::string& text, f32 number) {
    char digits[64];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}
void append(std::string& text, i32 number) {
    char digits[16];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

bool asFunction(AM_ScriptObject& out, i32 handle, std::string_view signature) {
    out.kind = AM_ScriptObject::k_function;
    out.handle = handle;
    out.signature = signature;
    return true;
}
} // namespace

bool ScriptObjects::resolve(std::string_view path, AM_ScriptObject& out) {
    for (const ValueRow& row : k_values) {
        if (row.path != path) continue;
        out.type = row.type;
        out.readable = row.readable;
        out.writable = row.writable;
        out.handle = row.handle;
        return true;
    }
    return resolveCall(path, "", out);
}

bool ScriptObjects::resolveCall(std::string_view path, std::string_view arguments,
                                AM_ScriptObject& out) {
    if (path == "out.print") {
        // Takes what it is given; the handle remembers the kinds.
        const auto known = std::find(prints.begin(), prints.end(), arguments);
        const auto index = static_cast<i32>(known - prints.begin());
        if (known == prints.end()) prints.emplace_back(arguments);
        signature.assign(1, 'v').append(arguments);
        return asFunction(out, k_firstPrint + index, signature);
    }
    if (path == "math.random") return asFunction(out, k_random, "f");
    for (i32 i = 0; i < k_random; ++i)
        if (k_functions[i].path == path) return asFunction(out, i, k_functions[i].signature);
    return false;
}

f32 ScriptObjects::readFloat(i32 handle) {
    if (handle == k_pi) return std::numbers::pi_v<f32>;
    return handle == k_hue ? hue : value;
}

i32 ScriptObjects::readInt(i32 handle) {
    return handle == k_limitValue ? k_limit : count;
}

void ScriptObjects::writeFloat(i32 handle, f32 written) {
    if (handle == k_light)
        light = written;
    else if (handle == k_hue)
        hue = written;
    else
        value = written;
}

void ScriptObjects::writeInt(i32, i32 written) {
    count = written;
}

AM_ScriptValue ScriptObjects::call(i32 handle, const AM_ScriptValue* arguments, u32 given) {
    AM_ScriptValue result{};
    if (handle >= k_firstPrint)
        print(handle - k_firstPrint, arguments, given);
    else if (handle == k_random)
        result.asFloat = random();
    else
        result.asFloat = k_functions[handle].compute(arguments);
    return result;
}

void ScriptObjects::print(i32 index, const AM_ScriptValue* arguments, u32 given) {
    const std::string& kinds = prints[static_cast<size_t>(index)];
    for (u32 i = 0; i < given; ++i) {
        if (i > 0) output += ' ';
        if (kinds[i] == 'f')
            append(output, arguments[i].asFloat);
        else
            append(output, arguments[i].asInt);
    }
    output += '\n';
}

// The upper 24 bits of a linear congruence, which a float holds exactly.
f32 ScriptObjects::random() {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<f32>(seed >> 8) / 16777216.0f;
}

std::string ScriptObjects::takeOutput() {
    return std::exchange(output, {});
}
