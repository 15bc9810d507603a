#include "Dravin/materials/scene_looks.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "Dravin/materials/automatic_material.h"
#include "host/base/text.h"
#include "host/params/reachable.h"
#include "host/scene/class_values.h"
#include "host/scene/derived_object.h"
#include "host/scene/texmaps.h"

namespace {

using Target = std::shared_ptr<ReferenceTarget>;

bool IsLook(const ReferenceTarget& target, LookKind kind) {
    return kind == LookKind::kMaterial ? dynamic_cast<const Mtl*>(&target) != nullptr
                                       : dynamic_cast<const Texmap*>(&target) != nullptr;
}

const std::string& OwnName(const ReferenceTarget& look) {
    static const std::string none;
    if (auto* material = dynamic_cast<const Mtl*>(&look)) return material->name;
    auto* map = dynamic_cast<const Texmap*>(&look);
    return map ? map->name.Get() : none;
}

// The scene's name of a look; empty for none.
std::string NameInScene(const Scene& scene, const ReferenceTarget& look) {
    for (const auto& [name, map] : scene.Texmaps())
        if (map.get() == &look) return name;
    for (const auto& [name, material] : scene.Materials())
        if (material.get() == &look) return name;
    return {};
}

bool HasName(const Scene& scene, const ReferenceTarget& look, const std::string& name) {
    return IsLook(look, LookKind::kMaterial) ? scene.Materials().contains(name)
                                             : scene.Texmaps().contains(name);
}

void SetName(Scene& scene, const Target& look, const std::string& name, bool isIn) {
    if (auto material = std::dynamic_pointer_cast<Mtl>(look))
        scene.SetMaterial(name, isIn ? material : nullptr);
    else if (auto map = std::dynamic_pointer_cast<Texmap>(look))
        scene.SetTexmap(name, isIn ? map : nullptr);
}

void SetOwnName(ReferenceTarget& look, const std::string& name) {
    if (auto* material = dynamic_cast<Mtl*>(&look)) material->name = name;
    if (auto* map = dynamic_cast<Texmap*>(&look)) map->name = name;
}

// `name`, or name with a number behind it, such that isTaken(it) does not hold.
template <class IsTaken>
std::string FreeName(const std::string& name, const IsTaken& isTaken) {
    std::string free = name;
    for (int n = 2; isTaken(free); ++n) free = fmt::format("{} {}", name, n);
    return free;
}

// Looks that values of an entity refer to: visit(target, name of the value).
template <class Visit>
void EachLookOf(ReferenceTarget& entity, const Visit& visit) {
    for (const ValueTable& table : ValueTablesOf(entity))
        for (const ParamDef& def : table.Desc().params) {
            if (def.type != ParamType::kTexmap && def.type != ParamType::kMaterial) continue;
            for (int i = 0; i < table.Count(def.id); ++i) {
                auto target = std::get<Target>(table.Get(def.id, 0, i));
                if (target) visit(target, def.list ? fmt::format("{}.{}", def.name, i) : def.name);
            }
        }
}

class LookLister {
public:
    LookLister(const Scene& scene, LookKind kind) : m_scene(scene), m_kind(kind) {}

    std::vector<SceneLook> List() {
        auto named = [this](const auto& looks) {
            for (const auto& [name, look] : looks)
                if (IsLook(*look, m_kind)) Add({name, look, true});
        };
        named(m_scene.Materials());
        named(m_scene.Texmaps());
        for (const auto& [name, material] : m_scene.Materials()) Below(*material, name);
        for (const auto& [name, map] : m_scene.Texmaps()) Below(*map, name);
        for (INode* node : m_scene.Nodes()) {
            Below(*node, node->GetName());
            Object* object = node->GetObjectRef();
            if (auto* stack = dynamic_cast<DerivedObject*>(object)) {
                for (int i = 0; i < stack->NumModifiers(); ++i)
                    Below(*stack->GetModifier(i), node->GetName());
                object = stack->Base();
            }
            if (object) Below(*object, node->GetName());
        }
        return std::move(m_found);
    }

private:
    void Add(SceneLook look) {
        if (!m_listed.insert(look.target.get()).second) return;
        m_paths.insert(look.path);
        m_found.push_back(std::move(look));
    }
    void Below(ReferenceTarget& entity, const std::string& path) {
        if (!m_visited.insert(&entity).second) return;
        EachLookOf(entity, [&](const Target& look, const std::string& value) {
            auto* material = dynamic_cast<Mtl*>(look.get());
            if (material && IsAutomaticMaterial(*material)) return;
            std::string name = NameInScene(m_scene, *look);
            bool isNamed = !name.empty();
            // A material of a model has a name of its own, a map hardly ever.
            if (!isNamed && material) name = material->name;
            if (name.empty()) name = path + "/" + value;
            if (IsLook(*look, m_kind) && !isNamed && !m_listed.contains(look.get()))
                name = FreeName(name, [&](const std::string& n) { return m_paths.contains(n); });
            if (IsLook(*look, m_kind)) Add({name, look, isNamed});
            Below(*look, name);
        });
    }

    const Scene& m_scene;
    LookKind m_kind;
    std::vector<SceneLook> m_found;
    std::set<const ReferenceTarget*> m_listed, m_visited;
    std::set<std::string> m_paths;
};

struct Printer {
    uint64_t print = 0xcbf29ce484222325u;  // FNV-1a

