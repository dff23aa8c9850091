// Nothing inside processBlock may allocate, wait, or enter the system. This program replaces the
// allocator and the usual ways into the system, and counts what reaches them from an audio block.
#include "AM_Files/TemporaryFolder.h"
#include "AM_FolderResolver.h"
#include "PluginHarness.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

namespace {

// Plain words: no constructor, no allocation, usable before main.
thread_local bool t_watching __attribute__((tls_model("initial-exec"))) = false;
thread_local int t_locks __attribute__((tls_model("initial-exec"))) = 0;
thread_local const char* t_caught __attribute__((tls_model("initial-exec"))) = nullptr;

void caught(const char* what) {
    if (t_watching && !t_caught) t_caught = what;
}

template <class F>
F next(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
    caught("malloc");
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    caught("calloc");
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    caught("realloc");
    return __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    caught("aligned_alloc");
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size) {
    caught("posix_memalign");
    *out = __libc_memalign(alignment, size);
    return *out ? 0 : 12;
}
void free(void* block) {
    if (block) caught("free");
    __libc_free(block);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static const auto real = next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    if (t_watching) ++t_locks;
    return real(mutex);
}
int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static const auto real = next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    caught("pthread_cond_wait");
    return real(condition, mutex);
}
ssize_t read(int file, void* buffer, size_t size) {
    static const auto real = next<ssize_t (*)(int, void*, size_t)>("read");
    caught("read");
    return real(file, buffer, size);
}
ssize_t write(int file, const void* buffer, size_t size) {
    static const auto real = next<ssize_t (*)(int, const void*, size_t)>("write");
    caught("write");
    return real(file, buffer, size);
}
int nanosleep(const timespec* time, timespec* rest) {
    static const auto real = next<int (*)(const timespec*, timespec*)>("nanosleep");
    caught("nanosleep");
    return real(time, rest);
}
int usleep(useconds_t time) {
    static const auto real = next<int (*)(useconds_t)>("usleep");
    caught("usleep");
    return real(time);
}
int sched_yield() {
    caught("sched_yield");
    return 0;
}
FILE* fopen(const char* path, const char* mode) {
    static const auto real = next<FILE* (*)(const char*, const char*)>("fopen");
    caught("fopen");
    return real(path, mode);
}
}

namespace {

class CountingSink : public AM_LogSink {
public:
    void writeLine(std::string_view) override { lines.fetch_add(1); }
    std::atomic<i32> lines{0};
};

// Runs one block under watch; returns what it should not have called, or null.
const char* watchedBlock(Plugin& plugin, StereoBuffer& buffer, i32 frames, i32& locks) {
    t_caught = nullptr;
    t_locks = 0;
    t_watching = true;
    plugin.block(buffer.left.data(), buffer.right.data(), buffer.left.data(), buffer.right.data(),
                 frames);
    t_watching = false;
    locks = t_locks;
    return t_caught;
}

} // namespace

TEST(RealTime, TheWatchSeesWhatItShould) {
    t_caught = nullptr;
    t_watching = true;
    void* volatile block = std::malloc(8);
    t_watching = false;
    EXPECT_STREQ(t_caught, "malloc");
    std::free(block);
    t_caught = nullptr;
    t_watching = true;
    block = ::operator new(8);
    t_watching = false;
    EXPECT_NE(t_caught, nullptr);
    ::operator delete(block);
}

