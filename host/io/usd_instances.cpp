#include "host/io/usd_instances.h"

#include <cmath>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/io/export_colors.h"

namespace {

constexpr std::string_view kAnInstance = " (\n        interpolation = \"vertex\"\n    )\n";
constexpr std::string_view kForAll = " (\n        interpolation = \"constant\"\n    )\n";

// Readers keep eleven bits of a half: more than five digits would be lost.
float AsHalf(float value) { return std::round(value * 1e5f) / 1e5f; }

// Axis by axis as far as the box reaches (Arvo, Transforming Axis-Aligned Bounding Boxes, 1990).
void AddMovedBox(const Box3& box, const Matrix3& m, Box3* sum) {
    Point3 center = box.Center() * m, half = box.Width() * 0.5f, reach;
    for (int k = 0; k < 3; ++k)
        reach[k] = std::abs(m.row[0][k]) * half.x + std::abs(m.row[1][k]) * half.y +
                   std::abs(m.row[2][k]) * half.z;
    *sum += center - reach;
    *sum += center + reach;
}

}  // namespace

void UsdInstancer::Count(const InstanceRecord& record, Survey& survey) const {
    survey.leftOut.Count(record, m_boxes.size());
    if (!IsPlaced(record, m_boxes.size())) return;
    const Box3& box = m_boxes[record.prototype];
    if (box.IsEmpty()) return;
    ++survey.counts[GroupOf(record)];
    survey.numTinted += record.tintBlend > 0;
    const Matrix3& m = record.transform;
    AddMovedBox(box, HasShear(m) ? PlaceWithoutShear(m).ToMatrix() : m, &survey.box);
}

void UsdInstancer::Merge(const Survey& survey) {
    for (size_t g = 0; g < survey.counts.size(); ++g) m_survey.counts[g] += survey.counts[g];
    m_survey.numTinted += survey.numTinted;
    m_survey.leftOut.numSheared += survey.leftOut.numSheared;
    m_survey.leftOut.numUnplaced += survey.leftOut.numUnplaced;
    m_survey.box += survey.box;
}

void UsdInstancer::Measure() {
    for (size_t p = 0; p < m_source.NumPrototypes(); ++p)
        m_boxes.push_back(DrawnBox(*m_source.PrototypeMesh(p)));
    size_t numGroups = 2 * m_boxes.size();
    m_survey.counts.assign(numGroups, 0);
    std::vector<Survey> surveys(size_t(m_arrays.NumSlots()), m_survey);
    m_arrays.ForPieces(
        m_source.NumInstances(),
        [&](size_t slot, size_t first, size_t last) {
            std::vector<InstanceRecord> records(last - first);
            m_source.GetInstances(first, records);
            for (const InstanceRecord& record : records) Count(record, surveys[slot]);
        },
        [](size_t) {});
    for (const Survey& survey : surveys) Merge(survey);
    m_numbers.assign(numGroups, kNotShown);
    int32_t number = 0;
    for (size_t g = 0; g < numGroups; ++g)
        if (m_survey.counts[g] > 0) m_numbers[g] = number++;
}

std::vector<InstanceRecord> UsdInstancer::Shown(size_t first, size_t last) const {
    std::vector<InstanceRecord> records(last - first);
    m_source.GetInstances(first, records);
    std::erase_if(records, [this](const InstanceRecord& r) {
        return !IsPlaced(r, m_boxes.size()) || m_numbers[GroupOf(r)] == kNotShown;
    });
    return records;
}

template <class Element>
void UsdInstancer::WriteArray(std::string_view head, std::string_view tail,
                              const Element& element) {
    m_arrays.Write(
        head, m_source.NumInstances(),
        [&](size_t first, size_t last, TextBuffer& text) {
            for (const InstanceRecord& record : Shown(first, last)) element(record, text);
        },
        tail);
}

