#include "AM_Circuit.h"

#include "AM_AudioManager.h"
#include "AM_EventQueue.h"
#include "AM_Log.h"
#include "AM_Messages.h"
#include "AM_ParaMan.h"
#include "AM_Text.h"

#include <algorithm>
#include <mutex>
#include <new>

namespace {

constexpr u32 k_slotStart = 3;

// The circuit's own rows.
enum OwnRow : i32 { k_rowOutput, k_rowRandom, k_rowRandomize };

const ParameterInfo k_ownRows[] = {
    ParameterInfo("CcOp", "Output", k_float, 0, 200, 100).withFlags(7),
    ParameterInfo("RnDm", "Random", k_floatPlain, 0, 100, 10),
    ParameterInfo("RnDmB", "Randomize", k_integer, 0, 1, 0),
};

} // namespace

AM_CircuitObject::AM_CircuitObject(AM_AudioMan* owner, const char* name, i32 channels, i32 aux)
    : AM_AudioObject(owner, name), channelCapacity(channels) {
    setupObject(u32{k_audioJoinsMidiChain} | k_classAudioCircuit, numOwnRows, channels,
                AM_ModSources::k_count, AM_ModSources::k_count);
    setAuxIndex(aux);
}

// --- set-up ------------------------------------------------------------------------------

i32 AM_CircuitObject::slotsOf(AM_AudioObject& child) {
    if (modulesAsChannels == 0 || !(child.typeMask & k_classAudioModulator)) return 1;
    return numChannels / std::max(child.getNumChannels(), 1);
}

void AM_CircuitObject::add(AM_Tree* node) {
    auto* child = dynamic_cast<AM_AudioObject*>(node);
    if (!child || child->getNumChannels() > channelCapacity) {
        AM_Log("CIRCUIT ERROR: AudioObject %s needs more Channels than available! %d vs %d",
               node ? node->getName() : "", child ? child->getNumChannels() : 0, channelCapacity);
        delete node;
        return;
    }
    AM_AudioObject::add(child);
    numSlots += slotsOf(*child);
    if (child->typeMask & k_audioBypassable) {
        ++numParameters;
        ++numBypassable;
    }
}

void AM_CircuitObject::setHasSyncTrigger() {
    if (hasSyncTrigger) return;
    hasSyncTrigger = true;
    ++numParameters;
}

i32 AM_CircuitObject::takeOwnRows() {
    const i32 taken = numOwnRows;
    numOwnRows = 0;
    numParameters -= taken;
    return taken;
}

void AM_CircuitObject::setRouting(i32 count) {
    if (routingCount == 0 && count != 0) ++numParameters;
    if (routingCount != 0 && count == 0) --numParameters;
    routingCount = count;
}

i32 AM_CircuitObject::getModDataSize() {
    return static_cast<i32>(sizeof(AM_CircuitParams)) +
           numSlots * static_cast<i32>(sizeof(CircuitModule) + sizeof(i32)) +
           numBypassable * static_cast<i32>(sizeof(AM_BypassEntry));
}

void AM_CircuitObject::memoryAssigned(BlockContext* context) {
    hostContext = context;
    modSources.attach(reinterpret_cast<AM_ModSources::State*>(data),
                      context->modBuffers ? context->modBuffers + firstModBuffer * 16 : nullptr);
    layOutLists();
    buildRows();
    fillSlots(context);
}

void AM_CircuitObject::layOutLists() {
    AM_CircuitParams& p = params();
    auto* place = reinterpret_cast<u8*>(modData) + sizeof(AM_CircuitParams);
    p.numSlots = numSlots;
    p.slots = reinterpret_cast<CircuitModule*>(place);
    for (i32 s = 0; s < numSlots; ++s)
        new (&p.slots[s]) CircuitModule{};
    place += static_cast<size_t>(numSlots) * sizeof(CircuitModule);
    p.order = reinterpret_cast<i32*>(place);
    place += static_cast<size_t>(numSlots) * sizeof(i32);
    p.bypass = reinterpret_cast<AM_BypassEntry*>(place);
    p.output = k_ownRows[k_rowOutput].defaultValue;
    p.random = k_ownRows[k_rowRandom].defaultValue;
}

