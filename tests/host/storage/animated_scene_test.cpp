// Keys and point caches of scenes: read, written in either form of file and read again, they give
// the same values at times between.
#include <cmath>

#include <gtest/gtest.h>

#include "tests/host/io/point_cache_bytes.h"
#include "tests/host/io/scene_testing.h"
#include "tests/host/storage/stored_scene.h"

namespace {

constexpr const char* kNodes = R"(
  {"name": "linear", "type": "dummy",
   "rotation": {"keys": [[0, [0, 0, 0, 1]], [100, [0, 0, 1, 0]]]}},
  {"name": "bezier", "type": "dummy",
   "rotation": {"keys": [[0, [0, 0, 0, 1], [0, 0, 0, 0], [0, 0, 0, 0]],
                         [100, [0, 0, 1, 0], [0, 0, 0, 0], [0, 0, 0, 0]]],
                "interpolation": "bezier"},
   "position": {"keys": [[0, [0, 0, 0], [0, 0, 0], [4, 0, 0]],
                         [100, [8, 0, 0], [-2, 0, 0], [0, 0, 0]]], "interpolation": "bezier"}},
  {"name": "step", "type": "dummy",
   "rotation": {"keys": [[0, [0, 0, 0, 1]], [50, [0, 0, 1, 0]]], "interpolation": "step"},
   "scale": {"keys": [[0, [1, 1, 1]], [60, [3, 3, 3]]], "interpolation": "step"},
   "hidden": {"keys": [[10, true], [20, false], [30, true]], "interpolation": "step",
              "after": "cycle"}},
  {"name": "sun", "type": "light",
   "intensity": {"keys": [[0, 1], [40, 5], [100, 1]], "interpolation": "step",
                 "before": "cycle", "after": "cycle"},
   "color": {"keys": [[0, [0, 0, 0], [0, 0, 0], [1, 0, 0]], [100, [1, 1, 1], [0, 0, 0], [0, 0, 0]]],
             "interpolation": "bezier"}},
  {"name": "leaf", "type": "mesh", "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]],
   "faces": [[0, 1, 2]], "modifiers": [
     {"type": "point_cache", "file": "a.pc2"},
     {"type": "point_cache", "file": "a.pc2", "start": 1000, "speed": 2, "after": "cycle",
      "enabled": false}]})";

class AnimatedScene : public testing::Test, public StoredScene {
protected:
    // Two samples, at 200 and 400 ticks; the first point goes from 0 to 4.
    AnimatedScene() {
        folder.Write("a.pc2", Pc2Bytes(3, 1, 1, 2,
                                       {0, 0, 0, 1, 0, 0, 0, 1, 0,  //
                                        4, 0, 0, 5, 0, 0, 4, 1, 0}));
    }
    SceneReadResult Parse(const std::string& text) {
        return ParseScene(text, HostFormats(), folder.File("."));
    }
    std::string Text(const Scene& what) const {
        return WriteSceneDescription(what, folder.File("."), HostFormats());
    }

    // Calls check(scene) for the scene as it is read first, from its own description, from a scene
    // file, and from the description of that one.
    template <class Check>
    void ForEachForm(const Check& check) {
        SceneReadResult first = Parse(std::string(R"({"dravin_scene": 1, "ticks_per_frame": 200,
            "nodes": [)") + kNodes + "]}");
        ASSERT_TRUE(first) << first.error;
        std::string text = Text(*first.scene);
        SceneReadResult second = Parse(text);
        ASSERT_TRUE(second) << second.error;
        std::unique_ptr<Scene> third = Again(*first.scene);
        ASSERT_TRUE(third);
        EXPECT_EQ(Text(*third), text);
        EXPECT_EQ(Save(*third), Save(*first.scene));
        int form = 0;
        for (Scene* one : {first.scene.get(), second.scene.get(), third.get()}) {
            SCOPED_TRACE(form++);
            check(*one);
        }
    }
    static Matrix3 Place(const Scene& scene, const char* name, TimeValue t) {
        return scene.FindNode(name)->GetNodeTM(t);
    }
};

constexpr double kPi = 3.14159265358979323846;

}  // namespace

