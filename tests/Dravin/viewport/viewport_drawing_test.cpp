#include "Dravin/viewport/viewport_drawing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

#include "Dravin/viewport/viewport_picking.h"
#include "host/geom/primitives.h"

namespace {

// A unit at depth 10 covers 10 pixels, the middle is at (100, 50).
const TViewportCamera kCamera({}, 90, 200, 100);

// A square of 2 x 2 that faces the camera: 20 x 20 pixels at depth 10.
TViewNode Square(float depth, Color color, float x = 0) {
    TViewNode node;
    node.kind = TViewKind::kMesh;
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    mesh->faces = {Face{{0, 1, 2}}, Face{{0, 2, 3}}};
    mesh->faces[0].flags = Face::kEdge0 | Face::kEdge1;
    mesh->faces[1].flags = Face::kEdge1 | Face::kEdge2;
    node.bounds = mesh->BoundingBox();
    node.mesh = std::move(mesh);
    node.paints.resize(1);
    node.paints[0].color = color;
    node.toWorld = Matrix3::Translation({x, 0, -depth});
    return node;
}

// Items of a small box on a grid, side x side, `spacing` apart, at a depth.
TViewNode Field(int side, float spacing, float depth) {
    auto scatter = std::make_shared<TViewScatter>();
    auto content = std::make_shared<TViewItems>();
    TViewPrototype box;
    box.sample = std::make_shared<const TDravinMeshSample>(
        std::make_shared<Mesh>(MakeBox(1, 1, 1, 1)), Matrix3(), Interval::Forever());
    box.palette = {1};
    box.bounds = box.sample->Size().bounds;
    box.radius = 2;
    scatter->prototypes = {box};
    scatter->palette = {{1, 1, 1}, {0.2f, 0.7f, 0.3f}};
    scatter->showsDots = true, scatter->largeDots = false;
    TViewCell cell;
    for (int i = 0; i < side * side; ++i) {
        TViewItem item;
        item.toObject = Matrix3::Scaling({0.01f, 0.01f, 0.01f});
        item.toObject.row[3] = {(float(i % side) - float(side - 1) / 2) * spacing,
                                (float(i / side) - float(side - 1) / 2) * spacing, 0};
        item.item = uint32_t(i);
        cell.bounds += item.toObject.row[3];
        content->items.push_back(item);
    }
    cell.count = uint32_t(side * side), cell.meanRadius = 0.01f;
    content->cells = {cell};
    scatter->content = std::move(content);
    TViewNode node;
    node.kind = TViewKind::kScatter;
    node.numIds = uint32_t(side * side) + 1;
    node.bounds = cell.bounds;
    node.toWorld = Matrix3::Translation({0, 0, -depth});
    node.scatter = std::move(scatter);
    return node;
}

TViewportScene SceneOf(std::vector<TViewNode> nodes) { return TViewportScene(std::move(nodes)); }

uint32_t IdAt(const std::vector<uint32_t>& ids, int x, int y) { return ids[size_t(y * 200 + x)]; }

std::set<uint32_t> Different(std::vector<uint32_t> ids) { return {ids.begin(), ids.end()}; }

TEST(ViewportDrawing, FacesCoverTheirPixels) {
    TViewportScene scene = SceneOf({Square(10, {1, 0, 0})});
    std::vector<uint32_t> ids = DrawViewportIds(scene, kCamera, {});
    EXPECT_EQ(std::count(ids.begin(), ids.end(), 1u), 400);
    EXPECT_EQ(IdAt(ids, 90, 40), 1u);
    EXPECT_EQ(IdAt(ids, 109, 59), 1u);
    EXPECT_EQ(IdAt(ids, 89, 40), 0u);
    EXPECT_EQ(IdAt(ids, 110, 59), 0u);
    EXPECT_EQ(IdAt(ids, 100, 60), 0u);
}

TEST(ViewportDrawing, TheNearestWinsWhateverTheOrder) {
    for (bool nearFirst : {false, true}) {
        TViewNode nearer = Square(5, {1, 0, 0}, 0.5f), further = Square(10, {0, 1, 0});
        TViewportScene scene = nearFirst ? SceneOf({nearer, further}) : SceneOf({further, nearer});
        std::vector<uint32_t> ids = DrawViewportIds(scene, kCamera, {});
        uint32_t front = nearFirst ? 1 : 2;
        EXPECT_EQ(IdAt(ids, 100, 50), front);  // x from 90 to 130
        EXPECT_EQ(IdAt(ids, 91, 50), front);
        EXPECT_EQ(std::count(ids.begin(), ids.end(), front), 1600);
        EXPECT_EQ(std::count(ids.begin(), ids.end(), 3 - front), 0);
    }
}

TEST(ViewportDrawing, FacesThroughTheCameraAreCut) {
    // A floor 1 below the eye that runs behind it: it fills all below the horizon.
    TViewNode floor = Square(0, {1, 1, 1});
    floor.toWorld = Matrix3{{{1000, 0, 0}, {0, 0, -1000}, {0, 1, 0}, {0, -1, 0}}};
    std::vector<uint32_t> ids = DrawViewportIds(SceneOf({floor}), kCamera, {});
    EXPECT_EQ(IdAt(ids, 100, 99), 1u);
    EXPECT_EQ(IdAt(ids, 3, 60), 1u);
    EXPECT_EQ(IdAt(ids, 100, 49), 0u);
}

TEST(ViewportDrawing, PlacesThatAreNoneDrawNothing) {
    TViewNode square = Square(10, {1, 1, 1});
    square.toWorld.row[3].x = std::numeric_limits<float>::quiet_NaN();
    TViewNode huge = Square(10, {1, 1, 1});
    huge.toWorld.row[0] = {3e38f, 3e38f, 0};
    TViewportPicture picture = DrawViewport(SceneOf({square, huge}), kCamera, {});
    EXPECT_EQ(picture.rgb.size(), 200u * 100 * 3);
}

TEST(ViewportDrawing, DotsHaveTheirSize) {
    TViewNode field = Field(1, 1, 10);
    auto ids = DrawViewportIds(SceneOf({field}), kCamera, {});
    EXPECT_EQ(std::count(ids.begin(), ids.end(), 2u), 1);  // the node is 1, its first item 2
    EXPECT_EQ(IdAt(ids, 100, 49) + IdAt(ids, 99, 49) + IdAt(ids, 100, 50) + IdAt(ids, 99, 50), 2u);
    auto large = std::make_shared<TViewScatter>(*field.scatter);
    large->largeDots = true;
    field.scatter = large;
    ids = DrawViewportIds(SceneOf({field}), kCamera, {});
    EXPECT_EQ(std::count(ids.begin(), ids.end(), 2u), 4);
}

TEST(ViewportDrawing, WireShowsTheVisibleEdges) {
    TViewportSettings wire;
    wire.display = TViewDisplay::kWire;
    auto ids = DrawViewportIds(SceneOf({Square(10, {1, 0, 0})}), kCamera, wire);
    EXPECT_EQ(IdAt(ids, 100, 50), 0u);
    EXPECT_EQ(IdAt(ids, 90, 50), 1u);
    EXPECT_EQ(IdAt(ids, 100, 40), 1u);
    EXPECT_EQ(IdAt(ids, 95, 54), 0u);  // on the diagonal, which is no edge
}

TEST(ViewportDrawing, EveryNumberOfThreadsGivesTheSameBits) {
    TViewNode ball = Square(30, {0.5f, 0.5f, 1});
    auto mesh = std::make_shared<Mesh>(MakeSphere(15, 64));
    ball.mesh = mesh, ball.bounds = mesh->BoundingBox();
    TViewportScene scene = SceneOf({ball, Field(200, 0.3f, 20), Square(12, {1, 0, 0})});
    for (TViewDisplay display : {TViewDisplay::kAsSet, TViewDisplay::kBoxes, TViewDisplay::kWire}) {
        TViewportSettings settings;
        settings.display = display, settings.oversampling = 2;
        TViewportPicture one = DrawViewport(scene, kCamera, settings);
        std::vector<uint32_t> ids = DrawViewportIds(scene, kCamera, settings);
        EXPECT_GT(Different(ids).size(), 100u);
        for (int threads : {2, 3, 8, 16}) {
            settings.threads = threads;
            EXPECT_EQ(DrawViewport(scene, kCamera, settings).rgb, one.rgb);
            EXPECT_EQ(DrawViewportIds(scene, kCamera, settings), ids);
        }
    }
}

TEST(ViewportDrawing, ABudgetThinsEvenlyAndEachIsPartOfTheNext) {
    // 900 items, 2 pixels apart.
    TViewportScene scene = SceneOf({Field(30, 0.2f, 10)});
    std::set<uint32_t> before;
    for (uint64_t budget : {90u, 300u, 600u, 0u}) {
        TViewportSettings settings;
        settings.maxElements = budget;
        std::set<uint32_t> ids = Different(DrawViewportIds(scene, kCamera, settings));
        TViewportCounts counts = DrawViewport(scene, kCamera, settings).counts;
        EXPECT_EQ(counts.itemsInView, 900u);
        EXPECT_NEAR(double(counts.itemsDrawn), budget ? double(budget) : 900, 1);
        EXPECT_EQ(counts.elements, counts.itemsDrawn);
        EXPECT_EQ(ids.size(), counts.itemsDrawn + 1);  // and nothing
        EXPECT_TRUE(std::includes(ids.begin(), ids.end(), before.begin(), before.end()));
        before = std::move(ids);
    }
}

TEST(ViewportPicking, NearestFirstEachOnce) {
    TViewportScene scene = SceneOf({Square(10, {}), Square(5, {}), Square(10, {}, 9)});
    std::vector<TViewHit> hits = HitTest(scene, kCamera, 100, 50, {});
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0].id, 2u);
    EXPECT_NEAR(hits[0].depth, 5, 1e-4);
    EXPECT_EQ(hits[1].id, 1u);
    EXPECT_NEAR(hits[1].depth, 10, 1e-4);
    // The reach is 4 pixels: the square at the right begins at 180.
    EXPECT_EQ(HitTest(scene, kCamera, 176, 50, {}).size(), 1u);
    EXPECT_TRUE(HitTest(scene, kCamera, 175, 50, {}).empty());
    EXPECT_TRUE(HitTest(scene, kCamera, -20, 500, {}).empty());
}

