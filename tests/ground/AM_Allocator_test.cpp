#include "AM_Allocator.h"
#include "AM_Assert.h"
#include "LogCapture.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

TEST(Assert, logsAndThrowsItsText) {
    LogCapture log;
    EXPECT_NO_THROW(AM_ASSERT(true, "never"));
    try {
        AM_assertFailed("inLen >= 0", "source/File.cpp", 12);
        FAIL();
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "inLen >= 0");
    }
    const std::string line = std::to_string(__LINE__ + 1);
    EXPECT_THROW(AM_ASSERT(1 + 1 == 3, "sum"), AM_AssertionError);
    EXPECT_EQ(log.take(), (Lines{"Assert failed at File.cpp line 12: inLen >= 0",
                                 "Assert failed at AM_Allocator_test.cpp line " + line + ": sum"}));
}

TEST(Allocator, alignsAndTags) {
    for (size_t alignment = 1; alignment <= 65536; alignment *= 2)
        for (size_t size : {1, 100, 5000}) {
            const int line = __LINE__ + 1;
            void* block = AM_ALLOC(size, alignment);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u);
            memset(block, 0xA5, size);
            AM_AllocationTag tag{};
            ASSERT_TRUE(AM_findAllocationTag(block, tag));
            EXPECT_STREQ(tag.file, __FILE__);
            EXPECT_EQ(tag.line, line);
            EXPECT_EQ(tag.size, size);
            AM_free(block);
        }
    AM_free(nullptr);
    EXPECT_EQ(AM_liveAllocations(), 0u);
}

TEST(Allocator, badSizes) {
    LogCapture log;
    void* block = AM_allocate(0, 16, "source/File.cpp", 12);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(log.take(), Lines{"Allocating 0 bytes in File.cpp - 12"});
    AM_logAllocations();
    EXPECT_EQ(log.take(), (Lines{"File.cpp - 12: 0 bytes", "0 blocks without a tag"}));
    AM_free(block);
    for (size_t size : {SIZE_MAX, SIZE_MAX - 32, size_t{PTRDIFF_MAX}}) {
        EXPECT_THROW(AM_ALLOC(size, 64), AM_AssertionError);
        EXPECT_TRUE(log.take().back().ends_with(": Out of Memory?"));
    }
    for (size_t alignment : {size_t{1} << 63, size_t{24}, size_t{0}})
        EXPECT_THROW(AM_ALLOC(1, alignment), AM_AssertionError) << alignment;
    EXPECT_EQ(AM_liveAllocations(), 0u);
}

TEST(Allocator, beyondTheTableBlocksAreUntagged) {
    std::vector<void*> blocks;
    for (u32 i = 0; i < k_maxAllocationTags + 10; ++i)
        blocks.push_back(AM_ALLOC(8, 8));
    AM_AllocationTag tag{};
    EXPECT_TRUE(AM_findAllocationTag(blocks[k_maxAllocationTags - 1], tag));
    EXPECT_FALSE(AM_findAllocationTag(blocks[k_maxAllocationTags], tag));
    AM_free(blocks[5]); // its row serves again
    blocks[5] = AM_ALLOC(8, 8);
    EXPECT_TRUE(AM_findAllocationTag(blocks[5], tag));
    EXPECT_EQ(AM_liveAllocations(), blocks.size());
    for (void* block : blocks)
        AM_free(block);
    EXPECT_EQ(AM_liveAllocations(), 0u);
}

} // namespace
