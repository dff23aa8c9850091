#include "AM_ParaMan.h"

#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_Messages.h"
#include "AM_StateReader.h"
#include "AM_StateWriter.h"
#include "AM_Take.h"
#include "AM_ValueToString.h"

#include <algorithm>
#include <cstring>

namespace {

void runSubBlock(i32*, i32*, CircuitModule* slot, BlockContext*) {
    static_cast<AM_ParaMan*>(slot->object)->processSubBlock();
}

} // namespace

// --- life --------------------------------------------------------------------------------

AM_ParaMan::AM_ParaMan(AM_AudioMan* owner, i32 numMetas, i32 numTargetsPerMeta, i32 numMatrixSlots)
    : AM_ParameterInterface(owner, "PCore: Parameter Core"), layout{std::max(numMetas, 0),
                                                                    std::max(numTargetsPerMeta, 0),
                                                                    std::max(numMatrixSlots, 0)},
      ownRows(AM_makeOwnRows(layout)), state(std::make_unique<ParamRuntime>()), smoothing(*state),
      metas(*state), stateWriter(std::make_unique<AM_StateWriter>(*this)),
      stateReader(std::make_unique<AM_StateReader>(*this)), displays(AM_makeValueToStrings()) {
    setupObject(0, layout.count(), 1, 0, 0);
    liveOwnRow = ownRows[static_cast<size_t>(layout.standard() + k_rowChannelLayout)];
    liveOwnRow.maxValue = 2;
    AM_Log("Starting REVISION %d", k_revision);
}

AM_ParaMan::~AM_ParaMan() = default;

// --- AM_AudioObject ----------------------------------------------------------------------

const ParameterInfo* AM_ParaMan::getParameterInfo(i32 index) {
    if (index < 0 || index >= layout.count()) return nullptr;
    return patched(ownRows[static_cast<size_t>(index)]);
}

i32 AM_ParaMan::getParameterStrings(i32 index, const char* const** out) {
    return AM_standardRowTexts(index - layout.standard(), out);
}

void* AM_ParaMan::getParameterPointer(i32 index) {
    BlockContext* context = manager->getBlockContext();
    const i32 standardRow = index - layout.standard();
    switch (context ? standardRow : -1) {
    case k_rowSwingBase:
        return &context->swingGrid;
    case k_rowSwing:
        return &context->swingAmount;
    case k_rowSwingTrigger:
        return &context->swingLocked;
    case k_rowChannelLayout:
        return &context->channelLayout;
    case k_rowSurroundOptions:
        return &context->lfeMode;
    default:
        return cells.pointer(standardRow);
    }
}

const void* AM_ParaMan::getParameterData(i32 id) {
    if (id == standardId(k_rowLevels)) return cells.levels();
    if (id == standardId(k_rowUpdateComplex)) return cells.takeComplex();
    AM_Log("AM_ParaMan::getParameterData ( int id ) wrong id!!!|n");
    return nullptr;
}

void AM_ParaMan::parameterChanged(i32* index, f32* value, f32*) {
    const i32 place = *index - layout.metaTargets();
    if (place < 0 || *index >= layout.fixed()) return;
    const i32 target = place / k_rowsPerMetaTarget;
    if (place % k_rowsPerMetaTarget == 0) {
        setMetaTargetValue(target / layout.targetsPerMeta, target % layout.targetsPerMeta,
                           static_cast<i32>(*value));
    } else {
        metas.refresh();
    }
}

void AM_ParaMan::receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) {
    switch (messageId) {
    case AM_Message_SaveState:
        if (value == 1 && data) *static_cast<i32*>(data) = 0x8B;
        stateSaveWanted.store(true);
        break;
    case AM_Message_SetComplexText: {
        const char* text = static_cast<const char*>(data);
        const size_t length = text ? std::strlen(text) + 1 : 0;
        setParameterValueComplex(static_cast<i32>(value), text,
                                 static_cast<i32>(std::min<size_t>(length, INT32_MAX)));
        break;
    }
    case AM_Message_PatchVersion:
        setPatchVersion(static_cast<i32>(value), true);
        break;
    case AM_Message_PresetListChanged:
        presetListChanged.store(true);
        break;
    default:
        break;
    }
    AM_ParameterInterface::receiveMessage(sender, messageId, value, data);
}

