#include "host/render/scanline/scan_scene.h"

#include <algorithm>
#include <cmath>

#include "host/base/log.h"
#include "host/base/thread_pool.h"

namespace {

// Larger meshes are cut into runs, so that a tile draws what is near it only.
// Instances of plants are small and stay whole.
constexpr size_t kFacesOfPiece = 4096, kFacesOfInstance = 65536, kFacesOfRun = 512;
constexpr size_t kBlockLevel = 2;  // of a terrain's pyramid: 32 cells a side

size_t LevelOf(const HeightField& field) { return std::min(kBlockLevel, field.NumLevels() - 1); }
uint32_t CellsOf(const HeightField& field) {
    return 1u << (HeightField::kBlockBits + LevelOf(field));
}
uint32_t BlocksAlong(size_t samples, uint32_t cells) {
    return (uint32_t(samples) - 1 + cells - 1) / cells;
}

int ClampedSample(double value, int limit) { return int(std::clamp(value, 0.0, double(limit))); }

}  // namespace

RasterWindow ScanView::WindowOf(const Box3& box) const {
    if (box.IsEmpty()) return {};
    double x0 = 1e300, y0 = 1e300, x1 = -1e300, y1 = -1e300;
    int behind = 0, left = 0, right = 0, above = 0, below = 0;
    for (int i = 0; i < 8; ++i) {
        RasterCorner c = Corner(box[i], worldToView, 0, 0);
        left += c.x<0, right += c.x> double(width) * c.w;
        above += c.y<0, below += c.y> double(height) * c.w;
        if (c.w < kNearestW) {
            ++behind;
            continue;
        }
        double w = double(c.w);
        x0 = std::min(x0, c.x / w), x1 = std::max(x1, c.x / w);
        y0 = std::min(y0, c.y / w), y1 = std::max(y1, c.y / w);
    }
    if (std::max({behind, left, right, above, below}) == 8) return {};
    if (behind > 0) return {0, 0, width, height};
    // A sample more on each side: corners are rounded.
    return {ClampedSample(std::floor(x0) - 1, width), ClampedSample(std::floor(y0) - 1, height),
            ClampedSample(std::ceil(x1) + 1, width), ClampedSample(std::ceil(y1) + 1, height)};
}

ScanScene::ScanScene(const RenderScene& scene) : m_materials(scene.time) {
    std::vector<const RenderNode*> terrains;
    for (const RenderNode& node : scene.nodes) {
        if (node.heights) {
            if (node.heights->NumFaces() == 0) continue;
            if (RenderHeights::CanBeShown(node.transform))
                terrains.push_back(&node);
            else
                LogWarning("a terrain is left out of the picture: its transform flattens it");
        } else if (node.mesh) {
            m_meshes.push_back(std::make_unique<RenderMesh>(*node.mesh, node.mtl, node.transform,
                                                            m_materials, node.node));
        }
    }
    for (const RenderNode* node : terrains)
        m_heights.push_back(std::make_unique<RenderHeights>(
            *node->heights, node->mtl, node->transform, m_materials, node->node));
    for (const IInstanceSource* source : scene.sources)
        if (source) m_sources.push_back(ReadPlacedSource(*source, m_materials));

    uint32_t owner = 0;
    for (const auto& mesh : m_meshes) AddPieces(owner++, 0, *mesh, kFacesOfPiece);
    for (const auto& heights : m_heights) {
        const HeightField& field = heights->Field();
        uint32_t cells = CellsOf(field), blocks = BlocksAlong(field.NumColumns(), cells) *
                                                  BlocksAlong(field.NumRows(), cells);
        for (uint32_t b = 0; b < blocks; ++b) m_pieces.push_back({owner, 0, b, 0});
        ++owner;
    }
    for (const PlacedSource& source : m_sources) {
        size_t limit = source.source->ChangeableMesh() ? kFacesOfPiece : kFacesOfInstance;
        for (size_t i = 0; i < source.instances.size(); ++i)
            AddPieces(owner, uint32_t(i), *source.prototypes[source.instances[i].prototype], limit);
        ++owner;
    }
    for (size_t p = 0; p < m_pieces.size(); ++p) m_bounds += PieceBounds(p);
}

void ScanScene::AddPieces(uint32_t owner, uint32_t instance, const RenderMesh& mesh, size_t limit) {
    size_t faces = mesh.NumFaces();
    if (faces == 0) return;
    if (faces <= limit) return m_pieces.push_back({owner, instance, 0, 0});
    for (size_t first = 0; first < faces; first += kFacesOfRun)
        m_pieces.push_back(
            {owner, instance, uint32_t(first), uint32_t(std::min(kFacesOfRun, faces - first))});
}

uint32_t ScanScene::StrideOf(const ScanPiece& piece, const RenderMesh& mesh,
                             const ScanView& view) const {
    constexpr float kLeastFaces = 12;
    auto faces = float(mesh.NumFaces());
    if (KindOf(piece) != kSource || faces <= kLeastFaces) return 1;
    const PackedInstance& instance = InstanceOf(piece);
    float size = Length(mesh.Bounds().Width()) / instance.InverseScale(), w = 1;
    if (view.isPerspective) w = -(instance.position * view.worldToView).z - size;
    if (w <= 0) return 1;
    float side = size * float(view.scale) / w;
    float enough = std::max(kLeastFaces, view.facesOfSample * side * side);
    return faces > enough ? uint32_t(faces / enough) : 1;
}

