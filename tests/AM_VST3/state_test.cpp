// Projects: what a host saves comes back whole, whenever it is handed over, and nothing that is no
// state changes an instance.
#include "TestInstance.h"
#include "TestText.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

#ifdef GLASSMERE_SANITIZED
constexpr i32 k_rounds = 20;
constexpr size_t k_cutStep = 7;
#else
constexpr i32 k_rounds = 200;
constexpr size_t k_cutStep = 1;
#endif

constexpr ParamID k_firstMidi = 200000;
constexpr ParamID k_bypass = 400000;
constexpr size_t k_headSize = 4;
constexpr size_t k_refusedSize = 16 << 20;

// --- the stream's bytes ------------------------------------------------------------------------

std::string stateOf(const std::string& text, size_t size) {
    std::string bytes;
    for (i32 shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(size >> shift & 255);
    return bytes + text;
}
std::string stateOf(const std::string& text) {
    return stateOf(text, text.size());
}

std::string textOf(const std::string& state) {
    const std::string text = state.substr(std::min(state.size(), k_headSize));
    EXPECT_EQ(state, stateOf(text));
    return text;
}

// Replaces the value of the first line `key=`; with `behind`, adds that line behind it.
std::string changed(const std::string& state, const std::string& key, const std::string& value,
                    const std::string& behind = "") {
    std::string text = textOf(state);
    const size_t begin = text.find("\n" + key + "=") + 1;
    const size_t end = text.find('\n', begin);
    text.replace(begin, end - begin, key + "=" + value + (behind.empty() ? "" : "\n" + behind));
    return stateOf(text);
}

bool has(const std::string& state, const std::string& line, const char* end = "\n") {
    return state.find(std::string("\n") + line + end) != state.npos;
}

void load(TestInstance& instance, const std::string& state) {
    instance.load({state, ""});
}
std::string save(TestInstance& instance) {
    return instance.save().component;
}

// --- instances ---------------------------------------------------------------------------------

// What a host may turn. The row that leaves half of a state out, and the buttons, are no part of
// it.
std::vector<ParamID> knobs(TestInstance& instance) {
    std::vector<ParamID> ids;
    for (const ParameterInfo& info : instance.parameters()) {
        const std::string title = toUtf8(info.title);
        const i32 out = ParameterInfo::kIsHidden | ParameterInfo::kIsReadOnly;
        if (info.id < k_firstMidi && (info.flags & out) == 0 && title != "Do Not Save Instance" &&
            title != "Rand Delay" && title != "Random Model")
            ids.push_back(info.id);
    }
    return ids;
}

void scramble(TestInstance& instance, std::mt19937& engine) {
    for (const ParamID id : knobs(instance))
        instance.turn(id, static_cast<f64>(engine() % 10001) / 10000.0);
    instance.turn(k_bypass, engine() % 2);
    instance.run(StereoBuffer(64));
}

// Long enough for the fade of a bypass to end, then sound and a tail.
StereoBuffer heard(TestInstance& instance) {
    instance.run(StereoBuffer(16384));
    return instance.run(noise(4096), {512, 33});
}

// Compares what stands in the state, with two decimals or whole.
void expectValues(TestInstance& instance, TestInstance& expected, const std::string& state) {
    for (const ParameterInfo& info : expected.parameters()) {
        if (info.id >= k_firstMidi || (info.flags & ParameterInfo::kIsHidden) != 0 ||
            !has(state, toUtf8(info.shortTitle), "="))
            continue;
        const auto plain = [&info](TestInstance& of) {
            return of.controller()->normalizedParamToPlain(info.id, of.value(info.id));
        };
        EXPECT_NEAR(plain(instance), plain(expected), info.stepCount > 0 ? 0.5001 : 0.00501)
            << toUtf8(info.title);
    }
    EXPECT_EQ(instance.value(k_bypass), expected.value(k_bypass));
}

class State : public testing::Test {
protected:
    // Of a fresh instance, unlike any default where `changes` says so.
    std::string plainState() {
        TestInstance instance(module);
        return save(instance);
    }
    // The state in the words of an instance.
    std::string written(const std::string& state) {
        TestInstance instance(module);
        load(instance, state);
        return save(instance);
    }
    std::string codeState() {
        const std::string state = changed(plainState(), "Params", "'FTUR237S-IT''S'");
        return written(changed(changed(state, "FB", "85.50"), "Wet", "60.25"));
    }
    std::string bypassedState() {
        return written(changed(changed(codeState(), "Wet", "10.00", "#lock=FDN:Wet"), "FDN", "0"));
    }

    const TestModule module{GLASSMERE_BUNDLE};
};

} // namespace

