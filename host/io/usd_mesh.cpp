#include "host/io/usd_mesh.h"

#include <algorithm>
#include <bitset>
#include <cmath>

#include <fmt/format.h>

#include "host/geom/mesh_tools.h"
#include "host/io/export_colors.h"

namespace {

constexpr std::string_view kFaceVarying = " (\n        interpolation = \"faceVarying\"\n    )\n";
constexpr std::string_view kVertex = " (\n        interpolation = \"vertex\"\n    )\n";

bool IsDrawn(const Mesh& mesh, const Face& face) {
    const Triple& v = face.v;
    return !(face.flags & Face::kHidden) && v[0] != v[1] && v[1] != v[2] && v[2] != v[0] &&
           IsFinite(mesh.verts[v[0]]) && IsFinite(mesh.verts[v[1]]) && IsFinite(mesh.verts[v[2]]);
}

// The mesh where all its faces are drawn, else a copy of those that are, in `made`.
const Mesh& DrawnMesh(const Mesh& mesh, Mesh* made) {
    std::vector<uint8_t> keep(mesh.NumFaces());
    bool keepsAll = true;
    for (size_t f = 0; f < keep.size(); ++f) {
        keep[f] = IsDrawn(mesh, mesh.faces[f]);
        keepsAll &= keep[f] != 0;
    }
    if (keepsAll && !FirstNonFiniteVertex(mesh)) return mesh;
    return *made = MeshOfFaces(mesh, keep);
}

std::vector<uint16_t> MaterialIds(const Mesh& mesh) {
    std::bitset<65536> has;
    for (const Face& face : mesh.faces) has.set(face.matID);
    std::vector<uint16_t> ids;
    for (size_t id = 0; id < has.size(); ++id)
        if (has[id]) ids.push_back(uint16_t(id));
    return ids;
}

// A normal a vertex, where the corners at each agree; none where they do not.
std::vector<Point3> NormalsOfVertices(const Mesh& mesh, const std::vector<Point3>& corners) {
    constexpr Point3 kNone{0, 0, 0};
    std::vector<Point3> normals(mesh.verts.size(), kNone);
    for (size_t c = 0; c < corners.size(); ++c) {
        Point3& normal = normals[mesh.faces[c / 3].v[c % 3]];
        if (normal == kNone) normal = corners[c];
        if (!(normal == corners[c])) return {};
    }
    return normals;
}

std::string Binding(const std::string& material) {
    return fmt::format("    rel material:binding = <{}>\n", material);
}

}  // namespace

Box3 DrawnBox(const Mesh& mesh) {
    Box3 box;
    for (const Face& face : mesh.faces)
        if (IsDrawn(mesh, face))
            for (uint32_t v : face.v) box += mesh.verts[v];
    return box;
}

bool UsdMeshWriter::Write(const UsdMeshPrim& prim, std::string* error) {
    Mesh made;
    const Mesh& mesh = DrawnMesh(*prim.mesh, &made);
    std::string shown = UsdDisplayName(prim.identifier, prim.displayName);
    m_out.Write(
        fmt::format("def Mesh \"{}\" (\n    prepend apiSchemas = [\"MaterialBindingAPI\"]\n{})\n"
                    "{{\n",
                    prim.identifier, shown.empty() ? "" : "    " + shown + "\n"));
    WriteFaces(mesh);
    WriteNormals(mesh);
    for (size_t c = 0; c < mesh.maps.size(); ++c)
        if (mesh.Map(int(c))) WriteChannel(mesh, int(c));
    if (prim.transform)
        m_out.Write(
            fmt::format("    matrix4d xformOp:transform = {}\n"
                        "    uniform token[] xformOpOrder = [\"xformOp:transform\"]\n",
                        UsdMatrix(*prim.transform)));
    if (!BindMaterials(prim, mesh, error)) return false;
    m_out.Write("}\n");
    return true;
}

void UsdMeshWriter::WriteFaces(const Mesh& mesh) {
    Box3 box = mesh.BoundingBox();
    if (!box.IsEmpty())
        m_out.Write(
            fmt::format("    float3[] extent = [{}, {}]\n", UsdTuple(box.min), UsdTuple(box.max)));
    m_arrays.Write("int[] faceVertexCounts", mesh.NumFaces(),
                   [](size_t first, size_t last, TextBuffer& text) {
                       for (size_t f = first; f < last; ++f) AppendUsdElement(text, 3);
                   });
    m_arrays.Write("int[] faceVertexIndices", mesh.NumFaces(),
                   [&](size_t first, size_t last, TextBuffer& text) {
                       for (size_t f = first; f < last; ++f)
                           for (uint32_t v : mesh.faces[f].v) AppendUsdElement(text, int32_t(v));
                   });
    m_arrays.Write("point3f[] points", mesh.verts.size(),
                   [&](size_t first, size_t last, TextBuffer& text) {
                       for (size_t v = first; v < last; ++v) AppendUsdElement(text, mesh.verts[v]);
                   });
    m_out.Write("    uniform token subdivisionScheme = \"none\"\n");
}

