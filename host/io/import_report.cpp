#include "host/io/import_report.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"
#include "host/io/scene_description.h"

using Json = nlohmann::ordered_json;

namespace {

// Formats without a unit state no up axis either, or not in a way that writers keep to.
constexpr const char* kNothingStated =
    "neither unit nor up axis is stated: \"up\" of the mesh node turns the model, the scale of its "
    "\"object_offset\" fits the size\n";

// Objects of one name and mesh that stand next to each other.
struct Row {
    const ImportedObject* object;
    size_t instances = 0;
    Box3 bounds;
};

// Box of the mesh under m, vertex by vertex for one object, by the corners of its box for
// instances.
Box3 MovedBounds(const Mesh& mesh, const Box3& box, const Matrix3& m, bool isExact) {
    if (!isExact) return m.BoxTransform(box);
    Box3 moved;
    for (const Point3& p : mesh.verts) moved += p * m;
    return moved;
}

std::vector<Row> Rows(const ImportedModel& model) {
    std::vector<Row> rows;
    Box3 own;  // of the mesh in hand
    for (const ImportedObject& object : model.objects) {
        bool isSame = !rows.empty() && rows.back().object->mesh == object.mesh &&
                      rows.back().object->name == object.name;
        if (!isSame) rows.push_back({&object, 0, {}});
        if (!isSame) own = object.mesh->BoundingBox();
        rows.back().bounds += MovedBounds(*object.mesh, own, object.transform, !isSame);
        ++rows.back().instances;
    }
    return rows;
}

std::vector<std::string> MaterialNames(const ImportedObject& object) {
    std::vector<std::string> names;
    if (!object.material) return names;
    auto* multi = dynamic_cast<const MultiMtl*>(object.material.get());
    if (!multi) return {object.material->name};
    for (int i = 0; i < multi->NumSubMtls(); ++i)
        names.push_back(multi->GetSubMtl(i) ? multi->GetSubMtl(i)->name.Get() : "");
    return names;
}

const char* AlphaName(ImportedAlpha alpha) {
    return alpha == ImportedAlpha::kOpaque ? "opaque"
           : alpha == ImportedAlpha::kMask ? "mask"
                                           : "blend";
}

std::string Size(const Box3& box) {
    Point3 w = box.IsEmpty() ? Point3{} : box.Width();
    return fmt::format("{:.4g} x {:.4g} x {:.4g}", w.x, w.y, w.z);
}

Box3 Bounds(const std::vector<Row>& rows) {
    Box3 box;
    for (const Row& row : rows) box += row.bounds;
    return box;
}

std::string Unit(const ImportedModel& model) {
    if (model.metresPerUnit == 0) return "no unit stated";
    return model.metresPerUnit == 1 ? "in metres"
                                    : fmt::format("1 unit is {:.4g} m", model.metresPerUnit);
}

std::string Counted(size_t n, const char* one, const char* many) {
    return fmt::format("{} {}", FormatGrouped(int64_t(n)), n == 1 ? one : many);
}

}  // namespace

std::string ImportSummary(const std::string& path, const ImportedModel& model) {
    std::vector<Row> rows = Rows(model);
    size_t vertices = 0, faces = 0, textures = 0, missing = 0;
    for (const Row& row : rows) {
        vertices += row.object->mesh->verts.size() * row.instances;
        faces += row.object->mesh->NumFaces() * row.instances;
    }
    for (const ImportedMaterial& material : model.materials)
        for (const ImportedTexture& texture : material.textures)
            ++(texture.found ? textures : missing);
    std::string text = fmt::format(
        "{}: {}, {}, {}, {}, size {}, {} up, {}, {}, {}", path, model.format,
        Counted(model.objects.size(), "object", "objects"), Counted(vertices, "vertex", "vertices"),
        Counted(faces, "face", "faces"), Size(Bounds(rows)), model.up == UpAxis::kY ? "y" : "z",
        Unit(model), Counted(model.materials.size(), "material", "materials"),
        Counted(textures, "texture", "textures"));
    if (missing > 0) text += fmt::format(" ({} missing)", missing);
    std::string extensions;
    for (const ImportedExtension& e : model.extensions)
        extensions += fmt::format("{}{}{}", extensions.empty() ? "" : " ", e.name,
                                  e.isRead ? "" : " (not read)");
    return extensions.empty() ? text : text + ", extensions " + extensions;
}

