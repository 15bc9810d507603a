#include "host/io/instance_placement.h"

#include <cmath>

#include <fmt/format.h>

#include "host/base/text.h"

namespace {

// Any unit vector at right angles to the unit vector a.
Point3 Perpendicular(const Point3& a) {
    Point3 axis = std::abs(a.x) < 0.6f ? Point3{1, 0, 0} : Point3{0, 1, 0};
    return Normalize(CrossProd(a, axis));
}

}  // namespace

Matrix3 InstancePlacement::ToMatrix() const {
    Matrix3 m = rotation.ToMatrix();
    m.PreScale(scale);
    m.SetTrans(translation);
    return m;
}

InstancePlacement PlaceWithoutShear(const Matrix3& m) {
    float sign = m.Determinant() < 0 ? -1.0f : 1.0f;
    Point3 x = Normalize(m.row[0]) * sign, y = m.row[1], z = m.row[2];
    // A vanished axis may point anywhere; the others keep their directions.
    if (x == Point3{}) x = Normalize(CrossProd(y, z));
    if (x == Point3{})
        x = y == Point3{} && z == Point3{} ? Point3{1, 0, 0}
                                           : Perpendicular(Normalize(y == Point3{} ? z : y));
    y = Normalize(y - x * DotProd(x, y));
    if (y == Point3{}) y = Normalize(CrossProd(z, x));
    if (y == Point3{}) y = Perpendicular(x);
    Matrix3 rotation{{x, y, CrossProd(x, y), {}}};
    Quat q = Quat::FromMatrix(rotation);
    float length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    q = {q.x / length, q.y / length, q.z / length, q.w / length};
    return {m.row[3], q, {Length(m.row[0]) * sign, Length(m.row[1]), Length(m.row[2])}};
}

bool HasShear(const Matrix3& m) {
    constexpr float kRightAngle = 1e-4f;
    for (int i = 0; i < 3; ++i) {
        const Point3 &a = m.row[i], &b = m.row[(i + 1) % 3];
        if (std::abs(DotProd(a, b)) > kRightAngle * Length(a) * Length(b)) return true;
    }
    return false;
}

bool IsMirrored(const InstanceRecord& record) { return record.transform.Determinant() < 0; }

size_t GroupOf(const InstanceRecord& record) {
    return 2 * size_t{record.prototype} + (IsMirrored(record) ? 1 : 0);
}

InstancePlacement PlaceUnmirrored(const InstanceRecord& record) {
    return PlaceWithoutShear(IsMirrored(record) ? kMirror * record.transform : record.transform);
}

bool IsPlaced(const InstanceRecord& record, size_t numPrototypes) {
    if (record.prototype >= numPrototypes) return false;
    for (const Point3& row : record.transform.row)
        if (!IsFinite(row)) return false;
    return true;
}

void LeftOutInstances::Count(const InstanceRecord& record, size_t numPrototypes) {
    if (!IsPlaced(record, numPrototypes))
        ++numUnplaced;
    else
        numSheared += HasShear(record.transform);
}

void LeftOutInstances::Tell(const std::string& sourceName,
                            std::vector<std::string>* warnings) const {
    auto tell = [&](uint64_t count, const char* what) {
        if (count > 0)
            warnings->push_back(fmt::format("{}: instances that {}: {}", sourceName, what,
                                            FormatGrouped(int64_t(count))));
    };
    tell(numSheared, "are sheared, which the format cannot hold, and lose their shear");
    tell(numUnplaced, "have no finite place and are left out");
}

Color TintMultiplier(const InstanceRecord& record) {
    Color white{1, 1, 1};
    return white + (record.tint - white) * record.tintBlend;
}
