// Scatter objects as viewports show them: by their display parameters, picked by item.
#include <set>

#include "Dravin/dravin_globals.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/viewport/view_paint.h"
#include "Dravin/viewport/viewport_drawer.h"
#include "Dravin/viewport/viewport_picking.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class ViewportObjects : public ScatterFixture {
protected:
    // From above, at height 50: a unit at the ground covers 8 pixels, the middle is at (200, 200).
    TViewportCamera camera{Matrix3::Translation({0, 0, 50}), 53.1301f, 400, 400};

    std::shared_ptr<const TViewportScene> Show() {
        Run();
        return MakeViewportScene(scene, 0, 2);
    }
    const TViewNode& Scatter(const TViewportScene& shown) const {
        for (const TViewNode& own : shown.Nodes())
            if (own.kind == TViewKind::kScatter) return own;
        throw std::logic_error("no scatter object");
    }
    // Where the camera sees a place.
    std::pair<int, int> PixelOf(const Point3& p) const {
        float focal = 400 / (50 - p.z);
        return {int(std::floor(200 + p.x * focal)), int(std::floor(200 - p.y * focal))};
    }
    std::set<uint32_t> Items(const TViewportScene& shown, std::vector<uint32_t> ids) const {
        std::set<uint32_t> items;
        for (uint32_t id : ids)
            if (shown.Find(id).item != TViewportScene::kNoItem) items.insert(shown.Find(id).item);
        return items;
    }
};

TEST_F(ViewportObjects, PointsCloudShowsAndPicksEveryItem) {
    Set(kDispParams, dispParams::kVmesh, 3);
    auto shown = Show();
    const TDravinItemList& items = object->Build().Items();
    ASSERT_GT(items.Count(), 1u);
    EXPECT_TRUE(Scatter(*shown).scatter->showsDots);
    EXPECT_EQ(shown->NumItems(), items.Count());
    EXPECT_EQ(Items(*shown, DrawViewportIds(*shown, camera, {})).size(), items.Count());
    // Every item has the first dot of its cloud.
    Point3 dot = Scatter(*shown).scatter->prototypes[0].sample->Cloud().points[0].position;
    for (size_t i = 0; i < items.Count(); ++i) {
        auto [x, y] = PixelOf(dot * items.Item(i).fullTransform);
        std::vector<uint32_t> hit;
        for (const TViewHit& h : HitTest(*shown, camera, x, y, {})) hit.push_back(h.id);
        EXPECT_TRUE(Items(*shown, hit).count(uint32_t(i))) << i;
    }
}

TEST_F(ViewportObjects, GlobalDensityDoublesTheDots) {
    Set(kDispParams, dispParams::kVmesh, 3);
    auto dots = [&](int density) {
        DravinGlobals().display.cloudDensityPercent = density;
        auto shown = Show();
        TViewportSettings settings;
        settings.showsGrid = false;
        auto ground = std::make_unique<TViewportScene>(std::vector<TViewNode>{Scatter(*shown)});
        return double(DrawViewport(*ground, camera, settings).counts.elements);
    };
    double one = dots(50), two = dots(100);
    EXPECT_FLOAT_EQ(Scatter(*Show()).scatter->dotDensity, 50 * 100 * 0.0002f);
    EXPECT_GT(one, 2.0 * double(object->Build().Items().Count()));
    // Each item's number is cut to a whole one.
    EXPECT_NEAR(two, 2 * one, double(object->Build().Items().Count()));
}

TEST_F(ViewportObjects, FacesBelongToTheirItems) {
    Set(kDispParams, dispParams::kVmesh, 0);
    // 3 pixels wide, 8 apart: further than a click reaches.
    auto slim = std::make_shared<Mesh>(MakeBox(0.3f, 0.3f, 1, 1));
    static_cast<TriObject*>(box->GetObjectRef())->SetMesh(slim);
    box->SetHidden(true);                           // the source itself stands among its items
    Set(kDistParams, distParams::kSdgizmo, false);  // a mark of the map is a hit of its own
    auto shown = Show();
    const TDravinItemList& items = object->Build().Items();
    EXPECT_EQ(Scatter(*shown).mesh->faces.size(), 12 * items.Count());
    for (size_t i = 0; i < items.Count(); ++i) {
        Point3 top = items.Item(i).bounds.Center();
        top.z = items.Item(i).bounds.max.z;
        auto [x, y] = PixelOf(top);
        auto hits = HitTest(*shown, camera, x, y, {});
        ASSERT_EQ(hits.size(), 2u) << i;  // the item, and the ground
        EXPECT_EQ(shown->Find(hits[0].id).item, uint32_t(i));
    }
}

