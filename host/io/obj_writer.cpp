// Wavefront OBJ. Faces name vertices, mapping and normals by numbers that run over the whole file.

#include <algorithm>
#include <bit>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/number_text.h"
#include "host/io/mesh_file_rows.h"
#include "host/io/mtl_writer.h"

namespace {

constexpr uint64_t kMaxNumber = ~uint32_t{0};
constexpr size_t kLongestRow = 16 * kNumberRoom;

char* Append(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// "v 1 2 3\n"
void PointRow(TextBuffer& text, std::string_view keyword, const Point3& p, int numbers) {
    char* out = Append(text.Room(kLongestRow), keyword);
    for (int k = 0; k < numbers; ++k) {
        *out++ = ' ';
        out = WriteNumber(out, p[k]);
    }
    *out++ = '\n';
    text.EndAt(out);
}

// Groups have numbers; a face that is in several keeps the lowest. 0: none.
uint32_t GroupNumber(const Face& face) {
    return face.smGroup == 0 ? 0 : uint32_t(std::countr_zero(face.smGroup)) + 1;
}

class ObjWriter {
public:
    ObjWriter(AtomicFile& out, const MeshFileOptions& options, MtlWriter& materials, uint64_t rows)
        : m_out(out), m_rows(out, options, rows), m_materials(materials) {}

    void Add(const ShownMesh& shown) {
        const MeshFilePart& part = *shown.part;
        const Mesh& mesh = *part.mesh;
        const MapChannel* map = mesh.Map(1);
        m_out.Write(fmt::format("o {}\n", part.name));
        m_rows.Write(mesh.verts.size(), [&](size_t i, TextBuffer& text) {
            if (shown.ShowsVertex(i)) PointRow(text, "v", mesh.verts[i] * part.toWorld, 3);
        });
        if (map)
            m_rows.Write(map->verts.size(), [&](size_t i, TextBuffer& text) {
                PointRow(text, "vt", map->verts[i], 2);
            });
        Matrix3 forNormals = NormalTransform(part.toWorld);
        m_rows.Write(mesh.normals.verts.size(), [&](size_t i, TextBuffer& text) {
            Point3 normal = Normalize(forNormals.VectorTransform(mesh.normals.verts[i]));
            PointRow(text, "vn", normal, 3);
        });
        std::vector<std::string> uses;
        for (const StandardMtl* material : part.materials)
            uses.push_back("usemtl " + m_materials.NameOf(material) + "\n");
        m_rows.Write(mesh.faces.size(), [&](size_t f, TextBuffer& text) {
            if (shown.ShowsFace(f)) FaceRow(shown, f, map, uses, text);
        });
        m_firstVert += shown.numVerts;
        m_firstUv += map ? map->verts.size() : 0;
        m_firstNormal += mesh.normals.verts.size();
    }

    bool IsCancelled() const { return m_rows.IsCancelled(); }

private:
    // With the statements before it that say what has changed since the face before.
    void FaceRow(const ShownMesh& shown, size_t f, const MapChannel* map,
                 const std::vector<std::string>& uses, TextBuffer& text) const {
        const Face& face = shown.GetMesh().faces[f];
        bool isNew = f == 0 || !shown.ShowsFace(f - 1);
        if (!uses.empty()) {
            uint32_t material = shown.part->materialOf(f);
            if (isNew || shown.part->materialOf(f - 1) != material)
                text.EndAt(Append(text.Room(uses[material].size()), uses[material]));
        }
        char* out = text.Room(kLongestRow);
        uint32_t group = GroupNumber(face);
        if (isNew || GroupNumber(shown.GetMesh().faces[f - 1]) != group) {
            out = WriteNumber(Append(out, "s "), group);
            *out++ = '\n';
        }
        *out++ = 'f';
        for (size_t k = 0; k < 3; ++k) {
            *out++ = ' ';
            uint32_t v = shown.Number(shown.Corner(face.v, k));
            out = WriteNumber(out, uint32_t(m_firstVert + v));
            const MapChannel& normals = shown.GetMesh().normals;
            if (map || !normals.IsEmpty()) *out++ = '/';
            if (map) out = WriteNumber(out, uint32_t(m_firstUv + shown.Corner(map->faces[f], k)));
            if (normals.IsEmpty()) continue;
            *out++ = '/';
            out = WriteNumber(out, uint32_t(m_firstNormal + shown.Corner(normals.faces[f], k)));
        }
        *out++ = '\n';
        text.EndAt(out);
    }

    AtomicFile& m_out;
    RowWriter m_rows;
    MtlWriter& m_materials;
    uint64_t m_firstVert = 1, m_firstUv = 1, m_firstNormal = 1;  // of the part in hand
};

}  // namespace

std::string MaterialLibraryPath(const std::string& objPath) {
    return std::filesystem::path(objPath).replace_extension(".mtl").string();
}

bool WriteObj(const std::string& path, std::span<const MeshFilePart> parts,
              const MeshFileOptions& options, std::vector<std::string>* warnings,
              std::string* error) {
    std::vector<ShownMesh> shown;
    uint64_t rows = 0, verts = 0, uvs = 0, normals = 0;
    bool hasMaterials = false;
    for (const MeshFilePart& part : parts) {
        shown.emplace_back(part);
        const MapChannel* map = part.mesh->Map(1);
        verts += part.mesh->verts.size(), uvs += map ? map->verts.size() : 0;
        normals += part.mesh->normals.verts.size();
        rows += part.mesh->faces.size();
        hasMaterials |= !part.materials.empty();
    }
    if (std::max({verts, uvs, normals}) >= kMaxNumber) {
        *error = fmt::format(
            "{}: {} vertices are more than can be numbered; build fewer objects "
            "at once (--object)",
            path, std::max({verts, uvs, normals}));
        return false;
    }
    TellOfLeftOut(parts, true, warnings);
    AtomicFile file, library;
    std::string libraryPath = MaterialLibraryPath(path);
    if (!file.Open(path, error) || (hasMaterials && !library.Open(libraryPath, error)))
        return false;
    file.Write("# z up, lengths in scene units\n");
    if (hasMaterials)
        file.Write("mtllib " + std::filesystem::path(libraryPath).filename().string() + "\n");
    MtlWriter materials(std::filesystem::absolute(path).parent_path().string(), warnings);
    ObjWriter writer(file, options, materials, rows + verts + uvs + normals);
    for (const ShownMesh& mesh : shown) writer.Add(mesh);
    if (writer.IsCancelled()) return *error = path + ": cancelled", false;
    if (!hasMaterials) return file.Commit(error);
    library.Write(materials.Text());
    AtomicFile* both[] = {&library, &file};
    return AtomicFile::CommitTogether(both, error);
}