AM_ProcessFunction AM_ParaMan::getProcessFunction(BlockContext*) {
    return runSubBlock;
}

void AM_ParaMan::update() {
    if (state->count == 0) return;
    smoothing.takeOver();
    metas.apply();
}

void AM_ParaMan::processSubBlock() {
    try {
        if (state->count == 0) return;
        if (AM_take(state->clearQueue)) smoothing.clear();
        smoothing.takeOver();
        smoothing.step();
        metas.apply();
        cells.setMeter(k_rowSwingLight, manager->getBlockContext()->swungGate);
    } catch (...) {
        if (blockFailed.first()) AM_Log("ERROR: the parameter manager failed in a sub-block");
    }
}

// --- building the table ------------------------------------------------------------------

void AM_ParaMan::buildTable(AM_AudioObject* root) {
    i32 next = 0;
    numberObjects(root, next);
    ownParamBase = firstParameter;
    numParamsTotal = root->getNumParametersAll(true);
    paramRows.assign(static_cast<size_t>(numParamsTotal), ParameterInfo());
    for (i32 id = 0; id < numParamsTotal; ++id) {
        ParameterInfo& info = paramRows[static_cast<size_t>(id)];
        if (root->copyParameterInfoAll(id, &info)) info.id = static_cast<u32>(id);
    }
    state->build(paramRows);
    for (i32 id = 0; id < numParamsTotal; ++id)
        state->pointers[static_cast<size_t>(id)] = root->getParameterPointerAll(id);
    smoothing.prepare();
    metas.prepare(layout.numMetas, layout.targetsPerMeta, ownParamBase,
                  ownParamBase + layout.metaTargets());
    locked.resize(numParamsTotal);
    reported = std::make_unique<Reported[]>(static_cast<size_t>(numParamsTotal));
    liveLayoutRow = paramRows[static_cast<size_t>(standardId(k_rowChannelLayout))];
    liveLayoutRow.maxValue = 2;
}

void AM_ParaMan::numberObjects(AM_AudioObject* object, i32& next) {
    for (; object; object = object->nextObject()) {
        object->setFirstParameter(next);
        next += object->getNumOwnParameters();
        numberObjects(object->childObject(), next);
    }
}

void AM_ParaMan::completeTable() {
    std::vector<i32> published;
    for (i32 id = 0; id < numParamsTotal; ++id) {
        ParameterInfo& info = paramRows[static_cast<size_t>(id)];
        if (info.flags & k_flagHost) {
            info.hostId = static_cast<i32>(published.size());
            published.push_back(id);
        }
        if (info.isMeter() || info.isComplex()) continue;
        store(id, info.defaultValue, true);
    }
    setHostIndexTable(published);
    update();
    keepInitialTexts();
    shownValues.resize(static_cast<size_t>(numParamsTotal));
    for (i32 id = 0; id < numParamsTotal; ++id)
        shownValues[static_cast<size_t>(id)] = getParameterValue(id);
}

// --- reading the table -------------------------------------------------------------------

const ParameterInfo* AM_ParaMan::patched(const ParameterInfo& record) const {
    if (std::strcmp(record.longName, liveOwnRow.longName) != 0 ||
        std::strcmp(manager->getHostName(), "Live") != 0)
        return &record;
    return record.owner < 0 ? &liveOwnRow : &liveLayoutRow;
}

const ParameterInfo* AM_ParaMan::row(i32 id) const {
    if (!state->isId(id)) return nullptr;
    const ParameterInfo& info = paramRows[static_cast<size_t>(id)];
    return id == standardId(k_rowChannelLayout) ? patched(info) : &info;
}

f32 AM_ParaMan::getParameterValue(i32 id) const {
    if (!state->isId(id)) return 0;
    if (!state->rows[id].isMeter()) return state->value(id);
    if (isStandardRow(id))
        return cells.meter(static_cast<AM_StandardRow>(id - standardId(k_rowSwingBase)));
    auto* cell = static_cast<f32*>(state->pointers[static_cast<size_t>(id)]);
    return cell ? std::atomic_ref<f32>(*cell).load(std::memory_order_relaxed) : 0;
}

f32 AM_ParaMan::getParameterTarget(i32 id) const {
    if (!state->isId(id) || state->rows[id].isMeter()) return getParameterValue(id);
    return state->target(id);
}

