#include "AM_Allocator.h"

#include "AM_Assert.h"
#include "AM_Log.h"
#include "AM_Text.h"

#include <bit>
#include <cstdlib>
#include <mutex>
#include <new>

namespace {

constexpr u32 k_noRow = ~0u;
constexpr size_t k_smallestAlignment = 16;

// Stands directly in front of each block.
struct BlockHeader {
    void* base; // what the system's allocator gave
    u32 row;    // of the tag table
};
static_assert(sizeof(BlockHeader) <= k_smallestAlignment);
static_assert(k_smallestAlignment % alignof(BlockHeader) == 0);

// Fixed storage without constructor or destructor: blocks may be freed at any time of the
// library's life.
class TagTable {
public:
    u32 add(const char* file, int line, size_t size) noexcept {
        std::lock_guard lock(mutex);
        ++live;
        u32 row = k_noRow;
        if (freed != 0) {
            row = freed - 1;
            freed = rows[row].nextFreed;
        } else if (used < k_maxAllocationTags) {
            row = used++;
        } else {
            return k_noRow;
        }
        ++tagged;
        rows[row] = {{file == nullptr ? "" : file, line, size}, 0};
        return row;
    }

    void remove(u32 row) noexcept {
        std::lock_guard lock(mutex);
        --live;
        if (row == k_noRow) return;
        --tagged;
        rows[row] = {{nullptr, 0, 0}, freed};
        freed = row + 1;
    }

    bool get(u32 row, AM_AllocationTag& outTag) noexcept {
        std::lock_guard lock(mutex);
        if (row >= used || rows[row].tag.file == nullptr) return false;
        outTag = rows[row].tag;
        return true;
    }

    size_t liveCount() noexcept {
        std::lock_guard lock(mutex);
        return live;
    }
    size_t untaggedCount() noexcept {
        std::lock_guard lock(mutex);
        return live - tagged;
    }

private:
    struct Row {
        AM_AllocationTag tag; // a null file: the row is free
        u32 nextFreed;        // row + 1 of the next in the chain of freed rows, 0 at its end
    };

    std::mutex mutex;
    Row rows[k_maxAllocationTags] = {};
    u32 used = 0;  // rows that ever held a tag
    u32 freed = 0; // head of the chain
    size_t live = 0;
    size_t tagged = 0;
};

constinit TagTable table;

const BlockHeader& headerOf(const void* block) noexcept {
    return *std::launder(reinterpret_cast<const BlockHeader*>(static_cast<const char*>(block) -
                                                              sizeof(BlockHeader)));
}

} // namespace

void* AM_allocate(size_t size, size_t alignment, const char* file, int line) {
    AM_ASSERT(std::has_single_bit(alignment), "alignment is a power of two");
    if (size == 0) AM_Log("Allocating 0 bytes in %s - %d", AM_STD::fileName(file), line);
    if (alignment < k_smallestAlignment) alignment = k_smallestAlignment;
    // Aligning the place behind the header skips less than `alignment` bytes.
    constexpr size_t most = PTRDIFF_MAX - sizeof(BlockHeader);
    const bool countable = alignment <= most && size <= most - alignment;
    void* base = countable ? std::malloc(sizeof(BlockHeader) + alignment + size) : nullptr;
    AM_ASSERT(base != nullptr, "Out of Memory?");
    const auto start = reinterpret_cast<std::uintptr_t>(base) + sizeof(BlockHeader);
    char* block = static_cast<char*>(base) + sizeof(BlockHeader) + ((0 - start) & (alignment - 1));
    new (block - sizeof(BlockHeader)) BlockHeader{base, table.add(file, line, size)};
    return block;
}

void AM_free(void* block) noexcept {
    if (block == nullptr) return;
    const BlockHeader header = headerOf(block);
    table.remove(header.row);
    std::free(header.base);
}

bool AM_findAllocationTag(const void* block, AM_AllocationTag& outTag) noexcept {
    return block != nullptr && table.get(headerOf(block).row, outTag);
}

size_t AM_liveAllocations() noexcept {
    return table.liveCount();
}

void AM_logAllocations() {
    for (u32 row = 0; row < k_maxAllocationTags; ++row) {
        AM_AllocationTag tag;
        // Logged outside the table's lock: a sink may allocate.
        if (table.get(row, tag))
            AM_Log("%s - %d: %u bytes", AM_STD::fileName(tag.file), tag.line, tag.size);
    }
    AM_Log("%u blocks without a tag", table.untaggedCount());
}
