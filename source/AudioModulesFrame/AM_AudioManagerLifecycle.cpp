// The cold side of AM_AudioMan: how an instance comes to life, what its host and its timer see of
// it, and how it ends.
#include "AM_Allocator.h"
#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_Circuit.h"
#include "AM_InstanceRecs.h"
#include "AM_InterComObject.h"
#include "AM_LogFile.h"
#include "AM_MemoryPlan.h"
#include "AM_Messages.h"
#include "AM_ParaMan.h"
#include "AM_StopWatch.h"
#include "AM_Text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <mutex>
#include <new>

namespace {

constexpr i32 k_hostCapacity = 100;
constexpr i32 k_maxComMessages = 64;
constexpr i32 k_maxComLength = 512; // bytes
constexpr i32 k_baseLatency = 16;   // frames
constexpr i32 k_ticksPerSecond = 20;
constexpr i32 k_apiAsksItself = 4;       // an interface that fetches the latency
constexpr u64 k_longRender = 2000000000; // ns

AM_Once longRenderLogged; // per process

} // namespace

// --- construction ------------------------------------------------------------------------

AM_AudioMan::AM_AudioMan(AM_ObjectHost* givenHost, i32 internalChannels, i32 secondCount)
    : numInternalChannels(std::clamp(internalChannels, 0, k_maxBusChannels - k_maxChannels)),
      numMatrixSlots(std::max(secondCount, 0)) {
    typeMask |= k_classAudioMan;
    AM_useLogFile();
    if (!givenHost) {
        hostObjects = std::make_unique<AM_ObjectHost>(k_hostCapacity);
        hostObjects->setName("AudioHost");
        givenHost = hostObjects.get();
    }
    AM_Object::setHost(givenHost);
#ifdef _WIN64
    AM_Log("Win64");
#else
    AM_Log("Linux64");
#endif
}

AM_AudioMan::~AM_AudioMan() {
    stopTick();
    interCom = nullptr;
    if (AM_IPluginPreferences* store = getSharedPreferences())
        if (saveCountdown > 0 || store->takeChanged()) savePreferences();
    stopWatch.reset();
    delete circuit;
    deleteLeftObjects();
    AM_free(memoryBlock);
    AM_InstanceRecs::release(instanceRecord);
    AM_Object::setHost(nullptr);
}

// Modules that never found a place in the tree. A registry of our own holds no others.
void AM_AudioMan::deleteLeftObjects() {
    const auto firstModule = [this]() -> AM_Object* {
        for (i32 i = 0; i < hostObjects->getCount(); ++i) {
            const AM_ObjectRecord& record = hostObjects->getRecords()[i];
            if (record.object != this && (record.typeMask & k_classAudioObject))
                return record.object;
        }
        return nullptr;
    };
    while (AM_Object* left = hostObjects ? firstModule() : nullptr) {
        auto* root = dynamic_cast<AM_Tree*>(left);
        while (root && root->getParent())
            root = root->getParent();
        while (root && root->getPrevious())
            root = root->getPrevious();
        delete (root ? root : left);
    }
}

void AM_AudioMan::stopTick() {
    if (tickId) AM_stopTick(tickId);
    tickId = 0;
}

void AM_AudioMan::setPlugId(u32 id) {
    if (instanceRecord) return;
    pluginInfo.plugId = id;
    instanceRecord = AM_InstanceRecs::acquire(id);
}

void AM_AudioMan::setMetaSizes(i32 metas, i32 targetsPerMeta) {
    numMetas = std::max(metas, 0);
    numTargetsPerMeta = std::max(targetsPerMeta, 0);
}

// --- initialize --------------------------------------------------------------------------

void AM_AudioMan::initialize() {
    i32 expected = k_constructed;
    if (!runState.compare_exchange_strong(expected, k_initialising)) {
        AM_Log("WARNING: AM_AudioMan::initialize() called again");
        return;
    }
    createCore();
    createModules();
    numberModulation();
    createMemory();
    numberObjects();
    buildParameters();
    circuitSlot.object = circuit;
    circuitSlot.data = circuit->getVoiceData(0);
    circuitSlot.modData = circuit->getModData();
    circuitSlot.channels = static_cast<u8>(pluginInfo.numChannels);
    sendMessage(0, AM_Message_Description, 0, &pluginInfo);
    stopWatch = std::make_unique<AM_StopWatch>(this);
    changePlugInLatency(ownLatency.load(std::memory_order_relaxed));
    {
        const std::lock_guard lock(stateLock);
        doReset();
    }
    loadPreferences();
    loadDefaultPreset();
    runState = k_initialised;
    tickId = AM_startTick(&tickRelay);
}

