// The parameter manager: every parameter of an instance in one flat table.
#pragma once

#include "AM_ActiveMods.h"
#include "AM_AudioObject.h"
#include "AM_Log.h"
#include "AM_MetaTargets.h"
#include "AM_ParamRuntime.h"
#include "AM_SmoothingQueue.h"
#include "AM_StandardCells.h"
#include "AM_WatchList.h"

#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

class AM_ParaMan;
class AM_StateReader;
class AM_StateWriter;
struct AM_StateOptions;
class AM_ValueToStringObject;

// Hears of parameters that the instance moves by itself, while it runs a block; so a binding can
// tell its host with the block.
class AM_IParameterSink {
public:
    virtual ~AM_IParameterSink() = default;
    // `value` in the row's units. Any thread, also audio: it neither waits nor allocates.
    virtual void parameterMoved(i32 id, f32 value) = 0;
};

// Takes one piece of a state's text. The piece lives for the call.
using AM_SettingProc = void (*)(AM_ParaMan* manager, const char* text, void* user);

// How a value travels: any thread sets the target of a row and marks it; the audio thread takes the
// marked rows over at its next sub-block, steps the ramps and writes plain floats and integers into
// the modules' memory. Modules therefore see a value change on the audio thread only.
class AM_ParaMan : public AM_ParameterInterface {
public:
    // Named "PCore: Parameter Core". Own rows: see AM_StandardRows.h. Logs "Starting REVISION %d".
    AM_ParaMan(AM_AudioMan* manager, i32 numMetas, i32 numTargetsPerMeta, i32 numMatrixSlots);
    ~AM_ParaMan() override;

