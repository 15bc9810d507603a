#include "Dravin/geometry/mesh_sample.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "Dravin/geometry/template_list.h"
#include "host/base/thread_pool.h"
#include "host/geom/mesh_tools.h"
#include "host/scene/node.h"

namespace {

constexpr float kSmallestExtent = 0.0001f;

Box3 BoundsUnder(const Mesh& mesh, const Matrix3& m) {
    Box3 box;
    for (const Point3& p : mesh.verts)
        if (IsFinite(p)) box += p * m;
    return box;
}

// Points of a plant at unit size. They belong to no element in particular.
TMeshCloud CloudOfPlant(const std::vector<TPlantPoint>& plant, const Matrix3& toUnit) {
    TMeshCloud cloud;
    size_t count = std::min(plant.size(), TMeshCloud::kNumPoints);
    for (const TPlantPoint& p : std::span(plant).first(count))
        cloud.points.push_back({p.position * toUnit, std::max(p.shade, 0.0f), p.id, 0, 0});
    return cloud;
}

std::vector<TPlantPoint> PointsOfPlant(const Object& object, TimeValue t) {
    if (object.Class().id != kPlantObjectId) return {};
    auto* plant = dynamic_cast<const IPlantCloud*>(&object);
    return plant ? plant->GetPoints(t, TMeshCloud::kNumPoints) : std::vector<TPlantPoint>();
}

}  // namespace

TDravinMeshSize MeasureMesh(const Mesh& mesh, const Matrix3& toReal) {
    TDravinMeshSize measures;
    measures.numFaces = int32_t(mesh.NumFaces());
    measures.toReal = toReal;
    Point3 size = BoundsUnder(mesh, toReal).Width();
    for (int i = 0; i < 3; ++i)
        if (!(std::abs(size[i]) >= kSmallestExtent)) size[i] = 1, measures.degenerate = true;
    measures.size = size;
    measures.aspect = (1 / size.x) / (1 / size.y);
    measures.normalize = toReal * Matrix3::Scaling({1 / size.x, 1 / size.y, 1 / size.z});
    measures.bounds = BoundsUnder(mesh, measures.normalize);
    measures.valid = true;
    return measures;
}

TDravinMeshSample::TDravinMeshSample() : m_validity(Interval::Forever()) {}

TDravinMeshSample::TDravinMeshSample(std::shared_ptr<const Mesh> source, const Matrix3& toReal,
                                     Interval validity, std::vector<TPlantPoint> plant)
    : m_source(std::move(source)), m_validity(validity), m_plant(std::move(plant)) {
    if (m_source) m_size = MeasureMesh(*m_source, toReal);
}

const Mesh& TDravinMeshSample::UnitMesh() const {
    std::call_once(m_meshOnce, [this] {
        if (m_source) m_mesh = TransformedMesh(*m_source, m_size.normalize);
    });
    return m_mesh;
}

const TDravinMeshElements& TDravinMeshSample::Elements() const {
    std::call_once(m_elementsOnce, [this] { m_elements = AnalyseElements(UnitMesh()); });
    return m_elements;
}

const TMeshCloud& TDravinMeshSample::Cloud() const {
    std::call_once(m_cloudOnce, [this] {
        m_cloud = m_plant.empty() ? MakeMeshCloud(UnitMesh(), Elements(), NumProcessors())
                                  : CloudOfPlant(m_plant, m_size.normalize);
    });
    return m_cloud;
}

std::shared_ptr<const TDravinMeshSample> MakeMeshSample(INode& node, TimeValue t,
                                                        bool plantClouds) {
    Object* object = node.GetObjectRef();
    if (!object) return std::make_shared<const TDravinMeshSample>();
    // What makes its mesh when it is asked for it knows only then how long that holds.
    std::shared_ptr<const Mesh> mesh = object->IsGeomObject() ? object->GetRenderMesh(t) : nullptr;
    Interval validity = object->ObjectValidity(t);
    if (!validity.Contains(t)) validity = Interval::Instant(t);
    std::vector<TPlantPoint> plant =
        mesh && plantClouds ? PointsOfPlant(*object, t) : std::vector<TPlantPoint>();
    return std::make_shared<const TDravinMeshSample>(mesh, SourceMatrix(node, t), validity,
                                                     std::move(plant));
}

Matrix3 SourceMatrix(INode& node, TimeValue t) {
    if (IsTemplateNode(node)) return TemplateTransform(node);
    Matrix3 m = node.GetObjectOffset().ToMatrix();
    INode* head = node.GetOutermostHead();
    if (head && head != &node) {
        Matrix3 relative = node.GetNodeTM(t) * Inverse(head->GetNodeTM(t));
        relative.NoTrans();
        m = m * relative;
    }
    return m;
}
