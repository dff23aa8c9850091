#include "TestInstance.h"

#include <algorithm>
#include <stdexcept>

using namespace Steinberg::Vst;
using Steinberg::FUnknownPtr;
using Steinberg::kResultOk;
using Steinberg::tresult;
using Connection = TestWiring::Connection;

namespace {

void require(bool done, const char* step) {
    if (!done) throw std::runtime_error(std::string(step) + " failed");
}

} // namespace

TestInstance::TestInstance(const TestModule& module, TestWiring inWiring)
    : context(inWiring.runLoop), handler(inWiring.secondHandler), wiring(inWiring) {
    audio = module.create<IComponent>(module.classInfo(0).cid);
    processing = FUnknownPtr<IAudioProcessor>(audio);
    require(processing, "creating the component");
    Steinberg::TUID controllerClass{};
    require(audio->getControllerClassId(controllerClass) == kResultOk, "getControllerClassId");
    edit = module.create<IEditController>(controllerClass);
    require(edit, "creating the controller");

    Steinberg::IPluginBase* halves[2] = {audio, edit};
    if (wiring.controllerFirst) std::swap(halves[0], halves[1]);
    for (Steinberg::IPluginBase* half : halves)
        require(half->initialize(wiring.context ? &context : nullptr) == kResultOk, "initialize");
    if (wiring.handler)
        require(edit->setComponentHandler(&handler) == kResultOk, "setComponentHandler");
    if (wiring.connection == Connection::Proxy) {
        controllerProxy = std::make_unique<ConnectionProxy>(FUnknownPtr<IConnectionPoint>(edit));
        componentProxy = std::make_unique<ConnectionProxy>(FUnknownPtr<IConnectionPoint>(audio));
    }
    if (wiring.connection != Connection::None)
        forBothHalves([](const Point& half, IConnectionPoint* peer) {
            require(half->connect(peer) == kResultOk, "connect");
        });
    TestStream state(save());
    require(edit->setComponentState(&state) == kResultOk, "setComponentState");
}

void TestInstance::forBothHalves(const std::function<void(Point, IConnectionPoint*)>& body) {
    FUnknownPtr<IConnectionPoint> audioPoint(audio), editPoint(edit);
    body(audioPoint, controllerProxy ? controllerProxy.get() : editPoint.getInterface());
    body(editPoint, componentProxy ? componentProxy.get() : audioPoint.getInterface());
}

TestInstance::~TestInstance() {
    takeDown();
}

void TestInstance::takeDown() {
    if (!audio) return;
    stop();
    if (wiring.connection != Connection::None && wiring.disconnects)
        forBothHalves([](const Point& half, IConnectionPoint* peer) { half->disconnect(peer); });
    const auto endComponent = [this] {
        audio->terminate();
        processing = nullptr;
        audio = nullptr;
    };
    if (wiring.componentEndsFirst) endComponent();
    if (wiring.handler) edit->setComponentHandler(nullptr);
    edit->terminate();
    edit = nullptr;
    if (audio) endComponent();
}

void TestInstance::start(f64 rate, i32 mode) {
    SpeakerArrangement input = SpeakerArr::kStereo, output = SpeakerArr::kStereo;
    require(processing->setBusArrangements(&input, 1, &output, 1) == kResultOk, "arranging");
    for (const MediaType type : {kAudio, kEvent})
        for (const BusDirection direction : {kInput, kOutput})
            for (i32 i = 0; i < audio->getBusCount(type, direction); ++i)
                require(audio->activateBus(type, direction, i, true) == kResultOk, "activateBus");
    ProcessSetup wanted{mode, kSample32, 8192, rate};
    require(processing->setupProcessing(wanted) == kResultOk, "setupProcessing");
    processMode = mode;
    require(audio->setActive(true) == kResultOk, "setActive");
    started = true;
    processing->setProcessing(true); // may be unknown
}

void TestInstance::stop() {
    if (!started) return;
    started = false;
    processing->setProcessing(false);
    audio->setActive(false);
}

tresult TestInstance::process(ProcessData& data) {
    data.processMode = processMode;
    if (data.inputParameterChanges || turned.size() == 0) return processing->process(data);
    data.inputParameterChanges = &turned;
    const tresult result = processing->process(data);
    data.inputParameterChanges = nullptr;
    turned.clear();
    return result;
}

StereoBuffer TestInstance::run(const StereoBuffer& input, const std::vector<i32>& sizes,
                               bool inPlace, const BeforeBlock& before) {
    const i32 longest = *std::ranges::max_element(sizes);
    require(longest > 0, "a block of at least one frame");
    TestBuffers buffers(longest);
    if (inPlace) buffers.inPlace();
    StereoBuffer result(input.size());
    size_t done = 0;
    for (size_t block = 0; done < input.size(); ++block) {
        const auto left = static_cast<i64>(input.size() - done);
        const auto frames = static_cast<i32>(std::min<i64>(sizes[block % sizes.size()], left));
        ProcessData& data = buffers.data(frames);
        std::copy_n(input.left.begin() + static_cast<i64>(done), frames, buffers.input(0, 0));
        std::copy_n(input.right.begin() + static_cast<i64>(done), frames, buffers.input(0, 1));
        if (before) before(data, done);
        require(process(data) == kResultOk, "process");
        require(buffers.intact(), "keeping to the buffers");
        std::copy_n(buffers.output(0, 0), frames, result.left.begin() + static_cast<i64>(done));
        std::copy_n(buffers.output(0, 1), frames, result.right.begin() + static_cast<i64>(done));
        done += static_cast<size_t>(frames);
    }
    return result;
}

std::vector<ParameterInfo> TestInstance::parameters() const {
    std::vector<ParameterInfo> list(static_cast<size_t>(edit->getParameterCount()));
    for (size_t i = 0; i < list.size(); ++i)
        require(edit->getParameterInfo(static_cast<i32>(i), list[i]) == kResultOk,
                "getParameterInfo");
    return list;
}

ParamID TestInstance::find(const std::string& title) const {
    for (const ParameterInfo& info : parameters())
        if (toUtf8(info.title) == title) return info.id;
    throw std::runtime_error("no parameter " + title);
}

void TestInstance::turn(ParamID id, f64 normalised) {
    require(edit->setParamNormalized(id, normalised) == kResultOk, "setParamNormalized");
    if (TestQueue* queue = turned.find(id)) queue->points.clear();
    turned.add(id, normalised);
}

std::string TestInstance::save() const {
    TestStream state;
    require(audio->getState(&state) == kResultOk, "getState");
    return state.bytes();
}

void TestInstance::load(const std::string& state) {
    TestStream component(state), again(state), none;
    require(audio->setState(&component) == kResultOk, "setState");
    require(edit->setComponentState(&again) == kResultOk, "setComponentState");
    require(edit->setState(&none) == kResultOk, "setState of the controller");
}
