#include "Dravin/panels/class_rollouts.h"

#include <algorithm>

#include "Dravin/dravin.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/shadow/xshadow.h"
#include "host/scene/material.h"
#include "host/scene/node.h"

namespace {

constexpr const char* kProduct = "Dravin Pack";
constexpr const char* kMaker = "Tavu Software";

std::vector<TParamKey> Keys(const ParamBlockDesc2& block, std::initializer_list<ParamID> ids) {
    std::vector<TParamKey> keys;
    for (ParamID id : ids) keys.emplace_back(block, id);
    return keys;
}

// All parameters of a table that have a control, and texts that nobody sets.
TRollout Plain(const ParamBlockDesc2& table) {
    TRollout rollout{table.title, &table, table.rolloutOpen, {TPanelGroup{}}};
    for (const ParamDef& def : table.params) {
        bool isText = def.type == ParamType::kString || def.type == ParamType::kFilename;
        bool isSeen = def.control != ControlKind::kNone || (isText && !def.list);
        if (isSeen) rollout.groups[0].params.emplace_back(table, def.id);
    }
    return rollout;
}

std::vector<TRollout> XShadowRollouts() {
    using namespace xshadowParams;
    const ParamBlockDesc2& block = XShadowBlock();
    return {{block.title,
             &block,
             true,
             {{"Image", Keys(block, {kTypemap, kMap, kDisablecache})},
              {"", Keys(block, {kSelfshadow})},
              {"Shadow Map", Keys(block, {kBias, kSize, kSample, kAbsolute})},
              {"", {}, nullptr, {}, -1, {{XShadow::kClass.name}, {kMaker}}}}}};
}

std::vector<TRollout> LeafRollouts() {
    using namespace leafParams;
    const ParamBlockDesc2& block = LeafBlock();
    TRollout parameters{
        block.title,
        &block,
        true,
        {{"", Keys(block, {kMatid})},
         {"Mapping", Keys(block, {kOffsetx, kOffsety, kScalex, kScaley, kFlipx, kFlipy, kAngle})},
         {"", Keys(block, {kAction, kMapchan})},
         {"Display", Keys(block, {kDisplay})},
         {"Sample",
          {},
          nullptr,
          {{"Pick Sample", ""}, {"Update", ""}, {"Extract", "leaf.extract"}},
          -1,
          {{"Total leaves", "0"}}}}};
    TRollout credits{"Credits", nullptr, true, {{"", {}, nullptr, {}, -1, {{kProduct}, {kMaker}}}}};
    return {std::move(credits), std::move(parameters)};
}

const TPanelList& LevelList() {
    using namespace lodParams;
    const ParamBlockDesc2& block = LodBlock();
    static const TPanelList list{
        "level",
        {{{block, kNamelist}, "Name"},
         {{block, kGeomlist}, "Kind", {"Disabled", "Template", "Custom Object"}},
         {{block, kCobjlist}, "Object"},
         {{block, kTempnamelist}, "Template"},
         {{block, kDistlist}, "Max Distance"},
         {{block, kScreensizelist}, "Min Screen Size"},
         {{block, kMatlist}, "Material"},
         {{block, kWidthlist}, "Width"},
         {{block, kHeightlist}, "Height"},
         {{block, kScalelist}, "Scale %"},
         {{block, kZoffsetlist}, "Z offset"},
         {{block, kCenterlist}, "Centre %"}},
        {{"New", "lod.new"},
         {"Delete", "lod.delete", "rows", true},
         {"Copy", "lod.copy", "row"},
         {"Paste", "lod.paste"},
         {"Up", "lod.up", "row"},
         {"Down", "lod.down", "row"},
         {"Normalise Distances", "lod.normalise of=distance"},
         {"Normalise Sizes", "lod.normalise of=size"}}};
    return list;
}

std::vector<TRollout> LodRollouts() {
    using namespace lodParams;
    const ParamBlockDesc2& block = LodBlock();
    return {{block.title,
             &block,
             true,
             {{"", {}, &LevelList()},
              {"", Keys(block, {kMode, kDistance, kVariation, kUpdate, kIconsize})}}}};
}

const TPanelList& ColorList() {
    using namespace tintMapParams;
    const ParamBlockDesc2& block = TintMapBlock();
    static const TPanelList list{"color",
                                 {{{block, kMaponlist}, "On"},
                                  {{block, kColorlist}, "Color"},
                                  {{block, kMaplist}, "Map"},
                                  {{block, kProblist}, "Percentage"}},
                                 {}};
    return list;
}

std::vector<TRollout> TintMapRollouts() {
    using namespace tintMapParams;
    const ParamBlockDesc2& block = TintMapBlock();
    return {{"Colors",
             &block,
             true,
             {{"", Keys(block, {kMapbase, kColorbase, kMapidmode})}, {"", {}, &ColorList()}}},
            {"Tint",
             &block,
             true,
             {{"", Keys(block, {kTintmixmode, kTintvariation, kOverride})},
              {"Gradient", Keys(block, {kTintcolor1, kTintcolor2, kTintmin, kTintmax})},
              {"Source", Keys(block, {kTintmode, kTintmap, kTintmapmode})}}}};
}

std::vector<TRollout> WrapperRollouts() {
    using namespace wrapperParams;
    const ParamBlockDesc2& block = WrapperBlock();
    return {{block.title,
             &block,
             true,
             {{"", Keys(block, {kMaterial1, kBbshader})},
              {"Shadow planes", Keys(block, {kVshadowmap, kHshadowmap})},
              {"Tint", Keys(block, {kOverride, kTintmin, kTintmax})},
              {"Gradient", Keys(block, {kTintcolor1, kTintcolor2})},
              {"Source", Keys(block, {kTintmode, kTintmap, kTintmapmode})}}}};
}

// A table with lists beside each other.
TRollout OfLists(const ParamBlockDesc2& table, const TPanelList& list) {
    return {table.title, &table, true, {{"", {}, &list}}};
}

const ParamBlockDesc2& TableWith(const ReferenceTarget& thing, const char* value) {
    for (const PropertyTable* table : PropertyTablesOf(thing))
        if (table->Desc().Find(value)) return table->Desc();
    return PropertyTablesOf(thing).back()->Desc();
}

TParamKey KeyOf(const ParamBlockDesc2& table, const char* value) {
    return {table, table.Find(value)->id};
}

const TPanelList& SubMaterialList() {
    static const TPanelList list = [] {
        const ParamBlockDesc2& table = TableWith(MultiMtl(), "materials");
        return TPanelList{"submaterial",
                          {{KeyOf(table, "materials"), "Material"}},
                          {{"Add", "material.add_sub"}, {"Delete", "material.delete_sub", "row"}}};
    }();
    return list;
}

const TPanelList& ModifierList() {
    static const TPanelList list = [] {
        const ParamBlockDesc2& table = TableWith(*INode::Create("node"), "modifiers");
        return TPanelList{"modifier",
                          {{KeyOf(table, "modifiers_on"), "On"},
                           {KeyOf(table, "modifiers"), "Modifier", {}, false}},
                          {{"Add...", "modifier.add"},
                           {"Delete", "modifier.delete", "row"},
                           {"Up", "modifier.up", "row"},
                           {"Down", "modifier.down", "row"}}};
    }();
    return list;
}

struct ClassRollouts {
    ClassId id;
    std::vector<TRollout> (*make)();
};

// In place of the plain rollout of the class's own block.
const ClassRollouts kClassRollouts[] = {
    {XShadow::kClass.id, XShadowRollouts}, {DLeaf::kClass.id, LeafRollouts},
    {TDLod::kClass.id, LodRollouts},       {DColor::kClass.id, TintMapRollouts},
    {DMat::kClass.id, WrapperRollouts},
};

}  // namespace