void AM_AudioMan::createCore() {
    pluginInfo.numChannels = std::clamp(pluginInfo.numChannels, 1, k_maxChannels);
    paraMan = new AM_ParaMan(this, numMetas, numTargetsPerMeta, numMatrixSlots);
    addToMainCircuit(paraMan);
    auto* com = new AM_InterComObject(this, "iCom", k_maxComMessages, k_maxComLength);
    addToMainCircuit(com);
    interCom = com;
}

void AM_AudioMan::createModules() {
    AM_Log("void AM_AudioMan::createModules()");
}

void AM_AudioMan::addToMainCircuit(AM_AudioObject* module) {
    if (context) {
        AM_Log("ERROR: %s comes too late for the circuit", module ? module->getName() : "");
        delete module;
        return;
    }
    if (!circuit) {
        circuit = new AM_CircuitObject(this, "main: Main Loop Circuit", pluginInfo.numChannels, 0);
        circuit->setHost(host);
    }
    if (module) circuit->add(module);
}

void AM_AudioMan::numberModulation() {
    numModBuffersTotal = 1;
    numModSourcesTotal = 1;
    numCircuits = 0;
    sendMessage(0, AM_Message_NumberModBuffers, 0, &numModBuffersTotal);
    sendMessage(0, AM_Message_NumberModSources, 0, &numModSourcesTotal);
    sendMessage(0, AM_Message_NumberCircuits, 0, &numCircuits);
}

void AM_AudioMan::createMemory() {
    AM_MemoryPlan plan;
    plan.numChannels = pluginInfo.numChannels;
    plan.numBusChannels = pluginInfo.numChannels + numInternalChannels;
    plan.numModBuffers = numModBuffersTotal;
    plan.modBytes = circuit->sizeModBlock();
    plan.dataBytes = circuit->sizeDataBlock();
    plan.layOut();

    memoryBlock = AM_ALLOC(plan.totalBytes, AM_MemoryPlan::k_alignment);
    std::memset(memoryBlock, 0, plan.totalBytes);
    auto* base = static_cast<u8*>(memoryBlock);
    const auto floats = [base](size_t offset) { return reinterpret_cast<f32*>(base + offset); };

    context = new (base) BlockContext{};
    context->modBuffers = floats(plan.modBuffers);
    context->modValues = floats(plan.modValues);
    context->numModBuffers = plan.numModBuffers;
    context->audioBuffer = floats(plan.audioBuffer);
    context->numBusChannels = plan.numBusChannels;
    context->bypassBuffer = floats(plan.bypassBuffer);
    context->channelPositions = channelMaps.positions;
    context->floatMode = 3;
    context->bpm = 120;
    context->quartersPerBar = 4;
    context->renderMode = hostRenderMode;
    context->smoothingMode = getPreference(k_prefMidiSmoothing);
    storeSampleRate(hostRate);
    carry.attach(floats(plan.carry), plan.numChannels);
    assignModuleMemory(floats(plan.modules), plan.modBytes);
}

// Modulation data comes first, then the modules' data.
void AM_AudioMan::assignModuleMemory(f32* place, i32 modBytes) {
    f32* modBlock = place;
    f32* dataBlock = place + modBytes / static_cast<i32>(sizeof(f32));
    circuit->assignMemory(&dataBlock, &modBlock, context);
}

