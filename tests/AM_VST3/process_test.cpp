// What process() does with what hosts hand to it. The loaded bundle is held against the manager
// itself; where a test has to look inside, it runs the copy that is linked in.
#include "AM_ChangeRing.h"
#include "AM_EventQueue.h"
#include "plugin/PluginHarness.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "TestInstance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <thread>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr f64 k_nan = std::numeric_limits<f64>::quiet_NaN();
constexpr f64 k_inf = std::numeric_limits<f64>::infinity();
constexpr ParamID k_bypass = 400000;
constexpr ParamID k_activeRow = 1;
constexpr ParamID k_wet = 4;
constexpr u32 k_usual = 0x1f80; // the control word as programs begin
u32 controlWord() {
    return _mm_getcsr() & ~0x3fu; // without what arithmetic leaves there
}
constexpr TestWiring k_unconnected{.connection = TestWiring::Connection::None};

// Takes the controller's place and learns where the manager lies.
class Ear : public HostObject<IConnectionPoint> {
public:
    Ear() : HostObject(IConnectionPoint_iid) {}
    tresult PLUGIN_API connect(IConnectionPoint*) override { return kResultOk; }
    tresult PLUGIN_API disconnect(IConnectionPoint*) override { return kResultOk; }
    tresult PLUGIN_API notify(IMessage* message) override {
        int64 address = 0;
        message->getAttributes()->getInt("ptr", address);
        manager = reinterpret_cast<AM_AudioMan*>(address);
        return kResultOk;
    }
    AM_AudioMan* manager = nullptr;
};

// Hears the events of the manager's chain, and how denormals stand there.
class Spy : public AM_MidiEventChain {
public:
    struct Heard {
        i32 type, id;
        f32 field1, field2;
        bool operator==(const Heard&) const = default;
    };
    void processEvent(i32 type, i32 id, f32 field1, f32 field2, u32) override {
        inside = controlWord();
        heard.push_back({type, id, field1, field2});
    }
    std::vector<Heard> heard;
    u32 inside = 0;
};

// One instance of the copy that is linked in, with its manager.
class Inside : public testing::Test {
protected:
    Inside() {
        _mm_setcsr(k_usual);
        FUnknownPtr<IConnectionPoint>(instance.component())->connect(&ear);
        spy.nextInChain = ear.manager->nextInChain;
        ear.manager->nextInChain = &spy;
        buffers.data(64);
    }
    AM_ParaMan& table() { return *ear.manager->getParaMan(); }
    f32 wet() { return table().getParameterTarget(table().findParameter("Wet")); }
    // A call with `changes` and `events`, which are empty afterwards.
    tresult process(ProcessData& data) {
        data.inputParameterChanges = &changes;
        data.inputEvents = &events;
        const tresult result = instance.process(data);
        changes.clear();
        events.list.clear();
        return result;
    }
    tresult process(i32 frames) { return process(buffers.data(frames)); }
    // What has come out of the chain since the last call, once a block has gone by.
    std::vector<Spy::Heard> heard() {
        process(64);
        return std::exchange(spy.heard, {});
    }

    Ear ear;
    Spy spy;
    const TestModule module{&GetPluginFactory};
    TestInstance instance{module, k_unconnected};
    TestBuffers buffers{8192};
    TestChanges changes{4096, 16};
    TestEvents events;
};

class Process : public testing::Test {
protected:
    // The manager's own answer, in the state in which the bundle's instances begin.
    StereoBuffer direct(const StereoBuffer& input, f64 rate = 48000.0) {
        const std::string state = TestInstance(module).save().substr(4);
        Plugin plugin(rate);
        plugin.man.setStateInfo(state.data(), static_cast<i32>(state.size()), true);
        return plugin.run(input);
    }
    const TestModule module{GLASSMERE_BUNDLE};
};

} // namespace

