#include "Dravin/dravin_classes.h"

#include "Dravin/dravin.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/materials/edge_map.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/proxy/dproxy.h"
#include "Dravin/shadow/xshadow.h"
#include "Dravin/tools/tools_utility.h"
#include "host/params/class_registry.h"

void RegisterDravinClasses(ClassRegistry& classes) {
    constexpr const char* kCategory = "Tavu Software";
    classes.Register(
        {TDravin::kClass, "TDravin", kCategory, true, [] { return TDravin::Create(); }});
    classes.Register(DescribeClass<DMat>("DravinMat", kCategory));
    classes.Register(DescribeClass<TDtools>("TDtools", kCategory));
    classes.Register(DescribeClass<DGeomtex>("DravinGeom", kCategory));
    classes.Register(DescribeClass<DProxy>("DProxy", kCategory));
    classes.Register(DescribeClass<DColor>("DravinColor", kCategory));
    classes.Register(DescribeClass<TDLod>("DravinLOD", kCategory));
    classes.Register(DescribeClass<DEdge>("DravinEdge", kCategory));
    classes.Register(DescribeClass<DLeaf>("DravinLeaf", kCategory));
    classes.Register(DescribeClass<XShadow>("XShadow", kCategory));
}
