// What comes out of the renderer, sample by sample.
#include "RenderProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>

namespace {
const Arguments k_dryOnly = {"--set", "Dry=100", "--set", "Wet=0"};

// Renders `in` with further arguments and returns what was written.
Sound renderFile(const TestFolder& folder, const std::string& in, Arguments arguments) {
    const std::string out = folder / "rendered.wav";
    arguments.insert(arguments.end(), {"--force", "--quiet", in, out});
    const ProcessResult result = render(folder, arguments);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return readSound(out);
}

Arguments operator+(Arguments a, const Arguments& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

float peakOf(const std::vector<float>& samples) {
    float peak = 0;
    for (float sample : samples)
        peak = std::max(peak, std::fabs(sample));
    return peak;
}
} // namespace

TEST(Render, LatencyIsCompensatedInEveryMode) {
    TestFolder folder;
    const std::string in = folder / "in.wav";
    const Sound source = noise(5000);
    writeSound(in, source);
    const Arguments modes[] = {{},
                               {"--block", "1"},
                               {"--block", "10"},
                               {"--block", "4096", "--in-place"},
                               {"--no-base-latency"},
                               {"--no-base-latency", "--block", "48"}};
    for (const Arguments& mode : modes) {
        const Sound out = renderFile(folder, in, k_dryOnly + mode + Arguments{"--tail", "0"});
        ASSERT_EQ(out.samples.size(), source.samples.size());
        EXPECT_EQ(out.rate, source.rate);
        EXPECT_TRUE(out.samples == source.samples) << (mode.empty() ? "default" : mode.back());
    }
}

TEST(Render, BlockSizeAndSharedBuffersDoNotChangeASample) {
    TestFolder folder;
    const std::string in = folder / "in.wav";
    writeSound(in, noise(30000));
    const Arguments common = {"--code", "DTNR14P-XYZ", "--set",  "FB=80",
                              "--set",  "Wet=90",      "--tail", "0.3"};
    const Sound expected = renderFile(folder, in, common);
    ASSERT_EQ(expected.frames(), 30000u + 13230u);
    EXPECT_GT(peakOf({expected.samples.end() - 2000, expected.samples.end()}), 1e-3f);
    for (const char* block : {"1", "17", "64", "100", "480", "4096", "65536"})
        for (const char* layout : {"--quiet", "--in-place"}) {
            const Sound out = renderFile(folder, in, common + Arguments{"--block", block, layout});
            EXPECT_TRUE(out.samples == expected.samples) << block << layout;
        }
}

TEST(Render, MonoGoesToBothSides) {
    TestFolder folder;
    const Sound mono = noise(8000, 1);
    Sound both;
    for (float sample : mono.samples)
        both.samples.insert(both.samples.end(), 2, sample);
    writeSound(folder / "mono.wav", mono);
    writeSound(folder / "both.wav", both);
    const Arguments arguments = {"--code", "AGUR-M", "--tail", "0.1"};
    EXPECT_TRUE(renderFile(folder, folder / "mono.wav", arguments).samples ==
                renderFile(folder, folder / "both.wav", arguments).samples);
}

TEST(Render, ValuesHoldFromTheFirstFrame) {
    TestFolder folder;
    const std::string in = folder / "in.wav";
    const Sound source = noise(2000);
    writeSound(in, source);
    const Sound half = renderFile(
        folder, in, {"--set", "FDN:Dry=50", "--set", "Wet=0", "--set", "Output=50", "--tail", "0"});
    ASSERT_EQ(half.samples.size(), source.samples.size());
    for (size_t i = 0; i < source.samples.size(); ++i)
        ASSERT_NEAR(half.samples[i], source.samples[i] * 0.25f, 1e-7f) << i;
    const Sound bypassed =
        renderFile(folder, in, {"--set", "Active FDN=0", "--set", "Dry=0", "--tail", "0"});
    EXPECT_TRUE(bypassed.samples == source.samples);
}

TEST(Render, FormatsFollowExtensionAndBits) {
    TestFolder folder;
    const std::string in = folder / "in.wav";
    Sound source = noise(3000);
    source.samples[100] = 1.5f;
    source.samples[201] = -3.0f;
    source.rate = 48000;
    writeSound(in, source);
    struct Case {
        const char* name;
        const char* bits;
        int format;
        float tolerance;
    };
    for (const Case& c : {Case{"a.wav", "16", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1.0f / 32000},
                          Case{"b.WAV", "24", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1e-6f},
                          Case{"c.wav", "", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0},
                          Case{"d.aiff", "32f", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, 0},
                          Case{"e.aif", "16", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 1.0f / 32000},
                          Case{"f.flac", "", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 1e-6f},
                          Case{"g.flac", "16", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 1.0f / 32000},
                          Case{"h.ogg", "", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 10}}) {
        Arguments arguments = k_dryOnly + Arguments{"--tail", "0", in, folder / c.name};
        if (*c.bits) arguments.insert(arguments.end(), {"--bits", c.bits});
        const ProcessResult result = render(folder, arguments);
        ASSERT_EQ(result.exitCode, 0) << c.name << result.errors;
        EXPECT_NE(result.output.find("2 samples beyond full scale"), std::string::npos);
        const Sound out = readSound(folder / c.name);
        EXPECT_EQ(out.format & (SF_FORMAT_TYPEMASK | SF_FORMAT_SUBMASK), c.format) << c.name;
        EXPECT_EQ(out.rate, 48000);
        ASSERT_EQ(out.samples.size(), source.samples.size()) << c.name;
        const float limit = c.tolerance > 0 ? 1.0f : 4.0f;
        for (size_t i = 0; i < out.samples.size(); ++i)
            ASSERT_NEAR(out.samples[i], std::clamp(source.samples[i], -limit, limit), c.tolerance)
                << c.name << ' ' << i;
    }
}

TEST(Render, TailEndsWhenTheReverbSleeps) {
    TestFolder folder;
    const auto impulse = [&](Arguments arguments) {
        const std::string out = folder / "impulse.wav";
        arguments.insert(arguments.end(), {"--impulse", "--force", "--rate", "44100", out});
        EXPECT_EQ(render(folder, arguments).exitCode, 0);
        return readSound(out);
    };
    const Sound shortOne = impulse({"--code", "EGUR1-A", "--set", "FB=5"});
    const Sound longOne = impulse({"--code", "EGUR1-A", "--set", "FB=85"});
    EXPECT_GT(shortOne.frames(), 44100u);
    EXPECT_LT(shortOne.frames() + 44100, longOne.frames());
    EXPECT_LT(longOne.frames(), 60u * 44100);
    // What is left where the file ends is below the threshold of silence.
    EXPECT_LT(peakOf({longOne.samples.end() - 2000, longOne.samples.end()}), 1.6e-5f);
    EXPECT_EQ(impulse({"--set", "FB=100"}).frames(), 60u * 44100 + 1);
    EXPECT_EQ(impulse({"--tail", "0.5"}).frames(), 22050u + 1);
}

TEST(Render, APressedCodeRendersTheSameAgain) {
    TestFolder folder;
    const std::string in = folder / "in.wav", pressed = folder / "pressed.wav";
    writeSound(in, noise(6000));
    const ProcessResult result =
        render(folder, {"--press", "Rnd", "--press", "Ord", "--tail", "0.2", in, pressed});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    std::smatch found;
    ASSERT_TRUE(std::regex_search(
        result.output, found,
        std::regex("^code ([A-F][GHIT][ULMN]R[Z12][345Y][678PQ]S-[A-Z0-9!?]{4,8})\n")))
        << result.output;
    const Sound again = renderFile(folder, in, {"--code", found[1].str(), "--tail", "0.2"});
    EXPECT_TRUE(again.samples == readSound(pressed).samples);
    EXPECT_FALSE(again.samples == renderFile(folder, in, {"--tail", "0.2"}).samples);
}
