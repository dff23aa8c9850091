#include "AM_StateSection.h"

#include "AM_AudioManager.h"
#include "AM_Messages.h"
#include "AM_ParaMan.h"
#include "AM_StateRows.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr u16 k_firstControlId = 0xFFF1;
constexpr u16 k_versionRecord = 0xFFFF;
constexpr size_t k_recordHeader = 4;

template <class T>
void append(std::vector<u8>& target, T value) {
    const auto* bytes = reinterpret_cast<const u8*>(&value);
    target.insert(target.end(), bytes, bytes + sizeof value);
}

template <class T>
T take(const u8* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

u32 swapped(u32 word) {
    return word << 24 | (word & 0xff00) << 8 | (word >> 8 & 0xff00) | word >> 24;
}

void appendRecord(std::vector<u8>& target, u16 id, const void* bytes, size_t size) {
    append(target, static_cast<u16>(size));
    append(target, id);
    const auto* from = static_cast<const u8*>(bytes);
    target.insert(target.end(), from, from + size);
}

// The names that each object has for the things it numbered, `first` to `first + count - 1`.
void enter(std::vector<std::string>& names, i32 first, i32 count, auto nameOf) {
    for (i32 i = 0; i < count && first >= 0; ++i) {
        const auto place = static_cast<size_t>(first + i);
        if (place >= names.size()) names.resize(place + 1);
        names[place] = nameOf(i);
    }
}

} // namespace

// --- sections ----------------------------------------------------------------------------

void AM_appendSection(std::vector<u8>& target, const ParameterInfo& info, const void* data) {
    const auto size = static_cast<i32>(info.maxValue);
    append(target, k_sectionMagic);
    append(target, size);
    append(target, info.minValue);
    append(target, info.defaultValue);
    const auto* bytes = static_cast<const u8*>(data);
    target.insert(target.end(), bytes, bytes + size);
}

const u8* AM_sectionData(const u8* section, i32 count, i32* size) {
    *size = count;
    if (count < k_sectionHeaderSize) return section;
    const u32 magic = take<u32>(section);
    const bool foreign = magic == swapped(k_sectionMagic);
    if (magic != k_sectionMagic && !foreign) return section;
    const u32 word = take<u32>(section + 4);
    const i64 stated = foreign ? swapped(word) : word;
    *size = static_cast<i32>(std::min<i64>(stated, count - k_sectionHeaderSize));
    return section + k_sectionHeaderSize;
}

// --- names of modulators -----------------------------------------------------------------

std::vector<std::string> AM_modSourceNames(AM_AudioMan& manager) {
    std::vector<std::string> names{"none"};
    for (i32 i = 0; i < manager.getNumObjects(); ++i) {
        AM_AudioObject* object = manager.getObject(i);
        if (!object || object->getNumModSources() == 0) continue;
        enter(names, object->getFirstModSource(), object->getNumModSources(), [&](i32 source) {
            AM_ModSourceName record{};
            object->getModSourceName(source, &record);
            return std::string(record.name, strnlen(record.name, sizeof record.name));
        });
    }
    return names;
}

std::vector<std::string> AM_modBufferNames(AM_AudioMan& manager) {
    std::vector<std::string> names{"none"};
    for (i32 i = 0; i < manager.getNumObjects(); ++i) {
        AM_AudioObject* object = manager.getObject(i);
        if (!object || object->getNumModBuffers() == 0) continue;
        const i32 count = object->getNumModBuffers();
        enter(names, object->getFirstModBuffer(), count, [&](i32 buffer) {
            const std::string name = object->getLongName();
            return count > 1 ? name + ' ' + std::to_string(buffer) : name;
        });
    }
    return names;
}

// --- the stream --------------------------------------------------------------------------

std::vector<u8> AM_writeStateStream(AM_ParaMan& paraMan) {
    std::vector<u8> stream;
    const AM_StateRows rows(paraMan);
    const auto version = static_cast<u32>(paraMan.getPatchVersion());
    appendRecord(stream, k_versionRecord, &version, sizeof version);
    const boost::recursive_mutex::scoped_lock hold(paraMan.complexLock());
    for (i32 id = 0; id < std::min<i32>(paraMan.getNumParams(), k_firstControlId); ++id) {
        if (!rows.isSaved(id)) continue;
        const ParameterInfo& info = *paraMan.row(id);
        if (info.kind == k_complexText) {
            const std::string text = paraMan.getText(id);
            appendRecord(stream, static_cast<u16>(id), text.c_str(), text.size() + 1);
        } else if (info.isComplex()) {
            appendRecord(stream, static_cast<u16>(id), paraMan.getParamPointer(id),
                         static_cast<size_t>(rows.binarySize(id)));
        } else {
            const f32 value = paraMan.getParameterTarget(id);
            appendRecord(stream, static_cast<u16>(id), &value, sizeof value);
        }
    }
    append(stream, u32{0});
    return stream;
}

namespace {

void readRecord(AM_ParaMan& paraMan, const AM_StateRows& rows, u16 id, const u8* payload,
                i32 size) {
    if (id == k_versionRecord) {
        if (size >= 4) paraMan.setPatchVersion(take<i32>(payload), false);
        return;
    }
    const ParameterInfo* info = paraMan.row(id);
    if (!info || !rows.isSaved(id) || paraMan.isLocked(id)) return;
    if (info->isComplex())
        paraMan.setParameterValueComplex(id, payload, size);
    else if (size >= 4)
        paraMan.restoreParameterValue(id, take<f32>(payload));
}

bool readRecords(AM_ParaMan& paraMan, const u8* stream, size_t size) {
    const AM_StateRows rows(paraMan);
    for (size_t place = 0; size - place >= k_recordHeader;) {
        const u16 length = take<u16>(stream + place);
        if (length == 0) return true;
        if (size - place - k_recordHeader < length) break;
        readRecord(paraMan, rows, take<u16>(stream + place + 2), stream + place + k_recordHeader,
                   length);
        place += k_recordHeader + length;
    }
    AM_Log("ERROR: a state stream of %d bytes breaks off", static_cast<i32>(size));
    return false;
}

} // namespace

bool AM_readStateStream(AM_ParaMan& paraMan, const void* stream, i32 size) {
    constexpr u32 begun = 0, ended = 0x1006;
    paraMan.sendMessage(0, AM_Message_StateLoad, begun, nullptr);
    const AM_ImmediateScope immediate(paraMan);
    const bool complete =
        stream && size > 0 &&
        readRecords(paraMan, static_cast<const u8*>(stream), static_cast<size_t>(size));
    paraMan.requestQueueClear();
    paraMan.sendMessage(0, AM_Message_StateLoad, ended, nullptr);
    return complete;
}
