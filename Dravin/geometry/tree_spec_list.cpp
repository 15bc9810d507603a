#include "Dravin/geometry/tree_spec_list.h"

#include <algorithm>

#include "Dravin/params/dravin_params.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

constexpr uint32_t kSharedSeed = 123456;

// The row record's defaults, column by column.
std::vector<PBColumn> Columns() {
    using namespace geomParams;
    const TSpecEntry row;
    return {{kNamelist, row.name},
            {kGeomlist, int32_t(row.kind)},
            {kTempidlist, int32_t(row.templateId)},
            {kTempnamelist, row.templateName},
            {kCobjlist, TargetPtr()},
            {kUsemeshdimlist, int32_t(row.useMeshDimensions)},
            {kWidthlist, row.width},
            {kHeightlist, row.height},
            {kScalelist, row.scale},
            {kZoffsetlist, row.zOffset},
            {kCenterlist, int32_t(row.center)},
            {kMatlist, TargetPtr()},
            {kProblist, row.probability},
            {kColoridlist, row.colorId},
            {kRadiuslist, int32_t(row.radius)},
            {kSpecidlist, int32_t(row.specId)},
            {kConamelist, row.customObjectName}};
}

// Seeds anew with every scene.
class SharedRandom {
public:
    TNuRandom generator{kSharedSeed};

    SharedRandom() {
        for (HostNotify notice :
             {HostNotify::kFilePreOpen, HostNotify::kSystemPreNew, HostNotify::kSystemPreReset})
            HostContext::Current()->notifications.Register(
                notice, [this](HostNotify, INode*) { generator.Seed(kSharedSeed); });
    }
};

template <class T>
T Cell(TTreeSpecList& list, int column, int row, TimeValue t) {
    ParamValue value;
    list.Get(column, row, t, &value, TSpecEntry::kMaxText);
    return std::get<T>(value);
}

}  // namespace

TTreeSpecList::TTreeSpecList(std::shared_ptr<IParamBlock2> geomBlock)
    : PBStore(std::move(geomBlock), Columns(), kName) {}

TSpecEntry TTreeSpecList::ReadRow(int i, TimeValue t, TNuRandom& generator) {
    TSpecEntry e;
    e.name = Cell<std::string>(*this, kName, i, t);
    e.kind = Cell<int32_t>(*this, kKind, i, t);
    e.templateId = Cell<int32_t>(*this, kTemplateId, i, t);
    e.templateName = Cell<std::string>(*this, kTemplateName, i, t);
    e.customObject = std::dynamic_pointer_cast<INode>(Cell<TargetPtr>(*this, kCustomObject, i, t));
    e.useMeshDimensions = Cell<int32_t>(*this, kUseMeshDimensions, i, t) != 0;
    e.width = Cell<float>(*this, kWidth, i, t);
    e.height = Cell<float>(*this, kHeight, i, t);
    e.scale = Cell<float>(*this, kScale, i, t);
    e.zOffset = Cell<float>(*this, kZOffset, i, t);
    e.center = Cell<int32_t>(*this, kCenter, i, t);
    e.material = std::dynamic_pointer_cast<Mtl>(Cell<TargetPtr>(*this, kMaterial, i, t));
    e.probability = Cell<float>(*this, kProbability, i, t);
    e.colorId = Cell<Point3>(*this, kColorId, i, t);
    e.radius = Cell<int32_t>(*this, kRadius, i, t);
    e.specId = Cell<int32_t>(*this, kSpecId, i, t);
    e.customObjectName = Cell<std::string>(*this, kCustomObjectName, i, t);
    if (e.colorId == Point3{}) {
        // The first draw becomes blue, the last red.
        float r1 = generator.Random(), r2 = generator.Random(), r3 = generator.Random();
        e.colorId = {0.8f * r3 + 0.2f, 0.8f * r2 + 0.2f, 0.8f * r1 + 0.2f};
        NotifySuspender quiet(Block());
        HoldSuspender noUndo(CurrentHold());
        Set(kColorId, i, t, e.colorId);
    }
    return e;
}

