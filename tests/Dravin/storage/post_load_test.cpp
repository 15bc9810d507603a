// Objects of older files are brought up to date, and stay as they are the second time.
#include "tests/Dravin/storage/object_file.h"

#include "Dravin/geometry/area_texts.h"
#include "host/io/scene_loaders.h"

namespace {

class PostLoad : public ObjectFile {
protected:
    // The object of a file of this version; without one it has no version at all.
    TDravin* LoadVersion(int version) {
        std::string chunks;
        if (version > 0) AppendChunk(chunks, kVersionChunk, int32_t(version));
        return Load(SaveWith(chunks));
    }
    void Put(DravinBlockId block, ParamID id, ParamValue value) {
        object->Block(block).SetElements(id, {{std::move(value), {}}});
    }
    std::shared_ptr<ReferenceTarget> Spline(const char* name) {
        return scene.AddNode(name, std::make_shared<ShapeObject>())->shared_from_this();
    }
};

}  // namespace

TEST_F(PostLoad, OldProbabilitiesBecomeReals) {
    IParamBlock2& block = object->Block(kGeomParams);
    block.Append(geomParams::kOldProblist, int32_t{30});
    block.Append(geomParams::kOldProblist, int32_t{70});
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    const IParamBlock2& read = again->Block(kGeomParams);
    ASSERT_EQ(read.Count(geomParams::kProblist), 2);
    EXPECT_EQ(read.GetFloat(geomParams::kProblist, 0, 0), 30);
    EXPECT_EQ(read.GetFloat(geomParams::kProblist, 0, 1), 70);
}

TEST_F(PostLoad, TheOneSurfaceJoinsTheList) {
    INode* ground = scene.AddNode("ground", std::make_shared<DummyObject>());
    object->SetReference(kSlotLegacySurface, ground->shared_from_this());
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->GetReference(kSlotLegacySurface), nullptr);
    ASSERT_EQ(again->Block(kSurfaceParams).Count(surfaceParams::kSurflist), 1);
    EXPECT_EQ(again->Block(kSurfaceParams).GetNode(surfaceParams::kSurflist),
              Loaded().FindNode("ground"));
}

TEST_F(PostLoad, OddNumbersOfTheMapAreMended) {
    Put(kDistParams, distParams::kReserved1, int32_t{0});
    Put(kDistParams, distParams::kDistmapchan, int32_t{3});
    Put(kDistParams, distParams::kPixelsX, int32_t{0});
    Put(kDistParams, distParams::kPixelsY, int32_t{9});
    Put(kDistParams, distParams::kReserved17, std::string("map.png"));
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    const IParamBlock2& map = again->Block(kDistParams);
    EXPECT_EQ(map.GetInt(distParams::kDistmapchan), 0);
    EXPECT_TRUE(map.GetBool(distParams::kReserved1));
    EXPECT_EQ(map.GetInt(distParams::kPixelsX), 1);
    EXPECT_EQ(map.GetInt(distParams::kPixelsY), 0);
    EXPECT_EQ(map.GetString(distParams::kMapname), "map.png");
    EXPECT_EQ(map.GetString(distParams::kReserved17), "");
}

TEST_F(PostLoad, ChannelsOfNewFilesStay) {
    Put(kDistParams, distParams::kReserved1, int32_t{1});
    Put(kDistParams, distParams::kDistmapchan, int32_t{3});
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Block(kDistParams).GetInt(distParams::kDistmapchan), 3);
}

TEST_F(PostLoad, TheOldDirectionIsUp) {
    Put(kSurfaceParams, surfaceParams::kReserved7, int32_t{1});
    Put(kSurfaceParams, surfaceParams::kDirection, int32_t{50});
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Block(kSurfaceParams).GetInt(surfaceParams::kDirection), 0);
    EXPECT_FALSE(again->Block(kSurfaceParams).GetBool(surfaceParams::kReserved7));
}

TEST_F(PostLoad, OldSplinesBecomeAreas) {
    Put(kAreaParams, areaParams::kReserved12, Spline("in"));
    Put(kAreaParams, areaParams::kReserved13, Spline("out"));
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    const IParamBlock2& areas = again->Block(kAreaParams);
    ASSERT_EQ(areas.Count(areaParams::kArnamelist), 3);  // the row of surfaces is the last
    EXPECT_EQ(areas.GetNode(areaParams::kArnodelist, 0, 0), Loaded().FindNode("in"));
    EXPECT_EQ(areas.GetInt(areaParams::kArincexclist, 0, 0), 0);
    EXPECT_EQ(areas.GetNode(areaParams::kArnodelist, 0, 1), Loaded().FindNode("out"));
    EXPECT_EQ(areas.GetInt(areaParams::kArincexclist, 0, 1), 1);
    EXPECT_EQ(areas.GetInt(areaParams::kArtypelist, 0, 2), kAreaSurface);
    EXPECT_FALSE(areas.GetBool(areaParams::kPfAractivelist, 0, 2));
    EXPECT_EQ(areas.GetNode(areaParams::kReserved12), nullptr);
    EXPECT_EQ(areas.Count(areaParams::kArobscalelist), 3);
    EXPECT_EQ(areas.GetFloat(areaParams::kArobscalelist, 0, 1), 100);
}

