// The installed bundle, loaded as hosts load it.
#include "AM_Files/TemporaryFolder.h"
#include "TestInstance.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Steinberg::kResultOk;
using Names = std::set<std::string>;

const std::string k_bundle = "Glassmere.vst3";
const std::string k_installed = GLASSMERE_PREFIX "/lib/vst3/" + k_bundle;
const std::string k_own = ".vst3/" + k_bundle; // below the user's home
const std::string k_presets = "Contents/Resources/vela/Presets/Glassmere/";

const std::string k_fonts = "Contents/Resources/vela/Glassmere/Data/Fonts/";

// The lines that `command` prints, with $so for the installed library.
Names lines(const std::string& command) {
    const std::string shell =
        "export LC_ALL=C so='" + k_installed + "/" GLASSMERE_BINARIES "/Glassmere.so'; " + command;
    FILE* const output = popen(shell.c_str(), "r");
    std::array<char, 4096> line;
    Names all;
    while (fgets(line.data(), line.size(), output) != nullptr)
        all.insert(std::string(line.data(), strcspn(line.data(), "\n")));
    EXPECT_EQ(pclose(output), 0) << command;
    return all;
}

// Names of all files below `folder`.
Names files(const std::string& folder) {
    Names names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        if (!entry.is_directory()) names.insert(entry.path().lexically_relative(folder));
    return names;
}

// A user without display who has nothing but the bundle.
class Library : public testing::Test {
protected:
    Library() {
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
            unsetenv(name);
        setenv("HOME", home.path().c_str(), 1);
        home.makeFolder(".vst3");
        fs::copy(k_installed, home / k_own, fs::copy_options::recursive);
    }
    // What a fresh instance of a bundle keeps in a project.
    std::string stateOf(const std::string& bundle) const {
        return TestInstance(TestModule(home / bundle)).save();
    }
    TemporaryFolder home;
};