// --- orders ------------------------------------------------------------------------------------

TEST_F(State, ComesBackWheneverItIsLoaded) {
    for (const std::string& state : {plainState(), codeState(), bypassedState()}) {
        StereoBuffer first;
        for (i32 order = 0; order < 6; ++order) {
            SCOPED_TRACE(order);
            TestInstance instance(module);
            if (order == 0) load(instance, state); // before activation
            instance.start();
            if (order == 2) { // into a tail; the taps keep what came in last
                instance.run(noise(3000), {17});
                instance.run(StereoBuffer(64));
            }
            if (order == 3) load(instance, codeState());
            if (order == 3) load(instance, bypassedState());
            if (order > 0) load(instance, state);
            if (order == 4) load(instance, state);
            if (order == 5) instance.stop();
            if (order == 5) instance.start();
            EXPECT_EQ(save(instance), state);
            const StereoBuffer sound = heard(instance);
            if (order == 0) first = sound;
            EXPECT_EQ(sound, first);
            EXPECT_EQ(save(instance), state) << "what is played is no part of it";
        }
        EXPECT_GT(first.energy(0, first.size()), 0.0);
    }
}

TEST_F(State, OfAnInstanceSoundsLikeIt) {
    TestInstance saved(module, {.runLoop = true});
    saved.start();
    saved.turn(saved.find("Feedback"), 0.75);
    saved.turn(saved.find("Wet"), 0.5);
    saved.turn(saved.find("Dry"), 0.25);
    saved.turn(saved.find("Random Model"), 1.0);
    saved.run(StereoBuffer(512));
    saved.context.loop.advance(100); // in which the button does its work
    const std::string state = save(saved);
    const size_t code = state.find("\nParams='");
    EXPECT_NE(state.substr(code, 18), plainState().substr(code, 18));
    TestInstance restored(module);
    load(restored, state);
    restored.start();
    restored.run(StereoBuffer(512));
    EXPECT_EQ(heard(restored), heard(saved));
}

TEST_F(State, OfScrambledInstancesIsTheSameInAFreshOne) {
    std::mt19937 engine(5);
    for (i32 round = 0; round < k_rounds; ++round) {
        TestInstance saved(module);
        saved.start();
        scramble(saved, engine);
        const std::string state = save(saved);
        TestInstance restored(module);
        restored.start();
        restored.run(StereoBuffer(64));
        load(restored, state);
        ASSERT_EQ(save(restored), state);
        expectValues(restored, saved, state);
        if (round % 10 != 0) continue;
        load(saved, state); // without what two decimals leave out
        EXPECT_EQ(heard(restored), heard(saved));
    }
}

TEST_F(State, IsLoadedAndSavedWhileBlocksRun) {
    TestInstance instance(module);
    instance.start();
    const std::string states[] = {codeState(), bypassedState()};
    std::atomic<bool> done{false};
    std::thread audio([&] {
        while (!done)
            instance.run(noise(512), {64});
    });
    for (i32 i = 0; i < k_rounds; ++i) {
        load(instance, states[i % 2]);
        EXPECT_EQ(save(instance), states[i % 2]);
    }
    done = true;
    audio.join();
}

// A project that opens brings its own locks; a state that comes later is a preset's, and locked
// rows keep their values.
TEST_F(State, HandedOverLaterLeavesLockedRowsAlone) {
    using Clock = std::chrono::steady_clock;
    const std::string other = written(changed(plainState(), "FB", "10.00"));
    const std::string locked = written(changed(other, "FB", "85.00", "#lock=FDN:FB"));
    const Clock::time_point begin = Clock::now();
    TestInstance instance(module);
    const auto keepsLocked = [&] {
        load(instance, locked);
        load(instance, other);
        return save(instance) != other;
    };
    const bool late = keepsLocked();
    EXPECT_TRUE(!late || Clock::now() - begin >= std::chrono::seconds(1));
    while (!keepsLocked() && Clock::now() - begin < std::chrono::minutes(2))
        std::this_thread::yield();
    EXPECT_EQ(save(instance), locked);
    EXPECT_EQ(instance.value(instance.find("Feedback")), 0.85f);
}

