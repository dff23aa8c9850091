#include "TestModule.h"

#include <dlfcn.h>
#include <sys/utsname.h>

#include <stdexcept>

using Steinberg::IPluginFactory;

namespace {

std::filesystem::path libraryOf(std::filesystem::path bundle) {
    if (!bundle.has_filename()) bundle = bundle.parent_path(); // ends in a slash
    utsname system{};
    uname(&system);
    const std::string machine = std::string(system.machine) + "-linux";
    return bundle / "Contents" / machine / bundle.filename().replace_extension(".so");
}

} // namespace

TestModule::TestModule(const std::filesystem::path& bundle) : path(libraryOf(bundle)) {
    handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!handle) throw std::runtime_error(dlerror());
    try {
        enter();
    } catch (...) {
        dlclose(handle);
        throw;
    }
}

TestModule::TestModule(GetFactory getFactory) : held(Steinberg::owned(getFactory())) {
    if (!held) throw std::runtime_error("no factory");
}

void TestModule::enter() {
    const auto moduleEntry = reinterpret_cast<bool (*)(void*)>(symbol("ModuleEntry"));
    const auto getFactory = reinterpret_cast<GetFactory>(symbol("GetPluginFactory"));
    if (!moduleEntry || !symbol("ModuleExit") || !getFactory)
        throw std::runtime_error(path.string() + " lacks an entry point");
    if (!moduleEntry(handle)) throw std::runtime_error(path.string() + " refuses to be entered");
    entered = true;
    held = Steinberg::owned(getFactory());
    if (!held) throw std::runtime_error(path.string() + " has no factory");
}

TestModule::~TestModule() {
    held = nullptr;
    if (!handle) return;
    if (entered) reinterpret_cast<bool (*)()>(symbol("ModuleExit"))();
    dlclose(handle);
}

Steinberg::PClassInfo2 TestModule::classInfo(i32 index) const {
    Steinberg::PClassInfo2 info;
    Steinberg::FUnknownPtr<Steinberg::IPluginFactory2> second(held);
    if (!second || second->getClassInfo2(index, &info) != Steinberg::kResultOk)
        throw std::out_of_range("no class " + std::to_string(index));
    return info;
}

void* TestModule::symbol(const char* name) const {
    return handle ? dlsym(handle, name) : nullptr;
}
