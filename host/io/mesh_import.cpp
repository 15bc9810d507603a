#include "host/io/mesh_import.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/log.h"
#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/io/import_helper.h"
#include "host/io/import_report.h"
#include "host/io/model_poses.h"
#include "host/io/model_readers.h"

namespace {

std::string Ending(const std::string& path) {
    size_t dot = path.find_last_of("./");
    if (dot == path.npos || path[dot] == '/') return {};
    std::string ending = path.substr(dot + 1);
    for (char& c : ending)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return ending;
}

struct Format {
    const char* name;
    bool (*read)(std::string_view, ModelFiles&, ImportError*);
    UpAxis up;
    double metresPerUnit;
};

const Format* FindFormat(const std::string& path) {
    static const std::unordered_map<std::string, Format> kFormats{
        {"obj", {"OBJ", ReadObj, UpAxis::kY, 0}},   {"ply", {"PLY", ReadPly, UpAxis::kZ, 0}},
        {"stl", {"STL", ReadStl, UpAxis::kZ, 0}},   {"gltf", {"glTF", ReadGltf, UpAxis::kY, 1}},
        {"glb", {"glTF", ReadGltf, UpAxis::kY, 1}},
    };
    auto found = kFormats.find(Ending(path));
    return found == kFormats.end() ? nullptr : &found->second;
}

bool ReadHere(const Format& format, ModelFiles& files, ImportError* error) {
    MappedFile file;
    if (!file.Open(files.Path(), &error->text)) {
        error->kind = ImportFailure::kMissingInput;
        return false;
    }
    ImportedModel& model = files.Model();
    model.format = format.name;
    model.up = format.up;
    model.metresPerUnit = format.metresPerUnit;
    bool ok = format.read(file.Bytes(), files, error);
    // What was read of a file that shrank is partly made up, whatever came of it.
    if (!file.WasCut()) return ok;
    return FailImport(error,
                      fmt::format("{}: the file became shorter while it was read", files.Path()),
                      ImportFailure::kMissingInput);
}

bool Read(ModelFiles& files, ImportError* error) {
    if (const Format* format = FindFormat(files.Path())) return ReadHere(*format, files, error);
    if (!RegularFileSize(files.Path(), &error->text)) {
        error->kind = ImportFailure::kMissingInput;
        return false;
    }
    for (char& c : files.Model().format = Ending(files.Path()))
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    return ReadByHelper({}, files, error);
}

// Readers read nothing where they find no animation of the wanted name.
bool CheckAnimation(const std::string& path, const std::string& wanted, const ImportedModel& model,
                    ImportError* error) {
    if (wanted.empty() || wanted == kNoAnimation) return true;
    std::vector<std::string> names;
    for (const ImportedAnimation& animation : model.animations) {
        if (animation.name == wanted) return true;
        names.push_back(animation.name);
    }
    std::string hint = DidYouMean(wanted, names);
    if (names.empty()) hint = "; the file has none";
    return FailImport(error, fmt::format("{}: no animation \"{}\"{}", path, wanted, hint));
}

// What the readers promise is checked once for all of them, as nothing above checks again.
bool Check(const std::string& path, const ImportedModel& model, ImportError* error) {
    std::unordered_set<const Mesh*> checked;
    for (const ImportedObject& object : model.objects) {
        if (!checked.insert(object.mesh.get()).second) continue;
        std::string problem = Validate(*object.mesh);
        if (std::optional<size_t> v = FirstNonFiniteVertex(*object.mesh); v && problem.empty())
            problem = fmt::format("vertex {}: a coordinate is not a finite number", *v);
        if (!problem.empty())
            return FailImport(error,
                              fmt::format("{}: object \"{}\": {}", path, object.name, problem));
    }
    return true;
}

// 0 - z: a zero keeps its sign.
Point3 TurnUp(const Point3& p) { return {p.x, 0 - p.z, p.y}; }

// A matrix for points of the file (rows are images of the axes) as one for turned points.
Matrix3 TurnUp(const Matrix3& m) {
    // The turned y axis is the file's -z axis, the turned z axis its y axis.
    return {{TurnUp(m.row[0]), TurnUp(-m.row[2]), TurnUp(m.row[1]), TurnUp(m.row[3])}};
}

// From y up to z up; meshes that objects share are turned once.
void TurnObjects(std::vector<ImportedObject>& objects) {
    std::unordered_set<const Mesh*> turned;
    for (ImportedObject& object : objects) {
        object.transform = TurnUp(object.transform);
        if (!turned.insert(object.mesh.get()).second) continue;
        for (Point3& p : object.mesh->verts) p = TurnUp(p);
        for (Point3& n : object.mesh->normals.verts) n = TurnUp(n);
    }
}

void ScaleObjects(std::vector<ImportedObject>& objects, double factor) {
    for (ImportedObject& object : objects)
        for (Point3& row : object.transform.row) row = row * float(factor);
}

// Numbers the materials of joined objects: distinct entries in order of first use.
class MaterialList {
public:
    uint32_t Number(const std::shared_ptr<Mtl>& material) {
        auto [entry, isNew] = m_numbers.try_emplace(material.get(), uint32_t(m_materials.size()));
        if (isNew) m_materials.push_back(material);
        return entry->second;
    }
    std::shared_ptr<Mtl> Combined() const { return CombineMaterials(m_materials); }

private:
    std::unordered_map<const Mtl*, uint32_t> m_numbers;
    std::vector<std::shared_ptr<Mtl>> m_materials;
};

void Renumber(const ImportedObject& object, MaterialList& list, Mesh& mesh) {
    auto* multi = dynamic_cast<MultiMtl*>(object.material.get());
    if (!multi || multi->NumSubMtls() == 0) {
        uint32_t number = list.Number(object.material);
        for (Face& face : mesh.faces) face.matID = uint16_t(number);
        return;
    }
    for (Face& face : mesh.faces)
        face.matID = uint16_t(list.Number(multi->ShareSubMtl(face.matID % multi->NumSubMtls())));
}

// The object's colour becomes the colour of its vertices.
void Colour(Mesh& mesh, const Color& color) {
    if (color == Color{1, 1, 1} || mesh.faces.empty()) return;
    MapChannel& colors = mesh.MakeMap(0);
    if (colors.IsEmpty()) {
        colors.verts = {{1, 1, 1}};
        colors.faces.assign(mesh.NumFaces(), {0, 0, 0});
    }
    for (Point3& c : colors.verts) c = {c.x * color.r, c.y * color.g, c.z * color.b};
}

}  // namespace

