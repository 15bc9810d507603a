#include "Dravin/geometry/mesh_cache.h"

TDravinMeshNode::TDravinMeshNode(INode& node) {
    m_node = std::static_pointer_cast<INode>(node.shared_from_this());
}

TDravinMeshNode::Placing TDravinMeshNode::PlacingAt(TimeValue t) const {
    Matrix3 transform = m_node->GetNodeTM(t);
    transform.NoTrans();
    return {transform, m_node->GetObjectOffset(), SourceMatrix(*m_node.Get(), t)};
}

std::shared_ptr<const TDravinMeshSample> TDravinMeshNode::Find(TimeValue t) const {
    for (const Handle& handle : m_samples)
        if (handle.sample->Validity().Contains(t)) {
            handle.used->store(true, std::memory_order_relaxed);
            return handle.sample;
        }
    return nullptr;
}

void TDravinMeshNode::DropOutdated(TimeValue t) {
    if (m_changed.exchange(false)) m_samples.clear();
    if (!m_moved.exchange(false)) return;
    Placing placing = PlacingAt(t);
    if (placing != m_placing) m_samples.clear();
    m_placing = placing;
}

std::shared_ptr<const TDravinMeshSample> TDravinMeshNode::Get(TimeValue t, bool plantClouds) {
    if (!m_moved && !m_changed) {
        std::shared_lock lock(m_lock);
        if (auto sample = Find(t)) return sample;
    }
    std::unique_lock lock(m_lock);
    DropOutdated(t);
    // Another thread may have made the sample while this one waited.
    if (auto sample = Find(t)) return sample;
    auto sample = MakeMeshSample(*m_node.Get(), t, plantClouds);
    m_samples.push_back({sample, std::make_unique<std::atomic<bool>>(true)});
    return sample;
}

void TDravinMeshNode::DropUnused() {
    std::unique_lock lock(m_lock);
    std::erase_if(m_samples, [](const Handle& handle) {
        return !handle.used->exchange(false) && handle.sample.use_count() == 1;
    });
}

RefResult TDravinMeshNode::NotifyRefChanged(const RefChange& change, ReferenceTarget*) {
    if (change.message == RefMessage::kNodeTransformChanged)
        m_moved = true;
    else if (change.message != RefMessage::kNodeNameChanged &&
             change.message != RefMessage::kSubAnimStructureChanged)
        m_changed = m_moved = true;
    return RefResult::kSucceed;
}

std::shared_ptr<const TDravinMeshSample> TDravinMeshCache::Get(INode* node, TimeValue t,
                                                               int32_t passKey) {
    if (!node) return m_empty;
    if (passKey != m_passKey) Flush(passKey);
    auto found = m_entries.find(node);
    // A node may come to stand where a deleted one stood.
    if (found == m_entries.end() || found->second->IsDeleted())
        found = m_entries.insert_or_assign(node, std::make_unique<TDravinMeshNode>(*node)).first;
    return found->second->Get(t, m_plantClouds);
}

void TDravinMeshCache::UsePlantClouds(bool use) {
    if (use != m_plantClouds) Clear();
    m_plantClouds = use;
}

void TDravinMeshCache::Flush(int32_t passKey) {
    if (m_suspended) return;
    m_passKey = passKey;
    std::erase_if(m_entries, [](auto& entry) { return entry.second->IsDeleted(); });
    for (auto& [node, entry] : m_entries) entry->DropUnused();
}

size_t TDravinMeshCache::NumSamples() const {
    size_t n = 0;
    for (auto& [node, entry] : m_entries) n += entry->NumSamples();
    return n;
}
