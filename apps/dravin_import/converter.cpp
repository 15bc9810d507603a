#include "apps/dravin_import/converter.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <unordered_map>

#include <assimp/scene.h>

#include "host/geom/mesh_tools.h"

namespace {

std::string Text(const aiString& s) { return {s.data, s.length}; }
Point3 ToPoint(const aiVector3D& v) { return {float(v.x), float(v.y), float(v.z)}; }

// The library's matrices have the axes in columns.
Matrix3 ToMatrix(const aiMatrix4x4& m) {
    return {{{float(m.a1), float(m.b1), float(m.c1)},
             {float(m.a2), float(m.b2), float(m.c2)},
             {float(m.a3), float(m.b3), float(m.c3)},
             {float(m.a4), float(m.b4), float(m.c4)}}};
}

// What the library's numbers mean, by the file's ending. It turns some formats to y up itself and
// brings some to metres; the numbers of the others pass unchanged. 0: no unit is stated.
struct Convention {
    UpAxis up = UpAxis::kZ;
    double metresPerUnit = 0;
};
Convention ConventionOf(const std::string& path) {
    static const std::unordered_map<std::string, Convention> kKnown{
        {"dae", {UpAxis::kY, 1}},    {"zae", {UpAxis::kY, 1}},     {"x3d", {UpAxis::kY, 1}},
        {"x3db", {UpAxis::kY, 1}},   {"wrl", {UpAxis::kY, 1}},     {"ifc", {UpAxis::kY, 1}},
        {"ifczip", {UpAxis::kY, 1}}, {"lwo", {UpAxis::kY, 1}},     {"lws", {UpAxis::kY, 1}},
        {"lxo", {UpAxis::kY, 1}},    {"fbx", {UpAxis::kY, 0.01}},  {"3ds", {UpAxis::kY, 0}},
        {"prj", {UpAxis::kY, 0}},    {"x", {UpAxis::kY, 0}},       {"b3d", {UpAxis::kY, 0}},
        {"bvh", {UpAxis::kY, 0}},    {"ms3d", {UpAxis::kY, 0}},    {"md2", {UpAxis::kY, 0}},
        {"md3", {UpAxis::kY, 0}},    {"md5mesh", {UpAxis::kY, 0}}, {"mdl", {UpAxis::kY, 0}},
        {"irr", {UpAxis::kY, 0}},    {"irrmesh", {UpAxis::kY, 0}}, {"mesh", {UpAxis::kY, 0}},
        {"xml", {UpAxis::kY, 0}},    {"pmx", {UpAxis::kY, 0}},     {"assbin", {UpAxis::kY, 0}},
        {"ase", {UpAxis::kY, 0}},    {"ask", {UpAxis::kY, 0}},     {"ac", {UpAxis::kY, 0}},
        {"ac3d", {UpAxis::kY, 0}},   {"acc", {UpAxis::kY, 0}},     {"dxf", {UpAxis::kY, 0}}};
    std::string ending = path.substr(path.find_last_of('.') + 1);
    for (char& c : ending) c = char(std::tolower(static_cast<unsigned char>(c)));
    auto found = kKnown.find(ending);
    return found == kKnown.end() ? Convention{} : found->second;
}

// Some files say it themselves.
Convention ConventionOf(const std::string& path, const aiScene& scene) {
    Convention convention = ConventionOf(path);
    if (!scene.mMetaData) return convention;
    int axis = 1;
    if (scene.mMetaData->Get("UpAxis", axis)) convention.up = axis == 2 ? UpAxis::kZ : UpAxis::kY;
    double centimetres = 1;
    float single = 1;
    if (scene.mMetaData->Get("UnitScaleFactor", centimetres))
        convention.metresPerUnit = centimetres / 100;
    else if (scene.mMetaData->Get("UnitScaleFactor", single))
        convention.metresPerUnit = double(single) / 100;
    return convention;
}

// The library hands names on as they stand in the file: Blender marks those that are relative to
// the file with two slashes, X3D has a list in quotation marks, of which the first counts, and for
// the models of some games, whose skins are chosen elsewhere, the library makes up a name.
std::string FileName(std::string name) {
    if (name.rfind("$texture_dummy", 0) == 0) return {};
    if (name.rfind("//", 0) == 0) name.erase(0, 2);
    name.erase(0, std::min(name.find_first_not_of('"'), name.size()));
    return name.substr(0, name.find('"'));
}

// An image in the model: a file's bytes with no height, or texels, which become an uncompressed
// Targa file (18 bytes of header, then blue, green, red, alpha from the top) and so one of a kind
// that is read by its name.
void Unpack(const aiTexture& packed, StreamTexture* texture) {
    const char* data = reinterpret_cast<const char*>(packed.pcData);
    if (packed.mHeight == 0) {
        std::string ending(packed.achFormatHint, strnlen(packed.achFormatHint, HINTMAXTEXTURELEN));
        if (!ending.empty()) texture->file = "packed image." + ending;
        texture->bytes.assign(data, packed.mWidth);
        return;
    }
    constexpr unsigned kMaxSide = 65535;
    if (packed.mWidth == 0 || packed.mWidth > kMaxSide || packed.mHeight > kMaxSide) return;
    constexpr char kTrueColour = 2, kBits = 32, kFromTopWithAlpha = 0x28;
    texture->file = "packed image.tga";
    std::string header(18, '\0');
    header[2] = kTrueColour;
    header[12] = char(packed.mWidth & 255), header[13] = char(packed.mWidth >> 8);
    header[14] = char(packed.mHeight & 255), header[15] = char(packed.mHeight >> 8);
    header[16] = kBits, header[17] = kFromTopWithAlpha;
    texture->bytes = header;
    texture->bytes.append(data, size_t(packed.mWidth) * packed.mHeight * sizeof(aiTexel));
}

StreamTexture ToTexture(const aiScene& scene, const aiMaterial& material, aiTextureType type) {
    aiString file;
    material.GetTexture(type, 0, &file);
    StreamTexture texture;
    texture.file = FileName(Text(file));
    if (const aiTexture* packed = scene.GetEmbeddedTexture(file.C_Str())) Unpack(*packed, &texture);
    int mode = 0;
    if (material.Get(AI_MATKEY_MAPPINGMODE_U(type, 0), mode) == AI_SUCCESS)
        texture.wrap = mode == aiTextureMapMode_Clamp ? 1 : mode == aiTextureMapMode_Mirror ? 2 : 0;
    aiUVTransform transform;
    if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == AI_SUCCESS) {
        texture.tiling = {float(transform.mScaling.x), float(transform.mScaling.y)};
        texture.offset = {float(transform.mTranslation.x), float(transform.mTranslation.y)};
    }
    return texture;
}