TEST(LibraryFile, exportsItsEntryPointsAlone) {
    EXPECT_EQ(lines("nm -D --defined-only $so | sed 's/.* //'"),
              (Names{"GetPluginFactory", "ModuleEntry", "ModuleExit", "InitDll", "ExitDll",
                     "getPlugName", "resolveShortcut",
                     "_ZN17AM_VST3_Processor11process4102ERN9Steinberg3Vst11ProcessDataE"}));
#ifndef GLASSMERE_SANITIZED // they bring libraries of their own
    Names needed = lines("readelf -dW $so | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\]/\\1/p'");
    EXPECT_EQ(needed.erase("libc.so.6"), 1u);
    for (const char* ofTheCLibrary : {"libm.so.6", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"})
        needed.erase(ofTheCLibrary);
    EXPECT_EQ(needed, Names{});
#endif
    // All libraries together have some 1600 bytes of each thread for such data.
    const Names size = lines("readelf -lW $so | awk '$1 == \"TLS\" { print $6 }'");
    ASSERT_EQ(size.size(), 1u);
    EXPECT_LE(std::stoul(*size.begin(), nullptr, 16), 128u);
}

TEST(LibraryFile, isInstalledWithItsData) {
    const std::string bundle = "lib/vst3/" + k_bundle + "/",
                      shared = "share/vela/Presets/Glassmere/";
    EXPECT_EQ(
        files(GLASSMERE_PREFIX),
        (Names{"bin/glassmere-render", bundle + GLASSMERE_BINARIES "/Glassmere.so",
               bundle + "Contents/Resources/moduleinfo.json", bundle + k_presets + "default.q3p",
               bundle + k_presets + "initialize.q3p", bundle + k_fonts + "Vera.ttf",
               bundle + k_fonts + "Vera-licence.txt", shared + "default.q3p",
               shared + "initialize.q3p", "share/vela/Glassmere/Data/Fonts/Vera.ttf",
               "share/vela/Glassmere/Data/Fonts/Vera-licence.txt",
               "share/doc/glassmere/copyright"}));
}

// What a host that reads the list instead of the library takes for true.
TEST_F(Library, isAsItsModuleInfoSays) {
    const TestModule module(home / k_own);
    Steinberg::PFactoryInfo about;
    ASSERT_EQ(module.factory()->getFactoryInfo(&about), kResultOk);
    json flags = {
        {"Unicode", (about.flags & about.kUnicode) != 0},
        {"Classes Discardable", (about.flags & about.kClassesDiscardable) != 0},
        {"Component Non Discardable", (about.flags & about.kComponentNonDiscardable) != 0}};
    json expected = {
        {"Name", "Glassmere"},
        {"Factory Info",
         {{"Vendor", about.vendor}, {"URL", about.url}, {"E-Mail", about.email}, {"Flags", flags}}},
        {"Classes", json::array()},
    };
    ASSERT_EQ(module.factory()->countClasses(), 2);
    for (int i = 0; i < 2; ++i) {
        const Steinberg::PClassInfo2 info = module.classInfo(i);
        std::array<char, 33> id;
        Steinberg::FUID::fromTUID(info.cid).toString(id.data());
        const std::string vendor = info.vendor;
        json entry = {{"CID", id.data()},
                      {"Category", info.category},
                      {"Name", info.name},
                      {"Vendor", vendor.empty() ? about.vendor : vendor}, // as a host takes it
                      {"Version", info.version},
                      {"SDKVersion", info.sdkVersion},
                      {"Class Flags", info.classFlags},
                      {"Cardinality", info.cardinality},
                      {"Snapshots", json::array()}};
        std::istringstream categories(info.subCategories);
        for (std::string name; std::getline(categories, name, '|');)
            entry["Sub Categories"].push_back(name);
        expected["Classes"].push_back(entry);
    }
    expected["Version"] = expected["Classes"][0]["Version"];
    EXPECT_EQ(json::parse(home.read(k_own + "/Contents/Resources/moduleinfo.json")), expected);
}

TEST_F(Library, isLoadedTwiceAndAgain) {
    const std::string copy = "elsewhere/" + k_bundle;
    home.makeFolder("elsewhere");
    fs::copy(home / k_own, home / copy, fs::copy_options::recursive);
    const std::string state = stateOf(k_own);
    EXPECT_FALSE(state.empty());
    for (int round = 0; round < 3; ++round) {
        const TestModule first(home / k_own);
        {
            const TestModule second(home / k_own), other(home / copy);
            EXPECT_EQ(first.factory(), second.factory());
            EXPECT_NE(first.factory(), other.factory());
            EXPECT_EQ(TestInstance(other).save(), state);
        }
        // One that outlives the others' exit.
        EXPECT_EQ(TestInstance(first).save(), state);
    }
}

TEST_F(Library, bringsItsPresetsAndKeepsTheUsers) {
    const std::string factory = "FHNR248S-MERE", mine = "AGURZ36S-GLASS";
    const std::string preset = home.read(k_own + "/" + k_presets + "default.q3p");
    ASSERT_NE(preset.find(factory), std::string::npos);
    std::string changed = preset;
    changed.replace(changed.find(factory), factory.size(), mine);
    const auto before = home.snapshot();
    const auto plays = [&](const std::string& code) {
        return stateOf(k_own).find(code) != std::string::npos;
    };
    EXPECT_TRUE(plays(factory));
    for (const auto& [name, content] : before)
        EXPECT_EQ(home.read(name), content) << name;
    EXPECT_EQ(files(home / ".vst3"), files(k_installed + "/.."));

    // The bundle's go before those of the machine, the user's before the bundle's.
    home.write(k_own + "/" + k_presets + "default.q3p", changed);
    EXPECT_TRUE(plays(mine));
    home.write(".local/share/vela/Presets/Glassmere/default.q3p", preset);
    EXPECT_TRUE(plays(factory));
    EXPECT_EQ(home.read(k_own + "/" + k_presets + "default.q3p"), changed);
}

} // namespace
