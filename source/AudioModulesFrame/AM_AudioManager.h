// AM_AudioMan: the audio core of one plug-in instance.
//
// A binding owns one concrete manager. Life: constructor, setHost and setApi, initialize, blocks,
// destructor, all but the blocks on the host's main thread. For each block, on the audio thread, a
// binding fills getBlockContext() (numFrames, channel pointers, bpm, quartersPerBar), calls
// setTransport and then processBlock. `stateLock` is held for the whole block and by whoever
// changes what a block reads.
#pragma once

#include "AM_AtomicBits.h"
#include "AM_AudioObject.h"
#include "AM_CarryBuffer.h"
#include "AM_ChannelMaps.h"
#include "AM_EventQueue.h"
#include "AM_FilePath.h"
#include "AM_GainRamp.h"
#include "AM_LevelMeter.h"
#include "AM_Log.h"
#include "AM_OutputRoutes.h"
#include "AM_Platform.h"
#include "AM_PluginPreferences.h"
#include "AM_PreferenceValues.h"
#include "AM_TransportClock.h"

#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class AM_CircuitObject;
class AM_InterComObject;
class AM_Filesystem;
class AM_FilesystemFactory;
class AM_IPresetAdapter;
class AM_ParaMan;
class AM_StopWatch;
struct AM_InstanceRec;

// What is told to hosts about a plug-in; the concrete class overwrites the defaults.
struct AM_PluginInfo {
    char name[64] = "AM_Plugin";
    char componentName[64] = "AM_PluginComponent";
    char shortName[32] = "AM_Plugin";
    char vendor[32] = "vela";
    char title[64] = "";
    char version[32] = "";
    char copyright[128] = "";
    char dataFolder[64] = "";
    u32 plugId = 0;
    i32 versionNumber = 0; // 0x10000 for 1.0.0
    i32 numChannels = 2;
    std::atomic<i32> latency{0}; // frames
    i32 voiceCount = 1;          // never idle
    u8 loadingSong = 0;          // while the state of a host's project is read
    u8 wholeState = 0;           // while such a state is written
    u8 hasInputs = 1;
    u8 hasOutputs = 1;
};

// Host notification codes.
enum AM_HostCode : i32 {
    k_hostParameterChanged = 1,
    k_hostGesture = 2,
    k_hostLatencyChanged = 3,
};
using AM_HostCallback = void (*)(void* data, i32 code, i32 value);

// Carries short texts to the editor; an instance without one is silent.
class AM_IInterCom {
public:
    virtual ~AM_IInterCom() = default;
    virtual void post(const char* addressee, const char* subject, const char* content) = 0;
};

// How a change of latency reaches the host.
enum AM_ReportMode : i32 {
    k_reportAtTick = 0, // with the next tick
    k_reportEachSecond = 1,
    k_reportInReset = 2,
    k_reportAfterReset = 3, // with the first tick behind a reset
};

