#include "AM_InterComObject.h"

#include "AM_Assert.h"
#include "TestManager.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <thread>

namespace {

using Texts = std::vector<std::string>;

// Notes what it receives in the list of its manager.
struct Listener : TestModule {
    Listener(AM_AudioMan* owner, const char* name, Texts* list, u32 typeBits = 0)
        : TestModule(owner, name, {}, 2, typeBits), heard(list) {}
    void receiveCom(const char* subject, const char* content) override {
        ++received;
        if (heard) heard->push_back(std::string(getShortName()) + ' ' + subject + ' ' + content);
        if (onCom) onCom(subject, content);
    }
    Texts* heard;
    std::atomic<i32> received{0};
    std::function<void(const std::string& subject, const std::string& content)> onCom;
};

struct ComMan : TestMan {
    ~ComMan() override { stopTick(); }
    void receivePreferencesCom(const char* subject, const char* content) override {
        heard.push_back(std::string("prefs ") + subject + ' ' + content);
    }
    AM_InterComObject& com() { return dynamic_cast<AM_InterComObject&>(*findObject("iCom")); }
    // What the editor does: through the table of parameters.
    void send(const std::string& text) {
        const i32 id = getParaMan()->findParameter("iCom:iMSG");
        getParaMan()->setParameterValueComplex(id, text.c_str(), static_cast<i32>(text.size()) + 1);
    }
    f32 queued() { return getParaMan()->getParameterValue(getParaMan()->findParameter("MSGqd")); }
    std::string next() {
        const void* text = com().getParameterData(AM_InterComObject::k_rowReceive);
        return text ? static_cast<const char*>(text) : "none";
    }
    Texts heard;
};

// Addresses in brackets, then subject and content.
std::string parsed(const std::string& text) {
    // A copy of the exact size, so that a byte read behind it is found.
    const std::vector<char> bytes(text.begin(), text.end());
    const i32 size = static_cast<i32>(bytes.size());
    InterComAddress addressees[InterCom_MAX_ADDRESSES];
    char subject[InterCom_SUBJECT_LEN + 1];
    std::vector<char> content(static_cast<size_t>(size) + 1);
    const i32 count =
        AM_InterComObject::parseMessage(addressees, subject, content.data(), bytes.data(), size);
    std::string result;
    for (i32 i = 0; i < count; ++i)
        result += std::string("[") + addressees[i] + ']';
    return result + subject + '|' + content.data();
}

} // namespace

TEST(InterCom, MessageTextsComeApartWithinTheirBounds) {
    const std::string euro = "\xe2\x82\xac", thirty(30, 'a'), forty(40, 's');
    const struct {
        std::string text, want;
        const char* line; // logged, or null
    } cases[] = {
        {"\\@View,Other\\#sub, ject\\+con, tent", "[View][Other]sub, ject|con, tent", nullptr},
        {"\\#subject\\+content", "subject|content", nullptr},
        {"before\\@A\\x\\#b\\", "[A\\x]b\\|", nullptr},
        {"\\@A\\#s\\@B\\+c", "[A][B]s|c", nullptr},
        {std::string("\\@A\\#s\\+c\0d", 11), "[A]s|c", nullptr},
        {"\\@1,2,3,4,5,6,7,8,9,10\\#s", "[1][2][3][4][5][6][7][8]s|", "8 addresses, 2 left out"},
        {"\\@" + thirty + euro + "x,B", "[" + thirty + "][B]|", "address longer than 32"},
        {"\\#" + forty, forty.substr(0, 32) + "|", "subject longer than 32"},
    };
    for (const auto& test : cases) {
        LogCapture log;
        EXPECT_EQ(parsed(test.text), test.want) << test.text;
        EXPECT_EQ(log.count("WARNING"), test.line ? 1 : 0) << test.text;
        EXPECT_TRUE(!test.line || log.has(test.line)) << test.text;
    }

    char text[16];
    EXPECT_TRUE(AM_InterComObject::formatMessage(text, 16, "A,B", "s,", nullptr));
    EXPECT_STREQ(text, "\\@A,B\\#s,\\+");
    EXPECT_FALSE(AM_InterComObject::formatMessage(text, 16, "A", "subj", ("xxx" + euro).c_str()));
    EXPECT_STREQ(text, "\\@A\\#subj\\+xxx") << "no part of a character";
    EXPECT_THROW(AM_InterComObject(nullptr, "c", 64, 0x1A0), AM_AssertionError);
}

