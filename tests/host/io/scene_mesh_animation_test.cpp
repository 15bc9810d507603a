// The animation of a mesh's file in scene descriptions.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/scene_testing.h"

using testing::HasSubstr;

namespace {

// A triangle with two animations: up to z = 4 and aside to x = 6 within a second.
std::string TwoAnimations() {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3"), times = file.Floats({0, 1}, "SCALAR");
    int up = file.Floats({0, 0, 0, 0, 4, 0}, "VEC3"),
        side = file.Floats({0, 0, 0, 6, 0, 0}, "VEC3");
    return file.File(fmt::format(
        R"("nodes":[{{"name":"n","mesh":0}}],"scenes":[{{"nodes":[0]}}],"meshes":[{{"primitives":[{{
        "attributes":{{"POSITION":{0}}}}}]}}],"animations":[
        {{"name":"jump","samplers":[{{"input":{1},"output":{2}}}],
          "channels":[{{"sampler":0,"target":{{"node":0,"path":"translation"}}}}]}},
        {{"name":"slide","samplers":[{{"input":{1},"output":{3}}}],
          "channels":[{{"sampler":0,"target":{{"node":0,"path":"translation"}}}}]}}])",
        positions, times, up, side));
}

class MeshAnimation : public testing::Test {
protected:
    MeshAnimation() { m_folder.Write("a.gltf", TwoAnimations()); }
    SceneReadResult Read(const std::string& keys) const {
        return ParseScene(fmt::format(R"({{"dravin_scene": 1, "nodes": [
            {{"name": "first", "type": "mesh", "file": "a.gltf"}},
            {{"name": "n", "type": "mesh", "file": "a.gltf"{}}}]}})",
                                      keys),
                          HostFormats(), m_folder.Path());
    }
    static Point3 First(const Scene& scene, const char* node = "n") {
        return scene.FindNode(node)->GetObjectRef()->GetRenderMesh(4800)->verts[0];
    }
    TemporaryFolder m_folder;
};

}  // namespace

// Each node has its own, though both show one file.
TEST_F(MeshAnimation, IsChosenByName) {
    SceneReadResult read = Read(R"(, "animation": "slide")");
    ASSERT_TRUE(read) << read.error;
    EXPECT_EQ(First(*read.scene), (Point3{6, 0, 0}));
    EXPECT_EQ(First(*read.scene, "first"), (Point3{0, 0, 4}));
    read = Read(R"(, "animation": "none")");
    EXPECT_EQ(First(*read.scene), (Point3{0, 0, 0}));
    EXPECT_EQ(read.scene->FindNode("n")->GetObjectRef()->ObjectValidity(100), Interval::Forever());
}

TEST_F(MeshAnimation, IsWritten) {
    SceneReadResult read = Read(R"(, "animation": "slide")");
    ASSERT_TRUE(read) << read.error;
    std::string text = WriteSceneDescription(*read.scene, m_folder.Path(), HostFormats());
    EXPECT_THAT(text, HasSubstr(R"("animation": "slide")"));
    SceneReadResult again = ParseScene(text, HostFormats(), m_folder.Path());
    ASSERT_TRUE(again) << again.error;
    EXPECT_EQ(First(*again.scene), (Point3{6, 0, 0}));
}

TEST_F(MeshAnimation, UnknownNamesAreErrors) {
    SceneReadResult read = Read(R"(, "animation": "slied")");
    EXPECT_FALSE(read);
    EXPECT_THAT(read.error, HasSubstr("/nodes/1"));
    EXPECT_THAT(read.error, HasSubstr("no animation \"slied\", did you mean \"slide\"?"));
}