class AM_AudioMan : public AM_Object,
                    public AM_MidiEventChain,
                    public AM_IParameterProvider,
                    public AM_TickListener {
public:
    // With a null `host` a registry "AudioHost" of its own. `numInternalChannels`: regions of bus
    // memory beside the plug-in's channels; `secondCount`: matrix slots.
    AM_AudioMan(AM_ObjectHost* host, i32 numInternalChannels, i32 secondCount);
    // Stops the tick, then deletes the tree and gives everything back. A concrete class that a tick
    // or a module may call into calls stopTick() first thing in its own destructor.
    ~AM_AudioMan() override;

    // --- start -------------------------------------------------------------------------
    using AM_Object::setHost;
    // Names of the host and of the plug-in interface, from the binding; logged.
    virtual void setHost(const char* name);
    virtual void setApi(const char* name);
    // The plug-in's interface as a number; interfaces of type 4 ask for the latency themselves.
    void setApiType(i32 type) { apiType.store(type, std::memory_order_relaxed); }
    // Builds the instance's tree of files, for the product `name` with its presets below
    // `presetFolder`; the constructor of a concrete plug-in calls it. The default factory takes the
    // folders of this machine.
    virtual void setupFilesystem(const AM_FilesystemFactory& factory, const char* name,
                                 const char* presetFolder);
    void setupFilesystem(const char* name, const char* presetFolder);
    // The tree; asserts "Plugin must call createFilesystem() in it's constructor!" if there is
    // none.
    AM_Filesystem& getFilesystem() const;
    // Before initialize.
    virtual void setMetaSizes(i32 metas, i32 targetsPerMeta);
    // Stores the plug-in's id, once, and counts the instance in the process-wide table.
    virtual void setPlugId(u32 id);
    // Brings the instance to life, once; after it blocks may run. Host main thread.
    virtual void initialize();
    // Adds the modules; the concrete plug-in overrides it.
    virtual void createModules();
    // Adds a module to the main circuit, which is created at first use and then owns the module.
    // One that does not fit, or comes after initialize, is logged and deleted.
    virtual void addToMainCircuit(AM_AudioObject* module);

    // --- state, on the host's main thread -------------------------------------------------
    // The state as text: zero-terminated, `*outSize` with the terminator, with `header` as its
    // first line if not null. `complete`: as a host's project keeps it, with locks. Good until the
    // next call.
    virtual const char* getStateInfo(i32* outSize, bool complete, const char* header);
    // The same in two steps for hosts that ask for the size first: prepare keeps a complete copy
    // and returns its size, fetch hands it out; the copy lives until the next prepare.
    virtual i32 prepareStateInfo(const char* header);
    virtual const char* fetchStateInfo(i32* size);
    // Loads a state under stateLock, then resets: what sounds is cut. `inSong`: out of a host's
    // project, else a preset. A text of 16 MiB and more is refused. True if anything in the text
    // was recognised; else nothing but the reset happens.
    virtual bool setStateInfo(const char* text, i32 size, bool inSong);
    // Loads a preset file by its extension, "q3p" or "fxp", out of the instance's tree or another
    // one; false, with a log line and nothing changed, if it can't be had or is no preset.
    virtual bool loadPreset(const AM_FilePath& path);
    bool loadPreset(AM_Filesystem& files, const AM_FilePath& path);
    // Writes the state as a preset file, in one step; without what belongs to the instance.
    bool savePreset(AM_Filesystem& files, const AM_FilePath& path);
    // The name of the preset file, at most 63 bytes of UTF-8; longer ones are cut.
    virtual std::string getPresetFileName() const;
    virtual void setPresetFileName(const char* name);
    // The translator for presets of the plug-in `name`, or null.
    virtual AM_IPresetAdapter* findPresetAdapter(const char* name);

    // --- running -----------------------------------------------------------------------
    virtual BlockContext* getBlockContext() { return context; }
    // Sets the host's rate, 1 kHz to 768 kHz (else 44100, with a log line), and refreshes the
    // modules; nothing that sounds is cleared.
    virtual void setSampleRate(f64 rate);
    // Blocks of any size are taken at any time, so this does nothing.
    virtual void setBlockSize(i32 frames);
    // Takes over the host's position and last bar start, in quarter notes.
    virtual void setTransport(BlockContext* context, f64 position, f64 barPosition);
    // Runs one host block of context->numFrames frames from context->inputs to context->outputs,
    // which may be the same memory. Audio thread. Null channels read as silence and are not
    // written; with one output of two it gets (L + R) / 2. 0 frames are fine. Nothing is thrown: an
    // error in a module is logged once and gives a silent block.
    virtual void processBlock();
    // The paths of processBlock, under stateLock: with the base latency of 16 frames, for any block
    // size and more than two channels; and without it, for multiples of 16 frames.
    virtual void processMultiChannelWithLatency();
    virtual void processAligned();
    // True while processBlock runs, but not for its very last steps. Any thread.
    bool isBlockRunning() const { return blockRunning.load(std::memory_order_relaxed); }
    // Cuts what sounds: empties carry, circuit and modules, and the output gain stands at its
    // target. Any thread but not inside a module. Inside a block only the first one works.
    virtual void reset();
    // Adds `samples` frames of latency of the plug-in's own to the base latency and marks the
    // change for the host.
    virtual void changePlugInLatency(i32 samples);
    // -1 unknown, 0 real time, 1 offline; modules hear of a change.
    virtual void setRenderMode(i32 mode);
    // The host's bypass: switches the first bypassable module, with its fade. Without one, blocks
    // leave the host's buffers as they are.
    virtual void setBypass(bool on);
    // The flat id of the row that setBypass switches, 1 for active; -1 if there is none. Any
    // thread.
    i32 getBypassParameter() const;
    // The latency in frames as the host shall compensate it.
    i32 getLatency() const { return pluginInfo.latency.load(std::memory_order_relaxed); }
    // Called every 50 ms by the process-wide timer thread; a test may call it. Watches the render;
    // the rest of the work is done here only if nobody offers a better place.
    void tick() override;
    // For a binding whose host lends it its main thread: from now on the work of the ticks waits
    // for idle().
    void setRunsOnHostLoop(bool on) { runsOnHostLoop.store(on); }
    // Does what waits for a tick: latency, deferred presses and programs, what the host is to hear,
    // preferences. Host main thread.
    void idle();
    // Asks for module->runDeferred() on the next tick. Any thread, also audio.
    void postDeferred(AM_AudioObject* module);

    // --- host --------------------------------------------------------------------------
    // Null for none. A call that had begun on another thread may still run when this returns.
    virtual void setHostCallback(AM_HostCallback function, void* data);
    // Tells the host (code as in AM_HostCode), on the caller's thread; dropped before the instance
    // is initialised. On an audio thread a change of a parameter waits for the next tick, where
    // several of one parameter are told once.
    virtual void notifyHost(i32 code, i32 value);
    bool hasHostCallback() const { return hostLink.load(std::memory_order_acquire) != nullptr; }
    // Posts to the editor's side, if there is one.
    virtual void sendInterCom(const char* addressee, const char* subject, const char* content);
    void setInterCom(AM_IInterCom* object) { interCom = object; }
    const char* getHostName() const { return hostName; }
    const char* getApiName() const { return apiName; }
    // Ids as in AM_PreferenceId; any thread. A change of the base latency is told to the host; the
    // two that print do so when they are set.
    i32 getPreference(i32 id) const { return preferences.get(id); }
    void setPreferenceValue(i32 id, i32 value);
    void setReportMode(AM_ReportMode mode) { reportMode.store(mode, std::memory_order_relaxed); }

    // --- preferences and programs, shared by the instances of the plug-in -----------------
    // Sets a preference by its key to one of its value texts, for all instances; logged if there is
    // none such. Not on an audio thread.
    virtual void setPreference(const char* name, const char* value);
    // Reads preferences, assignments and MIDI programs, as far as no other instance has done so.
    virtual void loadPreferences();
    // Writes preferences, assignments and the cache of the MIDI banks.
    virtual void savePreferences();
    // A message to the store of preferences. Not on an audio thread.
    virtual void receivePreferencesCom(const char* subject, const char* content);
    // Null if the plug-in has none.
    AM_IPluginPreferences* getSharedPreferences() const;
    // Loads the program of the current bank; on an audio thread the next tick does it. `outText`,
    // if not null, has room for 63 bytes and gets the name. False if there is no such program (on
    // an audio thread: if there are none at all).
    virtual bool setMidiProgram(i32 program, char* outText);

    // --- MIDI --------------------------------------------------------------------------
    // Takes the short message at the head of `length` bytes, `frameOffset` frames into the block to
    // come, and returns the bytes used, 0 for what it does not know. Any thread.
    virtual i32 handleMidiBytes(const u8* bytes, i32 length, i32 frameOffset);
    // One controller message: bank selects are stored, all are queued; the assignment map moves the
    // parameters in the sub-block that holds the frame. Any thread.
    virtual void controllerInput(i32 channel, i32 controller, i32 value, i32 frameOffset);
    // The next controller is to be assigned to the parameter; at most 8 wait. Any thread.
    virtual void addLearnTarget(i32 parameter);
    i32 getCurrentBank() const { return midiState.currentBank.load(std::memory_order_relaxed); }

    // --- events ------------------------------------------------------------------------
    // Queues an event for the block to come, `timestamp` frames from its start. Any thread.
    void processEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) override;
    void handleEvent(i32 type, i32 id, f32 field1, f32 field2, u32 timestamp) override;
    void receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) override;

    // --- meters, from any thread ---------------------------------------------------------
    const AM_LevelMeter& getInputMeter() const { return inputMeter; }
    const AM_LevelMeter& getOutputMeter() const { return outputMeter; }
    const AM_StopWatch* getStopWatch() const { return stopWatch.get(); }

    // --- parameters and objects ----------------------------------------------------------
    AM_ParaMan* getParaMan() const { return paraMan; }
    AM_CircuitObject* getCircuit() const { return circuit; }
    const ParameterInfo* getParameterRecord(i32 id) override;
    const char* getParameterOwnerName(i32 id) override;
    // Flat id of an object's parameter, -1 if there is none.
    i32 getParameterId(i32 object, i32 index) const;
    // The object with this long name, else with this short name; null if there is none.
    AM_AudioObject* findObject(const char* name) const;
    AM_AudioObject* getObject(i32 id) const;
    i32 getNumObjects() const { return numAudioObjects; }
    // The object behind a flat parameter id, or null.
    AM_AudioObject* getParameterOwner(i32 id) const;
    // The next value of the instance's generator, in [min, max). Any thread.
    f32 randomRange(f32 min, f32 max);
    // Has refreshModulationMap called at the start of the next block. Any thread.
    virtual void scheduleModUpdate() { modulationDirty.store(true, std::memory_order_relaxed); }
    virtual void refreshModulationMap() {}
    virtual void routingChanged(AM_AudioObject*, f32) {}
    boost::recursive_mutex& getStateLock() { return stateLock; }
    AM_PluginInfo pluginInfo;

