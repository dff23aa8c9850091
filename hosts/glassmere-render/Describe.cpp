#include "Describe.h"

#include "AM_DelayModel.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <memory>
#include <sstream>

namespace {
AM_DelayModel buildModel(const std::string& code) {
    auto builder = std::make_unique<AM_DelayModelBuilder>();
    AM_DelayModel model = {};
    builder->build(code.c_str(), model);
    return model;
}

const char* familyLabel(const AM_DelayModel& model) {
    return AM_matrixFamilies[model.family].label;
}

std::string number(f32 value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}
} // namespace

std::string describeAsText(const std::string& code) {
    const AM_DelayModel model = buildModel(code);
    std::ostringstream out;
    out << "code         " << model.code << "\nselections  ";
    for (i32 selection : model.selections)
        out << ' ' << selection;
    out << "\nhash         " << model.hash << "\nseed         " << model.seed
        << " behind the build, after " << model.tests << " tests\nfamily       "
        << familyLabel(model) << ", " << model.numMatrices << " matrices of " << model.matrixSize
        << " delays\nrouting      " << model.routing << " (" << AM_routingNames[model.routing & 3]
        << "), " << model.numInputs << " inputs, " << model.numOutputs << " outputs\nbridges      "
        << model.bridges << "\ngain law     " << model.gainLaw << "\nlaw          " << model.law
        << "\narrangement  " << model.arrangement << "\npans        ";
    for (i32 i = 0; i < model.numOutputs; ++i)
        out << ' ' << number(model.outputPan[i]);
    out << "\nlengths      internal samples\n";
    for (i32 i = 0; i < k_numDelays; ++i) {
        const std::string length = std::to_string(model.lengths[i]);
        out << std::string(7 - length.size(), ' ') << length << (i % 8 == 7 ? "\n" : "");
    }
    out << "aliases     ";
    bool any = false;
    for (i32 i = 0; i < k_numDelays; ++i) {
        if (model.aliases[i] < 0) continue;
        out << ' ' << i << "<-" << model.aliases[i];
        any = true;
    }
    out << (any ? "\n" : " none\n");
    return out.str();
}

std::string describeAsJson(const std::string& code) {
    const AM_DelayModel model = buildModel(code);
    nlohmann::ordered_json json;
    json["code"] = model.code;
    json["selections"] = model.selections;
    json["hash"] = model.hash;
    json["seed"] = model.seed;
    json["family"] = familyLabel(model);
    json["routing"] = model.routing;
    json["bridges"] = model.bridges;
    json["numMatrices"] = model.numMatrices;
    json["matrixSize"] = model.matrixSize;
    json["numInputs"] = model.numInputs;
    json["numOutputs"] = model.numOutputs;
    json["pans"] = std::vector<f32>(model.outputPan, model.outputPan + model.numOutputs);
    json["gainLaw"] = model.gainLaw;
    json["law"] = model.law;
    json["arrangement"] = model.arrangement;
    json["lengths"] = model.lengths;
    nlohmann::ordered_json aliases = nlohmann::ordered_json::array();
    for (i32 i = 0; i < k_numDelays; ++i)
        if (model.aliases[i] >= 0) aliases.push_back({i, model.aliases[i]});
    json["aliases"] = aliases;
    json["tests"] = model.tests;
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}
