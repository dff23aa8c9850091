// The state of the whole plug-in: what is saved sounds the same when it is loaded, and no text
// takes the instance down.
#include "AM_MemoryFilesystem.h"
#include "ground/LogCapture.h"
#include "PluginHarness.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

namespace {

#ifdef GLASSMERE_SANITIZED
constexpr i32 k_rounds = 100;
constexpr size_t k_hostileSize = 1 << 20;
constexpr size_t k_damageStep = 7;
#else
constexpr i32 k_rounds = 2000;
constexpr size_t k_hostileSize = (16 << 20) - 1;
constexpr size_t k_damageStep = 1;
#endif

std::string save(Plugin& plugin, const char* header = nullptr) {
    i32 size = 0;
    return plugin.man.getStateInfo(&size, true, header);
}

bool load(Plugin& plugin, const std::string& text, bool inSong = true) {
    return plugin.man.setStateInfo(text.data(), static_cast<i32>(text.size()), inSong);
}

std::string randomText(std::mt19937& engine, size_t most) {
    static const char* const pieces[] = {"a",
                                         "'",
                                         "\"",
                                         "$$$$9",
                                         "//",
                                         "/*",
                                         "*/",
                                         "\\",
                                         "\n",
                                         "\t",
                                         "#cm=FDN",
                                         "=",
                                         " Zz",
                                         "caf\xc3\xa9",
                                         "\xd0\xb7\xd0\xb2",
                                         "\xe6\xae\x8b\xe9\x9f\xbf\xf0\x9f\x8e\xb5"};
    std::string text;
    for (u32 n = engine() % 24; n > 0; --n) {
        const char* piece = pieces[engine() % std::size(pieces)];
        if (text.size() + std::strlen(piece) < most) text += piece;
    }
    return text;
}

// Sets every row that can be set to something else; values as the text holds them, of two decimals.
void scramble(Plugin& plugin, std::mt19937& engine) {
    AM_ParaMan& paraMan = plugin.paraMan();
    for (i32 id = 0; id < paraMan.getNumParams(); ++id) {
        const ParameterInfo& row = *paraMan.row(id);
        if (row.isMeter() || (row.flags & k_flagMomentary)) continue;
        const auto most = static_cast<size_t>(row.maxValue);
        if (row.kind == k_complexText) {
            const bool code = plugin.id("Params") == id;
            const std::string text = code && engine() % 4
                                         ? randomCode(engine)
                                         : randomText(engine, std::min<size_t>(most, 100));
            paraMan.setParameterValueComplex(id, text.c_str(), static_cast<i32>(text.size()) + 1);
        } else if (row.isComplex()) {
            std::vector<u8> bytes(most);
            for (u8& byte : bytes)
                byte = engine() % 3 ? 0 : static_cast<u8>(engine());
            paraMan.setParameterValueComplex(id, bytes.data(), static_cast<i32>(most));
        } else {
            const f64 share = static_cast<f64>(engine()) / 4294967295.0;
            const f64 value =
                row.minValue + share * (static_cast<f64>(row.maxValue) - row.minValue);
            paraMan.setParameterValue(id, static_cast<f32>(std::round(value * 100) / 100), 0, true);
        }
        if (engine() % 16 == 0) paraMan.setLocked(id, engine() % 2);
    }
    plugin.set("Active FDN", engine() % 8 ? 1.0f : 0.0f);
    plugin.set("0Instnc", 0);
}

StereoBuffer listen(Plugin& plugin) {
    plugin.man.reset();
    return plugin.run(impulse(2048), 256);
}

void roundTrips(u32 seed, i32 count) {
    LogCapture log;
    std::mt19937 engine(seed);
    Plugin first, second;
    for (i32 i = 0; i < count; ++i) {
        scramble(first, engine);
        const std::string text = save(first, i % 3 ? nullptr : "#pgm=Cash $ 'n' /* //");
        scramble(second, engine);
        ASSERT_TRUE(load(second, text));
        ASSERT_EQ(save(second, i % 3 ? nullptr : "#pgm=Cash $ 'n' /* //"), text) << i;
        ASSERT_EQ(first.code(), second.code());
        if (i % 20 != 0) continue;
        // A fade of the bypass is part of what one hears, so both come from the same state.
        ASSERT_TRUE(load(first, text));
        for (Plugin* plugin : {&first, &second})
            plugin->run(StereoBuffer(16384), 512);
        ASSERT_TRUE(listen(first) == listen(second)) << text;
    }
}

TEST(PluginState, ComesBackByteForByteAndSoundsTheSame) {
    roundTrips(11, k_rounds);
}

TEST(PluginState, LoadsAPressedRandomizeButtonWithoutPressingIt) {
    Plugin plugin;
    EXPECT_TRUE(load(plugin, "#cm=main\nRnDm=100\nRnDmB=1\n#cm=FDN\nFB=50", true));
    EXPECT_EQ(plugin.paraMan().getParameterTarget(plugin.id("Output")), 100);
    EXPECT_NE(save(plugin).find("\nRnDmB=1\n"), std::string::npos);
}

TEST(PluginState, DoesNotDependOnTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    setenv("LOCPATH", GLASSMERE_LOCALES, 1);
    ASSERT_TRUE(std::setlocale(LC_ALL, "de_DE.UTF-8"));
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    ASSERT_STREQ(text, "0,5");
    Plugin plugin;
    plugin.set("FB", 12.5f);
    EXPECT_NE(save(plugin).find("\nFB=12.50\n"), std::string::npos);
    roundTrips(12, k_rounds / 10);
    std::setlocale(LC_ALL, before.c_str());
}

TEST(PluginState, SurvivesDamageAtEveryByte) {
    LogCapture log;
    std::mt19937 engine(3);
    Plugin saved, plugin;
    scramble(saved, engine);
    saved.setCode("FTUR237S-ROOM");
    const std::string text = save(saved);
    const auto plays = [&] {
        const StereoBuffer out = plugin.run(impulse(64), 64);
        return std::isfinite(out.left[63]) && std::isfinite(out.right[63]);
    };
    for (size_t length = 0; length < text.size(); length += k_damageStep) {
        load(plugin, text.substr(0, length), length % 2);
        ASSERT_TRUE(plays()) << length;
    }
    for (size_t i = 0; i < text.size(); i += k_damageStep) {
        std::string flipped = text;
        flipped[i] = static_cast<char>(flipped[i] ^ (1 << engine() % 8));
        load(plugin, flipped, i % 2);
        ASSERT_TRUE(plays()) << i;
    }
    ASSERT_TRUE(load(plugin, text));
    EXPECT_EQ(save(plugin), text);
}

TEST(PluginState, HostileTextsAreDoneWithQuickly) {
    LogCapture log;
    Plugin plugin(48000, "FTUR237S-ROOM");
    // Each is linear work; were it not, this test would not end.
    std::string text;
    while (text.size() + 60 < k_hostileSize)
        text += "$$$$999999?abcdefghijklmnop";
    EXPECT_FALSE(load(plugin, text));
    for (const char* line : {"#cm=FDN\n", "Params='x'\n", "FB=1\n", "nothing\n", "/*"}) {
        text = "#cm=FDN\n";
        while (text.size() + 60 < k_hostileSize)
            text += line;
        load(plugin, text, false);
    }
    std::mt19937 engine(9);
    for (char& c : text)
        c = static_cast<char>(engine());
    load(plugin, text);
    EXPECT_EQ(plugin.code(), "press button") << "the last text that named anything named FB";
    EXPECT_LT(log.count(""), 2000);
}

} // namespace