    // --- AM_AudioObject ---------------------------------------------------------------
    i32 getDataSize() override { return 0; }
    i32 getModDataSize() override { return 0; }
    const ParameterInfo* getParameterInfo(i32 index) override;
    i32 getParameterStrings(i32 index, const char* const** out) override;
    // Swing, channel layout and surround rows have their values in the block context.
    void* getParameterPointer(i32 index) override;
    // By flat id: the channel levels (16 bytes, see AM_StandardCells) of the "Levels" row, the next
    // changed complex parameter (an i32, 0 for none) of the "update complex" row; null for others.
    // The editor's thread.
    const void* getParameterData(i32 id) override;
    void parameterChanged(i32* index, f32* value, f32* time) override;
    void receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) override;
    // "lock Parameter" and "unlock Parameter" with a parameter's id as content.
    void receiveCom(const char* subject, const char* content) override;
    AM_ProcessFunction getProcessFunction(BlockContext* context) override;
    bool isResting() override { return smoothing.isResting(); }
    // Takes over what other threads have set; call on the audio thread or under stateLock.
    void update() override;

    // --- AM_ParameterInterface --------------------------------------------------------
    void setParameterValueRaw(i32 id, f32 value) override;
    // Copies `size` bytes (0: the row's maximum) of a complex row to its owner; what is missing to
    // the row's maximum becomes zero if size was 0 and the row is a text. Texts need a terminator
    // within `size`, and nothing is read behind it. The owner hears of it (setParameterComplex,
    // then parameterChanged) if it asks to or has no memory for it. Not on the audio thread, where
    // the call is refused. For a row with memory complexLock() is held throughout: its owner takes
    // locks of its own behind that one, and never stateLock, which comes before.
    void setParameterValueComplex(i32 id, const void* data, i32 size) override;
    // The state as text, the terminator counted in `*outSize`, with `header` as its first line if
    // not null. `complete`: what a host's project keeps, with locks. Good until the next call. Host
    // main thread.
    const char* writeStateSection(i32* outSize, bool complete, const char* header) override;
    // Sets what a state's text holds; `mode` as in AM_StateRows.h. True if anything in it was
    // recognised. Under stateLock.
    bool loadStateText(const char* text, i32 size, i32 mode) override;
    // The state as records of raw values (AM_StateSection.h). Good until the next call. Host main
    // thread; reading under stateLock.
    const void* writeState(i32* outSize) override;
    bool readState(const void* stream, i32 size) override;

    // --- states as text ---------------------------------------------------------------
    // Hands a state's text up to the binary chunk to `proc`, piece by piece; null is logged.
    void createSetting(AM_SettingProc proc, void* user);
    const char* getState(i32* outSize, const char* prefix);
    bool loadState(const char* text, i32 size, i32 mode);
    // Whether texts get the long names as comments, and whether "!" lines of a text are obeyed.
    void setStateComments(bool on) { stateComments = on; }
    void setTakesSetUpText(bool on) { setUpText = on; }
    bool takesSetUpText() const { return setUpText; }
    // The text that a complex text row had when the table was completed.
    const std::string& getInitialText(i32 id) const;

    // --- the table --------------------------------------------------------------------
    // Builds the flat table over the subtree of `root`; start-up thread, once. Then
    // completeTable numbers the hosts' rows (0, 1, 2 ... in id order) and stores the defaults.
    void buildTable(AM_AudioObject* root);
    void completeTable();

    // Sets a parameter in its own units; clamped (not a number: to the minimum), never rejected but
    // for ids and kinds that cannot be set. Smoothed rows ramp over 50 sub-blocks unless
    // `immediate`. `time` in frames is handed to the owner, which is told on this thread if its row
    // has no pointer or k_flagNotifyOwner. A momentary row acts on values above 0.5 and is 0 again
    // afterwards. Lines about bad values come once per instance and parameter. Any thread.
    virtual void setParameterValue(i32 id, f32 value, f32 time = 0, bool immediate = false);
    // Sets a value out of a state: at once, and without starting what the row starts otherwise.
    void restoreParameterValue(i32 id, f32 value);
    // The current value of the table, 0 for a bad id; meters are read where they stand. Any thread.
    f32 getParameterValue(i32 id) const;
    // What the value is heading to: the target of a ramp, or the value. Any thread.
    f32 getParameterTarget(i32 id) const;
    // The row's flags with k_flagLocked as it stands, 0 for a bad id; with `hostIndex`, `id` is a
    // place in the host's index table. Any thread.
    virtual u32 getParameterFlags(i32 id, bool hostIndex = false) const;
    // True if the value differs from that of the last call for this row. One thread.
    virtual bool needsUpdate(i32 id, bool hostIndex = false);
    // Ids by host index, at first the published rows; also kept in the rows' hostParamIndex. Ids
    // outside the table are left out. Host main thread.
    virtual const std::vector<i32>& getHostIndexTable() const { return hostIndexTable; }
    virtual void setHostIndexTable(const std::vector<i32>& list);
    // Address of the value in its owner's memory, or null. Setting: start-up only.
    virtual void* getParamPointer(i32 id) const;
    virtual void setParamPointer(i32 id, void* pointer);
    // Target `slot` of a meta moves parameter `id`: -2 keeps the assignment, other negative ids
    // clear it. The limits of its range rows become plus and minus the parameter's span. Host main
    // thread.
    virtual void setMetaTargetValue(i32 meta, i32 slot, i32 id);
    virtual i32 getMetaTarget(i32 meta, i32 slot) const { return metas.assigned(meta, slot); }
    virtual void clearMetaTargets();
    // Users of a ModBuffer; modules ask isModulated. Takes stateLock.
    virtual void activateModBuffer(i32 index) { changeModBuffer(index, true); }
    virtual void changeModBuffer(i32 index, bool on);
    virtual void rebuildActiveMods();
    // Tells the editor, and with `now` the host too, that a complex parameter has changed. At most
    // 32 wait; an id that waits already is not entered again. Any thread.
    virtual void scheduleComplexParamNotification(i32 id, bool now = false);
    // Writes a meter of the standard block, in its units. Any thread.
    void setMeter(AM_StandardRow row, f32 value) { cells.setMeter(row, value); }
    // Level (amplitude; negative: not connected) of channel 0 to 15 of side 0, inputs, or 1,
    // outputs, for the "Levels" row. Any thread.
    void setChannelLevel(i32 side, i32 channel, f32 level) { cells.setLevel(side, channel, level); }
    // Percent of real time; written to the "CPU Load" meter.
    virtual void setCpuLoad(f32 percent);
    // Adds `frames` to the watch counter and reports watched parameters once a period.
    virtual void blockEnded(i32 frames);
    // Selects "initialize.q3p" as the preset file name.
    virtual void setInitPresetName();
    // Stores the version here and in the block context; unless `silent`, others hear of a version
    // that differs (message 85). Takes stateLock.
    virtual void setPatchVersion(i32 version, bool silent);
    i32 getPatchVersion() const { return patchVersion.load(); }
    // A locked row keeps its value across state loads. Any thread.
    bool isLocked(i32 id) const { return state->isId(id) && locked.test(id); }
    void setLocked(i32 id, bool on);
    // True once after message 93 (presets) and message 34 (a save is to come).
    bool takePresetListChanged() { return presetListChanged.exchange(false); }
    bool takeStateSaveWanted() { return stateSaveWanted.exchange(false); }

    // The sink lives as long as the instance; null for none. Host main thread, before blocks run.
    void setParameterSink(AM_IParameterSink* listener) { sink.store(listener); }
    // Tells the sink where a number is heading to; rows of other kinds are left out. Any thread.
    void tellSink(i32 id);

    // Row of `id`, or null for a bad id. In a host named "Live" the channel layout goes up to 2.
    // Any thread; the limits of meta target rows change while the program runs.
    const ParameterInfo* row(i32 id) const;
    i32 getNumParams() const { return numParamsTotal; }
    i32 getNumMatrixSlots() const { return layout.numMatrixSlots; }
    bool isPlaceHolder(i32 id) const;
    // True for the rows of the matrix that hold the number of a modulation source.
    bool isMatrixSource(i32 id) const;
    AM_AudioMan* getManager() const { return manager; }
    // The object that owns the row, or null.
    AM_AudioObject* ownerOf(i32 id) const;
    i32 getOwnParamBase() const { return ownParamBase; }
    // Flat id of a row of the standard block.
    i32 standardId(AM_StandardRow row) const { return ownParamBase + layout.standard() + row; }
    bool isStandardRow(i32 id) const {
        const i32 place = id - standardId(k_rowSwingBase);
        return place >= 0 && place < k_numStandardRows;
    }
    // Finds "Short", "Long Name", "module:name" (module by short or long name); -1 if there is
    // none. Exact match first, then regardless of case.
    i32 findParameter(const char* name) const;
    // The text shown for `value` of `id`: the row's list text if it has one, a complex text's own
    // text, else by the range of floats and meters: 0 to 100 or 200 reads as percent, -100 to 6 as
    // dB, all others as plain numbers. Not on the audio thread.
    std::string displayText(i32 id, f32 value) const;
    // Bytes of the text of a complex text row; empty if it has none. Not on the audio thread.
    std::string getText(i32 id) const;

    // Smoothing off while pushed (loads nest). Any thread.
    void pushImmediate() { loadDepth.fetch_add(1); }
    void popImmediate() { loadDepth.fetch_sub(1); }
    // Ends all ramps at their targets with the next sub-block; until then writes are immediate.
    void requestQueueClear() { state->clearQueue.store(true); }

    // Watched parameters are reported once every `periodFrames` frames if they have changed. Takes
    // stateLock.
    void watchParameter(i32 id);
    void setWatchListener(AM_WatchListener listener, void* data, i32 periodFrames);

    // Guards the bytes behind complex rows on every thread but the audio one.
    boost::recursive_mutex& complexLock() const { return complexMutex; }
    ParamRuntime& runtime() { return *state; }

    // One sub-block: takes over pending targets, steps the ramps, writes the values through their
    // pointers and adds the metas. Lets no exception out. Audio thread.
    void processSubBlock();

