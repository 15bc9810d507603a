#include "Dravin/engine/item_memory.h"

#include <algorithm>

HugeBuffer TItemMemory::Take(size_t bytes) {
    {
        std::lock_guard lock(m_mutex);
        auto fits = [&](const HugeBuffer& b) { return b.Bytes() >= bytes; };
        auto block = std::find_if(m_blocks.begin(), m_blocks.end(), fits);
        if (block != m_blocks.end() && block->Bytes() / 2 <= bytes) {
            HugeBuffer taken = std::move(*block);
            m_blocks.erase(block);
            return taken;
        }
    }
    return HugeBuffer(bytes);
}

void TItemMemory::Give(HugeBuffer block) noexcept {
    if (block.Bytes() == 0) return;
    std::lock_guard lock(m_mutex);
    auto larger = [&](const HugeBuffer& b) { return b.Bytes() >= block.Bytes(); };
    try {
        m_blocks.insert(std::find_if(m_blocks.begin(), m_blocks.end(), larger), std::move(block));
    } catch (const std::bad_alloc&) {
        // No room to remember it: it goes back to the system.
    }
}

void TItemMemory::Trim(size_t most) {
    std::lock_guard lock(m_mutex);
    while (!m_blocks.empty() && Held() > most) m_blocks.pop_back();
}

size_t TItemMemory::Bytes() const {
    std::lock_guard lock(m_mutex);
    return Held();
}

size_t TItemMemory::Held() const {
    size_t bytes = 0;
    for (const HugeBuffer& block : m_blocks) bytes += block.Bytes();
    return bytes;
}

std::shared_ptr<TItemBlock> TOpenBlocks::Take() {
    std::lock_guard lock(m_mutex);
    if (m_blocks.empty()) return nullptr;
    std::shared_ptr<TItemBlock> block = std::move(m_blocks.back());
    m_blocks.pop_back();
    return block;
}

void TOpenBlocks::Give(std::shared_ptr<TItemBlock> block) {
    if (!block) return;
    std::lock_guard lock(m_mutex);
    m_blocks.push_back(std::move(block));
}
