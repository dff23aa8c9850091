// Writers on several threads while audio runs.
#include "TestManager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <thread>

namespace {

constexpr int k_rows = 70; // more than one word of bits

// Rows of all sorts: smoothed, plain, whole, wrapping.
std::vector<ParameterInfo> manyRows() {
    std::vector<ParameterInfo> rows;
    for (int i = 0; i < k_rows; ++i) {
        const u32 kind = i % 4 == 2 ? k_integer : k_float;
        const u32 flags = i % 4 == 0   ? u32{k_flagSmoothed}
                          : i % 4 == 1 ? u32{k_flagSmoothed | k_flagWraps}
                                       : 0;
        rows.push_back(ParameterInfo("p", "p", kind, 0, 100, 50).withFlags(flags));
    }
    return rows;
}

} // namespace

TEST(AtomicBits, NoSetIsLostToATake) {
    AM_AtomicBits bits;
    bits.resize(63);
    std::atomic<int> set{0}, running{3};
    std::vector<std::thread> setters;
    for (i32 first = 0; first < 63; first += 21)
        setters.emplace_back([&, first] {
            for (i32 i = 0; i < 300000; ++i) {
                const i32 bit = first + i % 21; // this thread's alone
                if (bits.test(bit)) continue;
                bits.set(bit);
                set.fetch_add(1, std::memory_order_relaxed);
            }
            running.fetch_sub(1);
        });
    int taken = 0;
    for (bool last = false; !last;) {
        last = running.load() == 0;
        taken += std::popcount(bits.take(0));
    }
    for (std::thread& setter : setters)
        setter.join();
    EXPECT_EQ(taken, set.load());
}

TEST(ParaManThreads, WritersNeverLoseAValueOrLeaveTheRange) {
    TestMan man;
    TestModule* module = man.plan("Tst: Test", manyRows());
    man.initialize();
    AM_ParaMan& table = *man.getParaMan();
    const i32 first = module->getFirstParameter();

    const auto heard = [&](i32 i) {
        return i % 4 == 2 ? static_cast<f32>(module->modInt(i)) : module->modFloat(i);
    };
    std::atomic<int> running{3};
    const auto write = [&](u32 seed) {
        for (int i = 0; i < 20000; ++i) {
            seed = seed * 1664525 + 1013904223;
            const i32 row = static_cast<i32>((seed >> 8) % k_rows);
            const f32 value = static_cast<f32>((seed >> 16) % 101);
            table.setParameterValue(first + row, value, 0, seed % 7 == 0);
            if (seed % 97 == 0) table.requestQueueClear();
            EXPECT_LE(table.getParameterValue(first + row), 100);
            table.scheduleComplexParamNotification(first + row);
        }
        running.fetch_sub(1);
    };
    std::vector<std::thread> writers;
    for (u32 seed : {1u, 2u, 3u})
        writers.emplace_back(write, seed);
    while (running.load() > 0) {
        table.processSubBlock();
        for (int i = 0; i < k_rows; ++i) {
            ASSERT_GE(heard(i), -1e-3f);
            ASSERT_LE(heard(i), 100.001f);
        }
        ASSERT_LE(table.runtime().queuedCount, static_cast<i32>(table.runtime().slots.size()));
    }
    for (std::thread& writer : writers)
        writer.join();
    for (int i = 0; i <= k_smoothingSteps; ++i)
        table.processSubBlock();
    EXPECT_EQ(table.runtime().queuedCount, 0);
    for (int i = 0; i < k_rows; ++i) {
        EXPECT_EQ(heard(i), table.getParameterTarget(first + i));
        EXPECT_EQ(heard(i), table.getParameterValue(first + i));
    }
}

TEST(ParaManThreads, BlocksRunWhileOthersWriteTextsLocksAndMetas) {
    TestMan man;
    man.setMetaSizes(2, 2);
    std::vector<ParameterInfo> rows = manyRows();
    rows.push_back(ParameterInfo("Text", "Text", k_complexText, 0, 32, 0).withFlags(0x4080));
    TestModule* module = man.plan("Tst: Test", rows);
    man.initialize();
    AM_ParaMan& table = *man.getParaMan();
    const i32 first = module->getFirstParameter();

    std::atomic<bool> stop{false};
    std::thread texts([&] {
        for (int i = 0; !stop; ++i) {
            table.setParameterValueComplex(first + k_rows, i % 2 ? "one" : "two", 4);
            table.setLocked(first + i % k_rows, i % 3 == 0);
            table.changeModBuffer(1 + i % 30, i % 2 == 0);
        }
    });
    std::thread metas([&] {
        for (int i = 0; !stop; ++i) {
            table.setMetaTargetValue(i % 2, i / 2 % 2, first + i % k_rows);
            table.setParameterValue(table.getOwnParamBase() + i % 2, static_cast<f32>(i % 100));
        }
    });
    std::thread reader([&] {
        while (!stop) {
            const std::string text = table.getText(first + k_rows);
            EXPECT_TRUE(text.empty() || text == "one" || text == "two") << text;
            EXPECT_EQ(table.displayText(first, 50), "50%");
            table.getParameterFlags(first);
            table.getParameterData(table.standardId(k_rowLevels));
        }
    });
    for (int i = 0; i < 400; ++i) {
        man.run(64);
        table.setMeter(k_rowCpuLoad, static_cast<f32>(i));
    }
    stop = true;
    for (std::thread* thread : {&texts, &metas, &reader})
        thread->join();
    EXPECT_GT(module->processed, 0);
}
