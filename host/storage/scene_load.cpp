#include <filesystem>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/params/param_block.h"
#include "host/scene/host_context.h"
#include "host/storage/mesh_storage.h"
#include "host/storage/reference_check.h"
#include "host/storage/scene_layout.h"
#include "host/storage/scene_storage.h"
#include "host/storage/unknown_entity.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

// A node, map or material by what names it in the file.
struct NamedEntity {
    std::string name;
    uint32_t entity;
};

class SceneLoader {
public:
    SceneLoader(ChunkReader& in, const std::string& folder, const SceneStorage& storage,
                ISceneLoaders& loaders, WorkWatch* watch)
        : m_in(in),
          m_storage(storage),
          m_watch(watch),
          m_scene(std::make_unique<Scene>()),
          m_all{*m_scene, loaders} {
        m_all.folder = folder;
        m_all.watch = watch;
        if (HostContext* host = HostContext::Current()) m_classes = &host->classes;
    }

    SceneReadResult Load() {
        ReadChunks();
        if (Goes()) FillReferences();
        if (Goes()) Run(m_all.whenAllExist);
        if (Goes()) AddNodes();
        if (Goes()) FinishScene();
        if (Goes()) RunWhenLoaded();
        return Result();
    }

private:
    bool Goes() {
        if (IsCancelled(m_watch)) m_all.Fail("cancelled", DescriptionErrorClass::kCancelled);
        if (m_in.HasFailed()) m_all.Fail(m_in.Error(), DescriptionErrorClass::kMalformed);
        return m_all.error.empty();
    }

    void Malformed(const std::string& text) { m_all.Fail(text, DescriptionErrorClass::kMalformed); }

    void ReadChunks() {
        m_in.ForEachChunk([&](uint32_t id) {
            if (m_watch)
                m_watch->Tell(0.5f * float(1 - double(m_in.Remaining()) / double(m_in.FileSize())));
            switch (id) {
                case kSettingsChunk:
                    return m_in.NameChunk("settings"), ReadSettings();
                case kLayersChunk:
                    return m_in.NameChunk("layers"), ReadLayers();
                case kTexmapsChunk:
                    return m_in.NameChunk("maps"), ReadNames(m_texmaps);
                case kMaterialsChunk:
                    return m_in.NameChunk("materials"), ReadNames(m_materials);
                case kEntitiesChunk:
                    return m_in.NameChunk("entities"), ReadEntities();
                case kMeshesChunk:
                    return m_in.NameChunk("meshes"), ReadMeshes();
                case kNodesChunk:
                    return m_in.NameChunk("nodes"), m_in.ReadArray(&m_nodes);
                case kSelectionChunk:
                    return m_in.NameChunk("selection"), m_in.ReadArray(&m_selection);
                default:
                    m_unknown->chunks.push_back(m_in.KeepChunk());
            }
        });
    }

    void ReadSettings() {
        FieldReader fields(m_in, m_all, 0, 0, m_in.ChunkVersion());
        VisitSettings(fields, m_settings);
        fields(40, m_renderCamera);
        fields(41, m_viewCamera);
        fields.Run();
        const SceneRenderSettings& r = m_settings.render;
        bool isGood = m_settings.unitScale > 0 && m_settings.ticksPerFrame > 0 && r.width > 0 &&
                      r.height > 0 && r.samples > 0;
        if (!isGood) m_in.Fail("a setting that no scene has");
        m_scene->unitScale = m_settings.unitScale;
        m_scene->ticksPerFrame = m_settings.ticksPerFrame;
        m_scene->timeRange = m_settings.range;
        m_scene->SetTime(m_settings.time);
        m_scene->render = r;
        if (m_settings.hasView) m_scene->SetView(m_settings.view);
    }

    void ReadLayers() {
        m_in.ForEachChunk([&](uint32_t) {
            Layer stored;
            FieldReader fields(m_in, m_all, 0, 0, m_in.ChunkVersion());
            m_storage.Find(Layer::kClass.id)->read(stored, fields);
            fields.Run();
            Layer& layer = m_scene->MakeLayer(stored.name);
            layer.hidden = stored.hidden;
            layer.frozen = stored.frozen;
            layer.renderable = stored.renderable;
            layer.boxes = stored.boxes;
        });
    }

