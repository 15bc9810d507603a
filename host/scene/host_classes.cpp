#include "host/scene/host_classes.h"

#include "host/params/controller.h"
#include "host/scene/derived_object.h"
#include "host/scene/external_object.h"
#include "host/scene/height_field_object.h"
#include "host/scene/layer.h"
#include "host/scene/material.h"
#include "host/scene/node.h"
#include "host/scene/physical_material.h"
#include "host/scene/point_cache.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"
#include "host/scene/transform_controller.h"

namespace {

// Whoever makes a block for itself describes it; one that nobody describes has no parameters.
std::shared_ptr<IParamBlock2> MakeEmptyBlock() {
    static const ParamBlockDesc2 desc{0, "params", "Parameters", 0, true, {}};
    return IParamBlock2::Create(desc);
}

}  // namespace

void RegisterHostClasses(ClassRegistry& classes) {
    classes.Register(DescribeClass<INode>("node", "Nodes"));
    classes.Register(DescribeClass<Layer>("layer", "Nodes"));
    classes.Register(DescribeClass<TriObject>("mesh", "Geometry"));
    classes.Register(DescribeClass<HeightFieldObject>("height_field", "Geometry"));
    classes.Register(DescribeClass<ShapeObject>("spline", "Shapes"));
    classes.Register(DescribeClass<CameraObject>("camera", "Cameras"));
    classes.Register(DescribeClass<LightObject>("light", "Lights"));
    classes.Register(DescribeClass<ParticleObject>("particles", "Particles"));
    classes.Register(DescribeClass<DummyObject>("dummy", "Helpers"));
    classes.Register(DescribeClass<GroupObject>("group", "Helpers"));
    classes.Register(DescribeClass<ExternalObject>("external", "Geometry"));
    classes.Register(DescribeClass<DerivedObject>("derived", "Modifiers"));
    classes.Register(DescribeClass<PointCacheModifier>("point_cache", "Modifiers"));
    classes.Register(DescribeClass<TransformController>("transform", "Controllers"));
    classes.Register(DescribeClass<KeyController>("keys", "Controllers"));
    classes.Register(DescribeClass<StandardMtl>("standard", "Materials"));
    classes.Register(DescribeClass<PhysicalMtl>("physical", "Materials"));
    classes.Register(DescribeClass<MultiMtl>("multi", "Materials"));
    classes.Register(DescribeClass<ColorTex>("color", "Maps"));
    classes.Register(DescribeClass<UvwTex>("uvw", "Maps"));
    classes.Register(DescribeClass<GradientTex>("gradient", "Maps"));
    classes.Register(DescribeClass<CheckerTex>("checker", "Maps"));
    classes.Register({BitmapTex::kClass, "bitmap", "Maps", true,
                      [] { return std::make_shared<BitmapTex>(nullptr); }});
    classes.Register(DescribeClass<NoiseTex>("noise", "Maps"));
    classes.Register(DescribeClass<ShadowMapType>("shadow_map", "Shadows"));
    classes.Register({IParamBlock2::kClass, "param_block", "Parameters", false, MakeEmptyBlock});
}
