// Scenes that nobody means: every build ends, with items where some make sense, else with a status.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/base/log.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

namespace {

// A 20 x 20 ground under a scatter object: a white map, cells of one unit, one box row.
class BadScenes : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    INode* node = nullptr;
    std::vector<std::string> warnings;
    LogSink oldSink;

    void SetUp() override {
        oldSink = SetLogSink([this](LogKind kind, const std::string& text) {
            if (kind == LogKind::kWarning) warnings.push_back(text);
        });
        node = scene.AddNode("scatter", object);
        Equip(*object);
    }
    void TearDown() override { SetLogSink(oldSink); }

    INode* AddMesh(const std::string& name, Mesh mesh) {
        return scene.AddNode(name,
                             std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh))));
    }
    void Equip(TDravin& dravin) {
        INode* ground = AddMesh("ground", MakePlane(20, 20, 1));
        dravin.Block(kSurfaceParams).Append(surfaceParams::kSurflist, ground->shared_from_this());
        Set(dravin, "pixels_x", 10);
        Set(dravin, "pixels_y", 10);
        Set(dravin, "distmap", std::shared_ptr<Texmap>(std::make_shared<ColorTex>()));
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(dravin.Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject =
            std::static_pointer_cast<INode>(AddMesh("box", MakeBox(1, 1, 1))->shared_from_this());
        rows.AppendRow(entry);
    }
    template <class T>
    static void Set(TDravin& dravin, const char* name, const T& value, int row = 0) {
        TDravin::Param param = dravin.FindParam(name);
        param.block->SetValue(param.def->id, 0, value, row);
    }
    static void AddArea(TDravin& dravin, int type, bool exclude, INode* shown) {
        using namespace areaParams;
        IParamBlock2& block = dravin.Block(kAreaParams);
        for (ParamID id :
             {kArnamelist, kPfAractivelist, kArnodelist, kArtypelist, kArincexclist, kArwidthlist})
            block.Append(id);
        int row = block.Count(kArnamelist) - 1;
        Set(dravin, "artypelist", type, row);
        Set(dravin, "arincexclist", int(exclude), row);
        if (shown) Set(dravin, "arnodelist", shown->shared_from_this(), row);
    }
    INode* AddSpline(std::vector<Point3> points, bool closed = true) {
        auto shape = std::make_shared<ShapeObject>();
        BezierSpline spline{{}, closed};
        for (const Point3& p : points) spline.knots.push_back({p});
        shape->shape = BezierShape{{spline}};
        return scene.AddNode("spline", shape);
    }
    INode* AddCamera(float fovDegrees) {
        auto camera = std::make_shared<CameraObject>();
        camera->fovDegrees = fovDegrees;
        INode* added = scene.AddNode("camera", camera);
        added->SetLocalTM(Matrix3::Translation({0, 0, 30}));
        Set(*object, "camera", added->shared_from_this());
        Set(*object, "camlimit", true);
        Set(*object, "camwidth", 0);
        return added;
    }
    int Count(bool render = false) {
        TBuildFlags flags;
        flags.noMesh = true;
        flags.render = render;
        object->Build().BuildMesh(0, flags);
        return int(object->Build().Items().Count());
    }
    TBuildStatus Status() const { return object->Build().Status(); }
};

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

}  // namespace

TEST_F(BadScenes, ASplineThatCrossesItselfCoversItsTwoLoops) {
    // A bow tie over the ground: half of it.
    AddArea(*object, kAreaSpline, false,
            AddSpline({{-10, -10, 0}, {10, 10, 0}, {10, -10, 0}, {-10, 10, 0}}));
    EXPECT_NEAR(Count(), 200, 25);
}

