// Names and texts of parameters.
#include "AM_AudioManager.h"
#include "AM_ParaMan.h"
#include "AM_Text.h"
#include "AM_ValueToString.h"

#include <cstring>
#include <string_view>

namespace {

bool sameText(std::string_view a, std::string_view b, bool ignoreCase) {
    return ignoreCase ? AM_STD::toLower(a) == AM_STD::toLower(b) : a == b;
}

bool hasName(const ParameterInfo& info, std::string_view name, bool ignoreCase) {
    char shortName[9];
    info.copyShortName(shortName);
    return sameText(shortName, name, ignoreCase) || sameText(info.longName, name, ignoreCase);
}

} // namespace

i32 AM_ParaMan::findParameter(const char* name) const {
    if (!name || *name == 0) return -1;
    const i32 exact = findName(name, false);
    return exact >= 0 ? exact : findName(name, true);
}

i32 AM_ParaMan::findName(const char* name, bool ignoreCase) const {
    for (i32 id = 0; id < numParamsTotal; ++id)
        if (hasName(state->rows[id], name, ignoreCase)) return id;
    const char* colon = std::strchr(name, ':');
    if (!colon) return -1;
    const std::string_view module(name, static_cast<size_t>(colon - name));
    for (i32 id = 0; id < numParamsTotal; ++id) {
        const AM_AudioObject* owner = ownerOf(state->rows[id]);
        if (owner &&
            (sameText(owner->getShortName(), module, ignoreCase) ||
             sameText(owner->getLongName(), module, ignoreCase)) &&
            hasName(state->rows[id], colon + 1, ignoreCase))
            return id;
    }
    return -1;
}

const AM_ValueToStringObject& AM_ParaMan::displayFor(const ParameterInfo& info) const {
    const char* unit = "plain";
    const bool plainFloat =
        info.baseKind() == k_float || info.baseKind() == k_meter || info.kind == k_floatPlain;
    if (plainFloat && info.minValue == 0 && (info.maxValue == 100 || info.maxValue == 200))
        unit = "percent";
    else if (plainFloat && info.minValue == -100 && info.maxValue == 6)
        unit = "dbval";
    return *displays->find(unit);
}

std::string AM_ParaMan::displayText(i32 id, f32 value) const {
    const ParameterInfo* info = row(id);
    if (!info) return {};
    if (info->kind == k_complexText) return getText(id);
    const char* const* texts = nullptr;
    AM_AudioObject* owner = ownerOf(*info);
    const i32 numTexts = owner ? owner->getParameterStrings(info->indexInOwner, &texts) : 0;
    const f32 place = AM_wholeNumber(value) - info->minValue;
    if (place >= 0 && place < static_cast<f32>(numTexts)) return texts[static_cast<size_t>(place)];
    ParameterInfo shown = *info;
    // The display knows floats only; a meter reads like one.
    if (shown.baseKind() == k_meter) shown.kind = k_float;
    char text[k_valueTextSize] = {};
    displayFor(*info).valueToString(manager, &shown, &value, text, sizeof text);
    return text;
}

std::string AM_ParaMan::getText(i32 id) const {
    const ParameterInfo* info = row(id);
    if (!info || info->kind != k_complexText) return {};
    const boost::recursive_mutex::scoped_lock hold(complexMutex);
    const char* bytes = static_cast<const char*>(getParamPointer(id));
    if (!bytes) return {};
    return std::string(bytes, strnlen(bytes, static_cast<size_t>(info->maxValue)));
}
