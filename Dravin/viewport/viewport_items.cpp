#include "Dravin/viewport/viewport_items.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/transforms.h"
#include "Dravin/mesh/mesh_materials.h"
#include "Dravin/viewport/view_materials.h"
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
    explicit Prototypes(const TDravinBuild& build) : m_build(build) {
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
        if (place == kNotSeen) place = Add(row, node, at);
        if (place != kNone) ++m_made[place].numItems;
        return place;
    }
    std::vector<TViewPrototype> Take() { return std::move(m_made); }

private:
    static constexpr uint32_t kNotSeen = kNone - 1;

    static size_t NumFrames(const TSpecBuild& specimen) {
        return std::max<size_t>(1, specimen.frames.size());
    }
    uint32_t Add(size_t row, size_t n, size_t frame) {
        const TSpecBuild& specimen = m_build.Specimens().Row(row);
        const TSpecBuildNode& node = specimen.nodes[n];
        TViewPrototype made;
        made.row = uint32_t(row), made.node = uint32_t(n);
        made.sample = node.sample;
        if (frame > 0 && node.source)
            made.sample = DravinGlobals().meshes.Get(
                node.source.get(), specimen.FrameFirst(int(frame)), m_build.Time());
        if (!made.sample || !made.sample->Source() || made.sample->Size().numFaces == 0)
            return kNone;
        made.bounds = made.sample->Size().bounds;
        for (int i = 0; i < 8; ++i) made.radius = std::max(made.radius, Length(made.bounds[i]));
        m_made.push_back(std::move(made));
        return uint32_t(m_made.size() - 1);
    }

    const TDravinBuild& m_build;
    std::vector<size_t> m_first;  // by row
    std::vector<uint32_t> m_places;
    std::vector<TViewPrototype> m_made;
};

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
            const StandardMtl* shown = sub ? StandardMtlOfFace(sub, 0) : nullptr;
            Color color = shown ? Color(shown->diffuse) : PaintOf(nullptr).color;
            palette.push_back(sub ? Raised(color) : Color{});
        }
    if (palette.size() < 2) palette.push_back(node.wireColor);
    return palette;
}

// Which materials the faces of prototypes show, and the colours of their dots.
class Colors {
public:
    Colors(const TDravinBuild& build, const TDravin& object, INode& node, size_t paletteSize,
           TViewMaterials& materials)
        : m_build(build),
          m_node(node),
          m_consolidates(object.Block(kGeomParams).GetBool(geomParams::kConsmat, build.Time())),
          m_paletteSize(paletteSize),
          m_materials(materials) {}

