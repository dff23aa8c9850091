// Preferences: the lines of their files, what a rewrite keeps, and the messages.
#include "AM_MemoryFilesystem.h"
#include "AM_Preferences.h"
#include "AM_ScriptStatement.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* k_path = "/support/com.vela.Glassmere.Preferences.txt";

std::string line(const char* id, const std::string& value) {
    return std::string("V_PROPERTY name='Preference' id='") + id + "' value='" + value + "'\n";
}

std::string fileText(const char* latency, const char* smoothing, const char* author = "") {
    return std::string("V_PROPERTY name='Author' id='0' value='") + author + "'\n" +
           line("1", std::string("AudioPrefs:BaseLatencyBuffer16:") + latency) +
           line("4", std::string("AudioPrefs:SmoothMidiCtrls:") + smoothing) +
           line("-1", "AudioPrefs:NKS Auto Map:YES") + line("-1", "AudioPrefs:NKS Colour Fit:NO") +
           line("-1", "AudioPrefs:Auto Tag Features:never");
}

// Writes down what a file says.
class Record final : public AM_IPreferencesStorage {
public:
    explicit Record(const std::string& text) {
        setPreferencesFromText(text.data(), static_cast<i32>(text.size()), *this);
    }
    void setPreference(const char* module, const char* key, i32 id, const char* value) override {
        all += std::string(module) + "|" + key + "|" + std::to_string(id) + "|" + value + ";";
    }
    void setAuthor(const char* name) override { all += std::string("by ") + name + ";"; }

    std::string all;
};

std::string described(const AM_PreferencesAudio& store, const char* key) {
    std::string value = "none";
    store.describe(key, &value);
    return value;
}

} // namespace

TEST(ScriptStatement, TakesLinesApart) {
    const struct {
        std::string script, tokens; // of all lines, each token in brackets
    } cases[] = {
        {"\t A b='c d'  e = 'f'", "[A][b][c d][e][f]"},
        {"A b='x=y\tz' c='' d='1'", "[A][b][x y z][c][d][1]"},
        {"A 'b\nc' d\r\ne", "[A][b]\n[c d]\n\n[e]"},
        {"A b='c//d'\nB", "[A][b][c]\n[B]"},
        {"A/*x\ny*/B c/d", "[AB][c/d]"},
        {"A /*\xffz*/ B", "[A][*/][B]"},
        {"A /* B\nC", "[A]"},
        {std::string("A\0B", 3), "[A]\n[B]"},
        {std::string(2000, 'x') + " y", "[" + std::string(1023, 'x') + "]"},
    };
    ScriptStatement statement;
    for (const auto& test : cases) {
        std::string tokens;
        for (size_t position = 0; position < test.script.size();) {
            if (position > 0) tokens += '\n';
            statement.read(test.script, &position);
            for (i32 i = 0; i <= statement.tokenCount; ++i)
                tokens += std::string("[") + statement.tokens[i] + "]";
        }
        EXPECT_EQ(tokens, test.tokens) << test.script;
    }
    std::string many = "K";
    for (int i = 0; i < 40; ++i)
        many += " t" + std::to_string(i);
    size_t position = 0;
    statement.read(many, &position);
    EXPECT_EQ(statement.tokenCount, 31);
    EXPECT_STREQ(statement.getAttribute("t29"), "t30");
    EXPECT_EQ(statement.getAttribute("t30"), nullptr);
}

