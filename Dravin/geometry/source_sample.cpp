#include "Dravin/geometry/source_sample.h"

#include <cmath>

#include "Dravin/geometry/template_list.h"

namespace {

constexpr float kSmallestExtent = 0.0001f;

Box3 BoundsUnder(const Mesh& mesh, const Matrix3& m) {
    Box3 box;
    for (const Point3& p : mesh.verts)
        if (IsFinite(p)) box += p * m;
    return box;
}

}  // namespace

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

std::shared_ptr<const TSourceSample> EmptySample() {
    static const auto sample = std::make_shared<const TSourceSample>();
    return sample;
}

std::shared_ptr<const TSourceSample> SampleSource(INode& node, TimeValue t) {
    Object* object = node.GetObjectRef();
    if (!object || !object->IsGeomObject()) return EmptySample();
    auto sample = std::make_shared<TSourceSample>();
    sample->isMesh = true;
    sample->validity = object->ObjectValidity(t);
    if (!sample->validity.Contains(t)) sample->validity = Interval::Instant(t);
    sample->mesh = object->GetRenderMesh(t);
    sample->toReal = SourceMatrix(node, t);
    if (!sample->mesh) return sample;

    Point3 size = BoundsUnder(*sample->mesh, sample->toReal).Width();
    for (int i = 0; i < 3; ++i)
        if (!(std::abs(size[i]) >= kSmallestExtent)) size[i] = 1, sample->degenerate = true;
    sample->size = size;
    sample->aspect = (1 / size.x) / (1 / size.y);
    sample->normalize = sample->toReal * Matrix3::Scaling({1 / size.x, 1 / size.y, 1 / size.z});
    sample->unitBounds = BoundsUnder(*sample->mesh, sample->normalize);
    return sample;
}
