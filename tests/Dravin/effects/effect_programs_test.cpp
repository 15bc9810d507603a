#include "Dravin/effects/effect_programs.h"

#include <gtest/gtest.h>

#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

// Programs over a ground of 20 x 20 cells.
class EffectProgramsTest : public testing::Test {
protected:
    void Add(const std::string& source) {
        TEffectNames names;
        names.names.set_initial(names.timeSlot, 4800);
        tavuvm_expr::compilation c = names.names.compile(source);
        ASSERT_TRUE(c.code) << c.error;
        programs.programs.emplace_back(c.code, names.names.initial_values(), names.itemSlot);
    }
    BuiltItems Run() {
        input.effects = &programs;
        input.areaFalloffs.effectsActive = true;
        return Build(input);
    }

    // Three programs over 10,000 cells: many batches in every task.
    void ChainThree() {
        input.surfaces.clear();
        AddSurface(input, SquareMesh(-50, -50, 50, 50));
        input.transforms.applyRotation = input.transforms.applyScale = true;
        Add("real r = randomReal(0, 1); dpItem.scale = dpItem.scale * (0.5 + r);"
            "dpItem.position.z = length(dpItem.position) * 0.1;");
        Add("dpItem.visible = randomInt(0, 3); dpItem.rotation.x = randomReal(0, pi);");
        Add("dpItem.tintMult = randomReal(0, dpItem.position.z); return dpItem.scale;");
    }
    static void ExpectEqual(const BuiltItems& a, const BuiltItems& b) {
        ASSERT_EQ(a.items.size(), b.items.size());
        for (size_t i = 0; i < a.items.size(); ++i) {
            const TDravinItem &x = a.items[i], &y = b.items[i];
            ASSERT_EQ(x.position, y.position);
            ASSERT_EQ(x.scale, y.scale);
            ASSERT_EQ(x.width, y.width);
            ASSERT_EQ(x.rotation, y.rotation);
            ASSERT_EQ(x.transform.row[2], y.transform.row[2]);
            ASSERT_EQ(x.tintBlend, y.tintBlend);
            ASSERT_EQ(x.effectVector, y.effectVector);
        }
    }

    TBuildInput input = GroundInput();
    TEffectPrograms programs;
};

TEST_F(EffectProgramsTest, VisibleZeroHidesTheItem) {
    Add("dpItem.visible = dpItem.distXPixel % 2;");
    BuiltItems built = Run();
    EXPECT_EQ(built.items.size(), 200u);
    for (const TDravinItem& item : built.items) EXPECT_EQ(item.hash[0] % 2, 1u);
}

TEST_F(EffectProgramsTest, AttributesThatAProgramDoesNotAssignKeepTheirValues) {
    BuiltItems plain = Build(input);
    Add("vector v = dpItem.position + dpItem.scale;");
    BuiltItems built = Run();
    ASSERT_EQ(built.items.size(), plain.items.size());
    for (size_t i = 0; i < built.items.size(); ++i) {
        EXPECT_EQ(built.items[i].position, plain.items[i].position);
        EXPECT_EQ(built.items[i].width, plain.items[i].width);
    }
}

TEST_F(EffectProgramsTest, AScaleChangesSizesAndRadii) {
    BuiltItems plain = Build(input);
    Add("dpItem.scale = [2, 3, 4];");
    BuiltItems built = Run();
    const TDravinItem &a = plain.items[7], &b = built.items[7];
    EXPECT_EQ(b.width, a.width * 2);
    EXPECT_EQ(b.depth, a.depth * 3);
    EXPECT_EQ(b.height, a.height * 4);
    EXPECT_EQ(b.collisionRadius, a.collisionRadius * 3);
}

TEST_F(EffectProgramsTest, ARotationTurnsTheFrameAndIsKept) {
    Add("dpItem.rotation = [0, 0, pi / 2];");
    TDravinItem item = Run().items[0];
    EXPECT_NEAR(item.rotation.z, 1.5707964f, 1e-6);
    EXPECT_NEAR(item.transform.row[0].y, 1, 1e-6);
    EXPECT_NEAR(item.transform.row[1].x, -1, 1e-6);
}

