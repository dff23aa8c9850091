#include "AM_ValueToString.h"

#include "AM_Text.h"

#include <algorithm>
#include <cmath>

namespace {

// A value that no i32 can hold would be undefined to convert.
i32 cut(f32 value) {
    if (!(value > -2147483648.0f)) return value < 0 ? INT32_MIN : 0;
    return value < 2147483648.0f ? static_cast<i32>(value) : INT32_MAX;
}
i32 rounded(f32 value) {
    return cut(std::floor(value + 0.5f));
}

f32 leftGain(f32 v) {
    return std::min((100 - v) * 2, 100.0f);
}
f32 rightGain(f32 v) {
    return std::min(v * 2, 100.0f);
}

} // namespace

AM_ValueToStringObject::AM_ValueToStringObject(const char* nameText) {
    AM_STD::copyText(name, nameText ? nameText : "noSetATValueToStringObject");
}

AM_ValueToStringObject* AM_ValueToStringObject::find(const char* wanted) {
    return static_cast<AM_ValueToStringObject*>(AM_Tree::find(wanted));
}

void AM_ValueToStringObject::valueToString(AM_IParameterProvider* context,
                                           const ParameterInfo* record, const f32* value, char* out,
                                           i32 capacity) const {
    if (!record) return;
    const AM_ValueText print{out, capacity};
    const bool detailed = context && context->wantsDetailedValues();
    switch (record->baseKind()) {
    case k_integer:
        return showInteger(print, *value, detailed);
    case k_float:
    case k_metaSource:
        return showFloat(print, *value, detailed);
    case k_reference:
        break;
    default:
        return print("%s", "unknown value");
    }
    if (cut(*value) == -1) return print("%s", "none");
    const ParameterInfo* target = context ? context->getParameterRecord(cut(*value)) : nullptr;
    const char* owner = context ? context->getParameterOwnerName(cut(*value)) : nullptr;
    if (target && owner) print("%s: %s", owner, target->longName);
}

void AM_ValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%d", cut(v));
}
void AM_ValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool) const {
    print("%.2f", v);
}

void AM_RatioValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%d:1", rounded(v));
}
void AM_RatioValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool) const {
    print(v >= 10 ? "%.0f : 1" : v >= 2 ? "%.1f : 1" : "%.2f : 1", v);
}

void AM_HertzValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    if (rounded(v) >= 1000)
        print("%.2fkHz", v * 0.001f);
    else
        print("%dHz", rounded(v));
}
void AM_HertzValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool) const {
    if (v >= 1000)
        print("%.2fkHz", v * 0.001f);
    else
        print(v >= 100 ? "%.0fHz" : v >= 10 ? "%.1fHz" : "%.2fHz", v);
}

void AM_MsecValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    if (rounded(v) >= 1000)
        print("%.2fs", v * 0.001f);
    else
        print("%dms", rounded(v));
}
void AM_MsecValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool) const {
    if (v >= 1000)
        print("%.2fs", v * 0.001f);
    else
        print(v >= 100 ? "%.0fms" : v >= 1 ? "%.1fms" : "%.2fms", v);
}

void AM_PercentValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%d%%", rounded(v));
}
void AM_PercentValueToStringObject::showFloat(const AM_ValueText& print, f32 v,
                                              bool detailed) const {
    print(detailed ? "%.2f%%" : v >= 10 ? "%.0f%%" : "%.1f%%", v);
}

void AM_MixValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%d : %d", rounded(100 - std::floor(v + 0.5f)), rounded(v));
}
void AM_MixValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool detailed) const {
    if (detailed)
        print("%.2f : %.2f", 100 - v, v);
    else
        showInteger(print, v, false);
}

void AM_BalanceValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%d : %d", rounded(leftGain(v)), rounded(rightGain(v)));
}
void AM_BalanceValueToStringObject::showFloat(const AM_ValueText& print, f32 v,
                                              bool detailed) const {
    if (detailed)
        print("%.1f : %.1f", leftGain(v), rightGain(v));
    else
        showInteger(print, v, false);
}

void AM_DBValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%ddB", rounded(v));
}
void AM_DBValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool) const {
    const f32 size = std::fabs(v);
    print(size >= 99.9999f ? "%.0fdB" : size >= 10 ? "%.1fdB" : "%.2fdB", v);
}

void AM_IpsValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%ddB", rounded(v));
}
void AM_IpsValueToStringObject::showFloat(const AM_ValueText& print, f32 v, bool) const {
    const f32 size = std::fabs(v);
    print(size >= 50 ? "%.0fips" : size >= 10 ? "%.1fips" : "%.2fips", v);
}

void AM_EmptyValueToStringObject::showInteger(const AM_ValueText& print, f32, bool) const {
    print("%s", "");
}
void AM_EmptyValueToStringObject::showFloat(const AM_ValueText& print, f32, bool) const {
    print("%s", "");
}

void AM_BtnValueToStringObject::showInteger(const AM_ValueText& print, f32 v, bool) const {
    print("%s", cut(v) > 0 ? on : off);
}

std::unique_ptr<AM_ValueToStringObject> AM_makeValueToStrings() {
    auto root = std::make_unique<AM_ValueToStringObject>("plain");
    root->add(new AM_RatioValueToStringObject);
    root->add(new AM_HertzValueToStringObject);
    root->add(new AM_MsecValueToStringObject);
    root->add(new AM_PercentValueToStringObject);
    root->add(new AM_MixValueToStringObject);
    root->add(new AM_BalanceValueToStringObject);
    root->add(new AM_DBValueToStringObject);
    root->add(new AM_IpsValueToStringObject);
    root->add(new AM_EmptyValueToStringObject);
    return root;
}
