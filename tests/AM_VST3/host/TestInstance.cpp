#include "TestInstance.h"

#include "TestText.h"

#include <algorithm>
#include <stdexcept>

using namespace Steinberg::Vst;
using Steinberg::FUnknownPtr;
using Steinberg::kNotImplemented;
using Steinberg::kResultOk;
using Steinberg::tresult;

namespace {

void require(bool done, const char* step) {
    if (!done) throw std::runtime_error(std::string(step) + " failed");
}

} // namespace

TestInstance::TestInstance(const TestModule& module, TestWiring inWiring)
    : context(inWiring.runLoop), handler(inWiring.secondHandler), wiring(inWiring) {
    create(module);
    initialize();
    if (wiring.handler)
        require(edit->setComponentHandler(&handler) == kResultOk, "setComponentHandler");
    connect();
    TestStream state;
    require(audio->getState(&state) == kResultOk, "getState");
    state.rewind();
    require(edit->setComponentState(&state) == kResultOk, "setComponentState");
}

void TestInstance::create(const TestModule& module) {
    for (i32 i = 0; i < module.classes() && !audio; ++i) {
        const Steinberg::PClassInfo2 info = module.classInfo(i);
        if (std::string(info.category) == kVstAudioEffectClass)
            audio = module.create<IComponent>(info.cid);
    }
    require(audio != nullptr, "creating the component");
    processing = FUnknownPtr<IAudioProcessor>(audio);
    require(processing != nullptr, "IAudioProcessor");
    Steinberg::TUID controllerClass{};
    require(audio->getControllerClassId(controllerClass) == kResultOk, "getControllerClassId");
    edit = module.create<IEditController>(controllerClass);
    require(edit != nullptr, "creating the controller");
}

void TestInstance::initialize() {
    Steinberg::FUnknown* host = wiring.context ? &context : nullptr;
    Steinberg::IPluginBase* halves[2] = {audio, edit};
    if (wiring.controllerFirst) std::swap(halves[0], halves[1]);
    for (Steinberg::IPluginBase* half : halves)
        require(half->initialize(host) == kResultOk, "initialize");
}

void TestInstance::connect() {
    using Connection = TestWiring::Connection;
    if (wiring.connection == Connection::None) return;
    FUnknownPtr<IConnectionPoint> audioPoint(audio);
    FUnknownPtr<IConnectionPoint> editPoint(edit);
    require(audioPoint && editPoint, "IConnectionPoint");
    IConnectionPoint* toEdit = editPoint;
    IConnectionPoint* toAudio = audioPoint;
    if (wiring.connection != Connection::Direct) {
        const bool strict = wiring.connection == Connection::StrictProxy;
        controllerProxy = std::make_unique<ConnectionProxy>(editPoint, strict);
        componentProxy = std::make_unique<ConnectionProxy>(audioPoint, strict);
        toEdit = controllerProxy.get();
        toAudio = componentProxy.get();
    }
    require(audioPoint->connect(toEdit) == kResultOk, "connect of the component");
    require(editPoint->connect(toAudio) == kResultOk, "connect of the controller");
}

void TestInstance::disconnect() {
    if (wiring.connection == TestWiring::Connection::None || !wiring.disconnects) return;
    FUnknownPtr<IConnectionPoint> audioPoint(audio);
    FUnknownPtr<IConnectionPoint> editPoint(edit);
    IConnectionPoint* toEdit = editPoint;
    IConnectionPoint* toAudio = audioPoint;
    audioPoint->disconnect(controllerProxy ? controllerProxy.get() : toEdit);
    editPoint->disconnect(componentProxy ? componentProxy.get() : toAudio);
}

TestInstance::~TestInstance() {
    takeDown();
}

void TestInstance::takeDown() {
    if (!audio) return;
    stop();
    disconnect();
    if (wiring.componentEndsFirst) {
        audio->terminate();
        processing = nullptr;
        audio = nullptr;
    }
    if (wiring.handler) edit->setComponentHandler(nullptr);
    edit->terminate();
    edit = nullptr;
    if (audio) audio->terminate();
    processing = nullptr;
    audio = nullptr;
}

void TestInstance::activateBuses(bool state) {
    for (const MediaType type : {kAudio, kEvent})
        for (const BusDirection direction : {kInput, kOutput})
            for (i32 i = 0; i < audio->getBusCount(type, direction); ++i)
                require(audio->activateBus(type, direction, i, state) == kResultOk, "activateBus");
}

void TestInstance::start(const TestSetup& setup) {
    SpeakerArrangement input = setup.input;
    SpeakerArrangement output = setup.output;
    processing->setBusArrangements(&input, 1, &output, 1);
    activateBuses(true);
    ProcessSetup wanted{setup.mode, kSample32, setup.maxBlock, setup.rate};
    require(processing->setupProcessing(wanted) == kResultOk, "setupProcessing");
    mode = setup.mode;
    require(audio->setActive(true) == kResultOk, "setActive");
    started = true;
    const tresult result = processing->setProcessing(true);
    require(result == kResultOk || result == kNotImplemented, "setProcessing");
}

void TestInstance::stop() {
    if (!started) return;
    started = false;
    processing->setProcessing(false);
    audio->setActive(false);
}

tresult TestInstance::process(ProcessData& data) {
    data.processMode = mode;
    const bool lends = !data.inputParameterChanges && turned.size() > 0;
    if (lends) data.inputParameterChanges = &turned;
    const tresult result = processing->process(data);
    if (lends) {
        data.inputParameterChanges = nullptr;
        turned.clear();
    }
    return result;
}

StereoBuffer TestInstance::run(const StereoBuffer& input, const std::vector<i32>& sizes,
                               bool inPlace, const BeforeBlock& before) {
    const i32 longest = sizes.empty() ? 0 : *std::ranges::max_element(sizes);
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
    ParamID found = kNoParamId;
    for (const ParameterInfo& info : parameters()) {
        if (toUtf8(info.title) != title) continue;
        if (found != kNoParamId) throw std::out_of_range("several parameters " + title);
        found = info.id;
    }
    if (found == kNoParamId) throw std::out_of_range("no parameter " + title);
    return found;
}

void TestInstance::turn(ParamID id, f64 normalised) {
    require(edit->setParamNormalized(id, normalised) == kResultOk, "setParamNormalized");
    if (TestQueue* queue = turned.find(id)) queue->reset(id);
    turned.add(id, normalised);
}

TestState TestInstance::save() const {
    TestStream forComponent;
    TestStream forController;
    require(audio->getState(&forComponent) == kResultOk, "getState");
    require(edit->getState(&forController) == kResultOk, "getState of the controller");
    return {forComponent.bytes(), forController.bytes()};
}

void TestInstance::load(const TestState& state) {
    TestStream component(state.component);
    require(audio->setState(&component) == kResultOk, "setState");
    component.rewind();
    require(edit->setComponentState(&component) == kResultOk, "setComponentState");
    TestStream controller(state.controller);
    require(edit->setState(&controller) == kResultOk, "setState of the controller");
}
