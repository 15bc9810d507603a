#include <chrono>
#include <map>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/engine/transforms.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

constexpr int kSeedShift = 17;  // of 32 bits, which leaves 15

// What draws the random transforms: all of the block but maps, channels and curves.
bool IsReset(const ParamDef& def) {
    bool isChannel = def.name.ends_with("chan");
    return def.type != ParamType::kTexmap && def.type != ParamType::kReference && !isChannel &&
           !def.readOnly;
}

void ResetTransforms(IParamBlock2& block) {
    for (const ParamDef& def : block.GetDesc().params)
        if (IsReset(def)) block.SetElements(def.id, {{def.defaultValue, {}}});
}

TItemNumbers AllOf(const std::vector<TStoredItem>& items) {
    TItemNumbers all(items.size());
    for (size_t i = 0; i < all.size(); ++i) all[i] = uint32_t(i);
    return all;
}

// What the build made of a stored item, as its own.
void TakeTransform(const TDravinItem& built, TStoredItem& item) {
    item.storedPosition = {built.position.x, built.position.y, built.position.z - built.zOffset};
    item.sizeFactor = item.sizeFactor * built.scale;
    bool facesLookAt = built.lookAt.x != 0 || built.lookAt.y != 0;
    if (!facesLookAt) item.sourceTransform = built.transform;
}

}  // namespace

bool TItemCommands::Confirms(const char* question) const {
    return HostContext::Current()->UserInterface().Question(question, "Warning!",
                                                            QuestionKind::kYesNo) == Answer::kYes;
}

uint32_t TItemCommands::Seconds() const {
    if (clock) return clock();
    auto now = std::chrono::system_clock::now().time_since_epoch();
    return uint32_t(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

void TItemCommands::ReseedSharedStream() const { SharedGenerator().Seed(Seconds()); }

bool TItemCommands::Reseed() {
    if (!IsEditing() || !Confirms("Do you like to Re-Seed the selected items ?")) return false;
    TNuRandom& random = SharedGenerator();
    ChangeItems(m_object, Selected(),
                [&](TStoredItem& item) { item.seed = random.Step() >> kSeedShift; });
    return true;
}

bool TItemCommands::StoreTransforms() {
    if (!IsEditing() ||
        !Confirms("Random transformations will stored within the items, and Transform parameters "
                  "will be reset. Are you sure ?"))
        return false;
    TBuildFlags flags;
    flags.noMesh = flags.noLimit = flags.noCameraLimit = true;
    TDravinBuild& build = m_object.Build();
    build.BuildMesh(Time(), flags);
    if (build.Items().Count() != m_object.StoredItems().size()) return false;
    size_t number = 0;
    TDravinItem built;
    ChangeItems(m_object, AllOf(m_object.StoredItems()), [&](TStoredItem& item) {
        build.Items().ReadStored(number++, &built);
        // What no build shows keeps what it has.
        if (!built.discarded) TakeTransform(built, item);
    });
    ResetTransforms(m_object.Block(kTransformParams));
    return true;
}

bool TItemCommands::RandomiseGeometry() {
    if (!IsEditing() || !Confirms("All items will be randomized. Are you sure ?")) return false;
    std::vector<float> weights = Probabilities();
    if (weights.empty()) {
        HostContext::Current()->UserInterface().MessageBox(
            "Geometry List is empty. Please add some models and try again.", "Dravin Pack");
        return false;
    }
    TNuRandom random(Seconds());
    TNuRandomTable table(weights);
    ChangeItems(m_object, Selected(), [&](TStoredItem& item) {
        item.specimenIndex = int(table.Sample(random.Random()));
        item.elementIndex = 0;
    });
    return true;
}

bool TItemCommands::ResetSizes() {
    if (!IsEditing() ||
        !Confirms("All sizes will be reset to their default values. Are you sure ?"))
        return false;
    ChangeItems(m_object, Selected(), [](TStoredItem& item) { item.sizeFactor = {1, 1, 1}; });
    return true;
}

// --- rows of the geometry list

std::vector<int> TKeptGeometry::RowIds() const {
    const IParamBlock2& block = m_object.Block(kGeomParams);
    std::vector<int> ids;
    for (int i = 0; i < block.Count(geomParams::kSpecidlist); ++i)
        ids.push_back(block.GetInt(geomParams::kSpecidlist, 0, i));
    return ids;
}

TKeptGeometry::TKeptGeometry(TDravin& object) : m_object(object), m_idsBefore(RowIds()) {}

TKeptGeometry::~TKeptGeometry() {
    std::map<int, int> rows;  // by id; of two rows with one id the later
    std::vector<int> ids = RowIds();
    for (size_t i = 0; i < ids.size(); ++i)
        if (ids[i] >= 0) rows[ids[i]] = int(i);
    // Where the items of each row go; a row that is gone keeps its number.
    std::vector<int> moved;
    for (size_t i = 0; i < m_idsBefore.size(); ++i) {
        auto it = rows.find(m_idsBefore[i]);
        moved.push_back(it == rows.end() ? int(i) : it->second);
    }
    auto goes = [&](int row) {
        return row >= 0 && size_t(row) < moved.size() && moved[size_t(row)] != row;
    };
    std::vector<TItemDelta> deltas = m_object.Deltas();
    for (TItemDelta& delta : deltas)
        if (goes(delta.geometry)) delta.geometry = moved[size_t(delta.geometry)];
    m_object.SetDeltas(std::move(deltas));
    if (m_object.Block(kEditionParams).GetInt(editionParams::kMode, 0) != 1) return;
    TItemNumbers going;
    const std::vector<TStoredItem>& items = m_object.StoredItems();
    for (size_t i = 0; i < items.size(); ++i)
        if (goes(items[i].specimenIndex)) going.push_back(uint32_t(i));
    if (going.empty()) return;
    ChangeItems(m_object, going,
                [&](TStoredItem& item) { item.specimenIndex = moved[size_t(item.specimenIndex)]; });
}
