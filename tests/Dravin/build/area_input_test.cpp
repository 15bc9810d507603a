#include "Dravin/build/area_input.h"

#include <gtest/gtest.h>

#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "host/base/log.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

using namespace areaParams;

namespace {

class AreaInput : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    std::vector<INode*> surfaceNodes;
    std::vector<TSurfaceInput> surfaces;
    std::vector<std::string> log;
    LogSink oldSink;
    TAreaScene where;
    TAreaCache cache;

    void SetUp() override {
        oldSink = SetLogSink([this](LogKind, const std::string& text) { log.push_back(text); });
    }
    void TearDown() override { SetLogSink(oldSink); }

    std::shared_ptr<INode> Add(const std::string& name, std::shared_ptr<Object> shown,
                               const Point3& position = {}) {
        auto node = INode::Create(name, std::move(shown));
        node->SetLocalTM(Matrix3::Translation(position));
        scene.AddNode(node);
        return node;
    }
    std::shared_ptr<INode> AddMesh(const std::string& name, Mesh mesh) {
        return Add(name, std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh))));
    }
    static std::shared_ptr<ShapeObject> Line(bool closed) {
        auto shape = std::make_shared<ShapeObject>();
        shape->shape = BezierShape{{{{{{0, 0, 1}}, {{4, 0, 1}}, {{4, 3, 1}}}, closed}}};
        return shape;
    }
    IParamBlock2& Rows() { return object->Block(kAreaParams); }
    // A row with the lists that decide its kind; all others keep their defaults.
    void AddRow(int type, std::shared_ptr<INode> node = nullptr, bool exclude = false) {
        for (ParamID id : {kArnamelist, kPfAractivelist, kArnodelist, kArtypelist, kArincexclist,
                           kArpaintlist, kArsurfidlist, kArobscalelist})
            Rows().Append(id);
        int row = Rows().Count(kArnamelist) - 1;
        Rows().SetValue(kArtypelist, 0, type, row);
        Rows().SetValue(kArobscalelist, 0, 100.0f, row);
        Rows().SetValue(kArincexclist, 0, int(exclude), row);
        if (node) Rows().SetValue(kArnodelist, 0, node, row);
    }
    void AddSurface(std::shared_ptr<INode> node) {
        surfaceNodes.push_back(node.get());
        auto array = std::make_shared<TSurfXYArray>(node->GetObjectRef()->GetRenderMesh(0));
        surfaces.emplace_back(array, node->GetObjectTM(0));
    }
    std::vector<TAreaRow> Make() {
        where.surfaceNodes = surfaceNodes;
        where.surfaces = surfaces;
        where.sampler = [](Texmap*) { return nullptr; };
        Interval valid = Interval::Forever();
        return MakeAreaRows(*object, where, cache, &valid);
    }
};

TEST_F(AreaInput, SplinesComeInTheObjectsSpace) {
    AddRow(kAreaSpline, Add("line", Line(true), {10, 0, 0}));
    where.worldToObject = Matrix3::Translation({0, -5, 0});
    std::vector<TAreaRow> rows = Make();
    ASSERT_EQ(rows.size(), 1u);
    ASSERT_EQ(rows[0].shape.lines.size(), 1u);
    EXPECT_TRUE(rows[0].shape.lines[0].closed);
    EXPECT_EQ(rows[0].shape.lines[0].points[1], (Point3{14, -5, 1}));
    EXPECT_FALSE(rows[0].settings.exclude);
}

TEST_F(AreaInput, ListsThatAreTooShortReadAsTheirDefaults) {
    AddRow(kAreaSpline, Add("line", Line(false)));
    const TAreaSettings settings = Make()[0].settings;
    EXPECT_EQ(settings.bandWidth, 10);
    EXPECT_EQ(settings.grid.scalePercent, 100);
    EXPECT_EQ(settings.densityFalloffPercent, 100);
    EXPECT_FALSE(settings.geometry);
}

TEST_F(AreaInput, RowsKeepTheirPlaceInTheListWhenOthersAreOff) {
    AddRow(kAreaSpline, Add("a", Line(true)));
    AddRow(kAreaSpline, Add("b", Line(true)), true);
    Rows().SetValue(kPfAractivelist, 0, false, 0);
    std::vector<TAreaRow> rows = Make();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].settings.order, 1);
    EXPECT_TRUE(rows[0].settings.exclude);
}

