// Base of everything in the audio tree of an instance: what a module declares, what
// the framework hands it, and how it is run.
#pragma once

#include "AM_Object.h"
#include "AM_Parameter.h"
#include "BlockContext.h"

#include <atomic>

class AM_AudioMan;
class AM_AudioObject;

// Flags of typeMask above the class bits.
enum AM_AudioFlag : u32 {
    k_audioTestsModulation = 0x00000020,
    k_audioJoinsMidiChain = 0x00020000,
    k_audioJoinsProcessorChain = 0x00040000,
    k_audioBypassable = 0x01000000,
    k_audioAlwaysModulated = 0x02000000,
};

// A link of the event chain. Audio thread.
class AM_MidiEventChain {
public:
    virtual ~AM_MidiEventChain() = default;
    // Takes one event: `type` as in AM_EventQueue.h, `id` the channel, `timestamp` in frames.
    virtual void processEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp);
    // processEvent on this link, then forwardEvent.
    virtual void handleEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp);
    // handleEvent on the next link, if there is one.
    virtual void forwardEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp);

    AM_MidiEventChain* nextInChain = nullptr;
};

// What the sender of message 3 offers: the text message under way. The texts live for the call.
class AM_IComSource {
public:
    virtual ~AM_IComSource() = default;
    virtual const char* getCurrentSubject() = 0;
    virtual const char* getCurrentContent() = 0;
};

// One block of memory shared between objects.
struct SharedMemoryRec {
    void* memory;
    i32 size; // bytes
    AM_AudioObject* creator;
    i32 refCount;
};

// One row of the manager's object list.
struct AM_ObjectDescription {
    char shortName[8];
    char longName[24];
    i32 objectId;
    i32 group;
};
static_assert(sizeof(AM_ObjectDescription) == 40);

// Name and record word of a modulation source.
struct AM_ModSourceName {
    char name[32];
    u32 word;
    i32 flag;
};

class AM_AudioObject : public AM_Tree, public AM_MidiEventChain {
public:
    // `name` is "short: Long Name"; null gives "untitled", longer than 31 characters is cut.
    AM_AudioObject(AM_AudioMan* manager, const char* name);
    ~AM_AudioObject() override;

    const char* getName() const override { return objectName; }
    const char* getShortName() const { return shortName; }
    // What stands behind the first ": ", or the whole name.
    const char* getLongName() const;

