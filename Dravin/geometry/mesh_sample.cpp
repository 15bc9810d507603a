#include "Dravin/geometry/mesh_sample.h"

#include <cmath>

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
                                     Interval validity)
    : m_source(std::move(source)), m_validity(validity) {
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
    std::call_once(m_cloudOnce,
                   [this] { m_cloud = MakeMeshCloud(UnitMesh(), Elements(), NumProcessors()); });
    return m_cloud;
}

std::shared_ptr<const TDravinMeshSample> MakeMeshSample(INode& node, TimeValue t) {
    Object* object = node.GetObjectRef();
    if (!object) return std::make_shared<const TDravinMeshSample>();
    // What makes its mesh when it is asked for it knows only then how long that holds.
    std::shared_ptr<const Mesh> mesh = object->IsGeomObject() ? object->GetRenderMesh(t) : nullptr;
    Interval validity = object->ObjectValidity(t);
    if (!validity.Contains(t)) validity = Interval::Instant(t);
    return std::make_shared<const TDravinMeshSample>(mesh, SourceMatrix(node, t), validity);
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
