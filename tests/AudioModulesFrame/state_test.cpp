// A state as text and as a stream, on a small manager with rows of every kind.
#include "AM_Assert.h"
#include "AM_ChunkCodec.h"
#include "AM_MemoryFilesystem.h"
#include "AM_Messages.h"
#include "AM_PresetAdapter.h"
#include "AM_StateReader.h"
#include "AM_StateRows.h"
#include "AudioModulesFrame/TestManager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

std::vector<ParameterInfo> moduleRows() {
    using P = ParameterInfo;
    return {P("Gain", "Long Gain", k_float, -10, 10, 1),
            P("Count", "Counter", k_integer, 0, 9, 3),
            P("Ref", "Reference", k_reference, -1, 1000, -1),
            P("Text", "Some Text", k_complexText, 0, 32, 0),
            P("Data", "Some Data", k_complex, 0, 12, 0),
            P("Push", "Button", k_integer, 0, 1, 0).withFlags(k_flagMomentary),
            P("View", "View Row", k_integer, 0, 9, 2).withFlags(k_flagView),
            P("Meter", "A Meter", k_meter, 0, 1, 0)};
}

class State : public testing::Test {
protected:
    State() {
        module = man.plan("Mod: Module", moduleRows());
        man.initialize();
    }
    AM_ParaMan& paraMan() { return *man.getParaMan(); }
    i32 id(const char* name) { return paraMan().findParameter(name); }
    f32 value(const char* name) { return paraMan().getParameterTarget(id(name)); }
    void set(const char* name, f32 to) { paraMan().setParameterValue(id(name), to, 0, true); }
    void setText(const char* name, const std::string& text) {
        paraMan().setParameterValueComplex(id(name), text.c_str(),
                                           static_cast<i32>(text.size()) + 1);
    }
    bool load(const std::string& text, i32 mode = k_loadPreset) {
        return paraMan().loadStateText(text.c_str(), static_cast<i32>(text.size()) + 1, mode);
    }
    std::string save(bool complete = true, const char* header = nullptr) {
        i32 size = 0;
        const char* text = man.getStateInfo(&size, complete, header);
        EXPECT_EQ(static_cast<size_t>(size), std::strlen(text) + 1);
        return text;
    }
    // The lines of the section of "Mod".
    std::string section(const std::string& state) {
        const size_t from = state.find("#cm=Mod\n");
        return state.substr(from, state.find("\n\n", from) + 1 - from);
    }

    LogCapture log;
    TestMan man;
    TestModule* module = nullptr;
};

TEST_F(State, IsWrittenAsTheFormatSays) {
    set("Gain", -2.5f);
    set("Ref", static_cast<f32>(id("Mod:Count")));
    setText("Text", "it's //$ ok");
    set("PatchFormat", 0);
    paraMan().setLocked(id("Count"), true);
    setText("MetaA", "O'Hara */");
    man.pluginInfo.versionNumber = 0x10A00;

    const std::string text = save(true, "#pgm=A $ name\n");
    EXPECT_TRUE(text.starts_with("#pgm=A $ name\n/*@meta\n\nAuthor:\n'O\\'Hara *\\/'\n\n"
                                 "Description:\n''\n\nUsage:\n''\n\nCategories:\n''\n\n"
                                 "Features:\n''\n\nCharacter:\n''\n\n*/\n\n"
                                 "#AM=AM_Plugin\n#Vers=10A00\n#Endian=little\n"
                                 "\n/*\n\n\tMain Loop Circuit\n\n*/\n\n#cm=main\n"))
        << text;
    EXPECT_EQ(section(text), "#cm=Mod\nGain=-2.50\nCount=3\nRef=Mod:Count\nText='it''s //$ ok'\n"
                             "Data=28\nView=2\n#lock=Mod:Count\n");
    EXPECT_NE(text.find("\nSBase=1/4\nSwing=0.00\n"), text.npos);
    EXPECT_NE(text.find("\nPForm=native\n"), text.npos);
    for (const char* left : {"\nFix1=", "\nSLite=", "\nMidiC=", "\nUI_op=", "\n0Instnc=",
                             "\nupdCplx=", "\nMetaA=", "\nPush=", "\nMeter=", "\nLevels="})
        EXPECT_EQ(text.find(left), text.npos) << left;
    const size_t chunk = text.find("\n\n// Section for ugly compressed binary Data\n"
                                   "// DON'T TOUCH THIS\n\n$$$$128\n?");
    ASSERT_NE(chunk, text.npos);
    EXPECT_EQ(text.back(), '\n');

    paraMan().setStateComments(true);
    set("Ref", -1);
    set("0Instnc", 1);
    const std::string plain = save(false);
    EXPECT_EQ(section(plain), "#cm=Mod\nGain=-2.50\t\t\t// Long Gain\nCount=3\t\t\t\t// Counter\n"
                              "Ref=none:assigned\t// Reference\nText='it''s //$ ok'\n"
                              "Data=28\t\t\t\t// binary data for Some Data\n");
    EXPECT_NE(plain.find("\nPForm=native\t\t\t\t// PatchFormat\n"), plain.npos);
    EXPECT_EQ(plain.find("CoreN="), plain.npos);

    set("PatchFormat", 2);
    set("SelectModule", static_cast<f32>(module->getObjectId()));
    const std::string selected = save(false);
    EXPECT_NE(selected.find("#cm=Mod"), selected.npos);
    EXPECT_EQ(selected.find("#cm=PCore"), selected.npos);
    EXPECT_TRUE(log.has("PCore: Parameter Core not part of save"));
    paraMan().createSetting(nullptr, nullptr);
    EXPECT_TRUE(log.has("AM_ParaMan::createSetting: inParamReportProc is NULL!"));
}