    void Add(const void* bytes, size_t count) {
        for (size_t i = 0; i < count; ++i)
            print = (print ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001b3u;
    }
    template <class T>
    void AddPlain(const T& value) {
        Add(&value, sizeof value);
    }
    void Add(const ParamValue& value) {
        AddPlain(value.index());
        std::visit(
            [this]<class T>(const T& v) {
                if constexpr (std::is_same_v<T, std::string>)
                    Add(v.data(), v.size());
                else if constexpr (!std::is_same_v<T, Target>)
                    AddPlain(v);
            },
            value);
    }
};

void AddLook(ReferenceTarget& look, TimeValue t, std::set<const ReferenceTarget*>& seen,
             Printer& printer) {
    printer.AddPlain(look.Class().id);
    if (!seen.insert(&look).second) return;
    std::vector<ValueTable> tables = ValueTablesOf(look);
    if (tables.empty()) printer.AddPlain(&look);
    if (auto* image = dynamic_cast<BitmapTex*>(&look)) {
        bool isPacked = image->File().empty();
        if (isPacked) printer.AddPlain(image->Image().get());
    }
    for (const ValueTable& table : tables)
        for (const ParamDef& def : table.Desc().params)
            for (int i = 0; i < table.Count(def.id); ++i) {
                ParamValue value = table.Get(def.id, t, i);
                printer.Add(value);
                auto* target = std::get_if<Target>(&value);
                if (!target || !*target) continue;
                bool isLook =
                    IsLook(**target, LookKind::kMaterial) || IsLook(**target, LookKind::kMap);
                printer.AddPlain(def.id);
                if (isLook) AddLook(**target, t, seen, printer);
            }
}

}  // namespace

std::vector<SceneLook> LooksOf(const Scene& scene, LookKind kind) {
    return LookLister(scene, kind).List();
}

std::shared_ptr<ReferenceTarget> FindLook(const Scene& scene, LookKind kind,
                                          const std::string& path, std::string* error) {
    std::vector<std::string> paths;
    for (SceneLook& look : LooksOf(scene, kind)) {
        if (look.path == path) return look.target;
        paths.push_back(std::move(look.path));
    }
    *error = fmt::format("the scene has no {} \"{}\"{}",
                         kind == LookKind::kMaterial ? "material" : "texture map",
                         CutText(path, 60), DidYouMean(path, paths));
    return nullptr;
}

std::string LookName(const Scene& scene, const ReferenceTarget* target) {
    if (!target) return {};
    if (auto* node = dynamic_cast<const INode*>(target)) return node->GetName();
    std::string name = NameInScene(scene, *target);
    if (name.empty()) name = OwnName(*target);
    return name.empty() ? target->ClassName() : name;
}

std::string EnterLook(Scene& scene, const std::shared_ptr<ReferenceTarget>& look,
                      const std::string& wish) {
    std::string name =
        FreeName(wish, [&](const std::string& n) { return HasName(scene, *look, n); });
    SetOwnName(*look, name);
    SetName(scene, look, name, true);
    return name;
}

bool RenameLook(Scene& scene, const std::shared_ptr<ReferenceTarget>& look, const std::string& name,
                std::string* error) {
    std::string before = NameInScene(scene, *look);
    if (name.empty()) return *error = "a name is not empty", false;
    if (name == before) return true;
    if (HasName(scene, *look, name))
        return *error = fmt::format("another one is named \"{}\"", name), false;
    if (!before.empty()) SetName(scene, look, before, false);
    SetOwnName(*look, name);
    SetName(scene, look, name, true);
    return true;
}

void DeleteLook(Scene& scene, const std::shared_ptr<ReferenceTarget>& look) {
    if (std::string name = NameInScene(scene, *look); !name.empty())
        SetName(scene, look, name, false);
    look->NotifyDeleted();
}

std::shared_ptr<ReferenceTarget> CopyLook(Scene& scene, const ReferenceTarget& look) {
    CloneMap copies;
    std::shared_ptr<ReferenceTarget> copy = look.Clone(copies);
    copies.Finish();
    if (copy) EnterLook(scene, copy, LookName(scene, &look));
    return copy;
}

std::vector<SceneLook> UnusedLooks(const Scene& scene, LookKind kind) {
    std::set<const ReferenceTarget*> used;
    for (INode* node : scene.Nodes()) CollectReachable(*node, used);
    std::vector<SceneLook> unused;
    for (SceneLook& look : LooksOf(scene, kind))
        if (look.isNamed && !used.contains(look.target.get())) unused.push_back(std::move(look));
    return unused;
}

std::vector<INode*> NodesWith(const Scene& scene, const Mtl& material) {
    std::vector<INode*> nodes;
    for (INode* node : scene.Nodes()) {
        Mtl* shown = node->GetShownMtl();
        std::vector<Mtl*> all = shown ? WithSubMtls(*shown) : std::vector<Mtl*>();
        if (std::find(all.begin(), all.end(), &material) != all.end()) nodes.push_back(node);
    }
    return nodes;
}

uint64_t LookPrint(ReferenceTarget& look, TimeValue t) {
    Printer printer;
    std::set<const ReferenceTarget*> seen;
    AddLook(look, t, seen, printer);
    return printer.print;
}
