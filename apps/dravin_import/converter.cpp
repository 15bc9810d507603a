#include "apps/dravin_import/converter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <unordered_map>

#include <assimp/scene.h>

#include "host/geom/mesh_tools.h"
#include "host/io/model_poses.h"

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

bool IsFinite(float f) { return std::isfinite(f); }
bool IsFinite(const Quat& q) { return std::isfinite(q.x + q.y + q.z + q.w); }

// Formats that do not say it mean this by a tick.
double TicksPerSecond(const aiAnimation& animation) {
    constexpr double kUsual = 25;
    return animation.mTicksPerSecond > 0 ? animation.mTicksPerSecond : kUsual;
}

// Adds a key; of several at one tick the last counts. False for a time or value that is none, or a
// time before the last.
template <class T>
bool AddKey(double seconds, const T& value, std::vector<StreamKey<T>>* keys) {
    double ticks = std::round(seconds * kTicksPerSecond);
    constexpr double kMostTicks = 2e9;
    if (!(std::abs(ticks) <= kMostTicks) || !IsFinite(value)) return false;
    auto time = TimeValue(ticks);
    if (!keys->empty() && keys->back().time > time) return false;
    if (!keys->empty() && keys->back().time == time) keys->pop_back();
    keys->push_back({time, value});
    return true;
}

template <class Key, class Make, class T>
bool ToKeys(const Key* from, unsigned count, double ticksPerSecond, const Make& make,
            std::vector<StreamKey<T>>* keys) {
    for (unsigned k = 0; k < count; ++k)
        if (!AddKey(from[k].mTime / ticksPerSecond, make(from[k].mValue), keys)) return false;
    return true;
}

// The weights of one of the targets, where keys name it.
bool ToWeightKeys(const aiMeshMorphAnim& from, unsigned target, double ticksPerSecond,
                  std::vector<StreamKey<float>>* keys) {
    for (unsigned k = 0; k < from.mNumKeys; ++k) {
        const aiMeshMorphKey& key = from.mKeys[k];
        for (unsigned i = 0; i < key.mNumValuesAndWeights; ++i)
            if (key.mValues[i] == target &&
                !AddKey(key.mTime / ticksPerSecond, float(key.mWeights[i]), keys))
                return false;
    }
    return true;
}

class Converter {
public:
    Converter(const std::string& path, const aiScene& scene) : m_scene(scene) {
        Convention convention = ConventionOf(path, scene);
        m_model.up = uint32_t(convention.up);
        m_model.metresPerUnit = convention.metresPerUnit;
    }

    StreamModel Convert(const std::string& wantedAnimation) {
        for (unsigned m = 0; m < m_scene.mNumMaterials; ++m)
            m_model.materials.push_back(
                ToMaterial(m_scene, *m_scene.mMaterials[m], &m_model.leftOut));
        if (m_scene.mRootNode) AddNodes();
        AddAnimations(wantedAnimation);
        for (uint32_t n = 0; n < m_nodes.size(); ++n)
            if (m_nodes[n]->mNumMeshes > 0) AddObject(n);
        CountLeftOut();
        return std::move(m_model);
    }

private:
    void LeaveOut(const char* kind, size_t count = 1) {
        m_model.leftOut.insert(m_model.leftOut.end(), std::min<size_t>(count, 10000), kind);
    }
    void CountLeftOut() {
        LeaveOut("camera", m_scene.mNumCameras);
        LeaveOut("light", m_scene.mNumLights);
        size_t numMorphs = 0;
        for (unsigned m = 0; m < m_scene.mNumMeshes; ++m) {
            const aiMesh& mesh = *m_scene.mMeshes[m];
            if (mesh.mPrimitiveTypes & (aiPrimitiveType_POINT | aiPrimitiveType_LINE))
                LeaveOut("set of points or lines");
            numMorphs += mesh.mNumAnimMeshes;
        }
        LeaveOut("morph target", numMorphs - std::min(numMorphs, m_numMorphs));
    }

