#include "Dravin/build/dravin_build.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "Dravin/build/density_loader.h"
#include "Dravin/build/dravin_instances.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "tests/Dravin/build/growing_box.h"
#include "tests/Dravin/build/scatter_fixture.h"
#include "tests/temp_folder.h"

namespace {

class DravinBuild : public ScatterFixture {};

TEST_F(DravinBuild, ScattersOverItsSurface) {
    const TDravinBuild& build = Run();
    EXPECT_EQ(build.Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(build.Statistics().itemCount, 400);
    EXPECT_EQ(build.Statistics().createdCount, 400);
    EXPECT_GE(build.Statistics().buildMs, 1);
    EXPECT_EQ(build.Items().Item(0).width, 2);
    EXPECT_EQ(build.Items().Item(0).depth, 1);
    EXPECT_EQ(build.Items().Item(0).height, 3);
}

TEST_F(DravinBuild, WritesItsLogLines) {
    Run();
    EXPECT_TRUE(Logged("Starting BuildMesh(0)"));
    EXPECT_TRUE(Logged("BuildItemArray"));
    EXPECT_TRUE(Logged("BuildItemArray->DistributeImageXY (1 areas)"));
    EXPECT_TRUE(Logged("Exiting BuildMesh (400 items, code 0)"));
}

TEST_F(DravinBuild, OneThreadRunsOnTheCallingThread) {
    Set(kGenParams, genParams::kAutothreads, false);
    Set(kGenParams, genParams::kThreads, 0);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
    EXPECT_TRUE(Logged("BuildItemArray->DistributeArea(0)->Starting 1 threads"));
}

TEST_F(DravinBuild, ARenderUsesOneThreadWhereTheOptionSaysSo) {
    DravinGlobals().options.disableMultithreadRender = true;
    TBuildFlags flags = Render();
    flags.forceThreads = 4;
    EXPECT_EQ(Run(flags).Input()->threads, 1);
    flags.render = false;
    EXPECT_EQ(Run(flags).Input()->threads, 4);
}

TEST_F(DravinBuild, AChangeMakesTheLastBuildStale) {
    Run();
    Set(kGenParams, genParams::kSeed, 7);
    EXPECT_EQ(object->Build().Validity(), Interval::Never());
}

TEST_F(DravinBuild, Seed9999ShowsTheCachesInThePanel) {
    Set(kGenParams, genParams::kSeed, 9999);
    Run();
    EXPECT_EQ(object->Build().PanelLines()[0], "IC:1  BC:1  ITBC: 1  ITBS: 1");
    EXPECT_EQ(object->Build().Message()[0], "");
}

TEST_F(DravinBuild, ADisabledObjectHasStatus11AndNoItems) {
    Set(kDispParams, dispParams::kDisabled, true);
    EXPECT_EQ(Run().Status(), TBuildStatus::kDisabled);
    EXPECT_TRUE(object->Build().Items().IsEmpty());
    EXPECT_EQ(object->Build().Message()[0], "Object is disabled in Display settings");
}

TEST_F(DravinBuild, WithoutAMapTheStatusIs2WhateverTheMode) {
    Set(kDistParams, distParams::kDistmap, nullptr);
    Set(kDistParams, distParams::kMapname, "no_such_map.bmp");
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoDistributionMap);
    Set(kDistParams, distParams::kDistmode, 2);
    Set(kDispParams, dispParams::kDisabled, true);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoDistributionMap);
}

TEST_F(DravinBuild, TheDefaultImageIsTheLibrarysWhiteMap) {
    Set(kDistParams, distParams::kDistmap, nullptr);
    const TDravinBuild& build = Run();
    EXPECT_EQ(build.Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(build.Input()->density.Coverage(), 1);
}

TEST_F(DravinBuild, AnEmptyGeometryListHasStatus6) {
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
    rows.Delete({0});
    EXPECT_EQ(Run().Status(), TBuildStatus::kEmptyGeometryList);
    EXPECT_EQ(object->Build().Message()[0], "No items in the Geometry List");
}

TEST_F(DravinBuild, WithoutSurfaceTheStatusIs1) {
    object->Block(kSurfaceParams).Delete(surfaceParams::kSurflist, 0);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoIncludeAreas);
}

