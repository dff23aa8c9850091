// Projects: what a host saves comes back whole, whenever it is handed over, and nothing that is no
// state changes an instance.
#include "TestInstance.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

#ifdef GLASSMERE_SANITIZED
constexpr i32 k_rounds = 10;
constexpr size_t k_cutStep = 7;
#else
constexpr i32 k_rounds = 60;
constexpr size_t k_cutStep = 1;
#endif

constexpr ParamID k_firstMidi = 200000;
constexpr ParamID k_bypass = 400000;
constexpr size_t k_headSize = 4;
constexpr size_t k_refusedSize = 16 << 20;

std::string stateOf(const std::string& text, size_t size) {
    std::string bytes;
    for (i32 shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(size >> shift & 255);
    return bytes + text;
}

// Replaces what stands behind the first `key=` of the state's lines.
std::string changed(const std::string& state, const std::string& key, const std::string& value) {
    std::string text = state.substr(k_headSize);
    const size_t begin = text.find("\n" + key + "=") + key.size() + 2;
    text.replace(begin, text.find('\n', begin) - begin, value);
    return stateOf(text, text.size());
}

bool has(const std::string& state, const std::string& line, const char* end = "\n") {
    return state.find(std::string("\n") + line + end) != state.npos;
}

f64 plain(const TestInstance& instance, ParamID id) {
    return instance.controller()->normalizedParamToPlain(id, instance.value(id));
}

// The parameters that stand in a state.
std::vector<ParameterInfo> knobs(const TestInstance& instance) {
    std::vector<ParameterInfo> list = instance.parameters();
    std::erase_if(list, [state = instance.save()](const ParameterInfo& info) {
        return info.id >= k_firstMidi || (info.flags & ParameterInfo::kIsHidden) != 0 ||
               !has(state, toUtf8(info.shortTitle), "=");
    });
    return list;
}

// Long enough for the fade of a bypass to end, then sound and a tail.
StereoBuffer heard(TestInstance& instance) {
    instance.run(StereoBuffer(16384));
    return instance.run(noise(4096), {512, 33});
}

class State : public testing::Test {
protected:
    // In the words of an instance that has loaded it; of a fresh one if it is empty.
    std::string written(const std::string& state) {
        TestInstance instance(module);
        instance.load(state);
        return instance.save();
    }

    const TestModule module{GLASSMERE_BUNDLE};
    const std::string fresh = written("");
    const std::string coded = written(changed(
        changed(changed(fresh, "Params", "'FTUR237S-IT''S'"), "FB", "85.50"), "Wet", "60.25"));
    const std::string bypassed = written(changed(changed(coded, "Wet", "10.00"), "FDN", "0"));
    // What a lock does to states that come later depends on how much later.
    const std::string locked = written(changed(bypassed, "Wet", "10.00\n#lock=FDN:Wet"));
};

} // namespace

TEST_F(State, ComesBackInEveryOrderAndWiring) {
    for (const std::string& state : {fresh, coded, locked}) {
        StereoBuffer first;
        for (i32 order = 0; order < 6; ++order) {
            SCOPED_TRACE(order);
            TestInstance instance(
                module, {static_cast<TestWiring::Connection>(1 + order / 2), order % 2 == 0});
            if (order == 0) instance.load(state); // before activation
            instance.start();
            if (order == 2) instance.run(noise(3000), {17}); // into a tail,
            if (order == 2) instance.run(StereoBuffer(64));  // but for what the taps keep
            if (order == 3) instance.load(coded);
            if (order == 3) instance.load(bypassed);
            if (order > 0) instance.load(state);
            if (order == 4) instance.load(state);
            if (order == 5) instance.stop();
            if (order == 5) instance.start();
            EXPECT_EQ(instance.save(), state);
            EXPECT_NEAR(plain(instance, instance.find("Feedback")),
                        std::atof(&state[state.find("\nFB=") + 4]), 1e-4);
            EXPECT_EQ(instance.value(k_bypass), has(state, "FDN=0") ? 1.0 : 0.0);
            EXPECT_EQ(instance.value(instance.find("Active FDN")), has(state, "FDN=1") ? 1.0 : 0.0);
            const StereoBuffer sound = heard(instance);
            if (order == 0) first = sound;
            EXPECT_EQ(sound, first);
            EXPECT_EQ(instance.save(), state) << "what is played is no part of it";
            EXPECT_EQ(instance.handler.calls().size(), 0u);
        }
        EXPECT_GT(first.energy(0, first.size()), 0.0);
    }
}

