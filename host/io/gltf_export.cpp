#include "host/io/gltf_export.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <unordered_map>

#include <fmt/format.h>

#include "host/base/atomic_file.h"
#include "host/geom/mesh_tools.h"
#include "host/io/gltf_materials.h"
#include "host/io/gltf_mesh.h"
#include "host/io/gltf_text.h"
#include "host/io/instance_placement.h"
#include "host/io/json_text.h"

namespace {

constexpr size_t kBlock = 65536;  // instances asked for at once
constexpr uint64_t kMaxChunkBytes = 0xFFFFFFFF;

enum ComponentType { kUInt32 = 5125, kFloat = 5126 };

// One instanced node in the making: the instances of one prototype of one source that are mirrored,
// or those that are not.
struct Group {
    size_t mesh = 0;
    uint64_t count = 0;
    uint64_t cursor = 0;    // instances written so far
    bool isTinted = false;  // one of them at least
    size_t views[6] = {};
};

class Exporter {
public:
    Exporter(const std::string& path, const GltfOptions& options)
        : m_path(path),
          m_options(options),
          m_isBinary(path.size() >= 4 && path.compare(path.size() - 4, 4, ".glb") == 0),
          m_materials(m_layout, m_isBinary || options.embedTextures, Stem()) {}

    bool Run(std::span<const IInstanceSource* const> sources, std::span<const PlacedMesh> meshes,
             std::string* error) {
        m_error = error;
        CountWork(sources);
        return CollectStatic(meshes) && CollectSources(sources) && Open() && WriteAll(sources) &&
               Commit();
    }

private:
    bool Fail(const std::string& what) {
        *m_error = fmt::format("{}: cannot export: {}", m_path, what);
        return false;
    }

    std::string Stem() const { return std::filesystem::path(m_path).stem().string(); }
    std::string Beside(const std::string& file) const {
        return (std::filesystem::path(m_path).parent_path() / file).string();
    }

    size_t AddAccessor(size_t view, ComponentType type, uint64_t count, const char* kind,
                       const std::string& more = "") {
        return m_accessors.Add(
            fmt::format("{{\"bufferView\":{},\"componentType\":{},\"count\":{},\"type\":\"{}\"{}}}",
                        view, int(type), count, kind, more));
    }
    template <class T>
    size_t AddAttribute(const std::vector<T>& values, const char* kind,
                        const std::string& more = "") {
        size_t view = m_layout.AddData(std::string(BytesOf(values)), GltfTarget::kVertices);
        return AddAccessor(view, kFloat, values.size(), kind, more);
    }
    static std::string Bounds(const std::vector<Point3>& points) {
        Box3 box;
        for (const Point3& p : points) box += p;
        return fmt::format(",\"min\":{},\"max\":{}", JsonArray(box.min), JsonArray(box.max));
    }
    bool PrimitiveText(const GltfPrimitive& primitive, std::string* text) {
        size_t material = 0;
        std::string reason;
        if (!m_materials.Add(primitive.material, &material, &reason)) return Fail(reason);
        std::string attributes =
            fmt::format("\"POSITION\":{},\"NORMAL\":{}",
                        AddAttribute(primitive.positions, "VEC3", Bounds(primitive.positions)),
                        AddAttribute(primitive.normals, "VEC3"));
        for (size_t set = 0; set < primitive.uvs.size(); ++set)
            attributes +=
                fmt::format(",\"TEXCOORD_{}\":{}", set, AddAttribute(primitive.uvs[set], "VEC2"));
        if (!primitive.colors.empty())
            attributes += fmt::format(",\"COLOR_0\":{}", AddAttribute(primitive.colors, "VEC3"));
        size_t view =
            m_layout.AddData(std::string(BytesOf(primitive.indices)), GltfTarget::kIndices);
        size_t indices = AddAccessor(view, kUInt32, primitive.indices.size(), "SCALAR");
        *text += fmt::format("{}{{\"attributes\":{{{}}},\"indices\":{},\"material\":{}}}",
                             text->empty() ? "" : ",", attributes, indices, material);
        return true;
    }
    // Number of the mesh, or kNoMesh when it has nothing to show.
    bool AddMesh(const Mesh& mesh, const Mtl* material, const std::string& name, size_t* number) {
        auto [entry, isNew] = m_meshNumbers.try_emplace({&mesh, material}, kNoMesh);
        if (isNew) {
            std::string primitives;
            for (const GltfPrimitive& p : MakeGltfPrimitives(mesh, material))
                if (!PrimitiveText(p, &primitives)) return false;
            if (!primitives.empty())
                entry->second = m_meshes.Add(fmt::format("{{\"name\":{},\"primitives\":[{}]}}",
                                                         JsonQuoted(name), primitives));
        }
        *number = entry->second;
        return true;
    }

