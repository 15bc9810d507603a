// Primitives of KHR_draco_mesh_compression.

#include <cstring>
#include <map>
#include <tuple>

#include <draco/compression/decode.h>
#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/base/input_limit.h"
#include "host/io/gltf_file.h"
#include "host/io/gltf_value.h"

namespace {

// More faces than this for each byte are no mesh that anyone packed.
constexpr uint64_t kMostFacesOfOneByte = 256, kSlackFaces = 1 << 16;

// What the head of a packed mesh claims: faces and points (or vertices), as the bitstream's
// description of version 2.2 and before lays them out.
struct Claims {
    uint64_t faces = 0, points = 0;

    // Corner numbers, and a place, a normal and a texture coordinate of each point.
    uint64_t Bytes() const { return faces * sizeof(Triple) + points * 3 * sizeof(Point3); }
};

class HeadReader {
public:
    HeadReader(const unsigned char* bytes, size_t size) : m_bytes(bytes), m_size(size) {}

    // Empty, or why the mesh cannot be unpacked.
    std::string Read(Claims* claims) {
        constexpr size_t kHeadBytes = 11;
        if (m_size < kHeadBytes || std::memcmp(m_bytes, "DRACO", 5) != 0) return "it is damaged";
        uint32_t version = m_bytes[5] * 256u + m_bytes[6];
        bool isMesh = m_bytes[7] == 1, isEdgebreaker = m_bytes[8] == 1;
        bool hasMetadata = m_bytes[10] & 0x80;
        if (!isMesh || hasMetadata) return isMesh ? "it holds metadata" : "it holds no mesh";
        if (version < 0x200) return "its version is too old";
        m_pos = kHeadBytes;
        m_hasVarints = version >= 0x202;
        uint64_t first = 0, second = 0;
        if (isEdgebreaker) {
            ++m_pos;  // the kind of traversal
            if (!m_hasVarints && !Number(&first)) return "it is damaged";
        }
        if (!Number(&first) || !Number(&second)) return "it is damaged";
        *claims = isEdgebreaker ? Claims{second, first} : Claims{first, second};
        return {};
    }

private:
    bool Number(uint64_t* value) {
        *value = 0;
        int numBytes = m_hasVarints ? 5 : 4;
        for (int i = 0; i < numBytes; ++i) {
            if (m_pos >= m_size) return false;
            uint64_t byte = m_bytes[m_pos++];
            *value |= (m_hasVarints ? byte & 0x7F : byte) << (m_hasVarints ? 7 * i : 8 * i);
            if (m_hasVarints && !(byte & 0x80)) break;
        }
        return true;
    }

    const unsigned char* m_bytes;
    size_t m_size, m_pos = 0;
    bool m_hasVarints = true;
};

// The largest value of an integer type as the format normalises it; 0 for floats.
float NormalisedOne(draco::DataType type) {
    switch (type) {
        case draco::DT_INT8:
            return 127;
        case draco::DT_UINT8:
            return 255;
        case draco::DT_INT16:
            return 32767;
        case draco::DT_UINT16:
            return 65535;
        default:
            return 0;
    }
}

class Unpacker {
public:
    Unpacker(ModelFiles& files, tinygltf::Model* model, ImportError* error)
        : m_files(files), m_model(model), m_error(error) {}

    bool Unpack(tinygltf::Primitive& primitive, const tinygltf::Value& extension) {
        const tinygltf::Value& attributes = extension.Get("attributes");
        if (!attributes.IsObject()) return Fail("a packed mesh names no data");
        m_view = GltfInt(extension.Get("bufferView"));
        const draco::Mesh* mesh = Mesh();
        if (!mesh) return false;
        for (const std::string& name : attributes.Keys()) {
            int id = GltfInt(attributes.Get(name));
            if (id < 0) continue;
            const draco::PointAttribute* values = mesh->GetAttributeByUniqueId(uint32_t(id));
            if (!values) return Fail(fmt::format("packed mesh {}: no attribute {}", m_view, name));
            int accessor = primitive.attributes.count(name) ? primitive.attributes[name] : -1;
            bool isNormalised = IsNormalised(accessor);
            auto [entry, isNew] =
                m_accessors.try_emplace({m_view, int64_t(values->unique_id()), isNormalised});
            if (isNew) entry->second = AddAttribute(*mesh, *values, isNormalised);
            primitive.attributes[name] = entry->second;
        }
        auto [entry, isNew] = m_accessors.try_emplace({m_view, kIndices, false});
        if (isNew) entry->second = AddIndices(*mesh);
        primitive.indices = entry->second;
        primitive.mode = TINYGLTF_MODE_TRIANGLES;
        return true;
    }

private:
    bool Fail(const std::string& what, ImportFailure kind = ImportFailure::kMalformed) {
        return FailImport(m_error, fmt::format("{}: {}", m_files.Path(), what), kind);
    }
    bool IsNormalised(int accessor) const {
        return accessor >= 0 && size_t(accessor) < m_model->accessors.size() &&
               m_model->accessors[size_t(accessor)].normalized;
    }

