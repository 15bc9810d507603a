#include "Dravin/materials/automatic_material.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>

#include <fmt/format.h>

#include "host/params/hold.h"
#include "host/scene/scene.h"

namespace {

using MtlPtr = std::shared_ptr<Mtl>;

constexpr const char* kAutomaticName = "dravin_automat_";
constexpr const char* kColorIdName = "DPColor ID";
constexpr int kKeptSlot = TConsolidatedIds::kKeptId;

// The materials of all sources, one behind the other.
class MaterialList {
public:
    explicit MaterialList(const Mtl* current) : m_current(current) {}

    void Add(TSpecBuildNode& node, bool usesMap) {
        node.ids = {};
        node.ids.usesMap = usesMap;
        MtlPtr mtl = MaterialOf(node);
        if (!mtl || IsColorIdMaterial(*mtl)) return;
        if (auto* multi = dynamic_cast<MultiMtl*>(mtl.get()))
            AddMulti(*multi, node.ids);
        else
            node.ids.base = PlaceOf(mtl);
    }
    // The maps of all sources, from their places in the list, which then loses its repeats.
    void Optimize(TSpecBuildList& specimens) {
        if (m_list.empty()) return;
        std::vector<MtlPtr> all = std::move(m_list);
        m_list.clear();
        m_places.clear();
        std::vector<int> places;
        for (const MtlPtr& mtl : all) places.push_back(PlaceOf(mtl));
        auto placeOf = [&](int i) { return size_t(i) < places.size() ? places[size_t(i)] : 0; };
        for (size_t row = 0; row < specimens.NumRows(); ++row)
            for (TSpecBuildNode& node : specimens.Row(row).nodes)
                for (int m = 0; m < node.ids.count; ++m)
                    node.ids.map.push_back(SlotOf(placeOf(node.ids.base + m)));
    }

    const std::vector<MtlPtr>& List() const { return m_list; }
    bool Keeps() const { return m_keeps; }
    // Of faces of id 999; null: no source has such.
    const MtlPtr& Kept() const { return m_kept; }
    // Where an entry stands in the object's material: those behind 998 make room for the kept one.
    int SlotOf(int place) const { return m_keeps ? TConsolidatedIds::WithRoom(place) : place; }

private:
    // The row's, else the source's own; the object's material is what is being made.
    MtlPtr MaterialOf(const TSpecBuildNode& node) const {
        if (node.entry.material && node.entry.material.get() != m_current)
            return node.entry.material;
        Mtl* own = node.source ? node.source->GetShownMtl() : nullptr;
        return own ? std::static_pointer_cast<Mtl>(own->shared_from_this()) : nullptr;
    }
    int PlaceOf(const MtlPtr& mtl) {
        auto [found, isNew] = m_places.try_emplace(mtl.get(), int(m_list.size()));
        if (isNew) m_list.push_back(mtl);
        return found->second;
    }
    void AddMulti(const MultiMtl& multi, TConsolidatedIds& ids) {
        int count = multi.NumSubMtls();
        if (count > kKeptSlot) {
            m_kept = multi.ShareSubMtl(kKeptSlot);
            m_keeps = ids.keepsLast = true;
            count = kKeptSlot;
        }
        auto isUnused = [](const Mtl* mtl) { return !mtl || IsColorIdMaterial(*mtl); };
        while (count > 0 && isUnused(multi.GetSubMtl(count - 1))) --count;
        if (count == 0) return;
        ids.base = int(m_list.size());
        ids.count = count;
        for (int i = 0; i < count; ++i) {
            m_places.try_emplace(multi.GetSubMtl(i), int(m_list.size()));
            m_list.push_back(multi.ShareSubMtl(i));
        }
    }

    const Mtl* m_current;
    std::vector<MtlPtr> m_list;
    std::unordered_map<const Mtl*, int> m_places;  // the first of each
    MtlPtr m_kept;
    bool m_keeps = false;
};

// Puts materials into the object's one and remembers whether that changed anything.
class SlotWriter {
public:
    explicit SlotWriter(MultiMtl& multi) : m_multi(multi) {}