// --- what is no state --------------------------------------------------------------------------

TEST_F(State, ThatIsDamagedChangesNothing) {
    const std::string state = codeState();
    const std::string text = textOf(state);
    std::vector<std::string> damaged = {
        "",
        stateOf(text, 0),
        stateOf(text, 8),
        stateOf(text, 9),
        stateOf(text, text.size() + 1),
        stateOf(text, k_refusedSize - 1),
        stateOf(text, 0x7fffffff),
        stateOf(text, 0xffffffff),
        stateOf(text + std::string(k_refusedSize - text.size(), '\n')),
    };
    for (size_t size = 1; size < state.size(); size += size < 16 ? 1 : k_cutStep)
        damaged.push_back(state.substr(0, size));
    std::mt19937 engine(3);
    for (i32 round = 0; round < 8; ++round) {
        std::string random(1 << 20, ' ');
        for (char& c : random)
            c = static_cast<char>(engine());
        damaged.push_back(round % 2 ? random : stateOf(random));
    }
    TestInstance instance(module);
    const std::string before = bypassedState();
    load(instance, before);
    for (const std::string& bytes : damaged) {
        load(instance, bytes);
        ASSERT_EQ(save(instance), before) << bytes.size() << " bytes";
    }
    ASSERT_EQ(instance.component()->setState(nullptr), kResultOk);
    ASSERT_EQ(instance.component()->getState(nullptr), kResultOk);
    EXPECT_EQ(save(instance), before);

    // A text that ends early, but honestly, counts up to there; the largest one that fits counts.
    for (size_t size = 0; size < text.size(); size += k_cutStep) {
        load(instance, stateOf(text.substr(0, size)));
        save(instance);
    }
    load(instance, stateOf(text + std::string(k_refusedSize - 1 - text.size(), '\n')));
    EXPECT_EQ(save(instance), state);
    // The header is for the log.
    load(instance, before);
    load(instance, stateOf(text.substr(text.find('\n') + 1)));
    EXPECT_EQ(save(instance), state);
}

TEST_F(State, PassesThroughTheStreamsOfAwkwardHosts) {
    const std::string state = codeState();
    TestInstance instance(module);
    for (const i32 bytes : {1, 3, 1000}) {
        load(instance, plainState());
        TestStream source(state);
        EXPECT_EQ(instance.component()->setState(&source.limitCalls(bytes)), kResultOk);
        TestStream target;
        EXPECT_EQ(instance.component()->getState(&target.limitCalls(bytes)), kResultOk);
        EXPECT_EQ(target.bytes(), state);
    }
    const auto size = static_cast<i64>(state.size());
    for (const i64 bytes : {i64{0}, i64{1}, i64{4}, i64{5}, size / 2, size - 1}) {
        TestStream target;
        EXPECT_EQ(instance.component()->getState(&target.failAfter(bytes)), kResultOk);
        EXPECT_EQ(target.bytes(), state.substr(0, static_cast<size_t>(bytes)));
        TestStream source(plainState());
        EXPECT_EQ(instance.component()->setState(&source.failAfter(bytes / 2)), kResultOk);
        EXPECT_EQ(save(instance), state);
    }
    // Not yet and no longer an instance.
    TestStream stream(state);
    instance.component()->terminate();
    EXPECT_EQ(instance.component()->setState(&stream), kResultOk);
    TestStream empty;
    EXPECT_EQ(instance.component()->getState(&empty), kResultOk);
    EXPECT_EQ(empty.bytes(), "");
}

// --- the controller ----------------------------------------------------------------------------

