#include "Dravin/geometry/specimen_list.h"

#include <algorithm>
#include <limits>
#include <map>

#include <fmt/format.h>

#include "Dravin/engine/transforms.h"
#include "Dravin/geometry/lod_object.h"
#include "host/base/log.h"

namespace {

constexpr size_t kComplexRows = 3;  // longer lists take the display's complex path

void CollectGeometry(INode& node, std::vector<INode*>& members) {
    VisitNodes(&node, [&](INode* n) {
        Object* object = n->GetObjectRef();
        if (n != &node && object && object->IsGeomObject()) members.push_back(n);
    });
}

// Forever stays forever at both ends.
Interval Shifted(const Interval& interval, int64_t by) {
    Interval forever = Interval::Forever();
    auto shift = [&](TimeValue t) {
        if (t == forever.start || t == forever.end) return t;
        return TimeValue(std::clamp<int64_t>(t + by, forever.start, forever.end));
    };
    return {shift(interval.start), shift(interval.end)};
}

std::shared_ptr<INode> Share(INode* node) {
    return std::static_pointer_cast<INode>(node->shared_from_this());
}

// Adds the sources of one row to its specimen.
class RowBuilder {
public:
    RowBuilder(const TSpecEntry& entry, const TSpecListRequest& request, TDravinMeshCache& meshes,
               TSpecBuild& specimen, Interval* valid)
        : m_entry(entry),
          m_request(request),
          m_meshes(meshes),
          m_specimen(specimen),
          m_valid(valid) {}

    void AddTemplate(const TSpecGeomList& templates) {
        size_t id = size_t(m_entry.templateId);
        INode* node =
            m_entry.templateId >= 0 && id < templates.size() ? templates[id]->Node() : nullptr;
        if (node)
            AddSource(node, {});
        else
            AddEmpty();
        NarrowValidity();
    }

    // True when the row has at least one source.
    bool AddCustom(const TSpecGeomList& templates) {
        INode* node = m_entry.customObject.get();
        if (!node) return false;
        if (IsOpen(*node)) return false;
        if (auto* lod = dynamic_cast<TDLod*>(node->GetObjectRef())) {
            AddLevels(*lod, templates);
        } else if (node->IsGroupHead()) {
            AddGroup(*node);
        } else {
            AddSource(node, {});
        }
        NarrowValidity();
        return !m_specimen.nodes.empty();
    }

    void AddEmpty() { m_specimen.nodes.push_back({m_entry, nullptr, Sample(nullptr), {}}); }

private:
    bool IsOpen(const INode& node) const {
        const Object* object = node.GetObjectRef();
        if (!object || !m_request.isOpen || !m_request.isOpen(*object)) return false;
        LogWarning(
            fmt::format("geometry row \"{}\": the object cannot scatter itself, nor through "
                        "others; \"{}\" shows nothing there",
                        m_entry.name, node.GetName()));
        return true;
    }
    // Sources are sampled at the first frame; later frames are asked for when they are shown.
    std::shared_ptr<const TDravinMeshSample> Sample(INode* node) {
        return m_meshes.Get(node, m_specimen.FrameFirst(0), m_request.time);
    }

    void AddGroup(INode& head) {
        std::vector<INode*> members;
        CollectGeometry(head, members);
        Point3 pivot = head.GetNodeTM(m_request.time).GetTrans();
        for (INode* member : members)
            if (!IsOpen(*member))
                AddSource(member, member->GetNodeTM(m_request.time).GetTrans() - pivot);
    }

    // The enabled levels by rising threshold; of equal ones the later stays.
    static std::map<float, TLodLevel> SortedLevels(const TDLod& lod, bool byScreenSize) {
        std::map<float, TLodLevel> levels;
        for (int i = 0; i < lod.NumLevels(); ++i) {
            TLodLevel level = lod.ReadLevel(i);
            if (level.entry.kind == kGeomDisabled) continue;
            float key = byScreenSize ? level.screenSize : level.distance;
            if (!levels.insert_or_assign(key, level).second)
                LogWarning(fmt::format("LOD level \"{}\" replaces another of the same threshold {}",
                                       level.entry.name, key));
        }
        return levels;
    }

    static INode* LevelSource(const TSpecEntry& entry, const TSpecGeomList& templates) {
        if (entry.kind == kGeomTemplate) {
            bool known = entry.templateId >= 0 && size_t(entry.templateId) < templates.size();
            return known ? templates[size_t(entry.templateId)]->Node() : nullptr;
        }
        INode* node = entry.customObject.get();
        bool shows = node && !node->IsGroupHead() && !dynamic_cast<TDLod*>(node->GetObjectRef());
        return shows ? node : nullptr;
    }