    bool HasChanged() const { return m_changed; }
    Mtl* At(int slot) const {
        return slot < m_multi.NumSubMtls() ? m_multi.GetSubMtl(slot) : nullptr;
    }
    void Put(int slot, const MtlPtr& mtl) {
        if (slot >= m_multi.NumSubMtls()) m_multi.SetNumSubMtls(slot + 1);
        if (m_multi.GetSubMtl(slot) == mtl.get()) return;
        m_multi.SetSubMtl(slot, mtl);
        m_changed = true;
    }
    template <class T>
    void Change(Property<T>& property, const T& value) {
        if (property == value) return;
        property = value;
        m_changed = true;
    }
    void ClearFrom(int slot) {
        for (; slot < m_multi.NumSubMtls(); ++slot)
            if (slot != kKeptSlot || !m_keeps) Put(slot, nullptr);
    }
    void Keep(const MtlPtr& mtl) { m_keeps = true, Put(kKeptSlot, mtl); }

private:
    MultiMtl& m_multi;
    bool m_changed = false, m_keeps = false;
};

// What proxy shapes of a row show, the one that is there where it has the row's name.
void PutColorId(SlotWriter& slots, int slot, size_t row, const TSpecEntry& entry,
                const TAutomaticMaterialSettings& settings) {
    std::string name = fmt::format("{} {}", kColorIdName, row);
    auto* plain = dynamic_cast<StandardMtl*>(slots.At(slot));
    if (!plain || plain->name != name) {
        auto fresh = std::make_shared<StandardMtl>();
        fresh->name = name;
        slots.Put(slot, fresh);
        plain = fresh.get();
    }
    const Point3& c = entry.colorId;
    slots.Change(plain->diffuse, Color{c.x, c.y, c.z});
    slots.Change(plain->wireframe, settings.wireframe);
    slots.Change(plain->opacity, settings.opacity);
}

// Where a list wants less room than before, its end stays empty: the object's faces know numbers.
bool FillSlots(MultiMtl& multi, const MaterialList& materials, TSpecBuildList& specimens,
               const TAutomaticMaterialSettings& settings) {
    SlotWriter slots(multi);
    int size = int(materials.List().size());
    for (int i = 0; i < size; ++i) slots.Put(materials.SlotOf(i), materials.List()[size_t(i)]);
    int behind = materials.SlotOf(size);
    for (size_t row = 0; row < specimens.NumRows(); ++row) {
        int slot = materials.SlotOf(size + int(row));
        TSpecBuild& specimen = specimens.Row(row);
        PutColorId(slots, slot, row, specimen.nodes.front().entry, settings);
        specimen.proxyMaterialId = slot;
        behind = slot + 1;
    }
    if (materials.Kept()) slots.Keep(materials.Kept());
    slots.ClearFrom(behind);
    return slots.HasChanged();
}

bool HasCustomRow(const TSpecBuildList& specimens) {
    for (size_t row = 0; row < specimens.NumRows(); ++row) {
        const TSpecBuild& specimen = specimens.Row(row);
        // Levels may show templates; the row names the object that has them.
        if (specimen.lod || specimen.nodes.front().entry.kind == kGeomCustom) return true;
    }
    return false;
}

void AssignToNodes(const Object& object, INode& first, const MtlPtr& mtl) {
    first.SetMtl(mtl);
    if (!first.GetScene()) return;
    for (INode* node : first.GetScene()->Nodes())
        if (node->GetObjectRef() == &object) node->SetMtl(mtl);
}

}  // namespace

bool IsAutomaticMaterial(const Mtl& mtl) { return mtl.name->starts_with(kAutomaticName); }

bool IsColorIdMaterial(const Mtl& mtl) { return mtl.name->starts_with(kColorIdName); }

void ShowMapsInViewport(Mtl& mtl, int how) {
    if (how == 0) return;
    for (Mtl* each : WithSubMtls(mtl))
        if (auto* standard = dynamic_cast<StandardMtl*>(each))
            standard->viewportMaps = how == 2 ? ViewportMaps::kMaterial : ViewportMaps::kDiffuse;
}

bool BuildAutomaticMaterial(const Object& object, TSpecBuildList& specimens,
                            const TAutomaticMaterialSettings& settings) {
    INode* node = GetWorldNode(object);
    if (!node) return false;
    HoldSuspender unrecorded(CurrentHold());
    MaterialList materials(node->GetMtl());
    for (size_t row = 0; row < specimens.NumRows(); ++row)
        for (TSpecBuildNode& source : specimens.Row(row).nodes)
            materials.Add(source, settings.optimizes);
    if (settings.optimizes) materials.Optimize(specimens);
    for (size_t row = 0; row < specimens.NumRows(); ++row)
        for (TSpecBuildNode& source : specimens.Row(row).nodes)
            source.ids.makesRoom = materials.Keeps();

    auto multi = std::dynamic_pointer_cast<MultiMtl>(node->ShareMtl());
    bool isNew = !multi;
    if (isNew) {
        multi = std::make_shared<MultiMtl>();
        multi->name = fmt::format("{}{:X}", kAutomaticName, reinterpret_cast<uintptr_t>(&object));
    }
    bool changed = FillSlots(*multi, materials, specimens, settings);
    if ((changed || settings.refreshes) && !HasCustomRow(specimens))
        ShowMapsInViewport(*multi, settings.showsMapsInViewport);
    if (isNew) AssignToNodes(object, *node, multi);
    return changed;
}
