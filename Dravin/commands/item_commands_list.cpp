#include <algorithm>
#include <set>

#include "Dravin/build/custom_edit.h"
#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/params/clone_map.h"
#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

constexpr const char* kEmptyList = "Geometry List is empty. Please add some models and try again.";

// A step of undo with a name of its own.
class NamedStep {
public:
    NamedStep(Hold& hold, const char* name) : m_hold(hold), m_name(name) { m_hold.Begin(); }
    ~NamedStep() { m_hold.Accept(m_name); }
    NamedStep(const NamedStep&) = delete;
    NamedStep& operator=(const NamedStep&) = delete;

private:
    Hold& m_hold;
    const char* m_name;
};

// The scatter object that a node shows, behind whatever modifies it; null for none.
TDravin* BaseScatter(const INode& node) {
    Object* object = node.GetObjectRef();
    while (auto* derived = dynamic_cast<DerivedObject*>(object)) object = derived->Base();
    return dynamic_cast<TDravin*>(object);
}

// Whether `from` shows up, over any number of references, in what `target` depends on it.
bool DependsOn(const ReferenceTarget& from, const ReferenceMaker& target) {
    std::set<const ReferenceMaker*> seen;
    std::vector<const ReferenceTarget*> left{&from};
    while (!left.empty()) {
        const ReferenceTarget* next = left.back();
        left.pop_back();
        for (ReferenceMaker* maker : next->Dependents()) {
            if (!seen.insert(maker).second) continue;
            if (maker == &target) return true;
            if (auto* further = dynamic_cast<ReferenceTarget*>(maker)) left.push_back(further);
        }
    }
    return false;
}

TTreeSpecList RowsOf(TDravin& object) {
    return TTreeSpecList(
        std::static_pointer_cast<IParamBlock2>(object.Block(kGeomParams).shared_from_this()));
}

// All items of an object that are not discarded, as they would be kept.
std::vector<TStoredItem> ItemsOf(TDravin& object, TimeValue t) {
    if (object.Block(kEditionParams).GetInt(editionParams::kMode, t) != 1)
        return FrozenItemsOf(object, t, FrozenItems::kAll);
    const TDravinItemList& built = object.Build().Items();
    bool isBuilt =
        object.Build().Validity().Contains(t) && built.Count() == object.StoredItems().size();
    std::vector<TStoredItem> items;
    for (size_t i = 0; i < object.StoredItems().size(); ++i)
        if (!isBuilt || !built.Marks(i).Is(ItemMarks::kDiscarded))
            items.push_back(object.StoredItems()[i]);
    return items;
}

Point3 Ratio(const Point3& a, const Point3& b) {
    auto of = [](float x, float y) { return y != 0 ? x / y : 1.0f; };
    return {of(a.x, b.x), of(a.y, b.y), of(a.z, b.z)};
}

}  // namespace

void TItemCommands::Clone() {
    if (!IsEditing()) return;
    NamedStep step(m_scene.undo, "Clone");
    TItemNumbers selected = Selected();
    std::vector<TStoredItem> copies;
    for (uint32_t i : selected) copies.push_back(m_object.StoredItems()[i]);
    AddItems(m_object, std::move(copies), std::move(selected));
}

void TItemCommands::Delete() {
    if (!IsEditing() || m_object.StoredItems().empty()) return;
    NamedStep step(m_scene.undo, "Delete Items");
    RemoveItems(m_object, Selected());
}

void TItemCommands::StartAdding() {
    if (!IsEditing()) return;
    Select(TGeneralSelection::kNone);
    m_object.addSequence = 0;
}

std::vector<float> TItemCommands::Probabilities() const {
    const IParamBlock2& block = m_object.Block(kGeomParams);
    std::vector<float> weights;
    for (int i = 0; i < NumRows(); ++i)
        weights.push_back(std::max(block.GetFloat(geomParams::kProblist, Time(), i), 0.0f));
    return weights;
}

