// Animations of glTF files: what nodes, morph targets and joints do to the mesh over time.
#include <cmath>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "host/base/log.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

using testing::HasSubstr;

namespace {

// A file with one triangle under a node that the channels move.
struct AnimatedFile {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");

    std::string File(const std::string& samplers, const std::string& channels,
                     const std::string& nodes = R"([{"name":"n","mesh":0}])",
                     const std::string& more = "") const {
        return file.File(fmt::format(
            R"("nodes":{},"scenes":[{{"nodes":[0]}}],"meshes":[{{"primitives":[{{"attributes":
            {{"POSITION":{}}}}}]}}],"animations":[{{"name":"walk","samplers":[{}],"channels":[{}]}}]{})",
            nodes, positions, samplers, channels, more));
    }
    JoinedModel Import(const std::string& text, const std::string& object = "") const {
        ImportError error;
        folder.Write("a.gltf", text);
        JoinedModel model = ImportJoined(folder.File("a.gltf"), object, {}, &error);
        EXPECT_TRUE(model.mesh) << error.text;
        return model;
    }
    TempFolder folder;
};

std::vector<Point3> At(const JoinedModel& model, TimeValue t, Interval* valid = nullptr) {
    Interval ignored = Interval::Forever();
    return model.animation->MeshAt(t, valid ? valid : &ignored)->verts;
}

}  // namespace

TEST(GltfAnimations, NodesMoveAlongTheirKeys) {
    AnimatedFile a;
    int times = a.file.Floats({1, 2}, "SCALAR");
    int places = a.file.Floats({0, 0, 0, 0, 4, 0}, "VEC3");
    JoinedModel model =
        a.Import(a.File(fmt::format(R"({{"input":{},"output":{}}})", times, places),
                        R"({"sampler":0,"target":{"node":0,"path":"translation"}})"));
    ASSERT_TRUE(model.animation);
    // y of the file is up here; the pose of the file itself is that of its nodes.
    EXPECT_EQ(model.mesh->verts, (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}));
    ExpectNear(At(model, 7200), {{0, 0, 2}, {1, 0, 2}, {0, 0, 3}}, 1e-6f);
    Interval valid = Interval::Forever();
    EXPECT_EQ(At(model, 100, &valid), model.mesh->verts);
    EXPECT_EQ(valid, (Interval{kTimeNegInfinity, 4800}));
    valid = Interval::Forever();
    ExpectNear(At(model, 99999, &valid), {{0, 0, 4}, {1, 0, 4}, {0, 0, 5}}, 1e-6f);
    EXPECT_EQ(valid, (Interval{9600, kTimePosInfinity}));
}

TEST(GltfAnimations, ParentsTurnTheirChildrenAndScaleThem) {
    AnimatedFile a;
    int times = a.file.Floats({0, 1}, "SCALAR");
    float h = std::sqrt(0.5f);
    int turns = a.file.Floats({0, 0, 0, 1, 0, h, 0, h}, "VEC4");  // a quarter about y
    int sizes = a.file.Floats({1, 1, 1, 3, 3, 3}, "VEC3");
    JoinedModel model =
        a.Import(a.File(fmt::format(R"({{"input":{},"output":{}}},{{"input":{},"output":{},
               "interpolation":"STEP"}})",
                                    times, turns, times, sizes),
                        R"({"sampler":0,"target":{"node":0,"path":"rotation"}},
                  {"sampler":1,"target":{"node":0,"path":"scale"}})",
                        R"([{"children":[1]},{"name":"n","mesh":0}])"));
    // x of the file goes to -z, which is y here; the scale steps at the end.
    ExpectNear(At(model, 2400), {{0, 0, 0}, {h, h, 0}, {0, 0, 1}}, 1e-6f);
    ExpectNear(At(model, 4800), {{0, 0, 0}, {0, 3, 0}, {0, 0, 3}}, 1e-5f);
}

// Tangents of 3 a second at both ends of one second, from 0 to 1: at the middle the curve stands at
// 1/2 + (3 - 3) / 8; with an end tangent of -1 at 1/2 + (3 + 1) / 8.
TEST(GltfAnimations, CubicSplinesFollowTheirTangents) {
    AnimatedFile a;
    int times = a.file.Floats({0, 1}, "SCALAR");
    int values = a.file.Floats({0, 0, 0, 0, 0, 0, 0, 3, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0}, "VEC3");
    JoinedModel model = a.Import(a.File(
        fmt::format(R"({{"input":{},"output":{},"interpolation":"CUBICSPLINE"}})", times, values),
        R"({"sampler":0,"target":{"node":0,"path":"translation"}})"));
    EXPECT_NEAR(At(model, 2400)[0].z, 1, 1e-6);
}

