// The tracked allocator: every block of the framework carries the place it was asked for.
#pragma once

#include "AM_Types.h"

// Rows of the tag table. Blocks beyond it are served as usual but carry no tag.
inline constexpr u32 k_maxAllocationTags = 10000;

// The place in the source that asked for a block.
struct AM_AllocationTag {
    const char* file;
    int line;
    size_t size; // bytes, as asked for
};

// Returns a block of `size` bytes, not cleared, aligned to `alignment` (a power of two; at least 16
// is given). Size 0 logs "Allocating 0 bytes in %s - %d" and gives a block that may only be freed.
// Asserts "Out of Memory?" when there is none. `file` must live as long as the block. Any thread
// but an audio thread.
void* AM_allocate(size_t size, size_t alignment, const char* file, int line);

// Gives a block of AM_allocate back; null is fine. Any thread but an audio thread.
void AM_free(void* block) noexcept;

// Fills `outTag` for a live block of AM_allocate; false if the block is null or has no tag.
bool AM_findAllocationTag(const void* block, AM_AllocationTag& outTag) noexcept;

// Counts the live blocks, tagged or not. For leak tests.
size_t AM_liveAllocations() noexcept;

// Logs file, line and bytes of each live tagged block, and how many there are without a tag.
void AM_logAllocations();

#define AM_ALLOC(size, alignment) AM_allocate((size), (alignment), __FILE__, __LINE__)