    // A level brings its own source, sizes and pivot; the rest is the row's.
    void AddLevels(const TDLod& lod, const TSpecGeomList& templates) {
        const IParamBlock2& block = lod.Block();
        TLodLevels prepared;
        prepared.byScreenSize = block.GetInt(lodParams::kMode) == kLodScreenSize;
        prepared.distance = block.GetFloat(lodParams::kDistance);
        prepared.variation = block.GetFloat(lodParams::kVariation);
        prepared.inViewports = block.GetBool(lodParams::kUpdate);
        for (auto& [key, level] : SortedLevels(lod, prepared.byScreenSize)) {
            TSpecEntry entry = level.entry;
            entry.probability = m_entry.probability;
            entry.colorId = m_entry.colorId;
            entry.radius = m_entry.radius;
            entry.specId = m_entry.specId;
            INode* node = LevelSource(entry, templates);
            m_specimen.nodes.push_back({entry, node ? Share(node) : nullptr, Sample(node), {}});
            m_specimen.proxyShape |= m_request.proxyMode;
            prepared.thresholds.push_back(key);
            SetReferenceSize(m_specimen.nodes.back(), prepared);
        }
        if (!prepared.thresholds.empty()) m_specimen.lod = std::move(prepared);
    }

    // Of the first level that has one: a template's stands in its fields, a custom object's is that
    // of its mesh.
    static void SetReferenceSize(const TSpecBuildNode& node, TLodLevels& levels) {
        if (levels.referenceWidth != 0 || levels.referenceHeight != 0) return;
        if (node.entry.kind == kGeomTemplate) {
            levels.referenceWidth = node.entry.width;
            levels.referenceHeight = node.entry.height;
            return;
        }
        if (!node.source) return;
        const Point3& size = node.sample->Size().size;
        float scale = node.entry.scale * 0.01f;
        levels.referenceWidth = std::max(size.x, size.y) * scale;
        levels.referenceHeight = size.z * scale;
    }

    void AddSource(INode* node, const Point3& offset) {
        m_specimen.nodes.push_back({m_entry, Share(node), Sample(node), offset});
        m_specimen.proxyShape |= m_request.proxyMode;
    }

    // A frame is shown at its offset from the build time, so its source's validity counts shifted
    // by that. Without animation, and where a map picks them, frames stand at fixed times.
    void NarrowValidity() {
        int mode = m_request.animation.mode;
        if (m_specimen.proxyShape || mode == kAnimOff || mode == kAnimFrameMap) return;
        for (const TSpecBuildNode& n : m_specimen.nodes) {
            Object* object = n.source ? n.source->GetObjectRef() : nullptr;
            if (!object) continue;
            for (auto [time, offset] : m_specimen.frames) {
                Interval validity = object->ObjectValidity(time);
                if (!validity.Contains(time)) validity = Interval::Instant(time);
                *m_valid &= Shifted(validity, -int64_t{offset});
            }
        }
    }

    const TSpecEntry& m_entry;
    const TSpecListRequest& m_request;
    TDravinMeshCache& m_meshes;
    TSpecBuild& m_specimen;
    Interval* m_valid;
};

// The id behind the largest; at the end of all numbers the smallest that no row has.
int NextSpecId(const std::vector<TSpecEntry>& entries, int* counter) {
    if (*counter < std::numeric_limits<int32_t>::max()) return ++*counter;
    int id = 1;
    auto taken = [&](const TSpecEntry& entry) { return entry.specId == id; };
    while (std::any_of(entries.begin(), entries.end(), taken)) ++id;
    return id;
}

// Rows without an id get consecutive new ones.
void AssignSpecIds(TTreeSpecList& rows, TNuRandom& generator, TimeValue t, int* counter) {
    std::vector<TSpecEntry> entries;
    for (int i = 0; i < rows.Count(); ++i) entries.push_back(rows.ReadRow(i, t, generator));
    NotifySuspender quiet(rows.Block());  // ids are the build's own affair, no change of the object
    for (const TSpecEntry& entry : entries) *counter = std::max(*counter, entry.specId);
    for (int i = 0; i < int(entries.size()); ++i) {
        if (entries[size_t(i)].specId >= 0) continue;
        entries[size_t(i)].specId = NextSpecId(entries, counter);
        rows.Set(TTreeSpecList::kSpecId, i, t, ParamValue(int32_t(entries[size_t(i)].specId)));
    }
}

TSpecimenElement EngineElement(const TSpecBuildNode& node, bool withParts) {
    const TSpecEntry& entry = node.entry;
    TSpecimenElement e;
    e.kind = SpecimenKind(std::clamp(entry.kind, 0, 2));
    e.isMesh =
        node.source && node.source->GetObjectRef() && node.source->GetObjectRef()->IsGeomObject();
    e.useMeshDimensions = entry.useMeshDimensions;
    e.meshSize = node.sample->Size().size;
    e.meshAspect = node.sample->Size().aspect;
    e.width = entry.width;
    e.height = entry.height;
    e.scalePercent = entry.scale;
    e.zOffset = entry.zOffset;
    e.centerPercent = entry.center;
    e.radiusPercent = entry.radius;
    e.offset = node.offset;
    e.unitBounds = node.sample->Size().bounds;
    if (withParts)
        for (const TDravinMeshElement& part : node.sample->Elements().elements)
            e.partCentroids.push_back(part.centroid);
    return e;
}

}  // namespace

