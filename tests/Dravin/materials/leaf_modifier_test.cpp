#include "Dravin/materials/leaf_modifier.h"

#include <gmock/gmock.h>

#include "Dravin/assembly/dravin_classes.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "tests/host/io/scene_testing.h"

using testing::HasSubstr;

namespace {

// A square of 10 with a bump of 1 in its lower edge, under a leaf modifier from a description.
class Leaf : public testing::Test {
protected:
    Leaf() { RegisterDravinClasses(m_session.classes); }

    void Read(const std::string& keys = {}) {
        SceneReadResult read = ParseNodes(
            R"({"name": "leaf", "type": "spline", "lines": [{"closed": true, "points":
               [[0, 0, 0], [5, 1, 0], [10, 0, 0], [10, 10, 0], [0, 10, 0]]}],
               "modifiers": [{"type": "DravinLeaf")" +
            keys + "}]}");
        ASSERT_TRUE(read) << read.error;
        m_scene = std::move(read.scene);
        m_session.SetCurrentScene(m_scene.get());
    }
    DLeaf& Modifier() const {
        auto* object = dynamic_cast<DerivedObject*>(m_scene->FindNode("leaf")->GetObjectRef());
        return dynamic_cast<DLeaf&>(*object->GetModifier(0));
    }
    // Points of the outline at a time.
    size_t Count(TimeValue t = 0) const {
        m_scene->FindNode("leaf")->EvalWorldState(t);
        const PolyShape& outline = Modifier().Outline();
        return outline.lines.empty() ? 0 : outline.lines[0].points.size();
    }
    template <class Edit>
    void Do(const Edit& edit) {
        m_scene->undo.Begin();
        edit();
        m_scene->undo.Accept("Edit");
    }

    HostContext m_session;
    std::unique_ptr<Scene> m_scene;
};

}  // namespace

TEST_F(Leaf, ItsTableIsComplete) {
    const ParamBlockDesc2& block = LeafBlock();
    EXPECT_EQ(block.id, 0);
    EXPECT_EQ(block.name, "params");
    const char* const kNames[] = {"matid", "offsetx", "offsety", "scalex",  "scaley",   "flipx",
                                  "flipy", "angle",   "action",  "mapchan", "geometry", "display"};
    ASSERT_EQ(block.params.size(), std::size(kNames));
    for (int i = 0; i < 12; ++i) EXPECT_EQ(block.Find(i)->name, kNames[i]);
    EXPECT_EQ(block.Find("scalex")->defaultValue, ParamValue(100.0f));
    EXPECT_EQ(block.Find("mapchan")->defaultValue, ParamValue(1));
    EXPECT_FALSE(block.Find("mapchan")->animatable);
    EXPECT_FALSE(block.Find("flipx")->animatable);
    EXPECT_TRUE(block.Find("display")->animatable);
    EXPECT_EQ(DLeaf::kClass.id, (ClassId{0x6a80d860, 0xb2616bba}));
    EXPECT_EQ(DLeaf::kClass.name, std::string("Dravin Leaf"));
}

TEST_F(Leaf, TheAngleIsADistance) {
    Read(R"(, "angle": {"keys": [[0, 0], [100, 2]]})");
    EXPECT_EQ(Count(0), 5u);
    EXPECT_EQ(Count(49), 5u);
    EXPECT_EQ(Count(50), 4u);  // 1 is no more than 1
    EXPECT_EQ(Count(0), 5u);
    ObjectState state = m_scene->FindNode("leaf")->EvalWorldState(7);
    EXPECT_EQ(state.valid, Interval::Instant(7));
    auto* shape = dynamic_cast<ShapeObject*>(state.object.get());
    ASSERT_NE(shape, nullptr);
    EXPECT_EQ(shape->GetPolyShape(7).lines[0].points.size(), 5u);  // passes as it is
}

