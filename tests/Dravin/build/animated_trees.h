// Trees that sway, and a scatter object that shows them as they stand: what a frame of an animation
// changes in a scene.
#pragma once

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/geom/primitives.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

// A cone of 2 units across and 6 high whose top goes to and fro, once in 100 frames. Counts how
// often it is made.
class SwayingCone : public IMeshAnimation {
public:
    explicit SwayingCone(int segments) : m_rest(MakeCone(1, 6, segments)) {}

    std::shared_ptr<const Mesh> MeshAt(TimeValue t, Interval* valid) override {
        if (valid) *valid &= Interval::Instant(t);
        if (m_made && m_time == t) return m_made;
        auto mesh = std::make_shared<Mesh>(m_rest);
        float reach = std::sin(float(t) / 16000 * 6.2831853f);
        for (Point3& p : mesh->verts) p.x += reach * p.z * p.z / 36;
        m_time = t;
        m_made = std::move(mesh);
        ++numMade;
        return m_made;
    }

    int numMade = 0;

private:
    Mesh m_rest;
    TimeValue m_time = 0;
    std::shared_ptr<const Mesh> m_made;
};

// Adds `count` swaying trees, hidden, and "swaying", which shows them over `ground` as they follow
// the time: pixels x pixels cells to a tile of 10 units.
struct AnimatedTrees {
    AnimatedTrees(Scene& scene, std::shared_ptr<INode> ground, int count, int segments, int pixels)
        : object(TDravin::Create()) {
        using namespace distParams;
        node = scene.AddNode("swaying", object);
        object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, ground);
        IParamBlock2& dist = object->Block(kDistParams);
        dist.SetValue(kPixelsX, 0, pixels);
        dist.SetValue(kPixelsY, 0, pixels);
        dist.SetValue(kDistmap, 0, std::make_shared<ColorTex>());
        object->Block(kAnimParams).SetValue(animParams::kAnimation, 0, 1);
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        for (int i = 0; i < count; ++i) {
            auto sway = std::make_shared<SwayingCone>(segments);
            auto mesh = std::make_shared<TriObject>(sway->MeshAt(0, nullptr));
            mesh->SetAnimation(sway);
            auto tree = INode::Create("swaying tree " + std::to_string(i), mesh);
            tree->SetHidden(true);
            scene.AddNode(tree);
            TSpecEntry entry;
            entry.name = tree->GetName();
            entry.kind = kGeomCustom;
            entry.customObject = tree;
            rows.AppendRow(entry);
            cones.push_back(std::move(sway));
        }
    }

    std::shared_ptr<TDravin> object;
    INode* node;
    std::vector<std::shared_ptr<SwayingCone>> cones;
};

// What views do when the time changes: everything in the scene is asked for what it shows.
inline void ShowFrame(Scene& scene, TimeValue t) {
    scene.SetTime(t);
    for (INode* node : scene.Nodes()) node->EvalWorldState(t);
}