    bool CollectStatic(std::span<const PlacedMesh> meshes) {
        for (const PlacedMesh& source : meshes) {
            size_t mesh = kNoMesh;
            Matrix3 transform = source.transform;
            const Mesh* shown = source.mesh;
            if (HasShear(transform)) {
                m_made.push_back(std::make_unique<Mesh>(TransformedMesh(*shown, transform)));
                shown = m_made.back().get();
                transform = {};
            } else if (transform.Determinant() < 0) {
                shown = Mirrored(shown);
                transform = kMirror * transform;
            }
            if (!AddMesh(*shown, source.material, source.name, &mesh)) return false;
            if (mesh == kNoMesh) continue;
            m_fixedNodes.push_back(fmt::format("{{\"name\":{},\"mesh\":{},{}}}",
                                               JsonQuoted(source.name), mesh,
                                               PlacementMembers(PlaceWithoutShear(transform))));
        }
        return true;
    }
    bool CollectSources(std::span<const IInstanceSource* const> sources) {
        for (const IInstanceSource* source : sources) {
            std::vector<Group>& groups = m_groups.emplace_back(2 * source->NumPrototypes());
            LeftOutInstances leftOut;
            ForEachBlock(*source, [&](std::span<const InstanceRecord> records) {
                for (const InstanceRecord& r : records) {
                    leftOut.Count(r, groups.size() / 2);
                    if (!IsPlaced(r, groups.size() / 2)) continue;
                    Group& group = groups[GroupOf(r)];
                    ++group.count;
                    group.isTinted |= r.tintBlend > 0;
                }
            });
            if (m_isCancelled) return Fail("cancelled");
            if (m_options.warnings) leftOut.Tell(source->SourceName(), m_options.warnings);
            for (size_t g = 0; g < groups.size(); ++g)
                if (groups[g].count > 0 && !AddGroup(*source, g, groups[g])) return false;
        }
        return true;
    }
    bool AddGroup(const IInstanceSource& source, size_t number, Group& group) {
        size_t p = number / 2;
        bool isMirrored = number % 2 == 1;
        const Mesh* mesh = source.PrototypeMesh(p);
        std::string name = source.PrototypeName(p) + (isMirrored ? " mirrored" : "");
        if (!AddMesh(isMirrored ? *Mirrored(mesh) : *mesh, source.PrototypeMtl(p), name,
                     &group.mesh))
            return false;
        if (group.mesh == kNoMesh) group.count = 0;
        m_numInstances += group.count;
        if (!m_options.flat && group.count > 0)
            AddInstancedNode(fmt::format("{}/{}", source.SourceName(), name), group);
        return true;
    }
    // The mesh seen in a mirror, made once; its faces look outwards as before.
    const Mesh* Mirrored(const Mesh* mesh) {
        const Mesh*& mirrored = m_mirrored[mesh];
        if (!mirrored) {
            m_made.push_back(std::make_unique<Mesh>(TransformedMesh(*mesh, kMirror)));
            mirrored = m_made.back().get();
        }
        return mirrored;
    }
    // Instances are read twice: once to be counted, once to be written.
    void CountWork(std::span<const IInstanceSource* const> sources) {
        for (const IInstanceSource* source : sources) m_work += 2 * source->NumInstances();
    }
    bool GoOn(size_t done) {
        m_done += done;
        if (m_options.progress && m_work > 0)
            m_isCancelled |= !m_options.progress(float(double(m_done) / double(m_work)));
        return !m_isCancelled;
    }
    template <class Use>
    void ForEachBlock(const IInstanceSource& source, Use use) {
        std::vector<InstanceRecord> records;
        for (size_t first = 0; first < source.NumInstances() && GoOn(records.size());
             first += kBlock) {
            records.resize(std::min(kBlock, source.NumInstances() - first));
            source.GetInstances(first, records);
            use(std::span<const InstanceRecord>(records));
        }
    }

