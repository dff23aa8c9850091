// Many instances beside each other, and what they share: preferences, controllers, programs.
#include "AM_Allocator.h"
#include "AM_Files/TemporaryFolder.h"
#include "AM_FilesystemFactory.h"
#include "AM_InstanceRecs.h"
#include "ground/LogCapture.h"
#include "PluginHarness.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

#ifdef GLASSMERE_SANITIZED
constexpr i32 k_growthRounds = 2;
#else
constexpr i32 k_growthRounds = 10;
#endif

class Folders : public AM_FilesystemFactory {
public:
    explicit Folders(const TemporaryFolder& given) : folder(given) {
        folder.makeFolder("Presets");
        folder.makeFolder("Support");
    }
    void getPresetsPath(AM_String* result, const char*, const char*) const override {
        *result = AM_String((folder / "Presets").c_str());
    }
    void getSupportPath(AM_String* result, const char*) const override {
        *result = AM_String((folder / "Support").c_str());
    }
    void getDataPath(AM_String* result, const char*) const override { *result = AM_String(); }

private:
    const TemporaryFolder& folder;
};

// An instance on folders of the test's own; preferences and assignments are those of the process.
std::unique_ptr<Glassmere_AudioMan> makeInstance(const Folders& folders) {
    auto man = std::make_unique<Glassmere_AudioMan>(k_glassmereId);
    man->setupFilesystem(folders, "Glassmere", "Glassmere");
    // The timer's own ticks come when they like.
    man->setRunsOnHostLoop(true);
    man->initialize();
    return man;
}

void beat(Glassmere_AudioMan& man) {
    man.tick();
    man.idle();
}

void run(Glassmere_AudioMan& man, i32 frames, i32 blocks = 1) {
    std::vector<f32> left(static_cast<size_t>(frames), 0.25f), right(left);
    BlockContext* context = man.getBlockContext();
    context->inputs[0] = context->outputs[0] = left.data();
    context->inputs[1] = context->outputs[1] = right.data();
    context->numFrames = frames;
    for (i32 i = 0; i < blocks; ++i) {
        man.setTransport(context, 0, 0);
        man.processBlock();
    }
}

std::string presetText(const std::string& code, f32 feedback) {
    return "#cm=FDN\nParams='" + code + "'\nFB=" + std::to_string(static_cast<i32>(feedback)) +
           '\n';
}

f32 value(Glassmere_AudioMan& man, const char* name) {
    return man.getParaMan()->getParameterTarget(man.getParaMan()->findParameter(name));
}

} // namespace

TEST(Lifecycle, ManyInstancesComeAndGoOnManyThreads) {
    LogCapture log;
    const TemporaryFolder folder;
    const Folders folders(folder);
    const auto keeper = makeInstance(folders);
    std::atomic<bool> stop{false};
    std::vector<std::thread> others;
    others.emplace_back([&] {
        std::string text;
        while (!stop.load()) {
            keeper->getSharedPreferences()->describe("BaseLatencyBuffer16", &text);
            beat(*keeper);
        }
    });
    others.emplace_back([&] {
        for (i32 n = 0; !stop.load(); n = (n + 1) % 100) {
            keeper->addLearnTarget(keeper->getParaMan()->findParameter("FB"));
            keeper->controllerInput(n % 16, 20 + n % 8, n, 0);
            run(*keeper, 64);
        }
    });
    const auto live = [&](i32 seed) {
        auto man = makeInstance(folders);
        const std::string text = presetText("FTUR237S-" + std::to_string(seed), 10.0f + seed % 50);
        EXPECT_TRUE(man->setStateInfo(text.c_str(), static_cast<i32>(text.size()), true));
        run(*man, 100, 3);
        man->controllerInput(0, 20, seed % 128, 5);
        run(*man, 64);
        beat(*man);
    };
    const auto round = [&](i32 count) {
        std::vector<std::thread> threads;
        for (i32 thread = 0; thread < 8; ++thread)
            threads.emplace_back([&live, thread, count] {
                for (i32 i = 0; i < count; ++i)
                    live(thread * 100 + i);
            });
        for (std::thread& thread : threads)
            thread.join();
    };
    round(25);
    const size_t before = AM_liveAllocations();
    const i32 instances = Glassmere_AudioMan::getLiveInstances();
    for (i32 i = 0; i < k_growthRounds; ++i)
        round(2);
    EXPECT_EQ(AM_liveAllocations(), before);
    EXPECT_EQ(Glassmere_AudioMan::getLiveInstances(), instances);
    stop = true;
    for (std::thread& thread : others)
        thread.join();
}