size_t ScanScene::NumInstances() const {
    size_t count = 0;
    for (const PlacedSource& source : m_sources) count += source.instances.size();
    return count;
}

size_t ScanScene::InstanceBytes() const {
    return NumInstances() * sizeof(PackedInstance) + m_pieces.size() * sizeof(ScanPiece);
}

size_t ScanScene::NumFaces() const {
    size_t count = 0;
    for (const auto& mesh : m_meshes) count += mesh->NumFaces();
    for (const auto& heights : m_heights) count += heights->NumFaces();
    for (const PlacedSource& source : m_sources)
        for (const auto& prototype : source.prototypes) count += prototype->NumFaces();
    return count;
}

RasterWindow ScanScene::BlockCells(const RenderHeights& heights, uint32_t block) const {
    const HeightField& field = heights.Field();
    uint32_t cells = CellsOf(field), across = BlocksAlong(field.NumColumns(), cells);
    int x0 = int(block % across * cells), y0 = int(block / across * cells);
    return {x0, y0, std::min(x0 + int(cells), int(field.NumColumns()) - 1),
            std::min(y0 + int(cells), int(field.NumRows()) - 1)};
}

Box3 ScanScene::BlockBounds(const RenderHeights& heights, uint32_t block) const {
    const HeightField& field = heights.Field();
    uint32_t across = BlocksAlong(field.NumColumns(), CellsOf(field));
    HeightField::Range range = field.BlockRange(LevelOf(field), block % across, block / across);
    if (range.low > range.high) return {};
    RasterWindow cells = BlockCells(heights, block);
    Box3 box;
    box += Point3{field.X(size_t(cells.x0)), field.Y(size_t(cells.y0)), range.low};
    box += Point3{field.X(size_t(cells.x1)), field.Y(size_t(cells.y1)), range.high};
    return heights.ToWorld().BoxTransform(box);
}

const INode* ScanScene::NodeOf(size_t index) const {
    const ScanPiece& piece = m_pieces[index];
    if (KindOf(piece) == kMesh) return m_meshes[piece.owner]->Node();
    return KindOf(piece) == kTerrain ? HeightsOf(piece).Node()
                                     : SourceOf(piece).source->SourceNode();
}

Box3 ScanScene::PieceBounds(size_t number) const {
    const ScanPiece& piece = m_pieces[number];
    if (KindOf(piece) == kTerrain) return BlockBounds(HeightsOf(piece), piece.first);
    const RenderMesh& mesh = MeshOf(piece);
    bool isInstance = KindOf(piece) == kSource;
    if (piece.count == 0)
        return isInstance ? mesh.MovedBounds(InstanceOf(piece).ToWorld()) : mesh.Bounds();
    Box3 box;
    for (uint32_t f = piece.first; f < piece.first + piece.count; ++f)
        for (uint32_t v : mesh.Faces()[f]) box += mesh.Positions()[v];
    return isInstance ? InstanceOf(piece).ToWorld().BoxTransform(box) : box;
}

HitPlace ScanScene::PlaceOf(size_t number, uint32_t face, float u, float v) const {
    const ScanPiece& piece = m_pieces[number];
    if (KindOf(piece) == kTerrain) return {nullptr, &HeightsOf(piece), face, u, v};
    HitPlace place{&MeshOf(piece), nullptr, face, u, v};
    if (KindOf(piece) == kSource) {
        place.instance = &InstanceOf(piece);
        place.source = SourceOf(piece).source;
    }
    return place;
}

TileBins::TileBins(const ScanScene& scene, const ScanView& view, int tileSide, int threads)
    : m_side(tileSide),
      m_width(view.width),
      m_height(view.height),
      m_across((view.width + tileSide - 1) / tileSide),
      m_down((view.height + tileSide - 1) / tileSide) {
    constexpr size_t kGrain = 8192;
    struct Touch {
        uint32_t tile, piece;
    };
    size_t count = scene.NumPieces();
    std::vector<std::vector<Touch>> touches((count + kGrain - 1) / kGrain);
    ParallelFor(touches.size(), threads, [&](size_t part) {
        size_t end = std::min((part + 1) * kGrain, count);
        for (size_t p = part * kGrain; p < end; ++p) {
            RasterWindow w = view.WindowOf(scene.PieceBounds(p));
            if (w.IsEmpty()) continue;
            for (int y = w.y0 / m_side; y <= (w.y1 - 1) / m_side; ++y)
                for (int x = w.x0 / m_side; x <= (w.x1 - 1) / m_side; ++x)
                    touches[part].push_back({uint32_t(y * m_across + x), uint32_t(p)});
        }
    });
    m_first.assign(NumTiles() + 1, 0);
    for (const auto& part : touches)
        for (const Touch& touch : part) ++m_first[touch.tile + 1];
    for (size_t t = 1; t < m_first.size(); ++t) m_first[t] += m_first[t - 1];
    m_pieces.resize(m_first.back());
    std::vector<size_t> next = m_first;
    for (const auto& part : touches)
        for (const Touch& touch : part) m_pieces[next[touch.tile]++] = touch.piece;
}

RasterWindow TileBins::Tile(size_t tile) const {
    int x = int(tile % size_t(m_across)) * m_side, y = int(tile / size_t(m_across)) * m_side;
    return {x, y, std::min(x + m_side, m_width), std::min(y + m_side, m_height)};
}
