#include "Dravin/engine/distribute_points.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

TBuildInput PointInput(int mode) {
    TBuildInput input;
    input.distributionMode = mode;
    input.specimens = {CubeSpecimen()};
    return input;
}

TBuildInput PathInput(std::vector<std::vector<Point3>> lines, bool closed = false) {
    TBuildInput input = PointInput(kDistPath);
    TPathNode node;
    for (auto& points : lines) {
        node.lines.emplace_back(PolyLine{points, closed});
        node.lines.back().Length();
    }
    input.points.path.nodes = {node};
    input.points.path.followX = input.points.path.followZ = false;
    return input;
}

TReferenceObject At(float x) {
    TReferenceObject r;
    r.point = {x, 0, 0};
    return r;
}

TParticle ParticleAt(float x) {
    TParticle p;
    p.point = {x, 0, 0};
    return p;
}

TEST(Path, SpacingPlacesItemsAtAccumulatedFractionsBelowTheEnd) {
    TBuildInput input = PathInput({{{0, 0, 0}, {10, 0, 0}}});
    input.points.path.spacing = 3;
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 4u);
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(built.items[k].pathPosition, 0.3f * float(k), 1e-6);
        EXPECT_NEAR(built.items[k].position.x, 3 * float(k), 1e-5);
        EXPECT_EQ(built.items[k].userId, int32_t(k));
        EXPECT_EQ(built.items[k].sourceTransform, Matrix3{});
    }
    for (float spacing : {10.0f, 0.0f}) {
        input.points.path.spacing = spacing;
        EXPECT_EQ(Build(input).items.size(), 1u) << spacing;
    }
}

TEST(Path, VerticesTakeTheFractionOfTheNextOne) {
    TBuildInput input = PathInput({{{0, 0, 0}, {4, 0, 0}, {4, 12, 0}}});
    input.points.path.onVertices = true;
    input.points.path.followX = true;
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 3u);
    EXPECT_EQ(built.items[0].pathPosition, 0.25f);
    EXPECT_EQ(built.items[1].pathPosition, 1);
    EXPECT_EQ(built.items[2].pathPosition, 1);
    // The last vertex takes its frame from the end of the last segment.
    EXPECT_NEAR(built.items[2].sourceTransform.row[0].y, 1, 1e-6);
    EXPECT_NEAR(built.items[0].sourceTransform.row[0].x, 1, 1e-6);
}

TEST(Path, SequenceRunsThroughTheRowsAcrossLinesAndNodes) {
    TBuildInput input = PathInput({{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{0, 5, 0}, {1, 5, 0}}});
    input.points.path.nodes.push_back(input.points.path.nodes[0]);
    input.specimens = {CubeSpecimen(), CubeSpecimen(0), CubeSpecimen()};
    input.points.path.onVertices = input.points.path.inSequence = true;
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 10u);
    for (size_t i = 0; i < 10; ++i) EXPECT_EQ(built.items[i].specimenIndex, int(i % 3));
}

TEST(Path, ADisplayLimitStillGivesEveryLineItsFirstItem) {
    std::vector<std::vector<Point3>> lines(3);
    for (int l = 0; l < 3; ++l)
        for (int i = 0; i < 10; ++i) lines[size_t(l)].push_back({float(i), float(l), 0});
    TBuildInput input = PathInput(lines);
    input.points.path.onVertices = true;
    input.displayLimit = 5;
    EXPECT_EQ(Build(input).items.size(), 6u + 1 + 1);
    input.render = true;
    EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
}

TEST(Path, ZFollowAloneLeansWithTheSlope) {
    TBuildInput input = PathInput({{{0, 0, 0}, {10, 0, 10}}});
    input.points.path.followZ = true;
    Point3 up = Build(input).items[0].sourceTransform.row[2];
    EXPECT_NEAR(up.x, -std::sqrt(0.5f), 1e-5);
    EXPECT_NEAR(up.y, 0, 1e-6);
    EXPECT_NEAR(up.z, std::sqrt(0.5f), 1e-5);
}

TEST(Path, VerticalOnesLeanLikeVerySteepOnes) {
    for (float rise : {1.0f, -1.0f}) {
        TBuildInput input = PathInput({{{0, 0, 0}, {0, 0, 10 * rise}}});
        TBuildInput steep = PathInput({{{0, 0, 0}, {1e-4f, 0, 10 * rise}}});
        input.points.path.followX = steep.points.path.followX = true;
        input.points.path.followZ = steep.points.path.followZ = true;
        Matrix3 a = Build(input).items[0].transform, b = Build(steep).items[0].transform;
        for (int row = 0; row < 3; ++row) EXPECT_NEAR(Length(a.row[row] - b.row[row]), 0, 1e-4);
    }
}

