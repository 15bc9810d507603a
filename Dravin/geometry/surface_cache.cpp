#include "Dravin/geometry/surface_cache.h"

#include <algorithm>

// A moved node keeps its array (it lives in the node's own space); changed geometry does not.
RefResult TSurfaceCache::Entry::NotifyRefChanged(const RefChange& change, ReferenceTarget*) {
    if (change.message == RefMessage::kChange || change.message == RefMessage::kTargetDeleted ||
        change.message == RefMessage::kEverythingStale)
        stale = true;
    return RefResult::kSucceed;
}

TSurfaceCache::Entry* TSurfaceCache::Find(INode* node, int kind) {
    auto it = m_entries.find({node, kind});
    if (it == m_entries.end()) return nullptr;
    // A deleted node leaves its slot empty; another node may have taken its address since.
    if (it->second->node.Get() == node) return it->second.get();
    m_entries.erase(it);
    return nullptr;
}

TSurfaceCache::Entry* TSurfaceCache::Build(INode* node, int kind, TimeValue t, int threads) {
    Object* object = node ? node->GetObjectRef() : nullptr;
    auto entry = std::make_unique<Entry>();
    if (object) entry->heights = object->GetHeightField(t);
    if (object && !entry->heights) entry->mesh = object->GetRenderMesh(t);
    if (entry->heights)
        entry->array = std::make_shared<TSurfXYArray>(entry->heights);
    else if (entry->mesh)
        entry->array = std::make_shared<TSurfXYArray>(entry->mesh, threads);
    else
        return nullptr;
    entry->node = std::static_pointer_cast<INode>(node->shared_from_this());
    entry->time = t;
    ++m_built;
    return (m_entries[{node, kind}] = std::move(entry)).get();
}

std::shared_ptr<const TSurfXYArray> TSurfaceCache::Get(INode* node, int kind, int threads) {
    Entry* entry = Find(node, kind);
    if (!entry || entry->stale) entry = Build(node, kind, entry ? entry->time : 0, threads);
    return entry ? entry->array : nullptr;
}

std::shared_ptr<const TSurfXYArray> TSurfaceCache::GetAt(INode* node, int kind, TimeValue t,
                                                         bool reread, int threads) {
    Entry* entry = Find(node, kind);
    if (!entry || entry->stale || entry->time != t || reread) entry = Build(node, kind, t, threads);
    return entry ? entry->array : nullptr;
}

void TSurfaceCache::Sweep(std::span<const Use> uses) {
    if (m_opening || m_sweeping) return;
    m_sweeping = true;
    std::erase_if(m_entries, [&](const auto& item) {
        return std::none_of(uses.begin(), uses.end(), [&](const Use& use) {
            return Key{use.node, use.kind} == item.first;
        });
    });
    m_sweeping = false;
}

std::shared_ptr<const TSurfUVArray> TSurfaceCache::GetUv(INode* node, int kind, int channel,
                                                         int threads) {
    Entry* entry = Find(node, kind);
    if (!entry) return nullptr;
    auto known = entry->uv.find(channel);
    if (known == entry->uv.end())
        known = entry->uv
                    .emplace(channel, entry->heights
                                          ? TSurfUVArray::Make(entry->heights, channel)
                                          : TSurfUVArray::Make(entry->mesh, channel, threads))
                    .first;
    return known->second;
}
