#include "Dravin/scene/dravin_description.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/base/log.h"
#include "host/params/controller.h"
#include "tests/host/io/scene_testing.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

const SceneFormats& Formats() {
    static const SceneFormats formats = [] {
        SceneFormats all(MakeSceneLoaders());
        RegisterDravinNodes(all);
        return all;
    }();
    return formats;
}

// A scene with a few nodes to name, and a scatter object "d" with these keys.
SceneReadResult ParseDravin(const std::string& keys, const std::string& folder = ".") {
    return ParseScene(R"({"dravin_scene": 1,
      "texmaps": {"grey": {"type": "color", "color": [0.5, 0.5, 0.5]}},
      "materials": {"bark": {"type": "standard"}},
      "nodes": [{"name": "ground", "type": "plane"}, {"name": "oak", "type": "box"},
        {"name": "path", "type": "spline", "lines": [{"points": [[0, 0, 0], [1, 0, 0]]}]},
        {"name": "d", "type": "dravin", )" +
                          keys + "}]}",
                      Formats(), folder);
}

TDravin& ObjectOf(const SceneReadResult& result) {
    return dynamic_cast<TDravin&>(*result.scene->FindNode("d")->GetObjectRef());
}

// The description of a scene, read again: both texts must be equal. The second scene.
SceneReadResult RoundTrip(const SceneReadResult& first) {
    std::string text = WriteSceneDescription(*first.scene, ".", Formats());
    SceneReadResult second = ParseScene(text, Formats());
    EXPECT_TRUE(second) << second.error << "\n" << text;
    if (second) {
        EXPECT_EQ(WriteSceneDescription(*second.scene, ".", Formats()), text);
    }
    return second;
}

}  // namespace

TEST(DravinDescription, ParamsByInternalName) {
    SceneReadResult result = ParseDravin(R"("params": {"seed": 7, "units_x": 2.5, "distmap": "grey",
        "surflist": ["ground"], "collision": true, "tintcolor1": [1, 0.5, 0], "distmode": "Particle Flow",
        "mapname": "img\\a.bmp", "renderid": "abc", "lookat": null})");
    ASSERT_TRUE(result) << result.error;
    TDravin& d = ObjectOf(result);
    EXPECT_EQ(d.Block(kGenParams).GetInt(genParams::kSeed), 7);
    EXPECT_EQ(d.Block(kDistParams).GetFloat(distParams::kUnitsX), 2.5f);
    EXPECT_EQ(d.Block(kDistParams).GetTexmap(distParams::kDistmap),
              result.scene->Texmaps().at("grey").get());
    EXPECT_EQ(d.Block(kSurfaceParams).GetNode(surfaceParams::kSurflist),
              result.scene->FindNode("ground"));
    EXPECT_EQ(d.Block(kDistParams).GetInt(distParams::kDistmode), 3);
    EXPECT_EQ(d.Block(kGenParams).GetString(genParams::kRenderid), "abc");
    RoundTrip(result);
}

TEST(DravinDescription, ClampsWithAWarning) {
    SceneReadResult result =
        ParseDravin(R"("params": {"threshold": 150, "seedtype": 0, "distmode": 3,
        "rendermode": 3, "camwidth": -1})");
    ASSERT_TRUE(result) << result.error;
    EXPECT_THAT(result.warnings,
                ElementsAre(HasSubstr("/nodes/3/params/camwidth: -1 is outside 0 to 1000"),
                            HasSubstr("/nodes/3/params/threshold: 150 is outside 0 to 100")));
    TDravin& d = ObjectOf(result);
    EXPECT_EQ(d.Block(kDistParams).GetInt(distParams::kThreshold), 100);
    EXPECT_EQ(d.Block(kDistParams).GetInt(distParams::kDistmode), 3);
    EXPECT_EQ(d.Block(kDispParams).GetInt(dispParams::kRendermode), 3);
}

TEST(DravinDescription, AnimatedParams) {
    SceneReadResult result =
        ParseDravin(R"("params": {"threshold": {"keys": [[0, 10], [160, 50]]}})");
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(ObjectOf(result).Block(kDistParams).GetInt(distParams::kThreshold, 80), 30);
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).Block(kDistParams).GetKeys(distParams::kThreshold).size(), 2u);
}

