// MIDI on its way into the grid of sub-blocks, and what is shared between instances, on a manager
// with a store of preferences of the test's own.
#include "AM_FilesystemFactory.h"
#include "AM_InterComObject.h"
#include "TestManager.h"

#include <gtest/gtest.h>

namespace {

// Keeps what reaches it, with the place of the sub-block in which it does.
class Store : public AM_IPluginPreferences {
public:
    void load(AM_AudioMan&) override { ++loads; }
    void save(AM_AudioMan&) override { ++saves; }
    bool takeChanged() override { return std::exchange(changed, false); }
    bool setPreference(const char* name, const char* value) override {
        if (std::string(name) != "BaseLatencyBuffer16") return false;
        latency = std::string(value) == "YES";
        return changed = true;
    }
    bool describe(const char* name, std::string* value) const override {
        *value = latency ? "YES" : "NO";
        return std::string(name) == "BaseLatencyBuffer16";
    }
    i32 valueOf(i32 id) const override { return id == k_prefBaseLatency ? latency.load() : -1; }
    void receiveCom(const char* subject, const char*) override { heard += subject; }
    void controllerInput(AM_AudioMan& man, AM_MidiControllerState&, i32 channel, i32 controller,
                         i32 value) override {
        moves.push_back({static_cast<i64>(man.getBlockContext()->quadCounter) * k_quadFrames,
                         channel * 10000 + controller * 100 + value});
    }

    i32 loads = 0, saves = 0;
    bool changed = false;
    std::atomic<i32> latency{1};
    std::string heard;
    std::vector<std::pair<i64, i32>> moves;
};

class NoFolders : public AM_FilesystemFactory {
public:
    void getPresetsPath(AM_String*, const char*, const char*) const override {}
    void getSupportPath(AM_String*, const char*) const override {}
    void getDataPath(AM_String*, const char*) const override {}
};

u32 nextPlugId = 0x4d000000; // each test has a row of shared things of its own

class SharingMan : public TestMan {
public:
    explicit SharingMan(u32 id) {
        setPlugId(id);
        setupFilesystem(NoFolders(), "Test", "Test");
        // The timer's own ticks come when they like.
        setRunsOnHostLoop(true);
        initialize();
    }
    void beat() {
        AM_AudioMan::tick();
        idle();
    }
    Store& store() { return static_cast<Store&>(*getSharedPreferences()); }

protected:
    std::unique_ptr<AM_IPluginPreferences> createPreferences() override {
        return std::make_unique<Store>();
    }
};

} // namespace

TEST(MidiInput, MovesArriveInTheSubBlockThatHoldsTheirFrame) {
    LogCapture log;
    for (const i32 block : {1, 64, 100, 1000}) {
        SharingMan man(++nextPlugId);
        const i32 frames[] = {0, 15, 16, 63, 64, 99, 100, 511, 999, 1000, 1999};
        size_t sent = 0;
        for (i32 start = 0; start < 4000; start += block) {
            for (; sent < std::size(frames) && frames[sent] < start + block; ++sent) {
                const u8 bytes[3] = {0xB2, 7, static_cast<u8>(sent)};
                ASSERT_EQ(man.handleMidiBytes(bytes, 3, frames[sent] - start), 3);
            }
            man.run(block, 0.1f);
        }
        const auto& moves = man.store().moves;
        ASSERT_EQ(moves.size(), std::size(frames)) << block;
        for (size_t i = 0; i < moves.size(); ++i) {
            EXPECT_EQ(moves[i].second, 20700 + static_cast<i32>(i)) << block;
            // What is processed is 16 frames behind what came in.
            EXPECT_LE(moves[i].first, frames[i] + k_quadFrames) << block << ' ' << i;
            EXPECT_GT(moves[i].first, frames[i] + k_quadFrames - k_subBlockFrames) << block;
        }
    }
}

TEST(MidiInput, BytesBecomeEventsAndBadOnesNothing) {
    LogCapture log;
    SharingMan man(++nextPlugId);
    const struct {
        std::vector<u8> bytes;
        i32 used;
    } cases[] = {{{0x90, 60, 100}, 3},
                 {{0x80, 60, 0}, 3},
                 {{0xA1, 60, 1}, 3},
                 {{0xD0, 5}, 2},
                 {{0xE0, 0, 64}, 3},
                 {{0xC0, 5}, 2},
                 {{0xB0, 1, 127}, 3},
                 {{0xB0, 1}, 0},
                 {{0xF8}, 0},
                 {{60, 100, 3}, 0},
                 {{}, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(man.handleMidiBytes(c.bytes.data(), static_cast<i32>(c.bytes.size()), 0), c.used);
    const u8 bank[3] = {0xB0, 0, 5};
    man.handleMidiBytes(bank, 3, -7);
    EXPECT_EQ(man.getCurrentBank(), 5);
    EXPECT_FALSE(man.setMidiProgram(3, nullptr));
    man.run(64);
    EXPECT_EQ(man.store().moves.size(), 2u) << "bank select can be assigned too";
}

TEST(MidiInput, StoresAreMadeOnceAndSavedWhenTheyHaveComeToRest) {
    LogCapture log;
    const u32 id = ++nextPlugId;
    SharingMan first(id), second(id);
    Store& store = first.store();
    EXPECT_EQ(&second.store(), &store);
    EXPECT_EQ(store.loads, 1);
    AM_InterComObject& com = *dynamic_cast<AM_InterComObject*>(first.findObject("iCom"));
    const auto send = [&com](const std::string& text) {
        i32 row = AM_InterComObject::k_rowSend;
        com.setParameterComplex(&row, text.c_str(), static_cast<i32>(text.size()) + 1);
    };
    send("\\@AudioMan\\#COM_SET_AUDIO_PREF\\+BaseLatencyBuffer16:NO");
    EXPECT_EQ(first.getLatency(), 0);
    EXPECT_EQ(second.getLatency(), 16);
    second.beat();
    EXPECT_EQ(second.getLatency(), 0);
    send("\\@AudioMan\\#COM_REQUEST_AUDIO_PREF\\+BaseLatencyBuffer16");
    EXPECT_STREQ(static_cast<const char*>(com.getParameterData(AM_InterComObject::k_rowReceive)),
                 "\\@ViewMan\\#COM_AUDIO_PREF_STATE_REPORT\\+BaseLatencyBuffer16:NO");
    send("\\@AudioPrefs\\#hello\\+");
    EXPECT_EQ(store.heard, "hello");
    for (i32 i = 0; i < 30; ++i)
        second.beat();
    EXPECT_EQ(store.saves, 1);
    first.setPreferenceValue(k_prefPrintParams, 1);
    EXPECT_EQ(log.count("0: main:CcOp:\"100%\"\t\t//Main Loop Circuit->Output"), 1);
    EXPECT_EQ(log.count("WRONG!"), 0);
    first.setPreferenceValue(k_prefPrintBinaryState, 1);
    EXPECT_EQ(log.count("0400ffff00000000"), 1);
    first.setPreferenceValue(k_prefEditor, 1);
    first.setPreferenceValue(k_prefEditor, 0);
    EXPECT_EQ(first.getPreference(k_prefEditor), 1);
    // A value of one instance alone stays until the store changes.
    first.setPreferenceValue(k_prefBaseLatency, 1);
    first.beat();
    EXPECT_EQ(first.getLatency(), 16);
}
