// dravin_import FILE SECONDS BYTES: reads a model by the import library under limits on processor
// time and address space, and writes it to standard output as a model stream. Started by the host
// only.

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <sys/resource.h>
#include <assimp/Importer.hpp>

#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/io/model_stream.h"

namespace {

void LimitResources(rlim_t seconds, rlim_t bytes) {
    rlimit time{seconds, seconds + 1};
    setrlimit(RLIMIT_CPU, &time);
    rlimit core{0, 0};
    setrlimit(RLIMIT_CORE, &core);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers' shadow memory alone is larger than any sensible limit.
    rlimit space{bytes, bytes};
    setrlimit(RLIMIT_AS, &space);
#endif
}

std::string Text(const aiString& s) { return {s.data, s.length}; }
Point3 ToPoint(const aiVector3D& v) { return {float(v.x), float(v.y), float(v.z)}; }

// The library's matrices have the axes in columns.
Matrix3 ToMatrix(const aiMatrix4x4& m) {
    return {{{float(m.a1), float(m.b1), float(m.c1)},
             {float(m.a2), float(m.b2), float(m.c2)},
             {float(m.a3), float(m.b3), float(m.c3)},
             {float(m.a4), float(m.b4), float(m.c4)}}};
}

// The library gives scenes with y up for formats that define or state an up axis; the others'
// numbers pass unchanged.
bool HasYUp(const std::string& path, const aiScene& scene) {
    int axis = 1;
    if (scene.mMetaData && scene.mMetaData->Get("UpAxis", axis)) return axis == 1;
    std::string ending = path.substr(path.find_last_of('.') + 1);
    for (char& c : ending) c = char(std::tolower(static_cast<unsigned char>(c)));
    for (const char* known : {"dae", "zae", "fbx", "3ds", "ase", "ask", "blend", "lwo", "lws",
                              "lxo", "x", "x3d", "x3db", "b3d", "ac", "ac3d", "bvh", "ms3d"})
        if (ending == known) return true;
    return false;
}

Matrix3 UpTurn(bool hasYUp) {
    return hasYUp ? Matrix3{{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {}}} : Matrix3{};
}

StreamTexture ToTexture(const aiScene& scene, const aiMaterial& material, aiTextureType type) {
    aiString file;
    material.GetTexture(type, 0, &file);
    StreamTexture texture;
    texture.file = Text(file);
    const aiTexture* packed = scene.GetEmbeddedTexture(file.C_Str());
    if (packed && packed->mHeight == 0)
        texture.bytes.assign(reinterpret_cast<const char*>(packed->pcData), packed->mWidth);
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

StreamMaterial ToMaterial(const aiScene& scene, const aiMaterial& source) {
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
    return material;
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
    }
    return mesh;
}

class Converter {
public:
    Converter(const std::string& path, const aiScene& scene)
        : m_scene(scene), m_turn(UpTurn(HasYUp(path, scene))) {}

    StreamModel Convert() {
        for (unsigned m = 0; m < m_scene.mNumMaterials; ++m)
            m_model.materials.push_back(ToMaterial(m_scene, *m_scene.mMaterials[m]));
        if (m_scene.mRootNode) Visit(*m_scene.mRootNode, aiMatrix4x4());
        return std::move(m_model);
    }

private:
    void Visit(const aiNode& node, const aiMatrix4x4& parent) {
        aiMatrix4x4 world = parent * node.mTransformation;
        if (node.mNumMeshes > 0) AddObject(node, world);
        for (unsigned c = 0; c < node.mNumChildren; ++c) Visit(*node.mChildren[c], world);
    }
    // The meshes of a node, one a material, joined again.
    void AddObject(const aiNode& node, const aiMatrix4x4& world) {
        StreamObject object;
        object.name = Text(node.mName);
        Mesh joined;
        for (unsigned i = 0; i < node.mNumMeshes; ++i) {
            const aiMesh& source = *m_scene.mMeshes[node.mMeshes[i]];
            Mesh part = ToMesh(source);
            if (part.faces.empty()) continue;
            for (Face& face : part.faces) face.matID = uint16_t(object.materials.size());
            object.materials.push_back(source.mMaterialIndex);
            AppendMesh(joined, part);
        }
        if (joined.faces.empty()) return;
        WeldVertices(joined);
        TransformMesh(joined, m_turn);
        object.transform = Inverse(m_turn) * ToMatrix(world) * m_turn;
        object.mesh = uint32_t(m_model.meshes.size());
        m_model.meshes.push_back(std::move(joined));
        m_model.objects.push_back(object);
    }

    const aiScene& m_scene;
    Matrix3 m_turn;
    StreamModel m_model;
};

std::string ReadModel(const std::string& path) {
    Assimp::Importer importer;
    const aiScene* scene =
        importer.ReadFile(path, aiProcess_Triangulate | aiProcess_JoinIdenticalVertices |
                                    aiProcess_ValidateDataStructure);
    if (!scene) return WriteFailureStream(importer.GetErrorString());
    return WriteModelStream(Converter(path, *scene).Convert());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    LimitResources(rlim_t(ParseInteger(argv[2]).value_or(60)),
                   rlim_t(ParseInteger(argv[3]).value_or(1ll << 32)));
    std::string answer;
    try {
        answer = ReadModel(argv[1]);
    } catch (const std::bad_alloc&) {
        answer = WriteFailureStream("it needs more memory than the limit allows");
    } catch (const std::exception& failure) {
        answer = WriteFailureStream(failure.what());
    }
    bool ok = std::fwrite(answer.data(), 1, answer.size(), stdout) == answer.size();
    return ok && std::fflush(stdout) == 0 ? 0 : 1;
}