TEST_F(State, OfAnInstanceSoundsLikeIt) {
    TestInstance saved(module, {.runLoop = true}), restored(module);
    saved.start();
    saved.turn(saved.find("Feedback"), 0.75);
    saved.turn(saved.find("Random Model"), 1.0);
    saved.run(StereoBuffer(512));
    saved.context.loop.advance(100); // in which the button does its work
    restored.load(saved.save());
    restored.start();
    restored.run(StereoBuffer(512));
    EXPECT_EQ(heard(restored), heard(saved));
}

TEST_F(State, OfScrambledInstancesIsTheSameInAFreshOne) {
    std::mt19937 engine(5);
    for (i32 round = 0; round < k_rounds; ++round) {
        TestInstance saved(module), restored(module);
        const std::vector<ParameterInfo> turned = knobs(saved);
        for (const ParameterInfo& info : turned)
            saved.turn(info.id, static_cast<f64>(engine() % 10001) / 10000.0);
        saved.turn(k_bypass, engine() % 2);
        for (TestInstance* instance : {&saved, &restored}) {
            instance->start();
            instance->run(StereoBuffer(64));
        }
        const std::string state = saved.save();
        restored.load(state);
        ASSERT_EQ(restored.save(), state);
        for (const ParameterInfo& info : turned) // texts have two decimals or none
            EXPECT_NEAR(plain(restored, info.id), plain(saved, info.id),
                        info.stepCount > 0 ? 0.5001 : 0.00501)
                << toUtf8(info.title);
        EXPECT_EQ(restored.value(k_bypass), saved.value(k_bypass));
        if (round % 10 != 0) continue;
        saved.load(state);
        EXPECT_EQ(heard(restored), heard(saved));
    }
}

// A project that opens brings its own locks; a state that comes a second later is a preset's, and
// locked rows keep their values.
TEST_F(State, HandedOverLaterLeavesLockedRowsAlone) {
    using Clock = std::chrono::steady_clock;
    const std::string other = written(changed(fresh, "FB", "10.00"));
    const std::string first = written(changed(fresh, "FB", "85.00\n#lock=FDN:FB"));
    const Clock::time_point begin = Clock::now();
    TestInstance instance(module);
    const auto keepsLocked = [&] {
        instance.load(first);
        instance.load(other);
        return instance.save() != other;
    };
    EXPECT_TRUE(!keepsLocked() || Clock::now() - begin >= std::chrono::seconds(1));
    while (!keepsLocked() && Clock::now() - begin < std::chrono::minutes(1))
        std::this_thread::yield();
    EXPECT_EQ(instance.save(), first);
    EXPECT_EQ(instance.value(instance.find("Feedback")), 0.85f);
}

