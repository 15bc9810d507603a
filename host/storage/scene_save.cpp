#include <deque>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/work_watch.h"
#include "host/params/param_block.h"
#include "host/scene/host_context.h"
#include "host/storage/mesh_storage.h"
#include "host/storage/scene_layout.h"
#include "host/storage/scene_storage.h"
#include "host/storage/unknown_entity.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

class SceneSaver {
public:
    SceneSaver(Scene& scene, const SceneStorage& storage, std::string folder, ChunkWriter& out,
               std::vector<std::string>* warnings, WorkWatch* watch)
        : m_scene(scene),
          m_storage(storage),
          m_folder(std::move(folder)),
          m_out(out),
          m_warnings(warnings),
          m_watch(watch) {
        if (HostContext* host = HostContext::Current()) m_classes = &host->classes;
        m_unknown = static_cast<const UnknownSceneParts*>(scene.unknownParts.get());
    }

    void Save() {
        for (INode* node : m_scene.Nodes())
            if (!node->isTransient) IndexOf(node->shared_from_this());
        WriteSettings();
        WriteLayers();
        WriteNames(kTexmapsChunk, m_scene.Texmaps());
        WriteNames(kMaterialsChunk, m_scene.Materials());
        WriteEntities();
        WriteMeshes();
        WriteNodes();
        WriteSelection();
        if (m_unknown)
            for (const KeptChunk& chunk : m_unknown->chunks) m_out.WriteKept(chunk);
    }

private:
    struct Entry {
        TargetPtr target;
        uint32_t owner = kNoEntity, slot = 0;  // of a block that an owner makes itself
    };

    // The number of an entity, which is written when its turn comes.
    uint32_t IndexOf(const TargetPtr& target) {
        if (!target || !IsStored(*target)) return kNoEntity;
        auto [it, isNew] = m_index.try_emplace(target.get(), uint32_t(m_entries.size()));
        uint32_t index = it->second;
        if (isNew) Enter({target});
        return index;
    }

    void Enter(Entry entry) {
        ReferenceTarget& target = *entry.target;
        auto owner = uint32_t(m_entries.size());
        m_entries.push_back(std::move(entry));
        for (int slot = 0; slot < target.NumRefs(); ++slot) {
            TargetPtr held = target.GetReference(slot);
            if (!held || held->Class().id != IParamBlock2::kClass.id) continue;
            if (m_index.try_emplace(held.get(), uint32_t(m_entries.size())).second)
                m_entries.push_back({held, owner, uint32_t(slot)});
        }
    }

    // Nodes outside the scene, and what is of no lasting kind, are referred to by nobody who reads.
    bool IsStored(const ReferenceTarget& target) {
        if (auto* node = dynamic_cast<const INode*>(&target))
            return node->GetScene() == &m_scene && !node->isTransient;
        ClassId id = target.Class().id;
        if (m_storage.IsLeftOut(id)) return false;
        const ClassStorage* storage = m_storage.Find(id);
        bool canBeRead = (storage && storage->make) || id == IParamBlock2::kClass.id ||
                         dynamic_cast<const UnknownEntity*>(&target) ||
                         (m_classes && m_classes->Find(id));
        if (!canBeRead && m_told.insert(id).second)
            m_warnings->push_back(
                fmt::format("entities of the class \"{}\" are left out: the class is not "
                            "registered",
                            target.ClassName()));
        return canBeRead;
    }

    FieldWriter Fields(std::vector<TargetPtr> slots = {}) {
        return FieldWriter(m_out, m_meshes, m_folder, std::move(slots));
    }

    void WriteSettings() {
        StoredSettings s;
        s.unitScale = m_scene.unitScale;
        s.ticksPerFrame = m_scene.ticksPerFrame;
        s.range = m_scene.timeRange;
        s.time = m_scene.GetTime();
        s.lastHandle = m_scene.LastHandle();
        s.render = m_scene.render;
        s.hasView = m_scene.View().has_value();
        s.view = m_scene.View().value_or(ViewState());
        m_out.BeginChunk(kSettingsChunk);
        FieldWriter fields = Fields();
        VisitSettings(fields, s);
        auto camera = [&](uint32_t id, INode* node) {
            fields(id, node ? IndexOf(node->shared_from_this()) : kNoEntity);
        };
        camera(40, m_scene.RenderCamera());
        camera(41, m_scene.ViewCamera());
        m_out.EndChunk();
    }

    void WriteLayers() {
        m_out.BeginChunk(kLayersChunk);
        for (const auto& [name, layer] : m_scene.Layers()) {
            m_out.BeginChunk(kLayerChunk);
            FieldWriter fields = Fields();
            m_storage.Find(Layer::kClass.id)->write(*layer, fields);
            m_out.EndChunk();
        }
        m_out.EndChunk();
    }

    template <class Map>
    void WriteNames(uint32_t chunk, const Map& named) {
        m_out.BeginChunk(chunk);
        for (const auto& [name, target] : named) {
            m_out.WriteText(name);
            m_out.Write(IndexOf(target));
        }
        m_out.EndChunk();
    }

    void WriteEntities() {
        m_out.BeginChunk(kEntitiesChunk);
        for (size_t i = 0; i < m_entries.size() && !m_out.HasFailed() && !IsCancelled(m_watch);
             ++i) {
            if (m_watch) m_watch->Tell(float(i) / float(m_entries.size()));
            Entry entry = m_entries[i];  // the list grows meanwhile
            m_out.BeginChunk(kEntityChunk);
            WriteEntity(entry);
            m_out.EndChunk();
        }
        m_out.EndChunk();
    }