    void Set(TViewPrototype& prototype) {
        const TSpecBuildNode& node = m_build.Specimens().Row(prototype.row).nodes[prototype.node];
        prototype.palette = PaletteOf(node);
        const Point3& id = node.entry.colorId;
        prototype.idColor = Raised({id.x, id.y, id.z});
        m_materials.Prepare(node.Material());
        prototype.material = m_materials.CopyOf(node.Material());
        uint16_t last = 0;
        for (const Face& face : prototype.sample->Source()->faces)
            last = std::max(last, face.matID);
        prototype.paints.clear();
        for (int id = 0; id <= int(last); ++id) prototype.paints.push_back(PaintOfId(node, id));
        std::vector<int> channels;
        for (const TViewPaint& paint : prototype.paints)
            channels.push_back(paint.texture ? paint.texture->channel : 1);
        prototype.shape = ShapeOf(prototype.sample, channels);
    }

private:
    // As on the object mesh: the object's material, without one the source's own.
    TViewPaint PaintOfId(const TSpecBuildNode& node, int id) const {
        Mtl* own = node.Material();
        Mtl* shown = MtlOnMesh<Mtl>(m_build.ObjectMesh(), own, m_node.GetMtl());
        if (shown != own && m_consolidates) id = node.ids.OfFace(id);
        const StandardMtl* material = StandardMtlOfFace(static_cast<const Mtl*>(shown), id);
        TViewPaint paint = PaintOf(material);
        if (!material) paint.color = m_node.wireColor;
        return paint;
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
    INode& m_node;
    bool m_consolidates;
    size_t m_paletteSize;
    TViewMaterials& m_materials;
};

// --- cells

// What is shown of an item, before it is placed.
struct Listed {
    uint32_t item, prototype, flags;
};

// Numbers below 2^bits in an order without order: a bijection.
class Shuffle {
public:
    explicit Shuffle(size_t count)
        : m_bits(uint32_t(std::bit_width(std::max(count, size_t{2}) - 1))) {}
    size_t Size() const { return size_t{1} << m_bits; }
    size_t operator()(size_t i) const {
        size_t mask = Size() - 1, half = (m_bits + 1) / 2;
        for (size_t factor : {size_t{0x7FEB352D}, size_t{0x846CA68B}}) {
            i ^= i >> half;
            i = (i * factor) & mask;
        }
        return i ^ (i >> half);
    }

private:
    uint32_t m_bits;
};

// Which cell each item lies in, row by row of `side` cells; fewer than 65536.
std::vector<uint16_t> CellsOf(const TDravinItemList& list, const std::vector<Listed>& items,
                              size_t side, int threads) {
    Box2 area;
    for (const Listed& item : items) {
        const Point3& p = list.Position(item.item);
        if (std::isfinite(p.x) && std::isfinite(p.y)) area += Point2{p.x, p.y};
    }
    auto along = [&](float x, float low, float width) {
        float place = width > 0 ? (x - low) / width * float(side) : 0;
        return place > 0 ? std::min(size_t(place), side - 1) : size_t{0};
    };
    std::vector<uint16_t> cells(items.size());
    ParallelRanges(items.size(), 16384, threads, [&](size_t first, size_t last) {
        for (size_t i = first; i < last; ++i) {
            const Point3& p = list.Position(items[i].item);
            cells[i] = uint16_t(along(p.y, area.min.y, area.Height()) * side +
                                along(p.x, area.min.x, area.Width()));
        }
    });
    return cells;
}

// Where each item goes: cell by cell, in each at random.
std::vector<uint32_t> SlotsOf(const std::vector<uint16_t>& cellOf, std::vector<TViewCell>& cells) {
    for (uint16_t cell : cellOf) ++cells[cell].count;
    std::vector<uint32_t> next(cells.size());
    for (size_t c = 1; c < cells.size(); ++c)
        next[c] = cells[c].first = cells[c - 1].first + cells[c - 1].count;
    std::vector<uint32_t> slots(cellOf.size());
    Shuffle shuffle(cellOf.size());
    for (size_t k = 0; k < shuffle.Size(); ++k)
        if (size_t i = shuffle(k); i < slots.size()) slots[i] = next[cellOf[i]]++;
    return slots;
}

// --- the items

uint8_t Byte(float value) { return uint8_t(std::lround(std::clamp(value, 0.f, 1.f) * 255)); }

// Which items show something, and what: prototypes are numbered in their order.
std::vector<Listed> ListItems(const TDravinItemList& list, Prototypes& prototypes) {
    std::vector<Listed> items;
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
            uint32_t flags = (marks.Is(ItemMarks::kSelected) ? TViewItem::kSelected : 0u) |
                             (marks.Is(ItemMarks::kPartial) ? TViewItem::kPartial : 0u);
            items.push_back({uint32_t(i), prototype, flags});
        }
    }
    return items;
}

// What marks say that a build does not: selection and the like.
uint64_t MarksNumber(const TDravinItemList& list) {
    uint64_t number = list.Count();
    for (size_t i = 0; i < list.Count();) {
        size_t count = 0;
        TItemColumns columns = list.ColumnsAt(i, &count);
        for (size_t k = 0; k < count; ++k, ++i) {
            const ItemMarks& marks = columns.marks[k];
            uint64_t own = (marks.Is(ItemMarks::kSelected) ? 1u : 0u) |
                           (marks.Is(ItemMarks::kDiscarded) ? 2u : 0u) |
                           (marks.Is(ItemMarks::kPartial) ? 4u : 0u);
            number = (number ^ own) * 0x100000001B3u;
        }
    }
    return number;
}

TViewItem Placed(const TDravinItem& item, const Listed& listed, bool scaleOnSlope) {
    TViewItem out;
    out.item = listed.item, out.prototype = listed.prototype, out.flags = listed.flags;
    out.toObject = ItemTransform(item, scaleOnSlope);
    if (!item.tintFlag) return out;
    out.tint[0] = Byte(item.tintColor.r);
    out.tint[1] = Byte(item.tintColor.g);
    out.tint[2] = Byte(item.tintColor.b);
    out.tintAmount = Byte(item.tintBlend);
    return out;
}

