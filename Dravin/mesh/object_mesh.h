// The object mesh: the items of a finished build as one mesh.
//
// Every item contributes a copy of what its row shows, moved by its transform; a proxy shape may
// stand for it, and shadow planes of billboards follow its own faces. Sizes are measured first, so
// that all memory is taken at once and items fill ranges of their own: any number of threads gives
// the same mesh. Map vertices and vertex colours stand once a source, not once an item.
//
// The mesh is in the space of the scatter object. One thread builds it; workers only fill it.
#pragma once

#include <functional>
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
    // Items that are not selected stay as they are where the mesh before had the same layout.
    bool selectedOnly = false;
    TimeValue time = 0;
    int threads = 1;                                   // 0 and below: one
    std::function<void(const std::string&)> debugLog;  // hears of the steps; empty: nobody
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
    std::shared_ptr<const TDravinMeshSample> sample;  // holds the mesh and its elements
    std::shared_ptr<const Mesh> own;                  // holds a mesh that no sample has
    // By id of its faces: their ids in the object's material; empty: as they are.
    std::vector<uint16_t> materialIds;
    uint16_t planeMaterialId = 0;  // of shadow planes of its items
    // Where the object mesh has explicit normals: the mesh's, or what follows from its smoothing.
    const MapChannel* normals = nullptr;
    std::shared_ptr<const MapChannel> ownNormals;  // holds those that the mesh does not have
    std::vector<uint32_t> mapOffset;               // by channel, where channels are shared
    uint32_t colorOffset = 0;
};

// An item's range: its own vertices and faces, then those of its shadow planes.
struct TItemRange {
    enum Shape : uint32_t { kNothing = 0xFFFFFFFFu, kInstanced = kNothing - 1 };
    uint32_t firstVert = 0, firstFace = 0;
    uint32_t shape = kNothing;
    uint32_t firstNormal = 0;  // where the mesh has explicit ones

    bool IsMeshed() const { return shape < kInstanced; }
    friend bool operator==(const TItemRange&, const TItemRange&) = default;
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
    const Mesh& GetMesh() const { return *m_mesh; }
    // The mesh for keeping: a later build makes another one where somebody still holds this.
    std::shared_ptr<const Mesh> ShareMesh() const { return m_mesh; }
    // For who changes it for a while and puts it back: shadow types, while nobody else reads it.
    Mesh& ChangeableMesh() { return *m_mesh; }
    // By face: the index of its item.
    const std::vector<int32_t>& FaceOwners() const { return m_owners; }
    // By face: whether its item is selected.
    const BitArray& FaceSelection() const { return m_selection; }
    // Whether its faces' ids are those of the object's automatic material.
    bool IsConsolidated() const { return m_isConsolidated; }
    const Box3& Bounds() const { return m_bounds; }
    const TObjectMeshStatistics& Statistics() const { return m_statistics; }
    const std::vector<TItemRange>& Ranges() const { return m_ranges; }
    const std::vector<TMeshShape>& Shapes() const { return m_shapes; }
    size_t BytesHeld() const;

private:
    bool HasLayout(const struct TMeshMeasure& measure) const;
    void Fill(const TDravinItemList& items, const TObjectMeshSettings& settings, bool selectedOnly);
    void Select(const TDravinItemList& items);
    void Bound(const TDravinItemList& items, std::span<const Point3> extraPoints, int threads);

    std::shared_ptr<Mesh> m_mesh = std::make_shared<Mesh>();  // never null
    std::vector<int32_t> m_owners;
    BitArray m_selection;
    Box3 m_bounds;
    TObjectMeshStatistics m_statistics;
    std::vector<TItemRange> m_ranges;
    std::vector<TMeshShape> m_shapes;
    std::vector<uint16_t> m_proxyIds;  // by row
    bool m_isBuilt = false, m_isConsolidated = false;
};
