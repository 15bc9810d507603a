// The object mesh as parameters ask for it.
#include <set>

#include <fmt/format.h>

#include "host/scene/material.h"
#include "host/scene/renderers.h"
#include "tests/Dravin/build/growing_box.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

constexpr size_t kBoxFaces = 12;

class MeshBuild : public ScatterFixture {
protected:
    const TObjectMesh& Built(TBuildFlags flags = {}) { return Run(flags).ObjectMesh(); }
    size_t NumItems() const { return object->Build().Items().Count(); }
    TBuildFlags RenderFile() const {
        TBuildFlags flags = Render();
        flags.fileMesh = true;
        return flags;
    }
    std::shared_ptr<INode> BoxWith(int channel) {
        ::Mesh mesh = MakeBox(1, 1, 1, 1);
        mesh.maps.clear();
        MapChannel& map = mesh.MakeMap(channel);
        map.verts = {{0.25f, 0.5f, 0}};
        map.faces.assign(mesh.faces.size(), {0, 0, 0});
        return AddMesh("mapped", mesh);
    }
};

}  // namespace

TEST_F(MeshBuild, AdaptiveModeKeepsFullMeshesUpToItsBudget) {
    Set(kDispParams, dispParams::kVtype, 1);
    Run();
    int full = int(NumItems() * kBoxFaces);
    Set(kDispParams, dispParams::kAdaptfaces, full);
    EXPECT_EQ(Built().GetMesh().NumFaces(), size_t(full));
    Set(kDispParams, dispParams::kAdaptfaces, full - 1);
    const TObjectMesh& mesh = Built();
    EXPECT_EQ(mesh.GetMesh().NumFaces(), NumItems() * 4);  // pyramids
    EXPECT_EQ(mesh.Statistics().mode, TMeshMode::kProxy);
    EXPECT_EQ(mesh.Statistics().meshedItems, int64_t(NumItems()));
}

TEST_F(MeshBuild, FacesWithoutAChannelOfOthersHaveZeroCorners) {
    AddRow(BoxWith(3));
    Set(kDispParams, dispParams::kVmesh, 0);
    const TObjectMesh& mesh = Built();
    const MapChannel* map = mesh.GetMesh().Map(3);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->verts.size(), 5u);  // the planes' corners, and one
    std::set<int> rows;
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); ++f) {
        int row = object->Build().Items().Item(size_t(mesh.FaceOwners()[f])).specimenIndex;
        EXPECT_EQ(map->faces[f], row == 0 ? (Triple{0, 0, 0}) : (Triple{4, 4, 4}));
        rows.insert(row);
    }
    EXPECT_EQ(rows.size(), 2u);
}

// A box of 2 x 1 x 3 turned inside out would have the volume -6.
TEST_F(MeshBuild, MirroredItemsHaveTheirOutsideOutside) {
    Set(kTransformParams, transformParams::kMirror, 1);
    Set(kDispParams, dispParams::kVmesh, 0);
    const TObjectMesh& mesh = Built();
    std::vector<double> volumes(NumItems());
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); ++f) {
        size_t owner = size_t(mesh.FaceOwners()[f]);
        const Triple& v = mesh.GetMesh().faces[f].v;
        Point3 p = object->Build().Items().Position(owner);
        auto at = [&](size_t k) { return mesh.GetMesh().verts[v[k]] - p; };
        volumes[owner] += double(DotProd(at(0), CrossProd(at(1), at(2)))) / 6;
    }
    int mirrored = 0;
    for (size_t i = 0; i < NumItems(); ++i) {
        EXPECT_NEAR(volumes[i], 6, 1e-3);
        mirrored += object->Build().Items().Item(i).mirrored;
    }
    EXPECT_GT(mirrored, 0);
}

TEST_F(MeshBuild, MaterialIdsWrapWhereTheyAreConsolidated) {
    Mesh mesh = MakeBox(1, 1, 1, 1);
    for (Face& face : mesh.faces) face.matID = 5;
    auto source = AddMesh("ids", mesh);
    auto multi = std::make_shared<MultiMtl>();
    for (int k = 0; k < 3; ++k) multi->Append(std::make_shared<StandardMtl>());
    source->SetMtl(multi);
    object->Block(kGeomParams)
        .SetValue(geomParams::kCobjlist, 0, std::static_pointer_cast<ReferenceTarget>(source), 0);
    Set(kDispParams, dispParams::kVmesh, 0);
    EXPECT_EQ(Built().GetMesh().faces[0].matID, 5 % 3);
    Set(kGeomParams, geomParams::kConsmat, false);
    EXPECT_EQ(Built().GetMesh().faces[0].matID, 5);
}

