// Modifiers in scene descriptions.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "host/base/log.h"
#include "host/params/clone_map.h"
#include "host/scene/host_context.h"
#include "tests/host/io/point_cache_bytes.h"
#include "tests/host/io/scene_testing.h"
#include "tests/host/scene/test_block.h"

using testing::HasSubstr;

namespace {

// Lifts a mesh by its size; a class of some other module, known by its block alone.
class LiftModifier : public Modifier {
public:
    Reference<IParamBlock2> block{this};

    LiftModifier() { block = IParamBlock2::Create(TestDesc(), this); }
    bool Takes(const Object& input) const override { return input.IsGeomObject(); }
    std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                   Interval* valid) const override {
        auto mesh = std::make_shared<Mesh>(*input->GetRenderMesh(t));
        for (Point3& p : mesh->verts) p.z += block->GetFloat(testBlock::kSize, t, 0, valid);
        return std::make_shared<TriObject>(mesh);
    }
    static constexpr ClassInfo kClass{{0x7e57, 1}, SuperClass::kModifier, "Lift"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot == 0 ? block.Share() : nullptr;
    }
};

const char* const kTriangle = R"("type": "mesh", "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]],
    "faces": [[0, 1, 2]])";

class Modifiers : public testing::Test {
protected:
    Modifiers() { m_session.classes.Register(DescribeClass<LiftModifier>("lift", "Modifiers")); }

    SceneReadResult Read(const std::string& modifiers, const std::string& object = kTriangle) {
        return ParseScene(fmt::format(R"({{"dravin_scene": 1, "ticks_per_frame": 200, "nodes": [
            {{"name": "leaf", {}, "modifiers": {}}}, {{"name": "a", "type": "spline"}}]}})",
                                      object, modifiers),
                          HostFormats(), m_folder.Path());
    }
    std::string Error(const std::string& modifiers, const std::string& object = kTriangle) {
        SceneReadResult read = Read(modifiers, object);
        EXPECT_FALSE(read);
        return read.error;
    }
    static Point3 First(const Scene& scene, TimeValue t) {
        return scene.FindNode("leaf")->EvalWorldState(t).object->GetRenderMesh(t)->verts[0];
    }
    // A triangle at x = 0 in frame 1 and at x = 4 in frame 2.
    void WriteCache() const {
        m_folder.Write("a.pc2", Pc2Bytes(3, 1, 1, 2,
                                         {0, 0, 0, 1, 0, 0, 0, 1, 0,  //
                                          4, 0, 0, 5, 0, 0, 4, 1, 0}));
    }
    std::string Written(const Scene& scene) const {
        return WriteSceneDescription(scene, m_folder.Path(), HostFormats());
    }

    HostContext m_session;
    TemporaryFolder m_folder;
};

}  // namespace

TEST_F(Modifiers, PointCachesMoveTheirMesh) {
    WriteCache();
    SceneReadResult read = Read(R"([{"type": "point_cache", "file": "a.pc2"}])");
    ASSERT_TRUE(read) << read.error;
    EXPECT_EQ(First(*read.scene, 300), (Point3{2, 0, 0}));
    EXPECT_EQ(First(*read.scene, 9999), (Point3{4, 0, 0}));
    read = Read(R"([{"type": "point_cache", "file": "a.pc2", "start": 1000, "speed": 2,
                     "after": "cycle"}])");
    ASSERT_TRUE(read) << read.error;
    EXPECT_EQ(First(*read.scene, 1175), (Point3{3, 0, 0}));
}

TEST_F(Modifiers, WorkInTheirOrder) {
    WriteCache();
    const char* lift = R"({"type": "lift", "size": {"keys": [[0, 10], [200, 20]]}})";
    const char* cache = R"({"type": "point_cache", "file": "a.pc2"})";
    SceneReadResult read = Read(fmt::format("[{}, {}]", cache, lift));
    ASSERT_TRUE(read) << read.error;
    EXPECT_EQ(First(*read.scene, 300), (Point3{2, 0, 20}));
    EXPECT_EQ(First(*read.scene, 100), (Point3{0, 0, 15}));
    read = Read(fmt::format("[{}, {}]", lift, cache));
    ASSERT_TRUE(read) << read.error;
    EXPECT_EQ(First(*read.scene, 300), (Point3{2, 0, 0}));
    read = Read(R"([{"type": "lift", "size": 3, "enabled": false}])");
    EXPECT_EQ(First(*read.scene, 300), (Point3{0, 0, 0}));
}

