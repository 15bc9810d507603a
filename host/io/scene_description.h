// Scene descriptions: scenes as JSON text that people and pipelines write by hand.
//
// Reading gives a whole scene or one error that names file, line, column and JSON pointer; nothing
// is half-loaded. Writing gives text that reads back as the same scene. Node types, materials and
// texture maps beyond the host's own are registered by the modules that bring them. Everything that
// the files named in a description need goes through ISceneLoaders. One thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/work_watch.h"
#include "host/io/description_value.h"
#include "host/scene/point_cache.h"
#include "host/scene/scene.h"

class DescriptionContext;
struct HeightfieldOrigin;

// What the host's own texture maps have in common, in the words of the description.
struct TexmapDescription {
    std::string type;  // "color", "uvw", "gradient", "checker", "bitmap", "noise"
    Color color{1, 1, 1}, color1{0, 0, 0}, color2{1, 1, 1};
    bool axisV = false;  // gradient
    std::string file;    // bitmap: resolved
    std::string filter = "bilinear";
    std::string wrap = "tile";
    float size = 25;  // noise
    int levels = 3;
    int seed = 0;
};

// A terrain, or why there is none.
struct HeightfieldLoad {
    std::shared_ptr<const HeightField> field;  // null with a reason in `error`
    std::string error;
    std::string key = "file";  // of the node, which the error is about
    DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed;
    std::vector<std::string> warnings;
};

// A texture map with its image, or why there is none.
struct TexmapLoad {
    std::shared_ptr<Texmap> texmap;  // null with a reason in `error`
    std::string error;
    DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed;
};

// What a model file gave.
struct LoadedModel {
    std::shared_ptr<const Mesh> mesh;  // null: nothing, for the reason in `error`
    std::shared_ptr<Mtl> material;     // that the file itself gives to the mesh; null for none
    std::shared_ptr<IMeshAnimation> animation;  // null: the model does not move
    std::vector<std::string> warnings;
    DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed;
    std::string error;
};

// The samples of a point cache, or why there are none.
struct PointCacheLoad {
    std::shared_ptr<const IPointSamples> samples;  // null with a reason in `error`
    std::string error;
    DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed;
    std::string warning;  // empty: none
};

// Another scene, or why there is none.
struct ExternalSceneLoad {
    std::shared_ptr<Scene> scene;  // null with a reason in `error`
    std::string error;
    DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed;
    std::vector<std::string> warnings;
};

// Makes what a description only names. Files are resolved paths of regular files that exist.
class ISceneLoaders {
public:
    virtual ~ISceneLoaders() = default;
    // unitScale: metres in a scene unit. folder: of the description, which the model may draw files
    // from. Warnings come with the first of several requests for one file.
    // watch: may cancel, null for none.
    virtual LoadedModel LoadMesh(const FileOrigin& origin, double unitScale,
                                 const std::string& folder, const WorkWatch* watch) = 0;
    // From the file that `origin` names, which is a resolved path here.
    virtual HeightfieldLoad LoadHeightfield(const HeightfieldOrigin& origin,
                                            double metresPerUnit) = 0;
    virtual PointCacheLoad LoadPointCache(const PointCacheOrigin& origin, double unitScale,
                                          int ticksPerFrame) = 0;
    // The scene of another scene file, whose objects are shown from there; the same one for all
    // that ask for a file while any of them keeps it.
    virtual ExternalSceneLoad LoadScene(const std::string& path, WorkWatch* watch);
    // The next request for a scene reads its file again, whoever keeps the one read before.
    virtual void ForgetScenes() {}
    virtual std::shared_ptr<const Mesh> MakePrimitive(const PrimitiveOrigin& origin) = 0;
    virtual TexmapLoad MakeTexmap(const TexmapDescription& description) = 0;
    // The inverse of MakeTexmap; false for a map of another kind.
    virtual bool DescribeTexmap(const Texmap& texmap, TexmapDescription* description) = 0;
};