void AM_AudioMan::numberObjects() {
    i32 numNumbered = 0;
    sendMessage(0, AM_Message_NumberObjects, 0, &numNumbered);
    objectTable.assign(static_cast<size_t>(numNumbered), nullptr);
    sendMessage(0, AM_Message_CollectObjects, 0, objectTable.data());

    AM_MidiEventChain** midiTail = &nextInChain;
    circuit->collectMidiChain(&midiTail);
    AM_AudioObject* firstProcessor = nullptr;
    AM_AudioObject** processorTail = &firstProcessor;
    circuit->collectProcessorChain(&processorTail);

    numAudioObjects = 0;
    sendMessage(k_classAudioObject, AM_Message_AnswerRequest, AM_Message_CountObject, nullptr);
    objectRecords.assign(objectTable.size(), {});
    sendMessage(k_classAudioObject, AM_Message_DescribeObject, 0, objectRecords.data());
    circuitTable.assign(static_cast<size_t>(numCircuits), -1);
    sendMessage(k_classAudioObject, AM_Message_CollectCircuits, 0, circuitTable.data());
}

void AM_AudioMan::buildParameters() {
    paraMan->buildTable(circuit);
    circuit->setupAll();
    circuit->updateAll();
    paraMan->completeTable();
    hostNotices.resize(paraMan->getNumParams());
}

// --- what the host sets ------------------------------------------------------------------

void AM_AudioMan::setHost(const char* name) {
    AM_STD::copyText(hostName, name);
    AM_Log("HOST '%s'", hostName);
    if (std::strncmp(hostName, "Cuba", 4) == 0 || std::strncmp(hostName, "Nuen", 4) == 0) {
        AM_Log("Cubase/Nuendo safe reporting activated");
        setReportMode(k_reportAfterReset);
    }
}

void AM_AudioMan::setApi(const char* name) {
    AM_STD::copyText(apiName, name);
    AM_Log("API '%s'", apiName);
}

void AM_AudioMan::storeSampleRate(f64 rate) {
    context->sampleRateD = rate;
    context->samplePeriod = 1.0 / rate;
    context->sampleRate = static_cast<f32>(rate);
    context->sampleReciprocal = 1.0f / context->sampleRate;
    context->sampleRateI = static_cast<i32>(std::lround(rate));
}

void AM_AudioMan::setSampleRate(f64 rate) {
    if (!(rate >= 1000.0 && rate <= 768000.0)) {
        AM_Log("WARNING: sample rate %f, taking 44100", rate);
        rate = 44100.0;
    }
    const std::lock_guard lock(stateLock);
    hostRate = rate;
    if (!context) return;
    storeSampleRate(rate);
    circuit->updateAll();
}

void AM_AudioMan::setBlockSize(i32) {
}

void AM_AudioMan::setRenderMode(i32 mode) {
    {
        const std::lock_guard lock(stateLock);
        if (hostRenderMode == mode) return;
        hostRenderMode = mode;
        if (context) context->renderMode = mode;
    }
    AM_Log("AM_Message_RenderModeChanged! %d", mode);
    sendMessage(0, AM_Message_RenderModeChanged, static_cast<u32>(mode), nullptr);
}

i32 AM_AudioMan::getBypassParameter() const {
    const i32 row = circuit ? circuit->getBypassRow(0) : -1;
    return row >= 0 ? circuit->getFirstParameter() + row : -1;
}

void AM_AudioMan::setBypass(bool on) {
    const i32 row = getBypassParameter();
    if (row < 0)
        bypassed = on;
    else if ((paraMan->getParameterTarget(row) < 0.5f) != on) // a state may have switched it too
        paraMan->setParameterValue(row, on ? 0.0f : 1.0f);
}

void AM_AudioMan::setPreferenceValue(i32 id, i32 value) {
    // The editor's own mode stays on.
    if (id == k_prefEditor && preferences.get(id) == 1) return;
    if (!preferences.set(id, value)) return;
    if (id == k_prefBaseLatency) changePlugInLatency(ownLatency.load(std::memory_order_relaxed));
    if (id == k_prefMidiSmoothing) {
        const std::lock_guard lock(stateLock);
        if (context) context->smoothingMode = value;
    }
    if (value == 0 || !context) return;
    if (id == k_prefPrintParams) printPublicParameters();
    if (id == k_prefPrintBinaryState) printBinaryState();
}

// --- latency, timer and notifications ----------------------------------------------------