TEST_F(Modifiers, WhatIsReadIsWritten) {
    WriteCache();
    SceneReadResult read = Read(R"([
        {"type": "point_cache", "file": "a.pc2", "start": -5, "speed": 0.5, "before": "cycle",
         "after": "cycle", "up": "y", "units": "metres", "enabled": false},
        {"type": "lift", "size": {"keys": [[0, 10], [200, 20]]}, "nodes": ["a"], "tint": [1, 0, 0]}])");
    ASSERT_TRUE(read) << read.error;
    std::string text = Written(*read.scene);
    for (const char* part :
         {R"("file": "a.pc2")", R"("start": -5)", R"("speed": 0.5)", R"("before": "cycle")",
          R"("up": "y")", R"("units": "metres")", R"("enabled": false)", R"("nodes": ["a"])"})
        EXPECT_THAT(text, HasSubstr(part));
    EXPECT_THAT(text, Not(HasSubstr("seedtype")));
    SceneReadResult again = ParseScene(text, HostFormats(), m_folder.Path());
    ASSERT_TRUE(again) << again.error;
    EXPECT_EQ(Written(*again.scene), text);
    EXPECT_EQ(First(*again.scene, 100).z, 15);
}

TEST_F(Modifiers, AnEmptyListIsNone) {
    SceneReadResult read = Read("[]");
    ASSERT_TRUE(read) << read.error;
    EXPECT_EQ(dynamic_cast<DerivedObject*>(read.scene->FindNode("leaf")->GetObjectRef()), nullptr);
    EXPECT_THAT(Written(*read.scene), Not(HasSubstr("modifiers")));
}

TEST_F(Modifiers, UnknownOnesAreNamedWithTheNearest) {
    EXPECT_THAT(Error(R"([{"type": "point_cach"}])"),
                HasSubstr("/nodes/0/modifiers/0/type: unknown modifier \"point_cach\", did you "
                          "mean \"point_cache\"?"));
    EXPECT_THAT(Error(R"([{"type": "lfit"}])"), HasSubstr("did you mean \"lift\"?"));
    EXPECT_THAT(
        Error(R"([{"type": "lift", "siez": 3}])"),
        HasSubstr("/nodes/0/modifiers/0/siez: unknown key \"siez\", did you mean \"size\"?"));
    EXPECT_THAT(Error(R"([{"type": "lift"}, {"type": "lift", "count": {"keys": [[0, "x"]]}}])"),
                HasSubstr("/nodes/0/modifiers/1/count/keys/0/1: expected a whole number"));
    EXPECT_THAT(Error(R"([{"type": "lift", "nodes": ["b"]}])"),
                HasSubstr("/nodes/0/modifiers/0/nodes/0: no node is named \"b\""));
    EXPECT_THAT(Error(R"([7])"), HasSubstr("/nodes/0/modifiers/0: expected an object"));
    EXPECT_THAT(Error(R"([{}])"), HasSubstr("/nodes/0/modifiers/0: "));
    EXPECT_THAT(Error(R"({"type": "lift"})"), HasSubstr("/nodes/0/modifiers: expected an array"));
}

TEST_F(Modifiers, WithoutASessionTheHostsOwnAreThere) {
    WriteCache();
    HostContext* session = HostContext::Current();
    ASSERT_NE(session, nullptr);
    session->classes.Unregister(LiftModifier::kClass.id);
    EXPECT_THAT(Error(R"([{"type": "lift"}])"), HasSubstr("unknown modifier \"lift\""));
    EXPECT_TRUE(Read(R"([{"type": "point_cache", "file": "a.pc2"}])"));
}

TEST_F(Modifiers, ClassesThatAreGoneAreLeftOutWithAWarning) {
    SceneReadResult read = Read(R"([{"type": "lift"}])");
    ASSERT_TRUE(read);
    m_session.classes.Unregister(LiftModifier::kClass.id);
    std::string warning;
    LogSink before = SetLogSink([&](LogKind, const std::string& text) { warning = text; });
    EXPECT_THAT(Written(*read.scene), Not(HasSubstr("modifiers")));
    SetLogSink(before);
    EXPECT_THAT(warning, HasSubstr("class \"Lift\" is left out"));
}

TEST_F(Modifiers, PointCachesThatDoNotFitAreErrors) {
    WriteCache();
    const char* cache = R"([{"type": "point_cache", "file": "a.pc2"}])";
    EXPECT_THAT(Error(cache, R"("type": "box")"),
                HasSubstr("/nodes/0/modifiers/0/file: the cache moves 3 points, the mesh has 8 "
                          "vertices"));
    EXPECT_THAT(Error(cache, R"("type": "camera")"),
                HasSubstr("/nodes/0/modifiers/0/type: a modifier \"point_cache\" can do nothing "
                          "with an object of class \"Camera\""));
    EXPECT_THAT(Error(R"([{"type": "point_cache", "file": "b.pc2"}])"), HasSubstr("b.pc2"));
    EXPECT_THAT(Error(R"([{"type": "point_cache"}])"), HasSubstr("file"));
    EXPECT_THAT(Error(R"([{"type": "point_cache", "file": "a.pc2", "speed": 0}])"),
                HasSubstr("/nodes/0/modifiers/0/speed: expected a number above 0"));
    EXPECT_THAT(Error(R"([{"type": "point_cache", "file": "a.pc2", "after": "cicle"}])"),
                HasSubstr("cycle"));
    m_folder.Write("a.pc2", "rubbish");
    EXPECT_THAT(Error(cache), HasSubstr("/nodes/0/modifiers/0/file: "));
}
