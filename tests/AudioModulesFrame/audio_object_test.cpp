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
    std::vector<ParameterInfo> table;
    for (int i = 0; i < count; ++i)
        table.emplace_back("p", "p", k_float, 0, 1, 0);
    return table;
}

// A module with named sizes; root of a small tree in most tests.
std::unique_ptr<TestModule> module(const char* name, i32 dataBytes = 0, i32 modBytes = 0,
                                   int parameters = 0, u32 bits = 0) {
    auto made = std::make_unique<TestModule>(nullptr, name, rows(parameters), 2, bits);
    made->dataBytes = dataBytes;
    made->modBytes = modBytes;
    return made;
}

class Voices : public TestModule {
public:
    explicit Voices(i32 voices) : TestModule(nullptr, "voi: Voices") { numVoices = voices; }
};

// Sees the protected fields.
class Peek : public TestModule {
public:
    using TestModule::TestModule;
    i32 floats() const { return dataFloats; }
    i32 stride() const { return voiceStride; }
    f32* block() const { return data; }
    i32 modSource() const { return firstModSource; }
    const char* hint() const { return hintText; }
};

} // namespace

TEST(AudioObject, NamesAreSplitAndCut) {
    const auto fdn = module("FDN: Delay Network");
    EXPECT_STREQ(fdn->getShortName(), "FDN");
    EXPECT_STREQ(fdn->getLongName(), "Delay Network");
    const auto plain = module("withoutAnyColon");
    EXPECT_STREQ(plain->getShortName(), "without");
    EXPECT_STREQ(plain->getLongName(), "withoutAnyColon");
    const auto huge = module(std::string(100, 'n').c_str());
    EXPECT_EQ(std::strlen(huge->getName()), 31u);
    EXPECT_STREQ(module(nullptr)->getName(), "untitled");

    EXPECT_TRUE(fdn->matchesShortName("FDx")); // all but the last character
    EXPECT_TRUE(fdn->matchesShortName("FD"));
    EXPECT_TRUE(fdn->matchesShortName(""));
    EXPECT_FALSE(fdn->matchesShortName("FxN"));
    EXPECT_FALSE(fdn->matchesShortName("FDN: Delay Network"));
}

TEST(AudioObject, MemoryIsTheSumOfRoundedSizes) {
    auto root = module("root", 20, 4);
    auto* child = module("child", 100, 68).release();
    auto* empty = module("empty", 0, 0).release();
    auto* last = module("last", 16, 16).release();
    root->add(child);
    root->add(empty);
    root->add(last);
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
    Voices root(3);
    auto* child = new Peek(nullptr, "child");
    auto* second = new Peek(nullptr, "second");
    child->dataBytes = 32;
    second->dataBytes = 16;
    root.add(child);
    root.add(second);
    ASSERT_EQ(root.sizeDataBlock(), 3 * 48);
    alignas(16) f32 data[36], mod[4] = {};
    for (f32& value : data)
        value = 1;
    std::memset(data + 12, 0, 24 * sizeof(f32));
    f32 *nextData = data, *nextMod = mod;
    root.sizeModBlock();
    root.assignMemory(&nextData, &nextMod, nullptr);
    EXPECT_EQ(nextData, data + 36);
    EXPECT_EQ(child->stride(), 48);
    // A quarter of each voice is copied: 8 floats as 8 bytes.
    for (int voice = 1; voice < 3; ++voice) {
        EXPECT_EQ(data[voice * 12 + 1], 1);
        EXPECT_EQ(data[voice * 12 + 2], 0);
        EXPECT_EQ(data[voice * 12 + 8], 1);
        EXPECT_EQ(data[voice * 12 + 9], 0);
    }
}