void AM_AudioMan::changePlugInLatency(i32 samples) {
    ownLatency.store(samples, std::memory_order_relaxed);
    const i32 base = getPreference(k_prefBaseLatency) > 0 ? k_baseLatency : 0;
    pluginInfo.latency.store(samples + base, std::memory_order_relaxed);
    AM_Log("AM_AudioMan::changePlugInLatency( %d ) -> %d", samples, samples + base);
    latencyChanged.store(true, std::memory_order_release);
}

void AM_AudioMan::reportLatency() {
    if (apiType.load(std::memory_order_relaxed) == k_apiAsksItself) return;
    // Without anybody to tell, the change waits.
    if (getRunState() != k_initialised || !hostLink.load(std::memory_order_acquire)) return;
    if (!latencyChanged.exchange(false, std::memory_order_acq_rel)) return;
    const i32 total = getLatency();
    AM_Log("sending latency to host... %d", total);
    notifyHost(k_hostLatencyChanged, total);
}

void AM_AudioMan::setHostCallback(AM_HostCallback function, void* data) {
    if (!function) {
        hostLink.store(nullptr, std::memory_order_release);
        return;
    }
    // The one before may be in use by another thread; all are kept.
    hostLinks.push_back(std::make_unique<HostLink>(HostLink{function, data}));
    hostLink.store(hostLinks.back().get(), std::memory_order_release);
}

void AM_AudioMan::notifyHost(i32 code, i32 value) {
    if (getRunState() != k_initialised) return;
    if (AM_onAudioThread()) {
        if (code != k_hostParameterChanged || !paraMan->row(value)) return;
        hostNotices.set(value);
        paraMan->tellSink(value);
        return;
    }
    const HostLink* link = hostLink.load(std::memory_order_acquire);
    if (link) link->function(link->data, code, value);
}

void AM_AudioMan::sendInterCom(const char* addressee, const char* subject, const char* content) {
    AM_IInterCom* object = interCom.load(std::memory_order_acquire);
    if (object) object->post(addressee, subject, content);
}

void AM_AudioMan::tick() {
    watchRender();
    if (runsOnHostLoop.load())
        ticksDue.fetch_add(1);
    else
        runTickWork(1);
}

void AM_AudioMan::idle() {
    runTickWork(ticksDue.exchange(0));
}

void AM_AudioMan::runTickWork(i32 ticks) {
    if (getRunState() != k_initialised) return;
    const std::lock_guard work(workMutex);
    const i32 mode = reportMode.load(std::memory_order_relaxed);
    if (mode == k_reportAtTick) reportLatency();
    if (tickCountdown.fetch_sub(ticks, std::memory_order_relaxed) <= ticks) {
        tickCountdown.store(k_ticksPerSecond, std::memory_order_relaxed);
        if (mode == k_reportEachSecond) reportLatency();
    }
    if (resetSeen.exchange(false) && mode == k_reportAfterReset) reportLatency();
    if (latencyEmergency.exchange(false)) {
        if (getSharedPreferences()) setPreference("BaseLatencyBuffer16", "YES");
        sendInterCom("ViewMan", "COM_LATENCY_EMERGENCY", "reset");
    }
    loadPendingProgram();
    runDeferred();
    tellHost();
    takeOverPreferences();
    keepPreferences(ticks);
}

void AM_AudioMan::tellHost() {
    for (i32 word = 0; word < hostNotices.numWords(); ++word)
        for (u64 bits = hostNotices.take(word); bits != 0; bits &= bits - 1)
            notifyHost(k_hostParameterChanged,
                       word * AM_AtomicBits::k_bitsPerWord + std::countr_zero(bits));
}

void AM_AudioMan::watchRender() {
    if (stopWatch && stopWatch->getRunningTime() > k_longRender && longRenderLogged.first())
        AM_Log("ALERT: Render longer than 2 sec. Crash?");
}

void AM_AudioMan::postDeferred(AM_AudioObject* module) {
    const i32 id = module ? module->getObjectId() : -1;
    if (id < 0 || id >= k_maxDeferred) {
        if (deferredLogged.first()) AM_Log("ERROR: no tick for object %d", id);
        return;
    }
    deferred[id / 64].fetch_or(u64{1} << (id % 64), std::memory_order_release);
}

