#include "Dravin/render/render_node_source.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/render/object_registry.h"
#include "Dravin/render/render_state.h"
#include "Dravin/render/trees_interface.h"

TRenderNodeSource::TRenderNodeSource(TDravin& object, uint64_t cutMemory)
    : m_object(object),
      m_trees(static_cast<TTreesInterface&>(object.Render().Trees())),
      m_node(ShownBy(object)),
      m_name(m_node ? m_node->GetName() : ""),
      m_objectTM(object.Build().ObjectTM()),
      m_tint(ReadObjectTint(object, object.Build().Time())),
      m_cuts(cutMemory) {
    ReadRecords();
}

void TRenderNodeSource::ReadRecords() {
    std::span<const Record> records = Records();
    size_t numShown = size_t(
        std::count_if(records.begin(), records.end(), [](const Record& r) { return r.node; }));
    m_shown.reserve(numShown);
    uint32_t last = kNone;
    const Record* before = nullptr;
    for (size_t i = 0; i < records.size(); ++i) {
        const Record& r = records[i];
        if (!r.node) continue;
        // Most records want what the one before wanted.
        bool same = before && r.node == before->node && r.material == before->material &&
                    r.animationTime == before->animationTime && !r.elementMask &&
                    !before->elementMask;
        if (!same) last = PrototypeOf(r);
        before = &r;
        if (last == kNone) continue;
        m_shown.push_back({uint32_t(m_trees.ItemOfRecord(i)), last});
        // Numbers are kept from the first record on that shows nothing.
        if (m_recordOf.empty() && m_shown.size() - 1 != i)
            for (uint32_t k = 0; k + 1 < m_shown.size(); ++k) m_recordOf.push_back(k);
        if (!m_recordOf.empty() || m_shown.size() - 1 != i) m_recordOf.push_back(uint32_t(i));
    }
    InstancesRead();
}

uint32_t TRenderNodeSource::PrototypeOf(const Record& record) {
    Key key{record.node, record.material, record.animationTime, {}};
    if (record.elementMask) key.hidden = HiddenElementsOf(*record.elementMask);
    auto numHidden = std::count(key.hidden.begin(), key.hidden.end(), true);
    if (numHidden > 0 && size_t(numHidden) == key.hidden.size()) return kNone;
    if (numHidden == 0) key.hidden.clear();
    auto found = m_known.find(key);
    if (found == m_known.end()) found = m_known.emplace(key, MakePrototype(record, key)).first;
    return found->second;
}

// kNone where there is nothing to show, or no memory for it.
uint32_t TRenderNodeSource::MakePrototype(const Record& record, const Key& key) {
    Prototype prototype{
        record.node,
        record.animationTime,
        record.material ? record.material : record.node->GetShownMtl(),
        DravinGlobals().meshes.Get(record.node, record.animationTime, m_object.Build().Time()),
        nullptr,
        {}};
    prototype.mesh = prototype.sample->Source();
    if (!prototype.mesh) return kNone;
    if (!key.hidden.empty()) {
        TCutMesh cut = m_cuts.Make(*prototype.mesh, *prototype.sample, key.hidden);
        if (!cut.mesh) return kNone;
        prototype.mesh = std::move(cut.mesh);
        prototype.sampleFaces = std::move(cut.sampleFaces);
    }
    m_prototypes.push_back(std::move(prototype));
    return uint32_t(m_prototypes.size() - 1);
}

std::span<const TRenderNodeSource::Record> TRenderNodeSource::Records() const {
    std::lock_guard lock(m_recordsLock);
    if (m_records.empty()) {
        int32_t count = 0;
        auto* records = static_cast<const Record*>(m_trees.getRenderNodes(&count));
        m_records = {records, size_t(count)};
    }
    return m_records;
}

void TRenderNodeSource::InstancesRead() const {
    std::lock_guard lock(m_recordsLock);
    m_trees.clearRenderNodes();
    m_records = {};
}

void TRenderNodeSource::GetInstances(size_t first, std::span<InstanceRecord> out) const {
    std::span<const Record> records = Records();
    for (size_t k = 0; k < out.size(); ++k) {
        const Shown& shown = m_shown[first + k];
        const Record& record = records[m_recordOf.empty() ? first + k : m_recordOf[first + k]];
        out[k] = {record.transform * m_objectTM, shown.prototype, int32_t(shown.item), record.tint,
                  record.tintBlend};
    }
}

std::string TRenderNodeSource::PrototypeName(size_t prototype) const {
    const Prototype& p = m_prototypes[prototype];
    return fmt::format("{} at {}{}", p.node->GetName(), p.time,
                       p.sampleFaces.empty() ? "" : " cut");
}

InstanceDetails TRenderNodeSource::GetDetails(size_t instance) const {
    TDravinItem item = m_object.Build().Items().Item(m_shown[instance].item);
    InstanceDetails details;
    details.seed = item.seed;
    details.randoms = {item.random1, item.random2, item.random3};
    details.frame = m_prototypes[m_shown[instance].prototype].time;
    if (item.partial) details.hiddenElements = HiddenElementsOf(item.elementMask);
    return details;
}

void TRenderNodeSource::PrepareShading() const {
    if (!m_shaded.empty()) return;
    std::vector<uint32_t> items;
    items.reserve(m_shown.size());
    for (const Shown& shown : m_shown) items.push_back(shown.item);
    m_shaded = ReadShadedItems(m_object.Build(), items);
}

TShadedItem TRenderNodeSource::ItemOf(uint32_t instance, uint32_t) const {
    return m_shaded.empty() ? ReadShadedItem(m_object.Build(), m_shown[instance].item)
                            : m_shaded[instance];
}

uint32_t TRenderNodeSource::SampleFaceOf(uint32_t instance, uint32_t face) const {
    const Prototype& prototype = m_prototypes[m_shown[instance].prototype];
    return prototype.sampleFaces.empty() ? face : prototype.sampleFaces[face];
}

TElementRandoms TRenderNodeSource::ElementOf(uint32_t instance, uint32_t face) const {
    const Prototype& prototype = m_prototypes[m_shown[instance].prototype];
    auto [first, second] = prototype.sample->Elements().RandomsOfFace(SampleFaceOf(instance, face));
    return {first, second};
}
