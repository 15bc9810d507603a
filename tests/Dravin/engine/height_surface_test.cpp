// A height field as a surface against the mesh that it stands for: everything is equal to the bit,
// because both do the same arithmetic on the same triangles.
#include <cmath>

#include <gtest/gtest.h>

#include "Dravin/engine/item_fields.h"
#include "tests/Dravin/engine/test_input.h"
#include "tests/host/geom/random_heights.h"

namespace {

struct Pair {
    std::shared_ptr<const HeightField> heights;
    std::shared_ptr<const Mesh> mesh;
    TSurfXYArray field, triangles;
    std::shared_ptr<const TSurfUVArray> fieldUv, trianglesUv;

    explicit Pair(HeightField h)
        : heights(std::make_shared<HeightField>(std::move(h))),
          mesh(std::make_shared<Mesh>(heights->MakeMesh())),
          field(heights),
          triangles(mesh),
          fieldUv(TSurfUVArray::Make(heights, 1)),
          trianglesUv(TSurfUVArray::Make(mesh, 1)) {}
};

const std::vector<Pair>& Pairs() {
    static const std::vector<Pair> pairs = [] {
        std::vector<Pair> made;
        for (double holes : {0.0, 0.08}) {
            made.emplace_back(RandomHeights(2, 2, {3, 4}, 0, 1));
            made.emplace_back(RandomHeights(38, 21, {1000, 0.7f}, holes, 2));
            made.emplace_back(RandomHeights(101, 150, {10, 15}, holes, 3));
        }
        return made;
    }();
    return pairs;
}

// Values between samples, on them, just beside them, and beyond the ends. Denormal numbers are
// left out: products underflow in the edge tests of triangles, which then miss.
template <class At>
std::vector<float> Places(size_t count, const At& at) {
    std::vector<float> places{at(0) - 1, at(count - 1) + 1, NAN, INFINITY};
    for (size_t i = 0; i < count; ++i) {
        places.push_back(at(i));
        places.push_back(std::nextafter(at(i), -1e9f));
        places.push_back(std::nextafter(at(i), 1e9f));
        if (i + 1 < count) places.push_back(at(i) + (at(i + 1) - at(i)) * 0.37f);
    }
    std::erase_if(places, [](float x) { return std::fpclassify(x) == FP_SUBNORMAL; });
    return places;
}

void ExpectSame(const TSurfHit& a, const TSurfHit& b) {
    ASSERT_EQ(a.face, b.face);
    ASSERT_EQ(a.point, b.point);
    ASSERT_EQ(a.normal, b.normal);
    ASSERT_EQ(a.bary1, b.bary1);
    ASSERT_EQ(a.bary2, b.bary2);
}

// All fields of all items, as numbers.
std::vector<float> Numbers(const TBuildInput& input) {
    BuiltItems built = Build(input);
    EXPECT_EQ(built.result, TBuildStatus::kSuccess);
    std::vector<float> numbers;
    for (const TDravinItem& item : built.items)
        for (const ItemField& field : ItemFields()) {
            std::vector<float> floats(size_t(field.NumValues()));
            std::vector<int32_t> ints(floats.size());
            if (field.getFloats) field.getFloats(item, floats.data());
            if (field.getInts) field.getInts(item, ints.data());
            numbers.insert(numbers.end(), floats.begin(), floats.end());
            numbers.insert(numbers.end(), ints.begin(), ints.end());
        }
    return numbers;
}

const Matrix3 kPlacement =
    Matrix3::Scaling({1, 2, 3}) * Matrix3::RotationZ(0.4f) * Matrix3::Translation({3, -2, 1});

// A build on `surface`, whose items read mapping channel 1 and obey rules of altitude and slope.
TBuildInput InputOn(const std::shared_ptr<const TSurfXYArray>& surface) {
    TBuildInput input;
    input.grid.imageWidth = input.grid.imageHeight = 10;
    input.density = WhiteMap(10, 10);
    input.grid.unitsX = input.grid.unitsY = 1.7f;
    input.specimens = {CubeSpecimen()};
    input.surfaces.emplace_back(surface, kPlacement);
    input.surfaceBounds += surface->BoundsMoved(kPlacement);
    input.displayLimit = 1 << 30;
    input.altitude = {true, -6, 7, nullptr, nullptr};
    input.slope = {true, 0.1f, 1.5f, nullptr, nullptr};
    input.channels.channel[kTintMap] = 1;
    input.transforms.applyRotation = true;
    return input;
}

}  // namespace

TEST(HeightSurface, HitsAreThoseOfTheTriangles) {
    for (const Pair& pair : Pairs()) {
        const HeightField& h = *pair.heights;
        size_t hits = 0;
        for (float y : Places(h.NumRows(), [&](size_t j) { return h.Y(j); }))
            for (float x : Places(h.NumColumns(), [&](size_t i) { return h.X(i); })) {
                TSurfHit a, b;
                bool hit = pair.field.CellHit(x, y, &a);
                ASSERT_EQ(hit, pair.triangles.CellHit(x, y, &b)) << x << " " << y;
                if (!hit) continue;
                ++hits;
                ExpectSame(a, b);
                ASSERT_EQ(pair.field.Uvw(1, a), pair.triangles.Uvw(1, b));
                ASSERT_EQ(pair.field.Uvw(2, a), Point3{});
            }
        EXPECT_GT(hits, 9u * (h.NumColumns() - 1) * (h.NumRows() - 1) / 2);
    }
}

