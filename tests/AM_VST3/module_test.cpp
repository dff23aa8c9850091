// What a host sees of the library before it hears anything: the factory and what comes out of it.
#include "base/source/fobject.h"
#include "pluginterfaces/vst/ivstmidicontrollers.h"
#include "pluginterfaces/vst/ivstunits.h"
#include "TestInstance.h"

#include <gtest/gtest.h>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// As hosts write them into projects.
constexpr char k_processorId[] = "D39D5B69D6AF42FA12345678766C474D";
constexpr char k_controllerId[] = "D39D5B69D6AF42FA84AF4AC8766C474D";

FUID idOf(const char* text) {
    FUID id;
    id.fromString(text);
    return id;
}

// The bundle, and the same floor within this program.
class Module : public testing::TestWithParam<bool> {
protected:
    const TestModule module = GetParam() ? TestModule(std::filesystem::path(GLASSMERE_BUNDLE))
                                         : TestModule(&GetPluginFactory);
};
INSTANTIATE_TEST_SUITE_P(Of, Module, testing::Values(true, false),
                         [](const auto& info) { return info.param ? "bundle" : "program"; });

} // namespace

TEST_P(Module, DescribesItsTwoClasses) {
    IPluginFactory* factory = module.factory();
    PFactoryInfo info;
    ASSERT_EQ(factory->getFactoryInfo(&info), kResultOk);
    EXPECT_STREQ(info.vendor, "vela");
    EXPECT_EQ(info.flags, PFactoryInfo::kUnicode);
    ASSERT_EQ(factory->countClasses(), 2);
    const struct {
        const char *id, *category, *name, *subCategories;
        u32 flags;
    } expected[] = {
        {k_processorId, "Audio Module Class", "Glassmere", "Instrument|vela", 2},
        {k_controllerId, "Component Controller Class", "GlassmereController", "", 0},
    };
    for (i32 i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const PClassInfo2 found = module.classInfo(i);
        EXPECT_TRUE(FUID::fromTUID(found.cid) == idOf(expected[i].id));
        EXPECT_EQ(found.cardinality, 0x7FFFFFFF);
        EXPECT_STREQ(found.category, expected[i].category);
        EXPECT_STREQ(found.name, expected[i].name);
        EXPECT_STREQ(found.subCategories, expected[i].subCategories);
        EXPECT_EQ(found.classFlags, expected[i].flags);
        EXPECT_STREQ(found.vendor, "");
        EXPECT_STREQ(found.version, "1.0.0");
        EXPECT_STREQ(found.sdkVersion, "VST 3.5.1");
        // Older and newer hosts hear the same.
        PClassInfo older;
        PClassInfoW wide;
        FUnknownPtr<IPluginFactory3> third(factory);
        ASSERT_TRUE(third);
        ASSERT_EQ(factory->getClassInfo(i, &older), kResultOk);
        ASSERT_EQ(third->getClassInfoUnicode(i, &wide), kResultOk);
        EXPECT_EQ(memcmp(older.cid, found.cid, sizeof(TUID)), 0);
        EXPECT_STREQ(older.name, expected[i].name);
        EXPECT_EQ(toUtf8(wide.name), expected[i].name);
        EXPECT_EQ(toUtf8(wide.sdkVersion), "VST 3.5.1");
    }
    PClassInfo none;
    for (const i32 index : {-1, 2})
        EXPECT_NE(factory->getClassInfo(index, &none), kResultOk);
}

TEST_P(Module, GivesWhatItHasAndRefusesWhatItLacks) {
    IPluginFactory* factory = module.factory();
    const auto getFactory =
        GetParam() ? module.entry<TestModule::GetFactory>("GetPluginFactory") : &GetPluginFactory;
    EXPECT_EQ(owned(getFactory()), factory);
    const auto refused = [factory](const char* id, const FUID& interface) {
        void* object = factory;
        return factory->createInstance(idOf(id), interface, &object) != kResultOk && !object;
    };
    EXPECT_TRUE(refused("D39D5B69D6AF42FA12345678766C474E", IComponent::iid));
    EXPECT_TRUE(refused(k_processorId, IEditController::iid));
    EXPECT_TRUE(refused(k_controllerId, IComponent::iid));
    EXPECT_NE(factory->createInstance(nullptr, IComponent::iid, nullptr), kResultOk);

    const auto component = module.create<IComponent>(idOf(k_processorId));
    const auto controller = module.create<IEditController>(idOf(k_controllerId));
    ASSERT_TRUE(component && controller);
    TUID id{};
    ASSERT_EQ(component->getControllerClassId(id), kResultOk);
    EXPECT_TRUE(FUID::fromTUID(id) == idOf(k_controllerId));
    EXPECT_TRUE(FUnknownPtr<IAudioProcessor>(component) &&
                FUnknownPtr<IConnectionPoint>(component));
    EXPECT_TRUE(FUnknownPtr<IEditController2>(controller) && FUnknownPtr<IUnitInfo>(controller) &&
                FUnknownPtr<IMidiMapping>(controller) && FUnknownPtr<IConnectionPoint>(controller));
    // The SDK's objects know themselves by the names of their classes. Only their own copy of the
    // SDK can ask: the id to ask with is drawn anew by each.
    const FUnknownPtr<FObject> object(component);
    EXPECT_EQ(object != nullptr, !GetParam());
    EXPECT_TRUE(GetParam() || object->isA("AM_VST3_Processor"));
}

// However the halves are wired up and taken down: nothing is left behind, and it sounds the same.
TEST_P(Module, RunsWiredUpAsHostsDo) {
    const StereoBuffer input = noise(4096);
    StereoBuffer first;
    // Every eleventh of the ways there are.
    for (u32 bits = 0; bits < 384; bits += 11) {
        SCOPED_TRACE(bits);
        const auto bit = [bits](u32 index) { return (bits >> index & 1) != 0; };
        TestInstance instance(module, {.connection = static_cast<TestWiring::Connection>(bits >> 7),
                                       .controllerFirst = bit(0),
                                       .componentEndsFirst = bit(1),
                                       .disconnects = bit(2),
                                       .context = bit(3),
                                       .runLoop = bit(4),
                                       .handler = bit(5),
                                       .secondHandler = bit(6)});
        instance.start();
        const StereoBuffer output = instance.run(input, {64, 1000, 0, 1});
        if (first.size() == 0) first = output;
        EXPECT_EQ(output, first);
        instance.context.loop.advance(200);
        instance.takeDown();
        EXPECT_EQ(instance.context.references, 0);
        EXPECT_EQ(instance.context.loop.timers.size(), 0u);
        EXPECT_EQ(instance.context.loop.references(), 0);
        EXPECT_EQ(instance.handler.references(), 0);
        EXPECT_FALSE(instance.handler.calledFromAfar());
    }
    EXPECT_GT(first.energy(0, 4096), 0.0);
}
