#include "AM_Assert.h"
#include "AM_TuneFile.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>
#include <map>

namespace {

// The table is the identity but for `changed`.
void expectTable(const std::string& content, const std::map<i32, f32>& changed) {
    const AM_TuneFile tuning(".TuN", content.c_str());
    for (i32 note = 0; note < 128; ++note) {
        const auto entry = changed.find(note);
        EXPECT_EQ(tuning.getTargetNote(note),
                  entry != changed.end() ? entry->second : static_cast<f32>(note))
            << content << note;
    }
}

TEST(TuneFile, tables) {
    expectTable("", {});
    expectTable("note 3=100", {});
    expectTable("[Tuning]", {});
    const std::string coarse = "[Tuning]\r\nnote 0 = -8600\r\n\tnote 1=-8500\r\n";
    expectTable(coarse, {{0, -86.0f}, {1, -85.0f}});
    expectTable(coarse + "[Exact Tuning]\nnote 0 = -8650.500000\n[Tuning]\nnote 2=1",
                {{0, -86.505f}});
    expectTable("[Tuning] note 4=1\nfactory thing=99\n; note 5=1\nfree text\nnote 6=\t+50.5e1x\n"
                " note127 =20000\nnote +7=-0",
                {{6, 5.05f}, {127, 150.0f}, {7, 0.0f}});
    expectTable("[Tuning]\n" + std::string(600, ' ') + "note 8=1\n;" + std::string(511, ';') +
                    "note 9=1\nnote 10=1" + std::string(600, '0'),
                {});
}

TEST(TuneFile, badLines) {
    LogCapture log;
    expectTable("[Tuning]\nnote -5=1\nnote 128=1\nnote 99999999999=1\nnote x=1\nNote 1=1\n", {});
    EXPECT_EQ(log.count(""), 0);
    for (const char* line : {"note 1", "note 1=", "note 1=,5", "note 1=+-5", "note 1=1e39"}) {
        expectTable(std::string("[Tuning]\n") + line + "\nnote 2=100", {{2, 1.0f}});
        EXPECT_EQ(log.take(), Lines{"bad line! found vars: 0"}) << line;
    }
    expectTable("[Tuning]\nnote 1=-inf\nnote 1=nan", {});
    EXPECT_EQ(log.count("bad line! found vars: 1"), 2);
}

TEST(TuneFile, extensionsAndAssertions) {
    for (const char* text : {"tun", "TuN", ".TuN"})
        EXPECT_TRUE(AM_TuneFile::isExtensionSupported(text)) << text;
    for (const char* text : {"msf", "foo", "", "..tun", "tune", "0123456789abcdef"})
        EXPECT_FALSE(AM_TuneFile::isExtensionSupported(text)) << text;
    EXPECT_THROW(AM_TuneFile("tun", nullptr), AM_AssertionError);
    EXPECT_THROW(AM_TuneFile("q3p", ""), AM_AssertionError);
    EXPECT_THROW(AM_TuneFile().getTargetNote(128), AM_AssertionError);
}

} // namespace