TEST(HeightSurface, MappingHitsAreThoseOfTheTriangles) {
    for (const Pair& pair : Pairs()) {
        const HeightField& h = *pair.heights;
        for (float v : Places(h.NumRows(), [&](size_t j) { return h.V(j); }))
            for (float u : Places(h.NumColumns(), [&](size_t i) { return h.U(i); })) {
                std::vector<TUvHit> a, b;
                pair.fieldUv->ForEachHit(u, v, [&](const TUvHit& hit) { a.push_back(hit); });
                pair.trianglesUv->ForEachHit(u, v, [&](const TUvHit& hit) { b.push_back(hit); });
                ASSERT_EQ(a.size(), b.size()) << u << " " << v;
                if (a.empty()) continue;
                ASSERT_EQ(a[0].face, b[0].face);
                ASSERT_EQ(a[0].barycentric, b[0].barycentric);
                ASSERT_EQ(a[0].point, b[0].point);
                ASSERT_EQ(a[0].normal, b[0].normal);
                ASSERT_EQ(a[0].dPdu, b[0].dPdu);
                ASSERT_EQ(a[0].dPdv, b[0].dPdv);
                ASSERT_EQ(pair.fieldUv->Uvw(1, a[0]), pair.trianglesUv->Uvw(1, b[0]));
            }
        EXPECT_EQ(pair.fieldUv->TextureBounds(), pair.trianglesUv->TextureBounds());
        EXPECT_EQ(pair.fieldUv->UnitsPerTextureUnit(kPlacement),
                  pair.trianglesUv->UnitsPerTextureUnit(kPlacement));
    }
    EXPECT_FALSE(TSurfUVArray::Make(Pairs()[0].heights, 2));
}

TEST(HeightSurface, BoundsAndOutlineAreThoseOfTheTriangles) {
    for (const Pair& pair : Pairs()) {
        EXPECT_EQ(pair.field.Bounds(), pair.triangles.Bounds());
        EXPECT_EQ(pair.field.GridBounds(), pair.triangles.GridBounds());
        EXPECT_EQ(pair.field.BoundsMoved(kPlacement), pair.triangles.BoundsMoved(kPlacement));
        EXPECT_EQ(pair.field.Outline(), pair.triangles.Outline());
        EXPECT_EQ(pair.field.MaterialId(0), pair.triangles.MaterialId(0));
        EXPECT_EQ(pair.field.IsReversed(0), pair.triangles.IsReversed(0));
    }
}

TEST(HeightSurface, SteepestFacesAreLeftOutAlike) {
    // The slope between these two overflows single precision; such a face cannot be hit.
    Pair pair(HeightField(2, 2, {1e-3f, 1}, std::vector<float>{3e38f, -3e38f, 0, 0}));
    for (float x : {-4e-4f, -1e-4f, 3e-4f})
        for (float y : {-0.4f, 0.1f, 0.4f}) {
            TSurfHit a, b;
            EXPECT_EQ(pair.field.CellHit(x, y, &a), pair.triangles.CellHit(x, y, &b));
        }
}

TEST(HeightSurface, ItemsAreThoseOnTheMesh) {
    const Pair& pair = Pairs()[5];  // 10 x 15 units with holes
    for (int mode : {kSurfaceXY, kSurfaceUV}) {
        TBuildInput onField = InputOn(std::make_shared<TSurfXYArray>(pair.heights));
        TBuildInput onMesh = InputOn(std::make_shared<TSurfXYArray>(pair.mesh));
        onField.surfaces[0].uv = pair.fieldUv;
        onMesh.surfaces[0].uv = pair.trianglesUv;
        for (TBuildInput* input : {&onField, &onMesh}) {
            input->surfaceMode = mode;
            input->transforms.scatterUv = mode == kSurfaceUV;
        }
        std::vector<float> numbers = Numbers(onField);
        EXPECT_GT(numbers.size(), 1000u);
        EXPECT_EQ(numbers, Numbers(onMesh));
    }
}

TEST(HeightSurface, ReferenceFacesAreThoseOfTheMesh) {
    const Pair& pair = Pairs()[4];
    TBuildInput onField, onMesh;
    for (TBuildInput* input : {&onField, &onMesh}) {
        input->specimens = {CubeSpecimen()};
        input->distributionMode = kDistReference;
        input->points.reference.onFaces = input->points.reference.hasNodes = true;
        input->displayLimit = 300;  // every n-th face
    }
    onField.points.reference.meshes = {{nullptr, kPlacement, pair.heights}};
    onMesh.points.reference.meshes = {{pair.mesh, kPlacement, nullptr}};
    std::vector<float> numbers = Numbers(onField);
    EXPECT_GT(numbers.size(), 1000u);
    EXPECT_EQ(numbers, Numbers(onMesh));
}