TEST_F(AreaInput, AMeshStandsInForASplineByItsBorder) {
    AddRow(kAreaSpline, AddMesh("plate", MakePlane(4, 2, 1)));
    std::vector<TAreaRow> rows = Make();
    ASSERT_EQ(rows[0].shape.lines.size(), 1u);
    EXPECT_EQ(rows[0].shape.lines[0].points.size(), 4u);
    EXPECT_EQ(rows[0].shape.BoundingBox().max, (Point3{2, 1, 0}));
}

TEST_F(AreaInput, PaintHoldsItsOwnPolygons) {
    AddRow(kAreaPaint);
    EXPECT_TRUE(Make().empty());
    auto paint = std::make_shared<TPaintShape>();
    paint->shape = PolyShape{{{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, true}}};
    Rows().SetValue(kArpaintlist, 0, paint, 0);
    EXPECT_EQ(Make()[0].shape, paint->shape.Get());
}

TEST_F(AreaInput, ASurfaceRowGivesEachSurfaceItsOutline) {
    AddSurface(AddMesh("plate", MakePlane(4, 2, 1)));
    AddSurface(AddMesh("ball", MakeSphere(3, 16)));
    AddRow(kAreaSurface);
    std::vector<TAreaRow> rows = Make();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].settings.surfaces.surfaces, (std::vector<uint8_t>{1, 0}));
    EXPECT_EQ(rows[1].settings.surfaces.surfaces, (std::vector<uint8_t>{0, 1}));
    EXPECT_TRUE(rows[1].oneGroup);
    // A ball has no border: the rectangle of its bounds, at its top.
    EXPECT_EQ(rows[1].shape.lines[0].points.size(), 4u);
    EXPECT_FLOAT_EQ(rows[1].shape.BoundingBox().max.z, surfaces[1].array->Bounds().max.z);
    EXPECT_TRUE(HasSurfaceRow(*object));
}