TEST(DravinDescription, GeometryRowsTakeTheRecordsDefaults) {
    SceneReadResult result = ParseDravin(R"("geometry": [{"name": "row"}, {"object": "oak",
        "kind": "disabled", "material": "bark", "color_id": [1, 0, 0], "probability": 25, "id": 3},
        {"object": "oak"}, {"object": null, "object_name": "gone"}])");
    ASSERT_TRUE(result) << result.error;
    TTreeSpecList list(std::static_pointer_cast<IParamBlock2>(
        ObjectOf(result).Block(kGeomParams).shared_from_this()));
    TNuRandom generator;
    TSpecEntry first = list.ReadRow(0, 0, generator), expected;
    expected.name = "row";
    expected.colorId = first.colorId;
    EXPECT_EQ(first, expected);
    EXPECT_EQ(list.ReadRow(1, 0, generator).kind, kGeomDisabled);
    EXPECT_EQ(list.ReadRow(1, 0, generator).material, result.scene->Materials().at("bark"));
    EXPECT_EQ(list.ReadRow(2, 0, generator).kind, kGeomCustom);
    EXPECT_EQ(list.ReadRow(2, 0, generator).customObjectName, "oak");
    EXPECT_EQ(list.ReadRow(3, 0, generator).kind, kGeomTemplate);
    EXPECT_EQ(list.ReadRow(3, 0, generator).customObjectName, "gone");
}

TEST(DravinDescription, GeometryWhoseObjectIsGoneIsKept) {
    SceneReadResult result =
        ParseDravin(R"("geometry": [{"name": "row", "object": "oak", "id": 9}])");
    ASSERT_TRUE(result) << result.error;
    result.scene->DeleteNode(*result.scene->FindNode("oak"));
    const IParamBlock2& block = ObjectOf(result).Block(kGeomParams);
    EXPECT_EQ(block.Count(geomParams::kCobjlist), 1);
    EXPECT_EQ(block.GetNode(geomParams::kCobjlist), nullptr);
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).Block(kGeomParams).GetString(geomParams::kConamelist), "oak");
    EXPECT_EQ(ObjectOf(again).Block(kGeomParams).GetInt(geomParams::kGeomlist), kGeomCustom);
}

TEST(DravinDescription, AreaRowsDependOnTheirKind) {
    SceneReadResult result = ParseDravin(R"("areas": [{"type": "spline", "node": "path"},
        {"type": "object", "node": "oak", "map": "grey", "surfaces": ["ground"], "slice": true},
        {"type": "dravin", "node": "d", "include": true, "select_geometry": true, "geometry": [3, 7]},
        {"type": "paint", "polygons": [[[0, 0], [4, 0], [4, 3]]], "width": {"keys": [[0, 1], [9, 2]]}},
        {"type": "surface", "active": false}])");
    ASSERT_TRUE(result) << result.error;
    using namespace areaParams;
    const IParamBlock2& block = ObjectOf(result).Block(kAreaParams);
    EXPECT_EQ(block.Count(kArnamelist), 5);
    const int exclude[] = {0, 1, 0, 0, 0}, resolution[] = {512, 512, 1024, 512, 512};
    const int kinds[] = {kAreaSpline, kAreaObject, kAreaDravin, kAreaPaint, kAreaSurface};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(block.GetInt(kArtypelist, 0, i), kinds[i]);
        EXPECT_EQ(block.GetInt(kArincexclist, 0, i), exclude[i]);
        EXPECT_EQ(block.GetInt(kArresollist, 0, i), resolution[i]);
        EXPECT_EQ(block.GetFloat(kArobscalelist, 0, i), 100.0f);
        EXPECT_EQ(block.GetFloat(kArslicetoplist, 0, i), 0.0f);
    }
    EXPECT_EQ(block.GetString(kArspeclist, 0, 2), " 3 7");
    EXPECT_THAT(ParseAreaSurfaces(block.GetString(kArsurfidlist, 0, 1)).names,
                ElementsAre("ground"));
    auto* paint = dynamic_cast<TPaintShape*>(block.GetReference(kArpaintlist, 0, 3));
    ASSERT_NE(paint, nullptr);
    EXPECT_EQ(paint->shape->lines[0].points[2], (Point3{4, 3, 0}));
    EXPECT_FALSE(block.GetBool(kPfAractivelist, 0, 4));
    RoundTrip(result);
}