StreamMaterial ToMaterial(const aiScene& scene, const aiMaterial& source,
                          std::vector<std::string>* leftOut) {
    StreamMaterial material;
    material.name = source.GetName().C_Str();
    aiColor3D diffuse;
    if (source.Get(AI_MATKEY_COLOR_DIFFUSE, diffuse) == AI_SUCCESS)
        material.diffuse = {float(diffuse.r), float(diffuse.g), float(diffuse.b)};
    ai_real opacity = 1;
    if (source.Get(AI_MATKEY_OPACITY, opacity) == AI_SUCCESS) material.opacity = float(opacity);
    int twoSided = 0;
    if (source.Get(AI_MATKEY_TWOSIDED, twoSided) == AI_SUCCESS) material.twoSided = twoSided != 0;
    for (aiTextureType type : {aiTextureType_DIFFUSE, aiTextureType_BASE_COLOR})
        if (material.diffuseMap.empty() && source.GetTextureCount(type) > 0)
            material.diffuseMap.push_back(ToTexture(scene, source, type));
    if (source.GetTextureCount(aiTextureType_OPACITY) > 0)
        material.opacityMap.push_back(ToTexture(scene, source, aiTextureType_OPACITY));
    for (auto [type, kind] : {std::pair{aiTextureType_NORMALS, "normal map"},
                              {aiTextureType_HEIGHT, "bump map"},
                              {aiTextureType_SPECULAR, "specular map"},
                              {aiTextureType_EMISSIVE, "glow map"}})
        if (source.GetTextureCount(type) > 0) leftOut->push_back(kind);
    return material;
}