TEST(ViewportPicking, DotsOfOneItemAndFilters) {
    // 10 x 10 items, 10 pixels apart: item (6, 4) is 15 pixels right of the middle, 5 below.
    TViewNode field = Field(10, 1, 10);
    auto scatter = std::make_shared<TViewScatter>(*field.scatter);
    auto content = std::make_shared<TViewItems>(*scatter->content);
    content->items[46].flags = TViewItem::kSelected;
    scatter->content = std::move(content);
    field.scatter = scatter;
    TViewportScene scene = SceneOf({field});
    auto hits = HitTest(scene, kCamera, 115, 55, {});
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(scene.Find(hits[0].id).item, 46u);
    EXPECT_EQ(HitTest(scene, kCamera, 115, 55, {}, TItemFilter::kSelected).size(), 1u);
    EXPECT_TRUE(HitTest(scene, kCamera, 115, 55, {}, TItemFilter::kNotSelected).empty());
    EXPECT_EQ(HitTest(scene, kCamera, 105, 55, {}, TItemFilter::kNotSelected).size(), 1u);
}

TEST(ViewportPicking, RectanglesTakePlaces) {
    TViewportScene scene = SceneOf({Field(10, 1, 10), Square(9, {})});
    // x of columns: 55, 65 … 145; y of rows: 95, 85 … 5. Columns 2 to 4, rows 0 and 1.
    TPixelRect rectangle{70, 80, 100, 100};
    auto ids = ItemsInRegion(scene, kCamera, {rectangle, {}}, 1);
    EXPECT_EQ(ids, (std::vector<uint32_t>{4, 5, 6, 14, 15, 16}));
    // The square in front hides the four in the middle.
    TPixelRect middle{80, 30, 120, 70};
    EXPECT_EQ(ItemsInRegion(scene, kCamera, {middle, {}}, 1).size(), 16u);
    auto seen = SeenInRegion(DrawSeen(scene, kCamera, {}), {middle, {}});
    EXPECT_EQ(seen.back(), scene.Nodes()[1].firstId) << "the square itself";
    EXPECT_EQ(seen.size(), 12u + 1u);
}

