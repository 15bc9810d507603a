// Geometry templates: ready-made models from the product's geometry folder.
//
// The catalogue is read once from the folder's index; a template's model is merged into the scene
// when a row first names it, as a node of its own that never shows (its transform is the zero
// matrix; the real one is kept in its user properties) on a hidden, frozen layer.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/scene/scene.h"

class TSpecGeom : public ReferenceTarget {
public:
    std::string name, file, object, image;  // at most 99 characters each

    TSpecGeom() = default;
    TSpecGeom(std::string name, std::string file, std::string object, std::string image);
    // The texts of `other`; the reference stays empty.
    explicit TSpecGeom(const TSpecGeom& other)
        : TSpecGeom(other.name, other.file, other.object, other.image) {}

    // Slot 0: the template's node in the scene, or none.
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    INode* Node() const { return m_node.Get(); }

    static constexpr ClassInfo kClass{
        {0x3d1c0104, 0x52a7}, SuperClass::kReferenceTarget, "SpecGeom"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    Reference<INode> m_node{this};
};

using TSpecGeomList = std::vector<std::shared_ptr<TSpecGeom>>;

// The process' two lists: definitions from the index, and the working copy whose members carry the
// loaded nodes.
class TTemplates {
public:
    // Reads `folder`/index.dat into the definitions. False when it is missing or has a bad line
    // (the user is told unless the host is quiet); the templates before a bad line stay.
    bool ReadDefinitions(const std::string& folder);

    const TSpecGeomList& Definitions() const { return m_definitions; }
    // What the scene that was opened last held; counts where there are no definitions.
    TSpecGeomList restored;
    const TSpecGeomList& InUse() const { return m_definitions.empty() ? restored : m_definitions; }
    // The working list, a copy of the definitions on first use.
    TSpecGeomList& List();
    std::vector<std::string> Names();
    const std::string& Folder() const { return m_folder; }

private:
    std::string m_folder;
    TSpecGeomList m_definitions, m_list;
};

// Empties `to` and fills it with copies of all members of `from`.
void CopyTemplateList(TSpecGeomList& to, const TSpecGeomList& from);

// Opens a scene file; null with a reason in `error`.
using SceneFileLoader =
    std::function<std::unique_ptr<Scene>(const std::string& path, std::string* error)>;

// Finds the template's node in the scene, or, with a loader, merges it from
// `folder`/objects/<file>.max. True when the template has a node afterwards. A merge that fails
// reports "Error loading geometry:  <path> (<object>) !" and leaves the scene as it was.
bool LoadTemplateNode(TSpecGeom& geom, Scene& scene, const std::string& folder,
                      const SceneFileLoader& loader);
// All of a list; true only when all have nodes.
bool LoadAllTemplates(TSpecGeomList& list, Scene& scene, const std::string& folder,
                      const SceneFileLoader& loader);

inline constexpr const char* kTemplatePrefix = "_dravin_template_";
bool IsTemplateNode(const INode& node);
// The transform that a template node had before it was made invisible; missing keys keep the
// identity's values. A decimal comma reads as a point.
Matrix3 TemplateTransform(const INode& node);