    struct Attribute {
        const char* name;
        const char* kind;
        ComponentType type;
        size_t bytes;
    };
    static constexpr Attribute kAttributes[6] = {
        {"TRANSLATION", "VEC3", kFloat, 12}, {"ROTATION", "VEC4", kFloat, 16},
        {"SCALE", "VEC3", kFloat, 12},       {"_ID", "SCALAR", kUInt32, 4},
        {"_COLOR_0", "VEC3", kFloat, 12},    {"_TINT", "VEC4", kFloat, 16}};
    static constexpr size_t kUntinted = 4;  // how many of them every group has
    static size_t NumAttributes(const Group& group) {
        return group.isTinted ? std::size(kAttributes) : kUntinted;
    }

    void AddInstancedNode(const std::string& name, Group& group) {
        std::string attributes;
        for (size_t a = 0; a < NumAttributes(group); ++a) {
            const Attribute& attribute = kAttributes[a];
            group.views[a] = m_layout.AddRange(group.count * attribute.bytes, GltfTarget::kNone);
            size_t accessor =
                AddAccessor(group.views[a], attribute.type, group.count, attribute.kind);
            attributes += fmt::format("{}\"{}\":{}", a ? "," : "", attribute.name, accessor);
        }
        m_fixedNodes.push_back(
            fmt::format("{{\"name\":{},\"mesh\":{},\"extensions\":{{\"EXT_mesh_gpu_instancing\":"
                        "{{\"attributes\":{{{}}}}}}}}}",
                        JsonQuoted(name), group.mesh, attributes));
    }

    bool Open() {
        if (m_isBinary && m_layout.Size() > kMaxChunkBytes)
            return Fail(fmt::format("{} bytes of data, a .glb holds 4 GiB; export a .gltf",
                                    m_layout.Size()));
        if (!m_file.Open(m_path, m_error)) return false;
        if (m_isBinary || m_layout.Size() == 0) return true;
        return m_binFile.Open(Beside(Stem() + ".bin"), m_error);
    }

    bool WriteAll(std::span<const IInstanceSource* const> sources) {
        constexpr uint64_t kHeaderBytes = 20;  // of a binary file, up to its JSON
        if (m_isBinary) m_file.Write(std::string(kHeaderBytes, ' '));
        WriteJson(sources);
        AtomicFile& data = m_isBinary ? m_file : m_binFile;
        if (m_isBinary) {
            m_file.Write(std::string((4 - m_file.Size() % 4) % 4, ' '));
            uint64_t jsonBytes = m_file.Size() - kHeaderBytes;
            uint64_t total = m_file.Size() + (m_layout.Size() ? 8 + m_layout.Size() : 0);
            if (total > kMaxChunkBytes) return Fail("a .glb holds 4 GiB; export a .gltf");
            m_file.Overwrite(0, "glTF" + Word(2) + Word(total) + Word(jsonBytes) + "JSON");
            if (m_layout.Size()) m_file.Write(Word(m_layout.Size()) + std::string("BIN\0", 4));
        }
        if (m_layout.Size() > 0) {
            uint64_t start = data.Size();
            m_layout.Write(data);
            if (!m_options.flat)
                for (size_t s = 0; s < sources.size(); ++s)
                    WriteInstances(*sources[s], s, start, data);
        }
        return !m_isCancelled || Fail("cancelled");
    }
    static std::string Word(uint64_t value) {
        auto word = uint32_t(value);
        return {reinterpret_cast<const char*>(&word), sizeof word};
    }

