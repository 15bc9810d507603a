// The object mesh over items and settings of a test's own.
#include "Dravin/mesh/object_mesh.h"

#include "Dravin/dravin_globals.h"
#include "host/geom/mesh_tools.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class ObjectMesh : public ScatterFixture {
protected:
    void SetUp() override {
        ScatterFixture::SetUp();
        Set(kTransformParams, transformParams::kMirror, 1);
        TBuildFlags flags;
        flags.noMesh = true;
        Run(flags);
    }
    TDravinItemList& Items() { return object->Build().Items(); }
    TMeshOutcome Make(TObjectMesh& mesh, const TObjectMeshSettings& settings = {}) {
        return mesh.Build(Items(), object->Build().Specimens(), DravinGlobals().meshes, settings);
    }
    template <class Change>
    void ChangeItem(size_t i, const Change& change) {
        TDravinItem item;
        Items().ReadStored(i, &item);
        change(item);
        Items().Write(i, item);
    }
    void AddPlanes() {
        for (size_t i = 0; i < Items().Count(); ++i)
            ChangeItem(i, [i](TDravinItem& item) {
                item.verticalShadow = i % 2 == 0;
                item.horizontalShadow = i % 3 == 0;
            });
    }
};

}  // namespace

TEST_F(ObjectMesh, IsTheSameForAnyNumberOfThreads) {
    AddPlanes();
    TObjectMesh one;
    ASSERT_EQ(Make(one), TMeshOutcome::kDone);
    EXPECT_EQ(Validate(one.GetMesh()), "");
    for (int threads : {2, 3, 8, 16}) {
        TObjectMeshSettings settings;
        settings.threads = threads;
        TObjectMesh many;
        ASSERT_EQ(Make(many, settings), TMeshOutcome::kDone);
        EXPECT_EQ(many.GetMesh(), one.GetMesh()) << threads;
        EXPECT_EQ(many.FaceOwners(), one.FaceOwners()) << threads;
        EXPECT_EQ(many.Bounds(), one.Bounds()) << threads;
    }
}

TEST_F(ObjectMesh, KeepsNothingOfTheMeshBefore) {
    TObjectMesh again, fresh;
    AddPlanes();
    ASSERT_EQ(Make(again), TMeshOutcome::kDone);
    for (size_t i = 0; i < Items().Count(); ++i)
        ChangeItem(i, [](TDravinItem& item) { item.verticalShadow = item.horizontalShadow = 0; });
    ASSERT_EQ(Make(again), TMeshOutcome::kDone);
    ASSERT_EQ(Make(fresh), TMeshOutcome::kDone);
    EXPECT_EQ(again.GetMesh(), fresh.GetMesh());
    EXPECT_EQ(again.FaceOwners(), fresh.FaceOwners());
}

TEST_F(ObjectMesh, PlanesFollowTheFacesOfTheirItem) {
    ChangeItem(0, [](TDravinItem& item) { item.verticalShadow = item.horizontalShadow = 1; });
    TObjectMeshSettings settings;
    settings.hidesShadowPlanes = true;
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh, settings), TMeshOutcome::kDone);
    EXPECT_EQ(mesh.Ranges()[1].firstFace, 16u);
    EXPECT_EQ(mesh.Ranges()[1].firstVert, 16u);
    for (size_t f = 0; f < 17; ++f) {
        bool isPlane = f >= 12 && f < 16;
        EXPECT_EQ(bool(mesh.GetMesh().faces[f].flags & Face::kHidden), isPlane) << f;
        EXPECT_EQ(mesh.FaceOwners()[f], f < 16 ? 0 : 1) << f;
    }
    EXPECT_EQ(mesh.GetMesh().faces[12].v, (Triple{10, 9, 8}));
    EXPECT_EQ(mesh.GetMesh().faces[15].v, (Triple{12, 15, 14}));
    ASSERT_TRUE(mesh.GetMesh().Map(1));
    EXPECT_EQ(mesh.GetMesh().Map(1)->faces[14], (Triple{0, 3, 2}));
}

TEST_F(ObjectMesh, IsEmptyWhenAllItemsAreDiscarded) {
    for (size_t i = 0; i < Items().Count(); ++i)
        ChangeItem(i, [](TDravinItem& item) { item.discarded = 1; });
    TObjectMesh mesh;
    EXPECT_EQ(Make(mesh), TMeshOutcome::kDone);
    EXPECT_FALSE(mesh.IsBuilt());
    EXPECT_TRUE(mesh.GetMesh().verts.empty());
    EXPECT_EQ(mesh.Statistics().discardedItems, int64_t(Items().Count()));
}

TEST_F(ObjectMesh, SelectionFollowsTheItems) {
    ChangeItem(2, [](TDravinItem& item) { item.selected = 1; });
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    ASSERT_EQ(mesh.FaceSelection().GetSize(), mesh.GetMesh().NumFaces());
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); ++f)
        EXPECT_EQ(mesh.FaceSelection()[f], mesh.FaceOwners()[f] == 2);
}

TEST_F(ObjectMesh, HiddenPartsOfItemsAreHiddenFaces) {
    Mesh two = MakeBox(1, 1, 1, 1);
    AppendMesh(two, TransformedMesh(two, Matrix3::Translation({5, 0, 0})));
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(AddMesh("two", two)), 0);
    TBuildFlags flags;
    flags.noMesh = true;
    Run(flags);
    BitArray second(2);
    second.Set(1);
    ChangeItem(1, [&](TDravinItem& item) {
        item.partial = 1;
        item.elementMask = TBitArray(second);
    });
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); ++f)
        EXPECT_EQ(bool(mesh.GetMesh().faces[f].flags & Face::kHidden), f >= 36 && f < 48) << f;
}

TEST_F(ObjectMesh, LimitsRefuseTheMeasuredTotal) {
    AddPlanes();
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    TObjectMeshSettings settings;
    settings.maxFaces = mesh.GetMesh().NumFaces();
    EXPECT_EQ(Make(mesh, settings), TMeshOutcome::kDone);
    --settings.maxFaces;
    EXPECT_EQ(Make(mesh, settings), TMeshOutcome::kTooManyFaces);
    EXPECT_EQ(mesh.Statistics().facesBeyond, settings.maxFaces + 1);
    EXPECT_TRUE(mesh.GetMesh().faces.empty());
    settings = {};
    settings.maxBytes = 1000;
    EXPECT_EQ(Make(mesh, settings), TMeshOutcome::kTooMuchMemory);
}

// Of a 20 x 20 ground the boxes reach half their size beyond the outermost positions.
TEST_F(ObjectMesh, BoundsAreThoseOfTheVertices) {
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    Box3 expected;
    for (size_t i = 0; i < Items().Count(); ++i) expected += Items().Item(i).bounds;
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(mesh.Bounds().min[k], expected.min[k], 1e-4);
        EXPECT_NEAR(mesh.Bounds().max[k], expected.max[k], 1e-4);
    }
}