i32 AM_ParaMan::fromHostIndex(i32 id, bool hostIndex) const {
    if (!hostIndex) return id;
    if (id < 0 || static_cast<size_t>(id) >= hostIndexTable.size()) return -1;
    return hostIndexTable[static_cast<size_t>(id)];
}

u32 AM_ParaMan::getParameterFlags(i32 id, bool hostIndex) const {
    id = fromHostIndex(id, hostIndex);
    if (!state->isId(id)) return 0;
    const u32 fixed = state->rows[id].flags & ~u32{k_flagLocked};
    return locked.test(id) ? fixed | k_flagLocked : fixed;
}

bool AM_ParaMan::needsUpdate(i32 id, bool hostIndex) {
    id = fromHostIndex(id, hostIndex);
    if (!state->isId(id) || shownValues.empty()) return false;
    f32& shown = shownValues[static_cast<size_t>(id)];
    const f32 value = getParameterValue(id);
    if (value == shown) return false;
    shown = value;
    return true;
}

void AM_ParaMan::setHostIndexTable(const std::vector<i32>& list) {
    for (ParameterInfo& info : paramRows)
        info.hostParamIndex = -1;
    hostIndexTable.clear();
    for (const i32 id : list) {
        if (!state->isId(id)) continue;
        paramRows[static_cast<size_t>(id)].hostParamIndex = static_cast<i32>(hostIndexTable.size());
        hostIndexTable.push_back(id);
    }
}

void* AM_ParaMan::getParamPointer(i32 id) const {
    return state->isId(id) ? state->pointers[static_cast<size_t>(id)] : nullptr;
}

void AM_ParaMan::setParamPointer(i32 id, void* pointer) {
    if (state->isId(id)) state->pointers[static_cast<size_t>(id)] = pointer;
}

AM_AudioObject* AM_ParaMan::ownerOf(const ParameterInfo& info) const {
    return manager->getObject(info.owner);
}

// --- metas, ModBuffers, watched parameters, meters ---------------------------------------

void AM_ParaMan::setMetaTargetValue(i32 meta, i32 slot, i32 id) {
    if (!metas.assign(meta, slot, id)) return;
    const i32 metaId = metas.metaId(meta);
    setParameterValue(metaId, state->target(metaId), 44.1f);
}

void AM_ParaMan::clearMetaTargets() {
    for (i32 meta = 0; meta < layout.numMetas; ++meta)
        for (i32 slot = 0; slot < layout.targetsPerMeta; ++slot)
            metas.assign(meta, slot, -1);
}

void AM_ParaMan::changeModBuffer(i32 index, bool on) {
    const boost::recursive_mutex::scoped_lock hold(manager->getStateLock());
    activeMods.change(index, on);
    rebuildActiveMods();
}

void AM_ParaMan::rebuildActiveMods() {
    const boost::recursive_mutex::scoped_lock hold(manager->getStateLock());
    if (BlockContext* context = manager->getBlockContext()) activeMods.rebuild(*context);
}

void AM_ParaMan::setCpuLoad(f32 percent) {
    cells.setMeter(k_rowCpuLoad, percent);
}

void AM_ParaMan::blockEnded(i32 frames) {
    watched.blockEnded(frames, [this](i32 id) { return getParameterValue(id); });
}

void AM_ParaMan::watchParameter(i32 id) {
    const boost::recursive_mutex::scoped_lock hold(manager->getStateLock());
    if (state->isId(id)) watched.add(id, getParameterValue(id));
}

void AM_ParaMan::setWatchListener(AM_WatchListener listener, void* data, i32 periodFrames) {
    const boost::recursive_mutex::scoped_lock hold(manager->getStateLock());
    watched.setListener(listener, data, periodFrames);
}

void AM_ParaMan::setPatchVersion(i32 version, bool silent) {
    const boost::recursive_mutex::scoped_lock hold(manager->getStateLock());
    BlockContext* context = manager->getBlockContext();
    const bool differs = context && context->patchVersion != version;
    patchVersion.store(version);
    if (context) context->patchVersion = version;
    if (!silent && differs)
        sendMessage(0, AM_Message_PatchVersion, static_cast<u32>(version), nullptr);
}
