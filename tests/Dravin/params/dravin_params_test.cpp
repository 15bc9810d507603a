#include "Dravin/params/dravin_params.h"

#include <gtest/gtest.h>
#include <set>

#include "Dravin/dravin.h"
#include "host/params/param_assign.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

struct DravinParams : testing::Test {
    std::shared_ptr<TDravin> object = TDravin::Create();

    ParamValue Value(const char* name) {
        TDravin::Param p = object->FindParam(name);
        return p.block->GetValue(p.def->id);
    }
    AssignResult Script(const char* name, ParamInput input) {
        TDravin::Param p = object->FindParam(name);
        return AssignParam(*p.block, *p.def, input, 0, AssignSource::kScript);
    }
};

ParamInput Nodes(std::initializer_list<std::shared_ptr<INode>> nodes) {
    ParamInput::Array array;
    for (const auto& node : nodes) array.push_back(std::shared_ptr<ReferenceTarget>(node));
    return array;
}

}  // namespace

TEST_F(DravinParams, BlocksHaveTheirIdsSlotsAndTitles) {
    struct Row {
        const char* name;
        int slot;
        const char* title;
        size_t count;
    };
    const Row rows[] = {
        {"genParams", 0, "General", 8},       {"distParams", 3, "Distribution", 45},
        {"areaParams", 2, "Areas", 41},       {"camParams", 4, "Camera", 22},
        {"dispParams", 8, "Display", 20},     {"matParams", 7, "Material", 16},
        {"surfaceParams", 5, "Surfaces", 25}, {"transformParams", 6, "Transform", 49},
        {"shadowParams", 9, "Shadows", 10},   {"editionParams", 10, "Items Editor", 12},
        {"geomParams", 1, "Geometry", 25},    {"animParams", 11, "Animation", 8},
        {"effectParams", 21, "Effects", 32}};
    ASSERT_EQ(DravinBlocks().size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        const ParamBlockDesc2& block = DravinBlocks()[i];
        EXPECT_EQ(block.id, int(i));
        EXPECT_EQ(block.name, rows[i].name);
        EXPECT_EQ(block.referenceSlot, rows[i].slot);
        EXPECT_EQ(block.title, rows[i].title);
        EXPECT_EQ(block.params.size(), rows[i].count) << block.name;
        EXPECT_EQ(block.rolloutOpen, block.name == "geomParams");
    }
}

TEST_F(DravinParams, NamesAreUniqueInTheObject) {
    const std::vector<std::string>& names = DravinParamNames();
    EXPECT_EQ(names.size(), 313u);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

TEST_F(DravinParams, NewObjectHasTheseNumbers) {
    const std::pair<const char*, ParamValue> golden[] = {{"seed", 123456},
                                                         {"seedtype", 0},
                                                         {"threads", 4},
                                                         {"autothreads", 1},
                                                         {"mapname", "dense.bmp"},
                                                         {"pixels_x", 100},
                                                         {"pixels_y", 100},
                                                         {"units_x", 10.0f},
                                                         {"units_y", 10.0f},
                                                         {"threshold", 50},
                                                         {"maxdensity", 40},
                                                         {"direction", 100},
                                                         {"altmax", 999999.0f},
                                                         {"altmin", -999999.0f},
                                                         {"camfar", 100000.0f},
                                                         {"camdensfar", 1000.0f},
                                                         {"camwidth", 15},
                                                         {"camlod", 1},
                                                         {"usefakeshadows", 1},
                                                         {"hshadow", 1},
                                                         {"vshadow", 1},
                                                         {"hsplanes", 1},
                                                         {"selfshadow", 1},
                                                         {"zrotmax", 359},
                                                         {"scalexmin", 80},
                                                         {"scalexmax", 120},
                                                         {"scaleymin", 80},
                                                         {"scaleymax", 120},
                                                         {"scalezmin", 100},
                                                         {"scalezmax", 100},
                                                         {"vmesh", 2},
                                                         {"vmaxitems", 50000},
                                                         {"rmaxitems", 1000000},
                                                         {"adaptfaces", 100000},
                                                         {"maxfaces", 5},
                                                         {"consmat", 1},
                                                         {"globscale", 100.0f},
                                                         {"distpathoffset", 0.0f},
                                                         {"savedversion", "n/a"},
                                                         {"transxmin", -20},
                                                         {"transprobmap", 1},
                                                         {"opaclevel", 0.8f},
                                                         {"tintcolor1", Color{0.86f, 0.47f, 0.0f}},
                                                         {"animsamples", 4}};
    for (const auto& [name, value] : golden) {
        ASSERT_TRUE(object->FindParam(name)) << name;
        EXPECT_EQ(Value(name), value) << name;
    }
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kNamelist), 0);
    EXPECT_EQ(object->Block(kAreaParams).Count(areaParams::kArnamelist), 0);
}

