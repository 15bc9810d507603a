#include "host/io/gltf_mesh_reader.h"

#include <algorithm>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/base/input_limit.h"
#include "host/geom/mesh_tools.h"
#include "host/io/gltf_accessors.h"
#include "host/io/mesh_soup.h"
#include "host/math/display_color.h"

namespace {

constexpr int kMaxSets = 8;  // of texture coordinates, and of joints

// Vertices and corners that all primitives may have together: primitives share accessors, but not
// without measure.
constexpr uint64_t kLeastAllowance = 1 << 24, kAllowanceForByte = 16, kBytesOfCorner = 64;

// Keeps the vertices that triangles use, in their order, in all channels of a mesh whose channels
// have one value for each vertex.
void DropUnused(size_t numVerts, std::vector<Triple>& triangles, Mesh& mesh) {
    std::vector<uint32_t> number(numVerts, 0);
    for (const Triple& t : triangles)
        for (uint32_t v : t) number[v] = 1;
    uint32_t kept = 0;
    for (uint32_t& n : number) n = n ? kept++ : kNoIndex;
    if (kept == numVerts) return;
    auto drop = [&](std::vector<Point3>& values) {
        for (size_t v = 0; v < values.size(); ++v)
            if (number[v] != kNoIndex) values[number[v]] = values[v];
        if (!values.empty()) values.resize(kept);
    };
    drop(mesh.verts);
    drop(mesh.normals.verts);
    for (MapChannel& map : mesh.maps) drop(map.verts);
    for (Triple& t : triangles)
        for (uint32_t& v : t) v = number[v];
}

}  // namespace

bool GltfMeshReader::Fail(const std::string& what, ImportFailure kind) const {
    return FailImport(m_error, fmt::format("{}: {}", m_files.Path(), what), kind);
}

bool GltfMeshReader::Weigh(ImportError* error) const {
    m_error = error;
    uint64_t bytes = 0, claimed = 0;
    for (const tinygltf::Buffer& buffer : m_model.buffers) bytes += buffer.data.size();
    for (size_t a = 0; a < m_model.accessors.size(); ++a)
        if (const tinygltf::Accessor& accessor = m_model.accessors[a];
            accessor.bufferView < 0 && accessor.count > MaxPlainGltfElements())
            return Fail(fmt::format("accessor {}: {}", a, TooManyPlainGltfElements(accessor.count)),
                        ImportFailure::kLimit);
    // What does not fit its buffer is told when it is read.
    auto count = [&](int accessor) {
        return accessor >= 0 && size_t(accessor) < m_model.accessors.size()
                   ? std::min<uint64_t>(m_model.accessors[size_t(accessor)].count,
                                        MaxPlainGltfElements() + bytes)
                   : 0;
    };
    for (const tinygltf::Mesh& mesh : m_model.meshes)
        for (const tinygltf::Primitive& primitive : mesh.primitives) {
            auto position = primitive.attributes.find("POSITION");
            if (position != primitive.attributes.end()) claimed += count(position->second);
            claimed += count(primitive.indices);
        }
    uint64_t most = std::max(
        {kLeastAllowance, kAllowanceForByte * bytes, RaisedByInputLimit(0) / kBytesOfCorner});
    return claimed <= most ||
           Fail(fmt::format("the primitives have {} vertices and corners, at most {} are read for "
                            "{} bytes of data; {}",
                            claimed, most, bytes, RaiseInputLimitTo(claimed * kBytesOfCorner)),
                ImportFailure::kLimit);
}

bool GltfMeshReader::Read(const tinygltf::Mesh& source, const std::vector<double>& weights,
                          const std::vector<Matrix3>* joints, Mesh* mesh,
                          std::vector<int>* materials, ImportError* error) {
    m_error = error;
    for (const tinygltf::Primitive& primitive : source.primitives) {
        auto id = size_t(std::find(materials->begin(), materials->end(), primitive.material) -
                         materials->begin());
        Mesh part;
        if (!ReadPrimitive(primitive, weights, joints, &part)) return false;
        if (part.faces.empty()) continue;
        if (id == materials->size()) materials->push_back(primitive.material);
        for (Face& face : part.faces) face.matID = uint16_t(id);
        if (mesh->faces.size() + part.faces.size() > kMaxImportedFaces)
            return Fail(TooManyImportedFaces(), ImportFailure::kLimit);
        FillMissingColors(*mesh, part);
        AppendMesh(*mesh, part);
    }
    WeldVertices(*mesh);
    return true;
}