TEST_F(State, WholePresetsSetWhatTheyDoNotNameToItsDefault) {
    const auto spoil = [this] {
        set("Gain", 7);
        set("Count", 8);
        set("View", 5);
        setText("Text", "old");
    };
    const auto values = [this] {
        return std::vector<f32>{value("Gain"), value("Count"), value("View")};
    };
    const struct {
        const char* text;
        i32 mode;
        std::vector<f32> wanted;
        const char* textRow;
    } cases[] = {
        {"#cm=Mod\nGain=2", k_loadPreset, {2, 3, 5}, ""},
        {"#cm=Mod\nGain=2", k_loadSong, {2, 3, 2}, ""},
        {"#cm=Mod\nGain=2", k_loadPartial, {2, 8, 5}, "old"},
        {"#defaults=no\n#cm=Mod\nGain=2", k_loadPreset, {2, 8, 5}, "old"},
        {"#defaults=yes\n#cm=Mod\nGain=2", k_loadPartial, {2, 3, 5}, ""},
        {"#cm=Mod\nText='new'\nView=1", k_loadPreset, {1, 3, 1}, "new"},
        // What is no value of ours sets no defaults.
        {"#cm=Other\nGain=2\nnoise", k_loadPreset, {7, 8, 5}, "old"},
        {"", k_loadSong, {7, 8, 5}, "old"},
        {"#cm=Mod\nGain=abc\nCount=1/4", k_loadPreset, {7, 8, 5}, "old"},
        // Limits, lists, kinds that states do not set.
        {"#cm=Mod\nGain=1e9\nCount=-3\nPush=1\nMeter=1", k_loadPartial, {10, 0, 5}, "old"},
        {"#cm = Mod // the module\nGain\t=\t'3.5' // three", k_loadPartial, {3.5f, 8, 5}, "old"},
    };
    for (const auto& c : cases) {
        spoil();
        load(c.text, c.mode);
        EXPECT_EQ(values(), c.wanted) << c.text;
        EXPECT_EQ(paraMan().getText(id("Text")), c.textRow) << c.text;
    }
    EXPECT_TRUE(log.has("CHUNK INDEX UNDEFINED - 'abc'"));
    EXPECT_TRUE(log.has("Can't find 'Other'"));
    EXPECT_EQ(module->processed, 0);
}

TEST_F(State, LocksHoldAgainstPresetsAndComeWithSongs) {
    set("Gain", 7);
    paraMan().setLocked(id("Gain"), true);
    load("#cm=Mod\nGain=2\nCount=5\n#lock=Mod:Count\n#lock=Mod:Huh");
    EXPECT_EQ(value("Gain"), 7);
    EXPECT_EQ(value("Count"), 5) << "locked by the same text";
    EXPECT_TRUE(paraMan().isLocked(id("Count")));
    EXPECT_TRUE(log.has("#lock, no Param found : 'Mod:Huh'"));
    load("#cm=Mod\nGain=2\n#lock=Mod:Count", k_loadSong);
    EXPECT_EQ(value("Gain"), 2);
    EXPECT_FALSE(paraMan().isLocked(id("Gain")));
    EXPECT_TRUE(paraMan().isLocked(id("Count")));
}