    void WriteJson(std::span<const IInstanceSource* const> sources) {
        m_file.Write("{\"asset\":{\"version\":\"2.0\",\"generator\":\"Dravin Pack\"}");
        std::string extensions;
        auto use = [&](bool isUsed, const char* name) {
            if (isUsed) extensions += fmt::format("{}\"{}\"", extensions.empty() ? "" : ",", name);
        };
        use(!m_options.flat && m_numInstances > 0, "EXT_mesh_gpu_instancing");
        use(m_materials.UsesTextureTransform(), "KHR_texture_transform");
        use(m_materials.UsesEmissiveStrength(), "KHR_materials_emissive_strength");
        if (!extensions.empty())
            m_file.Write(fmt::format(",\n\"extensionsUsed\":[{}]", extensions));
        m_file.Write(",\n\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\n\"nodes\":[\n");
        WriteNodes(sources);
        m_file.Write("\n]");
        for (const std::string& member :
             {m_meshes.Member("meshes"), m_materials.Members(), m_accessors.Member("accessors"),
              m_layout.Views().Member("bufferViews")})
            m_file.Write(member);
        if (m_layout.Size() > 0)
            m_file.Write(
                fmt::format(",\n\"buffers\":[{{\"byteLength\":{}{}}}]", m_layout.Size(),
                            m_isBinary ? "" : ",\"uri\":" + JsonQuoted(GltfUri(Stem() + ".bin"))));
        m_file.Write("}\n");
    }
    void WriteNodes(std::span<const IInstanceSource* const> sources) {
        constexpr float kHalf = 0.70710678f;  // of a quarter turn about x, which takes z to y
        std::string root =
            fmt::format("{{\"name\":\"root\",\"rotation\":{}", JsonArray({-kHalf, 0, 0, kHalf}));
        if (m_options.unitScale != 1)
            root += fmt::format(",\"scale\":[{0},{0},{0}]", m_options.unitScale);
        m_file.Write(root);
        uint64_t numChildren = m_fixedNodes.size() + (m_options.flat ? m_numInstances : 0);
        for (uint64_t n = 1; n <= numChildren; ++n)
            m_file.Write(fmt::format("{}{}", n == 1 ? ",\"children\":[" : ",", n));
        m_file.Write(numChildren ? "]}" : "}");
        for (const std::string& node : m_fixedNodes) m_file.Write(",\n" + node);
        if (!m_options.flat) return;
        for (size_t s = 0; s < sources.size(); ++s)
            ForEachBlock(*sources[s], [&](std::span<const InstanceRecord> records) {
                for (const InstanceRecord& r : records) WriteFlatNode(*sources[s], m_groups[s], r);
            });
    }
    void WriteFlatNode(const IInstanceSource& source, const std::vector<Group>& groups,
                       const InstanceRecord& record) {
        if (!IsPlaced(record, groups.size() / 2) || groups[GroupOf(record)].count == 0) return;
        std::string name = fmt::format("{}_{}", source.PrototypeName(record.prototype), record.id);
        std::string color;
        if (record.tintBlend > 0) {
            Color c = TintMultiplier(record), t = record.tint;
            color = fmt::format(",\"color\":{},\"tint\":{}", JsonArray({c.r, c.g, c.b}),
                                JsonArray({t.r, t.g, t.b, record.tintBlend}));
        }
        m_file.Write(fmt::format(",\n{{\"name\":{},\"mesh\":{},{},\"extras\":{{\"id\":{}{}}}}}",
                                 JsonQuoted(name), groups[GroupOf(record)].mesh,
                                 PlacementMembers(PlaceUnmirrored(record)), record.id, color));
    }

