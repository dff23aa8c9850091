#include "AM_EventQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(EventQueue, ReadsInOrderOfTimeAndCarriesLateEvents) {
    AM_EventQueue queue;
    const u32 times[] = {30, 5, 30, 5, 0, 250};
    for (i32 n = 0; n < 6; ++n)
        queue.post(k_eventController, n, 0, 0, times[n]);
    EXPECT_EQ(queue.next(100), nullptr) << "nothing to read before the exchange";
    queue.swapEvents();
    std::vector<i32> order;
    for (const u32 end : {30, 31, 100}) {
        while (const AM_MidiEvent* event = queue.next(end))
            order.push_back(event->id);
        EXPECT_EQ(order.size(), end == 30 ? 3u : 5u);
    }
    EXPECT_EQ(order, (std::vector<i32>{4, 1, 3, 0, 2}));
    for (i32 block = 0; block < 2; ++block) {
        EXPECT_EQ(queue.next(100), nullptr);
        queue.carryEvents(100);
        queue.swapEvents();
    }
    const AM_MidiEvent* event = queue.next(51);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->timestamp, 50u);
    EXPECT_EQ(event->id, 5);
    EXPECT_EQ(queue.next(INT32_MAX), nullptr);
}

TEST(EventQueue, AFullHalfDropsWhatComes) {
    AM_EventQueue queue;
    for (i32 n = 0; n < AM_EventQueue::k_capacity; ++n)
        ASSERT_TRUE(queue.post(0, n, 0, 0, 0));
    EXPECT_FALSE(queue.post(0, -1, 0, 0, 0));
    queue.swapEvents();
    EXPECT_TRUE(queue.post(0, 0, 0, 0, 0));
    i32 read = 0;
    while (const AM_MidiEvent* event = queue.next(1))
        EXPECT_EQ(event->id, read++);
    EXPECT_EQ(read, AM_EventQueue::k_capacity);
}

TEST(EventQueue, ProducersLoseNothing) {
    AM_EventQueue queue;
    constexpr i32 perThread = 1500;
    std::atomic<i32> running{2};
    const auto produce = [&](i32 id) {
        for (i32 n = 0; n < perThread; ++n)
            EXPECT_TRUE(queue.post(0, id, 0, 0, 0));
        --running;
    };
    std::thread first(produce, 0), second(produce, 1);
    i32 counts[2] = {};
    for (bool last = false; !last;) {
        last = running.load() == 0;
        queue.swapEvents();
        while (const AM_MidiEvent* event = queue.next(1))
            ++counts[event->id];
    }
    first.join();
    second.join();
    EXPECT_EQ(counts[0], perThread);
    EXPECT_EQ(counts[1], perThread);
}