TEST(Path, DegenerateLinesAreHarmless) {
    float nan = std::nanf("");
    TBuildInput input =
        PathInput({{{1, 2, 3}}, {}, {{0, 0, 0}, {0, 0, 0}}, {{nan, 0, 0}, {1, 0, 0}}});
    input.points.path.followX = input.points.path.followZ = true;
    for (bool vertices : {false, true}) {
        input.points.path.onVertices = vertices;
        BuiltItems built = Build(input);
        EXPECT_EQ(built.result, TBuildStatus::kSuccess);
        for (const TDravinItem& item : built.items) EXPECT_TRUE(IsFinite(item.position));
    }
}

TEST(Path, RandomValuesFollowTheRunningCounter) {
    BuiltItems built = Build(PathInput({{{0, 0, 0}, {5, 0, 0}}, {{0, 9, 0}, {5, 9, 0}}}));
    ASSERT_EQ(built.items.size(), 10u);
    for (uint32_t i = 0; i < 10; ++i) EXPECT_EQ(built.items[i].seed, i);
}

TEST(References, WithoutAnyObjectCountAsTooMany) {
    EXPECT_EQ(Build(PointInput(kDistReference)).result, TBuildStatus::kTooManyItems);
}

TEST(References, HandOnRotationScaleAndIdentifier) {
    TBuildInput input = PointInput(kDistReference);
    TReferenceObject r = At(3);
    r.sourceTransform = Matrix3::RotationZ(1.5707964f);
    r.externalScale = {2, 3, 4};
    r.userId = 77;
    input.points.reference.objects = {At(0), r};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 2u);
    const TDravinItem& item = built.items[1];
    EXPECT_EQ(item.userId, 77);
    EXPECT_EQ(item.seed, 1u);
    EXPECT_EQ(item.width, 2);
    EXPECT_EQ(item.depth, 3);
    EXPECT_EQ(item.height, 4);
    EXPECT_NEAR(item.transform.row[0].y, 1, 1e-6);
}

TEST(References, AThousandRunOnOneThreadAndOneMoreOnSeveral) {
    for (size_t count : {size_t(1000), size_t(1001)}) {
        TBuildInput input = PointInput(kDistReference);
        for (size_t i = 0; i < count; ++i) input.points.reference.objects.push_back(At(float(i)));
        input.points.reference.threads = 4;
        std::string log;
        input.debugLog = [&](const std::string& line) { log += line + "\n"; };
        BuiltItems built = Build(input);
        ASSERT_EQ(built.items.size(), count);
        for (size_t i = 0; i < count; ++i) EXPECT_EQ(built.items[i].sourceIndex, int32_t(i));
        const char* threads = count == 1000 ? "Starting 1 threads" : "Starting 4 threads";
        EXPECT_NE(log.find(threads), std::string::npos) << log;
    }
}

TEST(References, FacesStandOnTheirCentresAndPointToTheFarthestCorner) {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{0, 0, 0}, {9, 0, 0}, {0, 3, 0}};
    mesh->faces.push_back({{0, 1, 2}});
    TBuildInput input = PointInput(kDistReference);
    input.points.reference.onFaces = true;
    input.points.reference.meshes = {{mesh, Matrix3::Translation({0, 0, 5})},
                                     {mesh, Matrix3::Translation({0, 0, 7})}};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 2u);
    EXPECT_EQ(built.items[0].position, (Point3{3, 1, 5}));
    EXPECT_EQ(built.items[1].seed, 1u);  // the second node goes on counting
    EXPECT_EQ(built.items[1].sourceIndex, 0);
    Point3 d = Normalize(Point3{6, -1, 0});
    EXPECT_NEAR(built.items[0].sourceTransform.row[0].y, d.y, 1e-5);
}

TEST(References, FacesOfScaledMeshesGiveUnitNormalsOfTheirTruePlane) {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{0, 0, 0}, {9, 0, 9}, {0, 3, 0}};  // rises by 45 degrees along x
    mesh->faces.push_back({{0, 1, 2}});
    TBuildInput input = PointInput(kDistReference);
    input.points.reference.onFaces = true;
    input.points.reference.meshes = {{mesh, Matrix3::Scaling({1, 1, 2})},
                                     {mesh, Matrix3::Scaling({3, 3, -3})}};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 2u);
    EXPECT_NEAR(Length(built.items[0].normal - Normalize(Point3{-2, 0, 1})), 0, 1e-5);
    EXPECT_NEAR(Length(built.items[1].normal - Normalize(Point3{-1, 0, -1})), 0, 1e-5);
}

