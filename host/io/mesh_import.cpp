#include "host/io/mesh_import.h"

#include <algorithm>
#include <unordered_map>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/io/import_helper.h"
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

bool Read(const std::string& path, ImportedModel* model, std::string* error) {
    using Reader = bool (*)(const std::string&, std::string_view, ImportedModel*, std::string*);
    static const std::unordered_map<std::string, Reader> kReaders{{"obj", ReadObj},
                                                                  {"ply", ReadPly},
                                                                  {"stl", ReadStl},
                                                                  {"gltf", ReadGltf},
                                                                  {"glb", ReadGltf}};
    auto found = kReaders.find(Ending(path));
    if (found == kReaders.end())
        return RegularFileSize(path, error) && ReadByHelper(path, {}, model, error);
    MappedFile file;
    return file.Open(path, error) && found->second(path, file.Bytes(), model, error);
}

// What the readers promise is checked once for all of them, as nothing above checks again.
bool Check(const std::string& path, const ImportedModel& model, std::string* error) {
    for (const ImportedObject& object : model.objects) {
        std::string problem = Validate(*object.mesh);
        if (std::optional<size_t> v = FirstNonFiniteVertex(*object.mesh); v && problem.empty())
            problem = fmt::format("vertex {}: a coordinate is not a finite number", *v);
        if (!problem.empty())
            return *error = fmt::format("{}: object \"{}\": {}", path, object.name, problem), false;
    }
    return true;
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
    if (!multi || multi->subs.empty()) {
        uint32_t number = list.Number(object.material);
        for (Face& face : mesh.faces) face.matID = uint16_t(number);
        return;
    }
    for (Face& face : mesh.faces)
        face.matID = uint16_t(list.Number(multi->subs[face.matID % multi->subs.size()]->Share()));
}

}  // namespace

bool ImportModel(const std::string& path, ImportedModel* model, std::string* error) {
    ImportedModel read;
    if (!Read(path, &read, error) || !Check(path, read, error)) return false;
    *model = std::move(read);
    return true;
}

JoinedModel JoinObjects(const ImportedModel& model) {
    JoinedModel joined{std::make_shared<Mesh>(), nullptr};
    bool hasMaterials = std::any_of(model.objects.begin(), model.objects.end(),
                                    [](const ImportedObject& o) { return o.material != nullptr; });
    MaterialList materials;
    for (const ImportedObject& object : model.objects) {
        Mesh mesh = TransformedMesh(*object.mesh, object.transform);
        if (hasMaterials) Renumber(object, materials, mesh);
        AppendMesh(*joined.mesh, mesh);
    }
    if (hasMaterials) joined.material = materials.Combined();
    return joined;
}

JoinedModel ImportJoined(const std::string& path, const std::string& object, std::string* error) {
    ImportedModel model;
    if (!ImportModel(path, &model, error)) return {};
    if (!object.empty()) {
        std::vector<std::string> names;
        for (const ImportedObject& o : model.objects) names.push_back(o.name);
        std::erase_if(model.objects, [&](const ImportedObject& o) { return o.name != object; });
        if (model.objects.empty()) {
            *error = fmt::format("{}: no object \"{}\"{}", path, object, DidYouMean(object, names));
            return {};
        }
    }
    JoinedModel joined = JoinObjects(model);
    if (joined.mesh->faces.empty()) *error = fmt::format("{}: the model has no faces", path);
    return joined;
}

std::shared_ptr<Mesh> ImportMesh(const std::string& path, const std::string& object,
                                 std::string* error) {
    return ImportJoined(path, object, error).mesh;
}