TEST_F(State, HeaderLinesDoWhatTheySay) {
    load("#Vers=20000\n#patchname=no\n#pgm=x\n!EDITOR=YES\n#cm=PCore\nRev=4000\nSBase=1/2T\n");
    EXPECT_EQ(paraMan().getPatchVersion(), 0x20000);
    EXPECT_EQ(value("PatchNamed"), 0);
    EXPECT_EQ(value("Revision"), 4102);
    EXPECT_EQ(value("SwingBase"), 9);
    EXPECT_EQ(man.getPreference(k_prefEditor), 0);
    EXPECT_TRUE(log.has("Preset for rev 4000 loaded into rev 4102, Revision"));
    paraMan().setTakesSetUpText(true);
    load("!EDITOR=YES\n!SMOOTH_MIDI_CTRLS=SMOOTH\n#Vers=0");
    EXPECT_EQ(man.getPreference(k_prefEditor), 1);
    EXPECT_EQ(man.getPreference(k_prefMidiSmoothing), 2);
    EXPECT_EQ(paraMan().getPatchVersion(), 0x20000);
    EXPECT_TRUE(log.has("stateInfoLevel level back to 0"));
}

TEST_F(State, MetadataStandsInItsBlock) {
    load("/*@meta\n\nAuthor:\n'Ann \\'A\\' \\\\'\n\nDescription:\n'Two\nlines, Usage:\n\"x\"'\n\n"
         "Usage: none '\n\nCategories:'caf\xc3\xa9'\n*/ Features:'no'\n#cm=Mod\nGain=1");
    EXPECT_EQ(paraMan().getText(id("MetaA")), "Ann 'A' \\");
    EXPECT_EQ(paraMan().getText(id("MetaD")), "Two\nlines, Usage:\n\"x\"");
    EXPECT_EQ(paraMan().getText(id("MetaH")), "");
    EXPECT_EQ(paraMan().getText(id("MetaCatebories")), "caf\xc3\xa9");
    EXPECT_EQ(paraMan().getText(id("MetaFeatures")), "");
    load("/*@meta\nAuthor:'" + std::string(126, 'x') + "\xc3\xa9'*/#cm=Mod\nGain=1");
    EXPECT_EQ(paraMan().getText(id("MetaA")), std::string(126, 'x')) << "no half character";
}

TEST_F(State, ChunksBringTheBytesOfComplexRows) {
    std::memcpy(module->bytes.data() + 4 * 64, "hello, world", 12);
    const std::string good = save();
    const auto data = [this] { return std::string(module->bytes.data() + 4 * 64, 12); };
    const auto spoil = [this] { std::memset(module->bytes.data() + 4 * 64, 'x', 12); };
    spoil();
    ASSERT_TRUE(load(good));
    EXPECT_EQ(data(), "hello, world");

    std::string bad = good;
    bad[bad.find('?') + 3] ^= 1;
    spoil();
    EXPECT_TRUE(load("#cm=Mod\nGain=4\n" + bad));
    EXPECT_EQ(data(), "xxxxxxxxxxxx");
    EXPECT_TRUE(log.has("CHUNK IS NULL"));
    // A damaged one in front of the good one is passed over.
    EXPECT_TRUE(load(bad + good.substr(good.find("$$$$"))));
    EXPECT_EQ(data(), "hello, world");
    // Bytes without a section's header; and a count beyond the chunk.
    std::string chunk;
    encodeChunk(chunk, "raw bytes!!!", 12);
    EXPECT_TRUE(load("#cm=Mod\nData=12\n$$$$12\n" + chunk + std::string(60, '\n')));
    EXPECT_EQ(data(), "raw bytes!!!");
    EXPECT_FALSE(load("#cm=Mod\nData=13\n$$$$12\n" + chunk + std::string(60, '\n')));
    EXPECT_EQ(data(), "raw bytes!!!");
    for (const char* size : {"0", "x", "1000001", "99999999999999999999"})
        load("#cm=Mod\nData=12\n$$$$" + std::string(size) + "\n" + chunk + std::string(60, '\n'));
    EXPECT_TRUE(log.has("couldn't determine max size of compressed binary chunk.../n"));
    EXPECT_TRUE(log.has("Horribly big number for binary chunk: 1000001/n"));
    EXPECT_TRUE(load("#cm=Mod\nData=12\n$$$$1000000\n" + chunk + std::string(60, '\n')));

    // Raw bytes behind the terminator, only inside the size.
    const std::string raw("#cm=Mod \nData=12\0\0\0\0behind text!", 32);
    EXPECT_TRUE(paraMan().loadStateText(raw.data(), 32, k_loadPartial));
    EXPECT_EQ(data(), "behind text!");
    spoil();
    EXPECT_FALSE(paraMan().loadStateText(raw.data(), 31, k_loadPartial));
    EXPECT_EQ(data(), "xxxxxxxxxxxx");
}

