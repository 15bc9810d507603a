#include "Dravin/viewport/view_shape.h"

#include <map>

const TViewMesh& TViewShape::Mesh() const {
    std::call_once(m_once, [this] {
        TViewMeshWish wish;
        wish.numPaints = m_channels.size();
        wish.channels = m_channels;
        wish.elementOfFace = m_sample->Elements().elementOfFace;
        m_mesh = MakeViewMesh(m_sample->UnitMesh(), wish);
    });
    return m_mesh;
}

std::shared_ptr<const TViewShape> ShapeOf(const std::shared_ptr<const TDravinMeshSample>& sample,
                                          const std::vector<int>& channels) {
    // A shape holds its sample, so that no other sample has its address while it lives.
    static std::mutex mutex;
    static std::map<std::pair<const TDravinMeshSample*, std::vector<int>>,
                    std::weak_ptr<const TViewShape>>
        known;
    std::lock_guard lock(mutex);
    auto& place = known[{sample.get(), channels}];
    std::shared_ptr<const TViewShape> shape = place.lock();
    if (shape) return shape;
    shape = std::make_shared<const TViewShape>(sample, channels);
    place = shape;
    std::erase_if(known, [](const auto& entry) { return entry.second.expired(); });
    return shape;
}