TEST(DravinDescription, AreaRowsWithoutANameAreCalledLikeTheirNodeOrKind) {
    SceneReadResult result = ParseDravin(R"("areas": [{"type": "spline", "node": "path"},
        {"type": "spline", "node_name": "gone"}, {"type": "object"}, {"type": "paint"},
        {"type": "surface"}, {"type": "dravin"}, {"name": "", "type": "paint"}])");
    ASSERT_TRUE(result) << result.error;
    const IParamBlock2& block = ObjectOf(result).Block(kAreaParams);
    const char* names[] = {
        "path", "New spline", "New object", "New paint", "Surface Area", "New dravin", ""};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(block.GetString(areaParams::kArnamelist, 0, i), names[i]);
}

TEST(DravinDescription, IdsBelowOneInAnAreasGeometryAreKept) {
    SceneReadResult result =
        ParseDravin(R"("areas": [{"select_geometry": true, "geometry": [0, -2, 3]}])");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = RoundTrip(result);
    std::string text = ObjectOf(again).Block(kAreaParams).GetString(areaParams::kArspeclist, 0, 0);
    EXPECT_EQ(text, " 0 -2 3");
    EXPECT_THAT(ParseSpecIds(text), ElementsAre(3));
}

TEST(DravinDescription, MaterialIdsOfAnAreasSurfacesRoundTrip) {
    SceneReadResult result = ParseDravin(
        R"("areas": [{"node": "path", "surfaces": ["ground"], "surface_materials": [1, 3]}])");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).Block(kAreaParams).GetString(areaParams::kArsurfidlist, 0, 0),
              "ground\n#1 #3");
}

TEST(DravinDescription, NumbersOfUnknownKindsStay) {
    SceneReadResult result = ParseDravin(R"("geometry": [{"name": "a", "kind": 9}],
        "areas": [{"name": "b", "type": 7}])");
    ASSERT_TRUE(result) << result.error;
    EXPECT_THAT(result.warnings,
                ElementsAre(HasSubstr("/nodes/3/geometry/0/kind: the kind 9 is not known"),
                            HasSubstr("/nodes/3/areas/0/type: the type 7 is not known")));
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).Block(kGeomParams).GetInt(geomParams::kGeomlist, 0, 0), 9);
    EXPECT_EQ(ObjectOf(again).Block(kAreaParams).GetInt(areaParams::kArtypelist, 0, 0), 7);
    // Numbers that have a name are no news.
    EXPECT_TRUE(
        ParseDravin(R"("areas": [{"name": "b", "type": 4, "node": "path"}])").warnings.empty());
}

TEST(DravinDescription, EffectParametersOfUnknownTypesStay) {
    SceneReadResult result = ParseDravin(R"("params": {"efidlist": ["e"], "efnamelist": ["E"],
        "efxmllist": [""], "efenablelist": [true], "efpaid": ["p"], "efpaeffid": ["e"],
        "efpatype": [8], "efpanumtype": [2], "efpaname": ["x"]})");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).Block(kEffectParams).GetInt(effectParams::kEfpatype, 0, 0), 8);
    EXPECT_EQ(ObjectOf(again).Block(kEffectParams).GetInt(effectParams::kEfpanumtype, 0, 0), 2);
}

TEST(DravinDescription, ControllersAndPolygonsThatCannotBeSavedWarn) {
    SceneReadResult result = ParseDravin(R"("areas": [{"name": "b", "type": "paint",
        "polygons": [[[0, 0], [4, 0], [4, 3]]]}], "effects": [{"name": "e",
        "program": "{ print(k); }", "parameters": [
          {"name": "k", "kind": "controller", "value": 1}]}])");
    ASSERT_TRUE(result) << result.error;
    std::vector<std::string> log;
    LogSink old = SetLogSink([&](LogKind, const std::string& text) { log.push_back(text); });
    WriteSceneDescription(*result.scene, ".", Formats());
    EXPECT_THAT(log, IsEmpty());
    ObjectOf(result).Block(kEffectParams).SetValue(effectParams::kEfpatype, 0, 8, 0);
    ObjectOf(result).Block(kAreaParams).Append(areaParams::kArnamelist);  // of another length
    WriteSceneDescription(*result.scene, ".", Formats());
    SetLogSink(old);
    EXPECT_THAT(log, UnorderedElementsAre(HasSubstr("1 entries of \"efpacontref\" are left out"),
                                          HasSubstr("1 entries of \"arpaintlist\" are left out")));
}

