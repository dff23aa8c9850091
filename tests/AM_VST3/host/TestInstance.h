// One plug-in within the host: both halves, wired up, run and taken down as hosts do it.
#pragma once

#include "base/source/fstring.h"
#include "plugin/Signals.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "TestBuffers.h"
#include "TestChanges.h"
#include "TestHost.h"
#include "TestModule.h"
#include "TestStream.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// The host's 16-bit characters, up to the first null, as UTF-8.
inline std::string toUtf8(const Steinberg::Vst::TChar* text) {
    Steinberg::String string(text);
    string.toMultiByte(Steinberg::kCP_Utf8);
    return string.text8();
}

// Where hosts differ.
struct TestWiring {
    enum class Connection { None, Direct, Proxy };
    Connection connection = Connection::Direct;
    bool controllerFirst = false;    // is initialised before the component
    bool componentEndsFirst = false; // is terminated and released before the controller
    bool disconnects = true;         // before it terminates
    bool context = true;             // null otherwise
    bool runLoop = false;            // offered by the context
    bool handler = true;
    bool secondHandler = true; // the handler's newer interface
};

// Steps that a plug-in has to take throw std::runtime_error with the step's name if it does not.
// Everything on the thread that made it; process() and run() on any other, while nothing is turned.
class TestInstance {
public:
    // Creates the component and its controller, initialises and connects them.
    explicit TestInstance(const TestModule& module, TestWiring wiring = {});
    ~TestInstance();
    TestInstance(const TestInstance&) = delete;
    TestInstance& operator=(const TestInstance&) = delete;

    // Stops and takes down both halves, and lets go of them. From then on only what they left with
    // the host can be asked for.
    void takeDown();

    Steinberg::Vst::IComponent* component() const { return audio; }
    Steinberg::Vst::IAudioProcessor* processor() const { return processing; }
    Steinberg::Vst::IEditController* controller() const { return edit; }
    // Another interface of the controller, or null.
    template <class Interface>
    Steinberg::IPtr<Interface> controllerAs() const {
        return Steinberg::FUnknownPtr<Interface>(edit);
    }

    // Activates all buses, sets up, activates and starts processing.
    void start(f64 rate = 48000.0, i32 mode = Steinberg::Vst::kRealtime);
    // Stops processing and deactivates. No-op if it is not started.
    void stop();

    // A process call. What was turned before goes with it if `data` has no changes of its own.
    Steinberg::tresult process(Steinberg::Vst::ProcessData& data);
    // Sends a signal through in blocks of the sizes given, over and over (one above 0 at least).
    // `before` may change a block's data, and is told the position of its first frame. Throws if a
    // call fails or writes outside its buffers.
    using BeforeBlock = std::function<void(Steinberg::Vst::ProcessData& data, size_t position)>;
    StereoBuffer run(const StereoBuffer& input, const std::vector<i32>& sizes = {512},
                     bool inPlace = false, const BeforeBlock& before = {});

    std::vector<Steinberg::Vst::ParameterInfo> parameters() const;
    // The id of the parameter of this title; throws if there is none.
    Steinberg::Vst::ParamID find(const std::string& title) const;
    // The controller's value, normalised.
    f64 value(Steinberg::Vst::ParamID id) const { return edit->getParamNormalized(id); }
    // Moves a parameter as a host's own knob does: in the controller, and with the next block.
    void turn(Steinberg::Vst::ParamID id, f64 normalised);

    // The component's state, as a host keeps it in its project.
    std::string save() const;
    // Hands the component its state and tells the controller of it.
    void load(const std::string& state);

    TestHostContext context;
    TestHandler handler;

private:
    // For each half what it is connected to: the other one, or what stands for it.
    using Point = Steinberg::IPtr<Steinberg::Vst::IConnectionPoint>;
    void
    forBothHalves(const std::function<void(Point half, Steinberg::Vst::IConnectionPoint* peer)>&);

    const TestWiring wiring;
    // In this order: the plug-in goes before what it may hold of the host's.
    std::unique_ptr<ConnectionProxy> controllerProxy;
    std::unique_ptr<ConnectionProxy> componentProxy;
    TestChanges turned{4096, 1};
    Steinberg::IPtr<Steinberg::Vst::IComponent> audio;
    Steinberg::IPtr<Steinberg::Vst::IAudioProcessor> processing;
    Steinberg::IPtr<Steinberg::Vst::IEditController> edit;
    i32 processMode = Steinberg::Vst::kRealtime;
    bool started = false;
};