    void ReadNames(std::vector<NamedEntity>& names) {
        while (m_in.Remaining() > 0) {
            std::string name = m_in.ReadText();
            names.push_back({std::move(name), m_in.Read<uint32_t>()});
        }
    }

    void ReadMeshes() {
        m_in.ForEachChunk(
            [&](uint32_t) { m_all.meshes.push_back(std::make_shared<Mesh>(ReadMesh(m_in))); });
    }

    void ReadEntities() {
        m_in.ForEachChunk([&](uint32_t) {
            m_in.NameChunk("entity");
            ReadEntity();
        });
    }

    struct Head {
        UnknownContent content;
        uint32_t owner = kNoEntity, slot = 0;
    };

    void ReadEntity() {
        size_t entity = m_all.targets.size();
        m_all.targets.emplace_back();
        m_all.refs.emplace_back();
        m_numSlots.push_back(0);
        Head head;
        bool hasHead = false;
        std::vector<KeptChunk> kept;
        m_in.ForEachChunk([&](uint32_t id) {
            if (id == kHeadChunk) {
                hasHead = true;
                head = ReadHead();
                m_numSlots[entity] = head.content.numSlots;
                m_all.targets[entity] = Make(head);
            } else if (id == kFieldsChunk) {
                kept = ReadFields(entity, head);
            } else if (id == kRefsChunk) {
                m_in.ReadArray(&m_all.refs[entity]);
            }
        });
        if (!hasHead) m_in.Fail("an entity without a head");
        if (m_numSlots[entity] > m_all.refs[entity].size())
            m_in.Fail("fewer references than slots");
        if (m_in.HasFailed()) return;
        if (!m_all.targets[entity]) {
            head.content.fields = std::move(kept);
            KeepUnknown(entity, std::move(head.content));
        } else if (!kept.empty()) {
            m_unknown->entities[m_all.targets[entity].get()] = {m_all.targets[entity],
                                                                std::move(kept)};
        }
    }

    Head ReadHead() {
        Head head;
        UnknownContent& c = head.content;
        c.id.a = m_in.Read<uint32_t>(), c.id.b = m_in.Read<uint32_t>();
        c.super = SuperClass(m_in.Read<uint32_t>());
        c.version = m_in.Read<uint16_t>();
        c.numSlots = m_in.Read<uint32_t>();
        head.owner = m_in.Read<uint32_t>(), head.slot = m_in.Read<uint32_t>();
        c.name = m_in.ReadText();
        return head;
    }

    // Null for a class that is not there.
    TargetPtr Make(const Head& head) {
        if (head.owner != kNoEntity) return MadeByOwner(head);
        if (const ClassStorage* storage = m_storage.Find(head.content.id); storage && storage->make)
            return storage->make();
        return m_classes ? m_classes->Create(head.content.id) : nullptr;
    }

    // The block that the owner holds in its slot; a block of another class is none.
    TargetPtr MadeByOwner(const Head& head) {
        if (head.owner >= m_all.targets.size() || !m_all.targets[head.owner]) return nullptr;
        TargetPtr held = m_all.targets[head.owner]->GetReference(int(head.slot));
        return held && held->Class().id == head.content.id ? held : nullptr;
    }

    std::vector<KeptChunk> ReadFields(size_t entity, const Head& head) {
        const TargetPtr& target = m_all.targets[entity];
        FieldReader fields(m_in, m_all, entity, head.content.numSlots, head.content.version);
        const ClassStorage* storage = target ? m_storage.Find(head.content.id) : nullptr;
        // Slots that are made for a file must not be more than the file has references for.
        bool isGood = head.content.numSlots <= m_in.FileSize() / sizeof(uint32_t);
        if (!isGood) m_in.Fail("more slots than the file has room for");
        if (target && isGood) target->SetNumRefs(int(head.content.numSlots));
        if (storage && isGood) storage->read(*target, fields);
        return fields.Run();
    }

    void KeepUnknown(size_t entity, UnknownContent content) {
        if (content.id == IParamBlock2::kClass.id) return;  // its owner is told of
        m_all.warnings.push_back(
            fmt::format("an entity of the class \"{}\", which is not there, is kept as it is and "
                        "does nothing",
                        content.name));
        m_all.targets[entity] = MakeUnknownEntity(std::move(content), m_all.refs[entity].size());
        m_numSlots[entity] = uint32_t(m_all.refs[entity].size());
    }