TEST_F(State, LoadsNestSevenDeep) {
    i32 depth = 0, deepest = 0;
    module->rows[0].flags |= k_flagNotifyOwner;
    paraMan().runtime().rows[id("Gain")].flags |= k_flagNotifyOwner;
    module->onChange = [&](i32 index, f32&, f32) {
        if (index != 0) return;
        deepest = std::max(deepest, ++depth);
        if (depth < 20) load("#cm=Mod\nGain=" + std::to_string(depth % 9), k_loadPartial);
        --depth;
    };
    load("#cm=Mod\nGain=5\nCount=6", k_loadPartial);
    EXPECT_EQ(deepest, 7);
    EXPECT_EQ(value("Count"), 6);
    EXPECT_TRUE(log.has("stateInfoLevel exceeds limit"));
}

TEST_F(State, ALoadThatBreaksOffLeavesAPlayableInstance) {
    paraMan().runtime().rows[id("Count")].flags |= k_flagNotifyOwner;
    module->onChange = [](i32, f32&, f32) { throw std::bad_alloc(); };
    const std::string text = "#cm=Mod\nGain=5\nCount=6\nGain=7";
    EXPECT_FALSE(man.setStateInfo(text.c_str(), static_cast<i32>(text.size()), true));
    EXPECT_EQ(value("Gain"), 5);
    module->onChange = nullptr;
    man.run(64, 0.5f);
    man.run(64, 0.5f);
    EXPECT_EQ(man.output[0][0], 0.5f);
    EXPECT_TRUE(man.setStateInfo(text.c_str(), static_cast<i32>(text.size()), true));
    EXPECT_EQ(value("Gain"), 7);
}

class Adapter : public AM_IPresetAdapter {
public:
    void start() override { calls += "start "; }
    bool applyDefaults(AM_ParaMan&) override { return false; }
    void versionFound(u32 version) override { calls += std::to_string(version) + ' '; }
    std::string moduleName(std::string_view) override { return "Mod"; }
    std::string parameterName(std::string_view module, std::string_view name) override {
        calls += std::string(module) + '.' + std::string(name) + ' ';
        return "Gain";
    }
    std::string calls;
};

class AdaptingMan : public TestMan {
public:
    AM_IPresetAdapter* findPresetAdapter(const char* name) override {
        return std::strcmp(name, "Elder") == 0 ? &adapter : nullptr;
    }
    Adapter adapter;
};

TEST(StateAdapter, TranslatesPresetsOfOthers) {
    LogCapture log;
    AdaptingMan man;
    man.plan("Mod: Module", moduleRows());
    man.initialize();
    const std::string text = "/* #AM=No */\n#AM=Elder\n#Vers=11\n#cm=Amp\nLoud=4\n";
    EXPECT_TRUE(man.setStateInfo(text.c_str(), static_cast<i32>(text.size()), false));
    EXPECT_EQ(man.adapter.calls, "start 17 Amp.Loud ");
    const i32 gain = man.getParaMan()->findParameter("Mod:Gain");
    EXPECT_EQ(man.getParaMan()->getParameterTarget(gain), 4);
    EXPECT_TRUE(log.has("seeking for a PresetAdapter for 'Elder'"));
    EXPECT_TRUE(log.has("no defaults"));
}

TEST(StateMatrix, SourcesAreFoundByName) {
    TestMan man(1);
    man.plan("LFO: Wave", std::vector<ParameterInfo>{}, 2, 0, 1);
    man.plan("Mod: Module", moduleRows());
    man.initialize();
    AM_ParaMan& paraMan = *man.getParaMan();
    i32 size = 0;
    const std::string text = man.getStateInfo(&size, true, nullptr);
    const size_t table = text.find("\tModulator Reference Table");
    ASSERT_NE(table, text.npos);
    EXPECT_NE(text.find("#ms=Wave\n", table), text.npos);
    const std::string other = "#nm=3\n#ms=none\n#ms=Gone\n#ms=Wave\n#cm=PCore\nMMS1=2\nMMVS1=1\n"
                              "MMT1=Mod:Gain\nMMD1=10";
    ASSERT_TRUE(paraMan.loadStateText(other.c_str(), static_cast<i32>(other.size()), 2));
    const auto value = [&](const char* name) {
        return paraMan.getParameterTarget(paraMan.findParameter(name));
    };
    EXPECT_EQ(value("MMS1"), man.findObject("Wave")->getFirstModSource());
    EXPECT_EQ(value("MMVS1"), 0);
    EXPECT_EQ(value("MMT1"), paraMan.findParameter("Mod:Gain"));
}