TEST_F(DravinBuild, AnItemlessResultHasStatus10ShownAsNoItems) {
    Set(kSurfaceParams, surfaceParams::kAltlimited, true);
    Set(kSurfaceParams, surfaceParams::kAltmin, 5.0f);
    Set(kSurfaceParams, surfaceParams::kAltmax, 6.0f);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoVisibleItems);
    EXPECT_EQ(object->Build().Message()[0], "No items");
}

TEST_F(DravinBuild, TooDenseEndsWithStatus4) {
    Set(kDistParams, distParams::kUnitsX, 0.0001f * 20);
    Set(kDistParams, distParams::kMaxdensity, 1);
    EXPECT_EQ(Run().Status(), TBuildStatus::kDensityTooHigh);
    Set(kDistParams, distParams::kUnitsX, 0.1f);
    EXPECT_EQ(Run().Status(), TBuildStatus::kDensityTooHigh);
}

TEST_F(DravinBuild, AMaximumDensityOfZeroIsNoLimit) {
    Set(kDistParams, distParams::kPixelsX, 3000);
    Set(kDistParams, distParams::kPixelsY, 3000);
    Set(kDispParams, dispParams::kVmaxitems, 10);
    Set(kDistParams, distParams::kMaxdensity, 1);  // a million, where 36 are asked for
    EXPECT_EQ(Run().Status(), TBuildStatus::kDensityTooHigh);
    Set(kDistParams, distParams::kMaxdensity, 0);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(object->Build().Statistics().cellsInArea, 36000000);
}

TEST_F(DravinBuild, ItemsThatTheCameraAllLeavesOutGiveStatus10) {
    auto camera = std::make_shared<CameraObject>();
    INode* eye = scene.AddNode("eye", camera);
    eye->SetLocalTM(Matrix3::Translation({0, 0, -5}));  // looks down, away from the ground
    Set(kCamParams, camParams::kCamera, Target(eye->shared_from_this()));
    Set(kCamParams, camParams::kCamlimit, true);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoVisibleItems);
    EXPECT_EQ(object->Build().Message()[0], "No items");
}

TEST_F(DravinBuild, ReferencesWithoutNodesShowThatThereAreTooMany) {
    Set(kDistParams, distParams::kDistmode, 2);
    for (int faces : {0, 1}) {
        Set(kDistParams, distParams::kDistrefmode, faces);
        EXPECT_EQ(Run().Status(), TBuildStatus::kTooManyItems);
        EXPECT_EQ(object->Build().Message()[0], "Maximum number of items exceeded");
    }
}

TEST_F(DravinBuild, AParticleSourceThatIsAMeshShowsThatTheReferenceIsMissing) {
    Set(kDistParams, distParams::kDistmode, 3);
    object->Block(kDistParams).Append(distParams::kDistpflownodes, Target(box));
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoReferenceObject);
    EXPECT_EQ(object->Build().Message()[0], "Reference object is not defined");
}

TEST_F(DravinBuild, AFailedRenderIsRememberedByTheViewport) {
    Set(kDispParams, dispParams::kRmaxitems, 399);
    EXPECT_EQ(Run(Render()).Status(), TBuildStatus::kTooManyItems);
    EXPECT_TRUE(object->Build().Items().IsEmpty());
    EXPECT_EQ(object->Build().Message()[1], "Fix: adjust 'Display' parameters");
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(object->Build().Message(),
              (TPanelMessage{"Maximum number of items exceeded",
                             "in last render. Adjust 'Display' parameters"}));
    TBuildFlags noLimit = Render();
    noLimit.noLimit = true;
    EXPECT_EQ(Run(noLimit).Statistics().itemCount, 400);
}

TEST_F(DravinBuild, AViewportKeepsBelowItsLimit) {
    Set(kDispParams, dispParams::kVmaxitems, 100);
    EXPECT_EQ(Run().Statistics().decimation, 2);
    EXPECT_LE(object->Build().Statistics().itemCount, 100);
}