TEST(DravinDescription, EmptyEffectsWarn) {
    for (const char* program : {"", " \n ", "<effects/>"}) {
        std::string text = nlohmann::json(program).dump();
        SceneReadResult result =
            ParseDravin(R"("effects": [{"name": "e", "program": )" + text + "}]");
        ASSERT_TRUE(result) << result.error;
        EXPECT_THAT(
            result.warnings,
            ElementsAre(HasSubstr("/effects/0: the effect \"e\" is empty and does nothing")));
    }
    EXPECT_THAT(ParseDravin(R"("effects": [{"name": "e", "program": "{ }"}])").warnings, IsEmpty());
}

TEST(DravinDescription, EffectRows) {
    SceneReadResult result = ParseDravin(R"("effects": [
        {"name": "lift", "program": "{ dpItem.position = [0, 0, h]; }", "parameters": [
          {"name": "h", "kind": "real", "value": 2.5, "min": 0, "max": 3, "limit": true,
           "description": "height"},
          {"name": "n", "kind": "integer", "value": {"keys": [[0, 1], [10, 5]]}},
          {"name": "u", "kind": "unit", "value": 7}, {"name": "t", "kind": "node", "value": "oak"},
          {"name": "m", "kind": "texmap", "value": "grey"},
          {"name": "k", "kind": "controller", "value": [1, 2, 3]},
          {"name": "c", "kind": "curve", "value": [1, 0]}]},
        {"name": "off", "enabled": false, "program": "<effects/>"}])");
    ASSERT_TRUE(result) << result.error;
    using namespace effectParams;
    const IParamBlock2& block = ObjectOf(result).Block(kEffectParams);
    EXPECT_EQ(block.Count(kEfidlist), 2);
    EXPECT_THAT(block.GetString(kEfxmllist, 0, 0),
                HasSubstr("<expression>{ dpItem.position = [0, 0, h]; }</expression>"));
    EXPECT_EQ(block.GetString(kEfxmllist, 0, 1), "<effects/>");
    ASSERT_EQ(block.Count(kEfpaid), 7);
    EXPECT_EQ(block.GetFloat(kEfpafloatval, 0, 0), 2.5f);
    EXPECT_EQ(block.GetFloat(kEfpafloatmax, 0, 1), 9999999.0f);
    EXPECT_EQ(block.GetInt(kEfpaintval, 5, 1), 3);
    EXPECT_EQ(block.GetNode(kEfpainode, 0, 3), result.scene->FindNode("oak"));
    EXPECT_EQ(block.GetInt(kEfpacontype, 0, 5), 2);
    auto* controller = dynamic_cast<Controller*>(block.GetReference(kEfpacontref, 0, 5));
    EXPECT_EQ(controller->EvalVector(0, nullptr), (Point3{1, 2, 3}));
    EXPECT_FALSE(controller->EvalReal(0, nullptr));
    EXPECT_THAT(block.GetString(kEfpacurve, 0, 6), HasSubstr("py=\"1.\""));
    RoundTrip(result);
}

TEST(DravinDescription, EffectFilesAreReadAndMayBeMissing) {
    TemporaryFolder folder;
    folder.Write("a.expr", "{ ; }");
    SceneReadResult result =
        ParseDravin(R"("effects": [{"name": "e", "file": "a.expr"}])", folder.Path());
    ASSERT_TRUE(result) << result.error;
    EXPECT_THAT(ObjectOf(result).Block(kEffectParams).GetString(effectParams::kEfxmllist),
                HasSubstr("<expression>{ ; }</expression>"));
    SceneReadResult gone =
        ParseDravin(R"("effects": [{"name": "e", "file": "b.expr"}])", folder.Path());
    EXPECT_EQ(gone.errorClass, DescriptionErrorClass::kMissingInput);
}

