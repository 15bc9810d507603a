#include "Dravin/engine/transforms.h"

#include "Dravin/engine/item_steps.h"
#include "Dravin/engine/item_writer.h"
#include "Dravin/engine/lane_draws.h"

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

// One item through the steps that size, move and finish it.
struct Stage {
    TTransformSettings s;
    TSpecimen specimen = CubeSpecimen();
    TItemArea area;
    bool hasSurfaces = false;
    float cameraScale = 1;
    Point3 falloffScale{1, 1, 1};
    TItemOverrides* overrides = nullptr;
    TDravinItem item;  // as it comes to them

    TDravinItem Run() {
        TBuildInput input = hasSurfaces ? GroundInput() : TBuildInput();
        input.transforms = s;
        TItemLanes lanes(1, kAllGroups, true);
        auto cells = std::make_unique<TCells>();
        Load(lanes, *cells);
        TLaneDraws draws(s, true);
        draws.Draw({&lanes.seed[0], 1});
        draws.Fill(lanes);
        TCellRules rules;
        rules.area = area;
        SizeAndMove(input, area, lanes);
        FinishItems(input, rules, lanes);
        return Record(lanes, *cells);
    }
    TSpecimenElement& Element() { return specimen.elements[0]; }

private:
    void Load(TItemLanes& lanes, TCells& cells) const {
        lanes.count = cells.count = 1;
        lanes.Reset(0, specimen);
        for (int i = 0; i < 4; ++i) cells.hash[i][0] = item.hash[i];
        lanes.seed[0] = CellSeed(item.hash);
        lanes.overrides[0] = overrides;
        lanes.position.Set(0, item.position);
        lanes.storedPosition.Set(0, item.position);
        lanes.normal.Set(0, item.normal);
        lanes.reference.Set(0, item.sourceTransform.row[0]);
        lanes.sizeFactor.Set(0, item.sizeFactor);
        lanes.externalScale.Set(0, item.externalScale);
        lanes.falloffScale.Set(0, falloffScale);
        lanes.cameraScale[0] = cameraScale;
        lanes.borders[0] = item;
        lanes.mapCoordinates[0] = item.mapCoordinates;
        for (size_t map = 0; map < kNumItemMaps; ++map) lanes.uvws[map][0] = item.mapUvws[map];
    }
    TDravinItem Record(const TItemLanes& lanes, const TCells& cells) const {
        TDravinItemList list;
        TDravinItemList::Appender appender = nullptr;
        const uint32_t kept[] = {0};
        AppendLanes(lanes, cells, kept, list, appender);
        TDravinItem result = list.Item(0);
        TNuRandom generator;
        RedrawItemRandoms(s, TransformRanges(s, overrides), generator, result);
        CompletePlacement(s, specimen.elements[0], result);
        return result;
    }
};

TEST(ItemSeed, HashesTheFourCellCoordinates) {
    // Column 3 of tile -1, row 4 of tile -1, worked out by hand in 32 bits:
    // NOT((-804803 + 4) * 311) = 250292488, (-150001 + 3) * 3413 = -511943174, their exclusive or.
    const uint32_t hash[4] = {3, 0xFFFFFFFFu, 4, 0xFFFFFFFFu};
    EXPECT_EQ(CellSeed(hash), 250292488u ^ uint32_t(-511943174));
    EXPECT_EQ(CellSeed(hash), 4019680498u);
}

