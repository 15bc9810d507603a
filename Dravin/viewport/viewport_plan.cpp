#include "Dravin/viewport/viewport_plan.h"

#include <algorithm>
#include <cmath>

#include "Dravin/viewport/cloud_rule.h"
#include "Dravin/viewport/view_instances.h"

namespace {

constexpr size_t kFacesInPiece = 4096, kRowsInPiece = 16, kMaxTerrainCells = 400'000;
constexpr int kLinesOfBox = 12;

TViewPiece::Kind KindOf(const TViewNode& node, const TViewportSettings& settings) {
    if (settings.display == TViewDisplay::kBoxes) return TViewPiece::kBoxes;
    if (settings.display == TViewDisplay::kPoints || node.scatter->showsDots)
        return TViewPiece::kDots;
    if (settings.instances && !node.scatter->showsProxies) return TViewPiece::kItems;
    return settings.display == TViewDisplay::kWire ? TViewPiece::kEdges : TViewPiece::kFaces;
}

class Planner {
public:
    Planner(const TViewportCamera& camera, const TViewportSettings& settings,
            const TPixelRect& window)
        : m_camera(camera), m_settings(settings), m_window(window) {}

    TViewPlan Plan(const TViewportScene& scene) {
        for (const TViewNode& node : scene.Nodes())
            if (node.scatter) AddScatter(node);
        ChooseQuality();
        AddDotsOfInstances();
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
    // An item that stands for several.
    struct Sample {
        const TViewPrototype* prototype;
        float pixels, weight, dotsPerPixel;
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
        bool isTooMuch = isMesh && node.mesh && m_settings.maxElements > 0 &&
                         node.mesh->faces.size() > m_settings.maxElements;
        if (isMesh && !isTooMuch) {
            m_fixed += node.mesh ? node.mesh->faces.size() : 0;
            m_plan.counts.itemsInView += node.scatter->Items().size();
            m_plan.counts.itemsDrawn += node.scatter->Items().size();
            AddFaces(node, kind);
            return;
        }
        TViewportCamera camera = m_camera.Of(node.toWorld);
        float scale = LargestScale(node.toWorld);
        for (const TViewCell& cell : node.scatter->Cells()) {
            if (!IsSeen(camera, cell.bounds)) continue;
            m_plan.counts.itemsInView += cell.count;
            if (kind == TViewPiece::kItems && !IsFar(camera, cell, scale)) {
                AddInstances(node, camera, cell, scale);
                continue;
            }
            double each = kLinesOfBox;
            if (kind != TViewPiece::kBoxes) each = DotsOf(node, camera, cell, scale);
            bool isDots = isTooMuch || kind == TViewPiece::kItems;
            m_cells.push_back({&node, isDots ? TViewPiece::kDots : kind, cell.first, cell.count});
            m_wanted += each * cell.count;
            m_least += (kind == TViewPiece::kBoxes ? each : 1.0) * cell.count;
        }
    }
    // Whether items of the cell are dots, all of them.
    bool IsFar(const TViewportCamera& camera, const TViewCell& cell, float scale) const {
        constexpr float kLargest = 4;  // times the mean
        float depth = -camera.ToView(cell.bounds.Center()).z;
        depth -= Length(cell.bounds.Width()) / 2 * scale;
        if (!(depth > 0)) return false;
        float pixels = kLargest * cell.meanRadius * scale * camera.PixelsAt(depth);
        return pixels < TInstanceChooser::kLeastPixels;
    }
    // Samples of the cell say about how many faces its items have at any quality: its first items
    // are as good as any.
    void AddInstances(const TViewNode& node, const TViewportCamera& camera, const TViewCell& cell,
                      float scale) {
        constexpr uint32_t kSamples = 16;
        m_plan.counts.itemsDrawn += cell.count;
        m_plan.pieces.push_back(
            {&node, TViewPiece::kItems, cell.first, size_t(cell.first) + cell.count});
        if (m_settings.maxFaces == 0) return;
        TInstanceChooser chooser(camera, scale, 1);
        uint32_t count = std::min(cell.count, kSamples);
        for (uint32_t i = cell.first; i < cell.first + count; ++i) {
            const TViewItem& item = node.scatter->Items()[i];
            const TViewPrototype& prototype = node.scatter->prototypes[item.prototype];
            if (chooser.Level(item, prototype) == TInstanceChooser::kHidden) continue;
            float perPixel = DotsPerPixel(node.scatter->dotDensity, m_settings.isNavigating);
            m_samples.push_back(
                {&prototype, chooser.Pixels(item), float(cell.count) / float(count), perPixel});
        }
    }
    double FacesAt(float quality) const {
        TInstanceChooser chooser(m_camera, 1, quality);
        double faces = 0;
        for (const Sample& sample : m_samples) {
            int level = chooser.LevelAt(*sample.prototype, sample.pixels);
            if (level < 0) continue;
            faces += double(sample.weight) *
                     sample.prototype->shape->Mesh().levels[size_t(level)].numFaces;
        }
        return faces;
    }
    // Instances that became dots have dots by their size.
    void AddDotsOfInstances() {
        TInstanceChooser chooser(m_camera, 1, m_plan.quality);
        for (const Sample& sample : m_samples) {
            if (chooser.LevelAt(*sample.prototype, sample.pixels) >= 0) continue;
            double dots = double(sample.pixels) * sample.pixels * sample.dotsPerPixel;
            m_wanted += sample.weight * std::clamp<double>(dots, 1, TMeshCloud::kNumPoints);
            m_least += sample.weight;
        }
    }
    // The best one with which the budget holds, as far as samples say.
    void ChooseQuality() {
        auto budget = double(m_settings.maxFaces);
        if (m_samples.empty() || FacesAt(1) <= budget) return;
        constexpr int kHalvings = 12;
        float low = -14, high = 0;  // powers of two
        for (int i = 0; i < kHalvings; ++i) {
            float middle = (low + high) / 2;
            (FacesAt(std::exp2(middle)) <= budget ? low : high) = middle;
        }
        m_plan.quality = std::exp2(low);
    }
    // Of an item of the cell, about.
    double DotsOf(const TViewNode& node, const TViewportCamera& camera, const TViewCell& cell,
                  float scale) const {
        float radius = cell.meanRadius * scale;
        float depth = std::max(-camera.ToView(cell.bounds.Center()).z, radius);
        float side = std::min(2 * radius * camera.PixelsAt(depth), float(camera.Width()));
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
    std::vector<Sample> m_samples;
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