TEST(AudioObject, FlatIndexRunsOverTheSubtree) {
    auto root = module("root", 0, 0, 2);
    auto* child = module("child", 0, 0, 1).release();
    auto* below = module("below", 0, 0, 3).release();
    auto* last = module("last", 0, 0, 1).release();
    root->add(child);
    child->add(below);
    root->add(last);
    EXPECT_EQ(root->getNumParametersAll(true), 7);
    EXPECT_EQ(root->getNumParametersAll(false), 2);
    EXPECT_EQ(child->getNumParametersAll(true), 5); // with the sibling behind it
    EXPECT_EQ(root->getParameterInfoAll(2), &child->rows[0]);
    EXPECT_EQ(root->getParameterInfoAll(5), &below->rows[2]);
    EXPECT_EQ(root->getParameterInfoAll(6), &last->rows[0]);
    EXPECT_EQ(root->getParameterInfoAll(7), nullptr);
    EXPECT_EQ(root->getParameterInfoAll(-1), nullptr);
    ParameterInfo copy;
    EXPECT_TRUE(root->copyParameterInfoAll(5, &copy));
    EXPECT_EQ(copy.indexInOwner, 2);
    EXPECT_FALSE(root->copyParameterInfoAll(7, &copy));

    LogCatcher log;
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
    i32 sources = 1, buffers = 1, objects = 0, circuits = 0;
    sender.sendMessage(0, AM_Message_NumberModSources, 0, &sources);
    sender.sendMessage(0, AM_Message_NumberModBuffers, 0, &buffers);
    sender.sendMessage(0, AM_Message_NumberObjects, 0, &objects);
    sender.sendMessage(0, AM_Message_NumberCircuits, 0, &circuits);
    EXPECT_EQ(sources, 5);
    EXPECT_EQ(buffers, 3);
    EXPECT_EQ(objects, 3);
    EXPECT_EQ(circuits, 1);
    EXPECT_EQ(some.modSource(), 1);
    EXPECT_EQ(one.modSource(), 4);

    AM_ModSourceName names[5] = {};
    sender.sendMessage(0, AM_Message_NameModSources, 0, names);
    EXPECT_STREQ(names[3].name, "Some Sources 2");
    EXPECT_STREQ(names[4].name, "One");
    EXPECT_EQ(names[4].word, 0xA0000u);

    AM_AudioObject* table[3] = {};
    AM_ObjectDescription records[3] = {};
    i32 circuitTable[1] = {-1};
    sender.sendMessage(0, AM_Message_CollectObjects, 0, table);
    sender.sendMessage(k_classAudioObject, AM_Message_DescribeObject, 0, records);
    sender.sendMessage(k_classAudioObject, AM_Message_CollectCircuits, 0, circuitTable);
    EXPECT_EQ(table[1], &some);
    EXPECT_STREQ(records[1].shortName, "so");
    EXPECT_STREQ(records[1].longName, "Some Sources");
    EXPECT_EQ(circuitTable[0], 2);

    char text[200];
    std::memset(text, 'h', sizeof text);
    text[199] = 0;
    sender.sendMessage(0, AM_Message_HintText, 0, text);
    EXPECT_EQ(std::strlen(some.hint()), 127u);
}

TEST(AudioObject, SharedMemoryGrowsAndGoesWithTheLastUser) {
    const size_t blocks = AM_liveAllocations();
    LogCatcher log;
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

TEST(AudioObject, InUseAsksEveryChildOnce) {
    auto root = module("root");
    for (const char* name : {"a", "b", "c"})
        root->add(module(name).release());
    EXPECT_FALSE(root->isInUse()); // and comes back
    static_cast<TestModule*>(root->getFirstChild()->getNext()->getNext())->changeUseCount(true);
    EXPECT_TRUE(root->isInUse());

    auto circuit = module("circuit", 0, 0, 0, k_classAudioCircuit);
    circuit->add(module("used").release());
    static_cast<TestModule*>(circuit->getFirstChild())->changeUseCount(true);
    EXPECT_FALSE(circuit->isInUse());
}

TEST(AudioObject, ChainsFollowTheTree) {
    constexpr u32 both = k_audioJoinsMidiChain | k_audioJoinsProcessorChain;
    auto root = module("root", 0, 0, 0, both);
    auto* outside = module("outside").release();
    auto* inside = module("inside", 0, 0, 0, both).release();
    auto* last = module("last", 0, 0, 0, k_audioJoinsMidiChain).release();
    root->add(outside);
    outside->add(inside);
    root->add(last);
    AM_MidiEventChain* midi = nullptr;
    AM_MidiEventChain** midiTail = &midi;
    root->collectMidiChain(&midiTail);
    EXPECT_EQ(midi, root.get());
    EXPECT_EQ(root->nextInChain, inside);
    EXPECT_EQ(inside->nextInChain, last);
    EXPECT_EQ(last->nextInChain, nullptr);

    AM_AudioObject* processor = nullptr;
    AM_AudioObject** processorTail = &processor;
    root->collectProcessorChain(&processorTail);
    EXPECT_EQ(processor, root.get());
}

TEST(AudioObject, GroupComesFromTheParent) {
    auto root = module("root");
    root->setGroup(4);
    auto* child = module("child").release();
    EXPECT_EQ(child->getGroup(), -1);
    root->add(child);
    EXPECT_EQ(child->getGroup(), 4);
}

TEST(ActiveMods, BitsBeyondTheWordsAreLeftOut) {
    BlockContext context{};
    AM_ActiveMods mods;
    for (const i32 buffer : {-1, 0, 1, 23, 24, 55, 56, 1000})
        mods.change(buffer, true);
    mods.change(1, true);
    mods.change(1, false);
    mods.rebuild(context);
    EXPECT_EQ(context.activeMods[0], 1u | 1u << 22);
    EXPECT_EQ(context.activeMods[1], 1u | 1u << 31);
    EXPECT_TRUE(AM_isModBufferActive(context, 24));
    for (const i32 buffer : {-5, 0, 2, 56, 88})
        EXPECT_FALSE(AM_isModBufferActive(context, buffer));
    mods.change(1, false);
    mods.rebuild(context);
    EXPECT_FALSE(AM_isModBufferActive(context, 1));
}