TEST_F(ViewportObjects, ProxyShapesAndBoxesStandInForItems) {
    Set(kDispParams, dispParams::kVmesh, 1);
    Set(kDispParams, dispParams::kVtype, 1);  // pyramids
    auto shown = Show();
    EXPECT_NE(Scatter(*shown).mesh->faces.size(), 12 * object->Build().Items().Count());
    TViewportSettings boxes;
    boxes.display = TViewDisplay::kBoxes;
    auto items = Items(*shown, DrawViewportIds(*shown, camera, boxes));
    EXPECT_EQ(items.size(), shown->NumItems());
}

// A bump of 1 and one of 9 under an outline modifier with a tolerance of 2, which the first is
// within.
TEST_F(ViewportObjects, OutlinesOfLeavesAreDrawnBesideTheirSpline) {
    auto shape = std::make_shared<ShapeObject>();
    BezierShape zigzag;
    zigzag.splines.resize(1);
    for (Point3 p : {Point3{0, 0, 0}, {2, 1, 0}, {4, 0, 0}, {6, 9, 0}, {8, 0, 0}})
        zigzag.splines[0].knots.push_back({p, {}, {}});
    shape->shape = zigzag;
    auto derived = std::make_shared<DerivedObject>();
    derived->SetBase(shape);
    auto leaf = std::make_shared<DLeaf>();
    leaf->Block().SetValue(leafParams::kAngle, 0, 2.0f);
    derived->InsertModifier(0, leaf);
    INode* spline = scene.AddNode("leaf", derived);
    spline->SetLocalTM(Matrix3::Translation({0, 0, 5}));
    auto lines = [&] {
        auto shown = MakeViewportScene(scene, 0, 1);
        std::vector<TViewNode> found;
        for (const TViewNode& each : shown->Nodes())
            if (each.handle == spline->GetHandle()) found.push_back(each);
        return found;
    };
    std::vector<TViewNode> both = lines();
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(both[0].lines.lines[0].points.size(), 5u);
    EXPECT_EQ(both[1].lines.lines[0].points,
              (std::vector<Point3>{{0, 0, 0}, {4, 0, 0}, {6, 9, 0}, {8, 0, 0}}));
    EXPECT_TRUE(both[1].lines.lines[0].closed);
    EXPECT_EQ(both[1].toWorld.GetTrans(), (Point3{0, 0, 5}));
    EXPECT_EQ(both[1].wire, kViewOutline);
    // It is drawn in its own colour, also where the spline is selected.
    scene.Select(std::vector<INode*>{spline});
    TViewportScene outline({lines().at(1)});
    TViewportSettings settings;
    settings.showsGrid = false;
    std::vector<TViewLine> drawn = ViewLines(outline, camera, settings);
    ASSERT_EQ(drawn.size(), 4u);
    for (const TViewLine& line : drawn) EXPECT_EQ(line.color, PackColor(kViewOutline));
    leaf->enabled = false;
    EXPECT_EQ(lines().size(), 1u);
}

TEST_F(ViewportObjects, AdaptiveFallsBackToProxies) {
    Set(kDispParams, dispParams::kVmesh, 2);
    size_t whole = Scatter(*Show()).mesh->faces.size();
    Set(kDispParams, dispParams::kAdaptfaces, 20);
    EXPECT_LT(Scatter(*Show()).mesh->faces.size(), whole);
}

TEST_F(ViewportObjects, MeshesBeyondTheBudgetAreDots) {
    Set(kDispParams, dispParams::kVmesh, 0);
    auto shown = Show();
    TViewportScene alone({Scatter(*shown)});
    TViewportSettings settings;
    settings.maxElements = shown->NumItems();
    // A dot an item, and two lines a corner of the map.
    size_t lines = 2 * Scatter(*shown).scatter->gizmoPoints.size();
    EXPECT_EQ(DrawViewport(alone, camera, settings).counts.elements, shown->NumItems() + lines);
}

