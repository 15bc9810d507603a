#include "Dravin/tools/lister.h"

#include <gmock/gmock.h>

#include "Dravin/geometry/area_texts.h"
#include "tests/Dravin/build/scatter_fixture.h"

using testing::ElementsAre;

namespace {

class Lister : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();

    template <class T>
    void Set(DravinBlockId block, ParamID id, const T& value, int index = 0) {
        object->Block(block).SetValue(id, 0, value, index);
    }
    void AddArea(int type, bool active) {
        IParamBlock2& areas = object->Block(kAreaParams);
        areas.Append(areaParams::kArnamelist, std::string("area"));
        int row = areas.Count(areaParams::kArnamelist) - 1;
        areas.SetCount(areaParams::kArtypelist, row + 1);
        areas.SetCount(areaParams::kPfAractivelist, row + 1);
        Set(kAreaParams, areaParams::kArtypelist, type, row);
        Set(kAreaParams, areaParams::kPfAractivelist, int(active), row);
    }
    void AddSurface() {
        auto ground = INode::Create("ground", std::make_shared<TriObject>());
        scene.AddNode(ground);
        ParamValue target = std::shared_ptr<ReferenceTarget>(ground);
        object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, target);
    }
};

}  // namespace

TEST_F(Lister, AnEmptyObject) {
    EXPECT_THAT(ListerRow(*object),
                ElementsAre("0 models", "", "", "Generate", "No camera", "No surfaces",
                            "No Transform", "No Effects", "Static", "Adaptative"));
}

TEST_F(Lister, EveryColumnSpeaks) {
    object->Block(kGeomParams).Append(geomParams::kNamelist, std::string("oak"));
    AddArea(kAreaSpline, true);
    AddArea(kAreaSurface, false);  // is off: not counted
    auto camera = INode::Create("Cam 1", std::make_shared<CameraObject>());
    scene.AddNode(camera);
    Set(kCamParams, camParams::kCamera, std::shared_ptr<ReferenceTarget>(camera));
    AddSurface();
    AddSurface();
    Set(kAnimParams, animParams::kAnimation, 3);
    Set(kDispParams, dispParams::kVmesh, 3);
    object->Block(kEffectParams).SetCount(effectParams::kEfenablelist, 2);
    Set(kEffectParams, effectParams::kEfenablelist, 0, 0);
    Set(kEffectParams, effectParams::kEfenablelist, 1, 1);
    Set(kTransformParams, transformParams::kApplytranslation, 1);
    Set(kTransformParams, transformParams::kApplyscale, 1);
    EXPECT_THAT(ListerRow(*object),
                ElementsAre("1 model", "1 area", "", "Generate", "Cam 1", "2 XY Surf",
                            "TS Transform", "Effects On", "Rand.map", "Points-cloud"));
}

TEST_F(Lister, SurfacesInTextureSpaceHaveNoAreas) {
    AddArea(kAreaSpline, true);
    AddSurface();
    Set(kSurfaceParams, surfaceParams::kSurfmode, 1);
    TListerRow row = ListerRow(*object);
    EXPECT_EQ(row[1], "");
    EXPECT_EQ(row[5], "1 UV Surf");
}

TEST_F(Lister, CustomEditHasNeitherAreasNorSurfaces) {
    AddArea(kAreaSpline, true);
    Set(kEditionParams, editionParams::kMode, 1);
    TListerRow row = ListerRow(*object);
    EXPECT_EQ(row[1] + "|" + row[3] + "|" + row[5], "|Custom Edit|");
}

TEST(ListerItems, CountsAreShort) {
    EXPECT_EQ(ListerItems(0), "");
    EXPECT_EQ(ListerItems(1), "1 item");
    EXPECT_EQ(ListerItems(2), "2 items");
    EXPECT_EQ(ListerItems(999), "999 items");
    EXPECT_EQ(ListerItems(1000), "1000 items");
    EXPECT_EQ(ListerItems(1500), "1.5K items");
    EXPECT_EQ(ListerItems(2500000), "2.5M items");
}

TEST_F(ScatterFixture, ItemsOfTheLastBuildAreListed) {
    EXPECT_EQ(ListerRow(*object)[2], "");
    object->Build().BuildMesh(0, {});
    EXPECT_EQ(ListerRow(*object)[2], "400 items");  // 20 x 20 cells of one unit
}