void AM_CircuitObject::buildRows() {
    rows.assign(k_ownRows, k_ownRows + numOwnRows);
    if (routingCount != 0) {
        const f32 last = static_cast<f32>(routingCount - 1);
        rows.push_back(
            ParameterInfo("CrcR", "Circuit Routing", k_integer, 0, last, 1).withFlags(0x84));
    }
    firstBypassRow = static_cast<i32>(rows.size());
    for (i32 n = 0; n < numBypassable; ++n)
        rows.push_back(ParameterInfo("", "Active", k_integer, 0, 1, 1).withFlags(0x84));
    if (hasSyncTrigger) {
        syncTriggerRow = static_cast<i32>(rows.size());
        rows.push_back(ParameterInfo("CiTr", "Sync Trigger", k_integer, 0, 1, 1).withFlags(0x104));
    }
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i].indexInOwner = static_cast<i32>(i);
}

void AM_CircuitObject::nameBypassRow(i32 n, AM_AudioObject& child) {
    char shortText[7];
    AM_STD::copyText(shortText, child.getShortName());
    char longText[60];
    AM_STD::sprintv(longText, sizeof longText, "Active %s", shortText);
    ParameterInfo& row = rows[static_cast<size_t>(firstBypassRow + n)];
    const i32 index = row.indexInOwner;
    row = ParameterInfo(shortText, longText, k_integer, 0, 1, 1).withFlags(0x84);
    row.indexInOwner = index;
}

void AM_CircuitObject::fillSlots(BlockContext* context) {
    AM_CircuitParams& p = params();
    i32 filled = 0;
    i32 bypassable = 0;
    for (AM_AudioObject* child = childObject(); child; child = child->nextObject()) {
        const i32 count = slotsOf(*child);
        const bool spread = modulesAsChannels != 0 && (child->typeMask & k_classAudioModulator);
        if (child->typeMask & k_audioBypassable) {
            nameBypassRow(bypassable, *child);
            p.bypass[bypassable] = {0, filled};
            ++bypassable;
        }
        for (i32 n = 0; n < count && filled < numSlots; ++n) {
            fillSlot(filled, *child, spread ? n * child->getNumChannels() : auxIndex, context);
            p.order[p.orderCount++] = filled++;
        }
    }
    if (filled != numSlots)
        AM_Log("ERROR: %d CircuitModules set up, %d expected\n", filled, numSlots);
}

void AM_CircuitObject::fillSlot(i32 index, AM_AudioObject& child, i32 firstChannel,
                                BlockContext* context) {
    CircuitModule& slot = params().slots[index];
    slot.data = child.getVoiceData(0);
    slot.modData = child.getModData();
    slot.object = &child;
    slot.process = child.getProcessFunction(context);
    slot.firstInput = slot.firstOutput = static_cast<u8>(firstChannel);
    slot.channels = static_cast<u8>(numChannels);
    slot.state.store(k_slotStart, std::memory_order_relaxed);
}

void AM_CircuitObject::setModule(const char* name, i32 firstInput, i32 firstOutput) {
    const i32 last = hostContext ? hostContext->numBusChannels - numChannels : -1;
    const bool routable =
        firstInput >= 0 && firstInput <= last && firstOutput >= 0 && firstOutput <= last;
    for (i32 s = 0; routable && modData && s < numSlots; ++s) {
        AM_CircuitParams& p = params();
        CircuitModule& slot = p.slots[s];
        if (!slot.object || AM_STD::Strcmp(slot.object->getName(), name) != 0) continue;
        i32* place = std::find(p.order, p.order + p.orderCount, s);
        std::rotate(place, place + 1, p.order + p.orderCount);
        slot.firstInput = static_cast<u8>(firstInput);
        slot.firstOutput = static_cast<u8>(firstOutput);
        return;
    }
    AM_Log("AM_CircuitObject::setModule( '%s' ) failed\n", name);
}

AM_AudioObject* AM_CircuitObject::getSlotProcessor(i32 slot) {
    return modData && slot >= 0 && slot < numSlots ? params().slots[slot].object : nullptr;
}

// --- parameters --------------------------------------------------------------------------

const ParameterInfo* AM_CircuitObject::getParameterInfo(i32 index) {
    return index >= 0 && index < static_cast<i32>(rows.size()) ? &rows[static_cast<size_t>(index)]
                                                               : nullptr;
}

i32 AM_CircuitObject::getBypassRow(i32 n) const {
    return n >= 0 && n < numBypassable && firstBypassRow >= 0 ? firstBypassRow + n : -1;
}

i32 AM_CircuitObject::getNumBusChannels() const {
    i32 highest = 0;
    for (i32 s = 0; s < numSlots && modData; ++s) {
        const CircuitModule& slot = params().slots[s];
        highest = std::max(highest, std::max(slot.firstInput, slot.firstOutput) + slot.channels);
    }
    return highest;
}

