#include "ParameterList.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace {
struct Row {
    int id;
    std::string shortName;
    std::string longName;
    std::string module;
    const ParameterInfo* info;
    std::string text;
};

const char* kindName(const ParameterInfo& row) {
    if (row.isMeter()) return "meter";
    if (row.kind == k_complexText) return "text";
    switch (row.baseKind()) {
    case k_integer:
        return "integer";
    case k_complex:
        return "data";
    case k_reference:
        return "reference";
    default:
        return "float";
    }
}

std::string number(f32 value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

// Short names of modules stand in front of the first ':' of the object's name.
std::string moduleName(Instance& instance, int id) {
    AM_AudioObject* owner = instance.manager().getParameterOwner(id);
    if (!owner) return "";
    const char* name = owner->getName();
    const char* colon = std::strchr(name, ':');
    return colon ? std::string(name, colon) : name;
}

std::vector<Row> collect(Instance& instance) {
    std::vector<Row> rows;
    AM_ParaMan& parameters = instance.parameters();
    for (int id = 0; id < parameters.getNumParams(); ++id) {
        const ParameterInfo* info = parameters.row(id);
        if (!info) continue;
        char shortName[9];
        info->copyShortName(shortName);
        Row row = {id, shortName, info->longName, moduleName(instance, id), info, ""};
        if (info->kind == k_complexText)
            row.text = parameters.getText(id);
        else if (!info->isComplex())
            row.text = parameters.displayText(id, parameters.getParameterTarget(id));
        rows.push_back(std::move(row));
    }
    return rows;
}
} // namespace

std::string listAsText(Instance& instance) {
    std::vector<std::array<std::string, 6>> table = {
        {"short", "long", "module", "range", "default", "value"}};
    for (const Row& row : collect(instance)) {
        const ParameterInfo& info = *row.info;
        const bool isText = info.kind == k_complexText;
        std::string range = isText ? "text, up to " + number(info.maxValue - 1)
                                   : number(info.minValue) + " to " + number(info.maxValue);
        table.push_back({row.shortName, row.longName, row.module, std::move(range),
                         info.isComplex() ? "" : number(info.defaultValue), row.text});
    }
    size_t widths[6] = {};
    for (const auto& line : table)
        for (size_t column = 0; column < 6; ++column)
            widths[column] = std::max(widths[column], line[column].size());
    std::string out;
    for (const auto& line : table) {
        std::string text;
        for (size_t column = 0; column < 6; ++column)
            text += line[column] + std::string(widths[column] + 2 - line[column].size(), ' ');
        text.erase(text.find_last_not_of(' ') + 1);
        out += text + '\n';
    }
    return out;
}

std::string listAsJson(Instance& instance) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Row& row : collect(instance)) {
        const ParameterInfo& info = *row.info;
        nlohmann::ordered_json entry;
        entry["id"] = row.id;
        entry["short"] = row.shortName;
        entry["long"] = row.longName;
        entry["module"] = row.module;
        entry["kind"] = kindName(info);
        entry["minimum"] = info.minValue;
        entry["maximum"] = info.maxValue;
        entry["default"] = info.defaultValue;
        if (info.isComplex())
            entry["value"] = nullptr;
        else
            entry["value"] = instance.parameters().getParameterTarget(row.id);
        entry["text"] = row.text;
        list.push_back(std::move(entry));
    }
    return list.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}