TEST(DravinDescription, EffectRowsTakeWhatTheyLeaveOutFromTheDefinition) {
    SceneReadResult result = ParseDravin(R"("effects": [{"name": "e", "program":
        "<effects><effect version='1'><expression>print 1;</expression><parameter name='share' kind='unit' value='2' min='1' max='5' limit='1'>How  \n much</parameter><parameter name='count' kind='integer' value='3'/></effect></effects>",
        "parameters": [{"name": "Share", "value": 4, "max": 6}]}])");
    ASSERT_TRUE(result) << result.error;
    using namespace effectParams;
    const IParamBlock2& block = ObjectOf(result).Block(kEffectParams);
    ASSERT_EQ(block.Count(kEfpaid), 2);
    EXPECT_EQ(block.GetInt(kEfpanumtype, 0, 0), 2);
    EXPECT_EQ(block.GetFloat(kEfpaunitval, 0, 0), 4);
    EXPECT_EQ(block.GetFloat(kEfpaunitdef, 0, 0), 2);
    EXPECT_EQ(block.GetFloat(kEfpaunitmin, 0, 0), 1);
    EXPECT_EQ(block.GetFloat(kEfpaunitmax, 0, 0), 6);
    EXPECT_EQ(block.GetInt(kEfpalimit, 0, 0), 1);
    EXPECT_EQ(block.GetString(kEfpadesc, 0, 0), "How much");
    EXPECT_EQ(block.GetInt(kEfpaintval, 0, 1), 3);
    SceneReadResult again = RoundTrip(result);
    const IParamBlock2& kept = ObjectOf(again).Block(kEffectParams);
    EXPECT_EQ(kept.GetFloat(kEfpaunitmax, 0, 0), 6);
    EXPECT_EQ(kept.GetFloat(kEfpaunitmin, 0, 0), 1);
}

// A limit that the user takes away stays away.
TEST(DravinDescription, EffectRowsKeepWhatDiffersFromTheDefinition) {
    SceneReadResult result = ParseDravin(R"("effects": [{"library": "random_hide",
        "parameters": [{"name": "percent", "limit": false, "min": -9999999, "description": ""}]}])");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = RoundTrip(result);
    using namespace effectParams;
    const IParamBlock2& kept = ObjectOf(again).Block(kEffectParams);
    EXPECT_EQ(kept.GetInt(kEfpalimit, 0, 0), 0);
    EXPECT_EQ(kept.GetFloat(kEfpafloatmin, 0, 0), -9999999.0f);
    EXPECT_EQ(kept.GetString(kEfpadesc, 0, 0), "");
    EXPECT_EQ(kept.GetFloat(kEfpafloatval, 0, 0), 50);
}

TEST(DravinDescription, EffectRowsWarnWhereAMapOrANodeIsMissing) {
    SceneReadResult result =
        ParseDravin(R"("effects": [{"library": "scale_by_map"}, {"library": "face_node"}])");
    ASSERT_TRUE(result) << result.error;
    ASSERT_EQ(result.warnings.size(), 2u);
    EXPECT_THAT(result.warnings[0], HasSubstr("no texture map for \"map\": it counts as black"));
    EXPECT_THAT(result.warnings[1], HasSubstr("no node for \"target\""));
}

TEST(DravinDescription, CurvesAsPairsAndPoints) {
    SceneReadResult result = ParseDravin(R"("curves": {"camdenscurve": [80, 20],
        "slope_scale": [{"px": 0, "py": 5, "outx": 0.25, "flags": 9}, {"px": 1}], "scaprobcurve": []})");
    ASSERT_TRUE(result) << result.error;
    TDravin& d = ObjectOf(result);
    EXPECT_EQ(d.CurveSet(kSlotCamDensityCurve)->Points(0),
              (std::vector<CurvePoint>{{0, 80}, {1, 20}}));
    EXPECT_EQ(d.CurveSet(kSlotSurfaceCurves)->Points(3),
              (std::vector<CurvePoint>{{0, 5, 0, 0, 0.25f, 0, 9}, {1, 0}}));
    EXPECT_TRUE(d.CurveSet(kSlotScaProbCurve)->Points(0).empty());
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).CurveSet(kSlotSurfaceCurves)->Points(3)[0].flags, 9);
}

