#include "Dravin/assembly/dravin_classes.h"

#include "Dravin/dravin.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/materials/edge_map.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/proxy/dproxy.h"
#include "Dravin/render/trees_interface.h"
#include "Dravin/render/ui_interface.h"
#include "Dravin/shadow/xshadow.h"
#include "Dravin/tools/toolbar.h"
#include "Dravin/tools/tools_utility.h"

namespace {

constexpr const char* kCategory = "Tavu Software";
constexpr InterfaceId kPackId{0x5c920a09, 0x6ce40001};

template <class T>
PluginClassDesc Desc(const char* internalName) {
    return {DescribeClass<T>(internalName, kCategory), {}, {}};
}

PluginClassDesc ObjectDesc() {
    return {{TDravin::kClass, "TDravin", kCategory, true, [] { return TDravin::Create(); }},
            DravinBlocks(),
            {ITreesInterface::kId, IUInterface::kId, kPackId}};
}

}  // namespace

std::span<const PluginClassDesc> DravinClassDescs() {
    static const PluginClassDesc descs[] = {
        ObjectDesc(),
        Desc<DMat>("DravinMat"),
        Desc<XShadow>("XShadow"),
        Desc<TDtools>("TDtools"),
        Desc<DGeomtex>("DravinGeom"),
        Desc<DProxy>("DProxy"),
        Desc<DColor>("DravinColor"),
        Desc<TDLod>("DravinLOD"),
        Desc<DEdge>("DravinEdge"),
        Desc<TDToolbar>("TDToolbar"),
    };
    return descs;
}

ClassDesc LeafModifierDesc() { return DescribeClass<DLeaf>("DravinLeaf", kCategory); }

void RegisterDravinClasses(ClassRegistry& classes) {
    for (const PluginClassDesc& desc : DravinClassDescs()) classes.Register(desc);
    classes.Register(LeafModifierDesc());
}