TEST_F(State, ThatIsDamagedChangesNothing) {
    const std::string text = coded.substr(k_headSize);
    std::vector<std::string> damaged = {
        stateOf(text + std::string(k_refusedSize - text.size(), '\n'), k_refusedSize)};
    for (const size_t size : {size_t{0}, size_t{8}, size_t{9}, text.size() + 1, k_refusedSize - 1,
                              size_t{0x7fffffff}, size_t{0xffffffff}})
        damaged.push_back(stateOf(text, size));
    for (size_t size = 0; size < coded.size(); size += size < 16 ? 1 : k_cutStep)
        damaged.push_back(coded.substr(0, size));
    std::mt19937 engine(3);
    for (i32 round = 0; round < 8; ++round) {
        std::string random(1 << 20, ' ');
        for (char& c : random)
            c = static_cast<char>(engine());
        damaged.push_back(round % 2 ? random : stateOf(random, random.size()));
    }
    TestInstance instance(module);
    instance.load(bypassed);
    for (const std::string& bytes : damaged) {
        instance.load(bytes);
        ASSERT_EQ(instance.save(), bypassed) << bytes.size() << " bytes";
    }

    // A text that ends early, but honestly, counts up to there, and the largest one that fits does.
    for (size_t size = 0; size < text.size(); size += k_cutStep)
        instance.load(stateOf(text.substr(0, size), size));
    instance.load(bypassed);
    const size_t most = k_refusedSize - 1;
    instance.load(stateOf(text + std::string(most - text.size(), '\n'), most));
    EXPECT_EQ(instance.save(), coded);
    // Its first line, with the program's name, is for the log.
    instance.load(bypassed);
    const std::string headless = text.substr(text.find('\n') + 1);
    instance.load(stateOf(headless, headless.size()));
    EXPECT_EQ(instance.save(), coded);
}

TEST_F(State, PassesThroughTheStreamsOfAwkwardHosts) {
    TestInstance instance(module);
    IComponent* component = instance.component();
    for (const i32 bytes : {1, 3, 1000}) {
        instance.load(fresh);
        TestStream source(coded, bytes), target("", bytes);
        EXPECT_EQ(component->setState(&source), kResultOk);
        EXPECT_EQ(component->getState(&target), kResultOk);
        EXPECT_EQ(target.bytes(), coded);
    }
    for (const i32 budget : {0, 1, 4, static_cast<i32>(coded.size()) - 1}) {
        TestStream source(fresh, TestStream::k_all, budget / 2);
        TestStream target("", TestStream::k_all, budget);
        EXPECT_EQ(component->getState(&target), kResultOk);
        EXPECT_EQ(target.bytes(), coded.substr(0, static_cast<size_t>(budget)));
        EXPECT_EQ(component->setState(&source), kResultOk);
        EXPECT_EQ(instance.save(), coded);
    }
    EXPECT_EQ(component->setState(nullptr), kResultOk);
    EXPECT_EQ(component->getState(nullptr), kResultOk);
    // No longer an instance.
    component->terminate();
    instance.load(coded);
    EXPECT_EQ(instance.save(), "");
}

TEST_F(State, OfOlderBuildsIsRead) {
    // As hosts got them of these builds. Never changed, only added to.
    const struct {
        const char* file;
        f64 feedback, wet, bypass; // percent, percent, normalised
        std::vector<const char*> lines;
    } kept[] = {
        {"1.0.0-default", 88.0, 32.0, 0, {"Params='FHNR248S-MERE'", "Dry=100.00", "FDN=1"}},
        {"1.0.0-code", 85.5, 60.25, 0, {"Params='FTUR237S-IT''S'", "FB=85.50", "Wet=60.25"}},
        {"1.0.0-bypassed", 85.5, 10.0, 1, {"#lock=FDN:Wet", "FDN=0", "Params='FTUR237S-IT''S'"}},
        {"1.0.0-played", 75.0, 50.0, 0, {"PAGE=3", "#lock=FDN:Params", "Swing=12.50"}},
    };
    for (const auto& [file, feedback, wet, bypass, lines] : kept) {
        SCOPED_TRACE(file);
        std::ostringstream bytes;
        bytes << std::ifstream(std::string(GLASSMERE_STATES "/") + file + ".state").rdbuf();
        TestInstance instance(module);
        instance.load(bytes.str());
        EXPECT_NEAR(plain(instance, instance.find("Feedback")), feedback, 1e-4);
        EXPECT_NEAR(plain(instance, instance.find("Wet")), wet, 1e-4);
        EXPECT_EQ(instance.value(k_bypass), bypass);
        const std::string again = instance.save();
        for (const char* line : lines)
            EXPECT_TRUE(has(again, line)) << line << " is not in\n" << again;
    }
}
