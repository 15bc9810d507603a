// Slots, ids and maps are counted by hand.
#include "Dravin/materials/automatic_material.h"

#include <fmt/format.h>

#include "Dravin/build/evaluation.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/materials/wrapper_material.h"
#include "host/params/hold.h"
#include "host/scene/physical_material.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

using Ints = std::vector<int>;
using Texts = std::vector<std::string>;

class AutomaticMaterial : public ScatterFixture {
protected:
    std::map<std::string, std::shared_ptr<StandardMtl>> plain;

    std::shared_ptr<Mtl> Plain(const std::string& name) {
        std::shared_ptr<StandardMtl>& mtl = plain[name];
        if (!mtl) mtl = std::make_shared<StandardMtl>();
        mtl->name = name;
        return mtl;
    }
    std::shared_ptr<MultiMtl> Multi(const Texts& names) {
        auto multi = std::make_shared<MultiMtl>();
        for (const std::string& name : names) multi->Append(name.empty() ? nullptr : Plain(name));
        return multi;
    }
    // The first row is there; others are added.
    void SetRow(int row, std::shared_ptr<Mtl> material, std::shared_ptr<Mtl> ofNode = nullptr) {
        auto source = AddMesh(fmt::format("source {}", row), MakeBox(1, 1, 1, 1));
        source->SetMtl(std::move(ofNode));
        if (row > 0) AddRow(source);
        IParamBlock2& rows = object->Block(kGeomParams);
        rows.SetValue(geomParams::kCobjlist, 0, Target(source), row);
        rows.SetValue(geomParams::kMatlist, 0, Target(material), row);
    }
    void ThreeRows() {
        SetRow(0, Multi({"bark", "leaf"}));
        SetRow(1, Multi({"leaf", "moss", ""}));
        SetRow(2, nullptr, Plain("bark"));
    }
    const TSpecBuild& Row(size_t i) { return object->Build().Specimens().Row(i); }
    const TConsolidatedIds& Ids(size_t row) { return Row(row).nodes.front().ids; }
    MultiMtl& Shown() { return dynamic_cast<MultiMtl&>(*node->GetMtl()); }
    Texts Slots() {
        Texts names;
        for (int i = 0; i < Shown().NumSubMtls(); ++i)
            names.push_back(Shown().GetSubMtl(i) ? Shown().GetSubMtl(i)->name.Get() : "");
        return names;
    }
    Ints FaceIds(size_t row, const Ints& local) {
        Ints ids;
        for (int id : local) ids.push_back(Ids(row).OfFace(id));
        return ids;
    }
};

}  // namespace

TEST_F(AutomaticMaterial, HoldsEveryMaterialOnceAndAColorForEachRow) {
    ThreeRows();
    Run();
    EXPECT_EQ(Slots(),
              (Texts{"bark", "leaf", "moss", "DPColor ID 0", "DPColor ID 1", "DPColor ID 2"}));
    EXPECT_EQ((Ints{Ids(0).base, Ids(1).base, Ids(2).base}), (Ints{0, 2, 0}));
    EXPECT_EQ((Ints{Ids(0).count, Ids(1).count, Ids(2).count}), (Ints{2, 2, 1}));
    EXPECT_EQ(Ids(0).map, (Ints{0, 1}));
    EXPECT_EQ(Ids(1).map, (Ints{1, 2}));
    EXPECT_EQ(Ids(2).map, (Ints{0}));
    EXPECT_EQ((Ints{Row(0).proxyMaterialId, Row(1).proxyMaterialId, Row(2).proxyMaterialId}),
              (Ints{3, 4, 5}));
    EXPECT_EQ(FaceIds(0, {0, 1, 2, 5}), (Ints{0, 1, 0, 1}));
    EXPECT_EQ(FaceIds(1, {0, 1, 2, 5}), (Ints{1, 2, 1, 2}));
    EXPECT_EQ(node->GetMtl()->name.Get(),
              fmt::format("dravin_automat_{:X}", reinterpret_cast<uintptr_t>(object.get())));
}

