// Scenes whose materials and nodes hang together in long chains, doubled and in rings.
#include <gmock/gmock.h>

#include <fmt/format.h>

#include "host/io/scene_description.h"
#include "tests/host/io/scene_testing.h"

using testing::HasSubstr;

namespace {

SceneReadResult Read(const std::string& text) { return ParseScene(text); }

// Multi-materials m0, m1, ... in a chain, each naming the next one `times` times; the last is
// plain.
std::string MaterialChain(int length, int times) {
    std::string text = R"({"dravin_scene": 1, "materials": {)";
    for (int i = 0; i < length; ++i) {
        std::string subs;
        for (int k = 0; k < times; ++k) subs += fmt::format("{}\"m{}\"", k ? ", " : "", i + 1);
        text += fmt::format(R"("m{}": {{"type": "multi", "sub": [{}]}}, )", i, subs);
    }
    return text + fmt::format(R"("m{}": {{"type": "standard"}}}}}})", length);
}

std::string ParentChain(int length) {
    std::string text = R"({"dravin_scene": 1, "nodes": [{"name": "n0", "type": "dummy"})";
    for (int i = 1; i < length; ++i)
        text += fmt::format(
            R"(, {{"name": "n{}", "type": "dummy", "parent": "n{}", "position": [1, 0, 0]}})", i,
            i - 1);
    return text + "]}";
}

}  // namespace

TEST(SceneGraphs, LongChainsOfMaterialsAreALimit) {
    SceneReadResult result = Read(MaterialChain(100000, 1));
    EXPECT_FALSE(result);
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kLimit);
    EXPECT_THAT(result.error, HasSubstr("materials stand inside each other, at most 64 may"));
}

TEST(SceneGraphs, AsManyMaterialsAsMayStandInsideEachOther) {
    EXPECT_TRUE(Read(MaterialChain(kMaxMtlNesting, 1)));
    EXPECT_EQ(Read(MaterialChain(kMaxMtlNesting + 1, 1)).errorClass, DescriptionErrorClass::kLimit);
}

// 2^60 ways lead to the last material.
TEST(SceneGraphs, MaterialsThatDoubleAreSeenOnce) {
    SceneReadResult result = Read(MaterialChain(60, 2));
    ASSERT_TRUE(result) << result.error;
    const Mtl* first = result.scene->Materials().at("m0").get();
    EXPECT_EQ(MtlOfFace(first, 7), result.scene->Materials().at("m60").get());
}

TEST(SceneGraphs, RingsOfMaterialsAreErrors) {
    SceneReadResult result = Read(R"({"dravin_scene": 1, "materials": {
        "a": {"type": "multi", "sub": ["b", "b"]}, "b": {"type": "multi", "sub": ["c"]},
        "c": {"type": "multi", "sub": [null, "a"]}}})");
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kMalformed);
    EXPECT_THAT(result.error, HasSubstr("the material \"a\" holds itself"));
    EXPECT_THAT(Read(R"({"dravin_scene": 1, "materials": {
        "a": {"type": "multi", "sub": ["a"]}}})")
                    .error,
                HasSubstr("holds itself"));
}

// An error elsewhere, when a chain already stands, must not end in the chain's destructors.
TEST(SceneGraphs, AnErrorBesideALongChainIsToldToo) {
    std::string text = MaterialChain(100000, 1);
    text.insert(text.size() - 2, R"(, "z": {"type": "multi", "sub": ["nobody"]})");
    EXPECT_THAT(Read(text).error, HasSubstr("no material is named \"nobody\""));
}

TEST(SceneGraphs, LongChainsOfParentsAreALimit) {
    SceneReadResult result = Read(ParentChain(26000));
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kLimit);
    EXPECT_THAT(result.error, HasSubstr("more than 1024 nodes stand above each other"));
}

TEST(SceneGraphs, AsManyParentsAsMayStandAboveEachOther) {
    SceneReadResult result = Read(ParentChain(kMaxNodeDepth));
    ASSERT_TRUE(result) << result.error;
    const INode* last = result.scene->FindNode(fmt::format("n{}", kMaxNodeDepth - 1));
    EXPECT_EQ(last->GetNodeTM(0).GetTrans(), (Point3{kMaxNodeDepth - 1.0f, 0, 0}));
}

// Each camera turns the node that the other one looks at.
TEST(SceneGraphs, TargetsThatTurnEachOtherEnd) {
    SceneReadResult result = Read(R"({"dravin_scene": 1, "nodes": [
        {"name": "a", "type": "camera", "target": "ta"},
        {"name": "b", "type": "camera", "target": "tb", "position": [10, 0, 0]},
        {"name": "ta", "type": "dummy", "parent": "b", "position": [0, 0, -1]},
        {"name": "tb", "type": "dummy", "parent": "a", "position": [0, 0, -1]}]})");
    ASSERT_TRUE(result) << result.error;
    Matrix3 m = result.scene->FindNode("a")->GetNodeTM(0);
    for (const Point3& row : m.row) EXPECT_TRUE(IsFinite(row));
}

TEST(SceneGraphs, UnknownRenderersAreErrors) {
    auto render = [](const std::string& name) {
        return Read(R"({"dravin_scene": 1, "render": {"renderer": ")" + name + "\"}}");
    };
    EXPECT_TRUE(render("raytrace"));
    EXPECT_THAT(render("raytracer").error, HasSubstr("did you mean \"raytrace\"?"));
    EXPECT_EQ(render("foo").errorClass, DescriptionErrorClass::kMalformed);
}
