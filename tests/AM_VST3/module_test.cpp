// What a host sees of the library before it hears anything: the factory and what comes out of it.
#include "AM_Files/TemporaryFolder.h"
#include "base/source/fobject.h"
#include "pluginterfaces/vst/ivstmidicontrollers.h"
#include "pluginterfaces/vst/ivstunits.h"
#include "TestInstance.h"
#include "TestText.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// As hosts write them into projects.
constexpr char k_processorId[] = "D39D5B69D6AF42FA12345678766C474D";
constexpr char k_controllerId[] = "D39D5B69D6AF42FA84AF4AC8766C474D";

std::string hex(const TUID id) {
    char text[33];
    FUID::fromTUID(id).toString(text);
    return text;
}

TUID& idOf(const char* text) {
    static thread_local TUID id;
    FUID fuid;
    fuid.fromString(text);
    fuid.toTUID(id);
    return id;
}

// The bundle, and the same floor within this program.
class Module : public testing::TestWithParam<bool> {
protected:
    std::unique_ptr<TestModule> open() {
        return GetParam() ? std::make_unique<TestModule>(GLASSMERE_BUNDLE)
                          : std::make_unique<TestModule>(&GetPluginFactory);
    }
};
INSTANTIATE_TEST_SUITE_P(Of, Module, testing::Values(true, false),
                         [](const auto& info) { return info.param ? "bundle" : "program"; });

} // namespace

TEST_P(Module, DescribesItsTwoClasses) {
    const auto module = open();
    PFactoryInfo info;
    ASSERT_EQ(module->factory()->getFactoryInfo(&info), kResultOk);
    EXPECT_STREQ(info.vendor, "vela");
    EXPECT_STRNE(info.url, "");
    EXPECT_STRNE(info.email, "");
    EXPECT_EQ(info.flags, PFactoryInfo::kUnicode);

    ASSERT_EQ(module->classes(), 2);
    const struct {
        const char *id, *category, *name, *subCategories;
        u32 flags;
    } expected[] = {
        {k_processorId, "Audio Module Class", "Glassmere", "Instrument|vela", 2},
        {k_controllerId, "Component Controller Class", "GlassmereController", "", 0},
    };
    for (i32 i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const PClassInfo2 found = module->classInfo(i);
        EXPECT_EQ(hex(found.cid), expected[i].id);
        EXPECT_EQ(found.cardinality, 0x7FFFFFFF);
        EXPECT_STREQ(found.category, expected[i].category);
        EXPECT_STREQ(found.name, expected[i].name);
        EXPECT_STREQ(found.subCategories, expected[i].subCategories);
        EXPECT_EQ(found.classFlags, expected[i].flags);
        EXPECT_STREQ(found.vendor, "");
        EXPECT_STREQ(found.version, "1.0.0");
        EXPECT_STREQ(found.sdkVersion, "VST 3.5.1");

        PClassInfo older;
        ASSERT_EQ(module->factory()->getClassInfo(i, &older), kResultOk);
        EXPECT_EQ(hex(older.cid), expected[i].id);
        EXPECT_STREQ(older.name, expected[i].name);
        PClassInfoW wide;
        FUnknownPtr<IPluginFactory3> third(module->factory());
        ASSERT_TRUE(third);
        ASSERT_EQ(third->getClassInfoUnicode(i, &wide), kResultOk);
        EXPECT_EQ(toUtf8(wide.name), expected[i].name);
        EXPECT_EQ(toUtf8(wide.sdkVersion), "VST 3.5.1");
        EXPECT_STREQ(wide.subCategories, expected[i].subCategories);
    }
    PClassInfo none;
    for (const i32 index : {-1, 2})
        EXPECT_NE(module->factory()->getClassInfo(index, &none), kResultOk);
}

TEST_P(Module, HasOneFactoryThatRefusesWhatItLacks) {
    const auto module = open();
    IPluginFactory* factory = module->factory();
    const auto references = [factory] {
        factory->addRef();
        return factory->release();
    };
    const u32 before = references();
    const auto getFactory =
        GetParam() ? reinterpret_cast<TestModule::GetFactory>(module->symbol("GetPluginFactory"))
                   : &GetPluginFactory;
    EXPECT_EQ(getFactory(), factory);
    EXPECT_EQ(references(), before + 1);
    factory->release();

    const auto refused = [factory](FIDString cid, FIDString iid) {
        void* object = factory;
        const tresult result = factory->createInstance(cid, iid, &object);
        return result != kResultOk && !object;
    };
    EXPECT_TRUE(refused(idOf("D39D5B69D6AF42FA12345678766C474E"), IComponent::iid));
    EXPECT_TRUE(refused(idOf(k_processorId), IEditController::iid));
    EXPECT_TRUE(refused(idOf(k_controllerId), IComponent::iid));
    EXPECT_NE(factory->createInstance(nullptr, IComponent::iid, nullptr), kResultOk);
    EXPECT_NE(factory->createInstance(idOf(k_processorId), nullptr, nullptr), kResultOk);
}