TEST(DravinDescription, StoredItems) {
    SceneReadResult result =
        ParseDravin(R"("params": {"mode": 1}, "items": [{"stored_position": [1, 2, 3],
        "seed": 4294967295, "specimen_index": 2, "size_factor": [1, 2, 1], "element_index": -3,
        "source_transform": [[0, 1, 0], [-1, 0, 0], [0, 0, 1], [0, 0, 0]], "user_id": 8}, {}])");
    ASSERT_TRUE(result) << result.error;
    const std::vector<TStoredItem>& items = ObjectOf(result).StoredItems();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].seed, 4294967295u);
    EXPECT_EQ(items[0].elementIndex, -3);
    EXPECT_EQ(items[1], TStoredItem());
    EXPECT_EQ(ObjectOf(RoundTrip(result)).StoredItems(), items);
}

TEST(DravinDescription, NodeListsAreCleanedOnce) {
    SceneReadResult result = ParseDravin(
        R"("params": {"distpathnodes": ["path", null, "path"], "distrefnodes": ["oak", null, "oak"]})");
    ASSERT_TRUE(result) << result.error;
    const IParamBlock2& block = ObjectOf(result).Block(kDistParams);
    EXPECT_EQ(block.Count(distParams::kDistpathnodes), 1);
    EXPECT_EQ(block.Count(distParams::kDistrefnodes), 3);
}

TEST(DravinDescription, NodesOfTheWrongKindAreKept) {
    SceneReadResult result =
        ParseDravin(R"("params": {"camera": "oak", "distpflownodes": ["ground"]})");
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(ObjectOf(result).Block(kCamParams).GetNode(camParams::kCamera),
              result.scene->FindNode("oak"));
    EXPECT_EQ(ObjectOf(result).Block(kDistParams).Count(distParams::kDistpflownodes), 1);
}

TEST(DravinDescription, ListsOfUnequalLengthSurviveAsTheyAre) {
    SceneReadResult result = ParseDravin(
        R"("params": {"namelist": ["a", "b"], "problist": [1, 2, 3], "old_problist": [4]})");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = RoundTrip(result);
    EXPECT_EQ(ObjectOf(again).Block(kGeomParams).Count(geomParams::kProblist), 3);
    EXPECT_EQ(ObjectOf(again).Block(kGeomParams).Count(geomParams::kNamelist), 2);
}