// At every rate; and neither block sizes nor buffers in place nor what a host says of silence, mode
// and transport are heard.
TEST_F(Process, IsTheManagerBitForBit) {
    StereoBuffer input = noise(40000);
    std::fill(input.left.begin() + 10000, input.left.end(), 0.0f);
    std::fill(input.right.begin() + 10000, input.right.end(), 0.0f);
    const StereoBuffer expected = direct(input);
    ASSERT_GT(expected.energy(12000, 40000), 0.1);
    ProcessContext context{};
    const auto transport = [&context](ProcessData& data, size_t position) {
        constexpr f64 places[] = {1e300, k_nan, -1e300, k_inf, 0.0, 17.5, -3.0, 1e-320};
        const size_t n = position / 100;
        context.projectTimeMusic = places[n % 8];
        context.barPositionMusic = places[n / 8 % 8];
        context.tempo = std::array{0.0, k_nan, 120.0, -k_inf, 1e300}[n % 5];
        context.timeSigNumerator = std::array{4, 0, -7, 1 << 30}[n % 4];
        context.timeSigDenominator = std::array{4, 0, -1}[n % 3];
        data.processContext = n % 7 == 0 ? nullptr : &context;
        data.inputs[0].silenceFlags = n % 4;
    };
    const struct {
        const char* name;
        std::vector<i32> sizes;
        bool inPlace;
        i32 mode;
        TestInstance::BeforeBlock before;
    } ways[] = {{"any sizes", {0, 1, 8192, 3, 64, 0, 100, 4096, 17}, false, kRealtime, {}},
                {"in place", {0, 1, 8192, 3, 64}, true, kRealtime, {}},
                {"offline", {8192}, false, kOffline, {}},
                {"transport", {100, 0, 300}, false, kPrefetch, transport}};
    for (const auto& way : ways) {
        TestInstance instance(module);
        instance.start(48000.0, way.mode);
        const StereoBuffer output = instance.run(input, way.sizes, way.inPlace, way.before);
        EXPECT_TRUE(output == expected) << way.name;
    }
    for (const f64 rate : {1234.5678, 8000.0, 44100.0, 96000.0, 192000.0, 1234567.8}) {
        TestInstance instance(module);
        instance.start(rate);
        const StereoBuffer output = instance.run(input);
        EXPECT_TRUE(std::isfinite(output.energy(0, output.size()))) << rate;
        EXPECT_TRUE(output == direct(input, rate)) << rate;
    }
}

TEST_F(Process, TakesWhatBusesAndChannelsThereAre) {
    constexpr i32 frames = 8192;
    const StereoBuffer input = noise(frames);
    StereoBuffer leftOnly = input;
    std::ranges::fill(leftOnly.right, 0.0f);
    const StereoBuffer both = direct(input), half = direct(leftOnly),
                       none = direct(StereoBuffer(frames));
    std::vector<f32> mono(frames);
    for (size_t i = 0; i < frames; ++i)
        mono[i] = (both.left[i] + both.right[i]) * 0.5f;
    using Change = std::function<void(TestBuffers&, ProcessData&)>;
    const Change nullInputs = [](TestBuffers&, ProcessData& d) { d.inputs = nullptr; };
    const Change nullChannels = [](TestBuffers& b, ProcessData& d) {
        d.inputs[0].channelBuffers32 = nullptr;
        d.outputs[1].channelBuffers32 = nullptr;
        b.output(0, 3) = nullptr;
    };
    const std::vector<f32> unused;
    const struct {
        const char* name;
        std::vector<i32> inputs, outputs;
        const std::vector<f32>&left, &right;
        Change change;
    } shapes[] = {{"one output", {2}, {1}, mono, unused, {}},
                  {"one input", {1}, {2}, half.left, half.right, {}},
                  {"no bus", {}, {2}, none.left, none.right, {}},
                  {"empty bus", {0}, {2}, none.left, none.right, {}},
                  {"null inputs", {2}, {2}, none.left, none.right, nullInputs},
                  {"null channels", {2}, {4, 2}, none.left, none.right, nullChannels},
                  {"many", {5, 2}, {6, 1, 0, 3}, both.left, both.right, {}}};
    for (const auto& shape : shapes) {
        SCOPED_TRACE(shape.name);
        TestInstance instance(module);
        instance.start();
        TestBuffers buffers(frames, shape.inputs, shape.outputs);
        for (i32 bus = 0; bus < static_cast<i32>(shape.inputs.size()); ++bus)
            for (i32 channel = 0; channel < shape.inputs[static_cast<size_t>(bus)]; ++channel)
                std::ranges::copy(channel == 0 ? input.left : input.right,
                                  buffers.input(bus, channel));
        ProcessData& data = buffers.data(frames);
        if (shape.change) shape.change(buffers, data);
        ASSERT_EQ(instance.process(data), kResultOk);
        EXPECT_TRUE(buffers.intact());
        const auto plays = [&](i32 channel, const std::vector<f32>& expected) {
            return expected.empty() ||
                   std::equal(expected.begin(), expected.end(), buffers.output(0, channel));
        };
        EXPECT_TRUE(plays(0, shape.left) && plays(1, shape.right));
        // What is beyond the stereo output is silent, and what is silent is said to be.
        for (size_t bus = 0; bus < shape.outputs.size(); ++bus) {
            uint64 silent = 0;
            for (i32 channel = 0; channel < shape.outputs[bus]; ++channel) {
                const f32* samples = data.outputs[bus].channelBuffers32
                                         ? buffers.output(static_cast<i32>(bus), channel)
                                         : nullptr;
                const bool zeros = samples && std::count(samples, samples + frames, 0.0f) == frames;
                const bool plays = bus == 0 && channel < 2;
                EXPECT_TRUE(plays || zeros || !samples) << channel;
                if (zeros || !plays) silent |= uint64{1} << channel;
            }
            EXPECT_EQ(data.outputs[bus].silenceFlags, silent) << bus;
        }
    }
}

