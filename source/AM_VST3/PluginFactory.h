// The class factory of a VST3 module: what hosts ask for the classes that a library holds.
#pragma once

#include "base/source/fobject.h"
#include "pluginterfaces/base/ipluginbase.h"

#include <vector>

namespace Steinberg {

// Makes a new object with one reference, as FUnknown; null if that fails. May throw.
using CreateFunction = FUnknown* (*)();

// Filled once by whoever makes it; from then on any thread may ask. Nothing is thrown: what a
// create function throws is an instance that could not be made.
class CPluginFactory final : public FObject, public IPluginFactory3 {
public:
    explicit CPluginFactory(const PFactoryInfo& info);

    // Adds a class behind the others.
    void registerClass(const PClassInfo2& info, CreateFunction create);

    tresult PLUGIN_API getFactoryInfo(PFactoryInfo* info) override;
    int32 PLUGIN_API countClasses() override;
    tresult PLUGIN_API getClassInfo(int32 index, PClassInfo* info) override;
    // Sets `*object` to a new instance of the class with the 16 bytes `cid`, as interface `iid`, or
    // to null.
    tresult PLUGIN_API createInstance(FIDString cid, FIDString iid, void** object) override;
    tresult PLUGIN_API getClassInfo2(int32 index, PClassInfo2* info) override;
    tresult PLUGIN_API getClassInfoUnicode(int32 index, PClassInfoW* info) override;
    // Nothing is asked of the host before an instance has its own context.
    tresult PLUGIN_API setHostContext(FUnknown*) override { return kResultOk; }

    OBJ_METHODS(CPluginFactory, FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(IPluginFactory)
    DEF_INTERFACE(IPluginFactory2)
    DEF_INTERFACE(IPluginFactory3)
    END_DEFINE_INTERFACES(FObject)
    REFCOUNT_METHODS(FObject)

private:
    struct Entry {
        PClassInfo2 info;
        CreateFunction create;
    };
    const Entry* entry(int32 index) const;

    const PFactoryInfo factoryInfo;
    std::vector<Entry> entries;
};

} // namespace Steinberg
