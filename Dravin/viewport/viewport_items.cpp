#include "Dravin/viewport/viewport_items.h"

#include <algorithm>
#include <cmath>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/transforms.h"
#include "Dravin/mesh/mesh_materials.h"
#include "Dravin/viewport/view_paint.h"
#include "host/base/thread_pool.h"

namespace {

constexpr size_t kItemsInCell = 2048, kMaxCellsASide = 64;
constexpr uint32_t kNone = 0xFFFFFFFFu;
constexpr int kPointsCloud = 3;  // of vmesh

// --- what items show

// Prototypes of a build, numbered as items are first seen to show them.
class Prototypes {
public:
    Prototypes(const TDravinBuild& build, const TDravin& object, size_t paletteSize)
        : m_build(build),
          m_consolidates(object.Block(kGeomParams).GetBool(geomParams::kConsmat, build.Time())),
          m_paletteSize(paletteSize) {
        for (size_t row = 0; row < build.Specimens().NumRows(); ++row) {
            const TSpecBuild& specimen = build.Specimens().Row(row);
            m_first.push_back(m_places.size());
            m_places.resize(m_places.size() + specimen.nodes.size() * NumFrames(specimen),
                            kNotSeen);
        }
    }
    // kNone: the item shows nothing. One thread.
    uint32_t Of(int32_t specimenIndex, int16_t elementIndex, int32_t frame) {
        if (m_first.empty()) return kNone;
        size_t row = SpecimenRow(specimenIndex, m_first.size());
        const TSpecBuild& specimen = m_build.Specimens().Row(row);
        if (specimen.nodes.empty()) return kNone;
        size_t node = uint16_t(elementIndex) % specimen.nodes.size();
        size_t frames = NumFrames(specimen);
        auto at = size_t(std::clamp(frame, 0, int32_t(frames) - 1));
        uint32_t& place = m_places[m_first[row] + node * frames + at];
        if (place == kNotSeen) place = Add(specimen, node, at);
        return place;
    }
    std::vector<TViewPrototype> Take() { return std::move(m_made); }

private:
    static constexpr uint32_t kNotSeen = kNone - 1;

    static size_t NumFrames(const TSpecBuild& specimen) {
        return std::max<size_t>(1, specimen.frames.size());
    }
    uint32_t Add(const TSpecBuild& specimen, size_t n, size_t frame) {
        const TSpecBuildNode& node = specimen.nodes[n];
        TViewPrototype made;
        made.sample = node.sample;
        if (frame > 0 && node.source)
            made.sample = DravinGlobals().meshes.Get(
                node.source.get(), specimen.FrameFirst(int(frame)), m_build.Time());
        if (!made.sample || !made.sample->Source() || made.sample->Size().numFaces == 0)
            return kNone;
        made.palette = PaletteOf(node);
        made.idColor = {node.entry.colorId.x, node.entry.colorId.y, node.entry.colorId.z};
        made.bounds = made.sample->Size().bounds;
        for (int i = 0; i < 8; ++i) made.radius = std::max(made.radius, Length(made.bounds[i]));
        m_made.push_back(std::move(made));
        return uint32_t(m_made.size() - 1);
    }
    // Entry 0 is for what is selected; ids beyond the palette show its first material.
    std::vector<uint16_t> PaletteOf(const TSpecBuildNode& node) const {
        size_t count = m_consolidates ? size_t(std::max(node.ids.count, 1)) : m_paletteSize;
        std::vector<uint16_t> palette(std::clamp<size_t>(count, 1, 0xFFFF));
        for (size_t id = 0; id < palette.size(); ++id) {
            size_t entry = size_t(m_consolidates ? node.ids.OfFace(int(id)) : int(id)) + 1;
            palette[id] = uint16_t(entry < m_paletteSize ? entry : 1);
        }
        return palette;
    }