TEST_F(EffectProgramsTest, ALaterEffectSeesWhatAnEarlierOneWrote) {
    Add("dpItem.tintMult = 0.25;");
    Add("dpItem.tintMult = dpItem.tintMult * 2;");
    EXPECT_EQ(Run().items[0].tintBlend, 0.5f);
}

TEST_F(EffectProgramsTest, ALaterEffectReadsRangesDirectionAndGeometryOfAnEarlierOne) {
    input.specimens = {CubeSpecimen(100), CubeSpecimen(7)};
    input.specimens[1].colorId = {0.25f, 0.5f, 1};
    Add("dpItem.randTransMin = [1, 2, 3]; dpItem.randRotMax = [4, 5, 6];"
        "dpItem.randScaleMin = [7, 8, 9]; dpItem.surfDirection = 37; dpItem.geomID = 1;");
    Add("dpItem.tintColor = dpItem.randTransMin + dpItem.randRotMax * 10 +"
        "                   dpItem.randScaleMin * 100;"
        "dpItem.tintMult = dpItem.surfDirection + dpItem.geomID * 1000;"
        "return dpItem.geomColor + [dpItem.geomProbability, 0, 0];");
    BuiltItems built = Run();
    ASSERT_EQ(built.items.size(), 400u);
    for (const TDravinItem& item : built.items) {
        ASSERT_EQ(item.tintColor, (Color{741, 852, 963}));
        ASSERT_EQ(item.tintBlend, 1037);
        ASSERT_EQ(item.effectVector, (Point3{7.25f, 0.5f, 1}));
    }
}

TEST_F(EffectProgramsTest, AHiddenItemSeesNoLaterEffect) {
    Add("dpItem.visible = 0;");
    Add("dpItem.visible = 1;");
    EXPECT_TRUE(Run().items.empty());
}

TEST_F(EffectProgramsTest, ReturnedVectorsAddUp) {
    Add("return [1, 2, 3];");
    Add("return 5;");
    Add("return [10, 0, 0];");
    EXPECT_EQ(Run().items[0].effectVector, (Point3{11, 2, 3}));
}

TEST_F(EffectProgramsTest, TheTimeIsThatOfTheBuild) {
    Add("dpItem.tintMult = Max.time;");
    EXPECT_EQ(Run().items[0].tintBlend, 4800);
}

TEST_F(EffectProgramsTest, AFailedRunLeavesTheItemAsItWas) {
    Add("dpItem.tintMult = 0.75; int x = round(1.0 / (dpItem.distXPixel - 3.0));");
    BuiltItems plain = Build(input), built = Run();
    ASSERT_EQ(built.items.size(), plain.items.size());
    for (size_t i = 0; i < built.items.size(); ++i)
        EXPECT_EQ(built.items[i].tintBlend,
                  built.items[i].hash[0] == 3 ? plain.items[i].tintBlend : 0.75f);
}

// --- another geometry or placement

TEST_F(EffectProgramsTest, AGeometryThatAProgramWritesReplacesTheItem) {
    TSpecimen tall = CubeSpecimen(0);
    tall.elements[0].meshSize = {1, 1, 5};
    input.specimens.push_back(tall);
    Add("dpItem.geomID = dpItem.distYPixel % 2;");
    EXPECT_TRUE(programs.MayReplace());
    for (const TDravinItem& item : Run().items) {
        EXPECT_EQ(uint32_t(item.specimenIndex), item.hash[2] % 2);
        EXPECT_EQ(item.height, item.specimenIndex ? 5 : 1);
    }
}

TEST_F(EffectProgramsTest, GeometryIdsAreTakenModuloTheRows) {
    input.specimens.push_back(CubeSpecimen(0));
    Add("dpItem.geomID = -1;");
    for (const TDravinItem& item : Run().items) ASSERT_EQ(item.specimenIndex, 1);
}