void* AM_CircuitObject::getParameterPointer(i32 index) {
    if (!modData || !getParameterInfo(index)) return nullptr;
    AM_CircuitParams& p = params();
    if (index < numOwnRows) {
        if (index == k_rowOutput) return &p.output;
        return index == k_rowRandom ? &p.random : nullptr;
    }
    if (index == syncTriggerRow) return &p.syncTrigger;
    return index < firstBypassRow ? &p.routing
                                  : static_cast<void*>(&p.bypass[index - firstBypassRow].state);
}

bool AM_CircuitObject::isAction(i32 index) {
    return index == k_rowRandomize;
}

void AM_CircuitObject::parameterChanged(i32* index, f32* value, f32*) {
    if (!modData) return;
    const AM_CircuitParams& p = params();
    if (*index < numOwnRows) {
        const AM_ParaMan* table = manager ? manager->getParaMan() : nullptr;
        if (*index != k_rowRandomize || *value == 0 || !table) return;
        const f32 amount = table->getParameterValue(firstParameter + k_rowRandom);
        if (!(amount > 0)) return;
        AM_Log("randomizing...\n");
        randomizeAll(amount);
    } else if (*index < firstBypassRow) {
        if (manager) manager->routingChanged(this, *value);
    } else if (*index != syncTriggerRow) {
        const i32 entry = *index - firstBypassRow;
        if (entry >= numBypassable || p.bypass[entry].slot >= numSlots) {
            AM_Log("FATAL ERROR: AM_CircuitObject got bypass info for non-existing Module\n");
            return;
        }
        switchModule(entry, *value > 0.5f);
    }
}

void AM_CircuitObject::switchModule(i32 entry, bool on) {
    AM_CircuitParams& p = params();
    AM_AudioObject* module = p.slots[p.bypass[entry].slot].object;
    for (i32 s = 0; s < numSlots; ++s) {
        CircuitModule& slot = p.slots[s];
        if (slot.object != module) continue;
        const bool active = AM_BypassFade::isActive(slot.state.load(std::memory_order_relaxed));
        // Switched on, a module starts empty: no tail of before the bypass is heard.
        if (on && !active) module->reset();
        AM_BypassFade::toggle(slot.state, on);
    }
}

void AM_CircuitObject::getModSourceName(i32 index, AM_ModSourceName* record) {
    static const AM_ModSourceName names[AM_ModSources::k_count] = {
        {"ModWhl", 0x60000, 1},
        {"PitchW", 0x50001, 1},
        {"Breath", 0x70000, 1},
        {"Xpress", 0x70000, 1},
    };
    if (index >= 0 && index < AM_ModSources::k_count)
        *record = names[index];
    else
        AM_AudioObject::getModSourceName(index, record);
}

bool AM_CircuitObject::isModulated(i32 id) {
    if (id != 0 && id != objectId && modData) {
        const AM_CircuitParams& p = params();
        for (i32 i = 0; i < p.orderCount; ++i) {
            const CircuitModule& slot = p.slots[p.order[i]];
            if (slot.object && slot.object->getObjectId() == id)
                return AM_BypassFade::isActive(slot.state.load(std::memory_order_relaxed));
        }
    }
    auto* above = static_cast<AM_AudioObject*>(parent);
    return above ? above->isModulated(objectId) : true;
}

void AM_CircuitObject::randomize(f32 amount) {
    if (parent) AM_AudioObject::randomize(amount);
}

void AM_CircuitObject::receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* about) {
    switch (messageId) {
    case AM_Message_RefreshProcess:
        refreshProcess(about);
        break;
    case AM_Message_MidiTarget:
        if (!midiTarget) midiTarget = sender;
        break;
    case AM_Message_CircuitState:
        if (value == 1) sendMessage(k_classAudioMan, AM_Message_CircuitState, 0x45, about);
        break;
    default:
        break;
    }
    AM_AudioObject::receiveMessage(sender, messageId, value, about);
}

// `which` is a module or its modData; null stands for all.
void AM_CircuitObject::refreshProcess(const void* which) {
    if (!modData || !manager) return;
    const std::lock_guard lock(manager->getStateLock());
    for (i32 s = 0; s < numSlots; ++s) {
        CircuitModule& slot = params().slots[s];
        if (!slot.object) continue;
        if (!which || which == slot.object || which == slot.modData)
            slot.process = slot.object->getProcessFunction(hostContext);
    }
}

// --- running -----------------------------------------------------------------------------

void AM_CircuitObject::reset() {
    if (!modData) return;
    for (i32 s = 0; s < numSlots; ++s)
        AM_BypassFade::finish(params().slots[s].state);
    modSources.settle();
}

