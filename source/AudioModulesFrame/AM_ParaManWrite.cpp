// Writing values: what AM_ParaMan does on the thread of the writer.
#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_Messages.h"
#include "AM_ParaMan.h"

#include <charconv>
#include <cstring>

// --- plain values ------------------------------------------------------------------------

void AM_ParaMan::setParameterValueRaw(i32 id, f32 value) {
    setParameterValue(id, value);
}

void AM_ParaMan::setParameterValue(i32 id, f32 value, f32 time, bool immediate) {
    const ParameterInfo* info = row(id);
    if (!info) {
        if (badId.first()) AM_Log("Can't set Parmeter with ID %d\n", id);
        return;
    }
    if (info->isComplex()) return;
    if (info->isMeter()) {
        if (reported[static_cast<size_t>(id)].meter.first())
            AM_Log("AM_ParaMan::setParam k_meter %d %s\n", id, info->longName);
        return;
    }
    value = clamped(*info, id, value);
    if (info->flags & k_flagMomentary) {
        if (value > 0.5f) press(*info, id, time);
        return;
    }
    if (info->isWholeNumber()) value = AM_wholeNumber(value);
    store(id, value, immediate);
    announceModulation(*info, id);
    notifyOwner(*info, id, value, time);
    if (info->flags & k_flagRefreshProcess) {
        AM_AudioObject* owner = ownerOf(*info);
        sendMessage(0, AM_Message_RefreshProcess, static_cast<u32>(info->owner),
                    owner ? owner->getModData() : nullptr);
    }
}

f32 AM_ParaMan::clamped(const ParameterInfo& info, i32 id, f32 value) {
    const bool isLayout = &info == &liveLayoutRow;
    const f32 maximum = isLayout ? info.maxValue : state->maximum(id);
    const f32 minimum = state->minimum(id);
    Reported& lines = reported[static_cast<size_t>(id)];
    if (value > maximum) {
        if (lines.above.first())
            AM_Log("value > params_Info[ id ].maxValue id=%d value=%f, %s", id, value,
                   info.longName);
        return maximum;
    }
    if (value >= minimum) return value;
    // Not a number comes here too.
    if (!lines.below.first()) return minimum;
    if (std::strcmp(info.longName, "Revision") == 0) {
        const f32 shown = value > -1e9f ? value : 0;
        AM_Log("Preset for rev %d loaded into rev %d, %s", static_cast<i32>(shown),
               static_cast<i32>(minimum), info.longName);
    } else {
        AM_Log("value < params_Info[ id ].minValue %s %f < %f", info.longName, value, minimum);
    }
    return minimum;
}

void AM_ParaMan::press(const ParameterInfo& info, i32 id, f32 time) {
    state->setValue(id, 1);
    notifyOwner(info, id, 1, time);
    state->setValue(id, 0);
    state->setTarget(id, 0);
}

void AM_ParaMan::store(i32 id, f32 value, bool immediate) {
    immediate = immediate || loadDepth.load() > 0 || state->clearQueue.load();
    const bool smoothed = state->slotOfParam[static_cast<size_t>(id)] >= 0;
    state->setTarget(id, value);
    if (!smoothed || immediate) state->setValue(id, value);
    if (smoothed && immediate) state->immediate.set(id);
    state->pending.set(id);
}

void AM_ParaMan::announceModulation(const ParameterInfo& info, i32 id) {
    if ((info.flags & k_flagModSource) == 0 || !getParamPointer(id)) return;
    AM_AudioObject* owner = ownerOf(info);
    if (owner && owner->isModulated(owner->getObjectId())) manager->scheduleModUpdate();
}

void AM_ParaMan::notifyOwner(const ParameterInfo& info, i32 id, f32 value, f32 time) {
    if (getParamPointer(id) && (info.flags & k_flagNotifyOwner) == 0) return;
    AM_AudioObject* owner = ownerOf(info);
    if (!owner) return;
    i32 index = info.indexInOwner;
    f32 heard = value;
    owner->parameterChanged(&index, &heard, &time);
    // The owner of a reference may answer with another one.
    if (info.baseKind() == k_reference && heard != value)
        store(id, AM_wholeNumber(clamped(info, id, heard)), true);
}