std::string ImportReportText(const std::string& path, const ImportedModel& model) {
    constexpr size_t kMaxRows = 100;
    std::string text = ImportSummary(path, model) + "\n";
    if (model.metresPerUnit == 0) text += kNothingStated;
    std::vector<Row> rows = Rows(model);
    for (size_t i = 0; i < std::min(rows.size(), kMaxRows); ++i) {
        const ImportedObject& o = *rows[i].object;
        text += fmt::format("object \"{}\"{}: {}, {}, size {}\n", o.name,
                            rows[i].instances > 1 ? fmt::format(" x {}", rows[i].instances) : "",
                            Counted(o.mesh->verts.size(), "vertex", "vertices"),
                            Counted(o.mesh->NumFaces(), "face", "faces"), Size(rows[i].bounds));
    }
    if (rows.size() > kMaxRows)
        text += fmt::format("and {} further objects (--json lists all)\n", rows.size() - kMaxRows);
    for (const ImportedMaterial& material : model.materials) {
        text += fmt::format("material \"{}\": {}\n", material.name, AlphaName(material.alpha));
        for (const ImportedTexture& t : material.textures)
            text += fmt::format("    {}: {}{}\n", t.slot, t.file, t.found ? "" : " (missing)");
    }
    for (const ImportedExtension& e : model.extensions)
        text += fmt::format("extension {}{}\n", e.name, e.isRead ? "" : " (not read)");
    for (const ImportedAnimation& a : model.animations)
        text += fmt::format("animation \"{}\": {:.4g} s{}\n", a.name, a.seconds,
                            a.isRead ? "" : " (not read)");
    text.pop_back();
    return text;
}

std::string ImportReportJson(const std::string& path, const ImportedModel& model) {
    Json json{{"dravin_model", 1},           {"file", path},
              {"format", model.format},      {"up", model.up == UpAxis::kY ? "y" : "z"},
              {"metres_per_unit", nullptr},  {"objects", Json::array()},
              {"materials", Json::array()},  {"extensions", Json::array()},
              {"animations", Json::array()}, {"warnings", model.warnings}};
    if (model.metresPerUnit > 0) json["metres_per_unit"] = model.metresPerUnit;
    auto triple = [](const Point3& p) { return DescriptionWriter::Triple(p); };
    for (const Row& row : Rows(model)) {
        const Mesh& mesh = *row.object->mesh;
        std::vector<int> channels;
        for (int c = 1; c < int(mesh.maps.size()); ++c)
            if (mesh.Map(c)) channels.push_back(c);
        json["objects"].push_back({{"name", row.object->name},
                                   {"vertices", mesh.verts.size()},
                                   {"faces", mesh.NumFaces()},
                                   {"instances", row.instances},
                                   {"bounds", {triple(row.bounds.min), triple(row.bounds.max)}},
                                   {"materials", MaterialNames(*row.object)},
                                   {"channels", channels},
                                   {"vertex_colors", mesh.Map(0) != nullptr}});
    }
    for (const ImportedMaterial& material : model.materials) {
        Json textures = Json::array();
        for (const ImportedTexture& t : material.textures)
            textures.push_back({{"slot", t.slot}, {"file", t.file}, {"found", t.found}});
        json["materials"].push_back({{"name", material.name},
                                     {"textures", textures},
                                     {"alpha", AlphaName(material.alpha)}});
    }
    for (const ImportedExtension& e : model.extensions)
        json["extensions"].push_back({{"name", e.name}, {"read", e.isRead}});
    for (const ImportedAnimation& a : model.animations)
        json["animations"].push_back(
            {{"name", a.name}, {"seconds", a.seconds}, {"read", a.isRead}});
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}