void PlaceItems(const TDravinBuild& build, const std::vector<Listed>& listed,
                const std::vector<TViewPrototype>& prototypes, int threads, TViewItems& out) {
    size_t wanted = listed.size() / kItemsInCell + 1;
    auto side = size_t(std::clamp<double>(std::ceil(std::sqrt(double(wanted))), 1, kMaxCellsASide));
    out.cells.resize(side * side);
    std::vector<uint32_t> slots = SlotsOf(CellsOf(build.Items(), listed, side, threads), out.cells);
    out.items.resize(listed.size());
    bool scaleOnSlope = build.Input()->transforms.scaleOnSlope;
    ParallelRanges(listed.size(), 8192, threads, [&](size_t first, size_t last) {
        TDravinItem item;
        for (size_t i = first; i < last; ++i) {
            build.Items().ReadStored(listed[i].item, &item, kGroupCenter);
            out.items[slots[i]] = Placed(item, listed[i], scaleOnSlope);
        }
    });
    ParallelFor(out.cells.size(), threads, [&](size_t c) {
        TViewCell& own = out.cells[c];
        for (uint32_t i = own.first; i < own.first + own.count; ++i) {
            const TViewItem& item = out.items[i];
            Box3 box = item.toObject.BoxTransform(prototypes[item.prototype].bounds);
            own.bounds += box;
            own.meanRadius += Length(box.Width()) / 2 / float(own.count);
        }
    });
    std::erase_if(out.cells, [](const TViewCell& own) { return own.count == 0; });
}

void ListHiddenElements(const TDravinBuild& build, TViewItems& out) {
    TDravinItem item;
    std::vector<std::pair<uint32_t, size_t>> partial;
    for (size_t i = 0; i < out.items.size(); ++i)
        if (out.items[i].flags & TViewItem::kPartial) partial.emplace_back(out.items[i].item, i);
    std::sort(partial.begin(), partial.end());
    for (auto [number, place] : partial) {
        build.Items().ReadStored(number, &item, 0);
        out.items[place].flags |= uint32_t(out.hiddenElements.size()) << TViewItem::kHiddenShift;
        out.hiddenElements.emplace_back(number, item.elementMask);
    }
}

std::shared_ptr<TViewScatter> MakeItems(TDravin& object, INode& node, int threads,
                                        const TViewScatter* before, TViewMaterials& materials) {
    const TDravinBuild& build = object.Build();
    auto scatter = std::make_shared<TViewScatter>();
    materials.Prepare(node.GetMtl());
    scatter->palette = MakePalette(node);
    uint64_t marks = MarksNumber(build.Items());
    bool isSame = before && before->content->buildNumber == build.BuildNumber() &&
                  before->content->marks == marks;
    if (isSame) {
        scatter->prototypes = before->prototypes;
        scatter->content = before->content;
    } else {
        Prototypes prototypes(build);
        std::vector<Listed> listed = ListItems(build.Items(), prototypes);
        scatter->prototypes = prototypes.Take();
        auto content = std::make_shared<TViewItems>();
        PlaceItems(build, listed, scatter->prototypes, threads, *content);
        ListHiddenElements(build, *content);
        content->buildNumber = build.BuildNumber(), content->marks = marks;
        scatter->content = std::move(content);
    }
    Colors colors(build, object, node, scatter->palette.size(), materials);
    for (TViewPrototype& prototype : scatter->prototypes) colors.Set(prototype);
    return scatter;
}

void SetDisplay(const TDravin& object, TimeValue t, TViewScatter& scatter) {
    const IParamBlock2& display = object.Block(kDispParams);
    const TDravinGlobals& globals = DravinGlobals();
    scatter.showsDots = display.GetInt(dispParams::kVmesh, t) == kPointsCloud;
    const TObjectMesh& mesh = object.Build().ObjectMesh();
    scatter.showsProxies = mesh.IsBuilt() && mesh.Statistics().mode == TMeshMode::kProxy;
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

}  // namespace

// A card with a leaf.
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

void ShowScatter(TDravin& object, INode& node, TimeValue t, int threads, const TViewScatter* before,
                 TViewMaterials& materials, TViewNode* out) {
    out->kind = TViewKind::kScatter;
    out->numIds = uint32_t(std::min<size_t>(object.Build().Items().Count(), kNone - 2)) + 1;
    auto scatter = object.Build().Input() ? MakeItems(object, node, threads, before, materials)
                                          : std::make_shared<TViewScatter>();
    SetDisplay(object, t, *scatter);
    ShareMesh(object, node, *scatter, out);
    for (const TViewCell& cell : scatter->Cells()) out->bounds += cell.bounds;
    if (out->mesh) out->bounds += object.Build().ObjectMesh().Bounds();
    if (scatter->Items().empty() && !out->mesh) {
        out->lines = EmptyIcon(object.Block(kGenParams).GetFloat(genParams::kIconsize, t));
        out->bounds = out->lines.BoundingBox();
    }
    out->scatter = std::move(scatter);
}
