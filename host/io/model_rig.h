// Models that the import helper reads: nodes above each other, which may have keys, and meshes that
// they carry, or that bones and morph targets deform.
//
// A mesh's point is first moved by the morph targets, each by its weight times the way from the
// mesh to the target, then by the bones: the sum over them of (point * bone's offset * bone's
// node's place), by weight. Explicit normals follow (mesh_motion.h). Targets without keys stay out.
#pragma once

#include "host/io/model_stream.h"
#include "host/params/key_track.h"

class ModelRig : public IModelPoses {
public:
    // stream: as ReadModelStream gives it. materials: one an object.
    ModelRig(StreamModel&& stream, std::vector<std::shared_ptr<Mtl>> materials);

    bool IsAnimated() const { return !m_range.IsEmpty(); }
    // As the nodes stand in the file. Where nothing moves, meshes that nothing deforms are the
    // rig's own.
    std::vector<ImportedObject> Rest() const { return Pose(nullptr); }

    Interval Range() const override { return m_range; }
    bool At(TimeValue t, std::vector<ImportedObject>* objects, ImportError* error) override;

private:
    struct Channel {
        uint32_t node;
        AffineParts rest;
        KeyTrack<Point3> position, scale;
        KeyTrack<Quat> rotation;
    };
    struct Morph {
        std::vector<Point3> verts;
        uint32_t firstVertex;
        KeyTrack<float> weight;
    };
    struct Object {
        StreamObject source;
        std::shared_ptr<Mtl> material;
        std::vector<Morph> morphs;

        bool IsDeformed() const { return !source.bones.empty() || !morphs.empty(); }
    };
    void AddChannel(StreamChannel&& source);
    void AddObject(StreamObject&& source, std::shared_ptr<Mtl> material);
    std::vector<Matrix3> Worlds(const TimeValue* t) const;
    Mesh Deformed(const Object& object, const TimeValue* t,
                  const std::vector<Matrix3>& worlds) const;
    // t: null for the file's own pose.
    std::vector<ImportedObject> Pose(const TimeValue* t) const;

    std::vector<StreamNode> m_nodes;
    std::vector<std::shared_ptr<Mesh>> m_meshes;
    std::vector<Channel> m_channels;
    std::vector<Object> m_objects;
    Interval m_range = Interval::Never();
};
