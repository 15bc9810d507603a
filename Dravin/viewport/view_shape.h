// What graphics need of a source of items, made when somebody first asks and kept while anyone
// shows it: builds come and go, their sources stay.
#pragma once

#include <memory>
#include <mutex>

#include "Dravin/geometry/mesh_sample.h"
#include "Dravin/viewport/view_mesh.h"

class TViewShape {
public:
    // sample: with a mesh. channels: mapping of each paint.
    TViewShape(std::shared_ptr<const TDravinMeshSample> sample, std::vector<int> channels)
        : m_sample(std::move(sample)), m_channels(std::move(channels)) {}

    // The unit mesh, with the elements of the sample. Any thread; the first that asks makes it.
    const TViewMesh& Mesh() const;
    const std::vector<int>& Channels() const { return m_channels; }

private:
    std::shared_ptr<const TDravinMeshSample> m_sample;
    std::vector<int> m_channels;
    mutable std::once_flag m_once;
    mutable TViewMesh m_mesh;
};

// The one that somebody holds already, or a new one. Any thread.
std::shared_ptr<const TViewShape> ShapeOf(const std::shared_ptr<const TDravinMeshSample>& sample,
                                          const std::vector<int>& channels);
