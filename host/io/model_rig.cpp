#include "host/io/model_rig.h"

#include "host/geom/mesh_motion.h"
#include "host/geom/mesh_tools.h"

namespace {

template <class T, class Key>
KeyTrack<T> ToTrack(const std::vector<Key>& keys, Interval* range) {
    KeyTrack<T> track;
    for (const Key& key : keys) track.keys.emplace_back(key.time, key.value);
    if (keys.empty()) return track;
    range->start = std::min(range->start, keys.front().time);
    range->end = std::max(range->end, keys.back().time);
    return track;
}

template <class T>
T ValueAt(const KeyTrack<T>& track, TimeValue t, const T& rest) {
    return track.IsEmpty() ? rest : track.Eval(t, nullptr);
}

// Where the bones have the points; a point that none of them moves stays.
void Bend(const std::vector<StreamBone>& bones, const std::vector<Matrix3>& worlds,
          std::vector<Point3>& points) {
    std::vector<Point3> bent(points.size());
    std::vector<float> sums(points.size());
    for (const StreamBone& bone : bones) {
        Matrix3 m = bone.offset * worlds[bone.node];
        for (const StreamWeight& w : bone.weights) {
            bent[w.vertex] += (points[w.vertex] * m) * w.weight;
            sums[w.vertex] += w.weight;
        }
    }
    for (size_t v = 0; v < points.size(); ++v)
        if (sums[v] > 0) points[v] = bent[v] / sums[v];
}

}  // namespace

ModelRig::ModelRig(StreamModel&& stream, std::vector<std::shared_ptr<Mtl>> materials)
    : m_nodes(std::move(stream.nodes)) {
    for (Mesh& mesh : stream.meshes) m_meshes.push_back(std::make_shared<Mesh>(std::move(mesh)));
    for (StreamChannel& channel : stream.channels) AddChannel(std::move(channel));
    for (size_t i = 0; i < stream.objects.size(); ++i)
        AddObject(std::move(stream.objects[i]), std::move(materials[i]));
}

void ModelRig::AddChannel(StreamChannel&& source) {
    Channel channel{source.node, Decompose(m_nodes[source.node].transform), {}, {}, {}};
    channel.position = ToTrack<Point3>(source.positions, &m_range);
    channel.rotation = ToTrack<Quat>(source.rotations, &m_range);
    channel.scale = ToTrack<Point3>(source.scales, &m_range);
    m_channels.push_back(std::move(channel));
}

void ModelRig::AddObject(StreamObject&& source, std::shared_ptr<Mtl> material) {
    Object object{std::move(source), std::move(material), {}};
    for (StreamMorph& morph : object.source.morphs)
        object.morphs.push_back(
            {std::move(morph.verts), morph.firstVertex, ToTrack<float>(morph.keys, &m_range)});
    object.source.morphs.clear();
    m_objects.push_back(std::move(object));
}

std::vector<Matrix3> ModelRig::Worlds(const TimeValue* t) const {
    std::vector<Matrix3> worlds;
    for (const StreamNode& node : m_nodes) worlds.push_back(node.transform);
    for (const Channel& c : m_channels) {
        if (!t) break;
        worlds[c.node] = Matrix3::Scaling(ValueAt(c.scale, *t, c.rest.scale)) *
                         ValueAt(c.rotation, *t, c.rest.rotation).Normalized().ToMatrix() *
                         Matrix3::Translation(ValueAt(c.position, *t, c.rest.translation));
    }
    for (size_t n = 0; n < worlds.size(); ++n)  // parents stand before their children
        if (m_nodes[n].parent != StreamNode::kNoParent)
            worlds[n] = worlds[n] * worlds[m_nodes[n].parent];
    return worlds;
}

Mesh ModelRig::Deformed(const Object& object, const TimeValue* t,
                        const std::vector<Matrix3>& worlds) const {
    Mesh mesh = *m_meshes[object.source.mesh];
    std::vector<Point3> points = mesh.verts;
    for (const Morph& morph : object.morphs) {
        float weight = t ? ValueAt(morph.weight, *t, 0.0f) : 0;
        if (weight == 0) continue;
        for (size_t v = 0; v < morph.verts.size(); ++v) {
            size_t at = morph.firstVertex + v;
            points[at] += (morph.verts[v] - mesh.verts[at]) * weight;
        }
    }
    Bend(object.source.bones, worlds, points);
    MoveVertices(mesh, std::move(points));
    WeldVertices(mesh);
    return mesh;
}

std::vector<ImportedObject> ModelRig::Pose(const TimeValue* t) const {
    std::vector<ImportedObject> objects;
    std::vector<Matrix3> worlds = Worlds(t);
    for (const Object& object : m_objects) {
        std::shared_ptr<Mesh> mesh = m_meshes[object.source.mesh];
        if (object.IsDeformed())
            mesh = std::make_shared<Mesh>(Deformed(object, t, worlds));
        else if (IsAnimated())
            mesh = std::make_shared<Mesh>(*mesh);  // whoever gets it may turn and scale it
        // Bones say where the vertices are in the world, wherever the node stands.
        bool isBent = !object.source.bones.empty();
        objects.push_back({object.source.name,
                           std::move(mesh),
                           object.material,
                           isBent ? Matrix3{} : worlds[object.source.node],
                           {1, 1, 1}});
    }
    return objects;
}

bool ModelRig::At(TimeValue t, std::vector<ImportedObject>* objects, ImportError*) {
    *objects = Pose(&t);
    return true;
}