TEST_F(DravinBuild, ANewObjectChoosesTheSizeOfItsMapOnce) {
    auto size = [&] {
        IParamBlock2& block = object->Block(kDistParams);
        return Point2{block.GetFloat(distParams::kUnitsX), block.GetFloat(distParams::kUnitsY)};
    };
    Run();
    EXPECT_EQ(size(), (Point2{10, 10}));  // nobody asked for it
    object->chooseMapSize = true;
    EXPECT_EQ(Run().Input()->grid.unitsX, 100);
    EXPECT_EQ(size(), (Point2{100, 100}));
    EXPECT_EQ(object->Build().Validity(), Interval::Forever());
    Set(kDistParams, distParams::kUnitsX, 20.0f);
    Run();
    EXPECT_EQ(size(), (Point2{20, 100}));
}

TEST_F(DravinBuild, TheSizeOfTheMapWaitsForGroundAndCountsInMetres) {
    object->chooseMapSize = true;
    scene.unitScale = 0.01;
    object->Block(kSurfaceParams).Delete(surfaceParams::kSurflist, 0);
    Run();
    EXPECT_TRUE(object->chooseMapSize);
    object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, Target(plane));
    EXPECT_EQ(Run().Input()->grid.unitsY, 2500);  // 25 metres over a ground of 20 centimetres
    EXPECT_FALSE(object->chooseMapSize);
}

TEST_F(DravinBuild, RowsWithoutAnIdGetConsecutiveOnes) {
    AddRow(box);
    Run();
    IParamBlock2& geom = object->Block(kGeomParams);
    EXPECT_EQ(geom.GetInt(geomParams::kSpecidlist, 0, 0), 1);
    EXPECT_EQ(geom.GetInt(geomParams::kSpecidlist, 0, 1), 2);
}

TEST_F(DravinBuild, ARowWhoseObjectIsGoneShowsNothing) {
    AddRow(box);
    scene.DeleteNode(*box);
    const TDravinBuild& build = Run();
    EXPECT_EQ(build.Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(build.Statistics().itemCount, 400);
    TDravinInstances instances(*object, build, {});
    EXPECT_EQ(instances.NumInstances(), 0u);
}

TEST_F(DravinBuild, TheObjectCannotScatterItself) {
    AddRow(std::static_pointer_cast<INode>(node->shared_from_this()));
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_FALSE(object->Build().Specimens().Row(1).nodes[0].source);
}

TEST_F(DravinBuild, GroupsMakeOneItemAMember) {
    auto head = INode::Create("group", std::make_shared<GroupObject>());
    scene.AddNode(head);
    auto a = AddMesh("a", MakeBox(1, 1, 1, 1)), b = AddMesh("b", MakeBox(2, 2, 2, 1));
    head->AttachChild(a);
    head->AttachChild(b);
    b->SetLocalTM(Matrix3::Translation({0.5f, 0, 0}));
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
    rows.Set(TTreeSpecList::kCustomObject, 0, 0, Target(head));
    const TDravinBuild& build = Run();
    ASSERT_EQ(build.Statistics().itemCount, 800);
    TDravinItem first = build.Items().Item(0), second = build.Items().Item(1);
    EXPECT_EQ(second.elementIndex, 1);
    EXPECT_EQ(second.width, 2);
    EXPECT_FLOAT_EQ(second.position.x - first.position.x, 0.5f);
}

TEST_F(DravinBuild, ACancelledBuildLeavesNoItemsAndIsMadeAgain) {
    // Cells enough for several pieces; the first that is handed out ends the rest.
    for (ParamID id : {distParams::kUnitsX, distParams::kUnitsY}) Set(kDistParams, id, 1.0f);
    TBuildFlags flags;
    flags.render = flags.noMesh = true;
    TItemConsumer consumer = [&](const TDravinItemList&) -> std::function<void()> {
        object->Build().Cancel();
        return [] {};
    };
    object->Build().BuildMesh(0, flags, &consumer);
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kCancelled);
    EXPECT_TRUE(object->Build().Items().IsEmpty());
    EXPECT_TRUE(object->Build().Validity().IsEmpty());
    EXPECT_EQ(object->Build().PanelLines()[0], "Cancelled");
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_GT(object->Build().Statistics().itemCount, 1000);
}

