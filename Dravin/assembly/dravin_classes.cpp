#include "Dravin/assembly/dravin_classes.h"

#include "Dravin/curves/curve_set.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/geometry/template_list.h"
#include "Dravin/materials/edge_map.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/proxy/dproxy.h"
#include "Dravin/proxy/instance_nodes.h"
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

// Of a part, which objects make for themselves.
template <class T>
ClassDesc PartDesc(const char* internalName) {
    ClassDesc desc = DescribeClass<T>(internalName, kCategory);
    desc.isPublic = false;
    return desc;
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

std::span<const ClassDesc> DravinPartDescs() {
    static const ClassDesc descs[] = {
        DescribeClass<DLeaf>("DravinLeaf", kCategory), PartDesc<TCurveSet>("DravinCurves"),
        PartDesc<TPaintShape>("DravinPaint"),          PartDesc<TInstanceNodes>("DravinInstances"),
        PartDesc<TSpecGeom>("DravinTemplate"),
    };
    return descs;
}

void RegisterDravinClasses(ClassRegistry& classes) {
    for (const PluginClassDesc& desc : DravinClassDescs()) classes.Register(desc);
    for (const ClassDesc& desc : DravinPartDescs()) classes.Register(desc);
}
