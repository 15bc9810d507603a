#include "Dravin/build/dravin_instances.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "host/geom/mesh_tools.h"

namespace {

// The mesh in the item's own space; shared when nothing has to move.
std::shared_ptr<const Mesh> AtRealSize(const TDravinMeshSample& sample, const Matrix3& toReal) {
    if (!sample.Source() || toReal == Matrix3{}) return sample.Source();
    return std::make_shared<Mesh>(TransformedMesh(*sample.Source(), toReal));
}

}  // namespace

TDravinInstances::TDravinInstances(const TDravin& object, const TDravinBuild& build,
                                   const Matrix3& objectTM, uint64_t cutMemory)
    : m_build(build), m_cuts(cutMemory), m_node(GetWorldNode(object)), m_objectTM(objectTM) {
    if (m_node) m_name = m_node->GetName();
    if (!build.Input()) return;
    m_tint = ReadObjectTint(object, build.Time());
    m_scaleOnSlope = build.Input()->transforms.scaleOnSlope;
    for (size_t row = 0; row < build.Specimens().NumRows(); ++row) {
        const TSpecBuild& specimen = build.Specimens().Row(row);
        size_t samples = std::max<size_t>(1, specimen.frames.size());
        m_rows.push_back({&specimen, samples, {}});
        m_rows.back().prototypes.assign(specimen.nodes.size() * samples, kNotMade);
    }
    CutPrototypes cuts;
    TDravinItem item;
    for (size_t i = 0; i < build.Items().Count(); ++i) {
        build.Items().ReadStored(i, &item, 0);
        if (item.discarded) continue;
        uint32_t prototype = MakeWholePrototype(item);
        if (prototype != kNone && item.partial) {
            uint32_t cut = CutPrototypeOf(i, prototype, cuts);
            if (cut != prototype && cut != kNone) m_cutItems.emplace(uint32_t(i), cut);
            prototype = cut;
        }
        if (prototype != kNone) m_items.push_back(uint32_t(i));
    }
}

const TDravinInstances::Row* TDravinInstances::RowOf(const TDravinItem& item) const {
    if (m_rows.empty()) return nullptr;
    const Row& row = m_rows[SpecimenRow(item.specimenIndex, m_rows.size())];
    return row.prototypes.empty() ? nullptr : &row;
}

size_t TDravinInstances::PlaceInRow(const Row& row, const TDravinItem& item) {
    size_t node = uint16_t(item.elementIndex) % row.specimen->nodes.size();
    auto sample = size_t(std::clamp(item.animationOffset, 0, int32_t(row.numSamples) - 1));
    return node * row.numSamples + sample;
}

uint32_t TDravinInstances::WholePrototypeOf(const TDravinItem& item) const {
    const Row* row = RowOf(item);
    return row ? row->prototypes[PlaceInRow(*row, item)] : kNone;
}

uint32_t TDravinInstances::MakeWholePrototype(const TDravinItem& item) {
    const Row* row = RowOf(item);
    if (!row) return kNone;
    size_t place = PlaceInRow(*row, item);
    uint32_t& prototype = m_rows[size_t(row - m_rows.data())].prototypes[place];
    if (prototype == kNotMade)
        prototype = AddPrototype(*row, place / row->numSamples, place % row->numSamples);
    return prototype;
}

uint32_t TDravinInstances::AddPrototype(const Row& row, size_t n, size_t frame) {
    const TSpecBuildNode& node = row.specimen->nodes[n];
    if (!node.sample->Source()) return kNone;
    std::string name = node.entry.name;
    if (row.specimen->nodes.size() > 1) name += fmt::format(" {}", n);
    if (row.numSamples > 1) name += fmt::format(" at {}", row.specimen->FrameFirst(int(frame)));
    // Sizes stay those of the first sample: what moves does not change the item.
    const TDravinMeshSize& size = node.sample->Size();
    std::shared_ptr<const TDravinMeshSample> sample = node.sample;
    if (frame > 0 && node.source)
        sample = DravinGlobals().meshes.Get(node.source.get(), row.specimen->FrameFirst(int(frame)),
                                            m_build.Time());
    if (!sample->Source()) return kNone;
    m_prototypes.push_back({std::move(name),
                            AtRealSize(*sample, size.toReal),
                            node.Material(),
                            Matrix3::Scaling({1 / size.size.x, 1 / size.size.y, 1 / size.size.z}),
                            std::move(sample),
                            {}});
    return uint32_t(m_prototypes.size() - 1);
}