    void WriteEntity(const Entry& entry) {
        ReferenceTarget& target = *entry.target;
        auto* unknown = dynamic_cast<UnknownEntity*>(&target);
        const ClassStorage* storage = m_storage.Find(target.Class().id);
        std::vector<TargetPtr> slots;
        if (target.Class().id != IParamBlock2::kClass.id)
            for (int slot = 0; slot < target.NumRefs(); ++slot)
                slots.push_back(target.IsSlotStored(slot) ? target.GetReference(slot) : nullptr);
        uint32_t numSlots = unknown ? unknown->content.numSlots : uint32_t(slots.size());
        WriteHead(target, entry, numSlots,
                  unknown   ? unknown->content.version
                  : storage ? storage->version
                            : uint16_t(0));
        m_out.BeginChunk(kFieldsChunk);
        FieldWriter fields = Fields(std::move(slots));
        if (storage && !unknown) storage->write(target, fields);
        WriteKeptFields(target, unknown);
        m_out.EndChunk();
        WriteRefs(fields.Refs());
    }

    void WriteHead(const ReferenceTarget& target, const Entry& entry, uint32_t numSlots,
                   uint16_t version) {
        ClassInfo info = target.Class();
        m_out.BeginChunk(kHeadChunk);
        m_out.Write(info.id.a), m_out.Write(info.id.b), m_out.Write(uint32_t(info.super));
        m_out.Write(version);
        m_out.Write(numSlots), m_out.Write(entry.owner), m_out.Write(entry.slot);
        m_out.WriteText(info.name);
        m_out.EndChunk();
    }

    void WriteKeptFields(const ReferenceTarget& target, const UnknownEntity* unknown) {
        const std::vector<KeptChunk>* kept = unknown ? &unknown->content.fields : nullptr;
        if (m_unknown && !kept)
            if (auto it = m_unknown->entities.find(&target);
                it != m_unknown->entities.end() && it->second.entity.lock().get() == &target)
                kept = &it->second.fields;
        if (kept)
            for (const KeptChunk& chunk : *kept) m_out.WriteKept(chunk);
    }

    void WriteRefs(const std::vector<TargetPtr>& refs) {
        std::vector<uint32_t> indices;
        for (const TargetPtr& ref : refs) indices.push_back(IndexOf(ref));
        m_out.BeginChunk(kRefsChunk);
        m_out.WriteArray(std::span<const uint32_t>(indices));
        m_out.EndChunk();
    }

    void WriteMeshes() {
        m_out.BeginChunk(kMeshesChunk);
        for (const auto& mesh : m_meshes.All()) {
            if (IsCancelled(m_watch)) break;
            m_out.BeginChunk(kMeshChunk);
            WriteMesh(m_out, *mesh);
            m_out.EndChunk();
        }
        m_out.EndChunk();
    }

    void WriteNodes() {
        std::vector<StoredNode> nodes;
        VisitNodes(m_scene.GetRootNode(), [&](INode* node) {
            if (node->IsRootNode() || node->isTransient) return;
            INode* parent = node->GetParentNode();
            nodes.push_back({m_index.at(node), node->GetHandle(),
                             parent->IsRootNode() ? kNoEntity : m_index.at(parent)});
        });
        m_out.BeginChunk(kNodesChunk);
        m_out.WriteArray(std::span<const StoredNode>(nodes));
        m_out.EndChunk();
    }

    void WriteSelection() {
        std::vector<uint32_t> selected;
        for (INode* node : m_scene.Selection())
            if (!node->isTransient) selected.push_back(m_index.at(node));
        m_out.BeginChunk(kSelectionChunk);
        m_out.WriteArray(std::span<const uint32_t>(selected));
        m_out.EndChunk();
    }

    Scene& m_scene;
    const SceneStorage& m_storage;
    std::string m_folder;
    ChunkWriter& m_out;
    std::vector<std::string>* m_warnings;
    WorkWatch* m_watch;
    const ClassRegistry* m_classes = nullptr;
    const UnknownSceneParts* m_unknown;
    std::set<ClassId> m_told;
    std::unordered_map<const ReferenceTarget*, uint32_t> m_index;
    std::deque<Entry> m_entries;
    MeshesToStore m_meshes;
};

}  // namespace

namespace {

void SaveTo(ChunkWriter& out, Scene& scene, const std::string& folder, const SceneStorage& storage,
            std::vector<std::string>* warnings, WorkWatch* watch) {
    NoticePair saving(HostNotify::kFilePreSave, HostNotify::kFilePostSave);
    SceneSaver(scene, storage, folder, out, warnings, watch).Save();
    if (out.NumMendedTexts() > 0)
        warnings->push_back(fmt::format("{} texts are not UTF-8; what is wrong in them is replaced",
                                        out.NumMendedTexts()));
}

}  // namespace

bool SaveSceneFile(Scene& scene, const std::string& path, const SceneStorage& storage,
                   std::vector<std::string>* warnings, std::string* error, WorkWatch* watch) {
    ChunkWriter out;
    if (!out.OpenFile(path, kSceneFileKind, error)) return false;
    SaveTo(out, scene, std::filesystem::path(path).parent_path().string(), storage, warnings,
           watch);
    if (IsCancelled(watch)) return *error = path + ": cancelled", false;
    return out.Commit(error);
}

std::optional<std::string> SaveSceneBytes(Scene& scene, const std::string& folder,
                                          const SceneStorage& storage,
                                          std::vector<std::string>* warnings, std::string* error) {
    ChunkWriter out;
    out.OpenMemory(kSceneFileKind);
    SaveTo(out, scene, folder, storage, warnings, nullptr);
    return out.TakeBytes(error);
}
