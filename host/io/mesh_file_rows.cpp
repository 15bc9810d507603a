#include "host/io/mesh_file_rows.h"

ShownMesh::ShownMesh(const MeshFilePart& shown)
    : part(&shown), isTurned(shown.toWorld.Determinant() < 0) {
    const Mesh& mesh = GetMesh();
    numVerts = mesh.verts.size();
    numFaces = uint64_t(std::count_if(mesh.faces.begin(), mesh.faces.end(), [](const Face& face) {
        return !(face.flags & Face::kHidden);
    }));
    if (numFaces == mesh.faces.size()) return;
    // Vertices that no face uses stay; those that only hidden ones use go.
    numbers.assign(mesh.verts.size(), 0);
    for (const Face& face : mesh.faces)
        if (face.flags & Face::kHidden)
            for (uint32_t v : face.v) numbers[v] = kLeftOut;
    for (const Face& face : mesh.faces)
        if (!(face.flags & Face::kHidden))
            for (uint32_t v : face.v) numbers[v] = 0;
    numVerts = 0;
    for (uint32_t& number : numbers)
        if (number != kLeftOut) number = uint32_t(numVerts++);
}

void TellOfLeftOut(std::span<const MeshFilePart> parts, bool writesNormals,
                   std::vector<std::string>* warnings) {
    bool colors = false, normals = false, channels = false;
    for (const MeshFilePart& part : parts) {
        colors |= part.mesh->Map(0) != nullptr;
        normals |= !writesNormals && !part.mesh->normals.IsEmpty();
        for (size_t c = 2; c < part.mesh->maps.size(); ++c)
            channels |= part.mesh->Map(int(c)) != nullptr;
    }
    if (colors) warnings->push_back("vertex colours are left out");
    if (normals) warnings->push_back("explicit normals are left out");
    if (channels) warnings->push_back("mapping channels beyond the first are left out");
}