    void receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) override;
    // Inherits the group to the child, then AM_Tree::add.
    void add(AM_Tree* node) override;

    // --- the contract with a module, in slot order ---------------------------------
    virtual void reserved9() {}
    // Bytes of `data` and of `modData` that this object needs.
    virtual i32 getDataSize() = 0;
    virtual i32 getModDataSize() = 0;
    // One-time set-up of the data, once the memory is laid out. Start-up thread.
    virtual void setup() {}
    virtual void setChainValue(i32 value);
    virtual i32 getChainValue() { return chainValue; }
    virtual void voicesChanged() {}
    // The object's shared block, grown to `size` bytes and zeroed if it was smaller. Growing moves
    // it, so users ask anew. Not on the audio thread.
    virtual void* allocateSharedMemory(i32 size);
    // Takes a share of another object's record; one that holds a record already keeps it and logs
    // "Duplicate Shared Memory Pointer ERROR in %s". Null gives the share up. The last share frees
    // the block.
    virtual void setSharedMemory(SharedMemoryRec* record);
    SharedMemoryRec* getSharedMemory() const { return sharedMemory; }
    // Prefix test: names of equal length match when all but the last character agree.
    virtual bool matchesShortName(const char* text);
    // The row of parameter `index`, or null; the row outlives the call.
    virtual const ParameterInfo* getParameterInfo(i32 index);
    // Count and list of the value texts of parameter `index`; 0 for none.
    virtual i32 getParameterStrings(i32 index, const char* const** out);
    // Address of the value of parameter `index` in `data` or `modData`, or null.
    virtual void* getParameterPointer(i32 index);
    virtual f32 getParameterAsFloat(i32 index);
    virtual const void* getParameterData(i32 id);
    // Reacts to a changed value; runs on the writer's thread, which may be the audio thread.
    virtual void parameterChanged(i32* index, f32* value, f32* time);
    // Takes the bytes of a complex parameter. Never on the audio thread.
    virtual void setParameterComplex(i32* index, const void* data, i32 size);
    // Sets and reads an own parameter through the manager's table; with `notify` the host hears of
    // the change.
    virtual void setOwnParameter(i32 index, f32 value, bool notify);
    virtual f32 getOwnParameter(i32 index);
    virtual i32 reserved28() { return 0; }
    virtual bool reserved29() { return false; }
    virtual bool reserved30() { return false; }
    virtual bool reserved31() { return false; }
    virtual i32 getFirstParameter() { return firstParameter; }
    virtual void processorEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp);
    virtual void reportSideChain(i32 value);
    // The plain function that runs this object; the default one calls `process`.
    virtual AM_ProcessFunction getProcessFunction(BlockContext* context);
    virtual void process(i32* start, i32* numQuads, CircuitModule* slot, BlockContext* context);
    virtual bool reserved37() { return false; }
    virtual bool reserved38() { return true; }
    virtual void update() {}
    virtual i32 getNumModSources() { return numModSources; }
    virtual i32 getFirstModSource() { return firstModSource; }
    virtual void getModSourceName(i32 index, AM_ModSourceName* record);
    virtual i32 reserved43() { return 0; }
    virtual i32 reserved44() { return 0; }
    virtual void setGroup(i32 newGroup) { group = newGroup; }
    virtual i32 getGroup() { return group; }
    virtual void changeUseCount(bool up) { useCount += up ? 1 : -1; }
    // True if this object is in use or, unless it is a circuit, one of its children is.
    virtual bool isInUse();
    virtual bool reserved49() { return true; }
    virtual void printDiagnostics();
    virtual void setTestPointer(f32* value) { testValue = value; }
    virtual void printTest(const char* tag);
    // Draws new values for the parameters that allow it; `amount` in percent. Integers: one draw of
    // 0 to 150 decides, above 100 for the default, below `amount` for a random value. Floats go
    // `amount` percent of the way to a random value. Left out: rows with k_flagNoRandom or
    // k_flagNoRandom2, momentary ones, those of the editor or of the set-up, and the standard
    // block.
    virtual void randomize(f32 amount);
    virtual i32 getProcessBuffer(void** out);
    // String together the objects of this subtree and of the siblings behind it that have the flag
    // for it, in tree order; `tail` points to the previous link's next field.
    virtual void collectMidiChain(AM_MidiEventChain*** tail);
    virtual void collectProcessorChain(AM_AudioObject*** tail);
    // Hands out the shares of the two blocks in tree order and advances both pointers; the sizes
    // must have been taken by sizeDataBlock and sizeModBlock.
    virtual void assignMemory(f32** dataBlock, f32** modBlock, BlockContext* context);
    virtual void memoryAssigned(BlockContext* context);
    // Children, siblings, then setup.
    virtual void setupAll();
    // Lays out `count` voice copies, `stride` bytes apart, for this subtree and the siblings behind
    // it. Of each object's voice 0, the first `dataFloats` bytes (a quarter) are copied.
    virtual void setVoiceLayout(i32 count, i32 stride);
    virtual i32 getNumParametersAll(bool recursive);
    // The row at a flat index over this object, its children and the siblings behind it, in that
    // order; null outside. Asserts if an object has no row for a parameter that it declared.
    virtual const ParameterInfo* getParameterInfoAll(i32 index);
    // Copies that row with its owner's objectId and its index there; false outside.
    virtual bool copyParameterInfoAll(i32 index, ParameterInfo* record);
    // Address of the value at the same flat index, or null.
    virtual void* getParameterPointerAll(i32 index);
    virtual void setFirstParameter(i32 id) { firstParameter = id; }
    // The object's data of one voice: data + dataFloats * voice / dataScale.
    virtual f32* getVoiceData(i32 voice);
    virtual f32* getModData() { return modData; }
    virtual void reserved68() {}
    virtual void runProcessorChain(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp);
    virtual i32 getActiveFlag() { return activeFlag; }
    virtual void setActiveFlag(i32 value) { activeFlag = value; }
    virtual i32 getNumChannels() { return numChannels; }
    virtual i32 getAuxIndex() { return auxIndex; }
    virtual void setAuxIndex(i32 value) { auxIndex = value; }
    // Children (if isModulated(0)), siblings, then update.
    virtual void updateAll();
    // Children, siblings, then randomize. A call from inside one of this object is ignored.
    virtual void randomizeAll(f32 amount);
    virtual i32 getObjectId() { return objectId; }
    // True if the parents say so and, for an object with k_audioTestsModulation, one of its
    // ModBuffers is in use.
    virtual bool isModulated(i32 id);
    virtual void setAlwaysModulated(bool on);
    virtual void receiveCom(const char* subject, const char* content);
    virtual bool reserved81() { return false; }

    // --- beside the slots -----------------------------------------------------------
    // Empties what sounds: the next block starts from silence. Any thread.
    virtual void reset() {}
    // True while the module, given silence, neither makes a sound nor changes anything of its own:
    // in a silent block its circuit may leave it out until the next one. Audio thread.
    virtual bool isResting() { return false; }
    // True for a row whose change starts something and whose value means nothing afterwards.
    virtual bool isAction(i32 /*index*/) { return false; }
    // Does work that was asked for on the audio thread and may not run there; called from the
    // 50 ms tick after AM_AudioMan::postDeferred.
    virtual void runDeferred() {}

    void setDataScale(i32 scale) { dataScale = scale; }
    // Bytes that this node, its children (times their voices) and the siblings behind it need;
    // stores dataFloats, modFloats on the way.
    i32 sizeDataBlock();
    i32 sizeModBlock();
    i32 getNumOwnParameters() const { return numParameters; }
    i32 getNumModBuffers() const { return numModBuffers; }
    i32 getFirstModBuffer() const { return firstModBuffer; }
    i32 getCircuitIndex() const { return circuitIndex; }
    AM_AudioObject* childObject() const { return static_cast<AM_AudioObject*>(firstChild); }
    AM_AudioObject* nextObject() const { return static_cast<AM_AudioObject*>(next); }

