#include "Dravin/geometry/template_list.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/config/index_file.h"
#include "host/base/text.h"
#include "host/params/clone_map.h"
#include "host/scene/host_context.h"

namespace {

constexpr size_t kMaxText = 99;
constexpr const char* kTemplateLayer = "dravin_templates";

void Tell(const std::string& text) {
    HostContext* context = HostContext::Current();
    if (context) context->UserInterface().MessageBox(text, "Dravin Pack", MessageKind::kError);
}

void RecordTransform(INode& node, Matrix3 transform) {
    transform.NoTrans();
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 3; ++column)
            node.SetUserProperty(fmt::format("m{}{}", row, column), transform.row[row][column]);
}

// Moves one node of another scene into this one, as an invisible template.
INode* MergeNode(Scene& scene, Scene& from, const TSpecGeom& geom) {
    INode* source = from.FindNode(geom.object);
    if (!source || !source->GetObjectRef()) return nullptr;
    Layer& layer = scene.MakeLayer(kTemplateLayer);
    layer.hidden = layer.frozen = true;
    layer.renderable = false;

    auto node = INode::Create(kTemplatePrefix + geom.name, source->ShareObjectRef());
    node->SetMtl(source->ShareMtl());
    RecordTransform(*node, source->GetNodeTM(0));
    Matrix3 zero;
    zero.Zero();
    node->SetLocalTM(zero);
    node->isTransient = true;
    node->SetLayer(kTemplateLayer);
    return scene.AddNode(std::move(node));
}

}  // namespace

TSpecGeom::TSpecGeom(std::string n, std::string f, std::string o, std::string i)
    : name(CutText(n, kMaxText)),
      file(CutText(f, kMaxText)),
      object(CutText(o, kMaxText)),
      image(CutText(i, kMaxText)) {}

std::shared_ptr<ReferenceTarget> TSpecGeom::Clone(CloneMap& map) const {
    auto copy = std::make_shared<TSpecGeom>(*this);
    map.Refer(m_node.Share(), [copy](auto node) { copy->m_node = std::move(node); });
    return copy;
}

std::shared_ptr<ReferenceTarget> TSpecGeom::GetReference(int slot) const {
    return slot == 0 ? m_node.Share() : nullptr;
}

void TSpecGeom::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot == 0) m_node = std::dynamic_pointer_cast<INode>(target);
}

bool TTemplates::ReadDefinitions(const std::string& folder) {
    m_folder = folder;
    std::string path = folder + "/index.dat";
    IndexFile index = ReadIndexFile(path, 4);
    m_definitions.clear();
    m_list.clear();
    for (const auto& f : index.entries)
        m_definitions.push_back(std::make_shared<TSpecGeom>(f[0], f[1], f[2], f[3]));
    if (!index.opened) Tell("Error opening file:  \n" + path);
    if (index.badLine)
        Tell(fmt::format("Error reading geometry\\index.dat (line {}). Bad format !",
                         index.badLine));
    return index.IsGood();
}

TSpecGeomList& TTemplates::List() {
    if (m_list.empty()) CopyTemplateList(m_list, InUse());
    return m_list;
}

std::vector<std::string> TTemplates::Names() {
    std::vector<std::string> names;
    for (const auto& geom : List()) names.push_back(geom->name);
    return names;
}

void CopyTemplateList(TSpecGeomList& to, const TSpecGeomList& from) {
    TSpecGeomList copies;
    for (const auto& geom : from) copies.push_back(std::make_shared<TSpecGeom>(*geom));
    to = std::move(copies);
}

bool LoadTemplateNode(TSpecGeom& geom, Scene& scene, const std::string& folder,
                      const SceneFileLoader& loader) {
    if (geom.Node()) return true;
    if (geom.file.empty() || geom.object.empty()) return false;
    INode* node = scene.FindNode(kTemplatePrefix + geom.name);
    if (!node && loader) {
        std::string path = folder + "/objects/" + geom.file + ".max", error;
        std::unique_ptr<Scene> file = loader(path, &error);
        NoticePair merging(HostNotify::kFilePreMerge, HostNotify::kFilePostMerge);
        if (file) node = MergeNode(scene, *file, geom);
        if (!node) Tell(fmt::format("Error loading geometry:  {} ({}) !", path, geom.object));
    }
    if (!node) return false;
    geom.SetReference(0, node->shared_from_this());
    return true;
}

bool LoadAllTemplates(TSpecGeomList& list, Scene& scene, const std::string& folder,
                      const SceneFileLoader& loader) {
    bool all = true;
    for (const auto& geom : list) all &= LoadTemplateNode(*geom, scene, folder, loader);
    return all;
}

bool IsTemplateNode(const INode& node) {
    return node.GetName().find("_dravin_template") != std::string::npos;
}

Matrix3 TemplateTransform(const INode& node) {
    Matrix3 m;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 3; ++column) {
            const std::string* text = node.GetUserProperty(fmt::format("m{}{}", row, column));
            if (!text) continue;
            std::string plain = *text;
            std::replace(plain.begin(), plain.end(), ',', '.');
            if (auto value = ParseNumber(plain)) m.row[row][column] = float(*value);
        }
    return m;
}