// Some formats count colours to 255, which the library gives as they are, or as bytes with a sign.
void FitColors(std::vector<Point3>& colors) {
    constexpr float kBeyondUnit = 1.5f, kBelowUnit = -0.5f;
    auto isBeyond = [](float f) { return f > kBeyondUnit || f < kBelowUnit; };
    bool isByte = std::any_of(colors.begin(), colors.end(), [&](const Point3& c) {
        return isBeyond(c.x) || isBeyond(c.y) || isBeyond(c.z);
    });
    if (!isByte) return;
    auto fit = [](float f) { return (f < 0 ? f + 256 : f) / 255; };
    for (Point3& c : colors) c = {fit(c.x), fit(c.y), fit(c.z)};
}

// One face list of the library becomes one mesh; points and lines are left out.
Mesh ToMesh(const aiMesh& source) {
    Mesh mesh;
    for (unsigned v = 0; v < source.mNumVertices; ++v)
        mesh.verts.push_back(ToPoint(source.mVertices[v]));
    std::vector<Triple> triangles;
    for (unsigned f = 0; f < source.mNumFaces; ++f) {
        const aiFace& face = source.mFaces[f];
        if (face.mNumIndices != 3) continue;
        triangles.push_back({face.mIndices[0], face.mIndices[1], face.mIndices[2]});
        mesh.faces.push_back({triangles.back(), source.HasNormals() ? 1u : 0u});
    }
    auto fill = [&](MapChannel& channel, const aiVector3D* values) {
        for (unsigned v = 0; v < source.mNumVertices; ++v)
            channel.verts.push_back(ToPoint(values[v]));
        channel.faces = triangles;
    };
    if (source.HasNormals()) fill(mesh.normals, source.mNormals);
    for (int set = 0; set < 4 && source.HasTextureCoords(unsigned(set)); ++set)
        fill(mesh.MakeMap(set + 1), source.mTextureCoords[set]);
    if (source.HasVertexColors(0)) {
        MapChannel& colors = mesh.MakeMap(0);
        for (unsigned v = 0; v < source.mNumVertices; ++v) {
            const aiColor4D& c = source.mColors[0][v];
            colors.verts.push_back({float(c.r), float(c.g), float(c.b)});
        }
        colors.faces = triangles;
        FitColors(colors.verts);
    }
    return mesh;
}

class Converter {
public:
    Converter(const std::string& path, const aiScene& scene) : m_scene(scene) {
        Convention convention = ConventionOf(path, scene);
        m_model.up = uint32_t(convention.up);
        m_model.metresPerUnit = convention.metresPerUnit;
    }

    StreamModel Convert(size_t numAnimations) {
        for (unsigned m = 0; m < m_scene.mNumMaterials; ++m)
            m_model.materials.push_back(
                ToMaterial(m_scene, *m_scene.mMaterials[m], &m_model.leftOut));
        CountLeftOut(numAnimations);
        if (m_scene.mRootNode) FindWorlds();
        for (const aiNode* node : m_nodes)
            if (node->mNumMeshes > 0) AddObject(*node);
        return std::move(m_model);
    }

private:
    void CountLeftOut(size_t numAnimations) {
        auto leaveOut = [&](const char* kind, size_t count) {
            m_model.leftOut.insert(m_model.leftOut.end(), std::min<size_t>(count, 10000), kind);
        };
        leaveOut("animation", numAnimations);
        leaveOut("camera", m_scene.mNumCameras);
        leaveOut("light", m_scene.mNumLights);
        for (unsigned m = 0; m < m_scene.mNumMeshes; ++m) {
            const aiMesh& mesh = *m_scene.mMeshes[m];
            if (mesh.mPrimitiveTypes & (aiPrimitiveType_POINT | aiPrimitiveType_LINE))
                leaveOut("set of points or lines", 1);
            leaveOut("morph target", mesh.mNumAnimMeshes);
        }
    }

