// Audio objects without a manager: names, memory, messages, and the passes over a subtree.
#include "AM_Allocator.h"
#include "AM_Assert.h"
#include "AM_Messages.h"
#include "TestManager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

std::vector<ParameterInfo> rows(int count) {
    return std::vector<ParameterInfo>(static_cast<size_t>(count), {"p", "p", k_float, 0, 1, 0});
}

// A module with named sizes; root of a small tree in most tests.
std::unique_ptr<TestModule> module(const char* name, i32 dataBytes = 0, i32 modBytes = 0,
                                   int parameters = 0, u32 bits = 0) {
    auto made = std::make_unique<TestModule>(nullptr, name, rows(parameters), 2, bits);
    made->dataBytes = dataBytes;
    made->modBytes = modBytes;
    return made;
}

// The same, below `parent`.
template <class... Sizes>
TestModule* below(TestModule* parent, Sizes... sizes) {
    TestModule* child = module(sizes...).release();
    parent->add(child);
    return child;
}

// Sees the protected fields.
struct Peek : TestModule {
    using TestModule::firstModSource;
    using TestModule::numVoices;
    using TestModule::TestModule;
    using TestModule::voiceStride;
};

} // namespace

TEST(AudioObject, NamesAreSplitAndCut) {
    const auto fdn = module("FDN: Delay Network");
    EXPECT_STREQ(fdn->getShortName(), "FDN");
    EXPECT_STREQ(fdn->getLongName(), "Delay Network");
    EXPECT_STREQ(module("withoutAnyColon")->getShortName(), "without");
    EXPECT_STREQ(module("withoutAnyColon")->getLongName(), "withoutAnyColon");
    EXPECT_EQ(std::strlen(module(std::string(100, 'n').c_str())->getName()), 31u);
    EXPECT_STREQ(module(nullptr)->getName(), "untitled");
    for (const char* name : {"FDx", "FD", ""}) // all but the last character
        EXPECT_TRUE(fdn->matchesShortName(name)) << name;
    for (const char* name : {"FxN", "FDN: Delay Network"})
        EXPECT_FALSE(fdn->matchesShortName(name)) << name;
}

TEST(AudioObject, MemoryIsTheSumOfRoundedSizes) {
    auto root = module("root", 20, 4);
    auto* child = below(root.get(), "child", 100, 68);
    auto* empty = below(root.get(), "empty");
    auto* last = below(root.get(), "last", 16, 16);
    EXPECT_EQ(root->sizeDataBlock(), 32 + 112 + 0 + 16);
    EXPECT_EQ(root->sizeModBlock(), 16 + 80 + 0 + 16);

    alignas(16) f32 data[64] = {}, mod[64] = {};
    f32 *nextData = data, *nextMod = mod;
    root->assignMemory(&nextData, &nextMod, nullptr);
    EXPECT_EQ(root->getVoiceData(0), data);
    EXPECT_EQ(child->getVoiceData(0), data + 8);
    EXPECT_EQ(empty->getVoiceData(0), last->getVoiceData(0)); // shared with the successor
    EXPECT_EQ(last->getModData(), mod + 4 + 20);
    EXPECT_EQ(nextData, data + 40);
    EXPECT_EQ(nextMod, mod + 28);

    root->setDataScale(3);
    EXPECT_EQ(root->sizeDataBlock(), 96 + 128);
    EXPECT_EQ(root->getVoiceData(2), data + (24 * 2) / 3);
}

TEST(AudioObject, VoicesRepeatTheChildren) {
    Peek root(nullptr, "voi: Voices");
    root.numVoices = 3;
    auto* child = new Peek(nullptr, "child");
    child->dataBytes = 32;
    root.add(child);
    below(&root, "second", 16);
    ASSERT_EQ(root.sizeDataBlock(), 3 * 48);
    alignas(16) f32 data[36] = {}, mod[4] = {};
    std::fill_n(data, 12, 1.0f);
    f32 *nextData = data, *nextMod = mod;
    root.sizeModBlock();
    root.assignMemory(&nextData, &nextMod, nullptr);
    EXPECT_EQ(nextData, data + 36);
    EXPECT_EQ(child->voiceStride, 48);
    // A quarter of each voice is copied: 8 floats as 8 bytes.
    for (int voice = 1; voice < 3; ++voice)
        for (int i : {1, 2, 8, 9})
            EXPECT_EQ(data[voice * 12 + i], i == 1 || i == 8 ? 1 : 0) << i;
}