TEST_F(DravinParams, AppendedElementsHaveTheseValues) {
    const std::pair<const char*, ParamValue> golden[] = {
        {"specidlist", -1},          {"aridlist", -1},
        {"pf_aractivelist", 1},      {"arresollist", 512},
        {"scalelist", 100.0f},       {"centerlist", 50},
        {"radiuslist", 100},         {"efpaintmin", -99999},
        {"efpaintmax", 99999},       {"efpafloatmax", 9999999.0f},
        {"efpaunitmax", 9999999.0f}, {"efpacontype", 1},
        {"efenablelist", 1},         {"arslicetoplist", 10.0f},
        {"arwidthlist", 10.0f},      {"arobscalelist", 0.0f},
        {"widthlist", 0.0f},         {"problist", 0.0f},
        {"usemeshdimlist", 0},       {"coloridlist", Point3{}}};
    for (const auto& [name, value] : golden) {
        TDravin::Param p = object->FindParam(name);
        ASSERT_TRUE(p) << name;
        EXPECT_TRUE(p.block->Append(p.def->id)) << name;
        EXPECT_EQ(p.block->GetValue(p.def->id), value) << name;
    }
}

TEST_F(DravinParams, IdsAndRangesOfAFewParameters) {
    EXPECT_EQ(distParams::kUnitsX, 0);
    EXPECT_EQ(distParams::kDistpathzfollow, 44);
    EXPECT_EQ(areaParams::kArzoffset, 40);
    EXPECT_EQ(transformParams::kScaprobmap, 48);
    EXPECT_EQ(effectParams::kEfpacurve, 26);
    const ParamDef* density = DravinBlocks()[kDistParams].Find("maxdensity");
    EXPECT_EQ(density->max, 999);
    EXPECT_FALSE(density->animatable);
    EXPECT_FALSE(DravinBlocks()[kDistParams].Find("distpathoffset")->hasRange);
    EXPECT_EQ(DravinBlocks()[kCamParams].Find("camdenscurve")->ownerSlot, 13);
    EXPECT_EQ(DravinBlocks()[kDistParams].Find("distmap")->subTexmap, 1);
}

TEST_F(DravinParams, ParticleFlowIsModeThreeByNameOnly) {
    AssignResult clamped = Script("distmode", 3);
    EXPECT_EQ(clamped.warnings.size(), 1u);
    EXPECT_EQ(Value("distmode"), ParamValue(2));
    EXPECT_TRUE(Script("distmode", "Particle Flow").warnings.empty());
    EXPECT_EQ(Value("distmode"), ParamValue(3));
}

TEST_F(DravinParams, RenderModeTwoAndThreeAreStored) {
    for (int mode : {2, 3}) {
        EXPECT_TRUE(Script("rendermode", mode).warnings.empty());
        EXPECT_EQ(Value("rendermode"), ParamValue(mode));
    }
}

TEST_F(DravinParams, SwitchingScaleSlopeOnZeroesDirection) {
    EXPECT_TRUE(Script("scalelope", true));
    EXPECT_EQ(Value("direction"), ParamValue(0));
    EXPECT_TRUE(Script("scalelope", false));
    EXPECT_EQ(Value("direction"), ParamValue(0));
}