TEST_F(DravinBuild, ItemsThatShowASourceAtDifferentTimesHaveTheirOwnPrototypes) {
    auto growing = std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 3, 1)));
    growing->SetAnimation(std::make_shared<GrowingBox>());
    box->SetObjectRef(growing);
    Set(kAnimParams, animParams::kAnimation, 2);  // random samples
    Set(kAnimParams, animParams::kAnimsamples, 3);
    Set(kAnimParams, animParams::kAnimsoffset, 320);
    const TDravinBuild& build = Run();
    std::unique_ptr<IInstanceSource> instances = build.MakeInstanceSource();
    ASSERT_EQ(instances->NumPrototypes(), 3u);
    std::vector<InstanceRecord> records(instances->NumInstances());
    instances->GetInstances(0, records);
    std::array<int, 3> shown{};
    for (size_t i = 0; i < records.size(); ++i) {
        TDravinItem item = build.Items().Item(i);
        ++shown[size_t(item.animationOffset)];
        InstanceDetails details = instances->GetDetails(i);
        EXPECT_EQ(details.frame, item.animationOffset * 320);
        EXPECT_EQ(details.seed, item.seed);
        EXPECT_EQ(details.randoms[2], item.random3);
        EXPECT_TRUE(details.hiddenElements.empty());
        // The item keeps the height of the first sample; what grows stands out above it.
        Box3 real = instances->PrototypeMesh(records[i].prototype)->BoundingBox();
        EXPECT_EQ(real.max.z, 3 + 2 * float(item.animationOffset));
        Box3 first = records[i].transform.BoxTransform({{-1, -0.5f, 0}, {1, 0.5f, 3}});
        EXPECT_NEAR(first.Width().z, item.height, 1e-4f);
    }
    for (int count : shown) EXPECT_GT(count, 50);
}

TEST_F(DravinBuild, InstancesStandWhereTheItemsAre) {
    node->SetLocalTM(Matrix3::Translation({100, 0, 0}));
    box->SetObjectOffset({{0, 0, 0}, {0, 0, 90}, {2, 1, 1}});
    Set(kTransformParams, transformParams::kApplyrotation, true);
    const TDravinBuild& build = Run();
    std::unique_ptr<IInstanceSource> instances = build.MakeInstanceSource();
    ASSERT_EQ(instances->NumInstances(), size_t(build.Statistics().itemCount));
    std::vector<InstanceRecord> records(instances->NumInstances());
    instances->GetInstances(0, records);
    const Mesh& mesh = *instances->PrototypeMesh(0);
    Box3 real = mesh.BoundingBox();
    EXPECT_NEAR(real.Width().x, 1, 1e-5);  // 2 x 1 scaled to 4 x 1, then turned
    EXPECT_NEAR(real.Width().y, 4, 1e-5);
    for (size_t i : {size_t(0), size_t(77)}) {
        TDravinItem item = build.Items().Item(i);
        // A corner of the unit box under the item's full transform, and the same corner at real
        // size.
        Point3 unit =
            Point3{real.max.x, real.max.y, real.max.z} *
            Matrix3::Scaling({1 / real.Width().x, 1 / real.Width().y, 1 / real.Width().z});
        Point3 expected = unit * item.fullTransform + Point3{100, 0, 0};
        Point3 got = real.max * records[i].transform;
        EXPECT_NEAR(Length(got - expected), 0, 1e-3);
        EXPECT_EQ(records[i].id, int32_t(i));
    }
}

TEST_F(DravinBuild, ScaleToSlopesFollowsTheSurface) {
    plane->SetLocalTM(Matrix3::RotationX(0.5f));
    Set(kSurfaceParams, surfaceParams::kScalelope, true);
    TDravinItem item = Run().Items().Item(0);
    EXPECT_NEAR(item.normal.z, std::cos(0.5f), 1e-5);
    EXPECT_NEAR(Length(item.fullTransform.row[0]), item.width / std::cos(0.5f), 1e-4);
}

