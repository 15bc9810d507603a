// The outline of a spline by command.
#include <gmock/gmock.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/materials/leaf_modifier.h"
#include "host/geom/bezier_shape.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

using testing::HasSubstr;

namespace {

class LeafCommands : public testing::Test {
protected:
    HostContext m_session;
    Scene m_scene;
    const TCommandTable m_table = MakeCommandTable();

    // A square of 10, with a modifier or without.
    INode* AddSquare(const std::string& name, bool hasModifier) {
        auto shape = std::make_shared<ShapeObject>();
        BezierShape square;
        square.splines.resize(1);
        square.splines[0].closed = true;
        for (Point3 p : {Point3{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}})
            square.splines[0].knots.push_back({p, {}, {}});
        shape->shape = square;
        if (!hasModifier) return m_scene.AddNode(name, shape);
        auto derived = std::make_shared<DerivedObject>();
        derived->SetBase(shape);
        derived->InsertModifier(0, std::make_shared<DLeaf>());
        return m_scene.AddNode(name, derived);
    }
    std::string Extract(const std::string& node) {
        TCommandResult result = m_table.Run("leaf.extract", m_scene, node, {});
        return result ? std::get<std::string>(result.value.value) : result.error;
    }
};

}  // namespace

TEST_F(LeafCommands, ExtractingTwiceGivesTwoNodesInTwoSteps) {
    m_session.SetCurrentScene(&m_scene);
    AddSquare("leaf", true);
    m_scene.undo.Clear();
    EXPECT_EQ(Extract("leaf"), "Outline");
    EXPECT_EQ(Extract("leaf"), "Outline001");
    auto* outline = dynamic_cast<ShapeObject*>(m_scene.FindNode("Outline")->GetObjectRef());
    ASSERT_TRUE(outline);
    EXPECT_EQ(outline->GetPolyShape(0).lines[0].points.size(), 4u);
    EXPECT_TRUE(outline->GetPolyShape(0).lines[0].closed);
    ASSERT_TRUE(m_scene.undo.Undo());
    EXPECT_EQ(m_scene.FindNode("Outline001"), nullptr);
    EXPECT_NE(m_scene.FindNode("Outline"), nullptr);
    m_session.SetCurrentScene(nullptr);
}

TEST_F(LeafCommands, WithoutAModifierThereIsNothingToExtract) {
    AddSquare("plain", false);
    EXPECT_THAT(Extract("plain"), HasSubstr("\"plain\" has no modifier of the type"));
    EXPECT_EQ(m_scene.Nodes().size(), 1u);
}