TEST_F(PostLoad, AnOldFollowingSplineHasItsWidth) {
    Put(kAreaParams, areaParams::kReserved14, Spline("way"));
    Put(kAreaParams, areaParams::kReserved15, 4.0f);
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    const IParamBlock2& areas = again->Block(kAreaParams);
    ASSERT_EQ(areas.Count(areaParams::kArnamelist), 2);
    EXPECT_EQ(areas.GetFloat(areaParams::kArwidthlist, 0, 0), 4);
}

TEST_F(PostLoad, AnExcludingSplineAloneLeavesTheSurfacesOn) {
    Put(kAreaParams, areaParams::kReserved13, Spline("out"));
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->Block(kAreaParams).GetBool(areaParams::kPfAractivelist, 0, 1));
}

TEST_F(PostLoad, NoOldSplineNoAreas) {
    TDravin* again = LoadVersion(0);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Block(kAreaParams).Count(areaParams::kArnamelist), 0);
}

TEST_F(PostLoad, ListsOfAreasAreCompleted) {
    IParamBlock2& areas = object->Block(kAreaParams);
    areas.Append(areaParams::kArnamelist, std::string("a"));
    areas.Append(areaParams::kArnamelist, std::string("b"));
    areas.Append(areaParams::kArobscalelist, 50.0f);
    Put(kAreaParams, areaParams::kReserved19, int32_t{2});
    TDravin* again = LoadVersion(600);
    ASSERT_TRUE(again);
    const IParamBlock2& read = again->Block(kAreaParams);
    ASSERT_EQ(read.Count(areaParams::kArboundchecklist), 2);
    EXPECT_EQ(read.GetInt(areaParams::kArboundchecklist, 0, 1), 2);
    EXPECT_EQ(read.GetFloat(areaParams::kArobscalelist, 0, 0), 50);
    EXPECT_EQ(read.GetFloat(areaParams::kArobscalelist, 0, 1), 100);
}

TEST_F(PostLoad, RulesOfAVersionActBelowItOnly) {
    Put(kTransformParams, transformParams::kTransxmin, int32_t{-5});
    Put(kTransformParams, transformParams::kTransymin, int32_t{7});
    object->Block(kAreaParams).Append(areaParams::kArflafdenslist, 60.0f);
    Put(kDispParams, dispParams::kGeomtexid, int32_t{2});
    TDravin* old = LoadVersion(419);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->Block(kTransformParams).GetInt(transformParams::kTransxmin), 5);
    EXPECT_EQ(old->Block(kTransformParams).GetInt(transformParams::kTransymin), -7);
    ASSERT_EQ(old->Block(kAreaParams).Count(areaParams::kArflafscalist), 1);
    EXPECT_EQ(old->Block(kAreaParams).GetFloat(areaParams::kArflafscalist), 60);
    EXPECT_EQ(old->fileState.displayState, 2);
    EXPECT_EQ(old->fileState.originVersion, 419);
    TDravin* later = LoadVersion(501);
    ASSERT_TRUE(later);
    EXPECT_EQ(later->Block(kTransformParams).GetInt(transformParams::kTransxmin), -5);
    EXPECT_EQ(later->Block(kAreaParams).Count(areaParams::kArflafscalist), 0);
    EXPECT_EQ(later->fileState.displayState, 0);
    EXPECT_EQ(LoadVersion(700)->Block(kTransformParams).GetInt(transformParams::kTransxmin), -5);
}

TEST_F(PostLoad, ASecondTimeChangesNothing) {
    Put(kAreaParams, areaParams::kReserved12, Spline("in"));
    Put(kTransformParams, transformParams::kTransxmin, int32_t{-5});
    ASSERT_TRUE(LoadVersion(300));
    std::string bytes = Save(Loaded());
    TDravin* again = Load(bytes);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Block(kTransformParams).GetInt(transformParams::kTransxmin), 5);
    EXPECT_EQ(again->fileState.originVersion, 300);
    EXPECT_EQ(Save(Loaded()), bytes);
}
