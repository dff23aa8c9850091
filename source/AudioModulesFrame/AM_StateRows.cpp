#include "AM_StateRows.h"

#include "AM_AudioManager.h"
#include "AM_Format.h"
#include "AM_ParaMan.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr const char* k_noReference = "none:assigned";

std::string formatted(const char* format, auto value) {
    char text[64];
    AM_STD::sprintv(text, sizeof text, format, value);
    return text;
}

// Whether the line reader gives the text back as it stands, but for blanks.
bool isPlain(std::string_view text) {
    if (text.empty() || text.find("//") != text.npos || text.find("/*") != text.npos) return false;
    return std::none_of(text.begin(), text.end(), [](char c) {
        return c == '$' || c == '\'' || static_cast<unsigned char>(c) < 0x20;
    });
}

} // namespace

bool AM_StateRows::isSaved(i32 id) const {
    const ParameterInfo* info = paraMan.row(id);
    if (!info || info->isMeter()) return false;
    if (info->flags & (k_flagMomentary | k_flagSession)) return false;
    if (paraMan.isPlaceHolder(id)) return false;
    if (id == paraMan.standardId(k_rowUpdateComplex) || id == paraMan.standardId(k_rowNoInstance))
        return false;
    return !info->isComplex() || info->kind == k_complexText || binarySize(id) > 0;
}

bool AM_StateRows::isInstanceRow(i32 id) const {
    const ParameterInfo* info = paraMan.row(id);
    return info && (info->flags & k_flagView);
}

bool AM_StateRows::isMetadata(i32 id) const {
    return std::any_of(std::begin(k_metaKeys), std::end(k_metaKeys),
                       [&](const AM_MetaKey& meta) { return paraMan.standardId(meta.row) == id; });
}

i32 AM_StateRows::binarySize(i32 id) const {
    const ParameterInfo* info = paraMan.row(id);
    if (!info || !info->isComplex() || info->kind == k_complexText) return 0;
    if (info->flags & (k_flagNoRandom | k_flagNoRandom2)) return 0;
    return paraMan.getParamPointer(id) ? static_cast<i32>(info->maxValue) : 0;
}

// --- values ------------------------------------------------------------------------------

i32 AM_StateRows::listTexts(i32 id, const char* const** texts) const {
    const ParameterInfo* info = paraMan.row(id);
    AM_AudioObject* owner = paraMan.ownerOf(id);
    const bool hasList = info && owner && info->baseKind() == k_integer;
    return hasList ? owner->getParameterStrings(info->indexInOwner, texts) : 0;
}

i32 AM_StateRows::placeInList(i32 id, std::string_view text) const {
    const char* const* texts = nullptr;
    const i32 count = listTexts(id, &texts);
    for (i32 place = 0; place < count; ++place)
        if (AM_sameWithoutBlanks(texts[place], text)) return place;
    return -1;
}

bool AM_StateRows::showsOtherText(i32 id, std::string* shown) const {
    const char* const* texts = nullptr;
    const ParameterInfo* info = paraMan.row(id);
    if (!info || listTexts(id, &texts) == 0) return false;
    *shown = paraMan.displayText(id, paraMan.getParameterTarget(id));
    const f32 place = paraMan.getParameterTarget(id) - info->minValue;
    return !isPlain(*shown) || static_cast<f32>(placeInList(id, *shown)) != place;
}

std::string AM_StateRows::valueText(i32 id, size_t room) const {
    const ParameterInfo* info = paraMan.row(id);
    if (!info) return {};
    if (info->kind == k_complexText) return quotedText(id, room);
    if (info->baseKind() == k_reference) return referenceText(id);
    const f32 value = paraMan.getParameterTarget(id);
    if (info->baseKind() != k_integer) return formatted("%.2f", value);
    const char* const* texts = nullptr;
    std::string other;
    const bool listed = listTexts(id, &texts) > 0 && !showsOtherText(id, &other);
    const i32 number = static_cast<i32>(AM_wholeNumber(value));
    if (!listed && placeInList(id, formatted("%d", number)) >= 0) return formatted("%.2f", value);
    return listed ? paraMan.displayText(id, value) : formatted("%d", number);
}

std::string AM_StateRows::referenceText(i32 id) const {
    const auto target = static_cast<i32>(paraMan.getParameterTarget(id));
    AM_AudioObject* owner = target < 0 ? nullptr : paraMan.ownerOf(target);
    return owner ? std::string(owner->getShortName()) + ':' + shortName(target) : k_noReference;
}

std::string AM_StateRows::quotedText(i32 id, size_t room) const {
    const std::string text = paraMan.getText(id);
    std::string quoted = AM_quoteText(text);
    if (quoted.size() <= room) return quoted;
    AM_Log("WARNING: %s is too long for a state's text and was cut", paraMan.row(id)->longName);
    for (size_t length = text.size(); quoted.size() > room && length > 0;) {
        const std::string_view shorter = AM_truncateUtf8(text, length - 1);
        length = shorter.size();
        quoted = AM_quoteText(shorter);
    }
    return quoted;
}

std::optional<f32> AM_StateRows::valueOf(i32 id, std::string_view text) const {
    const ParameterInfo* info = paraMan.row(id);
    if (!info) return std::nullopt;
    const std::string plain = AM_unquoteText(text);
    if (info->baseKind() == k_reference && plain.find(':') != plain.npos) {
        if (plain == k_noReference) return info->minValue;
        const i32 target = findPair(plain);
        return target >= 0 ? std::optional(static_cast<f32>(target)) : std::nullopt;
    }
    const i32 place = placeInList(id, plain);
    if (place >= 0) return info->minValue + static_cast<f32>(place);
    return AM_parseNumber(plain);
}

// --- names -------------------------------------------------------------------------------

std::string AM_StateRows::shortName(i32 id) const {
    char name[9] = "";
    if (const ParameterInfo* info = paraMan.row(id)) info->copyShortName(name);
    return name;
}

AM_AudioObject* AM_StateRows::findModule(std::string_view name) const {
    AM_AudioMan* manager = paraMan.getManager();
    for (i32 i = 0; i < manager->getNumObjects(); ++i) {
        AM_AudioObject* object = manager->getObject(i);
        if (object && AM_sameWithoutBlanks(object->getShortName(), name)) return object;
    }
    return nullptr;
}

i32 AM_StateRows::findRow(AM_AudioObject* module, std::string_view name) const {
    if (!module) return -1;
    const i32 first = module->getFirstParameter();
    for (i32 id = first; id < first + module->getNumOwnParameters(); ++id)
        if (AM_sameWithoutBlanks(shortName(id), name)) return id;
    return -1;
}

i32 AM_StateRows::findPair(std::string_view pair) const {
    const size_t colon = pair.find(':');
    if (colon == pair.npos) return -1;
    return findRow(findModule(pair.substr(0, colon)), pair.substr(colon + 1));
}