void UsdMeshWriter::WriteNormals(const Mesh& mesh) {
    std::vector<Point3> normals = VertexNormals(mesh);
    std::vector<Point3> ofVertices = NormalsOfVertices(mesh, normals);
    bool isHard = ofVertices.empty() && !normals.empty();
    if (!isHard) normals = std::move(ofVertices);
    m_arrays.Write(
        "normal3f[] normals", normals.size(),
        [&](size_t first, size_t last, TextBuffer& text) {
            for (size_t n = first; n < last; ++n) AppendUsdElement(text, normals[n]);
        },
        isHard ? kFaceVarying : kVertex);
}

void UsdMeshWriter::WriteChannel(const Mesh& mesh, int channel) {
    const MapChannel& map = *mesh.Map(channel);
    std::string name = channel == 0   ? "vertexColor"
                       : channel == 1 ? "st"
                                      : fmt::format("st{}", channel);
    m_arrays.Write(
        fmt::format("{} primvars:{}", channel == 0 ? "color3f[]" : "texCoord2f[]", name),
        map.verts.size(),
        [&](size_t first, size_t last, TextBuffer& text) {
            for (size_t v = first; v < last; ++v) {
                Point3 p = IsFinite(map.verts[v]) ? map.verts[v] : Point3{};
                Color linear = LinearFactor({p.x, p.y, p.z});
                if (channel == 0)
                    AppendUsdElement(text, {linear.r, linear.g, linear.b});
                else
                    AppendUsdElement(text, {p.x, p.y});
            }
        },
        kFaceVarying);
    m_arrays.Write(fmt::format("int[] primvars:{}:indices", name), map.faces.size(),
                   [&](size_t first, size_t last, TextBuffer& text) {
                       for (size_t f = first; f < last; ++f)
                           for (uint32_t v : map.faces[f]) AppendUsdElement(text, int32_t(v));
                   });
}

// One material for the mesh, or a subset for each id where ids show different ones.
bool UsdMeshWriter::BindMaterials(const UsdMeshPrim& prim, const Mesh& mesh, std::string* error) {
    std::vector<uint16_t> ids = MaterialIds(mesh);
    if (ids.empty()) return true;
    WriteSidedness(prim, ids);
    const StandardMtl* first = StandardMtlOfFace(prim.material, ids[0]);
    bool showsOne = std::all_of(ids.begin(), ids.end(), [&](uint16_t id) {
        return StandardMtlOfFace(prim.material, id) == first;
    });
    if (showsOne) {
        std::string path;
        if (!m_materials.Add(first, &path, error)) return false;
        m_out.Write(Binding(path));
        return true;
    }
    m_out.Write("    uniform token subsetFamily:materialBind:familyType = \"partition\"\n");
    for (uint16_t id : ids)
        if (!WriteSubset(prim, mesh, id, error)) return false;
    return true;
}

bool UsdMeshWriter::WriteSubset(const UsdMeshPrim& prim, const Mesh& mesh, uint16_t id,
                                std::string* error) {
    std::string path;
    if (!m_materials.Add(StandardMtlOfFace(prim.material, id), &path, error)) return false;
    m_out.Write(fmt::format(
        "    def GeomSubset \"id_{}\" (\n        prepend apiSchemas = [\"MaterialBindingAPI\"]\n"
        "    )\n    {{\n    uniform token elementType = \"face\"\n"
        "    uniform token familyName = \"materialBind\"\n",
        id + 1));
    m_arrays.Write("int[] indices", mesh.NumFaces(),
                   [&](size_t first, size_t last, TextBuffer& text) {
                       for (size_t f = first; f < last; ++f)
                           if (mesh.faces[f].matID == id) AppendUsdElement(text, int32_t(f));
                   });
    m_out.Write(Binding(path) + "    }\n");
    return true;
}

// The format says for a whole mesh what we say for a material.
void UsdMeshWriter::WriteSidedness(const UsdMeshPrim& prim, const std::vector<uint16_t>& ids) {
    auto numTwoSided = std::count_if(ids.begin(), ids.end(), [&](uint16_t id) {
        const StandardMtl* material = StandardMtlOfFace(prim.material, id);
        return material && material->twoSided;
    });
    if (numTwoSided == 0) return;
    m_out.Write("    uniform bool doubleSided = 1\n");
    if (size_t(numTwoSided) < ids.size())
        m_warnings->push_back(
            fmt::format("mesh \"{}\": all its faces are written as two-sided, not only those whose "
                        "material says so",
                        prim.displayName));
}
