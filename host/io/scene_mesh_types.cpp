#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/geom/primitives.h"
#include "host/io/scene_parts.h"

using Json = nlohmann::ordered_json;

namespace {

constexpr int kMaxChannel = 99;
const std::vector<std::string> kUpAxes = {"y", "z"};
const std::vector<std::string> kUnits = {"file", "scene"};

uint32_t ReadIndex(const DescriptionValue& value) {
    int index = value.AsInt();
    if (index < 0) value.Fail("expected a whole number, 0 or above");
    return uint32_t(index);
}

Triple ReadTriple(const DescriptionValue& value) {
    std::vector<DescriptionValue> corners = value.AsArray(3);
    if (corners.size() != 3) return {};
    return {ReadIndex(corners[0]), ReadIndex(corners[1]), ReadIndex(corners[2])};
}

std::vector<Point3> ReadPoints(DescriptionObject& keys, const char* key) {
    std::vector<Point3> points;
    for (const DescriptionValue& value : keys.Array(key)) points.push_back(value.AsPoint3());
    return points;
}

MapChannel ReadChannel(const DescriptionValue& value) {
    DescriptionObject keys(value);
    MapChannel channel;
    channel.verts = ReadPoints(keys, "vertices");
    for (const DescriptionValue& face : keys.Array("faces"))
        channel.faces.push_back(ReadTriple(face));
    keys.Finish();
    return channel;
}

// One number a face, where the key is there at all.
template <class Set>
void ReadFaceNumbers(DescriptionObject& keys, const char* key, Mesh& mesh, uint32_t max,
                     const Set& set) {
    auto value = keys.Find(key);
    if (!value) return;
    std::vector<DescriptionValue> numbers = value->AsArray();
    if (numbers.size() != mesh.faces.size())
        value->Fail(fmt::format("expected one number a face ({}), found {}", mesh.faces.size(),
                                numbers.size()));
    for (size_t i = 0; i < numbers.size() && !value->Document().Failed(); ++i) {
        double number = numbers[i].AsDouble();
        bool fits = number >= 0 && number <= double(max) && number == std::floor(number);
        if (!fits) numbers[i].Fail(fmt::format("expected a whole number in 0..{}", max));
        if (fits) set(mesh.faces[i], uint32_t(number));
    }
}

void ReadChannels(DescriptionObject& keys, Mesh& mesh) {
    auto value = keys.Find("channels");
    if (!value) return;
    for (const auto& [name, member] : DescriptionObject(*value).Members()) {
        auto number = ParseInteger(name);
        if (!number || *number < 0 || *number > kMaxChannel) {
            member.Fail(fmt::format("expected a channel number in 0..{}", kMaxChannel));
            return;
        }
        mesh.MakeMap(int(*number)) = ReadChannel(member);
    }
}

std::shared_ptr<Mesh> ReadInlineMesh(DescriptionObject& keys) {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = ReadPoints(keys, "vertices");
    for (const DescriptionValue& value : keys.Array("faces"))
        mesh->faces.emplace_back().v = ReadTriple(value);
    ReadFaceNumbers(keys, "material_ids", *mesh, 65535,
                    [](Face& face, uint32_t id) { face.matID = uint16_t(id); });
    ReadFaceNumbers(keys, "smoothing", *mesh, ~uint32_t{0},
                    [](Face& face, uint32_t bits) { face.smGroup = bits; });
    ReadFaceNumbers(keys, "edge_flags", *mesh, 15,
                    [](Face& face, uint32_t flags) { face.flags = uint8_t(flags); });
    ReadChannels(keys, *mesh);
    if (auto normals = keys.Find("normals")) mesh->normals = ReadChannel(*normals);
    if (keys.Value().Document().Failed()) return nullptr;
    if (std::string wrong = Validate(*mesh); !wrong.empty()) keys.Fail(wrong);
    return mesh;
}

Json WriteChannel(const MapChannel& channel) {
    Json keys = {{"vertices", Json::array()}, {"faces", Json::array()}};
    for (const Point3& p : channel.verts) keys["vertices"].push_back(DescriptionWriter::Triple(p));
    for (const Triple& t : channel.faces) keys["faces"].push_back(t);
    return keys;
}

// The numbers are left out where all faces have `usual`.
template <class Get>
void WriteFaceNumbers(Json& keys, const char* key, const Mesh& mesh, int64_t usual,
                      const Get& get) {
    Json numbers = Json::array();
    bool any = false;
    for (const Face& face : mesh.faces) {
        numbers.push_back(get(face));
        any = any || get(face) != usual;
    }
    if (any) keys[key] = std::move(numbers);
}

void WriteInlineMesh(const Mesh& mesh, Json& keys) {
    keys["vertices"] = Json::array();
    for (const Point3& p : mesh.verts) keys["vertices"].push_back(DescriptionWriter::Triple(p));
    keys["faces"] = Json::array();
    for (const Face& face : mesh.faces) keys["faces"].push_back(face.v);
    WriteFaceNumbers(keys, "material_ids", mesh, 0, [](const Face& f) { return int64_t(f.matID); });
    WriteFaceNumbers(keys, "smoothing", mesh, 0, [](const Face& f) { return int64_t(f.smGroup); });
    WriteFaceNumbers(keys, "edge_flags", mesh, Face::kAllEdges,
                     [](const Face& f) { return int64_t(f.flags); });
    for (size_t i = 0; i < mesh.maps.size(); ++i)
        if (!mesh.maps[i].IsEmpty())
            keys["channels"][fmt::format("{}", i)] = WriteChannel(mesh.maps[i]);
    if (!mesh.normals.IsEmpty()) keys["normals"] = WriteChannel(mesh.normals);
}

std::shared_ptr<Object> MeshObject(DescriptionObject& keys, std::shared_ptr<const Mesh> mesh,
                                   MeshOrigin origin, const std::string& error) {
    if (!mesh) {
        keys.Value().Fail(error);
        return nullptr;
    }
    return std::make_shared<TriObject>(std::move(mesh), std::move(origin));
}

class MeshDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        auto file = keys.Find("file");
        if (!file) return MeshObject(keys, ReadInlineMesh(keys), {}, {});
        FileOrigin origin;
        origin.file = context.FileOf(*file);
        origin.object = keys.Text("object");
        if (int up = keys.Choice("up", kUpAxes, -1); up >= 0) origin.up = UpAxis(up);
        origin.keepNumbers = keys.Choice("units", kUnits, 0) == 1;
        origin.animation = keys.Text("animation");
        if (keys.Value().Document().Failed()) return nullptr;
        LoadedModel model = context.formats.Loaders().LoadMesh(origin, context.scene.unitScale,
                                                               context.folder, context.watch);
        for (const std::string& warning : model.warnings) file->Warn(warning);
        if (!model.mesh) return keys.Value().Fail(model.error, model.errorClass), nullptr;
        auto object = std::make_shared<TriObject>(model.mesh, origin);
        object->fileMaterial = model.material;
        if (model.animation) object->SetAnimation(model.animation);
        return object;
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* tri = dynamic_cast<const TriObject*>(&object);
        if (!tri) return false;
        if (auto* origin = std::get_if<FileOrigin>(&tri->origin.Get())) {
            keys["file"] = writer.FileName(origin->file);
            if (!origin->object.empty()) keys["object"] = origin->object;
            if (origin->up) keys["up"] = kUpAxes[size_t(*origin->up)];
            if (origin->keepNumbers) keys["units"] = kUnits[1];
            if (!origin->animation.empty()) keys["animation"] = origin->animation;
            return true;
        }
        if (!std::holds_alternative<std::monostate>(tri->origin.Get())) return false;
        WriteInlineMesh(*tri->GetMesh(), keys);
        return true;
    }
};