TEST(References, DecimationUsesEveryNthPoint) {
    TBuildInput input = PointInput(kDistReference);
    for (int i = 0; i < 100; ++i) input.points.reference.objects.push_back(At(float(i)));
    input.displayLimit = 25;
    EXPECT_EQ(Build(input).items.size(), 50u);  // every second: the square root of four
    input.render = true;
    input.renderSkip = 2;
    EXPECT_EQ(Build(input).items.size(), 25u);
}

TEST(Particles, ABadSourceEndsTheDistribution) {
    TBuildInput input = PointInput(kDistParticles);
    input.points.particles.systems = {{ParticleAt(0)}};
    input.points.particles.hasBadSource = true;
    EXPECT_EQ(Build(input).result, TBuildStatus::kNoReferenceObject);
}

TEST(Particles, TheSystemsIndexShiftsTheOrdinals) {
    TBuildInput input = PointInput(kDistParticles);
    std::vector<TParticle> system;
    for (int i = 0; i < 8; ++i) system.push_back(ParticleAt(float(i)));
    input.points.particles.systems = {system, system};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 16u);
    EXPECT_EQ(built.items[5].seed, built.items[8 + 4].seed);
    EXPECT_EQ(built.items[5].random1, built.items[8 + 4].random1);
}

TEST(Particles, MissingOnesAndUnwantedEventsAreSkipped) {
    TBuildInput input = PointInput(kDistParticles);
    std::vector<TParticle> system(4);
    system[0].age = -1;
    system[1].hasPosition = false;
    system[2].isWanted = false;
    system[3].age = 320;
    system[3].speed = {0, 0, -2};
    system[3].eventId = 7;
    input.points.particles.systems = {system};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 1u);
    EXPECT_EQ(built.items[0].particleAge, 320);
    EXPECT_EQ(built.items[0].particleEventId, 7);
    EXPECT_EQ(*built.items[0].ParticleSpeed(), (Point3{0, 0, -2}));
}

TEST(Particles, ARenderAboveItsLimitIsRefused) {
    TBuildInput input = PointInput(kDistParticles);
    input.points.particles.systems = {std::vector<TParticle>(11)};
    input.render = true;
    input.renderLimit = 10;
    EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
}

TEST(Particles, RotationAndScaleAreTakenWhereAskedFor) {
    TBuildInput input = PointInput(kDistParticles);
    TParticle p = ParticleAt(0);
    p.rotation = {0, 0, 1.5707964f};
    p.scale = {2, 2, 5};
    input.points.particles.systems = {{p}};
    EXPECT_NEAR(Build(input).items[0].transform.row[0].y, 1, 1e-6);
    EXPECT_EQ(Build(input).items[0].height, 5);
    input.points.particles.getRotation = input.points.particles.getScale = false;
    EXPECT_EQ(Build(input).items[0].transform, Matrix3{});
    EXPECT_EQ(Build(input).items[0].height, 1);
}

TEST(EventNumber, CountsDigitsBehindTheArrowUpToASpaceAfterThem) {
    EXPECT_EQ(EventNumber("PF 5->no digits"), 0);
    EXPECT_EQ(EventNumber("no arrow 9"), 0);
    EXPECT_EQ(EventNumber("PF->7 "), 7);
    EXPECT_EQ(EventNumber("PF->Event 007"), 7);
    EXPECT_EQ(EventNumber("PF->a1b2 3"), 12);
    EXPECT_EQ(EventNumber("PF->99999999999999999999"), INT32_MAX);
}

TEST(Points, LinkedItemsDropOntoSurfacesAndOthersOnlyReadThem) {
    TBuildInput input = PointInput(kDistReference);
    AddSurface(input, SquareMesh(-10, -10, 10, 10, 4));
    TReferenceObject high = At(3);
    high.point.z = 50;
    input.points.reference.objects = {high, At(40)};
    BuiltItems linked = Build(input);
    ASSERT_EQ(linked.items.size(), 1u);  // the other misses the surface
    EXPECT_EQ(linked.items[0].position.z, 4);
    input.linkToSurface = false;
    BuiltItems loose = Build(input);
    ASSERT_EQ(loose.items.size(), 2u);
    EXPECT_EQ(loose.items[0].position.z, 50);
    EXPECT_EQ(loose.items[0].surfaceFace >= 0, true);
    EXPECT_EQ(loose.items[1].surfaceFace, -1);
}

}  // namespace
