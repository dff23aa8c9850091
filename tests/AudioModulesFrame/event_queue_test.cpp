#include "AM_EventQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(EventQueue, ReadsInOrderOfTimeAndOfPosting) {
    AM_EventQueue queue;
    const u32 times[] = {30, 5, 30, 5, 0};
    for (i32 n = 0; n < 5; ++n)
        queue.post(k_eventController, n, 0, 0, times[n]);
    EXPECT_EQ(queue.next(100), nullptr) << "nothing to read before the exchange";
    queue.swapEvents();
    std::vector<i32> order;
    while (const AM_MidiEvent* event = queue.next(30))
        order.push_back(event->id);
    EXPECT_EQ(order, (std::vector<i32>{4, 1, 3}));
    while (const AM_MidiEvent* event = queue.next(31))
        order.push_back(event->id);
    EXPECT_EQ(order, (std::vector<i32>{4, 1, 3, 0, 2}));
}

TEST(EventQueue, LateEventsGoIntoTheNextBlocks) {
    AM_EventQueue queue;
    queue.post(k_eventPitchBend, 1, 0, 0.5f, 250);
    queue.post(k_eventPitchBend, 2, 0, 0.5f, 99);
    for (const u32 left : {250u, 150u}) {
        queue.swapEvents();
        while (queue.next(100)) {
        }
        queue.carryEvents(100);
        EXPECT_GE(left, 150u);
    }
    queue.swapEvents();
    const AM_MidiEvent* event = queue.next(51);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->timestamp, 50u);
    EXPECT_EQ(event->id, 1);
    EXPECT_EQ(queue.next(~0u), nullptr);
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
    bool last = false;
    do {
        last = running.load() == 0;
        queue.swapEvents();
        while (const AM_MidiEvent* event = queue.next(1))
            ++counts[event->id];
    } while (!last);
    first.join();
    second.join();
    EXPECT_EQ(counts[0], perThread);
    EXPECT_EQ(counts[1], perThread);
}