TEST(Preferences, ReadsLinesAndSaysWhatItCannotUse) {
    LogCapture log;
    EXPECT_EQ(Record("// mine\n\nCONTROL type='Knob'\n" + line("7", "M:key one:on load") +
                     line("0", "a:b") + line("0", "a:b:c:d") + line("0", "a\\:b:c:d\\x27\\x0A\\q") +
                     "V_PROPERTY name='Author' id='0' value='Ann'")
                  .all,
              "M|key one|7|on load;a:b|c|0|d'\n\\q;by Ann;");
    EXPECT_TRUE(log.has("setPreferencesFromText error: expecting \"V_PROPERTY\" got \"CONTROL\""));
    EXPECT_TRUE(log.has("Detected strange number of strings for prefs property 'a:b'"));
    EXPECT_EQ(log.count("Detected strange"), 2);

    // Whatever the parts hold, they come back as they were.
    for (const std::string part : {"O'Hara", "a:b\\", "\\x41", "//*/", "x = 'y'\n\tz", "", " "}) {
        EXPECT_EQ(Record(AM_writeAuthorLine(part)).all, "by " + part + ";");
        EXPECT_EQ(Record(AM_writePreferenceLine(part, part, 3, part)).all,
                  part + "|" + part + "|3|" + part + ";");
    }
    // A flood of bad lines does not fill the log.
    log.take();
    std::string flood;
    for (int i = 0; i < 10000; ++i)
        flood += "x\n";
    Record record(flood);
    EXPECT_EQ(log.count("expecting"), 20);
}

TEST(Preferences, StartsWithDefaultsAndTakesListedValuesOnly) {
    LogCapture log;
    AM_PreferencesAudio store("Glassmere", "vela");
    EXPECT_TRUE(log.has("new instance of  AM_PreferencesAudio created for Glassmere # 1"));
    EXPECT_EQ(AM_PreferencesAudio::count(), 1);
    EXPECT_EQ(store.getPreferencesPath(), AM_FilePath(k_path));
    EXPECT_EQ(store.mergedText(""), fileText("YES", "LIGHT"));
    EXPECT_EQ(store.valueOf(k_prefBaseLatency), 1);
    EXPECT_EQ(store.valueOf(k_prefMidiSmoothing), 1);
    EXPECT_EQ(store.valueOf(k_prefEditor), -1);
    EXPECT_EQ(store.valueOf(AudioPrefEnum::k_viewOnly), -1);

    EXPECT_FALSE(store.setPreference("SmoothMidiCtrls", "smooth"));
    EXPECT_FALSE(store.setPreference("SmoothMidiCtrls", "YES"));
    EXPECT_FALSE(store.setPreference("Smooth", "OFF"));
    EXPECT_FALSE(store.setPreference(nullptr, nullptr));
    EXPECT_FALSE(store.takeChanged());
    EXPECT_TRUE(store.setPreference("SmoothMidiCtrls", "SMOOTH"));
    EXPECT_EQ(store.valueOf(k_prefMidiSmoothing), 2);
    EXPECT_TRUE(store.takeChanged());
    EXPECT_FALSE(store.takeChanged());
    EXPECT_EQ(AM_PreferencesAudio::find("Auto Tag Features", "if empty"),
              &AutoTag_Features::ifEmpty);
}

TEST(Preferences, TalksInMessages) {
    LogCapture log;
    AM_PreferencesAudio store("P", "V");
    std::string text, name, value;
    ASSERT_TRUE(store.encodeStateMessage("NKS Auto Map", &text));
    EXPECT_EQ(text, "NKS Auto Map:YES");
    EXPECT_FALSE(store.encodeStateMessage("NKS", &text));
    EXPECT_TRUE(AM_PreferencesAudio::decodeIntercomMessage("a:b:c", &name, &value));
    EXPECT_EQ(name + "|" + value, "a|b:c");
    EXPECT_FALSE(AM_PreferencesAudio::decodeIntercomMessage("abc", &name, &value));
    EXPECT_TRUE(
        log.has("error: AM_PreferencesAudio::decodeIntercomMessage no delimiter ':' found"));

    store.receiveCom("COM_SET_AUDIO_PREF", "BaseLatencyBuffer16:NO");
    EXPECT_TRUE(log.has("error: AM_PreferencesAudio::receiveCom no delimiter '->' found"));
    store.receiveCom("COM_SET_AUDIO_PREF", "ViewMan->BaseLatencyBuffer16:MAYBE");
    EXPECT_EQ(store.valueOf(k_prefBaseLatency), 1);
    store.receiveCom("COM_SET_AUDIO_PREF", "ViewMan->BaseLatencyBuffer16:NO");
    EXPECT_EQ(store.valueOf(k_prefBaseLatency), 0);
}

