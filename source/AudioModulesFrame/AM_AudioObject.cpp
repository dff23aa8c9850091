#include "AM_AudioObject.h"

#include "AM_ActiveMods.h"
#include "AM_Allocator.h"
#include "AM_Assert.h"
#include "AM_AudioManager.h"
#include "AM_Messages.h"
#include "AM_ParaMan.h"
#include "AM_Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr size_t k_textSize = 128;

void runProcess(i32* start, i32* numQuads, CircuitModule* slot, BlockContext* context) {
    slot->object->process(start, numQuads, slot, context);
}

} // namespace

// --- AM_MidiEventChain -------------------------------------------------------------------

void AM_MidiEventChain::processEvent(i32, i32, f32, f32, u32) {
}

void AM_MidiEventChain::handleEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) {
    processEvent(type, id, field1, field2, timestamp);
    forwardEvent(type, id, field1, field2, timestamp);
}

void AM_MidiEventChain::forwardEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) {
    if (nextInChain) nextInChain->handleEvent(type, id, field1, field2, timestamp);
}

// --- life --------------------------------------------------------------------------------

AM_AudioObject::AM_AudioObject(AM_AudioMan* owner, const char* name) : manager(owner) {
    typeMask = k_classAudioObject;
    AM_STD::copyText(objectName, name ? name : "untitled");
    char head[sizeof objectName];
    AM_STD::copyText(head, objectName);
    if (char* colon = std::strchr(head, ':')) *colon = 0;
    AM_STD::copyText(shortName, head);
}

AM_AudioObject::~AM_AudioObject() {
    AM_free(hintText);
    AM_free(bindingText);
    releaseSharedMemory();
}

void AM_AudioObject::setupObject(u32 typeBits, i32 parameters, i32 channels, i32 modSources,
                                 i32 buffers) {
    typeMask |= typeBits;
    numParameters = parameters;
    numChannels = channels;
    numModSources = modSources;
    numModBuffers = buffers;
}

const char* AM_AudioObject::getLongName() const {
    const char* mark = std::strstr(objectName, ": ");
    return mark ? mark + 2 : objectName;
}

void AM_AudioObject::add(AM_Tree* node) {
    if (auto* object = dynamic_cast<AM_AudioObject*>(node)) object->setGroup(group);
    AM_Tree::add(node);
}

// --- messages ----------------------------------------------------------------------------

void AM_AudioObject::receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) {
    switch (messageId) {
    case AM_Message_Description:
        description = data;
        break;
    case AM_Message_InterCom:
        if (auto* source = dynamic_cast<AM_IComSource*>(sender))
            receiveCom(source->getCurrentSubject(), source->getCurrentContent());
        break;
    case AM_Message_BindingText:
        storeText(bindingText, data);
        break;
    case AM_Message_HintText:
        storeText(hintText, data);
        break;
    case AM_Message_Diagnostics:
        printDiagnostics();
        break;
    default:
        if (data) numberMessage(messageId, data);
        break;
    }
    AM_Tree::receiveMessage(sender, messageId, value, data);
}

void AM_AudioObject::numberMessage(u32 messageId, void* data) {
    i32& counter = *static_cast<i32*>(data);
    switch (messageId) {
    case AM_Message_DescribeObject:
        describe(static_cast<AM_ObjectDescription*>(data)[objectId]);
        break;
    case AM_Message_NumberModSources:
        if (numModSources == 0) break;
        firstModSource = counter;
        counter += numModSources;
        break;
    case AM_Message_NumberModBuffers:
        if (numModBuffers == 0) break;
        firstModBuffer = counter;
        counter += numModBuffers;
        break;
    case AM_Message_NameModSources:
        for (i32 i = 0; i < numModSources; ++i)
            getModSourceName(i, static_cast<AM_ModSourceName*>(data) + firstModSource + i);
        break;
    case AM_Message_NumberObjects:
        objectId = counter++;
        break;
    case AM_Message_CollectObjects:
        static_cast<AM_AudioObject**>(data)[objectId] = this;
        break;
    case AM_Message_NumberCircuits:
        if (typeMask & k_classAudioCircuit) circuitIndex = counter++;
        break;
    case AM_Message_CollectCircuits:
        if (circuitIndex >= 0) static_cast<i32*>(data)[circuitIndex] = objectId;
        break;
    default:
        break;
    }
}