void AM_AudioMan::runDeferred() {
    for (i32 word = 0; word < k_maxDeferred / 64; ++word) {
        u64 bits = deferred[word].exchange(0, std::memory_order_acquire);
        for (; bits != 0; bits &= bits - 1) {
            AM_AudioObject* module = getObject(word * 64 + std::countr_zero(bits));
            try {
                if (module) module->runDeferred();
            } catch (const std::exception& error) {
                AM_Log("ERROR: %s: %s", module->getName(), error.what());
            } catch (...) {
                AM_Log("ERROR: %s failed in its tick", module->getName());
            }
        }
    }
}

// --- reset -------------------------------------------------------------------------------

void AM_AudioMan::reset() {
    resetSeen = true;
    AM_Log("AM_AudioMan::reset()");
    const std::lock_guard lock(stateLock);
    if (!context) return;
    if (insideBlock && resetCount++ != 0) return;
    doReset();
}

void AM_AudioMan::doReset() {
    carry.clear();
    for (AM_AudioObject* object : objectTable)
        if (object) object->reset();
    circuit->updateAll();
    paraMan->update();
    outputGain.set(circuit->getOutput() * 0.01f);
    if (reportMode.load(std::memory_order_relaxed) == k_reportInReset) reportLatency();
}

// --- objects and parameters --------------------------------------------------------------

void AM_AudioMan::receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) {
    switch (messageId) {
    case AM_Message_CountObject:
        ++numAudioObjects;
        break;
    case AM_Message_ResetSyncOrigin: {
        const std::lock_guard lock(stateLock);
        if (context && context->swingLocked != 0) context->swingOrigin = context->position;
        break;
    }
    case AM_Message_InterCom:
        if (auto* source = dynamic_cast<AM_IComSource*>(sender))
            receiveManagerCom(source->getCurrentSubject(), source->getCurrentContent());
        break;
    default:
        AM_Object::receiveMessage(sender, messageId, value, data);
        break;
    }
}

AM_AudioObject* AM_AudioMan::getObject(i32 id) const {
    return id >= 0 && id < static_cast<i32>(objectTable.size())
               ? objectTable[static_cast<size_t>(id)]
               : nullptr;
}

AM_AudioObject* AM_AudioMan::findObject(const char* name) const {
    for (AM_AudioObject* object : objectTable)
        if (object && AM_STD::Strcmp(object->getLongName(), name) == 0) return object;
    for (AM_AudioObject* object : objectTable)
        if (object && AM_STD::Strcmp(object->getShortName(), name) == 0) return object;
    return nullptr;
}

i32 AM_AudioMan::getParameterId(i32 object, i32 index) const {
    AM_AudioObject* owner = getObject(object);
    const bool exists = owner && index >= 0 && index < owner->getNumOwnParameters();
    return exists ? owner->getFirstParameter() + index : -1;
}

AM_AudioObject* AM_AudioMan::getParameterOwner(i32 id) const {
    const ParameterInfo* row = paraMan ? paraMan->row(id) : nullptr;
    return row ? getObject(row->owner) : nullptr;
}

const ParameterInfo* AM_AudioMan::getParameterRecord(i32 id) {
    return paraMan ? paraMan->row(id) : nullptr;
}

const char* AM_AudioMan::getParameterOwnerName(i32 id) {
    const AM_AudioObject* owner = getParameterOwner(id);
    return owner ? owner->getLongName() : nullptr;
}

// A pair of multiply-with-carry generators. Two threads that step at once may draw the same value.
f32 AM_AudioMan::randomRange(f32 min, f32 max) {
    const auto step = [](std::atomic<u32>& word, u32 factor) {
        const u32 old = word.load(std::memory_order_relaxed);
        const u32 carryOver = static_cast<u32>(static_cast<i32>(old) >> 16);
        const u32 next = (old & 0xFFFF) * factor + carryOver;
        word.store(next, std::memory_order_relaxed);
        return next;
    };
    const u32 a = step(randomA, 36969);
    const u32 b = step(randomB, 18000);
    const f32 mantissa = std::bit_cast<f32>((((a << 16) + b) & 0x7fffff) | 0x3f800000);
    return (max - min) * (mantissa - 1.0f) + min;
}