TEST_F(State, StreamsHoldRawValuesAndSurviveDamage) {
    set("Gain", 0.123456f);
    setText("Text", "kept");
    i32 size = 0;
    const auto* bytes = static_cast<const u8*>(paraMan().writeState(&size));
    const std::vector<u8> stream(bytes, bytes + size);
    EXPECT_EQ(std::vector<u8>(stream.begin(), stream.begin() + 4),
              (std::vector<u8>{4, 0, 0xFF, 0xFF}));
    set("Gain", 1);
    set("Count", 1);
    setText("Text", "");
    paraMan().setLocked(id("Count"), true);
    EXPECT_TRUE(paraMan().readState(stream.data(), size));
    EXPECT_EQ(value("Gain"), 0.123456f);
    EXPECT_EQ(value("Count"), 1);
    EXPECT_EQ(paraMan().getText(id("Text")), "kept");
    for (i32 length = 0; length < size - 4; ++length) {
        // Copied, so that a byte read behind the end is found.
        const std::vector<u8> part(stream.begin(), stream.begin() + length);
        EXPECT_FALSE(paraMan().readState(part.data(), length)) << length;
    }
    const u8 end[4] = {};
    EXPECT_TRUE(paraMan().readState(end, 4));
    EXPECT_FALSE(paraMan().readState(nullptr, 0));
}

TEST_F(State, IsSavedInTwoStepsAndRefusedWhenItIsNone) {
    i32 size = 5;
    EXPECT_EQ(man.fetchStateInfo(&size), nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_TRUE(log.has("stateInfoCachePhase not 1 during fetch"));
    const i32 prepared = man.prepareStateInfo("#pgm=x");
    set("Gain", 9);
    const std::string text = man.fetchStateInfo(&size);
    EXPECT_EQ(size, prepared);
    EXPECT_NE(text.find("Gain=1.00"), text.npos);
    EXPECT_TRUE(man.setStateInfo(text.c_str(), size, true));
    EXPECT_EQ(value("Gain"), 1);
    EXPECT_GT(module->resets, 1);

    const std::string huge(16 << 20, 'A');
    EXPECT_FALSE(man.setStateInfo(huge.data(), static_cast<i32>(huge.size()), true));
    EXPECT_FALSE(man.setStateInfo(nullptr, 4, true));
    EXPECT_FALSE(man.setStateInfo("x", -1, true));
    EXPECT_THROW(man.getFilesystem(), AM_AssertionError);
}

TEST_F(State, PresetFilesAreReadWholeOrNotAtAll) {
    AM_MemoryFilesystem files;
    set("Gain", 6);
    ASSERT_TRUE(man.savePreset(files, "a.q3p"));
    const std::string text = files.open("a.q3p", AM_Filesystem::kRead)->getContentBuffer();
    EXPECT_EQ(text.find("View="), text.npos);
    EXPECT_EQ(value("0Instnc"), 0);
    ASSERT_TRUE(
        files.replaceFile("b.FXP", (std::string(60, '\0') + text).data(), 60 + text.size()));
    ASSERT_TRUE(files.replaceFile("short.fxp", text.data(), 59));
    ASSERT_TRUE(files.replaceFile("empty.fxp", text.data(), 60));
    ASSERT_TRUE(files.replaceFile("a.txt", text.data(), text.size()));
    for (const char* good : {"a.q3p", "b.FXP"}) {
        set("Gain", 1);
        EXPECT_TRUE(man.loadPreset(files, good)) << good;
        EXPECT_EQ(value("Gain"), 6) << good;
    }
    set("Gain", 3);
    for (const char* bad : {"short.fxp", "empty.fxp", "a.txt", "none.q3p", "..\\a.q3p", ""})
        EXPECT_FALSE(man.loadPreset(files, bad)) << bad;
    EXPECT_EQ(value("Gain"), 3);

    man.setPresetFileName("caf\xc3\xa9.q3p");
    EXPECT_EQ(man.getPresetFileName(), "caf\xc3\xa9.q3p");
    man.setPresetFileName((std::string(62, 'n') + "\xc3\xa9").c_str());
    EXPECT_EQ(man.getPresetFileName(), std::string(62, 'n'));
}

} // namespace
