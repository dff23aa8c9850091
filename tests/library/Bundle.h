// A bundle as a host loads it.
#pragma once

#include "pluginterfaces/base/ipluginbase.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "public.sdk/source/common/memorystream.h"
#include "public.sdk/source/vst/hosting/hostclasses.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>

// Loaded while it lives; what a host would not get over throws.
class Bundle {
public:
    explicit Bundle(const std::string& path)
        : library(dlopen((path + "/" GLASSMERE_BINARIES "/Glassmere.so").c_str(),
                         RTLD_LAZY | RTLD_LOCAL)) {
        if (library == nullptr) throw std::runtime_error(dlerror());
        if (!entry<bool (*)(void*)>("ModuleEntry")(library))
            throw std::runtime_error("ModuleEntry gives false");
        factory = Steinberg::owned(entry<Steinberg::IPluginFactory* (*)()>("GetPluginFactory")());
        if (!factory) throw std::runtime_error("there is no factory");
    }
    ~Bundle() {
        factory = nullptr;
        EXPECT_TRUE(entry<bool (*)()>("ModuleExit")());
        dlclose(library);
    }
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    template <class Function>
    Function entry(const char* name) const {
        auto* const found = reinterpret_cast<Function>(dlsym(library, name));
        if (found == nullptr) throw std::runtime_error(name);
        return found;
    }
    // Class `index` as `Interface`.
    template <class Interface>
    Steinberg::IPtr<Interface> create(int index) const {
        Steinberg::PClassInfo info;
        Interface* object = nullptr;
        EXPECT_EQ(factory->getClassInfo(index, &info), Steinberg::kResultOk);
        EXPECT_EQ(
            factory->createInstance(info.cid, Interface::iid, reinterpret_cast<void**>(&object)),
            Steinberg::kResultOk);
        return Steinberg::owned(object);
    }
    // What the processor keeps after it was initialised, behind the four bytes of its size.
    std::string freshState() const {
        const auto processor = create<Steinberg::Vst::IComponent>(0);
        if (!processor) return {};
        Steinberg::Vst::HostApplication host;
        Steinberg::MemoryStream stream;
        EXPECT_EQ(processor->initialize(&host), Steinberg::kResultOk);
        EXPECT_EQ(processor->getState(&stream), Steinberg::kResultOk);
        EXPECT_EQ(processor->terminate(), Steinberg::kResultOk);
        const auto size = static_cast<size_t>(stream.getSize());
        return size < 4 ? "" : std::string(stream.getData() + 4, size - 4);
    }

    Steinberg::IPtr<Steinberg::IPluginFactory> factory;

private:
    void* library;
};