TEST_F(AnimatedScene, RotationsRunAsTheirKeysSay) {
    ForEachForm([](const Scene& s) {
        // Half a turn in 100 ticks, at even speed.
        EXPECT_TRUE(Place(s, "linear", 25).Equals(Matrix3::RotationZ(float(kPi / 4)), 1e-5f));
        EXPECT_TRUE(Place(s, "linear", 100).Equals(Matrix3::RotationZ(float(kPi)), 1e-5f));
        // Without handles the ends weigh (1 - u)^2 (1 + 2u) and u^2 (3 - 2u): 27/32 and 5/32.
        Matrix3 turned = Place(s, "bezier", 25);
        turned.SetTrans({});
        EXPECT_TRUE(turned.Equals(Matrix3::RotationZ(float(2 * std::atan(5.0 / 27))), 1e-5f));
        EXPECT_TRUE(Place(s, "step", 49).Equals(Matrix3(), 1e-6f));
        Matrix3 half = Place(s, "step", 50);
        EXPECT_TRUE(half.Equals(Matrix3::RotationZ(float(kPi)), 1e-5f));
    });
}

TEST_F(AnimatedScene, PlacesAndSizesRunAsTheirKeysSay) {
    ForEachForm([](const Scene& s) {
        // (0 + 3 * 4 + 3 * 6 + 8) / 8
        EXPECT_NEAR(Place(s, "bezier", 50).GetTrans().x, 4.75, 1e-5);
        EXPECT_EQ(Place(s, "step", 59).row[2].z, 1);
        EXPECT_EQ(Place(s, "step", 60).row[2].z, 3);
        EXPECT_EQ(s.FindNode("step")->EvalWorldState(55).valid, (Interval{50, 59}));
        EXPECT_EQ(s.FindNode("bezier")->EvalWorldState(55).valid, Interval::Instant(55));
        EXPECT_EQ(s.FindNode("bezier")->EvalWorldState(100).valid,
                  (Interval{100, kTimePosInfinity}));
    });
}

TEST_F(AnimatedScene, LightsAndVisibilityRunAsTheirKeysSay) {
    ForEachForm([](const Scene& s) {
        auto& sun = dynamic_cast<LightObject&>(*s.FindNode("sun")->GetObjectRef());
        for (auto [t, intensity] : {std::pair{39, 1.f},
                                    {40, 5.f},
                                    {99, 5.f},
                                    {110, 1.f},
                                    {150, 5.f},
                                    {-30, 5.f},
                                    {-70, 1.f}})
            EXPECT_EQ(sun.intensity.At(t), intensity) << t;
        // The handle lifts red: (0 + 3 * 1 + 3 * 1 + 1) / 8; green runs without any.
        EXPECT_FLOAT_EQ(sun.color.At(50).r, 0.875f);
        EXPECT_FLOAT_EQ(sun.color.At(50).g, 0.5f);
        const INode& step = *s.FindNode("step");
        for (auto [t, isHidden] : {std::pair{0, true},
                                   {19, true},
                                   {20, false},
                                   {29, false},
                                   {30, true},
                                   {35, true},
                                   {45, false}})
            EXPECT_EQ(step.IsHidden(t), isHidden) << t;
    });
}

TEST_F(AnimatedScene, PointCachesRunAsTheyAreAsked) {
    ForEachForm([](const Scene& s) {
        INode& leaf = *s.FindNode("leaf");
        auto first = [&](TimeValue t) {
            return leaf.EvalWorldState(t).object->GetRenderMesh(t)->verts[0];
        };
        EXPECT_EQ(first(0), (Point3{0, 0, 0}));
        EXPECT_EQ(first(300), (Point3{2, 0, 0}));
        EXPECT_EQ(first(350), (Point3{3, 0, 0}));
        EXPECT_EQ(first(9999), (Point3{4, 0, 0}));
        // The other one is off; on, it takes 100 ticks from 1000 on, again and again.
        auto& object = dynamic_cast<DerivedObject&>(*leaf.GetObjectRef());
        object.GetModifier(1)->enabled = true;
        EXPECT_EQ(first(1050), (Point3{2, 0, 0}));
        EXPECT_EQ(first(1175), (Point3{3, 0, 0}));
    });
}