TEST_F(DravinBuild, ABuildThatReadsKeysIsValidForItsTimeOnly) {
    Run();
    EXPECT_EQ(object->Build().Validity(), Interval::Forever());
    object->Block(kDistParams).SetKeys(distParams::kUnitsX, {{0, 10.0f}, {160, 20.0f}});
    Run();
    EXPECT_EQ(object->Build().Validity(), Interval::Instant(0));
}

// What the parameters name may move by keys of its own: the build holds no longer than that.
TEST_F(DravinBuild, ABuildIsValidAsLongAsWhatItStandsOn) {
    INode* ground = scene.AddNode("moving", std::make_shared<DummyObject>());
    object->Block(kDistParams)
        .Append(distParams::kDistpathnodes, Target(ground->shared_from_this()));
    Run();
    EXPECT_EQ(object->ObjectValidity(0), Interval::Forever());
    auto place = std::make_shared<TransformController>();
    place->position.SetTrack({{{100, Point3{}}, {200, Point3{1, 0, 0}}}});
    ground->SetTMController(place);
    EXPECT_EQ(object->ObjectValidity(0), Interval::Instant(0));
    Run();
    EXPECT_EQ(object->ObjectValidity(0), (Interval{kTimeNegInfinity, 100}));
}

TEST_F(DravinBuild, CollisionsRunInRendersAndWherePreviewed) {
    Set(kDistParams, distParams::kCollision, true);
    Set(kDistParams, distParams::kRadius, 300);
    Set(kDistParams, distParams::kCollpreview, false);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
    const TBuildStatistics& statistics = Run(Render()).Statistics();
    EXPECT_EQ(statistics.createdCount, 400);
    EXPECT_LT(statistics.itemCount, 200);
    EXPECT_EQ(statistics.discardedCount, 400 - statistics.itemCount);
    EXPECT_TRUE(Logged("BuildItemArray->ComputeCollisions XY (400 items)"));
    EXPECT_EQ(object->Build().Message()[0], "Most of items are discarded by collisions");
    Set(kDistParams, distParams::kCollpreview, true);
    EXPECT_LT(Run().Statistics().itemCount, 200);
}

TEST_F(DravinBuild, ItemsHaveCoordinatesForTheDistributionAndTheTintMap) {
    TDravinItem item = Run().Items().Item(0);
    // The first cell stands in the corner of the ground, whose mapping runs from 0 to 1.
    EXPECT_EQ(item.position, (Point3{-10, -10, 0}));
    EXPECT_EQ(item.mapUvws[kDistMap], (Point3{0, 0, 0}));
    TDravinItem last = object->Build().Items().Item(399);
    EXPECT_EQ(last.position, (Point3{9, 9, 0}));
    EXPECT_NEAR(last.mapUvws[kDistMap].x, 0.95f, 1e-5);
    EXPECT_EQ(last.mapUvws[kTintMap], last.mapUvws[kDistMap]);
}

TEST_F(DravinBuild, ATintMapIsReadOnTheSurface) {
    Set(kMatParams, matParams::kTintmode, 1);
    Set(kMatParams, matParams::kTintmapmode, 1);
    Set(kMatParams, matParams::kTintmap, Target(std::make_shared<UvwTex>()));
    const TDravinBuild& build = Run();
    for (size_t i : {size_t(0), size_t(399)}) {
        TDravinItem item = build.Items().Item(i);
        EXPECT_NEAR(item.tintColor.r, (item.position.x + 10) / 20, 1e-5);
        EXPECT_NEAR(item.tintColor.g, (item.position.y + 10) / 20, 1e-5);
    }
}

