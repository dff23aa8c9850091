// A VST3 module as a host opens it: the library of a bundle, or a factory within this program.
#pragma once

#include "AM_Types.h"
#include "pluginterfaces/base/ipluginbase.h"
#include "pluginterfaces/base/smartpointer.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

// What a host would not get over throws std::runtime_error. Instances go before their module.
class TestModule {
public:
    using GetFactory = Steinberg::IPluginFactory*(PLUGIN_API*)();

    // Loads the library of the folder <name>.vst3, enters it and asks for its factory.
    explicit TestModule(const std::filesystem::path& bundle) {
        const std::filesystem::path library = bundle.filename().replace_extension(".so");
        for (const auto& folder : std::filesystem::directory_iterator(bundle / "Contents"))
            if (exists(folder / library))
                handle = dlopen((folder / library).c_str(), RTLD_LAZY | RTLD_LOCAL);
        if (!handle) throw std::runtime_error(bundle.string() + " can't be loaded");
        if (!entry<bool (*)(void*)>("ModuleEntry")(handle))
            throw std::runtime_error(bundle.string() + " refuses to be entered");
        held = Steinberg::owned(entry<GetFactory>("GetPluginFactory")());
        if (!held) throw std::runtime_error(bundle.string() + " has no factory");
    }
    explicit TestModule(GetFactory getFactory) : held(Steinberg::owned(getFactory())) {}
    ~TestModule() {
        held = nullptr;
        if (!handle) return;
        entry<bool (*)()>("ModuleExit")();
        dlclose(handle);
    }
    TestModule(const TestModule&) = delete;
    TestModule& operator=(const TestModule&) = delete;

    Steinberg::IPluginFactory* factory() const { return held; }
    Steinberg::PClassInfo2 classInfo(i32 index) const {
        Steinberg::PClassInfo2 info;
        Steinberg::FUnknownPtr<Steinberg::IPluginFactory2> second(held);
        if (!second || second->getClassInfo2(index, &info) != Steinberg::kResultOk)
            throw std::runtime_error("no class " + std::to_string(index));
        return info;
    }
    // A new instance of class `id`; null if the factory makes none or it lacks the interface.
    template <class Interface>
    Steinberg::IPtr<Interface> create(const Steinberg::TUID id) const {
        void* object = nullptr;
        const auto result = held->createInstance(id, Interface::iid, &object);
        if (result != Steinberg::kResultOk) return nullptr;
        return Steinberg::owned(static_cast<Interface*>(object));
    }
    // An exported function of the loaded library.
    template <class Function>
    Function entry(const char* name) const {
        void* found = dlsym(handle, name);
        if (!found) throw std::runtime_error(std::string("there is no ") + name);
        return reinterpret_cast<Function>(found);
    }

private:
    void* handle = nullptr;
    Steinberg::IPtr<Steinberg::IPluginFactory> held;
};