    // The nodes, parents first.
    void AddNodes() {
        std::vector<std::pair<const aiNode*, uint32_t>> stack{
            {m_scene.mRootNode, StreamNode::kNoParent}};
        while (!stack.empty()) {
            auto [node, parent] = stack.back();
            stack.pop_back();
            auto number = uint32_t(m_nodes.size());
            m_nodes.push_back(node);
            m_model.nodes.push_back({parent, ToMatrix(node->mTransformation)});
            m_byName.try_emplace(Text(node->mName), number);
            for (unsigned c = node->mNumChildren; c-- > 0;)
                stack.push_back({node->mChildren[c], number});
        }
    }

    void AddAnimations(const std::string& wanted) {
        std::vector<std::string> names;
        for (unsigned a = 0; a < m_scene.mNumAnimations; ++a) {
            const aiAnimation& animation = *m_scene.mAnimations[a];
            names.push_back(AnimationName(Text(animation.mName), a));
            double seconds = animation.mDuration / TicksPerSecond(animation);
            m_model.animations.push_back(
                {names.back(), std::isfinite(seconds) ? std::max(seconds, 0.0) : 0, 0});
        }
        if (std::optional<size_t> chosen = FindAnimation(names, wanted)) {
            m_model.animations[*chosen].isRead = 1;
            ReadAnimation(*m_scene.mAnimations[*chosen]);
        }
        if (wanted != kNoAnimation && names.size() > 1)
            LeaveOut("further animation", names.size() - 1);
    }

    void ReadAnimation(const aiAnimation& animation) {
        m_ticksPerSecond = TicksPerSecond(animation);
        for (unsigned c = 0; c < animation.mNumChannels; ++c)
            if (!AddChannel(*animation.mChannels[c])) LeaveOut("animation channel");
        for (unsigned c = 0; c < animation.mNumMorphMeshChannels; ++c) {
            const aiMeshMorphAnim& morph = *animation.mMorphMeshChannels[c];
            // Behind a star the library tells which of the node's shapes it is.
            std::string name = Text(morph.mName);
            m_morphs.try_emplace(name.substr(0, name.rfind('*')), &morph);
        }
        LeaveOut("animation channel of whole meshes", animation.mNumMeshChannels);
    }

    // False, with nothing added, for a node that is none, or keys that are no numbers.
    bool AddChannel(const aiNodeAnim& source) {
        auto node = m_byName.find(Text(source.mNodeName));
        if (node == m_byName.end()) return false;
        StreamChannel channel;
        channel.node = node->second;
        auto toQuat = [](const aiQuaternion& q) {
            return Quat{float(q.x), float(q.y), float(q.z), float(q.w)};
        };
        if (!ToKeys(source.mPositionKeys, source.mNumPositionKeys, m_ticksPerSecond, ToPoint,
                    &channel.positions) ||
            !ToKeys(source.mScalingKeys, source.mNumScalingKeys, m_ticksPerSecond, ToPoint,
                    &channel.scales) ||
            !ToKeys(source.mRotationKeys, source.mNumRotationKeys, m_ticksPerSecond, toQuat,
                    &channel.rotations))
            return false;
        m_model.channels.push_back(std::move(channel));
        return true;
    }