TEST(ViewportPicking, LassosTakeWhatTheyGoAround) {
    TViewportScene scene = SceneOf({Field(10, 1, 10)});
    // x of columns: 55, 65 … 145; y of rows: 95, 85 … 5. A triangle around the lower left corner:
    // below the line from (50, 62) to (88, 100).
    TPickRegion region = LassoRegion({{50, 62, 0}, {88, 100, 0}, {50, 100, 0}});
    EXPECT_EQ(region.rectangle.left, 50);
    EXPECT_EQ(region.rectangle.bottom, 101);
    // Row 0 (y 95): x below 83, so columns 0 to 2; row 1: 0 and 1; row 2: 0.
    EXPECT_EQ(ItemsInRegion(scene, kCamera, region, 1),
              (std::vector<uint32_t>{2, 3, 4, 12, 13, 22}));
    // A line that crosses itself: two triangles that meet in a corner.
    TPickRegion eight = LassoRegion({{50, 80, 0}, {70, 100, 0}, {70, 80, 0}, {50, 100, 0}});
    EXPECT_TRUE(eight.Holds(55, 90));
    EXPECT_FALSE(eight.Holds(60, 82));
    EXPECT_TRUE(ItemsInRegion(scene, kCamera, LassoRegion({}), 1).empty());
}