bool ImportModel(const std::string& path, const ImportOptions& options, ImportedModel* model,
                 ImportError* error) {
    ImportedModel read;
    ModelFiles files(path, options.roots, &read);
    files.SetAnimation(options.animation);
    files.SetWatch(options.watch);
    bool isRead = Read(files, error);
    if (files.IsCancelled())
        return FailImport(error, path + ": cancelled", ImportFailure::kCancelled);
    if (!isRead || !Check(path, read, error) ||
        !CheckAnimation(path, options.animation, read, error))
        return false;
    files.Finish();
    if (options.up) read.up = *options.up;
    double factor = options.keepNumbers ? 1 : read.metresPerUnit / options.unitScale;
    auto toHost = [up = read.up, factor](std::vector<ImportedObject>& objects) {
        if (up == UpAxis::kY) TurnObjects(objects);
        if (factor > 0 && factor != 1) ScaleObjects(objects, factor);
    };
    toHost(read.objects);
    if (read.poses) read.poses = TurnedPoses(read.poses, toHost);
    *model = std::move(read);
    *error = {};
    return true;
}

bool ImportModel(const std::string& path, ImportedModel* model, std::string* error) {
    ImportError failure;
    bool ok = ImportModel(path, {}, model, &failure);
    *error = failure.text;
    return ok;
}

JoinedModel JoinObjects(const ImportedModel& model, ImportError* error) {
    size_t numFaces = 0;
    for (const ImportedObject& object : model.objects) numFaces += object.mesh->NumFaces();
    if (numFaces > kMaxJoinedFaces) {
        FailImport(error,
                   fmt::format("{} objects have {} faces together, at most {} fit one mesh; name "
                               "one of them by \"object\"",
                               model.objects.size(), numFaces, kMaxJoinedFaces),
                   ImportFailure::kLimit);
        return {};
    }
    JoinedModel joined{std::make_shared<Mesh>(), nullptr, model.warnings, nullptr};
    bool hasMaterials = std::any_of(model.objects.begin(), model.objects.end(),
                                    [](const ImportedObject& o) { return o.material != nullptr; });
    MaterialList materials;
    for (const ImportedObject& object : model.objects) {
        Mesh mesh = TransformedMesh(*object.mesh, object.transform);
        if (hasMaterials) Renumber(object, materials, mesh);
        Colour(mesh, object.color);
        FillMissingColors(*joined.mesh, mesh);
        AppendMesh(*joined.mesh, mesh);
    }
    if (hasMaterials) joined.material = materials.Combined();
    return joined;
}

JoinedModel ImportJoined(const std::string& path, const std::string& object,
                         const ImportOptions& options, ImportError* error) {
    ImportedModel model;
    if (!ImportModel(path, options, &model, error)) return {};
    Log(LogKind::kNormal, ImportSummary(path, model));
    if (!object.empty()) {
        std::vector<std::string> names;
        for (const ImportedObject& o : model.objects)
            if (names.empty() || names.back() != o.name) names.push_back(o.name);
        std::erase_if(model.objects, [&](const ImportedObject& o) { return o.name != object; });
        if (model.objects.empty()) {
            FailImport(error, fmt::format("{}: no object \"{}\"{}", path, object,
                                          DidYouMean(object, names)));
            return {};
        }
    }
    JoinedModel joined = JoinObjects(model, error);
    if (!joined.mesh)
        error->text = fmt::format("{}: {}", path, error->text);
    else if (joined.mesh->faces.empty())
        FailImport(error, fmt::format("{}: the model has no faces", path));
    if (joined.mesh && model.poses)
        joined.animation = JoinedAnimation(model.poses, path, object, joined.mesh);
    return joined;
}

std::shared_ptr<Mesh> ImportMesh(const std::string& path, const std::string& object,
                                 std::string* error) {
    ImportError failure;
    JoinedModel joined = ImportJoined(path, object, {}, &failure);
    *error = failure.text;
    return joined.mesh;
}