bool GltfMeshReader::ReadPrimitive(const tinygltf::Primitive& primitive,
                                   const std::vector<double>& weights,
                                   const std::vector<Matrix3>* joints, Mesh* mesh) {
    if (primitive.mode >= 0 && primitive.mode < TINYGLTF_MODE_TRIANGLES) {
        m_files.LeaveOut("primitive of points or lines");
        return true;
    }
    auto position = primitive.attributes.find("POSITION");
    if (position == primitive.attributes.end()) return true;
    std::vector<Triple> triangles;
    if (!ReadPoints(position->second, 3, &mesh->verts)) return false;
    size_t numVerts = mesh->verts.size();
    if (!ReadAttributes(primitive, numVerts, mesh) || !Morph(primitive, weights, mesh) ||
        (joints && !Bend(primitive, *joints, mesh)) ||
        !ReadTriangles(primitive, numVerts, &triangles))
        return false;
    for (size_t v = 0; v < numVerts; ++v)
        if (!IsFinite(mesh->verts[v]))
            return Fail(fmt::format("vertex {}: a coordinate is not a finite number", v));
    DropUnused(numVerts, triangles, *mesh);
    bool hasNormals = !mesh->normals.verts.empty();
    for (const Triple& t : triangles) mesh->faces.push_back({t, hasNormals ? 1u : 0u});
    if (hasNormals) mesh->normals.faces = triangles;
    for (MapChannel& map : mesh->maps)
        if (!map.verts.empty()) map.faces = triangles;
    return true;
}

bool GltfMeshReader::ReadPoints(int accessor, int components, std::vector<Point3>* points) {
    std::vector<float> values;
    std::string reason;
    if (!GltfAccessors(m_model).ReadFloats(accessor, components, values, &reason))
        return Fail(reason);
    size_t n = values.size() / size_t(components);
    points->assign(n, {});
    for (size_t i = 0; i < n; ++i)
        for (int k = 0; k < components; ++k)
            (*points)[i][k] = values[i * size_t(components) + size_t(k)];
    return true;
}

bool GltfMeshReader::ReadTriangles(const tinygltf::Primitive& primitive, size_t numVerts,
                                   std::vector<Triple>* triangles) {
    std::vector<uint32_t> order;
    std::string reason;
    if (primitive.indices >= 0) {
        if (!GltfAccessors(m_model).ReadIndices(primitive.indices, order, &reason))
            return Fail(reason);
    } else {
        for (uint32_t v = 0; v < numVerts; ++v) order.push_back(v);
    }
    for (size_t i = 0; i < order.size(); ++i)
        if (order[i] >= numVerts)
            return Fail(fmt::format("accessor {}: index {}: vertex {} of {}", primitive.indices, i,
                                    order[i], numVerts));
    bool isStrip = primitive.mode == TINYGLTF_MODE_TRIANGLE_STRIP;
    bool isFan = primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN;
    for (size_t i = 2; i < order.size(); i += isStrip || isFan ? 1 : 3) {
        uint32_t a = isFan ? order[0] : order[i - 2], b = order[i - 1], c = order[i];
        bool isTurned = isStrip && i % 2 == 1;
        triangles->push_back(isTurned ? Triple{b, a, c} : Triple{a, b, c});
    }
    return true;
}

bool GltfMeshReader::ReadAttributes(const tinygltf::Primitive& primitive, size_t numVerts,
                                    Mesh* mesh) {
    auto read = [&](const std::string& name, int components, MapChannel* channel) {
        if (!ReadPoints(primitive.attributes.at(name), components, &channel->verts)) return false;
        return channel->verts.size() == numVerts ||
               Fail(fmt::format("{}: {} values for {} vertices", name, channel->verts.size(),
                                numVerts));
    };
    auto has = [&](const std::string& name) { return primitive.attributes.count(name) > 0; };
    if (has("NORMAL") && !read("NORMAL", 3, &mesh->normals)) return false;
    if (has("COLOR_0")) {
        if (!read("COLOR_0", 3, &mesh->MakeMap(0))) return false;
        for (Point3& c : mesh->maps[0].verts) {
            Color display = LinearToDisplay(Color{c.x, c.y, c.z});
            c = {display.r, display.g, display.b};
        }
        if (has("COLOR_1")) m_files.LeaveOut("further set of vertex colours");
        if (!WarnOfAlpha(primitive)) return false;
    }
    for (int set = 0; set < kMaxSets && has(fmt::format("TEXCOORD_{}", set)); ++set) {
        MapChannel& map = mesh->MakeMap(set + 1);
        if (!read(fmt::format("TEXCOORD_{}", set), 2, &map)) return false;
        for (Point3& t : map.verts) t.y = 1 - t.y;  // counted from the top in the file
    }
    return true;
}