TEST_F(Process, IsBypassedByTheHostAsByTheModulesSwitch) {
    const StereoBuffer input = noise(20000);
    StereoBuffer outputs[2];
    for (const bool byRow : {false, true}) {
        TestInstance instance(module);
        instance.start();
        const u32 latency = instance.processor()->getLatencySamples();
        EXPECT_EQ(latency, 16u);
        for (const f64 bypass : {0.5, 1.0, 1.0, 0.0, 0.75}) {
            const f64 active = bypass > 0.5 ? 0.0 : 1.0;
            instance.turn(byRow ? k_activeRow : k_bypass, byRow ? active : bypass);
            EXPECT_EQ(instance.value(k_activeRow), active);
            EXPECT_EQ(instance.value(k_bypass) > 0.5, bypass > 0.5);
            outputs[byRow] = instance.run(input);
            // Behind the fade the input is alone, or the reverb is there.
            const bool alone =
                std::equal(outputs[byRow].left.begin() + 10000, outputs[byRow].left.end(),
                           input.left.begin() + 10000 - latency);
            EXPECT_EQ(alone, bypass > 0.5) << bypass;
        }
    }
    EXPECT_EQ(outputs[0], outputs[1]);
}

TEST_F(Inside, TakesTheLastPointOfEachQueue) {
    changes.add(k_wet, 0.25).add(k_wet, 0.5, 10).add(k_wet, 0.75, 20);
    process(64);
    EXPECT_EQ(wet(), 75.0f);
    const struct {
        f64 value;
        f32 expected;
    } values[] = {{0.0, 0.0f},     {k_nan, 0.0f}, {1.0, 100.0f},   {-k_inf, 0.0f},
                  {k_inf, 100.0f}, {-2.0, 0.0f},  {1e300, 100.0f}, {0.5, 50.0f}};
    for (const auto& [value, expected] : values) {
        changes.add(k_wet, value, 100000);
        process(0);
        EXPECT_EQ(wet(), expected) << value;
    }
    changes.add(k_wet, 1.0).find(k_wet)->broken = true;
    changes.add(0, 0.25);
    for (const ParamID unknown : {5u, 99999u, 199999u, 300000u, 399999u, 400001u, 0xffffffffu})
        changes.add(unknown, 1.0);
    EXPECT_EQ(process(64), kResultOk);
    EXPECT_EQ(wet(), 50.0f);
    EXPECT_EQ(table().getParameterTarget(0), 50.0f);
    EXPECT_GT(instance.run(noise(512)).energy(0, 512), 0.0);
}

