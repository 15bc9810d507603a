// The object mesh over items and settings of a test's own.
#include "Dravin/mesh/object_mesh.h"

#include <set>

#include "Dravin/dravin_globals.h"
#include "Dravin/engine/transforms.h"
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

// Reversed faces, and an image on the plane that runs the other way.
TEST_F(ObjectMesh, MirroredItemsAndTheirPlanesAreTurned) {
    Mesh source = *static_cast<TriObject*>(box->GetObjectRef())->GetMesh();
    for (uint8_t mirrored : {0, 1}) {
        ChangeItem(0, [&](TDravinItem& item) {
            item.mirrored = mirrored;
            item.verticalShadow = 1, item.horizontalShadow = 0;
        });
        TObjectMesh mesh;
        ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
        const Mesh& made = mesh.GetMesh();
        for (size_t f = 0; f < 12; ++f) {
            Triple v = source.faces[f].v;
            EXPECT_EQ(made.faces[f].v, mirrored ? (Triple{v[1], v[0], v[2]}) : v);
        }
        const std::vector<Triple>& map = made.Map(1)->faces;
        EXPECT_EQ(map[12], mirrored ? (Triple{3, 2, 1}) : (Triple{2, 3, 0}));
        EXPECT_EQ(map[13], mirrored ? (Triple{1, 0, 3}) : (Triple{0, 1, 2}));
    }
}

// Colours stand once a source; items of sources without any have zero corners.
TEST_F(ObjectMesh, VertexColoursStandOnceASource) {
    auto painted = [&](const std::string& name, const std::vector<Point3>& colours) {
        Mesh mesh = MakeBox(1, 1, 1, 1);
        MapChannel& channel = mesh.MakeMap(0);
        channel.verts = colours;
        channel.faces.assign(mesh.faces.size(), {0, 1, 1});
        return AddMesh(name, mesh);
    };
    AddRow(painted("red", {{1, 0, 0}, {0.5f, 0, 0}}));
    AddRow(painted("blue", {{0, 0, 1}, {0, 0, 0.5f}, {0, 0, 0}}));
    TBuildFlags flags;
    flags.noMesh = true;
    Run(flags);
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    const MapChannel* colours = mesh.GetMesh().Map(0);
    ASSERT_TRUE(colours);
    EXPECT_EQ(colours->verts,
              (std::vector<Point3>{{1, 0, 0}, {0.5f, 0, 0}, {0, 0, 1}, {0, 0, 0.5f}, {0, 0, 0}}));
    std::set<int> rows;
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); ++f) {
        TDravinItem item = Items().Item(size_t(mesh.FaceOwners()[f]));
        uint32_t first = item.specimenIndex == 2 ? 2 : 0, second = first + 1;
        Triple turned =
            item.mirrored ? Triple{second, first, second} : Triple{first, second, second};
        EXPECT_EQ(colours->faces[f], item.specimenIndex == 0 ? Triple{} : turned);
        rows.insert(item.specimenIndex);
    }
    EXPECT_EQ(rows.size(), 3u);
}

// Map vertices that no face names are no mapping.
TEST_F(ObjectMesh, ChannelsWithoutFacesAreNone) {
    Mesh mesh = MakeBox(1, 1, 1, 1);
    mesh.MakeMap(3).verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};
    mesh.MakeMap(0).verts = {{1, 1, 1}};
    auto source = AddMesh("unmapped", mesh);
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(source), 0);
    TBuildFlags flags;
    flags.noMesh = true;
    Run(flags);
    TObjectMesh made;
    ASSERT_EQ(Make(made), TMeshOutcome::kDone);
    EXPECT_EQ(made.GetMesh().Map(0), nullptr);
    EXPECT_EQ(Validate(made.GetMesh()), "");
    EXPECT_EQ(made.GetMesh().NumFaces(), 12 * Items().Count());
    // Beside a source that has the channel.
    MapChannel& map = mesh.MakeMap(3);
    map.faces.assign(mesh.faces.size(), {0, 1, 2});
    AddRow(AddMesh("mapped", mesh));
    Run(flags);
    ASSERT_EQ(Make(made), TMeshOutcome::kDone);
    EXPECT_EQ(Validate(made.GetMesh()), "");
    EXPECT_EQ(made.GetMesh().Map(3)->verts.size(), 4u + 3u);
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

namespace {

Point3 AnyUnitVector(uint32_t k) {
    return Normalize(Point3{float(k % 3) - 1, float(k % 5) - 2, 1 + float(k % 7)});
}

// Normals that no smoothing would give, one a corner.
void GiveNormals(Mesh& mesh) {
    for (uint32_t f = 0; f < mesh.faces.size(); ++f) {
        mesh.normals.faces.push_back({3 * f, 3 * f + 1, 3 * f + 2});
        for (uint32_t k = 0; k < 3; ++k) mesh.normals.verts.push_back(AnyUnitVector(3 * f + k));
    }
}

}  // namespace