std::vector<TRollout> RolloutsOf(ReferenceTarget& thing) {
    if (dynamic_cast<TDravin*>(&thing)) return {DravinRollouts().begin(), DravinRollouts().end()};
    std::vector<TRollout> rollouts;
    auto own = std::find_if(std::begin(kClassRollouts), std::end(kClassRollouts),
                            [&](const ClassRollouts& c) { return c.id == thing.Class().id; });
    bool isOwn = own != std::end(kClassRollouts);
    if (isOwn) rollouts = own->make();
    for (const ValueTable& values : ValueTablesOf(thing)) {
        const ParamBlockDesc2& table = values.Desc();
        bool isPlaced = std::any_of(rollouts.begin(), rollouts.end(),
                                    [&](const TRollout& r) { return r.table == &table; });
        if (isPlaced) continue;
        if (table.Find("modifiers"))
            rollouts.push_back(OfLists(table, ModifierList()));
        else if (table.Find("materials"))
            rollouts.push_back(OfLists(table, SubMaterialList()));
        else
            rollouts.push_back(Plain(table));
    }
    std::erase_if(rollouts, [](const TRollout& rollout) {
        return std::all_of(rollout.groups.begin(), rollout.groups.end(), [](const TPanelGroup& g) {
            return g.params.empty() && !g.list && g.buttons.empty() && g.texts.empty();
        });
    });
    return rollouts;
}