TEST_F(MeshBuild, WorkersTakeAtLeastTenItems) {
    Set(kDispParams, dispParams::kVmesh, 0);
    Set(kGenParams, genParams::kAutothreads, false);
    Set(kGenParams, genParams::kThreads, 2);
    Run();
    size_t n = NumItems();
    auto line = [n](const char* how) {
        return fmt::format("BuildItemArray->BuildMeshDravin->Creating mesh ({} items, {})", n, how);
    };
    EXPECT_TRUE(Logged("BuildItemArray->BuildMeshDravin->Measuring"));
    EXPECT_TRUE(Logged(line("2 threads")));
    Set(kGenParams, genParams::kThreads, int(n / 9));
    Run();
    EXPECT_TRUE(Logged(line("1 threads")));
    Set(kGenParams, genParams::kThreads, 0);
    Run();
    EXPECT_TRUE(Logged(line("single thread")));
}

TEST_F(MeshBuild, PointCloudsHaveNoFacesAndCoverTheirPoints) {
    Set(kDispParams, dispParams::kVmesh, 3);
    const TObjectMesh& mesh = Built();
    EXPECT_TRUE(mesh.IsBuilt());
    EXPECT_EQ(mesh.GetMesh().NumFaces(), 0u);
    EXPECT_EQ(mesh.Statistics().points, int64_t(NumItems()));
    EXPECT_EQ(mesh.Statistics().meshedItems, 0);
    Box3 points;
    for (size_t i = 0; i < NumItems(); ++i) points += object->Build().Items().Position(i);
    for (const Point3& p : object->Build().Statistics().gizmoPoints) points += p;
    EXPECT_EQ(mesh.Bounds(), points);
    Set(kDispParams, dispParams::kRendermode, 1);
    EXPECT_EQ(Built().GetMesh().NumFaces(), NumItems() * kBoxFaces);
}

TEST_F(MeshBuild, RendersLeaveCustomObjectsToTheRendererButFilesDoNot) {
    const TObjectMesh& mesh = Built(Render());
    EXPECT_EQ(mesh.Statistics().instancedItems, int64_t(NumItems()));
    EXPECT_FALSE(mesh.IsBuilt());
    EXPECT_EQ(Built(RenderFile()).GetMesh().NumFaces(), NumItems() * kBoxFaces);
    Set(kDispParams, dispParams::kRendermode, 1);
    EXPECT_EQ(Built(Render()).GetMesh().NumFaces(), NumItems() * kBoxFaces);
}

TEST_F(MeshBuild, RenderersThatTakeNoInstancesGetTheWholeMesh) {
    constexpr ClassId kPlain{0x77, 0x88};
    auto& renderers = host.State<Renderers>();
    renderers.Register({kPlain, "Plain"});
    int64_t all = 400;  // a unit square of the ground each
    for (ClassId own : {kRayTracerId, kScanlineRendererId}) {
        renderers.SetCurrent(own);
        EXPECT_EQ(Built(Render()).Statistics().instancedItems, all);
    }
    renderers.SetCurrent(kPlain);
    const TObjectMesh& whole = Built(Render());
    EXPECT_EQ(whole.Statistics().instancedItems, 0);
    EXPECT_EQ(whole.GetMesh().NumFaces(), size_t(all) * kBoxFaces);
    TBuildFlags forced = Render();
    forced.forceInstances = true;
    EXPECT_EQ(Built(forced).Statistics().instancedItems, all);
    renderers.SetTakesInstances(kPlain);
    EXPECT_EQ(Built(Render()).Statistics().instancedItems, all);
}

TEST_F(MeshBuild, FilesHoldFullMeshesUnlessProxyShapesAreAskedFor) {
    TBuildFlags flags;
    flags.fileMesh = true;
    Run();
    for (int mode : {0, 2, 3}) {
        Set(kDispParams, dispParams::kVmesh, mode);
        Set(kDispParams, dispParams::kAdaptfaces, 1);
        EXPECT_EQ(Built(flags).GetMesh().NumFaces(), NumItems() * kBoxFaces) << mode;
    }
    Set(kDispParams, dispParams::kVmesh, 1);
    EXPECT_EQ(Built(flags).GetMesh().NumFaces(), NumItems() * 2);
}

TEST_F(MeshBuild, ViewportsSortItemsByRowInTheirOrder) {
    AddRow(BoxWith(1));
    Set(kDispParams, dispParams::kVmesh, 0);
    TBuildFlags unsorted;
    unsorted.noMesh = true;
    Run(unsorted);
    std::vector<uint32_t> expected;  // seeds, by row and then as they were distributed
    for (int row : {0, 1})
        for (size_t i = 0; i < NumItems(); ++i)
            if (TDravinItem item = object->Build().Items().Item(i); item.specimenIndex == row)
                expected.push_back(item.seed);
    Run();
    EXPECT_TRUE(
        Logged(fmt::format("BuildItemArray->BuildMeshDravin->Sorting items ({})", NumItems())));
    std::vector<uint32_t> seeds;
    for (size_t i = 0; i < NumItems(); ++i) seeds.push_back(object->Build().Items().Item(i).seed);
    EXPECT_EQ(seeds, expected);
}

TEST_F(MeshBuild, SourcesWithoutFacesMakeAnEmptyMeshAndNoFailure) {
    Mesh points;
    points.verts = {{0, 0, 0}, {1, 1, 1}};
    object->Block(kGeomParams)
        .SetValue(geomParams::kCobjlist, 0, Target(AddMesh("points", points)), 0);
    const TObjectMesh& mesh = Built(RenderFile());
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);
    EXPECT_FALSE(mesh.IsBuilt());
    EXPECT_TRUE(mesh.GetMesh().faces.empty());
}