TEST(AudioObject, FlatIndexRunsOverTheSubtree) {
    auto root = module("root", 0, 0, 2);
    auto* child = below(root.get(), "child", 0, 0, 1);
    auto* deep = below(child, "deep", 0, 0, 3);
    auto* last = below(root.get(), "last", 0, 0, 1);
    EXPECT_EQ(root->getNumParametersAll(true), 7);
    EXPECT_EQ(root->getNumParametersAll(false), 2);
    EXPECT_EQ(child->getNumParametersAll(true), 5); // with the sibling behind it
    const ParameterInfo* const none = nullptr;
    for (const auto& [index, row] :
         {std::pair{2, static_cast<const ParameterInfo*>(&child->rows[0])},
          {5, &deep->rows[2]},
          {6, &last->rows[0]},
          {7, none},
          {-1, none}})
        EXPECT_EQ(root->getParameterInfoAll(index), row) << index;
    LogCapture log;
    last->rows.clear(); // declared, but not there
    EXPECT_THROW(root->getParameterInfoAll(6), AM_AssertionError);
    EXPECT_EQ(log.count("getParameterInfo ( 0 ) is NULL in last"), 1);
}

TEST(AudioObject, NumberingMessagesLeaveObjectsWithoutSourcesAlone) {
    AM_ObjectHost host(20);
    TestModule none(nullptr, "no: None");
    Peek some(nullptr, "so: Some Sources", rows(0), 2, 0, 3, 2);
    Peek one(nullptr, "one: One", rows(0), 2, k_classAudioCircuit, 1, 0);
    AM_Tree sender;
    for (AM_Object* object : std::initializer_list<AM_Object*>{&none, &some, &one, &sender})
        object->setHost(&host);
    i32 sources = 1, buffers = 1;
    sender.sendMessage(0, AM_Message_NumberModSources, 0, &sources);
    sender.sendMessage(0, AM_Message_NumberModBuffers, 0, &buffers);
    EXPECT_EQ(sources, 5);
    EXPECT_EQ(buffers, 3);
    EXPECT_EQ(some.firstModSource, 1);
    EXPECT_EQ(one.firstModSource, 4);
    AM_ModSourceName names[5] = {};
    sender.sendMessage(0, AM_Message_NameModSources, 0, names);
    EXPECT_STREQ(names[3].name, "Some Sources 2");
    EXPECT_STREQ(names[4].name, "One");
}

TEST(AudioObject, SharedMemoryGrowsAndGoesWithTheLastUser) {
    const size_t blocks = AM_liveAllocations();
    LogCapture log;
    auto first = module("first");
    auto second = module("second");
    auto third = module("third");
    auto* bytes = static_cast<u8*>(first->allocateSharedMemory(100));
    bytes[99] = 5;
    EXPECT_EQ(first->allocateSharedMemory(50), bytes);
    EXPECT_EQ(bytes[99], 5);
    second->setSharedMemory(first->getSharedMemory());
    third->allocateSharedMemory(8);
    third->setSharedMemory(first->getSharedMemory()); // has one of its own
    EXPECT_EQ(log.count("Duplicate Shared Memory Pointer ERROR in third"), 1);
    EXPECT_EQ(first->getSharedMemory()->refCount, 2);
    auto* larger = static_cast<u8*>(second->allocateSharedMemory(200));
    EXPECT_EQ(larger[99], 0);
    first.reset();
    EXPECT_EQ(log.count("deletes sharedMemoryRec"), 0);
    second->setSharedMemory(nullptr);
    EXPECT_EQ(log.count("second deletes sharedMemoryRec of size 200"), 1);
    EXPECT_EQ(second->getSharedMemory(), nullptr);
    third.reset();
    EXPECT_EQ(AM_liveAllocations(), blocks);
}