    void FillReferences() {
        for (size_t i = 0; i < m_all.targets.size(); ++i) {
            ReferenceTarget* target = m_all.targets[i].get();
            if (!target || target->Class().id == IParamBlock2::kClass.id) continue;
            for (uint32_t slot = 0; slot < m_numSlots[i]; ++slot)
                FillSlot(*target, int(slot), m_all.Ref(i, slot));
        }
        if (std::string problem = CheckReferences(m_all.targets); !problem.empty())
            Malformed(problem);
    }

    void FillSlot(ReferenceTarget& target, int slot, const TargetPtr& held) {
        if (target.GetReference(slot) == held) return;
        if (held.get() == &target) return Malformed("an entity refers to itself");
        target.SetReference(slot, held);
        if (held && target.GetReference(slot) != held)
            m_all.warnings.push_back(fmt::format(
                "slot {} of an entity of the class \"{}\" takes no \"{}\" and stays empty", slot,
                target.ClassName(), held->ClassName()));
    }

    void Run(const std::vector<std::function<void()>>& actions) {
        for (size_t i = 0; i < actions.size(); ++i) actions[i]();
    }

    // Loads what other files hold; any of it may take long.
    void RunWhenLoaded() {
        const auto& actions = m_all.whenLoaded;
        for (size_t i = 0; i < actions.size() && Goes(); ++i) {
            if (m_watch) m_watch->Tell(0.5f + 0.5f * float(i) / float(actions.size()));
            actions[i]();
        }
    }

    std::shared_ptr<INode> NodeAt(uint32_t entity) const {
        if (entity >= m_all.targets.size()) return nullptr;
        return std::dynamic_pointer_cast<INode>(m_all.targets[entity]);
    }

    // All first, by rising handle, then each below its parent.
    void AddNodes() {
        std::vector<StoredNode> byHandle = m_nodes;
        std::stable_sort(byHandle.begin(), byHandle.end(),
                         [](const auto& a, const auto& b) { return a.handle < b.handle; });
        for (const StoredNode& stored : byHandle) {
            std::shared_ptr<INode> node = NodeAt(stored.entity);
            bool isNew = node && !node->GetScene() && stored.handle > m_scene->LastHandle();
            if (!isNew) return Malformed("the list of nodes names something that is no new node");
            m_scene->ReserveHandles(stored.handle - 1);
            m_scene->AddNode(std::move(node));
        }
        m_scene->ReserveHandles(m_settings.lastHandle);
        for (const StoredNode& stored : m_nodes)
            if (!PutBelow(stored)) return Malformed("the list of nodes is no tree");
    }

    bool PutBelow(const StoredNode& stored) {
        bool isTop = stored.parent == kNoEntity;
        std::shared_ptr<INode> node = NodeAt(stored.entity), parent = NodeAt(stored.parent);
        if (!isTop && (!parent || parent->GetScene() != m_scene.get())) return false;
        if (!isTop && parent->Depth() + 1 >= kMaxNodeDepth) return false;
        INode* above = isTop ? m_scene->GetRootNode() : parent.get();
        return above->AttachChild(std::move(node), false);
    }

    void FinishScene() {
        for (const NamedEntity& named : m_texmaps)
            if (auto map = std::dynamic_pointer_cast<Texmap>(At(named.entity)))
                m_scene->SetTexmap(named.name, std::move(map));
        for (const NamedEntity& named : m_materials)
            if (auto mtl = std::dynamic_pointer_cast<Mtl>(At(named.entity)))
                m_scene->SetMaterial(named.name, std::move(mtl));
        m_scene->SetRenderCamera(Camera(m_renderCamera));
        m_scene->SetViewCamera(Camera(m_viewCamera));
        std::vector<INode*> selected;
        for (uint32_t entity : m_selection)
            if (auto node = NodeAt(entity); node && node->GetScene() == m_scene.get())
                selected.push_back(node.get());
        m_scene->Select(selected);
    }