// --- complex values ----------------------------------------------------------------------

const ParameterInfo* AM_ParaMan::complexRow(i32 id, const void* data, i32& size) {
    if (!data) {
        AM_Log("AM_ParaMan::setParameterValueComplex with NULL data");
        return nullptr;
    }
    const ParameterInfo* info = row(id);
    if (!info) {
        AM_Log("WTF? AM_ParaMan::setParameterValueComplex Param %d is NULL", id);
        return nullptr;
    }
    if (!info->isComplex()) return nullptr;
    const i32 largest = static_cast<i32>(info->maxValue);
    if (size > largest || size < 0) {
        AM_Log("COMPLEX PARAM TOO BIG");
        return nullptr;
    }
    if (size == 0) size = largest;
    if (info->kind == k_complexText && !std::memchr(data, 0, static_cast<size_t>(size))) {
        AM_Log("ALERT! AM_AudioMan::setParameterValueComplex text too long for %s (%d)",
               info->longName, size);
        return nullptr;
    }
    return info;
}

void AM_ParaMan::setParameterValueComplex(i32 id, const void* data, i32 size) {
    if (AM_onAudioThread()) {
        if (complexOnAudio.first())
            AM_Log("ERROR: complex parameter %d set on the audio thread", id);
        return;
    }
    const ParameterInfo* info = complexRow(id, data, size);
    AM_AudioObject* owner = info ? ownerOf(*info) : nullptr;
    if (!owner) return;
    if (info->kind != k_complexText) {
        storeBytes(*owner, *info, data, size);
        return;
    }
    // Nothing behind the terminator is the caller's to read.
    std::vector<char> text(static_cast<size_t>(size), 0);
    std::memcpy(text.data(), data, std::strlen(static_cast<const char*>(data)));
    storeBytes(*owner, *info, text.data(), size);
}

void AM_ParaMan::storeBytes(AM_AudioObject& owner, const ParameterInfo& info, const void* data,
                            i32 size) {
    i32 index = info.indexInOwner;
    void* target = owner.getParameterPointer(index);
    // A message may lead anywhere, to what takes stateLock too, and that comes before this lock.
    boost::unique_lock<boost::recursive_mutex> hold(complexMutex, boost::defer_lock);
    if (target) {
        hold.lock();
        std::memmove(target, data, static_cast<size_t>(size));
    }
    const bool tells = (info.flags & k_flagNotifyOwner) != 0;
    if (tells || !target) owner.setParameterComplex(&index, data, size);
    if (!tells) return;
    f32 value = 0, time = 0;
    owner.parameterChanged(&index, &value, &time);
}

void AM_ParaMan::scheduleComplexParamNotification(i32 id, bool now) {
    if (!state->isId(id)) return;
    if (cells.scheduleComplex(id)) AM_Log("AM_ParaMan::scheduleComplexParamNotification( %d )", id);
    if (now) manager->notifyHost(k_hostParameterChanged, id);
}

void AM_ParaMan::tellSink(i32 id) {
    AM_IParameterSink* listener = sink.load(std::memory_order_acquire);
    const ParameterInfo* info = row(id);
    if (listener && info && !info->isComplex())
        listener->parameterMoved(id, getParameterTarget(id));
}

void AM_ParaMan::setInitPresetName() {
    static constexpr char k_name[] = "initialize.q3p";
    setParameterValueComplex(standardId(k_rowPatchFileName), k_name, sizeof k_name);
}

// --- locks -------------------------------------------------------------------------------

void AM_ParaMan::setLocked(i32 id, bool on) {
    if (!state->isId(id)) return;
    if (on)
        locked.set(id);
    else
        locked.clear(id);
    AM_Log(on ? "locked %s" : "unlocked %s", state->rows[id].longName);
}

void AM_ParaMan::receiveCom(const char* subject, const char* content) {
    if (!subject || !content) return;
    const bool lock = std::strcmp(subject, "lock Parameter") == 0;
    if (!lock && std::strcmp(subject, "unlock Parameter") != 0) return;
    i32 id = -1;
    const char* end = content + std::strlen(content);
    if (std::from_chars(content, end, id).ec == std::errc()) setLocked(id, lock);
}