TEST_F(State, ReachesControllersInEveryWiring) {
    using Connection = TestWiring::Connection;
    for (const std::string& state : {codeState(), bypassedState()})
        for (const auto connection :
             {Connection::Direct, Connection::Proxy, Connection::StrictProxy})
            for (const bool controllerFirst : {false, true}) {
                TestInstance instance(module, {connection, controllerFirst});
                load(instance, state);
                const bool bypassed = has(state, "FDN=0");
                EXPECT_EQ(instance.value(instance.find("Feedback")), 0.855f);
                EXPECT_EQ(instance.value(instance.find("Wet")), bypassed ? 0.1f : 0.6025f);
                EXPECT_EQ(instance.value(k_bypass), bypassed ? 1.0 : 0.0);
                EXPECT_EQ(instance.value(instance.find("Active FDN")), bypassed ? 0.0 : 1.0);
                TestStream state(save(instance));
                instance.handler.clear();
                instance.controller()->setComponentState(&state);
                EXPECT_EQ(instance.handler.calls().size(), 0u);
            }
}

// --- older builds ------------------------------------------------------------------------------

namespace {

// As these builds wrote them. Never changed, only added to.
const struct {
    const char* file;
    f64 feedback, wet, bypass; // percent, percent, normalised
    std::vector<const char*> lines;
} k_kept[] = {
    {"1.0.0-default", 88.0, 32.0, 0, {"Params='FHNR248S-MERE'", "Dry=100.00", "FDN=1"}},
    {"1.0.0-code", 85.5, 60.25, 0, {"Params='FTUR237S-IT''S'", "FB=85.50", "Wet=60.25"}},
    {"1.0.0-bypassed", 85.5, 10.0, 1, {"#lock=FDN:Wet", "FDN=0", "Params='FTUR237S-IT''S'"}},
    {"1.0.0-played", 75.0, 50.0, 0, {"PAGE=3", "#lock=FDN:Params", "Swing=12.50", "Dry=25.00"}},
};

std::string keptPath(const char* file) {
    return std::string(GLASSMERE_STATES) + '/' + file + ".state";
}

} // namespace

TEST_F(State, OfOlderBuildsIsRead) {
    for (const auto& kept : k_kept) {
        SCOPED_TRACE(kept.file);
        std::ostringstream bytes;
        bytes << std::ifstream(keptPath(kept.file), std::ios::binary).rdbuf();
        ASSERT_NE(bytes.str(), "");
        TestInstance instance(module);
        load(instance, bytes.str());
        const auto plain = [&](const char* title) {
            const ParamID id = instance.find(title);
            return instance.controller()->normalizedParamToPlain(id, instance.value(id));
        };
        EXPECT_NEAR(plain("Feedback"), kept.feedback, 1e-4);
        EXPECT_NEAR(plain("Wet"), kept.wet, 1e-4);
        EXPECT_EQ(instance.value(k_bypass), kept.bypass);
        const std::string again = save(instance);
        for (const char* line : kept.lines)
            EXPECT_TRUE(has(again, line)) << line << " is not in\n" << again;
    }
}

// Adds what a new version of the plug-in is to be known by: name the files above, then run
// test_vst3 --gtest_also_run_disabled_tests --gtest_filter='*WritesStatesToKeep' and commit them.
// Files that are there stay as they are.
TEST_F(State, DISABLED_WritesStatesToKeep) {
    const auto keep = [](const char* file, const std::string& state) {
        if (!std::ifstream(keptPath(file)))
            std::ofstream(keptPath(file), std::ios::binary) << state;
    };
    keep("1.0.0-default", plainState());
    keep("1.0.0-code", codeState());
    TestInstance instance(module);
    load(instance, bypassedState());
    keep("1.0.0-bypassed", save(instance));
    std::string played = changed(plainState(), "Params", "'DTNZ5823-LAKE'", "#lock=FDN:Params");
    load(instance, played);
    instance.start();
    for (const auto& [title, value] : std::map<std::string, f64>{{"Feedback", 0.75},
                                                                 {"Wet", 0.5},
                                                                 {"Dry", 0.25},
                                                                 {"Swing", 0.125},
                                                                 {"PAGE", 0.0234375}})
        instance.turn(instance.find(title), value);
    instance.run(noise(512));
    keep("1.0.0-played", save(instance));
}