    TargetPtr At(uint32_t entity) const {
        return entity < m_all.targets.size() ? m_all.targets[entity] : nullptr;
    }

    std::shared_ptr<INode> Camera(uint32_t entity) const {
        std::shared_ptr<INode> node = NodeAt(entity);
        bool isCamera = node && node->GetScene() == m_scene.get() && node->GetObjectRef() &&
                        node->GetObjectRef()->IsCamera();
        return isCamera ? node : nullptr;
    }

    // What was refused may hold itself, and would then never go.
    void Unlink() {
        for (size_t i = 0; i < m_all.targets.size(); ++i) {
            ReferenceTarget* target = m_all.targets[i].get();
            if (!target || target->Class().id == IParamBlock2::kClass.id) continue;
            for (int slot = 0; slot < target->NumRefs(); ++slot)
                target->SetReference(slot, nullptr);
        }
    }

    SceneReadResult Result() {
        SceneReadResult result;
        if (Goes() && !m_in.Finish()) Malformed(m_in.Error());
        if (!m_all.error.empty()) Unlink();
        result.error = m_all.error;
        result.errorClass = m_all.errorClass;
        result.warnings = std::move(m_all.warnings);
        if (!m_unknown->chunks.empty() || !m_unknown->entities.empty())
            m_scene->unknownParts = m_unknown;
        if (result.error.empty()) result.scene = std::move(m_scene);
        return result;
    }

    ChunkReader& m_in;
    const SceneStorage& m_storage;
    WorkWatch* m_watch;
    const ClassRegistry* m_classes = nullptr;
    std::unique_ptr<Scene> m_scene;
    StoredEntities m_all;
    std::shared_ptr<UnknownSceneParts> m_unknown = std::make_shared<UnknownSceneParts>();
    std::vector<uint32_t> m_numSlots;  // of each entity
    StoredSettings m_settings;
    uint32_t m_renderCamera = kNoEntity, m_viewCamera = kNoEntity;
    std::vector<NamedEntity> m_texmaps, m_materials;
    std::vector<StoredNode> m_nodes;
    std::vector<uint32_t> m_selection;
};

// Errors of the loading stand behind the file's name, as those of the reader do.
SceneReadResult LoadFrom(ChunkReader& in, const std::string& name, const std::string& folder,
                         const SceneStorage& storage, ISceneLoaders& loaders, WorkWatch* watch) {
    HoldSuspender noUndo(CurrentHold());
    SceneReadResult result = SceneLoader(in, folder, storage, loaders, watch).Load();
    if (!result.error.empty() && !result.error.starts_with(name))
        result.error = fmt::format("{}: {}", name, result.error);
    for (std::string& warning : result.warnings)
        if (!warning.starts_with(name)) warning = fmt::format("{}: {}", name, warning);
    return result;
}

SceneReadResult CannotOpen(const ChunkReader& in, DescriptionErrorClass why) {
    SceneReadResult result;
    result.error = in.Error();
    result.errorClass = why;
    return result;
}

}  // namespace

SceneReadResult LoadSceneFile(const std::string& path, const SceneStorage& storage,
                              ISceneLoaders& loaders, WorkWatch* watch) {
    ChunkReader in;
    bool isThere = IsSceneFile(path);
    if (!in.OpenFile(path, kSceneFileKind))
        return CannotOpen(
            in, isThere ? DescriptionErrorClass::kMalformed : DescriptionErrorClass::kMissingInput);
    std::string folder = std::filesystem::path(path).parent_path().string();
    SceneReadResult result = LoadFrom(in, path, folder, storage, loaders, watch);
    if (result.scene) result.scene->path = path;
    return result;
}

SceneReadResult LoadSceneBytes(std::string_view bytes, const std::string& name,
                               const std::string& folder, const SceneStorage& storage,
                               ISceneLoaders& loaders, WorkWatch* watch) {
    ChunkReader in;
    if (!in.OpenBytes(bytes, name, kSceneFileKind))
        return CannotOpen(in, DescriptionErrorClass::kMalformed);
    return LoadFrom(in, name, folder, storage, loaders, watch);
}

bool IsSceneFile(const std::string& path) {
    MappedFile file;
    std::string error;
    return file.Open(path, &error) && file.Bytes().starts_with(kChunkSignature);
}