protected:
    // Ors `typeBits` into typeMask and stores the counts; called once by a constructor.
    void setupObject(u32 typeBits, i32 parameters, i32 channels, i32 modSources, i32 buffers);

    f32* testValue = nullptr;
    AM_AudioMan* manager;
    char objectName[32];
    char shortName[8];
    char* bindingText = nullptr; // 128 bytes once message 12 has come
    i32 dataFloats = 0;
    i32 modFloats = 0;
    const void* description = nullptr; // of the plug-in, once message 1 has come
    i32 activeFlag = 0;
    i32 numVoices = 1;
    i32 voiceStride = 0;
    i32 voiceCount = 1;
    char* hintText = nullptr; // 128 bytes once message 41 has come
    i32 numParameters = 0;
    i32 numChannels = 1;
    i32 dataScale = 1;
    i32 numModSources = 0;
    i32 firstModSource = 0;
    i32 numModBuffers = 0;
    i32 firstModBuffer = 0;
    i32 firstParameter = 0;
    i32 auxIndex = 0;
    i32 objectId = 0;
    i32 group = -1;
    i32 circuitIndex = -1;
    i32 useCount = 0;
    i32 chainValue = 0;
    f32* data = nullptr;
    f32* modData = nullptr;
    AM_AudioObject* nextProcessor = nullptr;
    SharedMemoryRec* sharedMemory = nullptr;

private:
    void numberMessage(u32 messageId, void* data);
    void storeText(char*& target, const void* text);
    void describe(AM_ObjectDescription& record) const;
    // The object that owns the flat `index`, which becomes the index in that object.
    AM_AudioObject* locateParameter(i32& index);
    void randomizeParameter(i32 id, f32 amount);
    void releaseSharedMemory();

    std::atomic<bool> randomizing{false};
};

// An audio object that holds the parameter table; AM_ParaMan fills the six operations.
class AM_ParameterInterface : public AM_AudioObject {
public:
    using AM_AudioObject::AM_AudioObject;
    virtual void setParameterValueRaw(i32 id, f32 value) = 0;
    virtual void setParameterValueComplex(i32 id, const void* data, i32 size) = 0;
    virtual const char* writeStateSection(i32* outSize, bool complete, const char* header) = 0;
    virtual bool loadStateText(const char* text, i32 size, i32 mode) = 0;
    virtual const void* writeState(i32* outSize) = 0;
    virtual bool readState(const void* stream, i32 size) = 0;
};