    // The arrays of one group's instances within a block.
    struct Columns {
        std::vector<float> translation, rotation, scale, color, tint;
        std::vector<uint32_t> id;
    };
    void WriteInstances(const IInstanceSource& source, size_t s, uint64_t start, AtomicFile& out) {
        std::vector<Group>& groups = m_groups[s];
        std::vector<Columns> columns(groups.size());
        ForEachBlock(source, [&](std::span<const InstanceRecord> records) {
            for (const InstanceRecord& r : records)
                if (IsPlaced(r, groups.size() / 2) && groups[GroupOf(r)].count > 0)
                    Append(r, columns[GroupOf(r)]);
            for (size_t g = 0; g < groups.size(); ++g)
                if (!columns[g].id.empty()) Flush(groups[g], columns[g], start, out);
        });
    }
    static void Append(const InstanceRecord& record, Columns& c) {
        InstancePlacement p = PlaceUnmirrored(record);
        const Point3 &t = p.translation, &s = p.scale;
        const Quat& q = p.rotation;
        Color color = TintMultiplier(record);
        c.translation.insert(c.translation.end(), {t.x, t.y, t.z});
        c.rotation.insert(c.rotation.end(), {q.x, q.y, q.z, q.w});
        c.scale.insert(c.scale.end(), {s.x, s.y, s.z});
        c.color.insert(c.color.end(), {color.r, color.g, color.b});
        c.tint.insert(c.tint.end(),
                      {record.tint.r, record.tint.g, record.tint.b, record.tintBlend});
        c.id.push_back(uint32_t(record.id));
    }
    void Flush(Group& group, Columns& c, uint64_t start, AtomicFile& out) {
        std::string_view bytes[6] = {BytesOf(c.translation), BytesOf(c.rotation), BytesOf(c.scale),
                                     BytesOf(c.id),          BytesOf(c.color),    BytesOf(c.tint)};
        for (size_t a = 0; a < NumAttributes(group); ++a)
            out.Overwrite(
                start + m_layout.Offset(group.views[a]) + group.cursor * kAttributes[a].bytes,
                bytes[a]);
        group.cursor += c.id.size();
        c = {};
    }

    // All files or none: data or images beside the old .gltf would be another scene. Images and
    // data come first, so that a reader that finds the new .gltf finds all it names.
    bool Commit() {
        std::deque<AtomicFile> images;
        std::vector<AtomicFile*> all;
        for (const auto& [file, bytes] : m_materials.ImageFiles()) {
            all.push_back(&images.emplace_back());
            if (!images.back().Open(Beside(file), m_error)) return false;
            images.back().Write(bytes);
        }
        if (!m_isBinary && m_layout.Size() > 0) all.push_back(&m_binFile);
        all.push_back(&m_file);
        return AtomicFile::CommitTogether(all, m_error);
    }

    static constexpr size_t kNoMesh = ~size_t{0};

    const std::string& m_path;
    const GltfOptions& m_options;
    bool m_isBinary;
    std::string* m_error = nullptr;

    AtomicFile m_file, m_binFile;
    GltfBuffer m_layout;
    size_t m_work = 0, m_done = 0;  // instances
    bool m_isCancelled = false;
    GltfMaterials m_materials;
    JsonList m_meshes, m_accessors;
    std::map<std::pair<const Mesh*, const Mtl*>, size_t> m_meshNumbers;
    std::vector<std::unique_ptr<Mesh>> m_made;  // sheared and mirrored ones
    std::unordered_map<const Mesh*, const Mesh*> m_mirrored;
    std::vector<std::string> m_fixedNodes;  // children of the root but for flat instances
    std::vector<std::vector<Group>> m_groups;
    uint64_t m_numInstances = 0;
};

}  // namespace

bool ExportGltf(const std::string& path, std::span<const IInstanceSource* const> sources,
                std::span<const PlacedMesh> meshes, const GltfOptions& options,
                std::string* error) {
    return Exporter(path, options).Run(sources, meshes, error);
}