// Where one source has explicit normals, all faces have: moved with their items as whole meshes
// are, and where a source has none as its smoothing groups make them.
TEST_F(ObjectMesh, HasExplicitNormalsWhereASourceHas) {
    Mesh bent = MakeBox(1, 2, 1, 1);
    GiveNormals(bent);
    AddRow(AddMesh("bent", bent));
    INode* sun = scene.AddNode("sun", std::make_shared<LightObject>());
    sun->SetNodeTM(0, LookAtRotation({3, 4, 5}, {0, 0, 0}));
    Set(kShadowParams, shadowParams::kLight,
        Target(std::static_pointer_cast<INode>(sun->shared_from_this())));
    Set(kShadowParams, shadowParams::kUsefakeshadows, true);
    for (ParamID on : {shadowParams::kVshadow, shadowParams::kCustshadow})
        Set(kShadowParams, on, true);
    TBuildFlags flags;
    flags.noMesh = true;
    Run(flags);
    AddPlanes();
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    const Mesh& whole = mesh.GetMesh();
    EXPECT_EQ(Validate(whole), "");
    ASSERT_FALSE(whole.normals.IsEmpty());
    std::vector<Point3> normals = VertexNormals(whole);
    std::set<std::pair<int, bool>> seen;
    for (size_t i = 0; i < Items().Count(); ++i) {
        TDravinItem item = Items().Item(i);
        const TSpecBuildNode& source = *object->Build().Specimens().NodeOf(item);
        Mesh moved = TransformedMesh(source.sample->UnitMesh(), ItemTransform(item, false));
        std::vector<Point3> expected = VertexNormals(moved);
        size_t first = 3 * size_t(mesh.Ranges()[i].firstFace);
        for (size_t c = 0; c < expected.size(); ++c)
            EXPECT_LT(Length(normals[first + c] - expected[c]), 1e-5f) << i << ' ' << c;
        seen.insert({item.specimenIndex, item.mirrored});
        size_t plane = mesh.Ranges()[i].firstFace + source.sample->UnitMesh().NumFaces();
        for (int left = item.verticalShadow + item.horizontalShadow; left > 0; --left, plane += 2)
            for (size_t c = 0; c < 6; ++c)
                EXPECT_LT(
                    Length(normals[3 * plane + c] - Normalize(whole.FaceNormalUnscaled(plane))),
                    1e-6f);
    }
    EXPECT_EQ(seen.size(), 4u);
    // The next mesh without such sources has none.
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(box), 1);
    Run(flags);
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    EXPECT_TRUE(mesh.GetMesh().normals.IsEmpty());
}

TEST_F(ObjectMesh, WithExplicitNormalsIsTheSameForAnyNumberOfThreads) {
    Mesh bent = MakeBox(1, 2, 1, 1);
    GiveNormals(bent);
    AddRow(AddMesh("bent", bent));
    TBuildFlags flags;
    flags.noMesh = true;
    Run(flags);
    TObjectMesh one;
    ASSERT_EQ(Make(one), TMeshOutcome::kDone);
    for (int threads : {2, 3, 8, 16}) {
        TObjectMeshSettings settings;
        settings.threads = threads;
        TObjectMesh many;
        ASSERT_EQ(Make(many, settings), TMeshOutcome::kDone);
        EXPECT_EQ(many.GetMesh(), one.GetMesh()) << threads;
    }
}

TEST_F(ObjectMesh, IsKeptByWhoeverHoldsIt) {
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    std::shared_ptr<const Mesh> held = mesh.ShareMesh();
    Mesh before = *held;
    ChangeItem(0, [](TDravinItem& item) { item.position.x += 1; });
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    EXPECT_EQ(*held, before);
    EXPECT_NE(mesh.GetMesh(), before);
}

// Where nothing but their places has changed, only selected items are written again.
TEST_F(ObjectMesh, SelectedItemsAloneCanBeMadeAnew) {
    TObjectMesh mesh;
    ASSERT_EQ(Make(mesh), TMeshOutcome::kDone);
    Mesh before = mesh.GetMesh();
    for (size_t i : {3u, 5u})
        ChangeItem(i, [i](TDravinItem& item) {
            item.selected = i == 5;
            item.position.z += 7;
        });
    TObjectMeshSettings settings;
    settings.selectedOnly = true;
    ASSERT_EQ(Make(mesh, settings), TMeshOutcome::kDone);
    for (size_t i = 0; i < Items().Count(); ++i) {
        const TItemRange& range = mesh.Ranges()[i];
        for (size_t v = range.firstVert; v < range.firstVert + 8; ++v) {
            Point3 moved = mesh.GetMesh().verts[v] - before.verts[v];
            EXPECT_NEAR(moved.z, i == 5 ? 7 : 0, 1e-5) << i;
        }
        EXPECT_EQ(mesh.FaceSelection()[range.firstFace], i == 5) << i;
    }
    EXPECT_FLOAT_EQ(mesh.Bounds().max.z, before.BoundingBox().max.z + 7);
    // With another layout all are.
    ChangeItem(0, [](TDravinItem& item) { item.discarded = true; });
    ASSERT_EQ(Make(mesh, settings), TMeshOutcome::kDone);
    TObjectMesh fresh;
    ASSERT_EQ(Make(fresh), TMeshOutcome::kDone);
    EXPECT_EQ(mesh.GetMesh(), fresh.GetMesh());
}