// Object types of nodes, by name.
class INodeDescription {
public:
    virtual ~INodeDescription() = default;
    // Reads the keys of its own. Nodes, maps and materials that it names exist later only: resolve
    // them in context.WhenAllExist. Null after a failure.
    virtual std::shared_ptr<Object> Read(DescriptionObject& keys,
                                         DescriptionContext& context) const = 0;
    // Adds the keys of its own when `object` is of its type, else returns false.
    virtual bool Write(const Object& object, nlohmann::ordered_json& keys,
                       const class DescriptionWriter& writer) const = 0;
};

// Materials and texture maps of other modules, by class name.
struct MaterialFormat {
    std::function<std::shared_ptr<Mtl>(DescriptionObject& keys, DescriptionContext& context)> read;
    std::function<bool(const Mtl&, nlohmann::ordered_json& keys, const DescriptionWriter&)> write;
};
struct TexmapFormat {
    std::function<std::shared_ptr<Texmap>(DescriptionObject& keys, DescriptionContext&)> read;
    std::function<bool(const Texmap&, nlohmann::ordered_json& keys, const DescriptionWriter&)>
        write;
};

// Modifiers whose keys are more than the parameters of their blocks, by the name that their class
// is registered under.
struct ModifierFormat {
    // base: the object below the node's modifiers. Null after a failure.
    std::function<std::shared_ptr<Modifier>(DescriptionObject& keys, DescriptionContext& context,
                                            const Object& base)>
        read;
    std::function<bool(const Modifier&, nlohmann::ordered_json& keys, const DescriptionWriter&)>
        write;
};

// Everything that descriptions may hold.
class SceneFormats {
public:
    // With the host's own types.
    explicit SceneFormats(std::shared_ptr<ISceneLoaders> loaders);

    void RegisterNode(const std::string& type, std::unique_ptr<INodeDescription> description);
    void RegisterMaterial(const std::string& type, MaterialFormat format);
    void RegisterTexmap(const std::string& type, TexmapFormat format);
    // Classes of modifiers that have no format are read and written by their parameter blocks.
    void RegisterModifier(const std::string& type, ModifierFormat format);

    ISceneLoaders& Loaders() const { return *m_loaders; }
    const INodeDescription* FindNode(const std::string& type) const;
    const MaterialFormat* FindMaterial(const std::string& type) const;
    const TexmapFormat* FindTexmap(const std::string& type) const;
    const ModifierFormat* FindModifier(const std::string& type) const;
    std::vector<std::string> NodeTypes() const;
    std::vector<std::string> MaterialTypes() const;
    std::vector<std::string> TexmapTypes() const;
    const std::map<std::string, std::unique_ptr<INodeDescription>>& Nodes() const {
        return m_nodes;
    }
    const std::map<std::string, MaterialFormat>& Materials() const { return m_materials; }
    const std::map<std::string, TexmapFormat>& Texmaps() const { return m_texmaps; }
    const std::map<std::string, ModifierFormat>& Modifiers() const { return m_modifiers; }

private:
    std::shared_ptr<ISceneLoaders> m_loaders;
    std::map<std::string, std::unique_ptr<INodeDescription>> m_nodes;
    std::map<std::string, MaterialFormat> m_materials;
    std::map<std::string, TexmapFormat> m_texmaps;
    std::map<std::string, ModifierFormat> m_modifiers;
};

// Finds nodes, texture maps and materials of a scene, which must outlive it, by name.
NameResolver ResolverOf(const Scene& scene);

// What readers of one description share.
class DescriptionContext {
public:
    DescriptionContext(Scene& targetScene, std::string sceneFolder,
                       const SceneFormats& sceneFormats, WorkWatch* workWatch)
        : scene(targetScene),
          folder(std::move(sceneFolder)),
          formats(sceneFormats),
          watch(workWatch) {}

    Scene& scene;
    std::string folder;  // of the description; relative files start from it
    const SceneFormats& formats;
    WorkWatch* watch;  // null: nobody waits

    // Runs when all nodes, maps and materials exist, in the order of registration.
    void WhenAllExist(std::function<void()> action) { m_later.push_back(std::move(action)); }
    void RunLater();

    // The entity that the text names; null is none. A name that nothing has fails, with a
    // suggestion.
    std::shared_ptr<INode> NodeOf(const DescriptionValue& name) const;
    std::shared_ptr<Texmap> TexmapOf(const DescriptionValue& name) const;
    std::shared_ptr<Mtl> MtlOf(const DescriptionValue& name) const;
    NameResolver Resolver() const;