TEST_F(ViewportObjects, EmptyObjectsShowTheirIconOnly) {
    Set(kEditionParams, editionParams::kMode, 1);  // edited by hand, nothing there yet
    object->SetStoredItems({});
    Set(kGenParams, genParams::kIconsize, 4.0f);
    auto shown = Show();
    const TViewNode& own = Scatter(*shown);
    EXPECT_EQ(own.mesh, nullptr);
    ASSERT_EQ(own.lines.lines.size(), 2u);
    EXPECT_EQ(own.lines.lines[1].points.size(), 10u);
    // 4 wide, 5.6 high, at the ground: its rim is 16 pixels left of the middle.
    EXPECT_EQ(own.bounds.max, (Point3{2, 2.8f, 0}));
    TViewportScene alone({own});
    EXPECT_EQ(HitTest(alone, camera, 200 - 16, 200, {}).size(), 1u);
    EXPECT_TRUE(HitTest(alone, camera, 200 - 24, 200, {}).empty());
    Set(kGenParams, genParams::kIconsize, 6.0f);
    TViewportScene larger({Scatter(*Show())});
    EXPECT_EQ(HitTest(larger, camera, 200 - 24, 200, {}).size(), 1u);
}

TEST_F(ViewportObjects, WhoDrawsFacesElsewhereGetsTheLinesOfMarks) {
    Set(kDispParams, dispParams::kVmesh, 0);
    Set(kDistParams, distParams::kSdgizmo, true);
    auto shown = Show();
    const std::vector<Point3>& corners = Scatter(*shown).scatter->gizmoPoints;
    ASSERT_FALSE(corners.empty());
    TViewportScene alone({Scatter(*shown)});
    TViewportSettings settings;
    settings.showsGrid = false;
    std::vector<TViewLine> lines = ViewLines(alone, camera, settings);
    // A plus sign each: two lines through the corner.
    ASSERT_EQ(lines.size(), 2 * corners.size());
    for (size_t i = 0; i < corners.size(); ++i) {
        Point3 view = camera.ToView(corners[i] * Scatter(alone).toWorld);
        EXPECT_LT(Length((lines[2 * i].a + lines[2 * i].b) * 0.5f - view), 1e-4f);
        EXPECT_LT(Length((lines[2 * i + 1].a + lines[2 * i + 1].b) * 0.5f - view), 1e-4f);
    }
}

TEST_F(ViewportObjects, ASnapshotStaysAsItWas) {
    Set(kDispParams, dispParams::kVmesh, 0);
    auto shown = Show();
    auto before = DrawViewport(*shown, camera, {}).rgb;
    Set(kDistParams, distParams::kPixelsX, 5);
    Set(kDispParams, dispParams::kVmesh, 1);
    Run();
    scene.DeleteNode(*plane);
    EXPECT_EQ(DrawViewport(*shown, camera, {}).rgb, before);
}

TEST_F(ViewportObjects, ItemsOfTheSameBuildStay) {
    auto first = Show();
    auto second = MakeViewportScene(scene, 0, 2, first.get());
    EXPECT_EQ(Scatter(*second).scatter->content, Scatter(*first).scatter->content);
    Run();  // another build
    auto third = MakeViewportScene(scene, 0, 2, second.get());
    EXPECT_NE(Scatter(*third).scatter->content, Scatter(*first).scatter->content);
    EXPECT_EQ(third->NumItems(), first->NumItems());
    // Sources stay what they are, and so do their meshes.
    EXPECT_EQ(Scatter(*third).scatter->prototypes[0].shape,
              Scatter(*first).scatter->prototypes[0].shape);
}

TEST_F(ViewportObjects, AnyFirstPartOfACellIsSpreadOverIt) {
    Set(kDistParams, distParams::kPixelsX, 40);
    Set(kDistParams, distParams::kPixelsY, 40);
    auto shown = Show();
    for (const TViewCell& cell : Scatter(*shown).scatter->Cells()) {
        if (cell.count < 200) continue;
        // Of 64 items about half lie in each half of the cell: within four deviations of 4.
        int left = 0;
        for (uint32_t i = cell.first; i < cell.first + 64; ++i)
            left += Scatter(*shown).scatter->Items()[i].toObject.row[3].x < cell.bounds.Center().x;
        EXPECT_NEAR(left, 32, 16);
    }
}

TEST_F(ViewportObjects, InstancesShowTheSameItemsAsTheMesh) {
    Set(kDispParams, dispParams::kVmesh, 0);
    auto shown = Show();
    TViewportSettings settings;
    auto whole = Items(*shown, DrawViewportIds(*shown, camera, settings));
    settings.instances = true;
    EXPECT_EQ(Items(*shown, DrawViewportIds(*shown, camera, settings)), whole);
}

TEST_F(ViewportObjects, HiddenNodesAreLeftOut) {
    size_t all = Show()->Nodes().size();
    box->SetHidden(true);
    EXPECT_EQ(Show()->Nodes().size(), all - 1);
}

}  // namespace