TEST(ItemRandoms, AreDrawnInTheirFixedOrder) {
    TTransformSettings s;
    s.applyRotation = true;
    s.rotMinDegrees = {0, 0, 0}, s.rotMaxDegrees = {90, 90, 90};
    s.animSamples = 4;
    TTransformRanges ranges = TransformRanges(s);
    TDravinItem item;
    TNuRandom generator, check(123456 + 77);
    item.seed = 77;
    RedrawItemRandoms(s, ranges, generator, item);

    for (float expected : {item.randomA.x, item.randomA.y, item.randomA.z, item.randomB.x,
                           item.randomB.y, item.randomB.z, item.randomTranslation.x,
                           item.randomTranslation.y, item.randomTranslation.z})
        EXPECT_EQ(expected, check.Random());
    EXPECT_EQ(item.randomScale.x, float(check.IRandom(80, 120)) * 0.01f);
    EXPECT_EQ(item.randomScale.z, float(check.IRandom(100, 100)) * 0.01f);
    EXPECT_EQ(item.randomInteger, check.IRandom(0, 32767));
    for (float expected : {item.random1, item.random2, item.random3})
        EXPECT_EQ(expected, check.Random());
    float right = 90 * 0.017453292f;
    EXPECT_EQ(item.rotation.z, check.Random() * right);
    EXPECT_EQ(item.rotation.x, check.Random() * right);
    EXPECT_EQ(item.rotation.y, check.Random() * right);
    EXPECT_EQ(item.randomSample, check.IRandom(0, 3));
    EXPECT_EQ(item.randomScale.y, float(check.IRandom(80, 120)) * 0.01f);
    EXPECT_EQ(item.random4, check.Random());
    EXPECT_EQ(item.random5, check.Random());
}

TEST(ItemRandoms, ProbabilityCurvesShapeXAndZButNeverY) {
    const float weights[4] = {0, 0, 0, 100};  // always the last quarter: t = 3/4
    TCurveSampler sampler{std::span<const float>(weights)};
    TTransformSettings s;
    s.scaCurve = s.rotCurve = &sampler;
    s.applyRotation = true;
    s.rotMaxDegrees = {80, 80, 80};
    for (int i : {0, 1, 2}) s.scaleMin[i] = 100, s.scaleMax[i] = 200;
    TTransformRanges ranges = TransformRanges(s);
    TDravinItem item;
    TNuRandom generator;
    bool yVaries = false;
    for (uint32_t seed = 0; seed < 20; ++seed) {
        item.seed = seed;
        RedrawItemRandoms(s, ranges, generator, item);
        EXPECT_FLOAT_EQ(item.randomScale.x, 1.75f);
        EXPECT_FLOAT_EQ(item.randomScale.z, 1.75f);
        EXPECT_FLOAT_EQ(item.rotation.x, 60 * 0.017453292f);
        yVaries |= item.randomScale.y != 1.75f;
    }
    EXPECT_TRUE(yVaries);
}

TEST(Transforms, NoAnimationSamplesGiveTheLeastIntegerAndNoOffset) {
    Stage stage;
    stage.s.animation = kAnimRandom;
    stage.s.animSamples = 0;
    TDravinItem item = stage.Run();
    EXPECT_EQ(item.randomSample, INT32_MIN);
    EXPECT_EQ(item.animationOffset, 0);
}

TEST(Transforms, MapDrivenSamplesRoundAndStayInRange) {
    ConstantMap white({1, 1, 1, 1}), grey({0.5f, 0.5f, 0.5f, 1});
    Stage stage;
    stage.s.animation = kAnimFrameMap;
    stage.s.animSamples = 6;
    stage.s.aniMap = &white;
    stage.specimen.frames.resize(6);
    EXPECT_EQ(stage.Run().animationOffset, 5);
    stage.s.aniMap = &grey;
    EXPECT_EQ(stage.Run().animationOffset, 3);  // round(2.5), half away from zero
    stage.specimen.frames.resize(3);
    EXPECT_EQ(stage.Run().animationOffset, 0);  // 3 is past the specimen's samples
}

TEST(Transforms, ReversedScaleLimitsAreSorted) {
    TTransformSettings s, sorted;
    s.scaleMin[0] = 120, s.scaleMax[0] = 80;
    TTransformRanges a = TransformRanges(s), b = TransformRanges(sorted);
    EXPECT_EQ(a.scaleMin[0], 80);
    EXPECT_EQ(a.scaleMax[0], b.scaleMax[0]);
}

