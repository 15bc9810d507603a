#include "host/io/model_poses.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/base/log.h"
#include "host/geom/mesh_tools.h"

namespace {

class TurnedModelPoses : public IModelPoses {
public:
    TurnedModelPoses(std::shared_ptr<IModelPoses> poses,
                     std::function<void(std::vector<ImportedObject>&)> turn)
        : m_poses(std::move(poses)), m_turn(std::move(turn)) {}

    Interval Range() const override { return m_poses->Range(); }
    bool At(TimeValue t, std::vector<ImportedObject>* objects, ImportError* error) override {
        if (!m_poses->At(t, objects, error)) return false;
        m_turn(*objects);
        return true;
    }

private:
    std::shared_ptr<IModelPoses> m_poses;
    std::function<void(std::vector<ImportedObject>&)> m_turn;
};

class JoinedMeshAnimation : public IMeshAnimation {
public:
    JoinedMeshAnimation(std::shared_ptr<IModelPoses> poses, std::string path, std::string object,
                        std::shared_ptr<const Mesh> rest)
        : m_poses(std::move(poses)),
          m_path(std::move(path)),
          m_object(std::move(object)),
          m_rest(std::move(rest)) {}

    std::shared_ptr<const Mesh> MeshAt(TimeValue t, Interval* valid) override {
        if (!m_mesh || !m_valid.Contains(t)) Make(t);
        if (valid) *valid &= m_valid;
        return m_mesh;
    }

private:
    void Make(TimeValue t) {
        Interval range = m_poses->Range();
        m_valid = Interval::Instant(t);
        if (t <= range.start) m_valid = {kTimeNegInfinity, range.start};
        if (t >= range.end) m_valid = {range.end, kTimePosInfinity};
        ImportedModel posed;
        ImportError error;
        if (m_poses->At(t, &posed.objects, &error)) {
            if (!m_object.empty())
                std::erase_if(posed.objects,
                              [this](const ImportedObject& o) { return o.name != m_object; });
            m_mesh = JoinObjects(posed, &error).mesh;
            if (m_mesh && IsSound(*m_mesh, t, &error)) return;
        }
        if (!m_warned) LogWarning("an animated model stands still: " + error.text);
        m_warned = true;
        m_mesh = m_rest;
    }

    bool IsSound(const Mesh& mesh, TimeValue t, ImportError* error) const {
        if (FirstNonFiniteVertex(mesh))
            error->text =
                fmt::format("{}: at tick {} a coordinate is not a finite number", m_path, t);
        else if (mesh.NumFaces() != m_rest->NumFaces())
            error->text = fmt::format("{}: at tick {} it has {} faces, at rest {}", m_path, t,
                                      mesh.NumFaces(), m_rest->NumFaces());
        return error->text.empty();
    }

    std::shared_ptr<IModelPoses> m_poses;
    std::string m_path, m_object;
    std::shared_ptr<const Mesh> m_rest, m_mesh;
    Interval m_valid = Interval::Never();  // of the mesh above
    bool m_warned = false;
};

}  // namespace

std::string AnimationName(const std::string& name, size_t number) {
    return name.empty() ? fmt::format("animation {}", number) : name;
}

std::optional<size_t> FindAnimation(const std::vector<std::string>& names,
                                    const std::string& wanted) {
    if (names.empty() || wanted == kNoAnimation) return std::nullopt;
    if (wanted.empty()) return 0;
    auto found = std::find(names.begin(), names.end(), wanted);
    return found == names.end() ? std::nullopt : std::optional<size_t>(found - names.begin());
}

std::shared_ptr<IModelPoses> TurnedPoses(std::shared_ptr<IModelPoses> poses,
                                         std::function<void(std::vector<ImportedObject>&)> turn) {
    return std::make_shared<TurnedModelPoses>(std::move(poses), std::move(turn));
}

std::shared_ptr<IMeshAnimation> JoinedAnimation(std::shared_ptr<IModelPoses> poses,
                                                std::string path, std::string object,
                                                std::shared_ptr<const Mesh> rest) {
    return std::make_shared<JoinedMeshAnimation>(std::move(poses), std::move(path),
                                                 std::move(object), std::move(rest));
}