TEST_P(Module, ItsHalvesAnswerForTheirInterfaces) {
    const auto module = open();
    const auto component = module->create<IComponent>(idOf(k_processorId));
    const auto controller = module->create<IEditController>(idOf(k_controllerId));
    ASSERT_TRUE(component && controller);
    TUID id{};
    ASSERT_EQ(component->getControllerClassId(id), kResultOk);
    EXPECT_EQ(hex(id), k_controllerId);

    const auto offers = [](FUnknown* half, const FUID& interface) {
        void* object = nullptr;
        if (half->queryInterface(interface, &object) != kResultOk) return false;
        static_cast<FUnknown*>(object)->release();
        return object != nullptr;
    };
    for (const FUID& interface : {IAudioProcessor::iid, IConnectionPoint::iid, IPluginBase::iid})
        EXPECT_TRUE(offers(component, interface));
    for (const FUID& interface : {IEditController2::iid, IUnitInfo::iid, IMidiMapping::iid,
                                  IConnectionPoint::iid, IPluginBase::iid})
        EXPECT_TRUE(offers(controller, interface));
    EXPECT_FALSE(offers(component, IEditController::iid));
    EXPECT_FALSE(offers(controller, IComponent::iid));

    // The SDK's objects know themselves by the names of their classes. Only their own copy of the
    // SDK can ask: the id to ask with is drawn anew by each.
    const FUnknownPtr<FObject> object(component);
    EXPECT_EQ(object != nullptr, !GetParam());
    EXPECT_TRUE(GetParam() || object->isA("AM_VST3_Processor"));
}

// However the halves are wired up and taken down: nothing is left behind, and it sounds the same.
TEST_P(Module, RunsWiredUpAsHostsDo) {
    const auto module = open();
    const StereoBuffer input = noise(4096);
    StereoBuffer first;
    // Every seventh of the ways there are.
    for (u32 bits = 0; bits < 256; bits += 7) {
        SCOPED_TRACE(bits);
        const auto bit = [bits](u32 index) { return (bits >> index & 1) != 0; };
        const TestWiring wiring{static_cast<TestWiring::Connection>(bits & 3),
                                bit(2), // controllerFirst
                                bit(3), // componentEndsFirst
                                bit(4), // disconnects
                                bit(5), // context
                                bit(6), // runLoop
                                bit(7), // handler
                                bit(0)};
        TestInstance instance(*module, wiring);
        instance.start();
        const StereoBuffer output = instance.run(input, {64, 1000, 0, 1});
        if (first.size() == 0) first = output;
        EXPECT_EQ(output, first);
        instance.context.loop.advance(200);
        instance.takeDown();
        EXPECT_EQ(instance.context.references(), 0);
        EXPECT_EQ(instance.context.messagesAlive(), 0);
        EXPECT_EQ(instance.context.loop.timers(), 0u);
        EXPECT_EQ(instance.context.loop.references(), 0);
        EXPECT_EQ(instance.handler.references(), 0);
        EXPECT_FALSE(instance.handler.calledFromAfar());
    }
    EXPECT_GT(first.energy(0, 4096), 0.0);
}

TEST(Bundle, LivesTwiceAndComesBack) {
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder / "Glassmere.vst3";
    std::filesystem::copy(GLASSMERE_BUNDLE, copy, std::filesystem::copy_options::recursive);
    const auto output = [](const TestModule& module) {
        TestInstance instance(module);
        instance.start();
        return instance.run(impulse(2048));
    };
    StereoBuffer first;
    for (i32 round = 0; round < 3; ++round) {
        auto one = std::make_unique<TestModule>(GLASSMERE_BUNDLE);
        const TestModule same(GLASSMERE_BUNDLE);
        const TestModule other(copy);
        EXPECT_EQ(one->factory(), same.factory());
        EXPECT_NE(one->factory(), other.factory());
        if (round == 0) first = output(*one);
        TestInstance lasting(same);
        one.reset();
        lasting.start();
        EXPECT_EQ(lasting.run(impulse(2048)), first);
        EXPECT_EQ(output(other), first);
    }
}