TEST_F(AutomaticMaterial, WithoutOptimizationSourcesHaveBlocksOfTheirOwn) {
    DravinGlobals().options.optimizeAutomaterial = 0;
    ThreeRows();
    Run();
    EXPECT_EQ(Slots(), (Texts{"bark", "leaf", "leaf", "moss", "DPColor ID 0", "DPColor ID 1",
                              "DPColor ID 2"}));
    EXPECT_EQ(FaceIds(0, {0, 1, 2, 5}), (Ints{0, 1, 0, 1}));
    EXPECT_EQ(FaceIds(1, {0, 1, 2, 5}), (Ints{2, 3, 2, 3}));
}

TEST_F(AutomaticMaterial, RowsOfOneMaterialShareASlotEitherWay) {
    SetRow(0, Plain("bark"));
    SetRow(1, Plain("bark"));
    for (int optimizes : {1, 0}) {
        DravinGlobals().options.optimizeAutomaterial = optimizes;
        Run();
        EXPECT_EQ(Slots()[0], "bark");
        EXPECT_EQ(Slots()[1], "DPColor ID 0");
        EXPECT_EQ(FaceIds(1, {0, 4}), (Ints{0, 0}));
    }
}

TEST_F(AutomaticMaterial, LongMaterialsKeepTheEntry999) {
    Texts names;
    for (int i = 0; i < 1200; ++i) names.push_back(fmt::format("m{}", i));
    SetRow(0, Multi(names));
    SetRow(1, Plain("behind"));
    Run();
    Texts slots = Slots();
    ASSERT_EQ(slots.size(), 1003u);
    EXPECT_EQ(slots[0], "m0");
    EXPECT_EQ(slots[998], "m998");
    EXPECT_EQ(slots[999], "m999");
    EXPECT_EQ(slots[1000], "behind");  // the entry that would have come to stand on 999
    EXPECT_EQ(slots[1001], "DPColor ID 0");
    EXPECT_EQ(slots[1002], "DPColor ID 1");
    EXPECT_EQ(FaceIds(0, {0, 998, 999, 1000}), (Ints{0, 998, 999, 1}));
    EXPECT_EQ(FaceIds(1, {0, 999}), (Ints{1000, 1000}));
    DravinGlobals().options.optimizeAutomaterial = 0;
    Run();
    EXPECT_EQ(FaceIds(0, {998, 999}), (Ints{998, 999}));
    EXPECT_EQ(FaceIds(1, {0}), (Ints{1000}));
}

TEST_F(AutomaticMaterial, FewMaterialsWithAKeptEntryHaveAThousandSlots) {
    Texts names(1000);
    names[0] = "first";
    names[999] = "last";
    SetRow(0, Multi(names));
    Run();
    Texts slots = Slots();
    ASSERT_EQ(slots.size(), 1000u);
    EXPECT_EQ(slots[0], "first");
    EXPECT_EQ(slots[1], "DPColor ID 0");
    EXPECT_EQ(slots[2], "");
    EXPECT_EQ(slots[999], "last");
    EXPECT_EQ(FaceIds(0, {0, 1, 999}), (Ints{0, 0, 999}));
}

TEST_F(AutomaticMaterial, RenamedColorsAreReplacedAndOthersKept) {
    SetRow(0, Plain("bark"));
    SetRow(1, Plain("moss"));
    Run();
    Mtl *first = Shown().GetSubMtl(2), *second = Shown().GetSubMtl(3);
    Mtl* all = node->GetMtl();
    Run();
    EXPECT_EQ(node->GetMtl(), all);
    EXPECT_EQ(Shown().GetSubMtl(2), first);
    first->name = "mine";
    Run();
    EXPECT_NE(Shown().GetSubMtl(2), first);
    EXPECT_EQ(Shown().GetSubMtl(2)->name.Get(), "DPColor ID 0");
    EXPECT_EQ(Shown().GetSubMtl(3), second);
}