TEST(DravinDescription, BadInputNamesItsPlace) {
    const std::pair<const char*, const char*> cases[] = {
        {R"("params": {"sede": 1})",
         "/nodes/3/params/sede: unknown parameter \"sede\", did you mean \"seed\"?"},
        {R"("params": {"seed": "x"})",
         "/nodes/3/params/seed: expected a whole number, found \"x\""},
        {R"("params": {"surflist": "ground"})", "/nodes/3/params/surflist: expected an array"},
        {R"("params": {"surflist": ["groumd"]})",
         "/nodes/3/params/surflist/0: no node is named \"groumd\", did you mean \"ground\"?"},
        {R"("params": {"distmap": "x"})", "no texture map is named \"x\""},
        {R"("params": {"distmode": "Pathe"})", "did you mean \"Path\"?"},
        {R"("params": {"collision": {"keys": [[0, 1]]}})", "cannot be animated"},
        {R"("params": {"threshold": {"keys": [[5, 1], [5, 2]]}})", "key times must rise"},
        {R"("params": {"camdenscurve": "x"})", "/nodes/3/params/camdenscurve: "},
        {R"("geometry": [{"object": "elm"}])",
         "/nodes/3/geometry/0/object: no node is named \"elm\""},
        {R"("geometry": [{"kind": "mesh"}])",
         "expected one of \"disabled\", \"template\", \"custom\""},
        {R"("geometry": [{"widht": 1}])", "did you mean \"width\"?"},
        {R"("geometry": {}, "params": {})", "/nodes/3/geometry: expected an array"},
        {R"("geometry": [{}], "params": {"namelist": ["a"]})", "stands in \"params\" already"},
        {R"("areas": [{"type": "spline", "node": "x"}])", "/nodes/3/areas/0/node: "},
        {R"("areas": [{"surfaces": ["x"]}])", "/nodes/3/areas/0/surfaces/0: "},
        {R"("areas": [{"surface_materials": [0]}])",
         "/nodes/3/areas/0/surface_materials/0: expected a material id, 1 or above"},
        {R"("areas": [{"polygons": [[[0, 0, 0]]]}])", "expected two numbers"},
        {R"("effects": [{"program": "a", "file": "b"}])", "exclude each other"},
        {R"("effects": [{"parameters": [{"kind": "real"}]}])", "the key \"name\" is missing"},
        {R"("effects": [{"parameters": [{"name": "a", "kind": "float"}]}])", "expected one of"},
        {R"("effects": [{"id": "a"}, {"id": "a"}])", "the id \"a\" stands twice"},
        {R"("effects": [{"library": "random_hyde"}])", "did you mean \"random_hide\"?"},
        {R"("effects": [{"library": "random_hide", "parameters": [{"name": "percnt"}]}])",
         "the effect has no parameter \"percnt\", did you mean \"percent\"?"},
        {R"("curves": {"camdenscurv": [1, 0]})", "did you mean"},
        {R"("curves": {"camdenscurve": [1]})",
         "/nodes/3/curves/camdenscurve: expected two numbers"},
        {R"("deltas": [{}])", "\"id\" is missing"},
        {R"("deltas": [{"id": "oak"}])", "\"oak\" is no item id"},
        {R"("deltas": [{"id": "e1/00000000"}])", "only generated ones have deltas"},
        {R"("deltas": [{"id": "p1.0/00000001"}, {"id": "p1.0/00000001"}])", "stands twice"},
        {R"("deltas": [{"id": "p1.0/00000001", "delete": true, "move": [1, 0, 0]}])",
         "cannot be changed as well"},
        {R"("deltas": [{"id": "p1.0/00000001", "scale": [1, 0, 1]}])", "three numbers above 0"},
        {R"("deltas": [{"id": "p1.0/00000001", "geometry": 1}])",
         "there is no row 1 in the geometry list of 0"},
        {R"("items": [{"seed": -1}])", "expected a whole number in 0..4294967295"},
        {R"("item": [])", "unknown key \"item\", did you mean \"items\"?"},
    };
    for (const auto& [keys, error] : cases) {
        SceneReadResult result = ParseDravin(keys);
        EXPECT_FALSE(result) << keys;
        EXPECT_THAT(result.error, HasSubstr(error)) << keys;
    }
}

TEST(LodDescription, LevelsAndParams) {
    SceneReadResult result =
        ParseScene(R"({"dravin_scene": 1, "nodes": [{"name": "oak", "type": "box"},
        {"name": "l", "type": "lod", "params": {"mode": 1, "variation": 200}, "levels": [
          {"name": "near", "object": "oak", "distance": 0, "screen_size": 30, "radius": 5},
          {"template": "One Plane", "distance": 50, "screen_size": 30}]}]})",
                   Formats());
    ASSERT_TRUE(result) << result.error;
    auto& lod = dynamic_cast<TDLod&>(*result.scene->FindNode("l")->GetObjectRef());
    ASSERT_EQ(lod.NumLevels(), 2);
    EXPECT_EQ(lod.ReadLevel(0).entry.customObject.get(), result.scene->FindNode("oak"));
    EXPECT_EQ(lod.ReadLevel(0).entry.kind, kGeomCustom);
    EXPECT_EQ(lod.ReadLevel(1).entry.kind, kGeomTemplate);
    EXPECT_EQ(lod.ReadLevel(1).distance, 50.0f);
    EXPECT_EQ(lod.Block().GetFloat(lodParams::kVariation), 100.0f);
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("clamped to 100"), HasSubstr("ignored"),
                                             HasSubstr("have the same threshold 30")));
    RoundTrip(result);
}