void AM_AudioObject::storeText(char*& target, const void* text) {
    if (!text) return;
    if (!target) target = static_cast<char*>(AM_ALLOC(k_textSize, 16));
    AM_STD::copyText(target, k_textSize, static_cast<const char*>(text));
}

void AM_AudioObject::describe(AM_ObjectDescription& record) const {
    const bool hasShort = std::memchr(objectName, ':', strnlen(objectName, 8)) != nullptr;
    AM_STD::copyText(record.shortName, shortName);
    AM_STD::copyText(record.longName, hasShort ? getLongName() : objectName);
    record.objectId = objectId;
    record.group = group;
}

void AM_AudioObject::receiveCom(const char*, const char*) {
}

// --- shared memory -----------------------------------------------------------------------

void* AM_AudioObject::allocateSharedMemory(i32 size) {
    if (!sharedMemory) {
        void* block = AM_ALLOC(sizeof(SharedMemoryRec), alignof(SharedMemoryRec));
        sharedMemory = new (block) SharedMemoryRec{nullptr, 0, this, 1};
    }
    if (size > sharedMemory->size) {
        AM_free(sharedMemory->memory);
        sharedMemory->memory = AM_ALLOC(static_cast<size_t>(size), 16);
        std::memset(sharedMemory->memory, 0, static_cast<size_t>(size));
        sharedMemory->size = size;
        AM_Log("size: %d %s", size, objectName);
    }
    return sharedMemory->memory;
}

void AM_AudioObject::setSharedMemory(SharedMemoryRec* record) {
    if (!record) {
        releaseSharedMemory();
    } else if (sharedMemory) {
        // The share that is kept stays counted, or its block would be freed under other objects.
        AM_Log("Duplicate Shared Memory Pointer ERROR in %s", objectName);
    } else {
        sharedMemory = record;
        ++record->refCount;
    }
}

void AM_AudioObject::releaseSharedMemory() {
    if (sharedMemory && --sharedMemory->refCount == 0) {
        AM_Log("%s deletes sharedMemoryRec of size %d", objectName, sharedMemory->size);
        AM_free(sharedMemory->memory);
        AM_free(sharedMemory);
    }
    sharedMemory = nullptr;
}

// --- parameters of its own ---------------------------------------------------------------

const ParameterInfo* AM_AudioObject::getParameterInfo(i32) {
    return nullptr;
}
i32 AM_AudioObject::getParameterStrings(i32, const char* const**) {
    return 0;
}
void* AM_AudioObject::getParameterPointer(i32) {
    return nullptr;
}
const void* AM_AudioObject::getParameterData(i32) {
    return nullptr;
}
void AM_AudioObject::parameterChanged(i32*, f32*, f32*) {
}
void AM_AudioObject::setParameterComplex(i32*, const void*, i32) {
}

f32 AM_AudioObject::getParameterAsFloat(i32 index) {
    const void* pointer = getParameterPointer(index);
    const ParameterInfo* info = getParameterInfo(index);
    if (!pointer || !info || info->isComplex()) return 0;
    if (info->isWholeNumber()) return static_cast<f32>(*static_cast<const i32*>(pointer));
    return *static_cast<const f32*>(pointer);
}

void AM_AudioObject::setOwnParameter(i32 index, f32 value, bool notify) {
    AM_ParaMan* table = manager ? manager->getParaMan() : nullptr;
    if (!table) return;
    table->setParameterValue(index + firstParameter, value);
    if (notify) manager->notifyHost(k_hostParameterChanged, index + firstParameter);
}

f32 AM_AudioObject::getOwnParameter(i32 index) {
    const AM_ParaMan* table = manager ? manager->getParaMan() : nullptr;
    return table ? table->getParameterValue(index + firstParameter) : 0;
}

void AM_AudioObject::randomize(f32 amount) {
    AM_ParaMan* table = manager ? manager->getParaMan() : nullptr;
    if (!table) return;
    for (i32 index = 0; index < numParameters; ++index) {
        const i32 id = manager->getParameterId(objectId, index);
        if (id >= 0 && !table->isStandardRow(id)) randomizeParameter(id, amount);
    }
}