TEST(Preferences, RewritesOnlyWhatWasChosenHere) {
    LogCapture log;
    AM_MemoryFilesystem files;
    files.addDirectory("/support");
    AM_PreferencesAudio one("Glassmere", "vela"), two("Glassmere", "vela");
    ASSERT_TRUE(one.load(files, k_path)); // there is none yet
    EXPECT_TRUE(log.has("Can't open UIprefsFile for reading: 2"));
    ASSERT_TRUE(two.load(files, k_path));

    // Two processes write in turn.
    one.setPreference("BaseLatencyBuffer16", "NO");
    one.setAuthor("Ann O'Hara");
    ASSERT_TRUE(one.save(files, k_path));
    two.setPreference("SmoothMidiCtrls", "OFF");
    ASSERT_TRUE(two.save(files, k_path));
    ASSERT_TRUE(one.save(files, k_path));
    EXPECT_EQ(files.content(k_path), fileText("NO", "OFF", "Ann O\\x27Hara"));
    AM_PreferencesAudio three("Glassmere", "vela");
    ASSERT_TRUE(three.load(files, k_path));
    EXPECT_EQ(three.getAuthor(), "Ann O'Hara");
    EXPECT_EQ(described(three, "SmoothMidiCtrls"), "OFF");

    // What a newer version or another module has written stays, what nobody can read goes.
    const std::string others = line("9", "AudioPrefs:New Key:some") + "V_PROPERTY name='New'  x\n";
    files.addFile(k_path, "nonsense\n" + others + line("4", "AudioPrefs:SmoothMidiCtrls:ULTRA"));
    ASSERT_TRUE(three.load(files, k_path));
    EXPECT_EQ(described(three, "SmoothMidiCtrls"), "OFF");
    EXPECT_EQ(log.count("AudioPreferenceExtractor::setPreference didn't find matching"), 2);
    three.setPreference("BaseLatencyBuffer16", "YES");
    ASSERT_TRUE(three.save(files, k_path));
    EXPECT_EQ(files.content(k_path), fileText("YES", "ULTRA", "Ann O\\x27Hara") + others);
    // A choice made here replaces the newer one.
    three.setPreference("SmoothMidiCtrls", "OFF");
    ASSERT_TRUE(three.save(files, k_path));
    EXPECT_EQ(files.content(k_path), fileText("YES", "OFF", "Ann O\\x27Hara") + others);
}

TEST(Preferences, LosesNothingWhenFilesFail) {
    LogCapture log;
    AM_MemoryFilesystem files;
    const std::string before = fileText("NO", "OFF") + line("0", "Other:key:value");
    const std::string after = fileText("NO", "SMOOTH") + line("0", "Other:key:value");
    files.addFile(k_path, before);
    const u64 start = files.operations();
    AM_PreferencesAudio store("Glassmere", "vela");
    ASSERT_TRUE(store.load(files, k_path));
    store.setPreference("SmoothMidiCtrls", "SMOOTH");
    const u64 used = files.operations() - start;
    for (u64 fault = 1; fault <= used + 2; ++fault) {
        files.addFile(k_path, before);
        files.failOperation(fault);
        const bool saved = store.save(files, k_path);
        files.failOperation(0);
        EXPECT_EQ(files.content(k_path), saved ? after : before) << fault;
        if (saved) store.setPreference("SmoothMidiCtrls", "SMOOTH");
    }
    EXPECT_TRUE(log.has("Can't store UI Preferences"));
    // The choice waited.
    ASSERT_TRUE(store.load(files, k_path));
    ASSERT_TRUE(store.save(files, k_path));
    EXPECT_EQ(files.content(k_path), after);

    // A file that is too long to be one is left alone.
    const std::string huge(k_maxPreferencesFile + 1, '\n');
    files.addFile(k_path, huge);
    EXPECT_FALSE(store.load(files, k_path));
    EXPECT_FALSE(store.save(files, k_path));
    EXPECT_EQ(files.content(k_path), huge);
    EXPECT_TRUE(log.has("Can't read bytes of UIprefsFile: "));
}