TEST(Lifecycle, ALearntControllerMovesEveryInstanceAndOutlivesThem) {
    LogCapture log;
    const TemporaryFolder folder;
    const Folders folders(folder);
    {
        const auto first = makeInstance(folders);
        const auto second = makeInstance(folders);
        const i32 dry = first->getParaMan()->findParameter("Dry");
        first->getParaMan()->setParameterValue(first->getParaMan()->findParameter("MidiT"), 2);
        first->addLearnTarget(dry);
        const u8 learn[3] = {0xB3, 77, 0};
        EXPECT_EQ(first->handleMidiBytes(learn, 3, 0), 3);
        run(*first, 64);
        i32 told = 0;
        first->setHostCallback(
            [](void* data, i32 code, i32) {
                *static_cast<i32*>(data) += code == k_hostParameterChanged;
            },
            &told);
        for (Glassmere_AudioMan* man : {first.get(), second.get()}) {
            const u8 move[3] = {0xB3, 77, 127};
            man->handleMidiBytes(move, 3, 10);
            man->handleMidiBytes(std::begin({u8{0xB3}, u8{77}, u8{0}}), 3, 40);
            run(*man, 64);
            EXPECT_EQ(value(*man, "Dry"), 0) << "the last of two";
        }
        EXPECT_EQ(told, 0) << "not from the audio thread";
        beat(*first);
        EXPECT_EQ(told, 1);
    }
    std::string file;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "Support"))
        file += entry.path().filename().string() + ' ';
    EXPECT_NE(file.find("com.vela.Glassmere.midiassign.txt"), file.npos) << file;
}

TEST(Lifecycle, ProgramsOfTheBanksAreReadOnceAndChangeTheSound) {
    LogCapture log;
    const TemporaryFolder folder;
    const Folders folders(folder);
    for (i32 i = 0; i < 40; ++i) {
        const std::string bank = i < 10 ? "" : i < 25 ? "A hall/" : "B room/";
        const std::string number = std::to_string(100 + i);
        folder.write("Presets/MIDI Programs/" + bank + number + ".q3p",
                     presetText("FTUR237S-" + number, static_cast<f32>(i)));
    }
    const auto man = makeInstance(folders);
    EXPECT_EQ(log.count("void AM_AudioMan::createMidiPrograms()"), 1);
    const auto second = makeInstance(folders);
    EXPECT_EQ(log.count("void AM_AudioMan::createMidiPrograms()"), 1);

    char name[63];
    EXPECT_TRUE(man->setMidiProgram(3, name));
    EXPECT_STREQ(name, "0:3 103");
    EXPECT_EQ(value(*man, "FB"), 3);
    EXPECT_FALSE(man->setMidiProgram(10, name)) << "bank 0 has ten";
    // Bank and program by MIDI; on the audio thread the next tick loads it.
    const u8 bytes[] = {0xB0, 0, 2, 0xC0, 4};
    {
        const AM_AudioThreadScope audio;
        EXPECT_EQ(man->handleMidiBytes(bytes, 3, 0), 3);
        EXPECT_EQ(man->handleMidiBytes(bytes + 3, 2, 0), 2);
        run(*man, 64);
    }
    EXPECT_EQ(value(*man, "FB"), 3);
    beat(*man);
    EXPECT_EQ(value(*man, "FB"), 29);
    EXPECT_EQ(man->getPresetFileName(), "2:4 129");
    EXPECT_EQ(value(*second, "FB"), 50);
    man->savePreferences();
    EXPECT_NE(folder.read("Presets/MIDI Programs/Midi.Bank.Cache.txt").find("Bank 1: A hall (15)"),
              std::string::npos);
}

TEST(Lifecycle, PreferencesAreOneForAllAndTakeEffect) {
    LogCapture log;
    const TemporaryFolder folder;
    const Folders folders(folder);
    const auto first = makeInstance(folders);
    const auto second = makeInstance(folders);
    first->setPreference("BaseLatencyBuffer16", "NO");
    EXPECT_EQ(first->getLatency(), 0);
    beat(*second);
    EXPECT_EQ(second->getLatency(), 0);
    first->setPreference("BaseLatencyBuffer16", "PERHAPS");
    first->setPreference("Colour", "red");
    EXPECT_TRUE(log.has("didn't find matching preference value for \"PERHAPS\""));
    EXPECT_TRUE(log.has("didn't find matching preference for \"Colour\""));
    // A block that the direct mode cannot take puts the latency back, for all.
    run(*first, 17);
    beat(*first);
    beat(*second);
    EXPECT_EQ(second->getLatency(), 16);
    first->setPreference("BaseLatencyBuffer16", "YES");
}
