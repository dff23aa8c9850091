// Hosts, editors and automation write while audio runs.
#include "PluginHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

TEST(Threads, WritersButtonsAndRebuildsWhileAudioRuns) {
    Plugin plugin(48000.0, "AGU-START");
    std::atomic<bool> stop{false};
    std::atomic<i32> rounds{0};
    const auto loop = [&](const std::function<void(u32)>& body) {
        return std::thread([&, body] {
            for (u32 n = 0; !stop.load(); ++n, rounds.fetch_add(1))
                body(n);
        });
    };
    const i32 rows[] = {plugin.id("FB"),   plugin.id("Dry"),  plugin.id("Wet"),
                        plugin.id("CcOp"), plugin.id("Freq"), plugin.id("Active FDN"),
                        plugin.id("Swing")};
    std::vector<std::thread> threads;
    threads.push_back(loop([&](u32 n) {
        AM_ParaMan& paraMan = plugin.paraMan();
        paraMan.setParameterValue(rows[n % 7], static_cast<f32>((n * 37) % 101), 0, n % 5 == 0);
        paraMan.getParameterValue(rows[(n + 3) % 7]);
    }));
    threads.push_back(loop([&](u32 n) {
        plugin.set(n & 1 ? "Rnd" : "Ord", 1.0f);
        plugin.code();
    }));
    threads.push_back(loop([&](u32 n) {
        std::mt19937 engine(n);
        plugin.setCode(randomCode(engine));
        if (n % 50 == 0) plugin.man.reset();
        if (n % 20 == 0) plugin.man.tick();
    }));
    const StereoBuffer input = noise(64 * 40);
    bool finite = true;
    for (i32 pass = 0; pass < 400 && (pass < 20 || rounds.load() < 600); ++pass) {
        const StereoBuffer out = plugin.run(input, 1 + (pass * 53) % 700, pass & 1);
        for (const f32 x : out.left)
            finite = finite && std::isfinite(x);
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(finite);
    EXPECT_GT(rounds.load(), 3);
    // What was set last is what sounds: the same as a fresh instance with that code.
    plugin.setCode("EGZ36-END");
    plugin.set("Active FDN", 1.0f);
    plugin.set("FB", 50.0f);
    plugin.set("Freq", 20.0f);
    plugin.run(StereoBuffer(20000));
    plugin.man.reset();
    for (const char* row : {"Wet", "Dry", "CcOp"})
        plugin.set(row, 100.0f);
    plugin.man.reset();
    Plugin fresh(48000.0, "EGZ36-END");
    fresh.set("Wet", 100.0f);
    const StereoBuffer tone = noise(5000);
    const StereoBuffer a = plugin.run(tone);
    const StereoBuffer b = fresh.run(tone);
    f64 difference = 0.0;
    for (size_t i = 0; i < a.size(); ++i)
        difference += std::fabs(a.left[i] - b.left[i]);
    EXPECT_LT(difference / static_cast<f64>(a.size()), 1e-3);
}
