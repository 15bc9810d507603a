// What a scanline picture shows, in pieces that are drawn into one tile of a picture at a time.
//
// A piece is an instance, a run of faces of a mesh too large for one, or a block of a terrain.
// Before a picture (or a shadow map) is drawn, pieces are dealt out to the tiles that their boxes
// touch (TileBins): 12 bytes a piece and 4 a touch are all that grows with the number of instances.
// Of an instance with far more faces than it touches samples some stand for all (after Cook et al.
// 2007, "Stochastic Simplification of Aggregate Detail"). Immutable once built; threads share it.
#pragma once

#include <memory>
#include <vector>

#include "host/render/placed_source.h"
#include "host/render/render_scene.h"
#include "host/render/scanline/triangle_raster.h"

// From the world to samples: a picture's camera, or a shadow map's light. It looks along -Z.
struct ScanView {
    Matrix3 worldToView;
    bool isPerspective = true;
    double scale = 1;                 // samples per length, at depth 1 where there is perspective
    double centerX = 0, centerY = 0;  // where the axis meets the picture
    int width = 0, height = 0;        // samples
    float facesOfSample = 3;          // beyond which an instance shows some of its faces only

    // view: world space -> view space, or a mesh's space -> view space.
    RasterCorner Corner(const Point3& p, const Matrix3& view, double originX,
                        double originY) const {
        Point3 v = p * view;
        float w = isPerspective ? -v.z : 1;
        return {v.x * scale + (centerX - originX) * w, (centerY - originY) * w - v.y * scale, -v.z,
                w};
    }
    // The samples that a box may touch, within the view.
    RasterWindow WindowOf(const Box3& box) const;
};

struct ScanPiece {
    uint32_t owner;  // mesh of a node, terrain, or source: ScanScene counts them in this order
    uint32_t instance = 0;  // of a source
    uint32_t first = 0;     // face of the mesh; of a terrain, a block
    uint32_t count = 0;     // of faces; 0: all
};

class ScanScene {
public:
    explicit ScanScene(const RenderScene& scene);

    size_t NumPieces() const { return m_pieces.size(); }
    size_t NumInstances() const;
    size_t NumFaces() const;
    size_t InstanceBytes() const;
    // Of everything that is shown, world space.
    const Box3& Bounds() const { return m_bounds; }
    const std::vector<std::string>& Problems() const { return m_materials.Problems(); }
    const std::vector<PlacedSource>& Sources() const { return m_sources; }

    Box3 PieceBounds(size_t piece) const;
    // The node that shows a piece; null without a scene.
    const INode* NodeOf(size_t piece) const;
    HitPlace PlaceOf(size_t piece, uint32_t face, float u, float v) const;
    // Draws a piece into a window of a view: emit(x, y, depth, face, u, v), with x and y in the
    // window, of every sample that a face covers. Faces that masks may cut come through
    // `emitMasked`. Faces of a changeable mesh that shrank to a point are left out. Callers include
    // scan_scene_draw.h.
    template <class Emit, class EmitMasked>
    void DrawPiece(size_t piece, const ScanView& view, const RasterWindow& window, const Emit& emit,
                   const EmitMasked& emitMasked) const;

private:
    enum Kind { kMesh, kTerrain, kSource };
    Kind KindOf(const ScanPiece& piece) const {
        if (piece.owner < m_meshes.size()) return kMesh;
        return piece.owner < m_meshes.size() + m_heights.size() ? kTerrain : kSource;
    }
    const RenderHeights& HeightsOf(const ScanPiece& piece) const {
        return *m_heights[piece.owner - m_meshes.size()];
    }
    const PlacedSource& SourceOf(const ScanPiece& piece) const {
        return m_sources[piece.owner - m_meshes.size() - m_heights.size()];
    }
    const PackedInstance& InstanceOf(const ScanPiece& piece) const {
        return SourceOf(piece).instances[piece.instance];
    }
    const RenderMesh& MeshOf(const ScanPiece& piece) const {
        if (KindOf(piece) == kMesh) return *m_meshes[piece.owner];
        return *SourceOf(piece).prototypes[InstanceOf(piece).prototype];
    }
    bool IsChangeable(const ScanPiece& piece) const {
        return KindOf(piece) == kSource && SourceOf(piece).source->ChangeableMesh();
    }
    // Of how many faces of an instance one is drawn: 1 unless far more of them than samples are
    // there, as where a plant is a few samples high.
    uint32_t StrideOf(const ScanPiece& piece, const RenderMesh& mesh, const ScanView& view) const;
    void AddPieces(uint32_t owner, uint32_t instance, const RenderMesh& mesh, size_t limit);
    // Cells [x0, x1) x [y0, y1) of a block of a terrain.
    RasterWindow BlockCells(const RenderHeights& heights, uint32_t block) const;
    Box3 BlockBounds(const RenderHeights& heights, uint32_t block) const;

    template <class Emit>
    void DrawFaces(const ScanPiece& piece, const RenderMesh& mesh, uint32_t first, uint32_t last,
                   uint32_t stride, const ScanView& view, const RasterWindow& window,
                   const Emit& emit) const;
    template <class Emit>
    void DrawBlock(const ScanPiece& piece, const ScanView& view, const RasterWindow& window,
                   const Emit& emit) const;

    RenderMaterials m_materials;
    std::vector<std::unique_ptr<RenderMesh>> m_meshes;
    std::vector<std::unique_ptr<RenderHeights>> m_heights;
    std::vector<PlacedSource> m_sources;
    std::vector<ScanPiece> m_pieces;
    Box3 m_bounds;
};

// The pieces that each tile of a view may show, in the order of the scene.
class TileBins {
public:
    TileBins(const ScanScene& scene, const ScanView& view, int tileSide, int threads);

    size_t NumTiles() const { return size_t(m_across) * size_t(m_down); }
    RasterWindow Tile(size_t tile) const;
    std::span<const uint32_t> Pieces(size_t tile) const {
        return {m_pieces.data() + m_first[tile], m_first[tile + 1] - m_first[tile]};
    }

private:
    int m_side, m_width, m_height, m_across, m_down;
    std::vector<size_t> m_first;  // by tile, and the end
    std::vector<uint32_t> m_pieces;
};
