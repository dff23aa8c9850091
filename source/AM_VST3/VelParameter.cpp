#include "VelParameter.h"

#include "AM_Assert.h"
#include "AM_Format.h"
#include "AM_StateText.h"
#include "AM_VST3_ParameterMap.h"

#include "pluginterfaces/base/ustring.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace {

using Steinberg::Vst::ParamValue;

constexpr Steinberg::int32 k_textSize = 34; // 33 characters
constexpr size_t k_shortNameSize = 8;

const ::ParameterInfo& checked(const ::ParameterInfo* p) {
    AM_ASSERT(p != nullptr, "p != NULL");
    return *p;
}

void setName(Steinberg::Vst::String128 target, const char* name, size_t size) {
    size_t length = 0;
    while (length < size && name[length] != 0)
        ++length;
    Steinberg::UString(target, 128).fromAscii(std::string(name, length).c_str());
}

Steinberg::int32 stepCount(const ::ParameterInfo& row) {
    const f64 span = static_cast<f64>(row.maxValue) - row.minValue;
    if (row.baseKind() != k_integer || !(span > 0)) return 0;
    return static_cast<Steinberg::int32>(std::min(span, 2147483647.0));
}

Steinberg::int32 hostFlags(const ::ParameterInfo& row) {
    using Info = Steinberg::Vst::ParameterInfo;
    Steinberg::int32 flags = (row.flags & k_flagHost) != 0 ? Info::kCanAutomate : Info::kNoFlags;
    if (row.isMeter()) flags |= Info::kIsReadOnly;
    if (!VelParameter::isNumber(row)) flags |= Info::kIsHidden;
    return flags;
}

} // namespace

VelParameter::VelParameter(const ::ParameterInfo* p, i32 unit) : row(checked(p)) {
    setName(info.title, row.longName, sizeof row.longName);
    setName(info.shortTitle, row.shortName, k_shortNameSize);
    info.id = AM_VST3_idOf(row);
    info.stepCount = stepCount(row);
    info.defaultNormalizedValue = normalizedValue(row, row.defaultValue);
    info.unitId = unit + 1;
    info.flags = hostFlags(row);
    setNormalized(info.defaultNormalizedValue);
}

f32 VelParameter::plainValue(const ::ParameterInfo& row, f64 normalized) {
    if (row.maxValue == row.minValue) return row.minValue;
    return row.minValue + (row.maxValue - row.minValue) * static_cast<f32>(normalized);
}

f64 VelParameter::normalizedValue(const ::ParameterInfo& row, f32 plain) {
    if (row.maxValue == row.minValue) return 0;
    return (plain - row.minValue) / (row.maxValue - row.minValue);
}

ParamValue VelParameter::toPlain(ParamValue value) const {
    return plainValue(row, value);
}

ParamValue VelParameter::toNormalized(ParamValue plain) const {
    return normalizedValue(row, static_cast<f32>(plain));
}

void VelParameter::toString(ParamValue value, Steinberg::Vst::String128 text) const {
    char plain[k_textSize];
    AM_STD::sprintv(plain, sizeof plain, "%.2f", toPlain(value));
    Steinberg::UString(text, 128).fromAscii(plain);
}

bool VelParameter::fromString(const Steinberg::Vst::TChar* text, ParamValue& value) const {
    if (!text) return false;
    std::string plain;
    for (; *text != 0 && plain.size() < 128; ++text)
        if (*text != ' ') plain += *text < 128 ? static_cast<char>(*text) : '?';
    const std::optional<f32> number = AM_parseNumber(plain);
    if (!number) return false;
    value = std::clamp(toNormalized(*number), 0.0, 1.0);
    return true;
}

bool VelParameter::canAutomate() const {
    return (info.flags & Steinberg::Vst::ParameterInfo::kCanAutomate) != 0;
}