TEST(Transforms, LockedScaleFollowsX) {
    Stage stage;
    stage.s.applyScale = true;
    stage.s.scaleMin[2] = 10, stage.s.scaleMax[2] = 500;
    TDravinItem item = stage.Run();
    EXPECT_EQ(item.scale.y, item.randomScale.x);
    EXPECT_EQ(item.scale.z, item.randomScale.x);
    stage.s.scaleLock = kScaleXy;
    item = stage.Run();
    EXPECT_EQ(item.scale.y, item.randomScale.x);
    EXPECT_EQ(item.scale.z, item.randomScale.z);
}

TEST(Transforms, YTranslationIsAPercentageOfTheWidth) {
    Stage stage;
    stage.s.applyTranslation = true;
    for (int i : {0, 1, 2}) stage.s.transMin[i] = stage.s.transMax[i] = 50;
    stage.Element().meshSize = {4, 10, 6};
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.position.x, 2);
    EXPECT_FLOAT_EQ(item.position.y, 2);
    EXPECT_FLOAT_EQ(item.zOffset, 3);
    EXPECT_FLOAT_EQ(item.position.z, 3);  // along the normal
}

TEST(Transforms, TheSameCellGivesTheSameItem) {
    Stage a, b;
    a.s.applyRotation = b.s.applyRotation = true;
    a.s.rotMaxDegrees = b.s.rotMaxDegrees = {10, 20, 359};
    a.item.hash[0] = b.item.hash[0] = 17;
    EXPECT_EQ(a.Run().transform, b.Run().transform);
    b.item.hash[0] = 18;
    EXPECT_NE(a.Run().transform, b.Run().transform);
}

TEST(Transforms, GlobalSizeLeavesASpecimenWithoutHeightAlone) {
    Stage stage;
    stage.s.globalSize = true;
    stage.s.globalWidth = 8, stage.s.globalHeight = 9;
    stage.Element().meshSize = {2, 4, 0};
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.sizeFactor.x, 4);
    EXPECT_FLOAT_EQ(item.sizeFactor.y, 2);
    EXPECT_FLOAT_EQ(item.sizeFactor.z, 1);
    EXPECT_FLOAT_EQ(item.width, 8);
}

TEST(Transforms, ManualSizesIgnoreTheRowsScale) {
    Stage stage;
    stage.Element().useMeshDimensions = false;
    stage.Element().width = 3, stage.Element().height = 5;
    stage.Element().scalePercent = 400;
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.width, 3);
    EXPECT_FLOAT_EQ(item.depth, 3);
    EXPECT_FLOAT_EQ(item.height, 5);
}

TEST(Transforms, TheFartherSideOfThePivotMakesTheRadius) {
    Stage stage;
    stage.Element().meshSize = {2, 3, 4};
    stage.Element().meshAspect = 1.5f;
    stage.Element().centerPercent = 30;
    stage.Element().radiusPercent = 50;
    stage.s.radiusPercent = 200;
    stage.s.collisionHeightPercent = 25;
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.outerRadius, 3 * 1.5f * 0.7f);
    EXPECT_FLOAT_EQ(item.boundaryRadius, item.outerRadius * 0.5f);
    EXPECT_FLOAT_EQ(item.collisionRadius, item.boundaryRadius * 2);
    EXPECT_FLOAT_EQ(item.collisionHeight, 1);
}

TEST(Transforms, MirroredItemsHaveANegativeXScale) {
    Stage stage;
    stage.s.mirror = true;
    bool seen[2] = {false, false};
    for (uint32_t cell = 0; cell < 16; ++cell) {
        stage.item.hash[0] = cell;
        TDravinItem item = stage.Run();
        EXPECT_EQ(item.mirrored, item.randomInteger & 1);
        EXPECT_EQ(item.fullTransform.Determinant() < 0, item.mirrored != 0);
        seen[item.mirrored] = true;
    }
    EXPECT_TRUE(seen[0] && seen[1]);
}

