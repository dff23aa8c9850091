#include "PluginFactory.h"

#include "AM_VST3_Guard.h"

#include <cstring>

namespace Steinberg {

namespace {

// Inlined, the conversion of the names makes g++ 12 warn of array bounds that are kept.
[[gnu::noinline]] void toUnicode(PClassInfoW& target, const PClassInfo2& source) {
    target.fromAscii(source);
}

} // namespace

CPluginFactory::CPluginFactory(const PFactoryInfo& info) : factoryInfo(info) {
}

void CPluginFactory::registerClass(const PClassInfo2& info, CreateFunction create) {
    entries.push_back({info, create});
}

const CPluginFactory::Entry* CPluginFactory::entry(int32 index) const {
    const bool exists = index >= 0 && static_cast<size_t>(index) < entries.size();
    return exists ? &entries[static_cast<size_t>(index)] : nullptr;
}

tresult PLUGIN_API CPluginFactory::getFactoryInfo(PFactoryInfo* info) {
    if (!info) return kInvalidArgument;
    *info = factoryInfo;
    return kResultOk;
}

int32 PLUGIN_API CPluginFactory::countClasses() {
    return static_cast<int32>(entries.size());
}

tresult PLUGIN_API CPluginFactory::getClassInfo(int32 index, PClassInfo* info) {
    const Entry* found = entry(index);
    if (!found || !info) return kInvalidArgument;
    *info = PClassInfo(found->info.cid, found->info.cardinality, found->info.category,
                       found->info.name);
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfo2(int32 index, PClassInfo2* info) {
    const Entry* found = entry(index);
    if (!found || !info) return kInvalidArgument;
    *info = found->info;
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfoUnicode(int32 index, PClassInfoW* info) {
    const Entry* found = entry(index);
    if (!found || !info) return kInvalidArgument;
    toUnicode(*info, found->info);
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::createInstance(FIDString cid, FIDString iid, void** object) {
    if (!cid || !iid || !object) return kInvalidArgument;
    *object = nullptr;
    for (const Entry& candidate : entries) {
        if (std::memcmp(candidate.info.cid, cid, sizeof(TUID)) != 0) continue;
        return AM_VST3_guarded(candidate.info.name, kOutOfMemory, [&]() -> tresult {
            FUnknown* instance = candidate.create();
            if (!instance) return kOutOfMemory;
            const tresult result = instance->queryInterface(iid, object);
            instance->release();
            return result == kResultOk ? kResultOk : kNoInterface;
        });
    }
    return kNoInterface;
}

} // namespace Steinberg
