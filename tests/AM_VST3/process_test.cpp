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
        controlWord = _mm_getcsr();
        heard.push_back({type, id, field1, field2});
    }
    i64 count(i32 type) const {
        return std::ranges::count_if(heard, [=](const Heard& one) { return one.type == type; });
    }
    std::vector<Heard> heard;
    u32 controlWord = 0;
};

// One instance of the copy that is linked in, with its manager.
class Inside : public testing::Test {
protected:
    Inside() {
        FUnknownPtr<IConnectionPoint>(instance.component())->connect(&ear);
        spy.nextInChain = ear.manager->nextInChain;
        ear.manager->nextInChain = &spy;
        buffers.data(64);
    }
    AM_ParaMan& table() { return *ear.manager->getParaMan(); }
    f32 wet() { return table().getParameterTarget(table().findParameter("Wet")); }
    tresult process(i32 frames) { return process(buffers.data(frames)); }
    // A call with `changes` and `events`, which are empty afterwards.
    tresult process(ProcessData& data) {
        data.inputParameterChanges = &changes;
        data.inputEvents = &events;
        const tresult result = instance.process(data);
        changes.clear();
        events.clear();
        return result;
    }
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
        const std::string state = TestInstance(module).save().component.substr(4);
        Plugin plugin(rate);
        plugin.man.setStateInfo(state.data(), static_cast<i32>(state.size()), true);
        return plugin.run(input);
    }
    const TestModule module{GLASSMERE_BUNDLE};
};

StereoBuffer burst(size_t frames) {
    StereoBuffer result = noise(frames);
    for (std::vector<f32>* side : {&result.left, &result.right})
        std::fill(side->begin() + static_cast<i64>(frames / 4), side->end(), 0.0f);
    return result;
}

f32 largestStep(const std::vector<f32>& samples) {
    f32 largest = 0.0f;
    for (size_t i = 1; i < samples.size(); ++i)
        largest = std::max(largest, std::fabs(samples[i] - samples[i - 1]));
    return largest;
}

} // namespace

// At every rate; and neither block sizes nor buffers in place nor what a host says of silence, mode
// and transport are heard.
TEST_F(Process, IsTheManagerBitForBit) {
    const StereoBuffer input = burst(40000);
    const StereoBuffer expected = direct(input);
    ASSERT_GT(expected.energy(12000, 40000), 0.1);
    ProcessContext context{};
    const auto transport = [&context](ProcessData& data, size_t position) {
        constexpr f64 places[] = {1e300, k_nan, -1e300, k_inf, 0.0, 17.5, -3.0, 1e-320};
        const size_t n = position / 100;
        context.state = static_cast<uint32>(n * 0x1234567);
        context.projectTimeMusic = places[n % 8];
        context.barPositionMusic = places[n / 8 % 8];
        context.tempo = std::array{0.0, k_nan, 120.0, -k_inf, 1e300}[n % 5];
        context.timeSigNumerator = std::array{4, 0, -7, 1 << 30}[n % 4];
        context.timeSigDenominator = std::array{4, 0, -1}[n % 3];
        data.processContext = n % 7 == 0 ? nullptr : &context;
    };
    const auto silenceFlags = [](ProcessData& data, size_t) { data.inputs[0].silenceFlags = 3; };
    const std::vector<i32> anySizes = {0, 1, 8192, 3, 64, 0, 100, 4096, 17};
    const struct {
        const char* name;
        std::vector<i32> sizes;
        bool inPlace;
        i32 mode;
        TestInstance::BeforeBlock before;
    } ways[] = {{"one size", {512}, false, kRealtime, {}},
                {"any sizes", anySizes, false, kRealtime, {}},
                {"in place", anySizes, true, kRealtime, {}},
                {"silence flags", {512}, true, kRealtime, silenceFlags},
                {"offline", {8192}, false, kOffline, {}},
                {"prefetched", {333}, false, kPrefetch, {}},
                {"transport", {100, 0, 300}, false, kRealtime, transport}};
    for (const auto& way : ways) {
        TestInstance instance(module);
        instance.start({.mode = way.mode});
        const StereoBuffer output = instance.run(input, way.sizes, way.inPlace, way.before);
        EXPECT_TRUE(output == expected) << way.name;
    }
    const StereoBuffer shorter = burst(12000);
    for (const f64 rate : {1234.5678, 8000.0, 11025.0, 22050.0, 32000.0, 44100.0, 48000.0, 88200.0,
                           96000.0, 176400.0, 192000.0, 1234567.8}) {
        TestInstance instance(module);
        instance.start({.rate = rate});
        const StereoBuffer output = instance.run(shorter);
        EXPECT_GT(output.energy(4000, 12000), 1e-3) << rate;
        EXPECT_TRUE(std::isfinite(output.energy(0, 12000))) << rate;
        EXPECT_TRUE(output == direct(shorter, rate)) << rate;
    }
}