TEST(LodObject, NewLevelsAndNormalising) {
    auto lod = TDLod::Create();
    for (int i = 0; i < 4; ++i) lod->NewLevel();
    EXPECT_EQ(lod->ReadLevel(3).entry.name, "New LOD");
    EXPECT_EQ(lod->ReadLevel(3).screenSize, 25.0f);
    EXPECT_FALSE(lod->NormaliseThresholds(kLodDistance, false));
    EXPECT_TRUE(lod->NormaliseThresholds(kLodDistance, true));
    const float distances[] = {0, 33.333f, 66.667f, 100}, sizes[] = {25, 16.667f, 8.333f, 0};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(lod->ReadLevel(i).distance, distances[i], 0.001);
        EXPECT_NEAR(lod->ReadLevel(i).screenSize, sizes[i], 0.001);
    }
}

TEST(DravinDescription, AreasThatDoNothingGetAWarning) {
    SceneReadResult result = ParseDravin(R"("areas": [{"type": "paint"}, {"type": "spline"},
        {"type": "object", "node_name": "gone"}, {"type": "surface"},
        {"type": "spline", "node": "path", "polygons": [[[0, 0], [1, 0], [1, 1]]]},
        {"type": "paint", "polygons": [[[0, 0], [1, 0], [1, 1]]]}])");
    ASSERT_TRUE(result) << result.error;
    EXPECT_THAT(result.warnings,
                ElementsAre(HasSubstr("/nodes/3/areas/0: a painted area does nothing"),
                            HasSubstr("/nodes/3/areas/1: an area of type \"spline\" does nothing"),
                            HasSubstr("/nodes/3/areas/4: \"polygons\" count in areas of type")));
}

TEST(DravinDescription, ACurveThatParamsTookAwayIsMadeAnew) {
    SceneReadResult result = ParseDravin(R"("params": {"spdenscurve": null},
        "curves": {"spdenscurve": [20, 80]})");
    ASSERT_TRUE(result) << result.error;
    ASSERT_NE(ObjectOf(result).CurveSet(kSlotAreaDensityCurve), nullptr);
    EXPECT_EQ(ObjectOf(result).CurveSet(kSlotAreaDensityCurve)->Points(0)[1].py, 80);
    result = ParseDravin(R"("params": {"spdenscurve": null})");
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(ObjectOf(result).CurveSet(kSlotAreaDensityCurve), nullptr);
    RoundTrip(result);
}

TEST(DravinDescription, DeltasOfGeneratedItems) {
    SceneReadResult result = ParseDravin(R"("geometry": [{"name": "a"}, {"name": "b"}], "deltas": [
        {"id": "g12.0.5.-1/9f3a01bc", "delete": true},
        {"id": "p17.0/00000011", "move": [1, 2, 3], "rotate": [0, 90, 0], "scale": [1, 2, 1],
         "geometry": "b"},
        {"id": "p18.0/00000012", "geometry": 0}])");
    ASSERT_TRUE(result) << result.error;
    const std::vector<TItemDelta>& deltas = ObjectOf(result).Deltas();
    ASSERT_EQ(deltas.size(), 3u);
    EXPECT_EQ(deltas[0].id, (TItemId{TItemId::kMap, 0, {12, 0, 5, 0xffffffff}, 0x9f3a01bc}));
    EXPECT_TRUE(deltas[0].deleted);
    EXPECT_EQ(deltas[1].move, (Point3{1, 2, 3}));
    EXPECT_EQ(deltas[1].rotateDegrees, (Point3{0, 90, 0}));
    EXPECT_EQ(deltas[1].scale, (Point3{1, 2, 1}));
    EXPECT_EQ(deltas[1].geometry, 1);
    EXPECT_EQ(deltas[2].geometry, 0);
    EXPECT_EQ(ObjectOf(RoundTrip(result)).Deltas(), deltas);
}

TEST(DravinDescription, ANewObjectStillChoosesItsMapSize) {
    EXPECT_FALSE(ObjectOf(ParseDravin(R"("params": {})")).chooseMapSize);
    SceneReadResult first = ParseDravin(R"("choose_map_size": true)");
    ASSERT_TRUE(first) << first.error;
    EXPECT_TRUE(ObjectOf(first).chooseMapSize);
    EXPECT_TRUE(ObjectOf(RoundTrip(first)).chooseMapSize);
}
