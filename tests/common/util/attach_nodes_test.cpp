#include "common/util/attach_nodes.h"

#include <gmock/gmock.h>

#include "host/geom/primitives.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"
#include "host/scene/material.h"
#include "host/scene/scene.h"

namespace {

std::shared_ptr<StandardMtl> Named(const std::string& name, Scene& scene) {
    auto material = std::make_shared<StandardMtl>();
    scene.SetMaterial(name, material);
    return material;
}

class AttachNodes : public testing::Test {
protected:
    AttachNodes() { session.SetCurrentScene(&scene); }
    // A cube of side 2 that stands on its node's place.
    INode& Box(const std::string& name, const Point3& at, std::shared_ptr<Mtl> material = nullptr) {
        INode* node = scene.AddNode(
            name, std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 2, 2, 1))));
        node->SetLocalTM(Matrix3::Translation(at));
        node->SetMtl(std::move(material));
        return *node;
    }
    static const Mesh& MeshOf(const INode& node) {
        return *static_cast<TriObject*>(node.GetObjectRef())->GetMesh();
    }
    static Box3 WorldBox(const INode& node) {
        Box3 box;
        for (const Point3& p : MeshOf(node).verts) box += p * node.GetObjectTM(0);
        return box;
    }

    HostContext session;
    Scene scene;
    std::string error;
};

}  // namespace

TEST_F(AttachNodes, JoinsMeshesWhereTheyStand) {
    INode &a = Box("a", {0, 0, 0}), &b = Box("b", {10, 0, 4});
    size_t faces = MeshOf(a).NumFaces();
    Box3 world = WorldBox(a);
    world += WorldBox(b).min, world += WorldBox(b).max;
    INode* const nodes[] = {&a, &b};
    ASSERT_EQ(AttachNodesScript(nodes, "rock", &error), &a) << error;
    EXPECT_EQ(a.GetName(), "rock");
    EXPECT_EQ(scene.FindNode("b"), nullptr);
    EXPECT_EQ(MeshOf(a).NumFaces(), 2 * faces);
    EXPECT_EQ(WorldBox(a), world);
    // x from -1 to 11, y from -1 to 1, z from 0: the pivot stands below the middle.
    EXPECT_EQ(a.GetNodeTM(0).GetTrans(), (Point3{5, 0, 0}));
}

TEST_F(AttachNodes, MaterialsAreJoinedEachOnce) {
    auto red = Named("red", scene), green = Named("green", scene), blue = Named("blue", scene);
    auto both = std::make_shared<MultiMtl>();
    both->Append(blue), both->Append(red);
    INode &a = Box("a", {}, red), &b = Box("b", {5, 0, 0}, both), &c = Box("c", {9, 0, 0}, green);
    Mesh striped = MeshOf(b);
    for (size_t f = 0; f < striped.faces.size(); ++f) striped.faces[f].matID = uint16_t(f % 4);
    static_cast<TriObject*>(b.GetObjectRef())->SetMesh(std::make_shared<const Mesh>(striped));
    size_t faces = MeshOf(a).NumFaces();
    INode* const nodes[] = {&a, &b, &c};
    ASSERT_EQ(AttachNodesScript(nodes, "all", &error), &a) << error;
    ASSERT_EQ(a.GetMtl()->NumSubMtls(), 3);
    for (size_t f = 0; f < MeshOf(a).NumFaces(); ++f) {
        // Entry 1 of b's two materials is red, and ids go round.
        Mtl* expected = f < faces              ? red.get()
                        : f >= 2 * faces       ? static_cast<Mtl*>(green.get())
                        : (f - faces) % 2 == 1 ? static_cast<Mtl*>(red.get())
                                               : blue.get();
        EXPECT_EQ(a.GetMtl()->MtlOfId(MeshOf(a).faces[f].matID), expected) << f;
    }
}

