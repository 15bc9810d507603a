#include "Dravin/viewport/viewport_plan.h"

#include <algorithm>
#include <cmath>

#include "Dravin/viewport/cloud_rule.h"

namespace {

constexpr size_t kFacesInPiece = 4096, kRowsInPiece = 16, kMaxTerrainCells = 400'000;
constexpr int kLinesOfBox = 12;

TViewPiece::Kind KindOf(const TViewNode& node, const TViewportSettings& settings) {
    if (settings.display == TViewDisplay::kBoxes) return TViewPiece::kBoxes;
    if (settings.display == TViewDisplay::kPoints || node.scatter->showsDots)
        return TViewPiece::kDots;
    return settings.display == TViewDisplay::kWire ? TViewPiece::kEdges : TViewPiece::kFaces;
}

float ScaleOf(const Matrix3& m) {
    return std::sqrt(
        std::max({LengthSquared(m.row[0]), LengthSquared(m.row[1]), LengthSquared(m.row[2])}));
}

class Planner {
public:
    Planner(const TViewportCamera& camera, const TViewportSettings& settings,
            const TPixelRect& window)
        : m_camera(camera), m_settings(settings), m_window(window) {}

    TViewPlan Plan(const TViewportScene& scene) {
        for (const TViewNode& node : scene.Nodes())
            if (node.scatter) AddScatter(node);
        Thin();
        for (const TViewNode& node : scene.Nodes()) {
            if (!node.scatter && node.mesh)
                AddFaces(node, m_settings.display == TViewDisplay::kWire ? TViewPiece::kEdges
                                                                         : TViewPiece::kFaces);
            if (node.heights) AddTerrain(node);
            m_plan.pieces.push_back({&node, TViewPiece::kMarks});
        }
        return std::move(m_plan);
    }

private:
    struct Cell {
        const TViewNode* node;
        TViewPiece::Kind kind;
        uint32_t first, count;
    };

    // Whether the box may lie in the window.
    bool IsSeen(const TViewportCamera& camera, const Box3& box) const {
        TItemRectangle r = ItemRectangle(camera, box);
        return !r.isHidden && r.right >= m_window.left && r.left < m_window.right &&
               r.bottom >= m_window.top && r.top < m_window.bottom;
    }
    void AddScatter(const TViewNode& node) {
        TViewPiece::Kind kind = KindOf(node, m_settings);
        bool isMesh = kind == TViewPiece::kFaces || kind == TViewPiece::kEdges;
        if (isMesh && m_settings.leavesMeshes) return;
        bool isTooMuch = isMesh && node.mesh && m_settings.maxElements > 0 &&
                         node.mesh->faces.size() > m_settings.maxElements;
        if (isMesh && !isTooMuch) {
            m_fixed += node.mesh ? node.mesh->faces.size() : 0;
            m_plan.counts.itemsInView += node.scatter->items.size();
            m_plan.counts.itemsDrawn += node.scatter->items.size();
            AddFaces(node, kind);
            return;
        }
        TViewportCamera camera = m_camera.Of(node.toWorld);
        float scale = ScaleOf(node.toWorld);
        for (const TViewCell& cell : node.scatter->cells) {
            if (!IsSeen(camera, cell.bounds)) continue;
            m_plan.counts.itemsInView += cell.count;
            double each = kLinesOfBox;
            if (kind != TViewPiece::kBoxes) each = DotsOf(node, camera, cell, scale);
            m_cells.push_back(
                {&node, isTooMuch ? TViewPiece::kDots : kind, cell.first, cell.count});
            m_wanted += each * cell.count;
            m_least += (kind == TViewPiece::kBoxes ? each : 1.0) * cell.count;
        }
    }
    // Of an item of the cell, about.
    double DotsOf(const TViewNode& node, const TViewportCamera& camera, const TViewCell& cell,
                  float scale) const {
        float radius = cell.meanRadius * scale;
        float depth = std::max(-camera.ToView(cell.bounds.Center()).z, radius);
        float side = std::min(2 * radius * camera.Focal() / depth, float(camera.Width()));
        float perPixel = DotsPerPixel(node.scatter->dotDensity, m_settings.isNavigating);
        return std::clamp<double>(double(side) * side * perPixel, 1, TMeshCloud::kNumPoints);
    }
    void Thin() {
        auto budget = double(m_settings.maxElements);
        budget = std::max(budget - double(m_fixed), 0.0);
        if (m_settings.maxElements > 0 && m_wanted > budget) {
            bool isEnough = m_least <= budget;
            m_plan.thinning.dots =
                isEnough ? float((budget - m_least) / std::max(m_wanted - m_least, 1.0)) : 0;
            m_plan.thinning.items = isEnough ? 1 : float(budget / m_least);
        }
        for (const Cell& cell : m_cells) {
            // Rounded up or down by chance, so that small cells lose their share too.
            float chance = float((cell.first * 2654435761u) >> 16) / 65536;
            auto count =
                std::min(cell.count, uint32_t(float(cell.count) * m_plan.thinning.items + chance));
            if (m_plan.thinning.items >= 1) count = cell.count;
            m_plan.counts.itemsDrawn += count;
            if (count > 0)
                m_plan.pieces.push_back(
                    {cell.node, cell.kind, cell.first, size_t(cell.first) + count});
        }
    }
    void AddFaces(const TViewNode& node, TViewPiece::Kind kind) {
        if (!node.mesh || !IsSeen(m_camera.Of(node.toWorld), node.bounds)) return;
        size_t count = node.mesh->faces.size();
        for (size_t first = 0; first < count; first += kFacesInPiece)
            m_plan.pieces.push_back({&node, kind, first, std::min(first + kFacesInPiece, count)});
    }
    void AddTerrain(const TViewNode& node) {
        if (!IsSeen(m_camera.Of(node.toWorld), node.bounds)) return;
        size_t rows = (node.heights->NumRows() - 2) / TerrainStep(*node.heights) + 1;
        for (size_t first = 0; first < rows; first += kRowsInPiece)
            m_plan.pieces.push_back(
                {&node, TViewPiece::kTerrain, first, std::min(first + kRowsInPiece, rows)});
    }

    const TViewportCamera& m_camera;
    const TViewportSettings& m_settings;
    TPixelRect m_window;
    TViewPlan m_plan;
    std::vector<Cell> m_cells;
    double m_wanted = 0, m_least = 0;
    uint64_t m_fixed = 0;
};

}  // namespace

TViewPlan PlanViewport(const TViewportScene& scene, const TViewportCamera& camera,
                       const TViewportSettings& settings, const TPixelRect& window) {
    return Planner(camera, settings, window).Plan(scene);
}

size_t TerrainStep(const HeightField& heights) {
    double cells = double(heights.NumColumns() - 1) * double(heights.NumRows() - 1);
    return std::max<size_t>(1, size_t(std::ceil(std::sqrt(cells / double(kMaxTerrainCells)))));
}
