#include "host/storage/mesh_storage.h"

#include "host/geom/mesh_tools.h"

namespace {

enum MeshChunk : uint32_t {
    kVertices = 1,
    kCorners = 2,    // of faces
    kSmoothing = 3,  // groups of faces
    kMaterialIds = 4,
    kFaceFlags = 5,
    kChannel = 6,  // number u32, vertices, faces
    kNormals = 7,  // vertices, faces
};

template <class T, class Get>
void WriteColumn(ChunkWriter& out, uint32_t id, const std::vector<Face>& faces, const Get& get) {
    std::vector<T> column(faces.size());
    for (size_t i = 0; i < faces.size(); ++i) column[i] = get(faces[i]);
    out.BeginChunk(id);
    out.WriteArray(std::span<const T>(column));
    out.EndChunk();
}

template <class T, class Set>
void ReadColumn(ChunkReader& in, std::vector<Face>& faces, const Set& set) {
    std::vector<T> column;
    in.ReadArray(&column);
    if (column.size() > faces.size()) faces.resize(column.size());
    for (size_t i = 0; i < column.size(); ++i) set(faces[i], column[i]);
}

void WriteChannel(ChunkWriter& out, const MapChannel& channel) {
    out.WriteArray(std::span<const Point3>(channel.verts));
    out.WriteArray(std::span<const Triple>(channel.faces));
}

void ReadChannel(ChunkReader& in, MapChannel& channel) {
    in.ReadArray(&channel.verts);
    in.ReadArray(&channel.faces);
}

}  // namespace

void WriteMesh(ChunkWriter& out, const Mesh& mesh) {
    out.BeginChunk(kVertices);
    out.WriteArray(std::span<const Point3>(mesh.verts));
    out.EndChunk();
    WriteColumn<Triple>(out, kCorners, mesh.faces, [](const Face& f) { return f.v; });
    WriteColumn<uint32_t>(out, kSmoothing, mesh.faces, [](const Face& f) { return f.smGroup; });
    WriteColumn<uint16_t>(out, kMaterialIds, mesh.faces, [](const Face& f) { return f.matID; });
    WriteColumn<uint8_t>(out, kFaceFlags, mesh.faces, [](const Face& f) { return f.flags; });
    for (size_t c = 0; c < mesh.maps.size(); ++c) {
        if (mesh.maps[c].verts.empty() && mesh.maps[c].IsEmpty()) continue;
        out.BeginChunk(kChannel);
        out.Write(uint32_t(c));
        WriteChannel(out, mesh.maps[c]);
        out.EndChunk();
    }
    if (mesh.normals.IsEmpty()) return;
    out.BeginChunk(kNormals);
    WriteChannel(out, mesh.normals);
    out.EndChunk();
}

Mesh ReadMesh(ChunkReader& in) {
    constexpr uint32_t kMaxChannels = 1000;
    Mesh mesh;
    in.ForEachChunk([&](uint32_t id) {
        if (id == kVertices) in.ReadArray(&mesh.verts);
        if (id == kCorners)
            ReadColumn<Triple>(in, mesh.faces, [](Face& f, const Triple& v) { f.v = v; });
        if (id == kSmoothing)
            ReadColumn<uint32_t>(in, mesh.faces, [](Face& f, uint32_t s) { f.smGroup = s; });
        if (id == kMaterialIds)
            ReadColumn<uint16_t>(in, mesh.faces, [](Face& f, uint16_t m) { f.matID = m; });
        if (id == kFaceFlags)
            ReadColumn<uint8_t>(in, mesh.faces, [](Face& f, uint8_t flags) { f.flags = flags; });
        if (id == kChannel) {
            uint32_t channel = in.Read<uint32_t>();
            if (channel >= kMaxChannels)
                in.Fail("a mapping channel that no mesh has");
            else
                ReadChannel(in, mesh.MakeMap(int(channel)));
        }
        if (id == kNormals) ReadChannel(in, mesh.normals);
    });
    if (in.HasFailed()) return {};
    if (std::string problem = Validate(mesh); !problem.empty()) in.Fail(problem);
    return in.HasFailed() ? Mesh() : mesh;
}