class PrimitiveDescription : public INodeDescription {
public:
    struct Has {
        bool width, length, height, radius;
    };
    PrimitiveDescription(std::string kind, Has has) : m_kind(std::move(kind)), m_has(has) {}

    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        PrimitiveOrigin origin;
        origin.kind = m_kind;
        if (m_has.width) origin.width = keys.Float("width", origin.width);
        if (m_has.length) origin.length = keys.Float("length", origin.length);
        if (m_has.height) origin.height = keys.Float("height", origin.height);
        if (m_has.radius) origin.radius = keys.Float("radius", origin.radius);
        if (auto segments = keys.Find("segments")) ReadSegments(*segments, origin);
        if (keys.Value().Document().Failed()) return nullptr;
        return MeshObject(keys, context.formats.Loaders().MakePrimitive(origin), origin,
                          "this shape cannot be made");
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter&) const override {
        auto* tri = dynamic_cast<const TriObject*>(&object);
        auto* origin = tri ? std::get_if<PrimitiveOrigin>(&tri->origin.Get()) : nullptr;
        if (!origin || origin->kind != m_kind) return false;
        if (m_has.width) keys["width"] = DescriptionWriter::Number(origin->width);
        if (m_has.length) keys["length"] = DescriptionWriter::Number(origin->length);
        if (m_has.height) keys["height"] = DescriptionWriter::Number(origin->height);
        if (m_has.radius) keys["radius"] = DescriptionWriter::Number(origin->radius);
        if (origin->segments > 0) keys["segments"] = origin->segments;
        return true;
    }

private:
    static void ReadSegments(const DescriptionValue& value, PrimitiveOrigin& origin) {
        origin.segments = value.AsInt();
        if (origin.segments < 1) value.Fail("expected a whole number above 0");
        if (origin.segments > kMaxSegments)
            value.Fail(
                fmt::format("{} segments are more than the limit of {}; no option raises this, a "
                            "terrain or a mesh file may be finer",
                            origin.segments, kMaxSegments),
                DescriptionErrorClass::kLimit);
    }

    std::string m_kind;
    Has m_has;
};

}  // namespace

void RegisterMeshTypes(SceneFormats& formats) {
    formats.RegisterNode("mesh", std::make_unique<MeshDescription>());
    const std::pair<const char*, PrimitiveDescription::Has> kinds[] = {
        {"plane", {true, true, false, false}},
        {"box", {true, true, true, false}},
        {"sphere", {false, false, false, true}},
        {"cone", {false, false, true, true}},
        {"cylinder", {false, false, true, true}}};
    for (const auto& [kind, has] : kinds)
        formats.RegisterNode(kind, std::make_unique<PrimitiveDescription>(kind, has));
}
