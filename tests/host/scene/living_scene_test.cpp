// Random sequences of edits: undone to the beginning and redone to the end, the scene is what it
// was, in every particular that a file would hold.
#include <random>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

namespace {

std::string Of(const Matrix3& m) {
    std::string text;
    for (const Point3& row : m.row) text += fmt::format("{},{},{};", row.x, row.y, row.z);
    return text;
}

// Identity counts, too: the same object must be back, not one like it.
std::string Of(const void* entity) { return fmt::format("{}", fmt::ptr(entity)); }

std::string OfNode(const INode& node) {
    std::string text =
        fmt::format("{} {} {} {} {} {} {} {} {}", node.GetHandle(), node.GetName(),
                    Of(node.GetParentNode()), Of(node.GetObjectRef()), Of(node.GetMtl()),
                    Of(node.GetTMController()), node.GetLayer(), node.HiddenFlag(3), node.id.Get());
    text +=
        Of(node.GetNodeTM(40)) + Of(node.GetObjectTM(90)) + fmt::format(" {}", node.IsSelected());
    for (const auto& [key, value] : node.UserProperties()) text += key + "=" + value + ",";
    if (auto* camera = dynamic_cast<CameraObject*>(node.GetObjectRef()))
        text += fmt::format(" {} {}", camera->fovDegrees.At(25), Of(camera->target.Get()));
    return text;
}

std::string OfScene(const Scene& scene) {
    std::string text;
    for (const INode* node : scene.Nodes()) text += OfNode(*node) + "\n";
    VisitNodes(scene.GetRootNode(), [&](INode* node) { text += node->GetName() + ">"; });
    for (const auto& [name, mtl] : scene.Materials()) {
        auto* standard = dynamic_cast<const StandardMtl*>(mtl.get());
        text += fmt::format("{} {} {}\n", name, Of(mtl.get()), standard->opacity.Get());
    }
    for (const auto& [name, layer] : scene.Layers())
        if (layer->hidden) text += name + " hidden\n";
    return text + fmt::format("{}", scene.render->width);
}

// One author of edits.
class Author {
public:
    Author(Scene& scene, uint32_t seed) : m_scene(scene), m_random(seed) {}

    void Edit() {
        INode* node = AnyNode();
        int what = node ? Roll(20) : 0;
        switch (what) {
            case 0:
            case 1:
                return AddNode(node);
            case 2:
                return m_scene.DeleteNode(*node);
            case 3:
                return node->SetName(Named("n", 4));
            case 4:
                return node->SetLocalTM(Matrix3::Translation({float(Roll(9)), float(Roll(9)), 0}));
            case 5:
                return Animate(*node);
            case 6:
                return node->SetNodeTM(Roll(100), Matrix3::Translation({float(Roll(9)), 0, 0}));
            case 7:
                return node->SetHidden(Roll(2));
            case 8:
                return node->SetLayer(Named("layer", 3));
            case 9:
                return node->SetUserProperty(Named("k", 2), std::to_string(Roll(3)));
            case 10:
                return node->RemoveUserProperty("k0");
            case 11:
                AnyNode()->AttachChild(Share(*node), Roll(2));
                return;
            case 12:
                return m_scene.SetMaterial(Named("m", 2),
                                           Roll(3) ? std::make_shared<StandardMtl>() : nullptr);
            case 13:
                for (const auto& [name, mtl] : m_scene.Materials()) {
                    static_cast<StandardMtl&>(*mtl).opacity = float(Roll(5)) / 4;
                    node->SetMtl(Roll(2) ? mtl : nullptr);
                }
                return;
            case 14:
                return m_scene.Select(std::vector<INode*>{node, AnyNode()});
            case 15:
                m_scene.MakeLayer(Named("layer", 3)).hidden = Roll(2);
                return;
            case 16:
                m_scene.CloneNodes(std::vector<INode*>{node});
                return;
            case 17:
                return m_scene.render.Edit([&](SceneRenderSettings& r) { r.width = Roll(9); });
            case 18:
                if (auto* camera = dynamic_cast<CameraObject*>(node->GetObjectRef()))
                    SetAndRecord(camera->target, Share(*AnyNode()));
                return;
            default:
                node->id = Roll(3);
                return node->SetObjectOffset({{float(Roll(3)), 0, 0}, {}, {1, 1, 1}});
        }
    }
    int Roll(int n) { return int(m_random() % uint32_t(n)); }

private:
    // One of `n` names, so that several are alike.
    std::string Named(const char* stem, int n) { return fmt::format("{}{}", stem, Roll(n)); }
    static std::shared_ptr<INode> Share(INode& node) {
        return std::static_pointer_cast<INode>(node.shared_from_this());
    }
    INode* AnyNode() {
        const std::vector<INode*>& nodes = m_scene.Nodes();
        return nodes.empty() ? nullptr : nodes[size_t(Roll(int(nodes.size())))];
    }
    void AddNode(INode* parent) {
        auto camera = std::make_shared<CameraObject>();
        if (INode* target = AnyNode(); target && Roll(2)) camera->target = Share(*target);
        m_scene.AddNode(Named("n", 4), camera, Roll(2) ? parent : nullptr);
    }
    void Animate(INode& node) {
        auto place = std::make_shared<TransformController>();
        place->position.SetTrack({{{0, Point3{}}, {100, Point3{float(Roll(9)), 0, 0}}}});
        node.SetTMController(place);
        if (auto* camera = dynamic_cast<CameraObject*>(node.GetObjectRef()))
            camera->fovDegrees.SetTrack({{{0, 30.0f}, {50, 30.0f + float(Roll(9))}}});
    }

    Scene& m_scene;
    std::mt19937 m_random;
};

void CheckSequence(uint32_t seed) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    Author author(scene, seed);
    std::vector<std::string> states{OfScene(scene)};
    for (int i = 0; i < 14; ++i) {
        size_t steps = scene.undo.NumUndoSteps();
        scene.undo.Begin();
        for (int edits = 1 + author.Roll(3); edits > 0; --edits) author.Edit();
        if (author.Roll(8) == 0) {
            scene.undo.Cancel();
            ASSERT_EQ(OfScene(scene), states.back()) << "cancelled, seed " << seed;
            continue;
        }
        scene.undo.Accept("Edit");
        if (scene.undo.NumUndoSteps() > steps) states.push_back(OfScene(scene));
    }
    for (int round = 0; round < 2; ++round) {
        for (size_t i = states.size() - 1; i-- > 0;) {
            ASSERT_TRUE(scene.undo.Undo());
            ASSERT_EQ(OfScene(scene), states[i]) << "undone to " << i << ", seed " << seed;
        }
        ASSERT_FALSE(scene.undo.Undo());
        for (size_t i = 1; i < states.size(); ++i) {
            ASSERT_TRUE(scene.undo.Redo());
            ASSERT_EQ(OfScene(scene), states[i]) << "redone to " << i << ", seed " << seed;
        }
    }
}

}  // namespace

TEST(LivingScene, RandomEditsAreUndoneAndRedoneExactly) {
    for (uint32_t seed = 0; seed < 10000 && !HasFatalFailure(); ++seed) CheckSequence(seed);
}