TEST(Transforms, ThePivotShiftsTheItemAlongItsOwnX) {
    Stage stage;
    stage.Element().meshSize = {4, 4, 4};
    stage.Element().centerPercent = 50;
    EXPECT_EQ(stage.Run().fullTransform.GetTrans(), (Point3{0, 0, 0}));
    stage.Element().centerPercent = 0;
    EXPECT_FLOAT_EQ(stage.Run().fullTransform.GetTrans().x, 2);
}

TEST(Transforms, ItemsOnSlopesGrowToKeepTheirFootprint) {
    TDravinItem item;
    item.width = item.depth = item.height = 1;
    item.transform = MakeFrame({1, 0, 0}, Normalize(Point3{1, 0, 1}));
    Matrix3 plain = ItemTransform(item, false), grown = ItemTransform(item, true);
    EXPECT_FLOAT_EQ(Length(grown.row[0]), Length(plain.row[0]) * std::sqrt(2.0f));
    EXPECT_FLOAT_EQ(Length(grown.row[2]), 1);
}

TEST(Transforms, ZRotationActsFirstOnLocalCoordinates) {
    Stage stage;
    stage.s.applyRotation = true;
    stage.s.rotMinDegrees = stage.s.rotMaxDegrees = {90, 0, 90};
    TDravinItem item = stage.Run();
    // Local x turns to y about Z, then to z about X.
    Point3 x = item.transform.VectorTransform({1, 0, 0});
    EXPECT_NEAR(x.z, 1, 1e-6);
}

TEST(Transforms, MapsDriveTheRangesOfTheirAxes) {
    CoordinateMap map;
    Stage stage;
    stage.s.applyScale = true;
    stage.s.scaleLock = kScaleFree;
    for (int i : {0, 1, 2}) stage.s.scaleMin[i] = 100, stage.s.scaleMax[i] = 300;
    stage.s.scaMap = {&map, {true, true, false}, true, false};
    stage.item.mapUvws[kScaMap] = {0.25f, 1, 0.5f};
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.scale.x, 1.5f);
    EXPECT_FLOAT_EQ(item.scale.y, 3);
    EXPECT_FLOAT_EQ(item.scale.z, item.randomScale.z);

    stage.s.scaMap.scalesRandom = true;
    item = stage.Run();
    EXPECT_FLOAT_EQ(item.scale.x, item.randomScale.x * 0.25f + 0.75f);

    stage.s.applyRotation = true;
    stage.s.rotMinDegrees = {0, 0, 0}, stage.s.rotMaxDegrees = {0, 0, 180};
    stage.s.rotMap = {&map, {false, false, true}, false, false};
    stage.item.mapUvws[kRotMap] = {0.5f, 0.5f, 0.5f};
    EXPECT_NEAR(stage.Run().transform.row[0].y, 1, 1e-6);  // half of 180 degrees
}

TEST(Transforms, ATranslationMapScalesOrReplacesTheDraw) {
    ConstantMap half({0.5f, 0.5f, 0.5f, 1});
    Stage stage;
    stage.s.applyTranslation = true;
    stage.s.transMin[0] = -100, stage.s.transMax[0] = 300;
    stage.s.transMap = {&half, {true, false, false}, false, false};
    EXPECT_FLOAT_EQ(stage.Run().position.x, 1);  // half way from -1 to 3
    stage.item.position = {};
    stage.s.transMap.scalesRandom = true;
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.position.x, (-1 + 4 * item.randomTranslation.x) * 0.5f);
}