    const TDravinBuild& m_build;
    bool m_consolidates;
    size_t m_paletteSize;
    std::vector<size_t> m_first;  // by row
    std::vector<uint32_t> m_places;
    std::vector<TViewPrototype> m_made;
};

// --- cells

uint32_t Mixed(uint32_t x) {
    x = (x ^ (x >> 16)) * 0x7FEB352Du;
    x = (x ^ (x >> 15)) * 0x846CA68Bu;
    return x ^ (x >> 16);
}

// Sorts the items by cells of their place, inside a cell by a hash of their number.
std::vector<TViewCell> SortIntoCells(std::vector<TViewItem>& items,
                                     const std::vector<TViewPrototype>& prototypes, int threads) {
    Box2 area;
    for (const TViewItem& item : items) {
        const Point3& p = item.toObject.row[3];
        area += Point2{p.x, p.y};
    }
    size_t wanted = items.size() / kItemsInCell + 1;
    auto side = size_t(std::clamp<double>(std::ceil(std::sqrt(double(wanted))), 1, kMaxCellsASide));
    auto cellOf = [&](const TViewItem& item) {
        auto along = [&](float x, float low, float width) {
            float place = width > 0 ? (x - low) / width * float(side) : 0;
            return std::min(size_t(std::max(place, 0.f)), side - 1);
        };
        const Point3& p = item.toObject.row[3];
        return along(p.y, area.min.y, area.Height()) * side + along(p.x, area.min.x, area.Width());
    };
    std::vector<TViewCell> cells(side * side);
    std::vector<uint16_t> cell(items.size());
    for (size_t i = 0; i < items.size(); ++i) ++cells[cell[i] = uint16_t(cellOf(items[i]))].count;
    for (size_t c = 1; c < cells.size(); ++c)
        cells[c].first = cells[c - 1].first + cells[c - 1].count;
    std::vector<uint32_t> next(cells.size());
    for (size_t c = 0; c < cells.size(); ++c) next[c] = cells[c].first;
    std::vector<TViewItem> sorted(items.size());
    for (size_t i = 0; i < items.size(); ++i) sorted[next[cell[i]]++] = items[i];
    items.swap(sorted);
    ParallelFor(cells.size(), threads, [&](size_t c) {
        TViewCell& own = cells[c];
        std::sort(items.begin() + own.first, items.begin() + own.first + own.count,
                  [](const TViewItem& a, const TViewItem& b) {
                      return Mixed(a.item) != Mixed(b.item) ? Mixed(a.item) < Mixed(b.item)
                                                            : a.item < b.item;
                  });
        for (uint32_t i = own.first; i < own.first + own.count; ++i) {
            Box3 box = items[i].toObject.BoxTransform(prototypes[items[i].prototype].bounds);
            own.bounds += box;
            own.meanRadius += Length(box.Width()) / 2 / float(own.count);
        }
    });
    std::erase_if(cells, [](const TViewCell& own) { return own.count == 0; });
    return cells;
}

// --- the items

uint8_t Byte(float value) { return uint8_t(std::lround(std::clamp(value, 0.f, 1.f) * 255)); }

// Which items show something, and what: prototypes are numbered in their order.
std::vector<TViewItem> ListItems(const TDravinItemList& list, Prototypes& prototypes) {
    std::vector<TViewItem> items;
    items.reserve(list.Count());
    for (size_t i = 0; i < list.Count();) {
        size_t count = 0;
        TItemColumns columns = list.ColumnsAt(i, &count);
        for (size_t k = 0; k < count; ++k, ++i) {
            const ItemMarks& marks = columns.marks[k];
            if (marks.Is(ItemMarks::kDiscarded)) continue;
            uint32_t prototype =
                prototypes.Of(columns.specimenIndex[k], marks.elementIndex,
                              columns.looks ? columns.looks[k].animationOffset : 0);
            if (prototype == kNone) continue;
            TViewItem& item = items.emplace_back();
            item.prototype = prototype, item.item = uint32_t(i);
            if (marks.Is(ItemMarks::kSelected)) item.flags |= TViewItem::kSelected;
            if (marks.Is(ItemMarks::kPartial)) item.flags |= TViewItem::kPartial;
        }
    }
    return items;
}

void PlaceItems(const TDravinBuild& build, std::vector<TViewItem>& items, int threads) {
    bool scaleOnSlope = build.Input()->transforms.scaleOnSlope;
    ParallelRanges(items.size(), 8192, threads, [&](size_t first, size_t last) {
        TDravinItem item;
        for (size_t i = first; i < last; ++i) {
            build.Items().ReadStored(items[i].item, &item, kGroupCenter);
            items[i].toObject = ItemTransform(item, scaleOnSlope);
            if (!item.tintFlag) continue;
            const Color& tint = item.tintColor;
            items[i].tint[0] = Byte(tint.r);
            items[i].tint[1] = Byte(tint.g);
            items[i].tint[2] = Byte(tint.b);
            items[i].tintAmount = Byte(item.tintBlend);
        }
    });
}

void ListHiddenElements(const TDravinBuild& build, TViewScatter& scatter) {
    TDravinItem item;
    for (const TViewItem& shown : scatter.items) {
        if (!(shown.flags & TViewItem::kPartial)) continue;
        build.Items().ReadStored(shown.item, &item, 0);
        scatter.hiddenElements.emplace_back(shown.item, item.elementMask);
    }
    std::sort(scatter.hiddenElements.begin(), scatter.hiddenElements.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
}

// Dark colours are raised, so that they stay visible.
Color Raised(Color c) {
    constexpr float kLeast = 0.15f, kBlack = 0.0001f;
    float largest = std::max({c.r, c.g, c.b});
    return largest < kLeast && largest > kBlack ? c * (kLeast / largest) : c;
}

std::vector<Color> MakePalette(const INode& node) {
    std::vector<Color> palette{kViewSelected};
    if (const Mtl* material = node.GetMtl())
        for (int i = 0; i < material->NumSubMtls(); ++i) {
            const Mtl* sub = material->GetSubMtl(i);
            palette.push_back(sub ? Raised(PaintOf(StandardMtlOfFace(sub, 0)).color) : Color{});
        }
    if (palette.size() < 2) palette.push_back(node.wireColor);
    return palette;
}

std::shared_ptr<TViewScatter> MakeItems(TDravin& object, INode& node, int threads) {
    const TDravinBuild& build = object.Build();
    auto scatter = std::make_shared<TViewScatter>();
    scatter->palette = MakePalette(node);
    Prototypes prototypes(build, object, scatter->palette.size());
    scatter->items = ListItems(build.Items(), prototypes);
    scatter->prototypes = prototypes.Take();
    PlaceItems(build, scatter->items, threads);
    for (TViewPrototype& prototype : scatter->prototypes)
        prototype.idColor = Raised(prototype.idColor);
    scatter->cells = SortIntoCells(scatter->items, scatter->prototypes, threads);
    ListHiddenElements(build, *scatter);
    return scatter;
}

void SetDisplay(const TDravin& object, TimeValue t, TViewScatter& scatter) {
    const IParamBlock2& display = object.Block(kDispParams);
    const TDravinGlobals& globals = DravinGlobals();
    scatter.showsDots = display.GetInt(dispParams::kVmesh, t) == kPointsCloud;
    scatter.usesIdColor = display.GetBool(dispParams::kCloudcolorid, t);
    scatter.largeDots = globals.options.pointCloudStyle != 0;
    scatter.isEdited = object.editingItems;
    scatter.dotDensity = float(display.GetInt(dispParams::kCloudens, t)) *
                         float(globals.display.cloudDensityPercent) * 0.0002f;
    scatter.dotShade = globals.display.shade;
    scatter.gizmoPoints = object.Build().Statistics().gizmoPoints;
}

// The object mesh, with what its faces show and whose they are.
void ShareMesh(TDravin& object, INode& node, TViewScatter& scatter, TViewNode* out) {
    const TDravinBuild& build = object.Build();
    const TObjectMesh& mesh = build.ObjectMesh();
    if (!mesh.IsBuilt() || mesh.GetMesh().faces.empty()) return;
    out->mesh = mesh.ShareMesh();
    scatter.owners = mesh.FaceOwners();
    scatter.selectedFaces = mesh.FaceSelection();
    TMeshMaterials materials(mesh, build.Items(), build.Specimens(), node.GetMtl());
    TViewPaint plain;
    plain.color = node.wireColor;
    for (const StandardMtl* material : materials.List())
        out->paints.push_back(material ? PaintOf(material) : plain);
    if (out->paints.empty()) out->paints.push_back(plain);
    if (out->paints.size() < 2) return;
    out->facePaint.resize(out->mesh->faces.size());
    for (size_t f = 0; f < out->facePaint.size(); ++f)
        out->facePaint[f] = uint16_t(materials.OfFace(f));
}

// The icon of an object without items: a card with a leaf.
PolyShape EmptyIcon(float size) {
    PolyLine card{{{-0.5f, 0.7f, 0}, {0.5f, 0.7f, 0}, {0.5f, -0.7f, 0}, {-0.5f, -0.7f, 0}}, true};
    PolyLine leaf{{{0, -0.5f, 0},
                   {0.04f, -0.25f, 0},
                   {0.22f, -0.15f, 0},
                   {0.3f, 0.08f, 0},
                   {0.2f, 0.32f, 0},
                   {0, 0.5f, 0},
                   {-0.2f, 0.32f, 0},
                   {-0.3f, 0.08f, 0},
                   {-0.22f, -0.15f, 0},
                   {-0.04f, -0.25f, 0}},
                  true};
    PolyShape icon{{card, leaf}};
    icon.Transform(Matrix3::Scaling({size, size, size}));
    return icon;
}

}  // namespace

void ShowScatter(TDravin& object, INode& node, TimeValue t, int threads, TViewNode* out) {
    out->kind = TViewKind::kScatter;
    out->numIds = uint32_t(std::min<size_t>(object.Build().Items().Count(), kNone - 2)) + 1;
    auto scatter = object.Build().Input() ? MakeItems(object, node, threads)
                                          : std::make_shared<TViewScatter>();
    SetDisplay(object, t, *scatter);
    ShareMesh(object, node, *scatter, out);
    for (const TViewCell& cell : scatter->cells) out->bounds += cell.bounds;
    if (out->mesh) out->bounds += object.Build().ObjectMesh().Bounds();
    if (scatter->items.empty() && !out->mesh) {
        out->lines = EmptyIcon(object.Block(kGenParams).GetFloat(genParams::kIconsize, t));
        out->bounds = out->lines.BoundingBox();
    }
    out->scatter = std::move(scatter);
}