TEST_F(AutomaticMaterial, ColorsFollowRowsAndDisplay) {
    SetRow(0, Plain("bark"));
    object->Block(kGeomParams).SetValue(geomParams::kColoridlist, 0, Point3{0.25f, 0.5f, 1}, 0);
    Set(kDispParams, dispParams::kWireframe, true);
    Set(kDispParams, dispParams::kOpacity, 40);
    Run();
    auto& shown = dynamic_cast<StandardMtl&>(*Shown().GetSubMtl(1));
    EXPECT_EQ(shown.diffuse.Get(), (Color{0.25f, 0.5f, 1}));
    EXPECT_TRUE(shown.wireframe);
    EXPECT_FLOAT_EQ(shown.opacity, 0.4f);
}

TEST_F(AutomaticMaterial, FewerMaterialsLeaveEmptySlots) {
    ThreeRows();
    Run();
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, Target(Plain("bark")), 1);
    Run();
    EXPECT_EQ(Slots(), (Texts{"bark", "leaf", "DPColor ID 0", "DPColor ID 1", "DPColor ID 2", ""}));
}

// Its own material is no source's: the source's node says what it shows.
TEST_F(AutomaticMaterial, TakesTheMultiMaterialOfItsNodeAndNotItsOwnAsARow) {
    auto mine = Multi({"old", "older", "oldest"});
    mine->name = "mine";
    node->SetMtl(mine);
    SetRow(0, mine, Plain("bark"));
    Run();
    EXPECT_EQ(node->GetMtl(), mine.get());
    EXPECT_EQ(Slots(), (Texts{"bark", "DPColor ID 0", ""}));
}

TEST_F(AutomaticMaterial, AMaterialThatIsNoMultiIsReplacedOnAllNodesOfTheObject) {
    node->SetMtl(Plain("mine"));
    auto second = INode::Create("second", object);
    scene.AddNode(second);
    SetRow(0, Plain("bark"));
    Run();
    EXPECT_EQ(Slots()[0], "bark");
    EXPECT_EQ(second->GetMtl(), node->GetMtl());
}

TEST_F(AutomaticMaterial, EmptyAndColoredMaterialsCountAsNone) {
    SetRow(0, Multi({"", ""}));
    SetRow(1, Multi({"DPColor ID 7"}));
    SetRow(2, Plain("DPColor ID 7"));
    SetRow(3, nullptr);
    Run();
    EXPECT_EQ(Slots()[0], "DPColor ID 0");
    for (size_t row = 0; row < 4; ++row) {
        EXPECT_EQ(Ids(row).base, 0);
        EXPECT_EQ(Ids(row).count, 1);
        EXPECT_EQ(FaceIds(row, {0, 3}), (Ints{0, 0}));
    }
    EXPECT_TRUE(IsColorIdMaterial(*Plain("DPColor IDs")));
    EXPECT_FALSE(IsColorIdMaterial(*Plain("DPColor I")));
}

TEST_F(AutomaticMaterial, OnlyConsolidatedObjectsHaveOne) {
    auto mine = Plain("mine");
    node->SetMtl(mine);
    SetRow(0, Plain("bark"));
    Set(kGeomParams, geomParams::kConsmat, false);
    Run();
    EXPECT_EQ(node->GetMtl(), mine.get());
    Set(kGeomParams, geomParams::kConsmat, true);
    TBuildFlags distributes;
    distributes.noMesh = true;
    Run(distributes);
    EXPECT_EQ(node->GetMtl(), mine.get());
}

TEST_F(AutomaticMaterial, LeavesNothingToUndo) {
    SetRow(0, Plain("bark"));
    TBuildFlags distributes;
    distributes.noMesh = true;
    Run(distributes);  // rows have their ids
    Hold& hold = *CurrentHold();
    size_t steps = hold.NumUndoSteps();
    hold.Begin();
    Run();
    hold.Accept("build");
    EXPECT_EQ(hold.NumUndoSteps(), steps);  // a step without records is none
    EXPECT_EQ(Slots()[0], "bark");
}