TEST(Transforms, TintComesFromTheGradientOrTheMap) {
    CoordinateMap map;
    Stage stage;
    stage.s.tintMin = 20, stage.s.tintMax = 80;
    stage.s.tintColor1 = {0, 0, 0}, stage.s.tintColor2 = {1, 0.5f, 0};
    TDravinItem item = stage.Run();
    EXPECT_FLOAT_EQ(item.tintBlend, 0.2f + 0.6f * item.random1);
    EXPECT_FLOAT_EQ(item.tintColor.g, 0.5f * item.random2);

    stage.s.tintFromMap = true;
    stage.s.tintMap = &map;
    item = stage.Run();
    EXPECT_EQ(item.tintColor, (Color{item.random2, item.random3, item.random2}));
    stage.s.tintMapAsTexture = true;
    stage.item.mapCoordinates = {3, 4, 0};
    EXPECT_EQ(stage.Run().tintColor, (Color{3, 4, 0}));
    stage.hasSurfaces = stage.s.tintOnSurface = true;
    stage.item.mapUvws[kTintMap] = {7, 8, 0};
    EXPECT_EQ(stage.Run().tintColor, (Color{7, 8, 0}));
}

TEST(Transforms, TemplatesFaceTheLookAtPointAndCustomObjectsOnlyATarget) {
    Stage stage;
    stage.s.useLookAt = true;
    stage.s.lookAtPosition = {0, 10, 5};
    stage.Element().kind = SpecimenKind::kTemplate;
    TDravinItem item = stage.Run();
    EXPECT_EQ(item.lookAt, (Point2{0, 1}));
    EXPECT_FLOAT_EQ(item.transform.row[0].x, -1);
    stage.Element().kind = SpecimenKind::kCustom;
    EXPECT_FLOAT_EQ(stage.Run().transform.row[0].x, 1);
    stage.s.lookAtHasTarget = true;
    EXPECT_FLOAT_EQ(stage.Run().transform.row[0].x, -1);
}

TEST(Transforms, ShadowSwitchesGoToTemplatesAndChosenCustomObjects) {
    Stage stage;
    stage.s.horizontalShadow = true;
    stage.s.lightDirection = {1, 0};
    EXPECT_EQ(stage.Run().horizontalShadow, 0);
    stage.s.customShadow = true;
    TDravinItem item = stage.Run();
    EXPECT_EQ(item.horizontalShadow, 1);
    EXPECT_EQ(item.verticalShadow, 0);
    EXPECT_EQ(item.shadowDirection, (Point2{1, 0}));
    stage.s.pointLight = true;
    stage.s.lightPosition = {0, -5, 9};
    EXPECT_EQ(stage.Run().shadowDirection, (Point2{0, -1}));
    stage.s.lightPosition = {0, 0, 9};
    EXPECT_EQ(stage.Run().shadowDirection, (Point2{0, 1}));
}

TEST(Transforms, BoundaryChecksDiscardOrMark) {
    Stage stage;
    stage.item.includeDistance = 0.4f;
    stage.area.boundaryCheck = 1;
    EXPECT_EQ(stage.Run().discarded, 1);
    stage.area.boundaryCheck = 2;
    TDravinItem item = stage.Run();
    EXPECT_EQ(item.discarded, 0);
    EXPECT_EQ(item.partial, 1);
    stage.item.includeDistance = 0.6f;
    stage.item.partial = 0;
    EXPECT_EQ(stage.Run().partial, 0);
}

TEST(Transforms, OverridesReplaceTheRangesAndTheTint) {
    TItemOverrides o;
    o.hasTranslation = o.hasScale = o.hasTintBlend = o.hasTintColor = true;
    o.translationMin = o.translationMax = {5, 6, 0};
    o.scaleMin = {199.6f, 100, 100}, o.scaleMax = {199.6f, 100, 100};
    Stage stage;
    stage.overrides = &o;
    stage.s.applyTranslation = stage.s.applyScale = true;
    o.tintBlend = 0.33f;
    o.tintColor = {0.1f, 0.2f, 0.3f};
    TDravinItem item = stage.Run();
    EXPECT_EQ(item.position.x, 5);
    EXPECT_FLOAT_EQ(item.scale.x, 2);
    EXPECT_EQ(item.tintBlend, 0.33f);
    EXPECT_EQ(item.tintColor, (Color{0.1f, 0.2f, 0.3f}));
}