TEST_F(DravinParams, PathNodesLoseNullsAndRepeats) {
    HostContext context;
    auto a = INode::Create("a", std::make_shared<ShapeObject>());
    auto b = INode::Create("b", std::make_shared<ShapeObject>());
    context.Undo().Begin();
    EXPECT_TRUE(Script("distpathnodes", Nodes({a, nullptr, b, a})));
    context.Undo().Accept("Assign");
    IParamBlock2& block = object->Block(kDistParams);
    ASSERT_EQ(block.Count(distParams::kDistpathnodes), 2);
    EXPECT_EQ(block.GetNode(distParams::kDistpathnodes, 0, 1), b.get());
    block.Append(distParams::kDistpathnodes, std::shared_ptr<ReferenceTarget>(a));
    EXPECT_EQ(block.Count(distParams::kDistpathnodes), 2);
    context.Undo().Undo();
    EXPECT_EQ(block.Count(distParams::kDistpathnodes), 0);
}

TEST_F(DravinParams, ParticleNodesMustBeParticleSystems) {
    auto mesh = INode::Create("m", std::make_shared<TriObject>());
    auto flow = INode::Create("p", std::make_shared<ParticleObject>());
    EXPECT_FALSE(Script("distpflownodes", Nodes({mesh})));
    EXPECT_EQ(object->Block(kDistParams).Count(distParams::kDistpflownodes), 0);
    EXPECT_TRUE(Script("distpflownodes", Nodes({flow})));
    EXPECT_EQ(object->Block(kDistParams).Count(distParams::kDistpflownodes), 1);
}

TEST_F(DravinParams, DeclinedModeSwitchKeepsTheOldMode) {
    int asked = 0;
    Connection asks =
        object->modeSwitch.Connect([&](TDravin::ModeSwitch& mode) { mode.answer = ++asked > 1; });
    Script("mode", 1);
    EXPECT_EQ(Value("mode"), ParamValue(0));
    Script("mode", 1);
    EXPECT_EQ(Value("mode"), ParamValue(1));
    EXPECT_EQ(asked, 2);
}

TEST_F(DravinParams, ChangesUpdateThePanel) {
    std::vector<PanelUpdate> updates;
    int heard = 0;  // by another panel of the same object
    Connection first = object->panelUpdate.Connect([&](PanelUpdate) { ++heard; });
    Connection second =
        object->panelUpdate.Connect([&](PanelUpdate what) { updates.push_back(what); });
    Script("tintcolor1", ParamInput::Array{1, 0, 0});
    Script("usefakeshadows", false);
    Script("surfmode", 1);
    EXPECT_EQ(updates, (std::vector{PanelUpdate::kTintGradient, PanelUpdate::kShadowControls,
                                    PanelUpdate::kSurfaceList, PanelUpdate::kEnableRules}));
    EXPECT_EQ(heard, 4);
    first.Disconnect();
    Script("surfmode", 0);
    EXPECT_EQ(heard, 4);
    EXPECT_GT(updates.size(), 4u);
}

TEST_F(DravinParams, EffectValuesCarryComputedNames) {
    IParamBlock2& block = object->Block(kEffectParams);
    block.Append(effectParams::kEfpaname, std::string("Height"));
    block.Append(effectParams::kEfpafloatval);
    EXPECT_EQ(block.ElementName(effectParams::kEfpafloatval, 0), "Parameter 1 (Height) - Value");
}

TEST_F(DravinParams, ResetKeepsTheMarkedOnes) {
    Script("iconsize", 4.0);
    Script("vmaxitems", 10);
    Script("seed", 7);
    Script("threshold", 9);
    for (int id = 0; id < kNumDravinBlocks; ++id) object->Block(DravinBlockId(id)).ResetAll();
    EXPECT_EQ(Value("iconsize"), ParamValue(4.0f));
    EXPECT_EQ(Value("vmaxitems"), ParamValue(10));
    EXPECT_EQ(Value("seed"), ParamValue(123456));
    EXPECT_EQ(Value("threshold"), ParamValue(50));
    EXPECT_NE(object->CurveSet(kSlotCamDensityCurve), nullptr);
}

TEST_F(DravinParams, CurveParametersAreTheObjectsSlots) {
    EXPECT_EQ(object->Block(kCamParams).GetReference(camParams::kCamdenscurve, 0, 0),
              object->CurveSet(kSlotCamDensityCurve));
    auto other = std::make_shared<TCurveSet>();
    object->Block(kCamParams).SetValue(camParams::kCamdenscurve, 0, other);
    EXPECT_EQ(object->CurveSet(kSlotCamDensityCurve), other.get());
}