TEST_F(Inside, ReadsMidiOutOfParameters) {
    process(64);
    const struct {
        u32 id;
        f64 value;
        Spy::Heard expected;
    } cases[] = {{200007, 1.0, {k_eventController, 0, 7, 127}},
                 {200007, 0.5, {k_eventController, 0, 7, 64}},
                 {200007, k_nan, {k_eventController, 0, 7, 0}},
                 {200007, k_inf, {k_eventController, 0, 7, 127}},
                 {200128, 0.5, {k_eventPressure, 0, -1, 0.5f}},
                 {200129, 0.25, {k_eventPitchBend, 0, 0, -0.5f}},
                 {200130 + 7, 0.0, {k_eventController, 1, 7, 0}},
                 {202079, 1.0, {k_eventPitchBend, 15, 0, 1}},
                 {299999, 1.0, {k_eventController, 769, 29, 127}}};
    for (const auto& [id, value, expected] : cases) {
        changes.add(id, value, -7);
        process(64);
        EXPECT_EQ(heard(), std::vector{expected}) << id << ' ' << value;
    }
    for (u32 id = 200000; id < 202080; ++id)
        changes.add(id, 0.5, static_cast<i32>(id % 100));
    process(100);
    EXPECT_GE(heard().size(), 2080u); // and what they bring about
}

TEST_F(Inside, TakesEventsWhereverTheyLie) {
    process(64);
    _mm_setcsr(k_usual | 0x8000); // one bit of the two
    events.note(-50, 3, 60, 0.5f, -1, 50.0f);
    events.note(0, 3, 60, 0.0f, 77, -25.0f);
    events.note(20, 3, 61, 1.0f);
    events.broken = 2;
    events.pressure(1 << 30, 2, 64, 0.25f);
    Event other{};
    for (const uint16 type :
         {Event::kDataEvent, Event::kNoteExpressionValueEvent, Event::kChordEvent}) {
        other.type = type;
        events.addEvent(other);
    }
    process(64);
    EXPECT_EQ(heard(), (std::vector<Spy::Heard>{{k_eventNote, 3, 60.5f, 63.5f},
                                                {k_eventNote, 77, 59.75f, 0},
                                                {k_eventPressure, 2, 64, 0.25f}}));
    // Denormals are flushed inside of the calls, and only there.
    EXPECT_EQ(spy.inside & 0x8040, 0x8040u);
    EXPECT_EQ(controlWord(), k_usual | 0x8000);
}

TEST_F(Inside, TakesChangesWithoutSound) {
    ProcessContext there{};
    there.projectTimeMusic = 8.0;
    ProcessData& data = buffers.data(64);
    data.processContext = &there;
    process(data);
    ProcessData flush;
    for (const i32 frames : {0, -5}) {
        flush.numSamples = frames;
        changes.add(k_wet, frames == 0 ? 0.25 : 0.5);
        EXPECT_EQ(process(flush), kResultOk);
        EXPECT_EQ(wet(), frames == 0 ? 25.0f : 50.0f);
    }
    EXPECT_EQ(ear.manager->getBlockContext()->previousPosition, 8.0);
    // Samples of 64 bits touch nothing.
    buffers.data(64).symbolicSampleSize = kSample64;
    changes.add(k_wet, 0.75);
    EXPECT_NE(process(data), kResultOk);
    data.symbolicSampleSize = kSample32;
    EXPECT_EQ(wet(), 50.0f);
    EXPECT_TRUE(std::isnan(buffers.output(0, 0)[0]));
    EXPECT_EQ(controlWord(), k_usual);
}

TEST_F(Inside, SendsWhatMovesByItself) {
    TestChanges outgoing(4, 2000);
    const i32 row = table().findParameter("Wet");
    const auto send = [&](TestBuffers& to, TestChanges* changesOut) {
        outgoing.clear();
        to.data(64).outputParameterChanges = changesOut;
        EXPECT_EQ(instance.process(to.data(64)), kResultOk);
        return outgoing.size();
    };
    // Without an output it waits, and the control word stays.
    table().tellSink(row);
    for (const std::vector<i32>& none : {std::vector<i32>{}, std::vector<i32>{0}}) {
        TestBuffers silent(64, {2}, none);
        EXPECT_EQ(send(silent, &outgoing), 0);
        EXPECT_EQ(_mm_getcsr() & 0x8040, 0x8040u);
        _mm_setcsr(k_usual);
    }
    EXPECT_EQ(send(buffers, &outgoing), 1);
    EXPECT_EQ(controlWord(), k_usual);
    // The 1025th is lost; the others keep their order.
    for (i32 i = 0; i < 1025; ++i) {
        table().setParameterValue(row, static_cast<f32>(i) / 20.0f, 0, true);
        table().tellSink(row);
    }
    ASSERT_EQ(send(buffers, &outgoing), 1);
    const TestQueue* sent = outgoing.find(k_wet);
    ASSERT_TRUE(sent && sent->points.size() == 1024);
    for (i32 i = 0; i < 1024; ++i)
        EXPECT_NEAR(sent->points[static_cast<size_t>(i)].value, i / 2000.0, 1e-6);
    // Who takes none gets none later.
    table().tellSink(row);
    send(buffers, nullptr);
    EXPECT_EQ(send(buffers, &outgoing), 0);
}