TEST_F(Process, TakesWhatBusesAndChannelsThereAre) {
    constexpr i32 frames = 8192;
    const StereoBuffer input = noise(frames);
    StereoBuffer leftOnly = input;
    std::ranges::fill(leftOnly.right, 0.0f);
    const StereoBuffer both = direct(input);
    const StereoBuffer half = direct(leftOnly);
    const StereoBuffer none = direct(StereoBuffer(frames));
    std::vector<f32> mono(frames);
    for (size_t i = 0; i < frames; ++i)
        mono[i] = (both.left[i] + both.right[i]) * 0.5f;
    using Change = std::function<void(TestBuffers&, ProcessData&)>;
    const Change nullInput = [](TestBuffers& b, ProcessData&) { b.nullInput(0, 1); };
    const Change nullLeft = [](TestBuffers& b, ProcessData&) { b.nullOutput(0, 0); };
    const Change nullRight = [](TestBuffers& b, ProcessData&) { b.nullOutput(0, 1); };
    const Change nullInputs = [](TestBuffers&, ProcessData& d) { d.inputs = nullptr; };
    const Change noInputs = [](TestBuffers&, ProcessData& d) { d.numInputs = 0; };
    const Change nullChannels = [](TestBuffers& b, ProcessData& d) {
        d.inputs[0].channelBuffers32 = nullptr;
        d.outputs[1].channelBuffers32 = nullptr;
        b.nullOutput(0, 3);
    };
    const std::vector<f32> unused;
    const struct {
        const char* name;
        std::vector<i32> inputs, outputs;
        const std::vector<f32>&left, &right;
        Change change;
    } shapes[] = {{"one output", {2}, {1}, mono, unused, {}},
                  {"one input", {1}, {2}, half.left, half.right, {}},
                  {"null input", {2}, {2}, half.left, half.right, nullInput},
                  {"null left", {2}, {2}, unused, mono, nullLeft},
                  {"null right", {2}, {2}, mono, unused, nullRight},
                  {"no bus", {}, {2}, none.left, none.right, {}},
                  {"empty bus", {0}, {2}, none.left, none.right, {}},
                  {"null inputs", {2}, {2}, none.left, none.right, nullInputs},
                  {"no inputs", {2}, {2}, none.left, none.right, noInputs},
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

TEST_F(Process, HasTheLatencyThatItReports) {
    const StereoBuffer input = noise(20000);
    for (const bool bypassed : {false, true}) {
        TestInstance instance(module);
        instance.turn(bypassed ? k_bypass : k_wet, bypassed ? 1.0 : 0.0);
        instance.start();
        instance.run(StereoBuffer(10000), {512}); // ramps and fades
        const u32 latency = instance.processor()->getLatencySamples();
        EXPECT_EQ(latency, 16u);
        const StereoBuffer output = instance.run(input, {100, 8192, 0, 1});
        EXPECT_EQ(std::memcmp(&output.left[latency], input.left.data(), 4 * (20000 - latency)), 0);
        EXPECT_EQ(std::memcmp(&output.right[latency], input.right.data(), 4 * (20000 - latency)),
                  0);
    }
}

// The host's bypass and the module's own switch are one, also where a state came in bypassed.
TEST_F(Process, IsBypassedWithoutAClick) {
    StereoBuffer tone(20000);
    for (size_t i = 0; i < tone.size(); ++i)
        tone.left[i] = tone.right[i] =
            0.25f * static_cast<f32>(std::sin(static_cast<f64>(i) * 6.283185307179586 / 500.0));
    // What the sine has by itself and what the reverb adds to it.
    const f32 bound = 0.012f;
    for (const bool loaded : {false, true}) {
        StereoBuffer outputs[2];
        for (const bool byRow : {false, true}) {
            TestInstance instance(module);
            const auto turn = [&](f64 bypass) {
                byRow ? instance.turn(k_activeRow, bypass > 0.5 ? 0.0 : 1.0)
                      : instance.turn(k_bypass, bypass);
            };
            if (loaded) {
                TestInstance other(module);
                other.start();
                other.turn(k_bypass, 1.0);
                other.run(StereoBuffer(64));
                instance.load(other.save());
                EXPECT_EQ(instance.value(k_bypass), 1.0);
                EXPECT_EQ(instance.value(k_activeRow), 0.0);
            }
            instance.start();
            StereoBuffer& output = outputs[byRow];
            for (const f64 bypass : {0.5, 1.0, 1.0, 0.0, 0.75, 0.5}) {
                turn(bypass);
                EXPECT_EQ(instance.value(k_activeRow), bypass > 0.5 ? 0.0 : 1.0);
                const StereoBuffer part = instance.run(tone, {480});
                output.left.insert(output.left.end(), part.left.begin(), part.left.end());
                output.right.insert(output.right.end(), part.right.begin(), part.right.end());
                // Behind the fade the input is alone, or the reverb is there.
                i32 differing = 0;
                for (size_t i = 10000; i < tone.size(); ++i)
                    differing += part.left[i] != tone.left[i - 16];
                EXPECT_EQ(differing == 0, bypass > 0.5) << bypass;
            }
        }
        EXPECT_LT(largestStep(outputs[0].left), bound);
        EXPECT_LT(largestStep(outputs[0].right), bound);
        EXPECT_EQ(outputs[0], outputs[1]);
    }
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
    changes.add(k_wet, 1.0).find(k_wet)->breakLast();
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
    process(64);
    EXPECT_EQ(spy.count(k_eventController), 16 * 128);
    EXPECT_EQ(spy.count(k_eventPressure), 16);
    EXPECT_EQ(spy.count(k_eventPitchBend), 16);
}

TEST_F(Inside, TakesEventsWhereverTheyLie) {
    process(64);
    const u32 usual = _mm_getcsr();
    _mm_setcsr(usual | 0x8000); // one bit of the two
    events.noteOn(-50, 3, 60, 0.5f, -1, 50.0f);
    events.noteOff(0, 3, 60, 77, -25.0f);
    events.noteOn(20, 3, 61, 1.0f);
    events.breakAt(2);
    events.polyPressure(1 << 30, 2, 64, 0.25f);
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
    EXPECT_EQ(spy.controlWord & 0x8040, 0x8040u);
    EXPECT_EQ(_mm_getcsr() & ~0x3fu, (usual | 0x8000) & ~0x3fu);
    _mm_setcsr(usual);
}

TEST_F(Inside, TakesChangesWithoutSound) {
    const u32 usual = _mm_getcsr();
    ProcessContext there{};
    there.projectTimeMusic = 8.0;
    ProcessData& data = buffers.data(64);
    data.processContext = &there;
    process(data);
    data.processContext = nullptr;
    ProcessData flush;
    changes.add(k_wet, 0.25);
    events.noteOn(5, 1, 60, 1.0f);
    EXPECT_EQ(process(flush), kResultOk);
    EXPECT_EQ(wet(), 25.0f);
    EXPECT_EQ(ear.manager->getBlockContext()->previousPosition, 8.0);
    EXPECT_EQ(heard().size(), 1u);
    flush.numSamples = -5;
    changes.add(k_wet, 0.5);
    EXPECT_EQ(process(flush), kResultOk);
    EXPECT_EQ(wet(), 50.0f);
    // Samples of 64 bits touch nothing.
    ProcessData& wide = buffers.data(64);
    wide.symbolicSampleSize = kSample64;
    changes.add(k_wet, 0.75);
    EXPECT_NE(process(wide), kResultOk);
    wide.symbolicSampleSize = kSample32;
    EXPECT_EQ(wet(), 50.0f);
    EXPECT_TRUE(std::isnan(buffers.output(0, 0)[0]));
    EXPECT_EQ(_mm_getcsr(), usual);

    // Without an output, what is to go out waits, and the control word stays.
    TestChanges outgoing(4, 2000);
    const i32 row = table().findParameter("Wet");
    table().tellSink(row);
    for (const std::vector<i32>& none : {std::vector<i32>{}, std::vector<i32>{0}}) {
        TestBuffers silent(64, {2}, none);
        ProcessData& data = silent.data(64);
        data.outputParameterChanges = &outgoing;
        EXPECT_EQ(instance.process(data), kResultOk);
        EXPECT_EQ(outgoing.size(), 0);
        EXPECT_EQ(_mm_getcsr() & 0x8040, 0x8040u);
        _mm_setcsr(usual);
    }
    buffers.data(64).outputParameterChanges = &outgoing;
    instance.process(data);
    ASSERT_EQ(outgoing.size(), 1);
    EXPECT_EQ(outgoing.at(0).getParameterId(), k_wet);
    EXPECT_EQ(outgoing.at(0).points().back().value, 0.5);
    EXPECT_EQ(_mm_getcsr(), usual);
    // The 1025th is lost; the others keep their order.
    for (i32 i = 0; i < 1025; ++i) {
        table().setParameterValue(row, static_cast<f32>(i) / 20.0f, 0, true);
        table().tellSink(row);
    }
    outgoing.clear();
    instance.process(data);
    const std::vector<TestQueue::Point>& points = outgoing.find(k_wet)->points();
    ASSERT_EQ(points.size(), 1024u);
    for (i32 i = 0; i < 1024; ++i)
        EXPECT_NEAR(points[static_cast<size_t>(i)].value, i / 2000.0, 1e-6);
    // Who takes none gets none later.
    table().tellSink(row);
    data.outputParameterChanges = nullptr;
    instance.process(data);
    outgoing.clear();
    data.outputParameterChanges = &outgoing;
    instance.process(data);
    EXPECT_EQ(outgoing.size(), 0);
}

// Process calls before there is anything to run, and after it has gone, do nothing.
TEST_F(Inside, IsQuietBeforeAndAfterItsLife) {
    const auto component = module.create<IComponent>(module.classInfo(0).cid);
    const FUnknownPtr<IAudioProcessor> processor(component);
    TestChanges outgoing(4, 4);
    const auto runs = [&] {
        ProcessData& data = buffers.data(64);
        std::ranges::fill_n(buffers.input(0, 0), 64, 0.5f);
        data.inputParameterChanges = &changes.add(k_wet, 0.5);
        data.inputEvents = &events;
        data.outputParameterChanges = &outgoing;
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
    const TestState state = instance.save();
    std::atomic<bool> done{false};
    std::thread audio([&] {
        TestBuffers buffers(512);
        TestChanges changes(4096, 1), outgoing(1024, 1024);
        TestEvents events;
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
            data.inputEvents = &events;
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
    constexpr i32 threads = 4;
    constexpr i32 each = 10000;
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