TEST_F(EffectProgramsTest, EveryMemberOfAnotherClusterIsMade) {
    TSpecimen cluster = CubeSpecimen(0);
    cluster.elements.push_back(cluster.elements[0]);
    cluster.elements[1].offset = {0.25f, 0, 0};
    input.specimens.push_back(cluster);
    Add("dpItem.geomID = 1;");
    BuiltItems built = Run();
    EXPECT_EQ(built.items.size(), 800u);
    EXPECT_EQ(built.items[1].elementIndex, 1);
    EXPECT_EQ(built.items[1].sourceIndex, built.items[0].sourceIndex);
}

TEST_F(EffectProgramsTest, ARangeThatAProgramWritesMovesTheItem) {
    input.transforms.applyTranslation = true;
    for (int i = 0; i < 3; ++i) input.transforms.transMin[i] = input.transforms.transMax[i] = 0;
    Add("dpItem.randTransMin = [0.25, 0, 0]; dpItem.randTransMax = [0.25, 0, 0];");
    BuiltItems built = Run();
    for (const TDravinItem& item : built.items)
        ASSERT_NEAR(item.position.x - item.storedPosition.x, 0.25f, 1e-6);
}

TEST_F(EffectProgramsTest, ARotationRangeIsInDegrees) {
    input.transforms.applyRotation = true;
    Add("dpItem.randRotMin = [0, 0, 90]; dpItem.randRotMax = [0, 0, 90];");
    TDravinItem item = Run().items[5];
    EXPECT_NEAR(item.rotation.z, 1.5707963f, 1e-5);
    EXPECT_NEAR(item.transform.row[0].y, 1, 1e-5);
}

TEST_F(EffectProgramsTest, TheSurfaceDirectionLeansTheNormal) {
    auto slope = std::make_shared<Mesh>(*SquareMesh(-10, -10, 10, 10));
    for (Point3& p : slope->verts) p.z = p.x;
    input.surfaces.clear();
    AddSurface(input, slope);
    Add("dpItem.surfDirection = 0;");
    TDravinItem item = Run().items[0];
    EXPECT_NEAR(item.normal.x, -0.70710678f, 1e-5);
    EXPECT_NEAR(item.normal.z, 0.70710678f, 1e-5);
}

// --- the same items, however they are run

TEST_F(EffectProgramsTest, BatchesAndThePlainMachineGiveTheSameItems) {
    ChainThree();
    BuiltItems batched = Run();
    EXPECT_NEAR(double(batched.items.size()), 7500, 5 * 43.3);  // three in four, five deviations
    programs.plainOnly = true;
    ExpectEqual(batched, Run());
}

TEST_F(EffectProgramsTest, AnyNumberOfThreadsGivesTheSameItems) {
    ChainThree();
    BuiltItems one = Run();
    for (int threads : {2, 3, 8, 16}) {
        input.threads = threads;
        ExpectEqual(one, Run());
    }
}

TEST_F(EffectProgramsTest, DrawsFollowTheItemsOwn) {
    // The generator stands right behind the item's own draws.
    Add("dpItem.tintMult = randomReal(0, 1);");
    TDravinItem item = Run().items[11];
    TNuRandom generator;
    RedrawItemRandoms(input.transforms, TransformRanges(input.transforms), generator, item);
    EXPECT_EQ(item.tintBlend, generator.Random());
}

// --- stores beside the attributes

TEST_F(EffectProgramsTest, AParameterThatAProgramChangesStartsAgainForEveryItem) {
    TEffectNames names;
    names.names.declare_variable("size", tavuvm_expr::type_code::real, 2.0f);
    auto c = names.names.compile("size = size + 1; dpItem.tintMult = size;");
    ASSERT_TRUE(c.code) << c.error;
    programs.programs.emplace_back(c.code, names.names.initial_values(), names.itemSlot);
    for (bool plain : {false, true}) {
        programs.plainOnly = plain;
        for (const TDravinItem& item : Run().items) ASSERT_EQ(item.tintBlend, 3);
    }
}