uint32_t TDravinInstances::CutPrototypeOf(size_t i, uint32_t whole, CutPrototypes& known) {
    TDravinItem item;
    m_build.Items().ReadStored(i, &item, 0);
    THiddenElements hidden = HiddenElementsOf(item.elementMask);
    auto count = std::count(hidden.begin(), hidden.end(), true);
    if (count == 0) return whole;
    if (size_t(count) == hidden.size()) return kNone;
    auto [found, isNew] = known.try_emplace({whole, hidden}, 0);
    if (isNew) found->second = AddCut(whole, hidden, known.size());
    return found->second;
}

uint32_t TDravinInstances::AddCut(uint32_t whole, const THiddenElements& hidden, size_t number) {
    Prototype cut = m_prototypes[whole];
    TCutMesh made = m_cuts.Make(*cut.mesh, *cut.sample, hidden);
    if (!made.mesh) return kNone;
    cut.name += fmt::format(" cut {}", number);
    cut.mesh = std::move(made.mesh);
    cut.sampleFaces = std::move(made.sampleFaces);
    m_prototypes.push_back(std::move(cut));
    return uint32_t(m_prototypes.size() - 1);
}

std::string TDravinInstances::Refusal() const { return m_cuts.Refusal(m_name); }

uint32_t TDravinInstances::PrototypeOf(const TDravinItem& item, uint32_t index) const {
    auto cut = item.partial ? m_cutItems.find(index) : m_cutItems.end();
    return cut != m_cutItems.end() ? cut->second : WholePrototypeOf(item);
}

void TDravinInstances::GetInstances(size_t first, std::span<InstanceRecord> out) const {
    TDravinItem item;
    for (size_t k = 0; k < out.size(); ++k) {
        uint32_t index = m_items[first + k];
        m_build.Items().ReadStored(index, &item, kGroupCenter);
        InstanceRecord& record = out[k];
        record.prototype = PrototypeOf(item, index);
        record.transform = m_prototypes[record.prototype].toUnit *
                           ItemTransform(item, m_scaleOnSlope) * m_objectTM;
        record.id = int32_t(index);
        record.tint = item.tintColor;
        record.tintBlend = item.tintBlend;
    }
}

InstanceDetails TDravinInstances::GetDetails(size_t instance) const {
    TDravinItem item = m_build.Items().Item(m_items[instance]);
    InstanceDetails details;
    details.seed = item.seed;
    details.randoms = {item.random1, item.random2, item.random3};
    if (const Row* row = RowOf(item))
        details.frame = row->specimen->FrameFirst(item.animationOffset);
    if (item.partial)
        for (int32_t e = 0; e < item.elementMask.NumBits(); ++e)
            details.hiddenElements.push_back(item.elementMask.Test(e));
    return details;
}

void TDravinInstances::PrepareShading() const {
    if (m_shaded.empty()) m_shaded = ReadShadedItems(m_build, m_items);
}

TShadedItem TDravinInstances::ItemOf(uint32_t instance, uint32_t) const {
    return m_shaded.empty() ? ReadShadedItem(m_build, m_items[instance]) : m_shaded[instance];
}

const TDravinInstances::Prototype* TDravinInstances::ShownBy(uint32_t instance) const {
    TDravinItem item;
    m_build.Items().ReadStored(m_items[instance], &item, 0);
    uint32_t index = PrototypeOf(item, m_items[instance]);
    return index < m_prototypes.size() ? &m_prototypes[index] : nullptr;
}

uint32_t TDravinInstances::SampleFaceOf(uint32_t instance, uint32_t face) const {
    const Prototype* prototype = ShownBy(instance);
    return prototype && !prototype->sampleFaces.empty() ? prototype->sampleFaces[face] : face;
}

TElementRandoms TDravinInstances::ElementOf(uint32_t instance, uint32_t face) const {
    const Prototype* shown = ShownBy(instance);
    if (!shown) return {};
    const Prototype& prototype = *shown;
    if (!prototype.sampleFaces.empty()) face = prototype.sampleFaces[face];
    auto [first, second] = prototype.sample->Elements().RandomsOfFace(face);
    return {first, second};
}