    // The meshes of a node, one a material, joined again. Bones bring their vertices to the world,
    // so that they stand apart from the others.
    void AddObject(uint32_t nodeNumber) {
        const aiNode& node = *m_nodes[nodeNumber];
        struct Part {
            Mesh mesh;
            StreamObject object;
        };
        std::map<bool, Part> parts;  // by whether they are bent by bones
        std::vector<uint32_t> materials;
        for (unsigned i = 0; i < node.mNumMeshes; ++i) {
            const aiMesh& source = *m_scene.mMeshes[node.mMeshes[i]];
            Mesh mesh = ToMesh(source);
            if (mesh.faces.empty()) continue;
            for (Face& face : mesh.faces) face.matID = uint16_t(materials.size());
            materials.push_back(source.mMaterialIndex);
            bool isBent = AreBonesWhole(source);
            Part& part = parts[isBent];
            auto first = uint32_t(part.mesh.verts.size());
            if (isBent) AddBones(source, first, &part.object.bones);
            AddMorphs(source, Text(node.mName), first, &part.object.morphs);
            FillMissingColors(part.mesh, mesh);
            AppendMesh(part.mesh, mesh);
        }
        for (auto& [isBent, part] : parts) {
            // Where a mesh is deformed, what coincides now may part later.
            if (part.object.bones.empty() && part.object.morphs.empty()) WeldVertices(part.mesh);
            part.object.name = Text(node.mName);
            part.object.node = nodeNumber;
            part.object.materials = materials;
            part.object.mesh = uint32_t(m_model.meshes.size());
            m_model.meshes.push_back(std::move(part.mesh));
            m_model.objects.push_back(std::move(part.object));
        }
    }

    // Whether bones can place the mesh: each is a node, and every vertex has one. (One without
    // would stay in another space than its neighbours.)
    bool AreBonesWhole(const aiMesh& source) const {
        if (source.mNumBones == 0) return false;
        std::vector<float> sums(source.mNumVertices);
        for (unsigned b = 0; b < source.mNumBones; ++b) {
            const aiBone& bone = *source.mBones[b];
            if (!m_byName.contains(Text(bone.mName))) return false;
            for (unsigned w = 0; w < bone.mNumWeights; ++w) {
                const aiVertexWeight& weight = bone.mWeights[w];
                if (weight.mVertexId < sums.size() && weight.mWeight > 0)
                    sums[weight.mVertexId] += float(weight.mWeight);
            }
        }
        return std::none_of(sums.begin(), sums.end(), [](float s) { return s == 0; });
    }
    void AddBones(const aiMesh& source, uint32_t first, std::vector<StreamBone>* bones) const {
        for (unsigned b = 0; b < source.mNumBones; ++b) {
            const aiBone& from = *source.mBones[b];
            StreamBone bone;
            bone.node = m_byName.at(Text(from.mName));
            bone.offset = ToMatrix(from.mOffsetMatrix);
            for (unsigned w = 0; w < from.mNumWeights; ++w) {
                const aiVertexWeight& weight = from.mWeights[w];
                if (weight.mVertexId < source.mNumVertices && weight.mWeight > 0)
                    bone.weights.push_back({first + weight.mVertexId, float(weight.mWeight)});
            }
            bones->push_back(std::move(bone));
        }
    }

    // The morph targets that have keys.
    void AddMorphs(const aiMesh& source, const std::string& node, uint32_t first,
                   std::vector<StreamMorph>* morphs) {
        auto found = m_morphs.find(node);
        if (found == m_morphs.end()) return;
        for (unsigned target = 0; target < source.mNumAnimMeshes; ++target) {
            const aiAnimMesh& shape = *source.mAnimMeshes[target];
            StreamMorph morph;
            morph.firstVertex = first;
            if (!shape.mVertices || shape.mNumVertices != source.mNumVertices ||
                !ToWeightKeys(*found->second, target, m_ticksPerSecond, &morph.keys) ||
                morph.keys.empty())
                continue;
            for (unsigned v = 0; v < shape.mNumVertices; ++v)
                morph.verts.push_back(ToPoint(shape.mVertices[v]));
            morphs->push_back(std::move(morph));
            ++m_numMorphs;
        }
    }

    const aiScene& m_scene;
    double m_ticksPerSecond = 1;
    std::vector<const aiNode*> m_nodes;
    std::unordered_map<std::string, uint32_t> m_byName;
    std::unordered_map<std::string, const aiMeshMorphAnim*> m_morphs;  // by the node's name
    size_t m_numMorphs = 0;                                            // that are read
    StreamModel m_model;
};

}  // namespace

StreamModel ConvertScene(const std::string& path, const aiScene& scene,
                         const std::string& animation) {
    return Converter(path, scene).Convert(animation);
}