TEST_F(EffectProgramsTest, AnIndexBeyondAVariableChangesNoReadOnlyAttribute) {
    // The slots of "dpItem" stand behind those of the two constants.
    const size_t distXPixel = 2 + 11, tintMult = 2 + 21, time = 2 + 44;
    for (size_t slot : {distXPixel, tintMult, time})
        Add("pi[" + std::to_string(slot) + "] = 5; pi[" + std::to_string(slot) + "]++;");
    for (bool plain : {false, true}) {
        programs.plainOnly = plain;
        BuiltItems built = Run();
        EXPECT_EQ(built.items[3].hash[0], 3u);
        for (const TDravinItem& item : built.items) ASSERT_EQ(item.tintBlend, 6);
    }
}

TEST_F(EffectProgramsTest, AStoredValueOfAnotherKindIsConverted) {
    // A real in the place of the position reads as the zero vector, one in that of an integer is
    // truncated.
    Add("pi[2] = 5;");
    Add("pi[8] = 0.5;");
    EXPECT_TRUE(Run().items.empty());  // slot 8: visible
    programs.programs.pop_back();
    for (bool plain : {false, true}) {
        programs.plainOnly = plain;
        for (const TDravinItem& item : Run().items) ASSERT_EQ(item.position, Point3());
    }
}

// A probability curve without shape draws nothing, so the item's own draws are fewer.
TEST_F(EffectProgramsTest, DrawsFollowTheItemsOwnWhereACurveIsEmpty) {
    TCurveSampler empty;
    input.transforms.applyRotation = true;
    input.transforms.rotCurve = &empty;
    Add("dpItem.tintMult = randomReal(0, 1);");
    TDravinItem item = Run().items[11];
    TNuRandom generator;
    RedrawItemRandoms(input.transforms, TransformRanges(input.transforms), generator, item);
    EXPECT_EQ(item.tintBlend, generator.Random());
}

// --- host functions

TEST_F(EffectProgramsTest, SurfacesAreHitFromProgramsToo) {
    Add("dpItem.tintMult = dpSurfaceHitZ([1, 2, 50]) + dpSurfaceHit([100, 0, 0]);"
        "dpItem.tintColor = dpSurfaceHitNormal(dpItem.position);");
    TDravinItem item = Run().items[0];
    EXPECT_EQ(item.tintBlend, 0);
    EXPECT_EQ(item.tintColor, (Color{0, 0, 1}));
}

TEST_F(EffectProgramsTest, RandomGeometriesFollowTheProbabilities) {
    input.specimens = {CubeSpecimen(0), CubeSpecimen(100)};
    Add("dpItem.tintMult = dpRandomGeom();");
    for (const TDravinItem& item : Run().items) ASSERT_EQ(item.tintBlend, 1);
}

TEST_F(EffectProgramsTest, CurvesAndMapsAnswerByTheirParameter) {
    const CurvePoint points[] = {{.px = 0, .py = 0}, {.px = 4, .py = 8}};
    ConstantMap map({0.25f, 0.5f, 0.75f, 1});
    programs.curves.push_back(std::make_unique<BezierCurve>(points));
    programs.textures = {nullptr, &map};
    TEffectNames names;
    using tavuvm_expr::type_code;
    names.names.declare_variable("shape", type_code::curve, 0);
    names.names.declare_variable("missing", type_code::texmap, 0);
    names.names.declare_variable("paint", type_code::texmap, 1);
    auto c = names.names.compile(
        "dpItem.tintMult = evaluateCurve(shape, 2);"
        "dpItem.tintColor = evaluateTexture(paint, dpItem.position);"
        "dpItem.position = evaluateTexture(missing, [0, 0, 0]);");
    ASSERT_TRUE(c.code) << c.error;
    programs.programs.emplace_back(c.code, names.names.initial_values(), names.itemSlot);
    TDravinItem item = Run().items[0];
    // A falloff would clamp x to 1; the curve of a parameter goes on to its own end.
    EXPECT_EQ(item.tintBlend, 4);
    EXPECT_EQ(item.tintColor, (Color{0.25f, 0.5f, 0.75f}));
    EXPECT_EQ(item.position, Point3());
}

}  // namespace