std::optional<int> TItemCommands::EntryToAdd(TAddChoice choice, std::optional<int> entry) {
    int count = NumRows();
    switch (choice) {
        case TAddChoice::kModel:
            return std::clamp(entry.value_or(0), 0, count - 1);
        case TAddChoice::kRandom:
            return int(TNuRandomTable(Probabilities()).Sample(SharedGenerator().Random()));
        case TAddChoice::kSequence:
            if (m_object.addSequence >= count) m_object.addSequence = 0;
            return m_object.addSequence++;
    }
    return std::nullopt;
}

bool TItemCommands::Add(const Point3& worldPoint, TAddChoice choice, std::optional<int> entry) {
    if (!IsEditing()) return false;
    if (NumRows() == 0) {
        HostContext::Current()->UserInterface().MessageBox(kEmptyList, "Dravin Pack");
        return false;
    }
    NamedStep step(m_scene.undo, "Create Item");
    TStoredItem item;
    item.storedPosition = worldPoint * Inverse(m_node.GetObjectTM(Time()));
    item.seed = uint32_t(SharedGenerator().IRandom(0, 32767));
    item.specimenIndex = *EntryToAdd(choice, entry);
    AddItems(m_object, {item});
    return true;
}

INode* TItemCommands::Detach() {
    if (!IsEditing()) return nullptr;
    NamedStep step(m_scene.undo, "Convert to Dravin");
    std::shared_ptr<TDravin> copy;
    {
        CloneMap map;
        copy = std::dynamic_pointer_cast<TDravin>(m_object.Clone(map));
        map.Finish();
    }
    {
        HoldSuspender isNew(CurrentHold());
        copy->SetStoredItems({});
    }
    std::vector<TStoredItem> items = RemoveItems(m_object, Selected());
    {
        HoldSuspender isNew(CurrentHold());
        copy->SetStoredItems(std::move(items));
    }
    INode* node = m_scene.AddNode(m_scene.UniqueNodeName("Dravin"), copy);
    node->SetNodeTM(Time(), m_node.GetObjectTM(Time()));
    return node;
}

bool TItemCommands::MayAttach(const INode& node) const {
    return BaseScatter(node) && !DependsOn(m_object, node);
}

// The rows of another object's list in this one; a row that stands for none stays where it was.
int TItemCommands::Attach(const std::vector<INode*>& nodes) {
    if (!IsEditing()) return 0;
    TimeValue t = Time();
    NamedStep step(m_scene.undo, "Attach");
    Matrix3 back = Inverse(m_node.GetObjectTM(t));
    Point3 ownScale = Decompose(m_node.GetObjectTM(t)).scale;
    bool consolidates = m_object.Block(kEditionParams).GetBool(editionParams::kConsgeom, t);
    int numTaken = 0;
    std::set<INode*> seen;
    for (INode* node : nodes) {
        if (!MayAttach(*node) || !seen.insert(node).second) continue;
        TDravin& other = *BaseScatter(*node);
        TTreeSpecList rows = RowsOf(m_object), theirs = RowsOf(other);
        std::vector<TMergeRecord> mapping =
            MergeGeometryLists(rows, theirs, consolidates, SharedGenerator());
        Matrix3 relative = node->GetObjectTM(t) * back;
        Point3 growth = Ratio(Decompose(node->GetObjectTM(t)).scale, ownScale) *
                        (other.Block(kGeomParams).GetFloat(geomParams::kGlobscale, t) * 0.01f);
        std::vector<TStoredItem> items;
        for (TStoredItem item : ItemsOf(other, t)) {
            item.storedPosition = item.storedPosition * relative;
            item.sizeFactor = item.sizeFactor * growth;
            if (!mapping.empty())
                item.specimenIndex =
                    mapping[SpecimenRow(item.specimenIndex, mapping.size())].targetIndex;
            items.push_back(item);
        }
        numTaken += int(items.size());
        AddItems(m_object, std::move(items));
        m_scene.DeleteNode(*node);
    }
    return numTaken;
}