protected:
    enum RunState : i32 { k_constructed = 0, k_initialising = 1, k_initialised = 2 };

    // The store of preferences of this plug-in, made once in the process; null for none.
    virtual std::unique_ptr<AM_IPluginPreferences> createPreferences() { return nullptr; }
    // Ends the calls of tick(); when it returns none is running. Any number of times.
    void stopTick();
    // Around the load of a state, under stateLock: a block that overlaps it ends in a reset.
    void stateChanges() { stateEpoch.fetch_add(1, std::memory_order_acq_rel); }
    i32 getRunState() const { return runState.load(std::memory_order_acquire); }

private:
    struct HostLink {
        AM_HostCallback function;
        void* data;
    };
    // What the timer thread knows of the manager. A tick that comes while a concrete class is being
    // destroyed meets no virtual call on its way to AM_AudioMan::tick.
    struct TickRelay : AM_TickListener {
        explicit TickRelay(AM_AudioMan& man) : owner(man) {}
        void tick() override { owner.AM_AudioMan::tick(); }
        AM_AudioMan& owner;
    };

    // --- AM_AudioManagerLifecycle.cpp
    void createCore();
    void numberModulation();
    void createMemory();
    void assignModuleMemory(f32* place, i32 modBytes);
    void numberObjects();
    void buildParameters();
    void loadDefaultPreset();
    void storeSampleRate(f64 rate);
    void doReset();
    void reportLatency();
    void runDeferred();
    void runTickWork(i32 ticks);
    void watchRender();
    void tellHost();
    void deleteLeftObjects();

    // --- AM_AudioManagerState.cpp
    bool loadStateLocked(const char* text, i32 size, bool inSong);

    // --- AM_AudioManagerMidi.cpp
    bool loadProgram(i32 bank, i32 program, char* outText);
    void loadPendingProgram();
    void createMidiPrograms();
    void takeOverPreferences();
    void keepPreferences(i32 ticks);
    void answerPreference(const char* name);
    void printPublicParameters();
    void printBinaryState();
    void receiveManagerCom(const char* subject, const char* content);

    // --- AM_AudioManagerBlock.cpp
    void runBlock();
    bool runBypassed();
    void abandonBlock();
    bool baseLatencyNeeded();
    void processWithCarry();
    void rest();
    void beginBlock(i32 numMeters);
    void beginSubBlock(i32 frames);
    void dispatchEvents(i32 from, i32 to);
    void carryEvents(i32 frames) { eventQueue.carryEvents(frames); }
    void runCircuit(i32 frames, i32 framesLeft);
    void endSubBlock();
    void endBlock(i32 numMeters);
    void publishMeters(i32 numMeters);
    void resetAfterStateChange();
    void roundToQuads();
    void readAligned(i32 first, i32 frames);
    void silenceOutputs();
    void silenceChannel(i32 channel, i32 first, i32 frames);
    i32 busChannels(i32 wanted) const;
    bool busIsSilent(i32 channels) const;
    f32* bus(i32 channel) const { return context->audioBuffer + channel * k_subBlockFrames; }

    // Keeps the log's writer alive; the first to come and the last to go.
    AM_LogSession logSession;
    std::unique_ptr<AM_ObjectHost> hostObjects; // null if the registry was given
    std::atomic<i32> runState{k_constructed};
    i32 numInternalChannels;
    i32 numMatrixSlots;
    i32 numMetas = 0;
    i32 numTargetsPerMeta = 0;
    char hostName[128] = "unknown";
    char apiName[128] = "unknown";
    std::atomic<i32> apiType{0};
    AM_InstanceRec* instanceRecord = nullptr;
    AM_PreferenceValues preferences;
    std::shared_ptr<AM_Filesystem> filesystem;

    // The two-step save: 0 nothing prepared, 1 prepared.
    std::string stateCache;
    i32 stateCachePhase = 0;
    bool settingState = false; // under stateLock

    // The tree and the tables over it.
    AM_CircuitObject* circuit = nullptr;
    AM_ParaMan* paraMan = nullptr; // a child of the circuit
    std::unique_ptr<AM_StopWatch> stopWatch;
    i32 numModBuffersTotal = 1;
    i32 numModSourcesTotal = 1;
    i32 numCircuits = 0;
    i32 numAudioObjects = 0;
    std::vector<AM_AudioObject*> objectTable;
    std::vector<AM_ObjectDescription> objectRecords;
    std::vector<i32> circuitTable;

    // The single allocation and what lies at its head.
    void* memoryBlock = nullptr;
    BlockContext* context = nullptr;
    f64 hostRate = 44100;
    i32 hostRenderMode = 0;

    // The block path, under stateLock.
    boost::recursive_mutex stateLock;
    std::atomic<bool> blockRunning{false};
    bool insideBlock = false;
    bool lastPathAligned = false;
    i32 numMetersShown = k_maxChannels; // channels whose levels the block before told
    bool inputSilent = false; // in this block
    bool busCleared = false;  // by the block before, which was all silent
    bool stateChanged = false; // seen at the start of a sub-block
    i32 resetCount = 0;
    AM_CarryBuffer carry;
    AM_ChannelMaps channelMaps{};
    AM_OutputRoutes routes;
    AM_GainRamp outputGain;
    AM_TransportClock transport;
    AM_EventQueue eventQueue;
    AM_LevelMeter inputMeter;
    AM_LevelMeter outputMeter;
    CircuitModule circuitSlot{};
    f64 swungDelta = 0;

    // Lights up with an event and fades from block to block; a meter shows it.
    f32 midiActivity = 0;

    // Flags between threads.
    std::atomic<u32> stateEpoch{0};
    std::atomic<bool> bypassed{false};
    std::atomic<bool> modulationDirty{false};
    std::atomic<bool> latencyChanged{false};
    std::atomic<bool> latencyEmergency{false};
    std::atomic<i32> ownLatency{0};
    std::atomic<i32> reportMode{k_reportAtTick};
    std::atomic<i32> tickCountdown{0};
    std::atomic<bool> resetSeen{false};
    static constexpr i32 k_maxDeferred = 256;
    std::atomic<u64> deferred[k_maxDeferred / 64] = {};
    std::atomic<u32> randomA{0x56CA39};
    std::atomic<u32> randomB{0x3E174BE};
    std::atomic<AM_IInterCom*> interCom{nullptr};
    AM_MidiControllerState midiState;
    std::atomic<i32> pendingProgram{-1}; // bank * 128 + program
    AM_AtomicBits hostNotices;           // by parameter id
    std::atomic<i32> ticksDue{0};
    std::atomic<bool> runsOnHostLoop{false};
    boost::recursive_mutex workMutex;  // one thread at a time does the ticks' work
    boost::recursive_mutex stateTexts; // one thread at a time writes or reads states
    i32 saveCountdown = 0;             // ticks until changed preferences are written
    i32 seenPreferences[AM_PreferenceValues::k_count] = {-1, -1, -1, -1, -1, -1};
    std::atomic<const HostLink*> hostLink{nullptr};
    std::vector<std::unique_ptr<HostLink>> hostLinks; // all that were ever set
    TickRelay tickRelay{*this};
    u32 tickId = 0;

    AM_Once slowTempoLogged;
    AM_Once bufferSizeLogged;
    AM_Once incompleteLogged;
    AM_Once errorLogged;
    AM_Once deferredLogged;
};
