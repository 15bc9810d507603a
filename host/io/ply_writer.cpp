// PLY: binary, little endian; vertices with their position, faces with three corners and, where a
// mesh has mapping, its coordinates at these.

#include <bit>
#include <cstring>
#include <limits>

#include <fmt/format.h>

#include "host/io/mesh_file_rows.h"

namespace {

static_assert(std::endian::native == std::endian::little);

template <class T>
char* AppendBytes(char* out, const T& value) {
    std::memcpy(out, &value, sizeof(T));
    return out + sizeof(T);
}

constexpr size_t kBytesOfVertex = 3 * sizeof(float);
constexpr size_t kBytesOfFace = 2 + 3 * sizeof(int32_t) + 6 * sizeof(float);

std::string Header(uint64_t verts, uint64_t faces, bool hasMapping) {
    return fmt::format(
        "ply\nformat binary_little_endian 1.0\ncomment z up, lengths in scene units\n"
        "element vertex {}\nproperty float x\nproperty float y\nproperty float z\n"
        "element face {}\nproperty list uchar int vertex_indices\n{}end_header\n",
        verts, faces, hasMapping ? "property list uchar float texcoord\n" : "");
}

void WriteVerts(const ShownMesh& shown, RowWriter& rows) {
    const Mesh& mesh = shown.GetMesh();
    rows.Write(mesh.verts.size(), [&](size_t i, TextBuffer& text) {
        if (!shown.ShowsVertex(i)) return;
        Point3 p = mesh.verts[i] * shown.part->toWorld;
        char* out = text.Room(kBytesOfVertex);
        for (int k = 0; k < 3; ++k) out = AppendBytes(out, p[k]);
        text.EndAt(out);
    });
}

void WriteFaces(const ShownMesh& shown, uint64_t firstVert, bool hasMapping, RowWriter& rows) {
    const Mesh& mesh = shown.GetMesh();
    const MapChannel* map = mesh.Map(1);
    rows.Write(mesh.faces.size(), [&](size_t f, TextBuffer& text) {
        if (!shown.ShowsFace(f)) return;
        char* out = AppendBytes(text.Room(kBytesOfFace), uint8_t{3});
        for (size_t k = 0; k < 3; ++k) {
            uint32_t v = shown.Number(shown.Corner(mesh.faces[f].v, k));
            out = AppendBytes(out, int32_t(firstVert + v));
        }
        if (hasMapping) {
            out = AppendBytes(out, uint8_t{6});
            for (size_t k = 0; k < 3; ++k) {
                Point3 uvw = map ? map->verts[shown.Corner(map->faces[f], k)] : Point3{};
                out = AppendBytes(AppendBytes(out, uvw.x), uvw.y);
            }
        }
        text.EndAt(out);
    });
}

}  // namespace

bool WritePly(const std::string& path, std::span<const MeshFilePart> parts,
              const MeshFileOptions& options, std::vector<std::string>* warnings,
              std::string* error) {
    std::vector<ShownMesh> shown;
    uint64_t verts = 0, faces = 0, rows = 0;
    bool hasMapping = false, hasMaterials = false;
    for (const MeshFilePart& part : parts) {
        const ShownMesh& mesh = shown.emplace_back(part);
        verts += mesh.numVerts, faces += mesh.numFaces;
        rows += part.mesh->verts.size() + part.mesh->faces.size();
        hasMapping |= part.mesh->Map(1) != nullptr;
        hasMaterials |= !part.materials.empty();
    }
    if (verts > uint64_t(std::numeric_limits<int32_t>::max())) {
        *error = fmt::format(
            "{}: {} vertices are more than can be numbered; build fewer objects "
            "at once (--object)",
            path, verts);
        return false;
    }
    TellOfLeftOut(parts, false, warnings);
    if (hasMaterials) warnings->push_back("materials and smoothing groups are left out");
    AtomicFile file;
    if (!file.Open(path, error)) return false;
    file.Write(Header(verts, faces, hasMapping));
    RowWriter writer(file, options, rows);
    for (const ShownMesh& mesh : shown) WriteVerts(mesh, writer);
    uint64_t firstVert = 0;
    for (const ShownMesh& mesh : shown) {
        WriteFaces(mesh, firstVert, hasMapping, writer);
        firstVert += mesh.numVerts;
    }
    if (writer.IsCancelled()) return *error = path + ": cancelled", false;
    return file.Commit(error);
}