TEST(ItemTransform, ShiftsByAnyPivot) {
    TDravinItem item;
    item.width = item.depth = item.height = 2;
    for (int32_t percent : {0, 50, 100, INT32_MIN, INT32_MAX}) {
        item.centerPercent = percent;
        // Half the width to the right for a pivot on the left, in units of the width.
        float expected = float((50.0 - double(percent)) / 100 * 2);
        EXPECT_FLOAT_EQ(ItemTransform(item, false).GetTrans().x, expected);
    }
}

TEST(MakeFrame, IsOrthonormalEvenAlongTheReference) {
    for (Point3 n : {Point3{0, 0, 1}, Point3{1, 0, 0}, Normalize(Point3{1, 2, 3})}) {
        Matrix3 frame = MakeFrame({1, 0, 0}, n);
        EXPECT_NEAR(frame.Determinant(), 1, 1e-5);
        EXPECT_EQ(frame.row[2], n);
    }
}

// Also of items with an output that is drawn again, which shifts all behind it: there is about one
// in a hundred thousand.
TEST(LaneDraws, GeneratorsStandBehindTheDraws) {
    TTransformSettings s;
    TCurveSampler empty;
    std::vector<uint32_t> seeds(200000);
    for (size_t i = 0; i < seeds.size(); ++i) seeds[i] = uint32_t(i);
    for (const TCurveSampler* curve :
         {static_cast<const TCurveSampler*>(nullptr), static_cast<const TCurveSampler*>(&empty)}) {
        s.rotCurve = curve;
        TLaneDraws draws(s, true);
        TNuRandomLanes lanes;
        draws.Draw(seeds);
        draws.TakeGenerators(lanes);
        ASSERT_EQ(lanes.Count(), seeds.size());
        for (size_t i = 0; i < seeds.size(); ++i) {
            TDravinItem item;
            item.seed = seeds[i];
            TNuRandom generator;
            RedrawItemRandoms(s, TransformRanges(s), generator, item);
            ASSERT_EQ(lanes.Columns().Get(i).Step(), generator.Step()) << i;
        }
    }
}

// Of any of the lanes, and of all of them, as of each alone.
TEST(ChangedItems, AreTurnedAndResizedTogetherAsAlone) {
    TTransformSettings s;
    TSpecimen specimen = CubeSpecimen();
    auto fill = [&](TItemLanes& lanes) {
        TNuRandom random(3);
        auto point = [&] { return Point3{random.Random(), random.Random(), random.Random()}; };
        lanes.count = 300;
        for (size_t k = 0; k < lanes.count; ++k) {
            lanes.Reset(k, specimen);
            lanes.rotation.Set(k, point() * 6);
            lanes.normal.Set(k, Normalize(point()));
            lanes.scale.Set(k, point());
        }
    };
    for (size_t step : {1, 3}) {
        TItemLanes together(300, 0, false), alone(300, 0, false);
        fill(together);
        fill(alone);
        std::vector<uint32_t> items;
        for (uint32_t k = 0; k < 300; k += uint32_t(step)) items.push_back(k);
        TurnItems(together, items);
        ResizeItems(s, together, items);
        for (const uint32_t& k : items) {
            Point3 angle = alone.rotation[k];
            Matrix3 turned = MakeFrame(alone.reference[k], alone.normal[k]);
            turned.PreRotateX(angle.x);
            turned.PreRotateY(angle.y);
            turned.PreRotateZ(angle.z);
            EXPECT_NEAR(together.axisX.x[k], turned.row[0].x, 1e-5) << k;
            EXPECT_NEAR(together.axisY.y[k], turned.row[1].y, 1e-5) << k;
            TurnItems(alone, {&k, 1});
            ResizeItems(s, alone, {&k, 1});
        }
        for (size_t k = 0; k < 300; ++k) {
            ASSERT_EQ(together.axisX[k], alone.axisX[k]);
            ASSERT_EQ(together.axisZ[k], alone.axisZ[k]);
            ASSERT_EQ(together.width[k], alone.width[k]);
            ASSERT_EQ(together.collisionRadius[k], alone.collisionRadius[k]);
        }
    }
}

}  // namespace