private:
    // Lines that come once per parameter.
    struct Reported {
        AM_Once above, below, meter;
    };

    const ParameterInfo* patched(const ParameterInfo& record) const;
    void numberObjects(AM_AudioObject* object, i32& next);
    f32 clamped(const ParameterInfo& info, i32 id, f32 value);
    void press(const ParameterInfo& info, i32 id, f32 time);
    void store(i32 id, f32 value, bool immediate);
    void notifyOwner(const ParameterInfo& info, i32 id, f32 value, f32 time);
    void announceModulation(const ParameterInfo& info, i32 id);
    AM_AudioObject* ownerOf(const ParameterInfo& info) const;
    const ParameterInfo* complexRow(i32 id, const void* data, i32& size);
    void storeBytes(AM_AudioObject& owner, const ParameterInfo& info, const void* data, i32 size);
    i32 fromHostIndex(i32 id, bool hostIndex) const;
    i32 findName(const char* name, bool ignoreCase) const;
    const AM_ValueToStringObject& displayFor(const ParameterInfo& info) const;
    AM_StateOptions stateOptions(bool complete) const;
    void keepInitialTexts();

    const AM_OwnRowLayout layout;
    const std::vector<ParameterInfo> ownRows;
    ParameterInfo liveLayoutRow; // the flat row of the channel layout as "Live" sees it
    ParameterInfo liveOwnRow;    // the same before it is copied
    AM_StandardCells cells;

    std::vector<ParameterInfo> paramRows;
    i32 numParamsTotal = 0;
    i32 ownParamBase = 0;
    const std::unique_ptr<ParamRuntime> state;
    AM_SmoothingQueue smoothing;
    AM_MetaTargets metas;
    AM_ActiveMods activeMods;
    AM_WatchList watched;
    std::vector<i32> hostIndexTable;
    std::vector<f32> shownValues; // of needsUpdate

    std::atomic<AM_IParameterSink*> sink{nullptr};
    std::atomic<i32> loadDepth{0};
    std::atomic<i32> patchVersion{0};
    std::atomic<bool> presetListChanged{false};
    std::atomic<bool> stateSaveWanted{false};
    AM_AtomicBits locked;
    std::unique_ptr<Reported[]> reported;
    AM_Once badId, complexOnAudio, blockFailed;

    const std::unique_ptr<AM_StateWriter> stateWriter;
    const std::unique_ptr<AM_StateReader> stateReader;
    std::vector<u8> stateStream;
    std::map<i32, std::string> initialTexts;
    bool stateComments = false;
    bool setUpText = false;
    std::unique_ptr<AM_ValueToStringObject> displays;
    mutable boost::recursive_mutex complexMutex;
};

// Smoothing off while it lives.
class AM_ImmediateScope {
public:
    explicit AM_ImmediateScope(AM_ParaMan& manager) : paraMan(manager) { paraMan.pushImmediate(); }
    ~AM_ImmediateScope() { paraMan.popImmediate(); }
    AM_ImmediateScope(const AM_ImmediateScope&) = delete;
    AM_ImmediateScope& operator=(const AM_ImmediateScope&) = delete;

private:
    AM_ParaMan& paraMan;
};