TEST(InterCom, AFullQueueDropsTheOldestAndKeepsTheOrder) {
    ComMan man;
    man.initialize();
    LogCapture log;
    i32 sent = 0;
    for (const i32 posts : {64, 40, 200, 1}) {
        for (i32 i = 0; i < posts; ++i)
            man.sendInterCom("V", "s", std::to_string(sent++).c_str());
        const i32 waiting = std::min(posts, 63);
        EXPECT_EQ(man.queued(), waiting);
        for (i32 number = sent - waiting; number < sent; ++number)
            ASSERT_EQ(man.next(), "\\@V\\#s\\+" + std::to_string(number));
        EXPECT_EQ(man.next(), "none");
        EXPECT_EQ(man.queued(), 0);
    }
    EXPECT_EQ(log.count("numMessagesQueued >= maxNumMessages"), 1 + 137);

    man.com().post("V", "s", std::string(600, 'x').c_str());
    EXPECT_EQ(man.next().size(), 511u);
    EXPECT_TRUE(log.has("message cut to 511 bytes"));
    man.com().post(std::string(600, 'a').c_str(), std::string(600, 's').c_str(), "c");
    EXPECT_EQ(man.next().substr(2 + 263, 2 + 32 + 3), "\\#" + std::string(32, 's') + "\\+c");
}

TEST(InterCom, MessagesReachClassesThenObjectsThenThePreferences) {
    LogCapture log;
    ComMan man;
    auto* one = man.plan<Listener>("one: First", &man.heard, k_classAudioEffect);
    man.plan<Listener>("two: Second", &man.heard);
    man.plan<Listener>("three: Third", &man.heard, k_classAudioEffect);
    man.initialize();
    const auto heard = [&](const std::string& text) {
        man.heard.clear();
        man.send(text);
        return man.heard;
    };
    EXPECT_EQ(heard("\\@Second,AudioEffect\\#s\\+a,b"),
              (Texts{"one s a,b", "three s a,b", "two s a,b"}));
    EXPECT_EQ(heard("\\@two,AudioPrefs,nobody\\#s\\+c"), (Texts{"two s c", "prefs s c"}));
    EXPECT_EQ(heard("\\#s\\+c"), Texts{});

    // A receiver sends and posts; the broadcast it is in goes on with its own texts.
    one->onCom = [&](const std::string& subject, const std::string&) {
        if (subject != "outer") return;
        man.send("\\@AudioEffect\\#inner\\+i");
        man.com().post("V", "answer", "");
        EXPECT_STREQ(man.com().getCurrentSubject(), "outer");
    };
    EXPECT_EQ(heard("\\@AudioEffect\\#outer\\+o"),
              (Texts{"one outer o", "one inner i", "three inner i", "three outer o"}));
    EXPECT_EQ(man.next(), "\\@V\\#answer\\+");
    EXPECT_EQ(man.com().getCurrentSubject(), nullptr);
}

TEST(InterCom, AnyThreadsPostAndSendAtOnce) {
    constexpr i32 k_each = 2000;
    LogCapture log;
    ComMan man;
    auto* one = man.plan<Listener>("one: First", nullptr, k_classAudioEffect);
    man.initialize();
    std::atomic<i32> mixed{0};
    one->onCom = [&](const std::string& subject, const std::string& content) {
        if (subject != content) ++mixed;
    };
    AM_InterComObject& com = man.com();
    std::atomic<i32> running{4};
    std::vector<std::thread> threads;
    for (const bool audio : {false, true}) {
        const std::string name = audio ? "b" : "a";
        threads.emplace_back([&, name, audio] {
            std::optional<AM_AudioThreadScope> scope;
            if (audio) scope.emplace();
            for (i32 i = 0; i < k_each; ++i)
                if (!com.tryPost("V", name.c_str(), std::to_string(i).c_str()) && !audio) ++mixed;
            --running;
        });
        threads.emplace_back([&, text = "\\@AudioEffect\\#" + name + "\\+" + name] {
            i32 row = AM_InterComObject::k_rowSend;
            for (i32 i = 0; i < k_each; ++i)
                com.setParameterComplex(&row, text.c_str(), static_cast<i32>(text.size()) + 1);
            --running;
        });
    }
    i32 last[2] = {-1, -1}, read = 0, wrong = 0;
    while (running.load() > 0 || man.queued() > 0) {
        const std::string text = man.next();
        if (text == "none") continue;
        char name = 0, rest = 0;
        i32 number = -1;
        const i32 fields = std::sscanf(text.c_str(), "\\@V\\#%c\\+%d%c", &name, &number, &rest);
        if (fields != 2 || number <= last[name == 'b'] || man.queued() > 63) ++wrong;
        last[name == 'b'] = number;
        ++read;
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0) << "a message torn or out of order";
    EXPECT_GE(read, 63);
    EXPECT_EQ(mixed, 0) << "subject of one thread with the content of another, or no post";
    EXPECT_EQ(one->received, 2 * k_each);
}
