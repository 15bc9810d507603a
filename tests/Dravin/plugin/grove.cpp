#include "tests/Dravin/plugin/grove.h"

#include <cstring>

#include "Dravin/render/trees_interface.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/texmaps.h"

namespace {

constexpr ClassId kScatterObject{0x79fe41c2, 0x1d7b4fb1};
constexpr InterfaceId kTrees{0x6afe7c5e, 0x15813e00}, kPack{0x5c920a09, 0x6ce40001};
constexpr size_t kRecordBytes = 144, kAddresses = 56, kBehindAddresses = 72, kMask = 112,
                 kBehindMask = 120;

std::shared_ptr<INode> AddMesh(Scene& scene, const char* name, Mesh mesh) {
    auto node =
        INode::Create(name, std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh))));
    scene.AddNode(node);
    return node;
}

}  // namespace

IParamBlock2* Grove::FindParam(const std::string& name, ParamID* id) {
    for (int slot = 0; slot < object->NumRefs(); ++slot) {
        auto* block = dynamic_cast<IParamBlock2*>(object->GetReference(slot).get());
        if (!block) continue;
        for (const ParamDef& def : block->GetDesc().params)
            if (def.name == name) return *id = def.id, block;
    }
    return nullptr;
}

Grove::Grove() {
    HostContext& session = *HostContext::Current();
    session.SetCurrentScene(&scene);
    object = std::dynamic_pointer_cast<Object>(session.classes.Create(kScatterObject));
    if (!object) return;
    auto ground = AddMesh(scene, "ground", MakePlane(60, 40, 8));
    box = AddMesh(scene, "box", MakeBox(2, 1, 3, 1));
    scene.AddNode("scatter", object);
    ParamID id;
    IParamBlock2* rows = FindParam("namelist", &id);
    for (const ParamDef& def : rows->GetDesc().params)
        if (def.list) rows->Append(def.id);
    Set("geomlist", 2);
    Set("cobjlist", box);
    if (IParamBlock2* surfaces = FindParam("surflist", &id))
        surfaces->Append(id, std::static_pointer_cast<ReferenceTarget>(ground));
    Set("pixels_x", 10);
    Set("pixels_y", 10);
    Set("distmap", std::make_shared<ColorTex>());
    for (const char* name : {"applytranslation", "applyrotation", "applyscale", "mirror"})
        Set(name, 1);
    Set("tintmax", 90.f);
    Set("seed", 77);
}

std::string Grove::Records() {
    FPInterface* pack = HostContext::Current()->State<StaticInterfaces>().Find(kPack);
    FPInterface* trees = object ? InterfaceOf(*object, kTrees) : nullptr;
    if (!pack || !trees) return {};
    uint32_t features[3] = {512, 0, 0};
    pack->Call("setEngineFeatures", {FPPointer{features}});
    // Begin and end are operations of renderers alone, which know their places in the interface.
    auto* operations = static_cast<ITreesInterface*>(trees);
    operations->IDravinRenderBegin(0);
    std::string bytes;
    FPResult result = trees->Call("getRenderNodes", {});
    if (result.values.size() != 2) return {};
    auto* record = static_cast<const char*>(std::get<FPPointer>(result.values[0]).address);
    for (int32_t i = 0; i < std::get<int32_t>(result.values[1]); ++i, record += kRecordBytes) {
        bytes.append(record, kAddresses);
        bytes.append(record + kBehindAddresses, kMask - kBehindAddresses);
        bytes.append(record + kBehindMask, kRecordBytes - kBehindMask);
    }
    operations->IDravinRenderEnd(0);
    return bytes;
}