TEST_F(AreaInput, SurfacesAreNamedOneALine) {
    AddSurface(AddMesh("plate", MakePlane(4, 2, 1)));
    AddSurface(AddMesh("roof", MakePlane(4, 2, 1)));
    AddRow(kAreaSpline, Add("line", Line(true)));
    EXPECT_TRUE(Make()[0].settings.surfaces.surfaces.empty());
    Rows().SetValue(kArsurfidlist, 0, "roof\nelsewhere", 0);
    EXPECT_EQ(Make()[0].settings.surfaces.surfaces, (std::vector<uint8_t>{0, 1}));
    EXPECT_TRUE(log.empty());
    Rows().SetValue(kArsurfidlist, 0, "elsewhere", 0);
    EXPECT_EQ(Make()[0].settings.surfaces.surfaces, (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(log.size(), 1u);
}

TEST_F(AreaInput, MaterialIdsOfSurfacesStandInALineOfTheirOwn) {
    AddSurface(AddMesh("#plate", MakePlane(4, 2, 1)));
    AddRow(kAreaSpline, Add("line", Line(true)));
    Rows().SetValue(kArsurfidlist, 0, "#plate\n#1 #3", 0);
    TSurfaceFilter filter = Make()[0].settings.surfaces;
    EXPECT_EQ(filter.surfaces, (std::vector<uint8_t>{1}));
    EXPECT_EQ(filter.materials, (std::vector<uint8_t>{1, 0, 1}));
    EXPECT_TRUE(filter.HasMaterial(2));
    EXPECT_FALSE(filter.HasMaterial(1) || filter.HasMaterial(3));
    Rows().SetValue(kArsurfidlist, 0, "#70000", 0);
    EXPECT_FALSE(Make()[0].settings.surfaces.HasMaterial(0));
    TAreaSurfaces both{{"a", "b c"}, {7, 2}};
    EXPECT_EQ(FormatAreaSurfaces(both), "a\nb c\n#7 #2");
    EXPECT_EQ(ParseAreaSurfaces(FormatAreaSurfaces(both)).materialIds, both.materialIds);
}

TEST_F(AreaInput, ARowWithoutItsNodeIsLeftOut) {
    AddRow(kAreaSpline);
    AddRow(kAreaSpline, Add("empty", std::make_shared<DummyObject>()));
    EXPECT_TRUE(Make().empty());
    EXPECT_FALSE(HasSurfaceRow(*object));
}

// Number of outlines and footprints that the next build makes anew.
#define EXPECT_MADE(n)                          \
    do {                                        \
        size_t before = cache.NumMade();        \
        Make();                                 \
        EXPECT_EQ(cache.NumMade() - before, n); \
    } while (false)

TEST_F(AreaInput, UnchangedSplinesAreUsedAgain) {
    auto line = Line(true);
    auto node = Add("line", line);
    AddRow(kAreaSpline, node);
    AddRow(kAreaSpline, Add("other", Line(true), {50, 0, 0}));
    EXPECT_MADE(2u);
    EXPECT_MADE(0u);
    line->shape.Edit([](BezierShape& s) { s.splines[0].knots[0].p = {-7, 0, 1}; });
    EXPECT_MADE(1u);
    EXPECT_EQ(Make()[0].shape.lines[0].points[0], (Point3{-7, 0, 1}));
    node->SetLocalTM(Matrix3::Translation({1, 0, 0}));
    EXPECT_MADE(1u);
    EXPECT_EQ(Make()[0].shape.lines[0].points[0], (Point3{-6, 0, 1}));
    line->shape.Edit([](BezierShape& s) { s.steps = 9; });
    EXPECT_MADE(1u);
}

TEST_F(AreaInput, SettingsAreReadAtEveryBuild) {
    AddRow(kAreaSpline, Add("line", Line(true)));
    Make();
    Rows().Append(kArwidthlist);
    Rows().SetValue(kArwidthlist, 0, 3.5f, 0);
    EXPECT_EQ(Make()[0].settings.bandWidth, 3.5f);
    EXPECT_EQ(cache.NumMade(), 1u);
}

TEST_F(AreaInput, AMovedScatterObjectMakesAllAreasAnew) {
    AddRow(kAreaSpline, Add("line", Line(true)));
    AddRow(kAreaObject, AddMesh("box", MakeBox(2, 2, 2, 1)), true);
    EXPECT_MADE(2u);
    where.worldToObject = Matrix3::Translation({0, -5, 0});
    EXPECT_MADE(2u);
    EXPECT_EQ(Make()[0].shape.lines[0].points[0], (Point3{0, -5, 1}));
    EXPECT_EQ(Make()[1].footprint->DistanceTo({0, -5}), 0);
}

TEST_F(AreaInput, RendersMakeAllAreasAnew) {
    AddRow(kAreaSpline, Add("line", Line(true)));
    EXPECT_MADE(1u);
    where.render = true;
    EXPECT_MADE(1u);
    EXPECT_MADE(1u);
}

TEST_F(AreaInput, FootprintsFollowTheirMeshesAndSettings) {
    auto node = AddMesh("box", MakeBox(2, 2, 2, 1));
    AddRow(kAreaObject, node, true);
    EXPECT_MADE(1u);
    where.time = 4800;  // nothing moves
    EXPECT_MADE(0u);
    auto* mesh = static_cast<TriObject*>(node->GetObjectRef());
    mesh->SetMesh(std::make_shared<Mesh>(MakeBox(6, 6, 2, 1)));
    EXPECT_MADE(1u);
    EXPECT_EQ(Make()[0].footprint->DistanceTo({2, 2}), 0);
    Rows().Append(kArresollist);
    Rows().SetValue(kArresollist, 0, 64, 0);
    EXPECT_MADE(1u);
    EXPECT_FLOAT_EQ(Make()[0].footprint->UnitsPerPixel(),
                    Make()[0].footprint->Bounds().Width().x / 64);
    Rows().SetValue(kArincexclist, 0, 0, 0);  // distances inside are wanted now
    EXPECT_MADE(1u);
}

TEST_F(AreaInput, SurfaceOutlinesFollowTheirArrays) {
    AddRow(kAreaSurface);
    AddSurface(AddMesh("ground", MakePlane(10, 10, 4)));
    EXPECT_MADE(1u);
    EXPECT_MADE(0u);
    surfaces.clear();
    surfaceNodes.clear();
    AddSurface(AddMesh("larger", MakePlane(30, 30, 4)));
    EXPECT_MADE(1u);
    EXPECT_EQ(Make()[0].shape.BoundingBox().Width().x, 30);
}

TEST_F(AreaInput, WhatNoRowUsesIsDropped) {
    AddRow(kAreaSpline, Add("line", Line(true)));
    AddRow(kAreaObject, AddMesh("box", MakeBox(2, 2, 2, 1)), true);
    Make();
    EXPECT_EQ(cache.NumEntries(), 2u);
    Rows().SetValue(kPfAractivelist, 0, false, 1);
    Make();
    EXPECT_EQ(cache.NumEntries(), 1u);
}

}  // namespace