    // The path of a file that the description names. Empty, and failed, when there is no such
    // regular file. Leaving the description's folder is allowed and warned about.
    std::string FileOf(const DescriptionValue& name) const;

private:
    std::vector<std::function<void()>> m_later;
};

// What writers of one description share.
class DescriptionWriter {
public:
    DescriptionWriter(const Scene& writtenScene, std::string targetFolder,
                      const SceneFormats& sceneFormats)
        : scene(writtenScene), folder(std::move(targetFolder)), formats(sceneFormats) {}

    const Scene& scene;
    std::string folder;  // that the description will stand in
    const SceneFormats& formats;
    // Rows of lists hold the keys that have their defaults, too.
    bool complete = false;

    // Names; null for null and for what the scene does not hold.
    nlohmann::ordered_json NodeName(const INode* node) const;
    nlohmann::ordered_json TexmapName(const Texmap* texmap) const;
    nlohmann::ordered_json MtlName(const Mtl* mtl) const;
    // A file as the description names it: relative where it lies in the folder or below.
    std::string FileName(const std::string& path) const;

    static nlohmann::ordered_json Number(float value);
    static nlohmann::ordered_json Number(double value);
    static nlohmann::ordered_json Triple(const Point3& p);
    static nlohmann::ordered_json Triple(const Color& c);
    static nlohmann::ordered_json Matrix(const Matrix3& m);
    // A parameter's value, references by name.
    nlohmann::ordered_json Value(const ParamDef& def, const ParamElement& element) const;
    // All of a parameter: a value, or a list of them. Null where a single one has its default and a
    // list is empty.
    nlohmann::ordered_json Param(const IParamBlock2& block, const ParamDef& def) const;
};

// One parameter's content from its described form: a value, for lists an array of values, and for
// an animated one {"keys": [[ticks, value], ...]} in its place. Clamps warn, wrong values fail.
std::optional<ParamElement> ReadParamElement(const ParamDef& def, const DescriptionValue& value,
                                             const DescriptionContext& context);
void ReadParam(IParamBlock2& block, const ParamDef& def, const DescriptionValue& value,
               const DescriptionContext& context);

struct SceneReadResult {
    std::unique_ptr<Scene> scene;  // null when reading failed
    DescriptionErrorClass errorClass = DescriptionErrorClass::kNone;
    std::string error;
    std::vector<std::string> warnings;

    explicit operator bool() const { return scene != nullptr; }
};

// The file's scene. watch: hears how many of the nodes are read, and may cancel, which is an error
// with the class kCancelled.
SceneReadResult ReadSceneDescription(const std::string& path, const SceneFormats& formats,
                                     WorkWatch* watch = nullptr);
// A scene from text; `name` stands in front of messages, relative files start from `folder`.
SceneReadResult ParseSceneDescription(std::string_view text, const std::string& name,
                                      const std::string& folder, const SceneFormats& formats,
                                      WorkWatch* watch = nullptr);

// What adding to a scene came to.
struct SceneAddResult {
    DescriptionErrorClass errorClass = DescriptionErrorClass::kNone;
    std::string error;  // empty: all is in
    std::vector<std::string> warnings;
};
// Adds the "texmaps", "materials" and "nodes" of a description, which has no other keys, to a
// scene; maps and materials take the place of those of the same name. After an error the scene is
// as it was. Not recorded for undo.
SceneAddResult AddSceneDescription(std::string_view text, const std::string& name,
                                   const std::string& folder, const SceneFormats& formats,
                                   Scene& scene);

// The scene as text, for a file in `folder`. watch: hears how far the writing is; the text of one
// that it cancelled is of no use. Null: nobody waits.
std::string WriteSceneDescription(const Scene& scene, const std::string& folder,
                                  const SceneFormats& formats, WorkWatch* watch = nullptr);
// Writes the file, whole or not at all. False with a reason in `error` ("cancelled" at its end
// where `watch` did that).
bool SaveSceneDescription(const Scene& scene, const std::string& path, const SceneFormats& formats,
                          std::string* error, WorkWatch* watch = nullptr);
