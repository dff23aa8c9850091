// An audio object that runs other audio objects.
#pragma once

#include "AM_AudioObject.h"
#include "AM_BypassFade.h"
#include "AM_ModSources.h"
#include "AM_ModTargets.h"

#include <vector>

// One row of a circuit's bypass list. `state` is the parameter's value, 1 for active.
struct AM_BypassEntry {
    i32 state;
    i32 slot;
};

// A circuit's `modData`; the slots, the order list and the bypass list lie behind it.
struct AM_CircuitParams {
    i32 numSlots;
    i32 orderCount;
    CircuitModule* slots;
    i32* order; // slot numbers, in the order of the calls
    AM_BypassEntry* bypass;
    f32 output; // percent
    f32 random; // percent
    i32 routing;
    i32 syncTrigger;
    u8 reserved[64];
};
static_assert(sizeof(AM_CircuitParams) == 112);

// Runs its children in order over one bus: smooths the MIDI performance controls, moves modulation
// targets around the calls, and crossfades modules in and out of bypass. What it runs is fixed once
// memoryAssigned has run.
class AM_CircuitObject : public AM_AudioObject {
public:
    // `numChannels` channels from bus channel `auxIndex` on.
    AM_CircuitObject(AM_AudioMan* manager, const char* name, i32 numChannels, i32 auxIndex);

    // --- AM_AudioObject ---------------------------------------------------------------
    // Takes the child over. One that asks for more channels than there are is logged, deleted and
    // stays out; a child that is no audio object likewise.
    void add(AM_Tree* node) override;
    i32 getDataSize() override { return sizeof(AM_ModSources::State); }
    i32 getModDataSize() override;
    const ParameterInfo* getParameterInfo(i32 index) override;
    void* getParameterPointer(i32 index) override;
    // "Randomize" draws new values; a bypass row starts or turns the fade of its module. Any
    // thread.
    void parameterChanged(i32* index, f32* value, f32* time) override;
    bool isAction(i32 index) override;
    void getModSourceName(i32 index, AM_ModSourceName* record) override;
    AM_ProcessFunction getProcessFunction(BlockContext* context) override;
    // Whether the object with this id is in the calling order and active. 0 stands for this
    // circuit.
    bool isModulated(i32 id) override;
    // The main circuit leaves its own rows alone: they are the output level and the switches.
    void randomize(f32 amount) override;
    void memoryAssigned(BlockContext* context) override;
    void receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) override;
    // Ends fades and puts the sources of modulation at their targets. Under stateLock.
    void reset() override;
    // True if that holds for every module, and no fade and no modulation runs. A circuit that does
    // something around its modules has to answer for it.
    bool isResting() override;
    // Breath and expression controllers, pitch bend and modulation wheel set the sources.
    void processEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) override;

    // --- set-up, before memoryAssigned ---------------------------------------------------
    virtual void setSynchronous(i32 on) { synchronous = on; }
    virtual void setHasSyncTrigger();
    // Gives the number of the circuit's own rows away: from then on it has none.
    virtual i32 takeOwnRows();
    virtual void setRouting(i32 count);
    void setModulesAsChannels(i32 on) { modulesAsChannels = on; }

    // --- operation ---------------------------------------------------------------------
    virtual AM_AudioObject* getSlotProcessor(i32 slot);
    virtual AM_AudioObject* getSlotProcessorExtra(i32) { return nullptr; }
    // Makes the module with this name the last one of the calling order and routes it. Not while
    // blocks run. An unknown name or a route outside the bus is logged and changes nothing.
    virtual void setModule(const char* name, i32 firstInput, i32 firstOutput);
    // Called around each module of the order; false from runPre leaves the module out.
    virtual bool runPre(AM_AudioObject*) { return true; }
    virtual void runPost(AM_AudioObject*, AM_AudioObject*) {}
    // Runs one module over a sub-block, with its fade. Audio thread.
    virtual void runChain(i32 start, i32 numQuads, CircuitModule* slot, BlockContext* context);
    virtual void setModulation(i32 on) { modulationEnabled = on; }

    i32 getNumSlots() const { return numSlots; }
    i32 getNumBypassable() const { return numBypassable; }
    // Index of the bypass row of the n-th bypassable module, -1 if there is none.
    i32 getBypassRow(i32 n) const;
    // The channels of the bus that any module has its place on, counted from 0.
    i32 getNumBusChannels() const;
    // Percent. Audio thread or under stateLock.
    f32 getOutput() const { return modData ? params().output : 100.0f; }
    AM_ModTargets& getModTargets() { return modTargets; }

private:
    static void processPlain(i32* start, i32* numQuads, CircuitModule* slot, BlockContext* context);
    static void processSynchronous(i32* start, i32* numQuads, CircuitModule* slot,
                                   BlockContext* context);

    AM_CircuitParams& params() const { return *reinterpret_cast<AM_CircuitParams*>(modData); }
    void runModules(i32 start, i32 numQuads, i32 channels, BlockContext* context,
                    bool isSynchronous);
    void crossfade(i32 start, i32 numQuads, u32 seen, CircuitModule* slot, BlockContext* context);
    void publishModValues(const AM_AudioObject& module, i32 numQuads, BlockContext* context);
    void buildRows();
    void nameBypassRow(i32 n, AM_AudioObject& child);
    void layOutLists();
    void fillSlots(BlockContext* context);
    void fillSlot(i32 slot, AM_AudioObject& child, i32 firstChannel, BlockContext* context);
    i32 slotsOf(AM_AudioObject& child);
    void switchModule(i32 entry, bool on);
    void refreshProcess(const void* which);

    i32 numSlots = 0;
    i32 channelCapacity;
    i32 numBypassable = 0;
    i32 routingCount = 0;
    i32 modulesAsChannels = 0;
    i32 numOwnRows = 3;
    i32 modulationEnabled = 1;
    i32 synchronous = 0;
    bool hasSyncTrigger = false;
    i32 syncTriggerRow = -1;
    i32 firstBypassRow = -1;
    AM_Object* midiTarget = nullptr;
    BlockContext* hostContext = nullptr;
    std::vector<ParameterInfo> rows;
    AM_ModSources modSources;
    AM_ModTargets modTargets;
};
