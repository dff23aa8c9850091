#include "AM_Clock.h"
#include "AM_Platform.h"
#include "AM_TickClock.h"
#include "LogCapture.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace {

struct Counter : AM_TickListener {
    void tick() override {
        inside = true;
        ++ticks;
        std::this_thread::yield();
        inside = false;
    }
    void waitFor(u32 more) const {
        const u32 goal = ticks + more;
        while (ticks < goal)
            std::this_thread::yield();
    }
    std::atomic<u32> ticks{0};
    std::atomic<bool> inside{false};
};

// Stops listeners (itself among them) from inside its tick.
struct Stopper final : Counter {
    void tick() override {
        for (std::atomic<u32>* id : ids)
            if (const u32 started = id->load()) AM_stopTick(started);
        Counter::tick();
    }
    std::vector<std::atomic<u32>*> ids;
};

TEST(Tick, runsUntilStopped) {
    for (u32 round = 0; round < 2; ++round) {
        Counter first, second;
        const u32 firstId = AM_startTick(&first), secondId = AM_startTick(&second);
        ASSERT_NE(firstId, 0u);
        ASSERT_NE(firstId, secondId);
        first.waitFor(2);
        AM_stopTick(firstId);
        EXPECT_FALSE(first.inside);
        const u32 ticks = first.ticks;
        second.waitFor(2); // goes on, and the first does not
        EXPECT_EQ(first.ticks, ticks);
        AM_stopTick(secondId);
        AM_stopTick(secondId);
        AM_stopTick(0);
    }
    EXPECT_EQ(AM_startTick(nullptr), 0u);
}

TEST(Tick, stopsFromInsideATick) {
    for (bool last : {false, true}) {
        Counter other;
        Stopper stopper;
        std::atomic<u32> id{0}, otherId{0};
        stopper.ids = {&otherId, &id};
        if (last) otherId = AM_startTick(&other);
        Counter keeper;
        const u32 keeperId = last ? 0 : AM_startTick(&keeper);
        id = AM_startTick(&stopper);
        stopper.waitFor(1);
        AM_stopTick(id); // waits for the rest of that tick
        EXPECT_FALSE(stopper.inside);
        const u32 ticks = stopper.ticks;
        if (keeperId != 0) keeper.waitFor(2);
        EXPECT_EQ(stopper.ticks, ticks);
        AM_stopTick(keeperId);
    }
}

TEST(Tick, listenerThatThrowsIsLogged) {
    struct Thrower final : Counter {
        void tick() override {
            ++ticks;
            if (ticks % 2 != 0) throw std::runtime_error("odd");
            throw 1;
        }
    } thrower;
    LogCapture log;
    const u32 id = AM_startTick(&thrower);
    thrower.waitFor(2);
    AM_stopTick(id);
    const Lines lines = log.take();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], "ALERT! a tick threw: odd");
    EXPECT_EQ(lines[1], "ALERT! a tick threw");
}

TEST(Tick, manyThreadsStartAndStop) {
    std::vector<std::thread> threads;
    for (i32 i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (i32 round = 0; round < 200; ++round) {
                Stopper stopper;
                std::atomic<u32> id{0};
                if (i == 0) stopper.ids = {&id};
                id = AM_startTick(&stopper);
                EXPECT_NE(id, 0u);
                if (round % 50 == 0) stopper.waitFor(1);
                AM_stopTick(id);
                EXPECT_FALSE(stopper.inside); // it may be destroyed now
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

// By the scale of the steady clock, however long the machine takes for it.
TEST(TickClock, AgreesWithTheSteadyClock) {
    AM_TickClock clock;
    EXPECT_EQ(clock.nanoseconds(1000), 0u);
    const u64 ticks = AM_TickClock::now();
    const u64 began = AM_nanoseconds();
    while (AM_nanoseconds() - began < 20000000)
        ;
    const u64 passed = AM_TickClock::now() - ticks;
    const f64 elapsed = static_cast<f64>(AM_nanoseconds() - began);
    clock.adjust();
    EXPECT_NEAR(static_cast<f64>(clock.nanoseconds(passed)) / elapsed, 1, 0.5);
}