    // The nodes, parents first, and where they stand.
    void FindWorlds() {
        std::vector<std::pair<const aiNode*, Matrix3>> stack{{m_scene.mRootNode, {}}};
        while (!stack.empty()) {
            auto [node, parent] = stack.back();
            stack.pop_back();
            Matrix3 world = ToMatrix(node->mTransformation) * parent;
            m_nodes.push_back(node);
            m_worlds[node] = world;
            m_byName.try_emplace(Text(node->mName), world);
            for (unsigned c = node->mNumChildren; c-- > 0;)
                stack.push_back({node->mChildren[c], world});
        }
    }

    // The meshes of a node, one a material, joined again. A skin brings its vertices to the world.
    void AddObject(const aiNode& node) {
        StreamObject object;
        object.name = Text(node.mName);
        std::map<bool, Mesh> joined;  // by whether it is bent by bones
        for (unsigned i = 0; i < node.mNumMeshes; ++i) {
            const aiMesh& source = *m_scene.mMeshes[node.mMeshes[i]];
            Mesh part = ToMesh(source);
            if (part.faces.empty()) continue;
            bool isBent = Bend(source, part);
            for (Face& face : part.faces) face.matID = uint16_t(object.materials.size());
            object.materials.push_back(source.mMaterialIndex);
            FillMissingColors(joined[isBent], part);
            AppendMesh(joined[isBent], part);
        }
        for (auto& [isBent, mesh] : joined) {
            if (mesh.faces.empty()) continue;
            WeldVertices(mesh);
            object.transform = isBent ? Matrix3{} : m_worlds[&node];
            object.mesh = uint32_t(m_model.meshes.size());
            m_model.meshes.push_back(std::move(mesh));
            m_model.objects.push_back(object);
        }
    }

    // Puts the vertices where the file's nodes have the bones. False, with nothing changed, for a
    // mesh without bones or with one that is no node.
    bool Bend(const aiMesh& source, Mesh& mesh) const {
        if (source.mNumBones == 0) return false;
        std::vector<Point3> verts(mesh.verts.size()), normals(mesh.normals.verts.size());
        std::vector<float> sums(mesh.verts.size());
        for (unsigned b = 0; b < source.mNumBones; ++b) {
            const aiBone& bone = *source.mBones[b];
            auto world = m_byName.find(Text(bone.mName));
            if (world == m_byName.end()) return false;
            Matrix3 m = ToMatrix(bone.mOffsetMatrix) * world->second;
            for (unsigned w = 0; w < bone.mNumWeights; ++w) {
                size_t v = bone.mWeights[w].mVertexId;
                auto weight = float(bone.mWeights[w].mWeight);
                if (v >= verts.size() || !(weight > 0)) continue;
                verts[v] += (mesh.verts[v] * m) * weight;
                if (v < normals.size())
                    normals[v] += m.VectorTransform(mesh.normals.verts[v]) * weight;
                sums[v] += weight;
            }
        }
        // A vertex that no bone moves would stay in another space than its neighbours.
        if (std::any_of(sums.begin(), sums.end(), [](float s) { return s == 0; })) return false;
        for (size_t v = 0; v < verts.size(); ++v) mesh.verts[v] = verts[v] / sums[v];
        for (size_t v = 0; v < normals.size(); ++v) mesh.normals.verts[v] = Normalize(normals[v]);
        return true;
    }

    const aiScene& m_scene;
    std::vector<const aiNode*> m_nodes;
    std::unordered_map<const aiNode*, Matrix3> m_worlds;
    std::unordered_map<std::string, Matrix3> m_byName;
    StreamModel m_model;
};

}  // namespace

StreamModel ConvertScene(const std::string& path, const aiScene& scene, size_t numAnimations) {
    return Converter(path, scene).Convert(numAnimations);
}
