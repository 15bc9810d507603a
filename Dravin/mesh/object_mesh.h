// The object mesh: the items of a finished build as one mesh.
//
// Every item contributes a copy of what its row shows, moved by its transform; a proxy shape may
// stand for it, and shadow planes of billboards follow its own faces. Sizes are measured first, so
// that all memory is taken at once and items fill ranges of their own: any number of threads gives
// the same mesh. Map vertices and vertex colours stand once a source, not once an item.
//
// The mesh is in the space of the scatter object. One thread builds it; workers only fill it.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Dravin/engine/item_list.h"
#include "Dravin/geometry/specimen_list.h"
#include "host/geom/mesh.h"
#include "host/math/bit_array.h"

enum class TMeshMode { kFull = 0, kProxy = 1, kAdaptive = 2, kPointCloud = 3 };

enum TRenderMode { kRenderAutomatic = 0, kRenderMeshes = 1 };

struct TObjectMeshSettings {
    TMeshMode mode = TMeshMode::kFull;
    bool render = false;
    // The renderer shows custom objects as instances, which then have no mesh here.
    bool acceptsInstances = false;
    int renderMode = kRenderAutomatic;  // with meshes, clouds and instances have some too
    bool consolidates = true;           // `consmat`
    bool distributes = true;            // items are not edited by hand: a viewport's may be sorted
    int proxyShape = 0;                 // TProxyShape
    uint64_t adaptiveFaces = 0;         // beyond these, adaptive mode shows proxy shapes
    uint64_t maxFaces = UINT64_MAX;
    uint64_t maxBytes = UINT64_MAX;  // that the mesh may take
    bool hidesShadowPlanes = false;
    float shadowOffset = 1;    // of the vertical plane towards the light, percent of a unit
    int horizontalOffset = 5;  // of the horizontal plane, percent of the item's height
    int horizontalScale = 80;  // percent of the item's width
    bool scaleOnSlope = false;
    TimeValue time = 0;
    int threads = 1;  // 0 and below: one
};

// What went wrong, if anything.
enum class TMeshOutcome { kDone, kTooManyFaces, kTooMuchMemory };

struct TObjectMeshStatistics {
    int64_t meshedItems = 0, instancedItems = 0, discardedItems = 0;
    int64_t points = 0;        // of a cloud
    uint64_t faces = 0;        // measured, shadow planes included
    uint64_t facesBeyond = 0;  // the total where it passed `maxFaces`, otherwise 0
    uint64_t bytesWanted = 0;
    TMeshMode mode = TMeshMode::kFull;  // after any adaptive switch
};

// What items show: a source at one of its frames, or the proxy shape.
struct TMeshShape {
    const Mesh* mesh = nullptr;     // unit size; null: no item shows it, or nothing is there
    const Mesh* mapping = nullptr;  // whose channels and colours the object mesh has; null: none
    bool isFurtherFrame = false;    // of the source of a shape before it
    int materials = 1;              // that its faces' ids choose from
    std::shared_ptr<const TDravinMeshSample> sample;  // holds the mesh and its elements
    std::shared_ptr<const Mesh> own;                  // holds a mesh that no sample has
    bool hasIdsBeyond = false;                        // ids of faces reach beyond the materials
    std::vector<uint32_t> mapOffset;                  // by channel, where channels are shared
    uint32_t colorOffset = 0;
};

// An item's range: its own vertices and faces, then those of its shadow planes.
struct TItemRange {
    enum Shape : uint32_t { kNothing = 0xFFFFFFFFu, kInstanced = kNothing - 1 };
    uint32_t firstVert = 0, firstFace = 0;
    uint32_t shape = kNothing;

    bool IsMeshed() const { return shape < kInstanced; }
};

class TObjectMesh {
public:
    // May sort the items by their rows (viewports). meshes: gives sources at further frames.
    // extraPoints: others that belong into the bounds. With another outcome than kDone there is no
    // mesh, only its measures. The specimens outlive the use of the result.
    TMeshOutcome Build(TDravinItemList& items, const TSpecBuildList& specimens,
                       TDravinMeshCache& meshes, const TObjectMeshSettings& settings,
                       std::span<const Point3> extraPoints = {});
    // Gives all memory back.
    void Clear() { *this = TObjectMesh(); }

    // Whether there is a result: a mesh with faces, or a cloud.
    bool IsBuilt() const { return m_isBuilt; }
    const Mesh& GetMesh() const { return m_mesh; }
    // For who changes it for a while and puts it back: shadow types, while nobody else reads it.
    Mesh& ChangeableMesh() { return m_mesh; }
    // By face: the index of its item.
    const std::vector<int32_t>& FaceOwners() const { return m_owners; }
    // By face: whether its item is selected.
    const BitArray& FaceSelection() const { return m_selection; }
    const Box3& Bounds() const { return m_bounds; }
    const TObjectMeshStatistics& Statistics() const { return m_statistics; }
    const std::vector<TItemRange>& Ranges() const { return m_ranges; }
    const std::vector<TMeshShape>& Shapes() const { return m_shapes; }
    size_t BytesHeld() const;

private:
    void Fill(const TDravinItemList& items, const TObjectMeshSettings& settings);
    void Select(const TDravinItemList& items);
    void Bound(const TDravinItemList& items, std::span<const Point3> extraPoints, int threads);

    Mesh m_mesh;
    std::vector<int32_t> m_owners;
    BitArray m_selection;
    Box3 m_bounds;
    TObjectMeshStatistics m_statistics;
    std::vector<TItemRange> m_ranges;
    std::vector<TMeshShape> m_shapes;
    bool m_isBuilt = false;
};