void TTreeSpecList::WriteRow(int i, const TSpecEntry& e) {
    Set(kName, i, 0, CutText(e.name, TSpecEntry::kMaxText));
    Set(kKind, i, 0, int32_t(e.kind));
    Set(kTemplateId, i, 0, int32_t(e.templateId));
    Set(kTemplateName, i, 0, CutText(e.templateName, TSpecEntry::kMaxText));
    Set(kCustomObject, i, 0, TargetPtr(e.customObject));
    Set(kUseMeshDimensions, i, 0, int32_t(e.useMeshDimensions));
    Set(kWidth, i, 0, e.width);
    Set(kHeight, i, 0, e.height);
    Set(kScale, i, 0, e.scale);
    Set(kZOffset, i, 0, e.zOffset);
    Set(kCenter, i, 0, int32_t(e.center));
    Set(kMaterial, i, 0, TargetPtr(e.material));
    Set(kProbability, i, 0, e.probability);
    Set(kColorId, i, 0, e.colorId);
    Set(kRadius, i, 0, int32_t(e.radius));
    Set(kSpecId, i, 0, int32_t(e.specId));
    Set(kCustomObjectName, i, 0, CutText(e.customObjectName, TSpecEntry::kMaxText));
}

int TTreeSpecList::AppendRow(const TSpecEntry& entry) {
    int row = Count();
    EnsureRows(row + 1);
    WriteRow(row, entry);
    return row;
}

int TTreeSpecList::FindBySpecId(int id) const {
    if (id < 1) return 0;
    for (int i = 0; i < Block().Count(ColumnId(kSpecId)); ++i)
        if (Block().GetInt(ColumnId(kSpecId), 0, i) == id) return i;
    return -1;
}

void TTreeSpecList::RefreshTemplateIds(std::span<const std::string> templates) {
    for (int i = 0; i < Count(); ++i) {
        std::string name = Cell<std::string>(*this, kTemplateName, i, 0);
        int old = Cell<int32_t>(*this, kTemplateId, i, 0);
        bool byId = name.empty() && old >= 0 && size_t(old) < templates.size();
        int found = byId ? old : FindTemplateByName(templates, name);
        Set(kTemplateId, i, 0, int32_t(found));
        if (size_t(found) < templates.size()) Set(kTemplateName, i, 0, templates[size_t(found)]);
    }
}

void TTreeSpecList::RefreshTemplateNames(std::span<const std::string> templates) {
    for (int i = 0; i < Count(); ++i) {
        int id = Cell<int32_t>(*this, kTemplateId, i, 0);
        if (id >= 0 && size_t(id) < templates.size())
            Set(kTemplateName, i, 0, templates[size_t(id)]);
    }
}

void TTreeSpecList::RefreshCustomObjectNames() {
    for (int i = 0; i < Count(); ++i) {
        const auto node =
            std::dynamic_pointer_cast<INode>(Cell<TargetPtr>(*this, kCustomObject, i, 0));
        Set(kCustomObjectName, i, 0,
            node ? CutText(node->GetName(), TSpecEntry::kMaxText) : std::string());
    }
}

int FindTemplateByName(std::span<const std::string> templates, const std::string& name) {
    auto it = std::find(templates.begin(), templates.end(), name);
    if (it != templates.end()) return int(it - templates.begin());
    std::string text = "Geometry template '" + name + "' not found !";
    if (!templates.empty()) text += "\nReplacing it by '" + templates[0] + "'";
    HostContext* context = HostContext::Current();
    if (context) context->UserInterface().MessageBox(text, kMessageCaption, MessageKind::kWarning);
    return 0;
}

std::vector<TMergeRecord> MergeGeometryLists(TTreeSpecList& target, TTreeSpecList& source,
                                             bool matchExisting, TNuRandom& generator) {
    std::vector<TMergeRecord> mapping;
    std::vector<TSpecEntry> rows;
    for (int i = 0, n = source.Count(); i < n; ++i) {
        rows.push_back(source.ReadRow(i, 0, generator));
        mapping.push_back({i, -1});
    }
    if (matchExisting) {
        for (TMergeRecord& record : mapping) {
            const TSpecEntry& row = rows[size_t(record.sourceRow)];
            for (int i = 0; i < target.Count() && record.targetIndex < 0; ++i)
                if (Cell<std::string>(target, TTreeSpecList::kName, i, 0) == row.name &&
                    Cell<int32_t>(target, TTreeSpecList::kKind, i, 0) == row.kind)
                    record.targetIndex = i;
        }
    }
    for (TMergeRecord& record : mapping) {
        if (record.targetIndex >= 0) continue;
        TSpecEntry row = rows[size_t(record.sourceRow)];
        if (row.specId > 0 && target.FindBySpecId(row.specId) >= 0) row.specId = -1;
        record.targetIndex = target.AppendRow(row);
    }
    return mapping;
}

TNuRandom& SharedGenerator() { return HostContext::Current()->State<SharedRandom>().generator; }
