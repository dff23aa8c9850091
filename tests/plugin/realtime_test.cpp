// Nothing that the audio thread does may allocate, wait, or enter the system.
#include "AM_Files/TemporaryFolder.h"
#include "AM_FolderResolver.h"
#include "PluginHarness.h"
#include "RealTimeWatch.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace {

class CountingSink : public AM_LogSink {
public:
    void writeLine(std::string_view) override { lines.fetch_add(1); }
    std::atomic<i32> lines{0};
};

} // namespace

TEST(RealTime, TheWatchSeesWhatItShould) {
    void* volatile block = nullptr;
    EXPECT_STREQ(watched([&] { block = std::malloc(8); }).call, "malloc");
    std::free(block);
    EXPECT_NE(watched([&] { block = ::operator new(8); }).call, nullptr);
    EXPECT_STREQ(watched([&] { ::operator delete(block); }).call, "free");
    std::mutex mutex;
    EXPECT_EQ(watched([&] { const std::lock_guard lock(mutex); }).locks, 1);
    const i64 systemCall = watched([] { getppid(); }).systemCall;
    EXPECT_EQ(systemCall, canCatchSystemCalls() ? SYS_getppid : -1);
    EXPECT_TRUE(watched([] {}).clean());
}

// All that can happen between blocks, among it what makes a block log or rebuild.
TEST(RealTime, BlocksNeitherAllocateNorWaitNorEnterTheSystem) {
    CountingSink sink;
    AM_LogSink* before = AM_setLogSink(&sink);
    {
        const TemporaryFolder folder;
        for (i32 i = 0; i < 4; ++i)
            folder.write("Presets/Glassmere/MIDI Programs/" + std::to_string(i) + ".q3p",
                         "#cm=FDN\nParams='FTUR237S-" + std::to_string(i) + "'\n");
        AM_setAlternateFolder(folder.path().c_str());
        Plugin plugin(44100.0, "DTNZ58-RT");
        plugin.man.setRunsOnHostLoop(true);
        i32 told = 0;
        plugin.man.setHostCallback([](void* data, i32, i32) { ++*static_cast<i32*>(data); }, &told);
        std::mt19937 engine(3);
        for (i32 n = 0; n < 600; ++n) {
            if (n % 5 == 0) plugin.man.addLearnTarget(plugin.id(n % 2 ? "Wet" : "Dry"));
            if (n % 7 == 0) plugin.man.setPreference("SmoothMidiCtrls", n % 2 ? "OFF" : "SMOOTH");
            if (n % 11 == 0) plugin.man.savePreferences();
            if (n % 12 == 1) plugin.setCode(randomCode(engine));
            if (n % 12 == 3) plugin.man.setSampleRate(n & 1 ? 44100.0 : 96000.0);
            if (n % 12 == 4) plugin.man.reset();
            if (n % 12 == 5) plugin.man.setBypass(n % 24 == 5);
            if (n % 12 == 6) plugin.man.getBlockContext()->bpm = n % 24 == 6 ? 0.0 : 120.0;
            if (n % 12 == 8) plugin.man.setPreferenceValue(k_prefBaseLatency, 0);
            StereoBuffer buffer = n % 24 < 20 ? noise(4096, n) : StereoBuffer(4096);
            if (n % 12 == 7) buffer.left[5] = std::nanf("");

            const u8 bytes[] = {0xB0,
                                static_cast<u8>(16 + n % 5),
                                static_cast<u8>(n % 128), //
                                0xB0,
                                0,
                                0,
                                0xC0,
                                static_cast<u8>(n % 5), //
                                0x90,
                                60,
                                100,
                                0xE0,
                                0,
                                64,
                                0xF0,
                                1,
                                2};
            const RealTimeFindings written = watched([&] {
                const AM_AudioThreadScope audio;
                for (i32 place = 0; place < i32{sizeof bytes};)
                    place += std::max(
                        plugin.man.handleMidiBytes(bytes + place, sizeof bytes - place, 3), 1);
                // Buttons are among the rows.
                for (i32 id = 0; n % 10 == 0 && id < plugin.paraMan().getNumParams(); ++id)
                    plugin.paraMan().setParameterValue(id, static_cast<f32>(n % 3) * 60.0f);
            });
            ASSERT_TRUE(written.clean()) << written << " before block " << n;
            const i32 frames = n % 7 == 0 ? 0 : static_cast<i32>(1 + engine() % 4096);
            const RealTimeFindings found = watched([&] {
                f32 *left = buffer.left.data(), *right = buffer.right.data();
                plugin.block(left, right, left, right, frames);
            });
            ASSERT_TRUE(found.clean()) << found << " in block " << n;
            ASSERT_LE(found.locks, 3) << "the state lock is the only one";
            if (n % 3 == 0) plugin.man.idle();
        }
        EXPECT_GT(told, 5);
        EXPECT_NE(plugin.man.getPresetFileName(), "");
        AM_setAlternateFolder(nullptr);
    }
    AM_setLogSink(before);
    EXPECT_GT(sink.lines.load(), 10);
}
