// What a host hears of an instance, on which thread and how often, and how its halves find and lose
// each other.
#include "AM_Files/TemporaryFolder.h"
#include "TestInstance.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;
using Kind = TestHandler::Kind;
using Connection = TestWiring::Connection;

namespace {

constexpr ParamID k_firstMidi = 200000;
constexpr ParamID k_volumeController = 200007; // of the first channel

// A bundle that nobody has loaded yet, with a file of the user's choices in its data folder.
struct ChosenBundle {
    ChosenBundle(const std::string& name, const std::string& text) {
        std::filesystem::copy(GLASSMERE_BUNDLE, path, std::filesystem::copy_options::recursive);
        folder.write("Glassmere.vst3/Contents/Resources/Glassmere.data/Support/" + name, text);
    }
    const TemporaryFolder folder;
    const std::string path = folder / "Glassmere.vst3";
};

template <class Condition>
bool eventually(const Condition& holds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::minutes(1);
    while (!holds() && Clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return holds();
}

// A block on an audio thread of its own.
void play(TestInstance& instance, i32 frames = 512, TestChanges* input = nullptr,
          TestChanges* output = nullptr) {
    std::thread([&] {
        instance.run(noise(static_cast<size_t>(frames)), {frames}, false,
                     [&](ProcessData& data, size_t) {
                         data.inputParameterChanges = input;
                         data.outputParameterChanges = output;
                     });
    }).join();
}

// Kind, parameter and value of each call.
using Calls = std::vector<TestHandler::Call>;
Calls edits(ParamID id, f64 value) {
    return {{Kind::Begin, id, 0.0}, {Kind::Perform, id, value}, {Kind::End, id, 0.0}};
}
const Calls k_restartedForValues = {{Kind::Restart, 0, f64{kParamValuesChanged}}};

struct Notices : testing::Test {
    Notices() { quarter.replace(quarter.find("\nFB=88.00"), 9, "\nFB=25.00"); }

    const TestModule module{GLASSMERE_BUNDLE};
    const ParamID feedback = TestInstance(module).find("Feedback");
    const ParamID button = TestInstance(module).find("Random Model");
    std::string quarter = TestInstance(module).save(); // a project with that much feedback
};

void connect(TestInstance& instance) {
    FUnknownPtr<IConnectionPoint> audio(instance.component()), edit(instance.controller());
    EXPECT_EQ(audio->connect(edit), kResultOk);
    EXPECT_EQ(edit->connect(audio), kResultOk);
}

void send(TestInstance& instance, const char* id, i64 address) {
    const IPtr<IMessage> message = owned(new HostMessage);
    message->setMessageID(id);
    if (address != 0) message->getAttributes()->setInt("ptr", address);
    EXPECT_EQ(instance.controllerAs<IConnectionPoint>()->notify(message), kResultOk);
}

} // namespace

// Nothing that the host does itself comes back to it; a new code does, once each time, as a project
// that is not what it was, or where a host knows no such thing as an edit.
TEST_F(Notices, TellOfNewCodesAndOfNothingElse) {
    for (const bool runLoop : {true, false})
        for (const bool second : {true, false}) {
            SCOPED_TRACE(runLoop ? "run loop" : "tick thread");
            TestInstance instance(module, {.runLoop = runLoop, .secondHandler = second});
            instance.start();
            instance.processor()->getLatencySamples();
            const std::string state = instance.save();
            TestChanges storm(4096, 16);
            for (const ParameterInfo& info : instance.parameters())
                for (i32 point = 0; point < 8; ++point)
                    if (info.id >= k_firstMidi || (info.flags & ParameterInfo::kCanAutomate) != 0)
                        storm.add(info.id, point / 8.0, point * 64);
            for (i32 i = 0; i < 20; ++i) {
                play(instance, 512, &storm);
                instance.load(state);
                instance.context.loop.advance(50);
            }
            TestChanges press;
            press.add(button, 1.0);
            for (size_t presses = 1; presses <= 2; ++presses) {
                play(instance, 512, &press);
                instance.context.loop.advance(50);
                const Kind last = second ? Kind::Dirty : Kind::End;
                ASSERT_TRUE(eventually([&] { return instance.handler.count(last) >= presses; }));
                EXPECT_EQ(instance.handler.calls().size(), presses * (second ? 1 : 3));
            }
            const Calls calls = instance.handler.calls();
            const Calls one =
                second ? Calls{{Kind::Dirty, 0, 1.0}} : edits(instance.find("Params"), 0.0);
            EXPECT_EQ(Calls(calls.begin(), calls.begin() + static_cast<i32>(one.size())), one);
            EXPECT_EQ(instance.handler.calledFromAfar(), !runLoop);
            EXPECT_NE(instance.save(), state);
        }
}

TEST_F(Notices, TellOfWhatMidiMoves) {
    const ChosenBundle bundle("com.vela.Glassmere.midiassign.txt",
                              "0:7=FDN:FB, normal, 0, Continuous7bit, No\n");
    const TestModule module(bundle.path);
    for (const bool runLoop : {true, false}) {
        TestInstance instance(module, {.runLoop = runLoop});
        instance.start();
        for (const f64 value : {1.0, 0.0}) {
            TestChanges input, output;
            play(instance, 64, &input.add(k_volumeController, 0.25));
            play(instance, 64, &input.add(k_volumeController, value, 30), &output);
            const TestQueue* moved = output.find(feedback);
            ASSERT_TRUE(moved);
            ASSERT_FALSE(moved->points.empty());
            EXPECT_EQ(moved->points.back().offset, 0);
            EXPECT_EQ(moved->points.back().value, value);
            instance.context.loop.advance(50);
            ASSERT_TRUE(eventually([&] { return instance.value(feedback) == value; }));
            ASSERT_TRUE(eventually([&] {
                return instance.handler.count(Kind::Begin) == instance.handler.count(Kind::End);
            }));
            const Calls calls = instance.handler.calls();
            ASSERT_GE(calls.size(), 3u);
            EXPECT_EQ(Calls(calls.end() - 3, calls.end()), edits(feedback, value));
            EXPECT_TRUE(!runLoop || calls.size() == 3) << "two blocks, one tick";
            EXPECT_EQ(instance.handler.calledFromAfar(), !runLoop);
            instance.handler.clear();
        }
        EXPECT_FALSE(instance.context.loop.usedFromAfar);
    }
}

// A size that the mode without latency can't take switches it off.
TEST_F(Notices, TellOfALatencyThatTheHostDoesNotKnow) {
    for (const bool asks : {true, false}) {
        const ChosenBundle bundle("com.vela.Glassmere.Preferences.txt",
                                  "V_PROPERTY name='Preference' id='1' "
                                  "value='AudioPrefs:BaseLatencyBuffer16:NO'\n");
        const TestModule module(bundle.path);
        TestInstance instance(module, {.runLoop = true});
        instance.start();
        EXPECT_EQ(asks ? instance.processor()->getLatencySamples() : 0, 0u);
        play(instance, 64);
        instance.context.loop.advance(2000);
        EXPECT_EQ(instance.handler.calls(), Calls());
        play(instance, 17);
        instance.context.loop.advance(2000);
        EXPECT_EQ(instance.handler.calls(),
                  asks ? Calls({{Kind::Restart, 0, f64{kLatencyChanged}}}) : Calls());
        EXPECT_EQ(instance.processor()->getLatencySamples(), 16u);
        play(instance, 17);
        instance.context.loop.advance(2000);
        EXPECT_EQ(instance.handler.calls().size(), asks ? 1u : 0u);
    }
}

TEST_F(Notices, ReachControllersThatAreConnectedLate) {
    TestInstance instance(module, {.connection = Connection::None, .runLoop = true});
    const f64 before = instance.value(feedback);
    instance.context.refusesMessages = true;
    connect(instance);
    instance.start();
    TestStream stream(quarter);
    EXPECT_EQ(instance.component()->setState(&stream), kResultOk);
    EXPECT_EQ(instance.value(feedback), before) << "of a manager of its own";
    EXPECT_EQ(instance.save(), quarter);
    const u32 asked = instance.context.messagesAsked;
    EXPECT_GE(asked, 2u) << "at connection and activation";
    instance.context.refusesMessages = false;
    play(instance);
    EXPECT_EQ(instance.context.messagesAsked, asked) << "none from the audio thread";
    EXPECT_EQ(instance.value(feedback), before);
    instance.save();
    EXPECT_EQ(instance.value(feedback), 0.25);
    EXPECT_EQ(instance.handler.calls(), k_restartedForValues);
    // Once is enough.
    play(instance);
    instance.save();
    instance.stop();
    instance.start();
    instance.context.loop.advance(100);
    EXPECT_EQ(instance.context.messagesAsked, asked + 1);
    EXPECT_EQ(instance.handler.calls(), k_restartedForValues);
}

TEST_F(Notices, ComeFromNoForgedAddress) {
    const TestInstance other(module); // nor from another's manager
    TestInstance instance(module, {.connection = Connection::Proxy, .runLoop = true});
    EXPECT_EQ(instance.context.messagesAsked, 1u) << "with the connection";
    const auto object = reinterpret_cast<i64>(instance.component());
    for (const i64 address : {i64{0}, i64{1}, i64{-1}, i64{0x1000}, object, object + 8})
        send(instance, "audioPtr", address);
    send(instance, "audioptr", object);
    send(instance, nullptr, object);
    EXPECT_EQ(instance.controllerAs<IConnectionPoint>()->notify(nullptr), kResultOk);
    instance.start();
    instance.load(quarter);
    EXPECT_EQ(instance.value(feedback), 0.25);
    TestChanges press;
    play(instance, 512, &press.add(button, 1.0));
    instance.context.loop.advance(50);
    EXPECT_EQ(instance.handler.calls(), (Calls{{Kind::Dirty, 0, 1.0}}));
    EXPECT_EQ(instance.context.messagesAsked, 1u);
}

TEST_F(Notices, EndWithTheProcessorAndComeBackWithIt) {
    TestInstance instance(module, {.runLoop = true});
    instance.component()->terminate();
    instance.context.loop.advance(200);
    TestStream stream(quarter);
    EXPECT_EQ(instance.controller()->setComponentState(&stream), kResultOk);
    EXPECT_EQ(instance.value(feedback), 0.25) << "read from the stream";
    EXPECT_EQ(instance.controller()->setParamNormalized(feedback, 0.5), kResultOk);
    EXPECT_EQ(instance.value(feedback), 0.5);
    EXPECT_EQ(instance.controller()->normalizedParamToPlain(feedback, 0.5), 50.0);
    EXPECT_EQ(instance.handler.calls(), Calls());

    ASSERT_EQ(instance.component()->initialize(&instance.context), kResultOk);
    connect(instance);
    EXPECT_EQ(instance.handler.calls(), k_restartedForValues);
    instance.load(quarter);
    EXPECT_EQ(instance.value(feedback), 0.25);
}

// The work of its ticks goes on without the host's run loop.
TEST_F(Notices, EndWithTheControllerWhileTheProcessorPlaysOn) {
    for (const bool terminates : {true, false}) {
        SCOPED_TRACE(terminates ? "terminated" : "taken by another processor");
        TestInstance other(module, {.connection = Connection::None});
        TestInstance instance(module, {.runLoop = true});
        instance.start();
        TestChanges press;
        press.add(button, 1.0);
        const std::string before = instance.save();
        if (terminates) {
            instance.controller()->terminate();
            EXPECT_EQ(instance.context.loop.timers.size(), 0u);
        } else {
            const FUnknownPtr<IConnectionPoint> taker(other.component());
            taker->connect(instance.controllerAs<IConnectionPoint>());
        }
        play(instance, 512, &press);
        ASSERT_TRUE(eventually([&] { return instance.save() != before; }));
        EXPECT_EQ(instance.handler.calls(), Calls());
    }
}