TEST_F(DravinBuild, UvSeedsCountSurfacesThatShowNothing) {
    Set(kSurfaceParams, surfaceParams::kSurfmode, 1);
    Set(kSurfaceParams, surfaceParams::kRandstacked, true);
    uint32_t seed = Run().Items().Item(0).seed;
    auto nothing = INode::Create("nothing", std::make_shared<DummyObject>());
    scene.AddNode(nothing);
    object->Block(kSurfaceParams).SetElements(surfaceParams::kSurflist, {});
    object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, Target(nothing));
    object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, Target(plane));
    EXPECT_EQ(Run().Items().Item(0).seed, seed + 1);
}

TEST_F(DravinBuild, NestedCallsReturnWithoutWork) {
    SetLogSink([this](LogKind, const std::string& text) {
        log.push_back(MessageOfLine(text));
        if (!log.back().starts_with("Exiting")) object->Build().BuildMesh(99, {});
    });
    Run();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& s) { return s.rfind("Starting", 0) == 0; }),
              1);
}

// What nobody would set up on purpose.

TEST_F(DravinBuild, ResolutionsBeyondReasonAreToldAndTakenIn) {
    AddArea(*object, 1, AddMesh("tower", MakeBox(6, 6, 10, 1)), true);
    object->Block(kAreaParams).Append(areaParams::kArresollist);
    object->Block(kAreaParams).SetValue(areaParams::kArresollist, 0, 0, 0);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_TRUE(Logged("area \"\" asks for a resolution of 0; 1 is used"));
    object->Block(kAreaParams).SetValue(areaParams::kArresollist, 0, 1000000, 0);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_TRUE(Logged("area \"\" asks for a resolution of 1000000; 8192 is used"));
}

TEST_F(DravinBuild, AUvSurfaceWithoutItsChannelIsToldAndLeftOut) {
    Set(kSurfaceParams, surfaceParams::kSurfmode, 1);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    Set(kDistParams, distParams::kDistmapchan, 7);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoVisibleItems);
    EXPECT_TRUE(Logged("surface \"ground\" is left out: it has no mapping channel 7"));
}

TEST_F(DravinBuild, AParticleListWithHolesMakesTheOthers) {
    auto system = std::make_shared<ParticleObject>();
    std::vector<Particle> particles(5);
    for (size_t i = 0; i < 5; ++i) particles[i].hasPosition = i != 3;
    for (size_t i = 0; i < 5; ++i) particles[i].position = {float(i), 1, 0};
    particles[1].age = -1;
    system->particles = particles;
    Set(kDistParams, distParams::kDistmode, 3);
    Set(kDistParams, distParams::kDistpflowallevents, true);
    object->Block(kDistParams)
        .Append(distParams::kDistpflownodes,
                Target(scene.AddNode("p", system)->shared_from_this()));
    EXPECT_EQ(Run().Statistics().itemCount, 3);
    system->particles = {};
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoVisibleItems);
}

TEST(DistMapFile, GoesThroughTheResolverOfAllFiles) {
    TempFolder folder;
    std::filesystem::create_directory(folder.File("inner"));
    folder.Write("map.pgm", "P5\n1 1\n255\nx");
    std::filesystem::create_symlink(folder.File("map.pgm"), folder.File("inner/link.pgm"));
    std::string scene = folder.File("inner/s.json");
    EXPECT_NE(FindDistMapFile("link.pgm", scene).warning.find("is a link that leads outside"),
              std::string::npos);
    EXPECT_NE(FindDistMapFile("..\\map.pgm", scene).warning.find("lies outside"),
              std::string::npos);
    EXPECT_EQ(FindDistMapFile("dense.bmp", scene).warning, "");
    TDensityLoad load = LoadDensityMap("link.pgm", scene, 50);
    EXPECT_FALSE(load.map.IsEmpty());
    EXPECT_NE(load.warning, "");
}

TEST(DistMapFile, IsLookedForBesideTheSceneAndInTheLibrary) {
    EXPECT_NE(FindDistMapFile("dense.bmp", "/nowhere/scene.json").path, "");
    EXPECT_EQ(FindDistMapFile("nonsense.bmp", "/nowhere/scene.json").path, "");
    EXPECT_EQ(FindDistMapFile("", "").path, "");
    EXPECT_EQ(FindDistMapFile(std::string("dense.bmp\0x", 11), "").path, "");
}

}  // namespace

