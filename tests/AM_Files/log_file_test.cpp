#include "AM_AudioThread.h"
#include "AM_Log.h"
#include "AM_LogFile.h"
#include "ground/LogCapture.h"
#include "TemporaryFolder.h"

#include <atomic>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

// A desktop of the test's own, and a terminal in place of standard error.
class LogFile : public testing::Test {
protected:
    void SetUp() override {
        before = getenv("HOME") ? getenv("HOME") : "";
        setenv("HOME", folder.path().c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
        folder.makeFolder("Desktop");
        keptError = dup(STDERR_FILENO);
        terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
            GTEST_SKIP() << "this system gives no pseudo-terminals";
        slave = open(ptsname(terminal), O_RDWR | O_NOCTTY);
        dup2(slave, STDERR_FILENO);
        AM_resetLog();
        AM_useLogFile();
    }
    void TearDown() override {
        dup2(keptError, STDERR_FILENO);
        for (const int file : {keptError, terminal, slave})
            close(file);
        AM_setLogFileOpener(nullptr);
        AM_resetLog();
        setenv("HOME", before.c_str(), 1);
    }
    std::string file() const { return folder.read("Desktop/Glassmere.log"); }
    // What the debug channel has got since the last time; a mark tells where that ends.
    std::string channel() const {
        const std::string mark = "end of channel\n";
        EXPECT_EQ(write(slave, mark.data(), mark.size()), static_cast<ssize_t>(mark.size()));
        std::string text;
        for (char piece = 0; !text.ends_with(mark) && read(terminal, &piece, 1) == 1;)
            if (piece != '\r') text += piece;
        return text.substr(0, text.size() - mark.size());
    }

    TemporaryFolder folder;

private:
    std::string before;
    int keptError = -1, terminal = -1, slave = -1;
};

TEST_F(LogFile, takesTheLinesIfItExists) {
    folder.write("Desktop/Glassmere.log", "of the last run");
    {
        AM_AudioThreadScope audio;
        AM_Log("from the ring");
    }
    EXPECT_EQ(file(), "of the last run");
    AM_Log("one\n\ntwo");
    EXPECT_EQ(file(), "from the ring\none\ntwo\n");
    AM_useLogFile();
    AM_Log("three");
    EXPECT_EQ(file(), "from the ring\none\ntwo\nthree\n");
    {
        LogCapture sink; // which starts the log anew
        AM_Log("to the sink");
        EXPECT_EQ(sink.take(), Lines{"to the sink"});
        AM_setLogSink(nullptr);
    }
    AM_Log("%s", std::string(300, 'x'));
    EXPECT_EQ(file(), std::string(250, 'x') + '\n' + std::string(50, 'x') + '\n');
    {
        FileSizeLimit full(310);
        AM_Log("%s", std::string(200, 'y'));
    }
    std::filesystem::remove_all(folder / "Desktop");
    AM_Log("to nowhere");
    EXPECT_FALSE(folder.has("Desktop"));
    EXPECT_EQ(channel(), "");
    AM_resetLog();
    AM_Log("later");
    EXPECT_EQ(channel(), "no deskTopFile found\nlater\n");
}

TEST_F(LogFile, isNotMadeNorForced) {
    AM_Log("first");
    AM_Log("second");
    EXPECT_EQ(channel(), "no deskTopFile found\nfirst\nsecond\n");
    EXPECT_FALSE(folder.has("Desktop/Glassmere.log"));
    folder.write("Desktop/Glassmere.log", "kept");
    AM_Log("the file comes too late");
    EXPECT_EQ(file(), "kept");

    folder.permit("Desktop/Glassmere.log", 0444);
    AM_resetLog();
    channel();
    {
        AsNobody nobody;
        AM_Log("protected");
    }
    EXPECT_EQ(channel(), "deskTopFile write protected\nprotected\n");
    EXPECT_EQ(file(), "kept");
    std::filesystem::remove(folder / "Desktop/Glassmere.log");
    ASSERT_EQ(mkfifo((folder / "Desktop/Glassmere.log").c_str(), 0666), 0);
    AM_resetLog();
    AM_Log("no pipe");
    EXPECT_EQ(channel(), "no deskTopFile found\nno pipe\n");
}

TEST_F(LogFile, openerIsAskedOnceWhateverItDoes) {
    static std::atomic<int> asked;
    asked = 0;
    AM_setLogFileOpener([]() -> AM_LogSink* {
        ++asked;
        AM_Log("from inside");
        AM_flushLog();
        AM_resetLog();
        AM_setLogFileOpener(nullptr);
        throw std::runtime_error("no memory");
    });
    AM_Log("first");
    AM_Log("second");
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(channel(), "from inside\nfirst\nsecond\n");

    // The first lines of several threads all reach the file.
    folder.write("Desktop/Glassmere.log", "");
    AM_useLogFile();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] { AM_Log("line"); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(file(), "line\nline\nline\nline\n");
}

} // namespace