// Process calls before there is anything to run, and after it has gone, do nothing.
TEST_F(Inside, IsQuietBeforeAndAfterItsLife) {
    const auto component = module.create<IComponent>(module.classInfo(0).cid);
    const FUnknownPtr<IAudioProcessor> processor(component);
    const auto runs = [&] {
        ProcessData& data = buffers.data(64);
        data.inputParameterChanges = &changes.add(k_wet, 0.5);
        data.inputEvents = &events;
        EXPECT_EQ(processor->process(data), kResultOk);
        EXPECT_TRUE(buffers.intact());
        return !std::isnan(buffers.output(0, 0)[63]);
    };
    EXPECT_FALSE(runs());
    component->initialize(nullptr);
    EXPECT_TRUE(runs()); // also without setActive
    component->terminate();
    EXPECT_FALSE(runs());
    component->initialize(nullptr);
    EXPECT_TRUE(runs());
    component->terminate();
}

// Automation, MIDI and jumps of the transport on one side, the host's own knobs, states and the
// main loop on the other.
TEST_F(Process, RunsWhileTheHostTurnsSavesAndLoads) {
    TestInstance instance(module, {.runLoop = true});
    instance.start();
    std::vector<ParamID> ids;
    for (const auto& info : instance.parameters())
        ids.push_back(info.id);
    const std::string state = instance.save();
    std::atomic<bool> done{false};
    std::thread audio([&] {
        TestBuffers buffers(512);
        TestChanges changes(4096, 1), outgoing(1024, 1024);
        ProcessContext context{};
        for (i32 block = 0; block < 60 || !done; ++block) {
            changes.clear();
            outgoing.clear();
            for (const ParamID id : ids)
                if (block % 8 == 0 || id < 10) changes.add(id, block % 5 * 0.25);
            context.projectTimeMusic = block % 3 == 0 ? 1e300 : k_nan;
            ProcessData& data = buffers.data(1 + block * 37 % 512);
            data.inputParameterChanges = &changes;
            data.outputParameterChanges = &outgoing;
            data.processContext = &context;
            instance.processor()->process(data);
        }
    });
    for (i32 round = 0; round < 40; ++round) {
        for (const ParamID id : ids)
            instance.controller()->setParamNormalized(id, round % 3 * 0.5);
        if (round % 2 == 0) instance.context.loop.advance(50);
        if (round % 3 == 0) instance.load(state);
        if (round % 5 == 0) instance.save();
        instance.processor()->getLatencySamples();
    }
    done = true;
    audio.join();
    EXPECT_FALSE(instance.handler.calledFromAfar());
    instance.load(state);
    instance.run(StereoBuffer(16384)); // fades
    EXPECT_GT(instance.run(noise(4096)).energy(64, 4096), 1.0);
}

TEST(ChangeRing, KeepsTheOrderOfEachOfManyThreads) {
    constexpr i32 threads = 4, each = 10000;
    AM_ChangeRing<256> ring;
    std::vector<std::thread> writers;
    for (i32 t = 0; t < threads; ++t)
        writers.emplace_back([&ring, t] {
            for (i32 i = 0; i < each; ++i)
                while (!ring.push({t, static_cast<f32>(i)}))
                    std::this_thread::yield();
        });
    f32 expected[threads] = {};
    i32 wrong = 0;
    for (i32 popped = 0; popped < threads * each;) {
        AM_ParameterChange change{};
        if (!ring.pop(change)) {
            std::this_thread::yield();
            continue;
        }
        ++popped;
        wrong += change.value != expected[change.index]++;
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(wrong, 0);
}