TEST_F(ScatterFixture, UndoAcrossTheSweepOfARepeatedSurface) {
    auto second = AddMesh("second", MakePlane(4, 4, 1));
    IParamBlock2& surfaces = object->Block(kSurfaceParams);
    surfaces.Append(surfaceParams::kSurflist, Target(second));
    surfaces.Append(surfaceParams::kSurflist, Target(box));
    host.Undo().Begin();
    surfaces.SetValue(surfaceParams::kSurflist, 0, Target(plane), 2);  // there already: swept
    host.Undo().Accept("Pick");
    EXPECT_EQ(surfaces.Count(surfaceParams::kSurflist), 2);
    ASSERT_TRUE(host.Undo().Undo());
    ASSERT_EQ(surfaces.Count(surfaceParams::kSurflist), 3);
    EXPECT_EQ(surfaces.GetNode(surfaceParams::kSurflist, 0, 2), box.get());
    ASSERT_TRUE(host.Undo().Redo());
    EXPECT_EQ(surfaces.Count(surfaceParams::kSurflist), 2);
    ASSERT_TRUE(host.Undo().Undo());
    EXPECT_EQ(surfaces.GetNode(surfaceParams::kSurflist, 0, 2), box.get());
}

TEST_F(ScatterFixture, UndoingASwitchOfTheModeBringsHandEditedItemsBack) {
    Set(kEditionParams, editionParams::kMode, 1);
    std::vector<TStoredItem> items(3);
    items[1].userId = 42;
    object->SetStoredItems(items);
    host.Undo().Begin();
    Set(kEditionParams, editionParams::kMode, 0);
    host.Undo().Accept("Generate");
    EXPECT_TRUE(object->StoredItems().empty());
    ASSERT_TRUE(host.Undo().Undo());
    ASSERT_EQ(object->StoredItems().size(), 3u);
    EXPECT_EQ(object->StoredItems()[1].userId, 42);
    EXPECT_EQ(object->Block(kEditionParams).GetInt(editionParams::kMode), 1);
    ASSERT_TRUE(host.Undo().Redo());
    EXPECT_TRUE(object->StoredItems().empty());
}

TEST_F(ScatterFixture, ACameraThatIsNoneIsReported) {
    Set(kCamParams, camParams::kCamera, Target(box));
    object->Build().BuildMesh(0, {});
    EXPECT_NE(std::find_if(log.begin(), log.end(),
                           [](const std::string& line) {
                               return line.find("\"box\" in \"camera\" is no camera") != line.npos;
                           }),
              log.end());
}

TEST_F(ScatterFixture, ResetGivesLostCurvesBackAndDropsTheLegacySurface) {
    Set(kSurfaceParams, surfaceParams::kReserved2, Target(plane));
    object->SetReference(kSlotAreaDensityCurve, nullptr);
    object->CurveSet(kSlotCamScaleCurve)->SetPoints(0, {{0, 1}, {1, 2}});
    TDravin fresh;
    host.Undo().Begin();
    for (int id = 0; id < kNumDravinBlocks; ++id) object->Block(DravinBlockId(id)).ResetAll();
    host.Undo().Accept("Reset");
    EXPECT_EQ(object->Block(kSurfaceParams).GetNode(surfaceParams::kReserved2), nullptr);
    for (DravinSlot slot : {kSlotAreaDensityCurve, kSlotCamScaleCurve}) {
        ASSERT_NE(object->CurveSet(slot), nullptr);
        EXPECT_EQ(object->CurveSet(slot)->Points(0), fresh.CurveSet(slot)->Points(0));
    }
    host.Undo().Undo();
    EXPECT_EQ(object->Block(kSurfaceParams).GetNode(surfaceParams::kReserved2), plane.get());
    EXPECT_EQ(object->CurveSet(kSlotAreaDensityCurve), nullptr);
    EXPECT_EQ(object->CurveSet(kSlotCamScaleCurve)->Points(0)[1].py, 2);
}
