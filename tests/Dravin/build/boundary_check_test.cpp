#include <gtest/gtest.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/dravin_instances.h"
#include "Dravin/engine/build_input.h"
#include "host/geom/mesh_tools.h"
#include "host/scene/instance_source.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

// Items on a 20 x 20 ground, one a unit; each shows two unit boxes, 1.5 to the left and 1.5 to the
// right of its place. The object's area hides what stands beyond the border of the ground.
class BoundaryCheckBuild : public ScatterFixture {
protected:
    void SetUp() override {
        ScatterFixture::SetUp();
        Mesh pair = TransformedMesh(MakeBox(1, 1, 1), Matrix3::Translation({-1.5f, 0, 0}));
        AppendMesh(pair, TransformedMesh(MakeBox(1, 1, 1), Matrix3::Translation({1.5f, 0, 0})));
        static_cast<TriObject*>(box->GetObjectRef())->SetMesh(std::make_shared<Mesh>(pair));
        AddArea(*object, kSurfaceArea, nullptr, false);
        object->Block(kAreaParams).Append(areaParams::kArboundchecklist);
        object->Block(kAreaParams).SetValue(areaParams::kArboundchecklist, 0, 2, 0);
    }
    size_t ItemAt(float x, float y) const {
        const TDravinItemList& items = object->Build().Items();
        for (size_t i = 0; i < items.Count(); ++i)
            if (items.Position(i) == Point3{x, y, 0}) return i;
        ADD_FAILURE() << "no item at " << x << ", " << y;
        return 0;
    }
    static constexpr int kSurfaceArea = 3;
};

TEST_F(BoundaryCheckBuild, MasksNameThePartsBeyondTheBorder) {
    Run();
    // The sphere around an item has a radius of 2; parts are numbered by their first face.
    TDravinItem left = object->Build().Items().Item(ItemAt(-9, 0));
    EXPECT_EQ(left.partial, 1);
    ASSERT_EQ(left.elementMask.NumBits(), 2);
    EXPECT_TRUE(left.elementMask.Test(0));
    EXPECT_FALSE(left.elementMask.Test(1));
    TDravinItem right = object->Build().Items().Item(ItemAt(9, 0));
    EXPECT_FALSE(right.elementMask.Test(0));
    EXPECT_TRUE(right.elementMask.Test(1));
    TDravinItem inside = object->Build().Items().Item(ItemAt(8, 0));
    EXPECT_EQ(inside.partial, 0);
    EXPECT_TRUE(inside.elementMask.IsEmpty());
}

TEST_F(BoundaryCheckBuild, CutMeshesAreWeighed) {
    // Two sets of hidden parts: each leaves a box of 12 faces.
    const TDravinBuild& build = Run();
    EXPECT_EQ(build.MakeInstanceSource()->Refusal(), "");
    TDravinInstances none(*object, build, {}, 0);
    EXPECT_NE(none.Refusal().find("scatter: the cut meshes of items across borders"),
              std::string::npos);
    EXPECT_EQ(none.NumPrototypes(), 1u);
    // The least that 12 faces can be is their corners' numbers and places.
    TDravinInstances one(*object, build, {}, 2 * 12 * (sizeof(Face) + 3 * sizeof(Point3)) - 1);
    EXPECT_LT(one.NumPrototypes(), 3u);
    EXPECT_NE(one.Refusal().find("--no-limit"), std::string::npos);
}

TEST_F(BoundaryCheckBuild, InstancesLackTheHiddenParts) {
    Run();
    std::unique_ptr<IInstanceSource> source = object->Build().MakeInstanceSource();
    std::vector<InstanceRecord> records(source->NumInstances());
    source->GetInstances(0, records);
    ASSERT_EQ(records.size(), 400u);
    auto boxOf = [&](float x, float y) {
        const InstanceRecord& record = records[ItemAt(x, y)];
        return record.transform.BoxTransform(
            source->PrototypeMesh(record.prototype)->BoundingBox());
    };
    EXPECT_NEAR(boxOf(-9, 0).min.x, -8, 1e-4);  // the right box only: -8 to -7
    EXPECT_NEAR(boxOf(-9, 0).max.x, -7, 1e-4);
    EXPECT_NEAR(boxOf(9, 0).min.x, 7, 1e-4);
    EXPECT_NEAR(boxOf(9, 0).max.x, 8, 1e-4);
    EXPECT_NEAR(boxOf(0, 0).Width().x, 4, 1e-4);
    EXPECT_NEAR(boxOf(0, -9).Width().x, 4, 1e-4);  // across a border with all its parts inside
    EXPECT_EQ(source->GetDetails(ItemAt(-9, 0)).hiddenElements.size(), 2u);
    EXPECT_NE(source->GetDetails(ItemAt(-9, 0)).hiddenElements,
              source->GetDetails(ItemAt(9, 0)).hiddenElements);
    EXPECT_TRUE(source->GetDetails(ItemAt(0, 0)).hiddenElements.empty());
    // The whole source, and one without each of its parts.
    EXPECT_EQ(source->NumPrototypes(), 3u);
    for (const InstanceRecord& record : records) {
        size_t faces = source->PrototypeMesh(record.prototype)->NumFaces();
        EXPECT_EQ(faces, record.prototype == 0 ? 24u : 12u);
    }
}

TEST_F(BoundaryCheckBuild, WithoutTheCheckPartsAreNotLookedAt) {
    object->Block(kAreaParams).SetValue(areaParams::kArboundchecklist, 0, 0, 0);
    Run();
    EXPECT_TRUE(object->Build().Input()->specimens[0].elements[0].partCentroids.empty());
    EXPECT_EQ(object->Build().MakeInstanceSource()->NumPrototypes(), 1u);
}

}  // namespace