// The mesh has no place for alpha of vertices.
bool GltfMeshReader::WarnOfAlpha(const tinygltf::Primitive& primitive) {
    int accessor = primitive.attributes.at("COLOR_0");
    bool isShown = primitive.material >= 0 &&
                   size_t(primitive.material) < m_model.materials.size() &&
                   m_model.materials[size_t(primitive.material)].alphaMode != "OPAQUE";
    if (m_model.accessors[size_t(accessor)].type != TINYGLTF_TYPE_VEC4 || !isShown) return true;
    std::vector<float> values;
    std::string reason;
    if (!GltfAccessors(m_model).ReadFloats(accessor, 4, values, &reason)) return Fail(reason);
    for (size_t i = 3; i < values.size(); i += 4)
        if (values[i] < 1) return m_files.Warn("the alpha of vertex colours is left out"), true;
    return true;
}

bool GltfMeshReader::Morph(const tinygltf::Primitive& primitive, const std::vector<double>& weights,
                           Mesh* mesh) {
    auto add = [&](const std::map<std::string, int>& target, const char* name, float weight,
                   std::vector<Point3>& values) {
        auto found = target.find(name);
        if (found == target.end() || values.empty()) return true;
        std::vector<Point3> offsets;
        if (!ReadPoints(found->second, 3, &offsets)) return false;
        if (offsets.size() != values.size())
            return Fail(fmt::format("a morph target of {} values for {} vertices", offsets.size(),
                                    values.size()));
        for (size_t v = 0; v < values.size(); ++v) values[v] += offsets[v] * weight;
        return true;
    };
    for (size_t t = 0; t < std::min(weights.size(), primitive.targets.size()); ++t) {
        auto weight = float(weights[t]);
        if (weight == 0) continue;
        if (!add(primitive.targets[t], "POSITION", weight, mesh->verts) ||
            !add(primitive.targets[t], "NORMAL", weight, mesh->normals.verts))
            return false;
    }
    return true;
}

bool GltfMeshReader::Bend(const tinygltf::Primitive& primitive, const std::vector<Matrix3>& joints,
                          Mesh* mesh) {
    size_t numVerts = mesh->verts.size();
    std::vector<Point3> verts(numVerts), normals(mesh->normals.verts.size());
    std::vector<float> sums(numVerts, 0);
    for (int set = 0; set < kMaxSets; ++set) {
        auto joint = primitive.attributes.find(fmt::format("JOINTS_{}", set));
        auto weight = primitive.attributes.find(fmt::format("WEIGHTS_{}", set));
        if (joint == primitive.attributes.end() || weight == primitive.attributes.end()) break;
        std::vector<float> numbers, weights;
        std::string reason;
        if (!GltfAccessors(m_model).ReadFloats(joint->second, 4, numbers, &reason) ||
            !GltfAccessors(m_model).ReadFloats(weight->second, 4, weights, &reason))
            return Fail(reason);
        if (numbers.size() != 4 * numVerts || weights.size() != 4 * numVerts)
            return Fail("joints and weights do not fit the vertices");
        for (size_t i = 0; i < weights.size(); ++i) {
            if (!(weights[i] > 0)) continue;
            if (!(numbers[i] >= 0 && numbers[i] < float(joints.size())))
                return Fail(
                    fmt::format("vertex {}: joint {} of {}", i / 4, numbers[i], joints.size()));
            const Matrix3& m = joints[size_t(numbers[i])];
            size_t v = i / 4;
            verts[v] += (mesh->verts[v] * m) * weights[i];
            if (!normals.empty())
                normals[v] += m.VectorTransform(mesh->normals.verts[v]) * weights[i];
            sums[v] += weights[i];
        }
    }
    for (size_t v = 0; v < numVerts; ++v) {
        if (sums[v] == 0) continue;  // bound to nothing: it stays
        mesh->verts[v] = verts[v] * (1 / sums[v]);
        if (!normals.empty()) mesh->normals.verts[v] = Normalize(normals[v]);
    }
    return true;
}