TEST_F(MeshBuild, FailedBuildsLeaveNoMesh) {
    EXPECT_TRUE(Built().IsBuilt());
    Set(kDispParams, dispParams::kDisabled, true);
    EXPECT_FALSE(Built().IsBuilt());
    EXPECT_TRUE(Built().GetMesh().faces.empty());
}

// Samples are 320 ticks apart: boxes of 3, 5 and 7 units on items as high as the first.
TEST_F(MeshBuild, AnimatedSourcesGiveTheSampleThatEachItemPicked) {
    auto growing = std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 3, 1)));
    growing->SetAnimation(std::make_shared<GrowingBox>());
    box->SetObjectRef(growing);
    Set(kDispParams, dispParams::kVmesh, 0);
    Set(kAnimParams, animParams::kAnimation, 2);  // random samples
    Set(kAnimParams, animParams::kAnimsamples, 3);
    Set(kAnimParams, animParams::kAnimsoffset, 320);
    const TObjectMesh& mesh = Built();
    std::set<int> samples;
    for (size_t i = 0; i < NumItems(); ++i) {
        const TItemRange& range = mesh.Ranges()[i];
        Box3 bounds;
        for (size_t v = range.firstVert; v < range.firstVert + 8; ++v)
            bounds += mesh.GetMesh().verts[v];
        int sample = object->Build().Items().Item(i).animationOffset;
        samples.insert(sample);
        EXPECT_NEAR(bounds.Width().z, 3 + 2 * sample, 1e-4f) << i;
    }
    EXPECT_EQ(samples.size(), 3u);
    // What all samples have alike stands there once.
    EXPECT_EQ(mesh.GetMesh().Map(1)->verts.size(), 4 + growing->GetMesh()->Map(1)->verts.size());
}

// With a map of one grey g, every item shows sample round(2 g) of three.
TEST_F(MeshBuild, AMapPicksTheSampleThatItemsShow) {
    auto growing = std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 3, 1)));
    growing->SetAnimation(std::make_shared<GrowingBox>());
    box->SetObjectRef(growing);
    Set(kDispParams, dispParams::kVmesh, 0);
    Set(kAnimParams, animParams::kAnimation, 3);
    Set(kAnimParams, animParams::kAnimsamples, 3);
    Set(kAnimParams, animParams::kAnimsoffset, 320);
    auto map = std::make_shared<ColorTex>();
    Set(kAnimParams, animParams::kAnimap, Target(map));
    for (auto [grey, sample] : {std::pair{0.f, 0}, {0.24f, 0}, {0.26f, 1}, {0.74f, 1}, {1.f, 2}}) {
        map->color = Color{grey, grey, grey};
        const TObjectMesh& mesh = Built();
        ASSERT_GT(NumItems(), 0u);
        for (size_t i = 0; i < NumItems(); ++i)
            EXPECT_EQ(object->Build().Items().Item(i).animationOffset, sample) << grey;
        // The ground's items stand at height 0: all are as high as their sample.
        EXPECT_NEAR(mesh.GetMesh().BoundingBox().max.z, 3 + 2 * sample, 1e-4f);
    }
    // Without a map there is nothing to pick by.
    Set(kAnimParams, animParams::kAnimap, Target(nullptr));
    EXPECT_NEAR(Built().GetMesh().BoundingBox().max.z, 3, 1e-4f);
}

// A plane has no height: its unit mesh keeps height 1, and items keep their height as a scale of 1.
TEST_F(MeshBuild, AFlatSourceKeepsTheItemsHeightAsAScaleOfOne) {
    Mesh sheet = MakePlane(2, 3, 1);
    object->Block(kGeomParams)
        .SetValue(geomParams::kCobjlist, 0, Target(AddMesh("sheet", sheet)), 0);
    Set(kDispParams, dispParams::kVmesh, 0);
    const TObjectMesh& mesh = Built();
    EXPECT_TRUE(mesh.Shapes()[0].sample->Size().degenerate);
    for (size_t i = 0; i < NumItems(); ++i) {
        TDravinItem item = object->Build().Items().Item(i);
        EXPECT_EQ(item.width, 2);
        EXPECT_EQ(item.depth, 3);
        EXPECT_EQ(item.height, 1);
    }
    EXPECT_EQ(mesh.Bounds().Width().z, 0);
}

// What follows its source over time holds for the moment.
TEST_F(MeshBuild, HoldsAsLongAsTheSampleThatItShows) {
    auto growing = std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 3, 1)));
    growing->SetAnimation(std::make_shared<GrowingBox>());
    Set(kAnimParams, animParams::kAnimation, 1);  // follow geometry
    Built();
    EXPECT_TRUE(object->Build().Validity().Contains(160));
    box->SetObjectRef(growing);
    Built();
    EXPECT_FALSE(object->Build().Validity().Contains(160));
}