    // The unpacked mesh of the view; primitives may share one.
    const draco::Mesh* Mesh() {
        auto [entry, isNew] = m_meshes.try_emplace(m_view);
        if (!isNew) return entry->second.get();
        ImportFailure kind = ImportFailure::kMalformed;
        std::string problem = Decode(&entry->second, &kind);
        if (!problem.empty()) Fail(fmt::format("packed mesh {}: {}", m_view, problem), kind);
        return entry->second.get();
    }
    std::string Decode(std::unique_ptr<draco::Mesh>* mesh, ImportFailure* kind) {
        if (m_view < 0 || size_t(m_view) >= m_model->bufferViews.size()) return "no such view";
        const tinygltf::BufferView& view = m_model->bufferViews[size_t(m_view)];
        if (view.buffer < 0 || size_t(view.buffer) >= m_model->buffers.size()) return "no buffer";
        const std::vector<unsigned char>& data = m_model->buffers[size_t(view.buffer)].data;
        if (view.byteOffset > data.size() || view.byteLength > data.size() - view.byteOffset)
            return "it does not fit its buffer";
        const unsigned char* bytes = data.data() + view.byteOffset;
        Claims claims;
        if (std::string problem = HeadReader(bytes, view.byteLength).Read(&claims);
            !problem.empty())
            return problem;
        uint64_t most = kMostFacesOfOneByte * view.byteLength + kSlackFaces;
        if (claims.faces > most || claims.points > 3 * most)
            return fmt::format("{} faces and {} points claimed, {} bytes cannot hold them",
                               claims.faces, claims.points, view.byteLength);
        m_claimed += claims.Bytes();
        if (std::string heavy = OverInputLimit(m_claimed); !heavy.empty()) {
            *kind = ImportFailure::kLimit;
            return "with those before it, it " + heavy;
        }
        draco::DecoderBuffer buffer;
        buffer.Init(reinterpret_cast<const char*>(bytes), view.byteLength);
        draco::Decoder decoder;
        auto decoded = decoder.DecodeMeshFromBuffer(&buffer);
        if (!decoded.ok()) return "it is damaged";
        *mesh = std::move(decoded).value();
        return {};
    }

    template <class T>
    int AddAccessor(const std::vector<T>& values, int components, int componentType) {
        static constexpr int kTypes[] = {TINYGLTF_TYPE_SCALAR, TINYGLTF_TYPE_SCALAR,
                                         TINYGLTF_TYPE_VEC2, TINYGLTF_TYPE_VEC3,
                                         TINYGLTF_TYPE_VEC4};
        tinygltf::Buffer buffer;
        buffer.data.resize(values.size() * sizeof(T));
        if (!values.empty()) std::memcpy(buffer.data.data(), values.data(), buffer.data.size());
        tinygltf::BufferView view;
        view.buffer = int(m_model->buffers.size());
        view.byteLength = buffer.data.size();
        tinygltf::Accessor accessor;
        accessor.bufferView = int(m_model->bufferViews.size());
        accessor.componentType = componentType;
        accessor.type = kTypes[components];
        accessor.count = values.size() / size_t(components);
        m_model->buffers.push_back(std::move(buffer));
        m_model->bufferViews.push_back(std::move(view));
        m_model->accessors.push_back(std::move(accessor));
        return int(m_model->accessors.size()) - 1;
    }
    int AddIndices(const draco::Mesh& mesh) {
        std::vector<uint32_t> indices;
        indices.reserve(3 * size_t(mesh.num_faces()));
        for (uint32_t f = 0; f < mesh.num_faces(); ++f)
            for (int k = 0; k < 3; ++k)
                indices.push_back(mesh.face(draco::FaceIndex(f))[size_t(k)].value());
        return AddAccessor(indices, 1, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT);
    }
    // Values of every point as floats; normalised integers as fractions.
    int AddAttribute(const draco::Mesh& mesh, const draco::PointAttribute& attribute,
                     bool isNormalised) {
        int components = std::min<int>(attribute.num_components(), 4);
        float one =
            isNormalised && !attribute.normalized() ? NormalisedOne(attribute.data_type()) : 0;
        std::vector<float> values(size_t(components) * mesh.num_points());
        for (uint32_t p = 0; p < mesh.num_points(); ++p) {
            float* value = &values[size_t(components) * p];
            attribute.ConvertValue<float>(attribute.mapped_index(draco::PointIndex(p)),
                                          int8_t(components), value);
            for (int k = 0; one > 0 && k < components; ++k) value[k] /= one;
        }
        return AddAccessor(values, components, TINYGLTF_COMPONENT_TYPE_FLOAT);
    }

    ModelFiles& m_files;
    tinygltf::Model* m_model;
    ImportError* m_error;
    int m_view = -1;         // in hand
    uint64_t m_claimed = 0;  // bytes that all packed meshes so far take
    static constexpr int64_t kIndices = -1;
    std::map<std::tuple<int, int64_t, bool>, int> m_accessors;  // by view, attribute, normalised
    std::map<int, std::unique_ptr<draco::Mesh>> m_meshes;
};

}  // namespace

bool UnpackDracoPrimitives(ModelFiles& files, tinygltf::Model* model, ImportError* error) {
    Unpacker unpacker(files, model, error);
    for (tinygltf::Mesh& mesh : model->meshes)
        for (tinygltf::Primitive& primitive : mesh.primitives) {
            auto found = primitive.extensions.find("KHR_draco_mesh_compression");
            if (found == primitive.extensions.end() || !found->second.IsObject()) continue;
            if (!unpacker.Unpack(primitive, found->second)) return false;
        }
    return true;
}