// A million would take seconds by their faces; each has its dot whatever the budget.
TEST(ViewportPicking, WhatIsSeenLeavesNoItemOut) {
    TViewportScene scene = SceneOf({Field(10, 1, 10)});
    TViewportSettings settings;
    settings.maxElements = 5;
    TSeenPicture seen = DrawSeen(scene, kCamera, settings);
    EXPECT_EQ(SeenInRegion(seen, {{0, 0, 200, 100}, {}}).size(), 100u);
    TScreenPoint place;
    ASSERT_TRUE(kCamera.Project({0, 0, -10}, &place));
    EXPECT_TRUE(seen.Shows(place));
    EXPECT_FALSE(seen.Shows({-1, 5, 1}));
}

TEST(ViewportPicking, PlacesBehindASurfaceAreNotSeen) {
    TViewportScene scene = SceneOf({Square(50, {})});
    TSeenPicture seen = DrawSeen(scene, kCamera, {});
    TScreenPoint before, behind;
    ASSERT_TRUE(kCamera.Project({0, 0, -40}, &before));
    ASSERT_TRUE(kCamera.Project({0, 0, -60}, &behind));
    EXPECT_TRUE(seen.Shows(before));
    EXPECT_FALSE(seen.Shows(behind));
}

TEST(ViewportScene, IdsFindNodesAndItems) {
    TViewportScene scene = SceneOf({Square(10, {}), Field(2, 1, 10), Square(5, {})});
    EXPECT_EQ(scene.NumItems(), 4u);
    EXPECT_EQ(scene.Find(0).node, nullptr);
    EXPECT_EQ(scene.Find(1).node, &scene.Nodes()[0]);
    EXPECT_EQ(scene.Find(2).item, TViewportScene::kNoItem);
    EXPECT_EQ(scene.Find(6).node, &scene.Nodes()[1]);
    EXPECT_EQ(scene.Find(6).item, 3u);
    EXPECT_EQ(scene.Find(7).node, &scene.Nodes()[2]);
    EXPECT_EQ(scene.Find(8).node, nullptr);
}

}  // namespace