TEST(RealTime, BlocksNeitherAllocateNorWaitNorEnterTheSystem) {
    CountingSink sink;
    AM_LogSink* before = AM_setLogSink(&sink);
    {
        Plugin plugin(44100.0, "DTNZ58-RT");
        StereoBuffer buffer = noise(4096);
        std::mt19937 engine(3);
        for (i32 n = 0; n < 600; ++n) {
            // All that can happen between blocks, among it what makes a block log or rebuild.
            switch (n % 12) {
            case 0:
                plugin.paraMan().setParameterValue(plugin.id("Wet"), n % 100);
                break;
            case 1:
                plugin.setCode(randomCode(engine));
                break;
            case 2:
                plugin.set("Freq", 1.0f + n % 19);
                break;
            case 3:
                plugin.man.setSampleRate(n & 1 ? 44100.0 : 96000.0);
                break;
            case 4:
                plugin.man.reset();
                break;
            case 5:
                plugin.man.setBypass(n % 24 == 5);
                break;
            case 6:
                plugin.man.getBlockContext()->bpm = n % 24 == 6 ? 0.0 : 120.0;
                break;
            case 7:
                buffer.left[5] = std::nanf("");
                break;
            case 8:
                plugin.man.setPreferenceValue(k_prefBaseLatency, 0);
                break;
            case 9:
                plugin.man.processEvent(3, 0, 0.5f, 0.0f, 7);
                break;
            case 10:
                plugin.paraMan().setParameterValue(plugin.id("Swing"), n % 90);
                break;
            default:
                buffer = n % 24 == 11 ? noise(4096, n) : StereoBuffer(4096);
                break;
            }
            const i32 frames = n % 7 == 0 ? 0 : static_cast<i32>(1 + engine() % 4096);
            i32 locks = 0;
            const char* what = watchedBlock(plugin, buffer, frames, locks);
            ASSERT_EQ(what, nullptr) << what << " in block " << n;
            ASSERT_LE(locks, 3) << "the state lock is the only one";
        }
        // Writes from the audio thread itself, buttons among them.
        for (i32 n = 0; n < 60; ++n) {
            t_caught = nullptr;
            t_watching = true;
            {
                const AM_AudioThreadScope audio;
                for (i32 id = 0; id < plugin.paraMan().getNumParams(); ++id)
                    plugin.paraMan().setParameterValue(id, static_cast<f32>(n % 3) * 60.0f);
            }
            t_watching = false;
            ASSERT_EQ(t_caught, nullptr) << t_caught << " in write " << n;
            i32 locks = 0;
            ASSERT_EQ(watchedBlock(plugin, buffer, 100, locks), nullptr);
        }
    }
    AM_setLogSink(before);
    EXPECT_GT(sink.lines.load(), 10);
}

TEST(RealTime, MidiLearningProgramsAndPreferencesLeaveTheBlocksAlone) {
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
        StereoBuffer buffer = noise(1024);
        for (i32 n = 0; n < 300; ++n) {
            if (n % 5 == 0) plugin.man.addLearnTarget(plugin.id(n % 2 ? "Wet" : "Dry"));
            if (n % 7 == 0) plugin.man.setPreference("SmoothMidiCtrls", n % 2 ? "OFF" : "SMOOTH");
            if (n % 11 == 0) plugin.man.savePreferences();
            const u8 bytes[] = {0xB0,
                                static_cast<u8>(16 + n % 5),
                                static_cast<u8>(n % 128),
                                0xB0,
                                0,
                                0,
                                0xC0,
                                static_cast<u8>(n % 5),
                                0x90,
                                60,
                                100,
                                0xE0,
                                0,
                                64,
                                0xF0,
                                1,
                                2};
            i32 locks = 0;
            t_caught = nullptr;
            t_watching = true;
            {
                const AM_AudioThreadScope audio;
                for (i32 place = 0, left = sizeof bytes; left > 0;) {
                    const i32 used =
                        std::max(plugin.man.handleMidiBytes(bytes + place, left, 3), 1);
                    place += used;
                    left -= used;
                }
            }
            t_watching = false;
            ASSERT_EQ(t_caught, nullptr) << t_caught << " in message " << n;
            const char* what = watchedBlock(plugin, buffer, 1 + n * 37 % 1024, locks);
            ASSERT_EQ(what, nullptr) << what << " in block " << n;
            if (n % 3 == 0) plugin.man.idle();
        }
        EXPECT_GT(told, 5);
        EXPECT_NE(plugin.man.getPresetFileName(), "");
        AM_setAlternateFolder(nullptr);
    }
    AM_setLogSink(before);
}