TEST(GltfAnimations, MorphWeightsAndJointsMoveVertices) {
    AnimatedFile a;
    int up = a.file.Floats({0, 0, 0, 0, 0, 0, 0, 4, 0}, "VEC3");
    int times = a.file.Floats({0, 1}, "SCALAR"), weights = a.file.Floats({0, 1}, "SCALAR");
    std::string text = a.file.File(fmt::format(
        R"("nodes":[{{"mesh":0}}],"meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}}},
        "targets":[{{"POSITION":{}}}]}}]}}],"animations":[{{"samplers":[{{"input":{},"output":{}}}],
        "channels":[{{"sampler":0,"target":{{"node":0,"path":"weights"}}}}]}}])",
        a.positions, up, times, weights));
    ExpectNear(At(a.Import(text), 2400), {{0, 0, 0}, {1, 0, 0}, {0, 0, 3}}, 1e-6f);

    AnimatedFile b;
    int joints = b.file.Shorts({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "VEC4");
    int all = b.file.Floats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4");
    int when = b.file.Floats({0, 1}, "SCALAR"), where = b.file.Floats({0, 0, 0, 6, 0, 0}, "VEC3");
    text = b.file.File(fmt::format(
        R"("nodes":[{{"mesh":0,"skin":0}},{{}}],"scenes":[{{"nodes":[0,1]}}],"skins":[{{"joints":[1]}}],
        "meshes":[{{"primitives":[{{"attributes":{{"POSITION":{},"JOINTS_0":{},"WEIGHTS_0":{}}}}}]}}],
        "animations":[{{"samplers":[{{"input":{},"output":{}}}],
        "channels":[{{"sampler":0,"target":{{"node":1,"path":"translation"}}}}]}}])",
        b.positions, joints, all, when, where));
    ExpectNear(At(b.Import(text), 2400), {{3, 0, 0}, {4, 0, 0}, {3, 0, 1}}, 1e-6f);
}

TEST(GltfAnimations, APoseBeyondNumbersIsTheOneAtRest) {
    AnimatedFile a;
    int times = a.file.Floats({0, 1}, "SCALAR");
    int sizes = a.file.Floats({1, 1, 1, 3e38f, 3e38f, 3e38f}, "VEC3");
    int turns = a.file.Floats({0, 0, 0, 1, 0, 0, 1, 1}, "VEC4");
    // A node of the first size in one that turns: sums of products overflow.
    JoinedModel model =
        a.Import(a.File(fmt::format(R"({{"input":{0},"output":{1}}},{{"input":{0},"output":{2}}})",
                                    times, sizes, turns),
                        R"({"sampler":0,"target":{"node":0,"path":"scale"}},
                  {"sampler":0,"target":{"node":1,"path":"scale"}},
                  {"sampler":1,"target":{"node":1,"path":"rotation"}})",
                        R"([{"children":[1]},{"name":"n","mesh":0}])"));
    std::vector<std::string> warnings;
    LogSink before =
        SetLogSink([&](LogKind, const std::string& text) { warnings.push_back(text); });
    EXPECT_EQ(At(model, 4800), model.mesh->verts);
    EXPECT_EQ(At(model, 4799), model.mesh->verts);
    SetLogSink(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_THAT(warnings[0], HasSubstr("a.gltf: at tick 4800 a coordinate is not a finite number"));
}

TEST(GltfAnimations, BadOnesAreRefusedByName) {
    AnimatedFile a;
    int times = a.file.Floats({1, 0}, "SCALAR"), rising = a.file.Floats({0, 1}, "SCALAR");
    int places = a.file.Floats({0, 0, 0, 0, 4, 0}, "VEC3"), one = a.file.Floats({0, 0, 0}, "VEC3");
    auto error = [&](const std::string& sampler, const std::string& target) {
        a.folder.Write("a.gltf", a.File(sampler, target));
        ImportError failure;
        EXPECT_FALSE(ImportJoined(a.folder.File("a.gltf"), "", {}, &failure).mesh);
        return failure.text;
    };
    auto sampler = [](int in, int out) {
        return fmt::format(R"({{"input":{},"output":{}}})", in, out);
    };
    const std::string move = R"({"sampler":0,"target":{"node":0,"path":"translation"}})";
    EXPECT_THAT(error(sampler(times, places), move),
                HasSubstr("animation \"walk\", channel 0: key times must rise"));
    EXPECT_THAT(error(sampler(rising, one), move), HasSubstr("3 values for 2 keys"));
    EXPECT_THAT(
        error(sampler(rising, places), R"({"sampler":7,"target":{"node":0,"path":"translation"}})"),
        HasSubstr("sampler 7 of 1"));
    EXPECT_THAT(
        error(sampler(rising, places), R"({"sampler":0,"target":{"node":9,"path":"translation"}})"),
        HasSubstr("node 9 of 1"));
    EXPECT_FALSE(error(sampler(rising, 99), move).empty());
}
