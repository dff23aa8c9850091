#include "AM_ValueToString.h"

#include "AM_Format.h"
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

bool isFloat(const ParameterInfo* record) {
    return record->baseKind() == k_float || record->baseKind() == k_metaSource;
}
bool isInteger(const ParameterInfo* record) {
    return record->baseKind() == k_integer;
}
bool detailed(AM_IParameterProvider* context) {
    return context && context->wantsDetailedValues();
}

// One text of a number; the capacity is that of `out`.
struct Out {
    char* text;
    i32 capacity;

    template <class... A>
    void operator()(const char* format, const A&... arguments) const {
        if (capacity > 0)
            AM_STD::sprintv(text, static_cast<size_t>(capacity), format, arguments...);
    }
};

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
    const Out print{out, capacity};
    if (isInteger(record)) {
        print("%d", cut(*value));
    } else if (isFloat(record)) {
        print("%.2f", *value);
    } else if (record->baseKind() != k_reference) {
        print("%s", "unknown value");
    } else if (cut(*value) == -1) {
        print("%s", "none");
    } else {
        const ParameterInfo* target = context ? context->getParameterRecord(cut(*value)) : nullptr;
        const char* owner = context ? context->getParameterOwnerName(cut(*value)) : nullptr;
        if (target && owner) print("%s: %s", owner, target->longName);
    }
}

void AM_RatioValueToStringObject::valueToString(AM_IParameterProvider* context,
                                                const ParameterInfo* record, const f32* value,
                                                char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 v = *value;
    if (isInteger(record))
        print("%d:1", rounded(v));
    else if (isFloat(record))
        print(v >= 10 ? "%.0f : 1" : v >= 2 ? "%.1f : 1" : "%.2f : 1", v);
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_HertzValueToStringObject::valueToString(AM_IParameterProvider* context,
                                                const ParameterInfo* record, const f32* value,
                                                char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 v = *value;
    if (isInteger(record)) {
        if (rounded(v) >= 1000)
            print("%.2fkHz", v * 0.001f);
        else
            print("%dHz", rounded(v));
    } else if (isFloat(record)) {
        if (v >= 1000)
            print("%.2fkHz", v * 0.001f);
        else
            print(v >= 100 ? "%.0fHz" : v >= 10 ? "%.1fHz" : "%.2fHz", v);
    } else {
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
    }
}

void AM_MsecValueToStringObject::valueToString(AM_IParameterProvider* context,
                                               const ParameterInfo* record, const f32* value,
                                               char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 v = *value;
    if (isInteger(record)) {
        if (rounded(v) >= 1000)
            print("%.2fs", v * 0.001f);
        else
            print("%dms", rounded(v));
    } else if (isFloat(record)) {
        if (v >= 1000)
            print("%.2fs", v * 0.001f);
        else
            print(v >= 100 ? "%.0fms" : v >= 1 ? "%.1fms" : "%.2fms", v);
    } else {
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
    }
}

void AM_PercentValueToStringObject::valueToString(AM_IParameterProvider* context,
                                                  const ParameterInfo* record, const f32* value,
                                                  char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 v = *value;
    if (isInteger(record))
        print("%d%%", rounded(v));
    else if (isFloat(record))
        print(detailed(context) ? "%.2f%%" : v >= 10 ? "%.0f%%" : "%.1f%%", v);
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_MixValueToStringObject::valueToString(AM_IParameterProvider* context,
                                              const ParameterInfo* record, const f32* value,
                                              char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 v = *value;
    if (isFloat(record) && detailed(context))
        print("%.2f : %.2f", 100 - v, v);
    else if (isInteger(record) || isFloat(record))
        print("%d : %d", rounded(100 - std::floor(v + 0.5f)), rounded(v));
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_BalanceValueToStringObject::valueToString(AM_IParameterProvider* context,
                                                  const ParameterInfo* record, const f32* value,
                                                  char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 left = std::min((100 - *value) * 2, 100.0f);
    const f32 right = std::min(*value * 2, 100.0f);
    if (isFloat(record) && detailed(context))
        print("%.1f : %.1f", left, right);
    else if (isInteger(record) || isFloat(record))
        print("%d : %d", rounded(left), rounded(right));
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_DBValueToStringObject::valueToString(AM_IParameterProvider* context,
                                             const ParameterInfo* record, const f32* value,
                                             char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 size = std::fabs(*value);
    if (isInteger(record))
        print("%ddB", rounded(*value));
    else if (isFloat(record))
        print(size >= 99.9999f ? "%.0fdB" : size >= 10 ? "%.1fdB" : "%.2fdB", *value);
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_IpsValueToStringObject::valueToString(AM_IParameterProvider* context,
                                              const ParameterInfo* record, const f32* value,
                                              char* out, i32 capacity) const {
    if (!record) return;
    const Out print{out, capacity};
    const f32 size = std::fabs(*value);
    if (isInteger(record))
        print("%ddB", rounded(*value));
    else if (isFloat(record))
        print(size >= 50 ? "%.0fips" : size >= 10 ? "%.1fips" : "%.2fips", *value);
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_EmptyValueToStringObject::valueToString(AM_IParameterProvider* context,
                                                const ParameterInfo* record, const f32* value,
                                                char* out, i32 capacity) const {
    if (!record) return;
    if (isInteger(record) || isFloat(record))
        Out{out, capacity}("%s", "");
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
}

void AM_BtnValueToStringObject::valueToString(AM_IParameterProvider* context,
                                              const ParameterInfo* record, const f32* value,
                                              char* out, i32 capacity) const {
    if (!record) return;
    if (isInteger(record))
        Out{out, capacity}("%s", cut(*value) > 0 ? on : off);
    else
        AM_ValueToStringObject::valueToString(context, record, value, out, capacity);
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