void AM_AudioObject::randomizeParameter(i32 id, f32 amount) {
    AM_ParaMan& table = *manager->getParaMan();
    const ParameterInfo* info = table.row(id);
    constexpr u32 k_leftOut =
        k_flagNoRandom | k_flagNoRandom2 | k_flagMomentary | k_flagView | k_flagSetUp;
    if (!info || (info->flags & k_leftOut) != 0) return;
    f32 value = table.getParameterTarget(id);
    if (info->baseKind() == k_integer) {
        const f32 draw = manager->randomRange(0, 150);
        if (draw > 100) value = info->defaultValue;
        if (draw < amount)
            value = std::floor(manager->randomRange(info->minValue, info->maxValue) + 0.5f);
    } else if (info->baseKind() == k_float) {
        const f32 draw = manager->randomRange(info->minValue, info->maxValue);
        value += (draw - value) * amount * 0.01f;
    } else {
        return;
    }
    table.setParameterValue(id, value);
}

// --- running -----------------------------------------------------------------------------

AM_ProcessFunction AM_AudioObject::getProcessFunction(BlockContext*) {
    return runProcess;
}
void AM_AudioObject::process(i32*, i32*, CircuitModule*, BlockContext*) {
}
void AM_AudioObject::processorEvent(i32, i32, f32, f32, u32) {
}

void AM_AudioObject::runProcessorChain(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) {
    processorEvent(type, id, field1, field2, timestamp);
    if (nextProcessor) nextProcessor->runProcessorChain(type, id, field1, field2, timestamp);
}

i32 AM_AudioObject::getProcessBuffer(void** out) {
    *out = nullptr;
    return 0;
}

bool AM_AudioObject::isModulated(i32) {
    if (typeMask & k_audioAlwaysModulated) return true;
    auto* above = static_cast<AM_AudioObject*>(parent);
    if (above && !above->isModulated(objectId)) return false;
    if ((typeMask & k_audioTestsModulation) == 0) return true;
    const BlockContext* context = manager ? manager->getBlockContext() : nullptr;
    for (i32 i = 0; context && i < numModBuffers; ++i) {
        const i32 buffer = firstModBuffer + i;
        AM_ASSERT(buffer > 0, "ModBuffer > 0");
        if (AM_isModBufferActive(*context, buffer)) return true;
    }
    return false;
}

void AM_AudioObject::setAlwaysModulated(bool on) {
    typeMask = on ? typeMask | k_audioAlwaysModulated : typeMask & ~u32{k_audioAlwaysModulated};
}

bool AM_AudioObject::isInUse() {
    if ((typeMask & k_classAudioCircuit) == 0)
        for (AM_AudioObject* child = childObject(); child; child = child->nextObject())
            if (child->isInUse()) return true;
    return useCount != 0;
}

void AM_AudioObject::setChainValue(i32 value) {
    chainValue = value;
    if (firstChild) childObject()->setChainValue(value);
}

// --- names and diagnostics ---------------------------------------------------------------

bool AM_AudioObject::matchesShortName(const char* text) {
    size_t length = std::strlen(text);
    if (length == std::strlen(shortName) && length > 0) --length;
    return length < 1 || std::strncmp(text, shortName, length) == 0;
}

void AM_AudioObject::getModSourceName(i32 index, AM_ModSourceName* record) {
    if (numModSources >= 2)
        AM_STD::sprintv(record->name, sizeof record->name, "%s %d", getLongName(), index);
    else
        AM_STD::copyText(record->name, getLongName());
    record->word = 0xA0000;
    record->flag = 1;
}

void AM_AudioObject::reportSideChain(i32 value) {
    AM_Log("%s SideChain: %d\n", objectName, value);
}

void AM_AudioObject::printDiagnostics() {
    AM_Log("DataDiagnostics Object %s:\n", objectName);
}

void AM_AudioObject::printTest(const char* tag) {
    if (testValue)
        AM_Log("#TEST# %f @ %s - (%s)\n", *testValue, tag, objectName);
    else
        AM_Log("#TEST# NULL @ %s - (%s)\n", tag, objectName);
}
