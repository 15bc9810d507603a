#include "host/geom/mesh_tools.h"

#include <fmt/format.h>

namespace {

std::string CheckChannel(const MapChannel& channel, size_t numFaces, const char* what) {
    if (channel.IsEmpty()) return {};
    if (channel.faces.size() != numFaces)
        return fmt::format("{}: {} faces, the mesh has {}", what, channel.faces.size(), numFaces);
    for (size_t f = 0; f < numFaces; ++f)
        for (uint32_t i : channel.faces[f])
            if (i >= channel.verts.size())
                return fmt::format("{}: face {}: vertex index {} of {}", what, f, i,
                                   channel.verts.size());
    return {};
}

}  // namespace

std::string Validate(const Mesh& mesh) {
    for (size_t f = 0; f < mesh.faces.size(); ++f)
        for (uint32_t i : mesh.faces[f].v)
            if (i >= mesh.verts.size())
                return fmt::format("face {}: vertex index {} of {}", f, i, mesh.verts.size());
    for (size_t c = 0; c < mesh.maps.size(); ++c) {
        std::string channel = fmt::format("channel {}", c);
        if (std::string error = CheckChannel(mesh.maps[c], mesh.NumFaces(), channel.c_str());
            !error.empty())
            return error;
    }
    return CheckChannel(mesh.normals, mesh.NumFaces(), "normals");
}