TEST_F(BadScenes, SplinesWithoutExtentIncludeNothing) {
    for (auto& points : {std::vector<Point3>{},
                         {{1, 1, 0}},
                         {{1, 1, 0}, {1, 1, 0}, {1, 1, 0}},
                         {{0, 0, 0}, {5, 0, 0}},
                         {{kNan, 0, 0}, {5, 0, 0}, {5, kNan, 0}}}) {
        AddArea(*object, kAreaSpline, false, AddSpline(points));
        EXPECT_EQ(Count(), 0) << points.size();
        EXPECT_NE(Status(), TBuildStatus::kSuccess) << points.size();
        Set(*object, "pf_aractivelist", false,
            object->Block(kAreaParams).Count(areaParams::kArnamelist) - 1);
    }
}

TEST_F(BadScenes, PointsThatAreNoPlaceAreLeftOutOfASpline) {
    AddArea(
        *object, kAreaSpline, false,
        AddSpline({{-5, -5, 0}, {kNan, 3, 0}, {5, -5, 0}, {5, 5, 0}, {-5, 5, kNan}, {-5, 5, 0}}));
    EXPECT_NEAR(Count(), 100, 21);
}

TEST_F(BadScenes, AnObjectWithoutFacesCoversNothing) {
    AddArea(*object, kAreaObject, true, AddMesh("empty", Mesh{}));
    EXPECT_EQ(Count(), 400);
    AddArea(*object, kAreaObject, true, nullptr);
    EXPECT_EQ(Count(), 400);
}

TEST_F(BadScenes, AnObjectCannotExcludeItsOwnItems) {
    AddArea(*object, kAreaDravin, true, node);
    EXPECT_EQ(Count(), 400);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("cannot exclude its own items"), std::string::npos);
}

TEST_F(BadScenes, ObjectsThatExcludeEachOtherEndTheirBuilds) {
    auto other = TDravin::Create();
    INode* place = scene.AddNode("other", other);
    Equip(*other);
    AddArea(*object, kAreaDravin, true, place);
    AddArea(*other, kAreaDravin, true, node);
    Count();
    EXPECT_LT(Count(), 400);
    EXPECT_GE(other->Build().BuildCounter(), 1);
}

TEST_F(BadScenes, ACameraWithoutAngleSeesAlmostNothingAndOneOfHalfATurnAllInFrontOfIt) {
    AddCamera(60);
    int some = Count();
    EXPECT_GT(some, 100);
    for (float fov : {0.0f, -10.0f, kNan}) {
        AddCamera(fov);
        EXPECT_LE(Count(), 1) << fov;  // what stands on the axis itself
    }
    for (float fov : {179.0f, 180.0f, 200.0f, 1e9f}) {
        AddCamera(fov);
        EXPECT_EQ(Count(), 400) << fov;
    }
}

TEST_F(BadScenes, ACameraWhoseRangeIsAPointDecidesByTheCurvesEnd) {
    AddCamera(90);
    Set(*object, "camlimit", false);
    Set(*object, "camdensact", true);
    Set(*object, "camdensear", 5.0f);
    Set(*object, "camdensfar", 5.0f);
    EXPECT_LE(Count(), 400);
    EXPECT_LE(int(Status()), int(TBuildStatus::kNoVisibleItems));
}

TEST_F(BadScenes, APathOfABillionItemsStopsAtTheLimits) {
    INode* path = AddSpline({{0, 0, 0}, {1e6f, 0, 0}}, false);
    object->Block(kDistParams).SetValue(distParams::kDistmode, 0, int(kDistPath));
    object->Block(kDistParams).Append(distParams::kDistpathnodes, path->shared_from_this());
    Set(*object, "linkeditsurf", false);
    Set(*object, "vmaxitems", 1000);
    Set(*object, "rmaxitems", 1000);
    Set(*object, "distpathspacing", 5.0f);  // 200,000 items
    EXPECT_EQ(Count(), 1001);
    Count(true);
    EXPECT_EQ(Status(), TBuildStatus::kTooManyItems);
    Set(*object, "distpathspacing", 0.001f);  // a billion: closer than fractions can tell
    EXPECT_EQ(Count(), 1);
}