void UsdInstancer::WriteArrays() {
    auto id = [](const InstanceRecord& r, TextBuffer& text) { AppendUsdElement(text, r.id); };
    WriteArray("int64[] ids", "\n", id);
    WriteArray("int[] primvars:id", kAnInstance, id);
    WriteArray("int[] protoIndices", "\n", [this](const InstanceRecord& r, TextBuffer& text) {
        AppendUsdElement(text, m_numbers[GroupOf(r)]);
    });
    WriteArray("point3f[] positions", "\n", [](const InstanceRecord& r, TextBuffer& text) {
        AppendUsdElement(text, r.transform.GetTrans());
    });
    // The real part comes first.
    WriteArray("quath[] orientations", "\n", [](const InstanceRecord& r, TextBuffer& text) {
        Quat q = PlaceUnmirrored(r).rotation;
        AppendUsdElement(text, {AsHalf(q.w), AsHalf(q.x), AsHalf(q.y), AsHalf(q.z)});
    });
    WriteArray("quatf[] orientationsf", "\n", [](const InstanceRecord& r, TextBuffer& text) {
        Quat q = PlaceUnmirrored(r).rotation;
        AppendUsdElement(text, {q.w, q.x, q.y, q.z});
    });
    WriteArray("float3[] scales", "\n", [](const InstanceRecord& r, TextBuffer& text) {
        AppendUsdElement(text, PlaceUnmirrored(r).scale);
    });
    WriteColors();
}

void UsdInstancer::WriteColors() {
    if (m_survey.numTinted == 0) {
        m_out.Write("    color3f[] primvars:displayColor = [(1, 1, 1)]");
        m_out.Write(kForAll);
        return;
    }
    WriteArray("color3f[] primvars:displayColor", kAnInstance,
               [](const InstanceRecord& r, TextBuffer& text) {
                   Color c = LinearFactor(TintMultiplier(r));
                   AppendUsdElement(text, {c.r, c.g, c.b});
               });
    WriteArray("color4f[] primvars:tint", kAnInstance,
               [](const InstanceRecord& r, TextBuffer& text) {
                   AppendUsdElement(text, {r.tint.r, r.tint.g, r.tint.b, r.tintBlend});
               });
}

// The paths of the prototypes, whose identifiers are chosen here.
std::string UsdInstancer::PrototypeTargets(const std::string& path) {
    UsdNames names;
    std::string targets;
    for (size_t g = 0; g < m_numbers.size(); ++g) {
        if (m_numbers[g] == kNotShown) continue;
        std::string name = m_source.PrototypeName(g / 2) + (g % 2 ? "_mirrored" : "");
        m_identifiers.push_back(names.Unique(name));
        targets += fmt::format("{}<{}/Prototypes/{}>", targets.empty() ? "" : ",\n        ", path,
                               m_identifiers.back());
    }
    return "[" + targets + "]";
}

bool UsdInstancer::WritePrototypes(UsdMeshWriter& meshes, std::string* error) {
    m_out.Write("    def Scope \"Prototypes\"\n    {\n");
    for (size_t g = 0; g < m_numbers.size(); ++g) {
        if (m_numbers[g] == kNotShown) continue;
        const Mesh* mesh = m_source.PrototypeMesh(g / 2);
        Mesh mirrored;
        if (g % 2) mirrored = TransformedMesh(*mesh, kMirror);
        std::string name = m_source.PrototypeName(g / 2) + (g % 2 ? " mirrored" : "");
        UsdMeshPrim prim{m_identifiers[size_t(m_numbers[g])], name, g % 2 ? &mirrored : mesh,
                         m_source.PrototypeMtl(g / 2)};
        if (!meshes.Write(prim, error)) return false;
    }
    m_out.Write("    }\n");
    return true;
}

bool UsdInstancer::Write(const std::string& parent, const std::string& identifier,
                         UsdMeshWriter& meshes, std::string* error) {
    std::string shown = UsdDisplayName(identifier, m_source.SourceName());
    m_out.Write(fmt::format("def PointInstancer \"{}\"{}\n{{\n", identifier,
                            shown.empty() ? "" : fmt::format(" (\n    {}\n)", shown)));
    const Box3& box = m_survey.box;
    if (!box.IsEmpty())
        m_out.Write(
            fmt::format("    float3[] extent = [{}, {}]\n", UsdTuple(box.min), UsdTuple(box.max)));
    m_out.Write(fmt::format("    rel prototypes = {}\n",
                            PrototypeTargets(fmt::format("{}/{}", parent, identifier))));
    WriteArrays();
    if (!WritePrototypes(meshes, error)) return false;
    m_out.Write("}\n");
    return true;
}

void UsdInstancer::TellOfLeftOut(std::vector<std::string>* warnings) const {
    m_survey.leftOut.Tell(m_source.SourceName(), warnings);
    if (m_survey.box.IsEmpty())
        warnings->push_back(m_source.SourceName() + ": no instance shows a face");
}
