#include "Dravin/build/point_maker.h"

#include <cmath>
#include <map>

#include <fmt/format.h>

#include "host/base/log.h"
#include "host/geom/mesh_adjacency.h"
#include "host/math/degrees.h"
#include "host/scene/node.h"

namespace {

constexpr float kSmallestOffset = 1e-6f;

class PointMaker {
public:
    PointMaker(const TDravin& object, TimeValue t, const Matrix3& objectInverse, Interval* valid)
        : m_block(object.Block(kDistParams)), m_time(t), m_inverse(objectInverse), m_valid(valid) {}

    TPathSettings Path() const {
        TPathSettings path;
        path.onVertices = Int(distParams::kDistpathmode) == 1;
        path.inSequence = Int(distParams::kDistpathgeomid) == 1;
        path.spacing = m_block.GetFloat(distParams::kDistpathspacing, m_time);
        path.followX = Int(distParams::kDistpathxfollow);
        path.followZ = Int(distParams::kDistpathzfollow);
        float offset = m_block.GetFloat(distParams::kDistpathoffset, m_time);
        for (INode* node : Nodes(distParams::kDistpathnodes)) {
            std::optional<PolyShape> shape = ShapeOf(*node);
            if (!shape) continue;
            Narrow(*node);
            TPathNode& added = path.nodes.emplace_back();
            added.lines = PolyShapePlus(*shape).lines;
            added.toObject = node->GetObjectTM(m_time) * m_inverse;
            for (PolyLinePlus& line : added.lines) {
                if (std::abs(offset) >= kSmallestOffset) line.Offset(offset);
                line.Length();  // cached before anybody walks it
            }
        }
        return path;
    }

    TReferenceSettings References(int threads) const {
        TReferenceSettings r;
        r.onFaces = Int(distParams::kDistrefmode) == 1;
        r.getRotation = Int(distParams::kDistrefgetrot);
        r.threads = threads;
        bool scale = Int(distParams::kDistrefgetscale);
        for (INode* node : Nodes(distParams::kDistrefnodes)) {
            Narrow(*node);
            r.hasNodes = true;
            if (r.onFaces)
                AddMesh(*node, r);
            else
                r.objects.push_back(ReferenceOf(*node, r.getRotation, scale));
        }
        return r;
    }

    TParticleSettings Particles() const {
        TParticleSettings settings;
        settings.getRotation = Int(distParams::kDistpflowgetrot);
        settings.getScale = Int(distParams::kDistpflowgetscale);
        bool all = Int(distParams::kDistpflowallevents);
        std::map<const INode*, int32_t> events;
        for (INode* node : Nodes(distParams::kDistpfloweventslist))
            events[node] = EventNumber(node->GetName());
        for (INode* node : Nodes(distParams::kDistpflownodes)) {
            auto* system = dynamic_cast<ParticleObject*>(node->GetObjectRef());
            if (!system) settings.hasBadSource = true;
            if (!system || system->particles->empty()) continue;
            Matrix3 toObject = node->GetNodeTM(m_time) * m_inverse;
            auto& list = settings.systems.emplace_back();
            for (const Particle& particle : system->particles.Get())
                list.push_back(ParticleOf(particle, *system, toObject, events, all));
        }
        if (!Nodes(distParams::kDistpflownodes).empty()) *m_valid = Interval::Instant(m_time);
        return settings;
    }

private:
    int Int(ParamID id) const { return m_block.GetInt(id, m_time); }

    std::vector<INode*> Nodes(ParamID id) const {
        std::vector<INode*> nodes;
        for (int i = 0; i < m_block.Count(id); ++i)
            if (INode* node = m_block.GetNode(id, m_time, i)) nodes.push_back(node);
        return nodes;
    }

    void Narrow(const INode& node) const {
        if (Object* object = node.GetObjectRef()) *m_valid &= object->ObjectValidity(m_time);
    }

    // The node's spline; a mesh stands in with the outline of its border.
    std::optional<PolyShape> ShapeOf(INode& node) const {
        Object* object = node.GetObjectRef();
        if (!object) return std::nullopt;
        std::shared_ptr<Object> shown = object->Evaluated(m_time, nullptr);
        if (auto* shape = dynamic_cast<ShapeObject*>(shown.get()))
            return shape->GetPolyShape(m_time);
        if (!object->IsGeomObject()) return std::nullopt;
        if (auto heights = object->GetHeightField(m_time)) return heights->Outline();
        std::shared_ptr<const Mesh> mesh = object->GetRenderMesh(m_time);
        if (!mesh) return std::nullopt;
        return BorderOutline(*mesh);
    }

    TReferenceObject ReferenceOf(INode& node, bool rotation, bool scale) const {
        Matrix3 world = node.GetNodeTM(m_time);
        AffineParts parts = Decompose(world);
        TReferenceObject r;
        r.point = (world * m_inverse).GetTrans();
        if (rotation) r.sourceTransform = parts.rotation.ToMatrix();
        if (scale) r.externalScale = parts.scale;
        r.userId = node.id;
        return r;
    }

    void AddMesh(INode& node, TReferenceSettings& r) const {
        Object* object = node.GetObjectRef();
        if (!object) return;
        Matrix3 toObject = node.GetObjectTM(m_time) * m_inverse;
        if (auto heights = object->GetHeightField(m_time))
            r.meshes.push_back({nullptr, toObject, std::move(heights)});
        else if (auto mesh = object->GetRenderMesh(m_time))
            r.meshes.push_back({std::move(mesh), toObject, nullptr});
    }

    static TParticle ParticleOf(const Particle& particle, const ParticleObject& system,
                                const Matrix3& toObject,
                                const std::map<const INode*, int32_t>& events, bool all) {
        TParticle p;
        p.hasPosition = particle.hasPosition;
        p.point = particle.position * toObject;
        p.age = particle.age;
        p.rotation = particle.rotationDegrees * kDegreesToRadians;
        p.scale = particle.scale;
        p.speed = particle.speed;
        auto event = events.find(system.GetEvent(particle.event));
        if (event != events.end()) p.eventId = event->second;
        p.isWanted = all || event != events.end();
        return p;
    }

    const IParamBlock2& m_block;
    TimeValue m_time;
    Matrix3 m_inverse;
    Interval* m_valid;
};

// The statuses that follow do not say what is missing.
void WarnIfNone(bool none, const char* what, const char* parameter) {
    if (none)
        LogWarning(
            fmt::format("the object has {} to place items at (see \"{}\")", what, parameter));
}

}  // namespace

TPointInput MakePointInput(const TDravin& object, TimeValue t, const Matrix3& objectInverse,
                           int threads, Interval* valid) {
    PointMaker maker(object, t, objectInverse, valid);
    TPointInput points;
    switch (object.Block(kDistParams).GetInt(distParams::kDistmode, t)) {
        case 1:
            points.path = maker.Path();
            WarnIfNone(points.path.nodes.empty(), "no path", "distpathnodes");
            break;
        case 2:
            points.reference = maker.References(threads);
            WarnIfNone(points.reference.objects.empty() && points.reference.meshes.empty(),
                       "no reference object", "distrefnodes");
            break;
        case 3:
            points.particles = maker.Particles();
            WarnIfNone(points.particles.systems.empty() && !points.particles.hasBadSource,
                       "no system with particles", "distpflownodes");
            break;
        default:
            break;
    }
    return points;
}