void AM_CircuitObject::processEvent(i32 type, i32, f32 field1, f32 field2, u32) {
    if (type == k_eventController && field1 == 2.0f)
        modSources.setTarget(AM_ModSources::k_breath, field2);
    else if (type == k_eventController && field1 == 11.0f)
        modSources.setTarget(AM_ModSources::k_expression, field2);
    else if (type == k_eventPitchBend)
        modSources.setTarget(AM_ModSources::k_pitchWheel, field2);
    else if (type == k_eventModWheel)
        modSources.setTarget(AM_ModSources::k_modWheel, field2);
}

AM_ProcessFunction AM_CircuitObject::getProcessFunction(BlockContext*) {
    return synchronous ? processSynchronous : processPlain;
}

void AM_CircuitObject::processPlain(i32* start, i32* numQuads, CircuitModule* slot,
                                    BlockContext* context) {
    static_cast<AM_CircuitObject*>(slot->object)
        ->runModules(*start, *numQuads, slot->channels, context, false);
}

void AM_CircuitObject::processSynchronous(i32* start, i32* numQuads, CircuitModule* slot,
                                          BlockContext* context) {
    static_cast<AM_CircuitObject*>(slot->object)
        ->runModules(*start, *numQuads, slot->channels, context, true);
}

void AM_CircuitObject::runModules(i32 start, i32 numQuads, i32 channels, BlockContext* context,
                                  bool isSynchronous) {
    AM_CircuitParams& p = params();
    modSources.run(*context, start, numQuads, isSynchronous);
    const bool modulates = modulationEnabled != 0 && !modTargets.isEmpty();
    if (modulates) modTargets.apply(numQuads);
    for (i32 i = 0; i < p.orderCount; ++i) {
        CircuitModule& slot = p.slots[p.order[i]];
        slot.channels = static_cast<u8>(channels);
        runChain(start, numQuads, &slot, context);
    }
    if (modulates) modTargets.undo();
}

bool AM_CircuitObject::isResting() {
    if (!modSources.isResting() || synchronous || !modTargets.isEmpty()) return false;
    const AM_CircuitParams& p = params();
    for (i32 i = 0; i < p.orderCount; ++i) {
        const CircuitModule& slot = p.slots[p.order[i]];
        const u32 state = slot.state.load(std::memory_order_relaxed);
        if (AM_BypassFade::counter(state) != 0) return false;
        if (slot.process && AM_BypassFade::isActive(state) && !slot.object->isResting())
            return false;
    }
    return true;
}

void AM_CircuitObject::runChain(i32 start, i32 numQuads, CircuitModule* slot,
                                BlockContext* context) {
    const u32 seen = slot->state.load(std::memory_order_acquire);
    const bool active = AM_BypassFade::isActive(seen);
    const bool wanted = !active || slot->channels == 0 || runPre(slot->object);
    if (slot->process && wanted) {
        if (AM_BypassFade::counter(seen) != 0)
            crossfade(start, numQuads, seen, slot, context);
        else if (active)
            slot->process(&start, &numQuads, slot, context);
    }
    publishModValues(*slot->object, numQuads, context);
    runPost(slot->object, this);
}

void AM_CircuitObject::crossfade(i32 start, i32 numQuads, u32 seen, CircuitModule* slot,
                                 BlockContext* context) {
    const i32 offset = start * k_quadFrames;
    const i32 frames = numQuads * k_quadFrames;
    const auto channelOf = [&](f32* buffer, i32 channel) {
        return buffer + channel * k_subBlockFrames + offset;
    };
    for (i32 c = 0; c < slot->channels; ++c)
        std::copy_n(channelOf(context->audioBuffer, slot->firstInput + c), frames,
                    channelOf(context->bypassBuffer, c));
    slot->process(&start, &numQuads, slot, context);
    for (i32 c = 0; c < slot->channels; ++c)
        AM_BypassFade::mix(channelOf(context->audioBuffer, slot->firstOutput + c),
                           channelOf(context->bypassBuffer, c), seen, numQuads);
    AM_BypassFade::advance(slot->state, seen, numQuads);
}

void AM_CircuitObject::publishModValues(const AM_AudioObject& module, i32 numQuads,
                                        BlockContext* context) {
    if (!context->modValues || !context->modBuffers) return;
    const i32 first = module.getFirstModBuffer();
    for (i32 b = first; b < first + module.getNumModBuffers(); ++b)
        if (b < context->numModBuffers)
            context->modValues[b] = context->modBuffers[b * 16 + numQuads * 4 - 1];
}