TEST_F(AttachNodes, AMirroredNodeKeepsItsOutside) {
    INode &a = Box("a", {0, 0, 0}), &b = Box("b", {});
    Matrix3 mirrored = Matrix3::Translation({6, 0, 0});
    mirrored.row[0] = {-1, 0, 0};
    b.SetLocalTM(mirrored);
    INode* const nodes[] = {&a, &b};
    ASSERT_TRUE(AttachNodesScript(nodes, "a", &error)) << error;
    const Mesh& mesh = MeshOf(a);
    // The signed volume of two cubes of side 2, by the divergence theorem.
    double volume = 0;
    for (size_t f = 0; f < mesh.NumFaces(); ++f)
        volume += DotProd(mesh.verts[mesh.faces[f].v[0]], mesh.FaceNormalUnscaled(f)) / 6;
    EXPECT_NEAR(volume, 16, 1e-4);
}

TEST_F(AttachNodes, ChildrenStayWhereTheyAre) {
    INode &a = Box("a", {3, 0, 0}), &child = Box("child", {3, 0, 7});
    a.AttachChild(std::static_pointer_cast<INode>(child.shared_from_this()));
    INode* const nodes[] = {&a, &Box("b", {9, 0, -2})};
    ASSERT_TRUE(AttachNodesScript(nodes, "a", &error)) << error;
    EXPECT_EQ(a.GetNodeTM(0).GetTrans(), (Point3{6, 0, -2}));
    EXPECT_EQ(child.GetNodeTM(0).GetTrans(), (Point3{3, 0, 7}));
}

TEST_F(AttachNodes, LeavesOutWhatShowsNoMesh) {
    INode* line = scene.AddNode("line", std::make_shared<ShapeObject>());
    INode* nothing = scene.AddNode("nothing", nullptr);
    INode* const none[] = {line, nothing};
    EXPECT_EQ(AttachNodesScript(none, "x", &error), nullptr);
    EXPECT_FALSE(error.empty());
    INode& a = Box("a", {});
    INode* const one[] = {line, &a};
    EXPECT_EQ(AttachNodesScript(one, "x", &error), &a);
    EXPECT_EQ(scene.FindNode("line"), line);
}

TEST_F(AttachNodes, NodesOfOneNameAreToldApart) {
    INode &a = Box("same", {}), &b = Box("same", {5, 0, 0}), &c = Box("same", {9, 0, 0});
    INode* const nodes[] = {&a, &b};
    ASSERT_EQ(AttachNodesScript(nodes, "joined", &error), &a) << error;
    EXPECT_THAT(scene.Nodes(), testing::ElementsAre(&a, &c));
}

TEST_F(AttachNodes, IsOneStepToUndo) {
    auto red = Named("red", scene);
    INode &a = Box("a", {}), &b = Box("b", {8, 0, 0}, red);
    Mesh before = MeshOf(a);
    INode* const nodes[] = {&a, &b};
    {
        UndoStep step("Attach");
        ASSERT_TRUE(AttachNodesScript(nodes, "joined", &error)) << error;
    }
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(MeshOf(a), before);
    EXPECT_EQ(a.GetName(), "a");
    EXPECT_EQ(a.GetMtl(), nullptr);
    EXPECT_EQ(a.GetNodeTM(0).GetTrans(), (Point3{}));
    EXPECT_EQ(scene.FindNode("b"), &b);
    ASSERT_TRUE(scene.undo.Redo());
    EXPECT_EQ(MeshOf(a).NumFaces(), 2 * before.NumFaces());
    EXPECT_EQ(scene.FindNode("b"), nullptr);
}

TEST_F(AttachNodes, WhatIsKeptForUndoGrowsWithTheNodesAlone) {
    std::vector<INode*> nodes;
    size_t bytes = 0;
    for (int i = 0; i < 40; ++i) {
        auto mesh = std::make_shared<Mesh>(MakeBox(2, 2, 2, 12));
        bytes += mesh->BytesHeld();
        nodes.push_back(scene.AddNode("n", std::make_shared<TriObject>(std::move(mesh))));
    }
    {
        UndoStep step("Attach");
        ASSERT_TRUE(AttachNodesScript(nodes, "all", &error)) << error;
    }
    // Each mesh on the way would make 20 times of that.
    EXPECT_LT(scene.undo.Memory(), 2 * bytes);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.Nodes().size(), nodes.size());
    ASSERT_TRUE(scene.undo.Redo());
    EXPECT_EQ(MeshOf(*nodes[0]).NumFaces(), 40 * MakeBox(2, 2, 2, 12).NumFaces());
}
