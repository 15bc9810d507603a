// Memory of item lists: blocks that go from build to build, and that several chunks may share.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "host/base/huge_buffer.h"

// Blocks that items had once. Thread safe.
class TItemMemory {
public:
    // The smallest block that is not much too large, else a new one.
    HugeBuffer Take(size_t bytes);
    void Give(HugeBuffer block) noexcept;
    // Gives blocks back to the system, largest first, until no more than that is held.
    void Trim(size_t most);
    size_t Bytes() const;

private:
    size_t Held() const;

    mutable std::mutex m_mutex;
    std::vector<HugeBuffer> m_blocks;  // smallest first
};

// Room for a number of items, which chunks take from its front to its end. One thread at a time.
struct TItemBlock {
    HugeBuffer memory;
    size_t capacity = 0;  // items
    size_t used = 0;
    std::shared_ptr<TItemMemory> home;  // where the memory goes when no chunk is left

    TItemBlock(std::shared_ptr<TItemMemory> from, size_t bytes, size_t numItems)
        : memory(from->Take(bytes)), capacity(numItems), home(std::move(from)) {}
    ~TItemBlock() { home->Give(std::move(memory)); }
    TItemBlock(const TItemBlock&) = delete;
    TItemBlock& operator=(const TItemBlock&) = delete;
};

// Blocks with room left that the tasks of a build hand on to each other. Thread safe.
class TOpenBlocks {
public:
    // Null where no task has left one.
    std::shared_ptr<TItemBlock> Take();
    void Give(std::shared_ptr<TItemBlock> block);

private:
    std::mutex m_mutex;
    std::vector<std::shared_ptr<TItemBlock>> m_blocks;
};
