#include "AM_AudioThread.h"
#include "AM_Log.h"
#include "LogCapture.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace {

// Puts another file in place of standard error while it lives.
class StandardError {
public:
    explicit StandardError(int file) : kept(dup(STDERR_FILENO)) {
        dup2(file, STDERR_FILENO);
        AM_resetLog();
    }
    ~StandardError() {
        dup2(kept, STDERR_FILENO);
        close(kept);
        AM_resetLog();
    }

private:
    int kept;
};

TEST(Log, lineRules) {
    LogCapture log;
    AM_Log("one %d\n", 1);
    for (const char* text : {"joined", "to none\r\ntwo\n\nthree", "", "\n\n"})
        AM_Log(text);
    EXPECT_EQ(log.take(), (Lines{"one 1", "joined", "to none", "two", "three", "", ""}));
    AM_Log("%s\n", std::string(250, 'a'));
    AM_Log("%s|", std::string(500, 'b'));
    EXPECT_EQ(log.take(),
              (Lines{std::string(250, 'a'), std::string(250, 'b'), std::string(250, 'b'), "|"}));
    AM_Log("%s", std::string(20000, 'c'));
    EXPECT_EQ(log.take().size(), 40u);
}

TEST(Log, fallsSilentAfterItsCallLimit) {
    LogCapture log;
    for (u32 i = 0; i < k_maxLogCalls; ++i)
        AM_Log("%d", i);
    EXPECT_EQ(log.take().size(), k_maxLogCalls);
    AM_Log("one too many");
    EXPECT_FALSE(AM_logIsHeard());
    EXPECT_TRUE(log.take().empty());
}

TEST(Log, sinkThatThrowsOrLogs) {
    struct Rude final : AM_LogSink {
        u32 lines = 0;
        void writeLine(std::string_view) override {
            ++lines;
            AM_Log("from inside");
            AM_flushLog();
            EXPECT_EQ(AM_setLogSink(nullptr), this);
            throw std::runtime_error("full");
        }
    } rude;
    AM_resetLog();
    AM_LogSink* before = AM_setLogSink(&rude);
    AM_Log("first");
    AM_Log("second");
    EXPECT_EQ(AM_setLogSink(before), &rude);
    EXPECT_EQ(rude.lines, 2u);
}

TEST(Log, debugChannelIsATerminalOrNothing) {
    const int nothing = open("/dev/null", O_WRONLY);
    {
        StandardError away(nothing);
        EXPECT_FALSE(AM_logIsHeard());
        AM_Log("unheard");
    }
    close(nothing);
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
        GTEST_SKIP() << "this system gives no pseudo-terminals";
    const int slave = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    ASSERT_GE(slave, 0);
    {
        StandardError away(slave);
        AM_AudioThreadScope audio;
        EXPECT_TRUE(AM_logIsHeard()); // not looked up yet, which is left to others
        AM_Log("from the ring");
    }
    {
        StandardError away(slave);
        AM_Log("heard %.1f", 0.5);
    }
    std::string text;
    for (char piece = 0; text.size() < strlen("from the ring\r\nheard 0.5\r\n"); text += piece)
        ASSERT_EQ(read(terminal, &piece, 1), 1);
    EXPECT_EQ(text, "from the ring\r\nheard 0.5\r\n");
    close(slave);
    close(terminal);
}

TEST(Log, audioThreadGoesThroughTheRing) {
    LogCapture log;
    {
        AM_AudioThreadScope outer;
        { AM_AudioThreadScope inner; }
        ASSERT_TRUE(AM_onAudioThread());
        AM_Log("first %s", std::string(300, 'x'));
        AM_flushLog();
        EXPECT_TRUE(log.take().empty());
    }
    ASSERT_FALSE(AM_onAudioThread());
    AM_Log("direct"); // stays behind what was logged before
    EXPECT_EQ(log.take(),
              (Lines{"first " + std::string(244, 'x'), std::string(56, 'x'), "direct"}));
    // A full ring drops and reports.
    Lines expected;
    for (u32 i = 0; i < k_logRingLines; ++i)
        expected.push_back(std::to_string(i));
    expected.push_back("WARNING log ring full, 5 lines dropped");
    for (u32 round = 0; round < 3; ++round) {
        {
            AM_AudioThreadScope audio;
            for (u32 i = 0; i < k_logRingLines + 5; ++i)
                AM_Log("%u", i);
        }
        AM_flushLog();
        EXPECT_EQ(log.take(), expected);
    }
}

TEST(Log, sessionWritesAndEmptiesTheRing) {
    LogCapture log;
    for (u32 round = 0; round < 3; ++round) {
        AM_LogSession first;
        { AM_LogSession second; }
        {
            AM_AudioThreadScope audio;
            AM_Log("written by the thread");
        }
        Lines lines;
        while ((lines = log.take()).empty()) // the writer comes by itself
            std::this_thread::yield();
        EXPECT_EQ(lines, Lines{"written by the thread"});
    }
    {
        AM_LogSession session;
        AM_AudioThreadScope audio;
        AM_Log("left over");
    }
    AM_flushLog();
    EXPECT_EQ(log.take(), Lines{"left over"});
}

TEST(Log, manyThreadsWhileSinksAndSessionsComeAndGo) {
    std::atomic<bool> going{true};
    std::vector<std::thread> threads;
    for (i32 i = 0; i < 4; ++i)
        threads.emplace_back([&going, i] {
            while (going.load()) {
                AM_LogSession session;
                if (i % 2 == 0) {
                    AM_Log("direct %d", i);
                } else {
                    AM_AudioThreadScope audio;
                    AM_Log("ring %d", i);
                }
            }
        });
    size_t seen = 0;
    for (u32 round = 0; round < 300 || seen == 0; ++round) {
        LogCapture log;
        std::this_thread::yield();
        for (const std::string& line : log.take()) {
            ++seen;
            EXPECT_TRUE(line.starts_with("direct ") || line.starts_with("ring ") ||
                        line.starts_with("WARNING log ring full"))
                << line;
        }
    }
    going = false;
    for (std::thread& thread : threads)
        thread.join();
    AM_flushLog();
}

TEST(Log, linesOfSeveralAudioThreadsArriveWholeAndInOrder) {
    LogCapture log;
    constexpr u32 k_lines = 3000;
    {
        AM_LogSession session;
        std::vector<std::thread> threads;
        for (u32 i = 0; i < 3; ++i)
            threads.emplace_back([i] {
                AM_AudioThreadScope audio;
                for (u32 line = 0; line < k_lines; ++line)
                    AM_Log("%u %u", i, line);
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    i64 last[3] = {-1, -1, -1};
    size_t arrived = 0, lost = 0;
    for (const std::string& line : log.take()) {
        unsigned thread = 0, number = 0;
        if (sscanf(line.c_str(), "WARNING log ring full, %u lines dropped", &number) == 1) {
            lost += number;
            continue;
        }
        ASSERT_EQ(sscanf(line.c_str(), "%u %u", &thread, &number), 2) << line;
        ASSERT_LT(thread, 3u);
        EXPECT_GT(number, last[thread]);
        last[thread] = number;
        ++arrived;
    }
    EXPECT_EQ(arrived + lost, 3 * k_lines);
}

} // namespace