TEST_F(AutomaticMaterial, ViewportsShowTheMapsOfTemplatesOnly) {
    auto wrapper = std::make_shared<DMat>();
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0, Target(Plain("bark")));
    SetRow(0, wrapper);
    Run();
    EXPECT_EQ(plain["bark"]->viewportMaps, ViewportMaps::kNone);
    ShowMapsInViewport(*node->GetMtl(), 0);
    EXPECT_EQ(plain["bark"]->viewportMaps, ViewportMaps::kNone);
    ShowMapsInViewport(*node->GetMtl(), 1);
    EXPECT_EQ(plain["bark"]->viewportMaps, ViewportMaps::kDiffuse);
    ShowMapsInViewport(*node->GetMtl(), 2);
    EXPECT_EQ(plain["bark"]->viewportMaps, ViewportMaps::kMaterial);
    object->Block(kGeomParams).SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, Target(Plain("moss")), 0);
    Run();
    EXPECT_EQ(plain["moss"]->viewportMaps, ViewportMaps::kMaterial);
}

// Changed or not, where a user asks for all anew.
TEST_F(AutomaticMaterial, UpdatingSwitchesMapsInViewportsOnAgain) {
    SetRow(0, Plain("moss"));
    object->Block(kGeomParams).SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    Run();
    plain["moss"]->viewportMaps = ViewportMaps::kNone;
    Run();
    EXPECT_EQ(plain["moss"]->viewportMaps, ViewportMaps::kNone);
    UpdateAllObjects(scene);
    EXPECT_EQ(plain["moss"]->viewportMaps, ViewportMaps::kMaterial);
    plain["moss"]->viewportMaps = ViewportMaps::kNone;
    object->Block(kGeomParams).SetValue(geomParams::kGeomlist, 0, int(kGeomCustom), 0);
    UpdateAllObjects(scene);
    EXPECT_EQ(plain["moss"]->viewportMaps, ViewportMaps::kNone);
}

TEST_F(AutomaticMaterial, PhysicalMaterialsShowTheirMapsToo) {
    auto physical = std::make_shared<PhysicalMtl>();
    SetRow(0, physical);
    object->Block(kGeomParams).SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    Run();
    EXPECT_EQ(physical->viewportMaps, ViewportMaps::kMaterial);
    ShowMapsInViewport(*physical, 1);
    EXPECT_EQ(physical->viewportMaps, ViewportMaps::kDiffuse);
}

// Levels that show templates stand in a row that names a custom object all the same.
TEST_F(AutomaticMaterial, ALodObjectThatBeginsWithATemplateIsACustomObject) {
    SetRow(0, Plain("bark"));
    auto lod = TDLod::Create();
    lod->NewLevel();
    lod->Block().SetValue(lodParams::kGeomlist, 0, int(kGeomTemplate), 0);
    lod->Block().SetValue(lodParams::kMatlist, 0, Target(Plain("bark")), 0);
    auto levels = INode::Create("levels", lod);
    scene.AddNode(levels);
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(levels), 0);
    DravinGlobals().options.showMapInViewport = 2;
    Run();
    ASSERT_TRUE(Row(0).lod);
    EXPECT_EQ(Row(0).nodes.front().entry.kind, kGeomTemplate);
    EXPECT_EQ(Slots()[0], "bark");
    EXPECT_EQ(plain["bark"]->viewportMaps, ViewportMaps::kNone);
}

TEST_F(AutomaticMaterial, ProxyShapesShowTheColorsOfTheirRows) {
    SetRow(0, Plain("bark"));
    SetRow(1, Plain("moss"));
    Set(kDispParams, dispParams::kVmesh, 1);
    const TObjectMesh& mesh = Run().ObjectMesh();
    std::set<int> ids;
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); ++f) {
        int row = object->Build().Items().Item(size_t(mesh.FaceOwners()[f])).specimenIndex;
        EXPECT_EQ(mesh.GetMesh().faces[f].matID, 2 + row);
        ids.insert(mesh.GetMesh().faces[f].matID);
    }
    EXPECT_EQ(ids.size(), 2u);
}