TEST_F(Leaf, ItsOtherParametersChangeNothing) {
    Read();
    EXPECT_EQ(Count(), 5u);
    PolyShape before = Modifier().Outline();
    Read(R"(, "matid": 7, "offsetx": 3, "offsety": -3, "scalex": 50, "scaley": 5, "flipx": true,
           "flipy": true, "mapchan": 9, "action": "Replace Geometry", "geometry": 4,
           "display": "Manual")");
    EXPECT_EQ(Count(), 5u);
    EXPECT_EQ(Modifier().Outline(), before);
    EXPECT_EQ(Modifier().Block().GetInt(leafParams::kAction), 1);
    EXPECT_EQ(Modifier().Block().GetInt(leafParams::kDisplay), 2);
    std::string text = WriteSceneDescription(*m_scene, ".", HostFormats());
    for (const char* part : {R"("type": "DravinLeaf")", R"("matid": 7)", R"("scaley": 5)",
                             R"("flipx": true)", R"("mapchan": 9)", R"("display": 2)"})
        EXPECT_THAT(text, HasSubstr(part));
}

TEST_F(Leaf, ExtractMakesNodesOfTheirOwn) {
    Read(R"(, "angle": 1)");
    EXPECT_EQ(Count(), 4u);
    INode* first = Modifier().Extract(*m_scene);
    INode* second = Modifier().Extract(*m_scene);
    EXPECT_EQ(first->GetName(), "Outline");
    EXPECT_EQ(second->GetName(), "Outline001");
    Do([&] { Modifier().Block().SetValue(leafParams::kAngle, 0, 0.5f); });
    EXPECT_EQ(Count(), 5u);
    auto* shape = dynamic_cast<ShapeObject*>(second->GetObjectRef());
    ASSERT_NE(shape, nullptr);
    EXPECT_EQ(shape->GetPolyShape(0).lines[0].points,
              (std::vector<Point3>{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}}));
    EXPECT_TRUE(shape->GetPolyShape(0).lines[0].closed);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(m_scene->undo.Undo());
    EXPECT_EQ(m_scene->FindNode("Outline"), nullptr);
    EXPECT_EQ(Count(), 4u);
    ASSERT_TRUE(m_scene->undo.Redo());
    EXPECT_NE(m_scene->FindNode("Outline"), nullptr);
    EXPECT_EQ(m_scene->FindNode("Outline001"), nullptr);
}

TEST_F(Leaf, IsFoundOnItsNode) {
    Read(R"(, "angle": 1)");
    INode* node = m_scene->FindNode("leaf");
    EXPECT_EQ(DLeaf::Of(*node, 0), &Modifier());
    EXPECT_EQ(Modifier().Outline().lines[0].points.size(), 4u);  // made by asking
    EXPECT_EQ(DLeaf::Of(*Modifier().Extract(*m_scene), 0), nullptr);
}

TEST_F(Leaf, CopiesHaveParametersOfTheirOwn) {
    Read(R"(, "angle": 1, "matid": 3, "enabled": false)");
    INode* copy = m_scene->CloneNodes(std::vector<INode*>{m_scene->FindNode("leaf")}).at(0);
    auto* derived = dynamic_cast<DerivedObject*>(copy->GetObjectRef());
    auto& leaf = dynamic_cast<DLeaf&>(*derived->GetModifier(0));
    EXPECT_NE(&leaf.Block(), &Modifier().Block());
    EXPECT_EQ(leaf.Block().GetInt(leafParams::kMatid), 3);
    EXPECT_FALSE(leaf.enabled);
    leaf.Block().SetValue(leafParams::kMatid, 0, 4);
    EXPECT_EQ(Modifier().Block().GetInt(leafParams::kMatid), 3);
}

TEST_F(Leaf, TakesSplinesOnly) {
    SceneReadResult read =
        ParseNodes(R"({"name": "b", "type": "box", "modifiers": [{"type": "DravinLeaf"}]})");
    EXPECT_THAT(read.error, HasSubstr("/nodes/0/modifiers/0/type: a modifier \"DravinLeaf\" can do "
                                      "nothing with an object of class \"Mesh\""));
    read = ParseNodes(R"({"name": "b", "type": "spline", "modifiers": [{"type": "DravinLaef"}]})");
    EXPECT_THAT(read.error, HasSubstr("did you mean \"DravinLeaf\"?"));
    DLeaf leaf;
    EXPECT_EQ(leaf.NumRefs(), 1);
    EXPECT_EQ(leaf.GetReference(0).get(), &leaf.Block());
    EXPECT_TRUE(leaf.Outline().lines.empty());
}