int TAnimationSettings::NumSamples() const {
    if (mode == kAnimFrameMap) return std::max(1, (end - start) / std::max(1, ticksPerFrame) + 1);
    return std::max(1, samples);
}

std::vector<std::pair<TimeValue, TimeValue>> TAnimationSettings::Frames(TimeValue t) const {
    std::vector<std::pair<TimeValue, TimeValue>> frames;
    int64_t time = t, shift = 0, step = offset;
    if (mode == kAnimFrameMap) time = start, shift = int64_t(start) - t, step = ticksPerFrame;
    for (int k = 0; k < NumSamples(); ++k, time += step, shift += step)
        frames.push_back(mode == kAnimOff ? std::pair<TimeValue, TimeValue>{0, 0}
                                          : std::pair{TimeValue(time), TimeValue(shift)});
    return frames;
}

TAnimationSettings NormaliseAnimation(TAnimationSettings settings, bool renderOnly, bool render) {
    if (renderOnly && !render) settings.mode = kAnimOff;
    if (settings.mode == kAnimOff || settings.mode == kAnimFollow) {
        settings.samples = 1;
        settings.offset = 0;
    }
    return settings;
}

TBuildStatus TSpecBuildList::Build(TTreeSpecList& rows, TTemplates& templates,
                                   TDravinMeshCache& meshes, TNuRandom& generator,
                                   const TSpecListRequest& request, int* specIdCounter,
                                   Interval* valid) {
    m_specimens.clear();
    m_hasCustomObjects = false;
    int n = rows.Count();
    if (n == 0) return TBuildStatus::kEmptyGeometryList;
    AssignSpecIds(rows, generator, request.time, specIdCounter);

    auto frames = request.animation.Frames(request.time);
    for (int i = 0; i < n; ++i) {
        TSpecEntry entry = rows.ReadRow(i, request.time, generator);
        TSpecBuild specimen;
        specimen.frames = frames;
        RowBuilder row(entry, request, meshes, specimen, valid);
        bool shown = true;
        if (entry.kind == kGeomTemplate)
            row.AddTemplate(templates.List());
        else if (entry.kind == kGeomCustom)
            shown = row.AddCustom(templates.List());
        else
            shown = false;
        m_hasCustomObjects |= entry.kind == kGeomCustom && entry.customObject;
        if (!shown) row.AddEmpty();
        m_specimens.push_back(std::move(specimen));
    }
    m_hasCustomObjects |= size_t(n) > kComplexRows;

    TSpecBuild fallback;
    fallback.frames = frames;
    fallback.proxyShape = true;
    fallback.nodes.push_back(
        {TSpecEntry{}, nullptr, meshes.Get(nullptr, request.time, request.time), {}});
    m_specimens.push_back(std::move(fallback));
    return TBuildStatus::kSuccess;
}

const TSpecBuildNode* TSpecBuildList::NodeOf(const TDravinItem& item) const {
    int64_t rows = int64_t(NumRows());
    if (rows == 0) return nullptr;
    int64_t row = ((item.specimenIndex % rows) + rows) % rows;
    return m_specimens[size_t(row)].Node(uint16_t(item.elementIndex));
}

std::vector<TSpecimen> TSpecBuildList::EngineSpecimens(bool withParts) const {
    std::vector<TSpecimen> specimens;
    for (size_t i = 0; i < NumRows(); ++i) {
        const TSpecBuild& row = m_specimens[i];
        TSpecimen s;
        for (const TSpecBuildNode& node : row.nodes)
            s.elements.push_back(EngineElement(node, withParts));
        s.frames = row.frames;
        s.lod = row.lod;
        const TSpecEntry& entry = row.nodes.front().entry;
        s.colorId = {entry.colorId.x, entry.colorId.y, entry.colorId.z};
        s.probability = entry.probability;
        s.specId = entry.specId;
        specimens.push_back(std::move(s));
    }
    return specimens;
}
