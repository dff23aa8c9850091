// A VST3 module as a host opens it: the library of a bundle, or a factory within this program.
#pragma once

#include "AM_Types.h"
#include "pluginterfaces/base/ipluginbase.h"
#include "pluginterfaces/base/smartpointer.h"

#include <filesystem>
#include <string>

class TestModule {
public:
    using GetFactory = Steinberg::IPluginFactory*(PLUGIN_API*)();

    // Loads Contents/<machine>-linux/<name>.so of the folder <name>.vst3, enters it and asks for
    // its factory. Throws std::runtime_error with the reason where that fails.
    explicit TestModule(const std::filesystem::path& bundle);
    // Asks a factory that is linked into the program. Throws std::runtime_error if it gives none.
    explicit TestModule(GetFactory getFactory);
    // Releases the factory, leaves the library and unloads it. Instances must be gone.
    ~TestModule();
    TestModule(const TestModule&) = delete;
    TestModule& operator=(const TestModule&) = delete;

    Steinberg::IPluginFactory* factory() const { return held; }
    i32 classes() const { return held->countClasses(); }
    // Throws std::out_of_range if there is no such class.
    Steinberg::PClassInfo2 classInfo(i32 index) const;

    // A new instance of class `id`; null if the factory makes none or it lacks the interface.
    template <class Interface>
    Steinberg::IPtr<Interface> create(const Steinberg::TUID id) const {
        void* object = nullptr;
        const auto result = held->createInstance(id, Interface::iid, &object);
        if (result != Steinberg::kResultOk) return nullptr;
        return Steinberg::owned(static_cast<Interface*>(object));
    }

    // An exported symbol of the loaded library, or null.
    void* symbol(const char* name) const;
    const std::filesystem::path& library() const { return path; }

private:
    void enter();

    std::filesystem::path path;
    void* handle = nullptr;
    bool entered = false;
    Steinberg::IPtr<Steinberg::IPluginFactory> held;
};
