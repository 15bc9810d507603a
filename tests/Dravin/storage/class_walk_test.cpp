// The system's own classes beside the host's: what they hold, what can be animated, their copies.
#include "tests/host/storage/class_walk.h"
#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/curves/curve_set.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/materials/edge_map.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/proxy/dproxy.h"
#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/shadow/xshadow.h"
#include "Dravin/storage/dravin_storage.h"
#include "Dravin/tools/toolbar.h"

namespace {

class SystemClasses : public ClassWalk {
protected:
    SystemClasses() {
        for (uint32_t super = 0; super <= kLastSuperClass; ++super)
            for (const ClassDesc* desc : host.classes.OfSuperClass(SuperClass(super)))
                m_ofHost.push_back(desc->info.id);
        for (ClassId id : m_ofHost) host.classes.Unregister(id);
        RegisterDravinClasses(host.classes);
        RegisterDravinStorage(storage);

        FillWith<TCurveSet>([](TCurveSet& set, int w) {
            set.title = std::string(size_t(w), 'c');
            set.SetNumCurves(w);
            set.SetPoints(w - 1, {{0, float(w)}, {1, 2}});
            set.yRange = {0, float(w)};
        });
        FillWith<TPaintShape>([](TPaintShape& paint, int w) {
            paint.shape = PolyShape{{{{{0, 0, 0}, {float(w), 0, 0}, {0, 1, 0}}, true}}};
        });
        FillWith<DMat>([](DMat& mtl, int w) { mtl.name = std::string(size_t(w), 'm'); });
        FillWith<DColor>([](DColor& map, int w) { map.channel = w + 1; });
        FillWith<DEdge>([](DEdge& map, int w) { map.channel = w + 1; });
        FillWith<DGeomtex>([](DGeomtex& map, int w) { map.channel = w + 1; });
        FillWith<DLeaf>([](DLeaf& leaf, int w) { leaf.enabled = w == 1; });
        // Copies have no edited items, file state and instances of their original.
        KeepsForItself<TDravin>();
        KeepsForItself<TInstanceNodes>();
        IsPlain<TInstanceNodes>();
        IsPlain<TDToolbar>();
    }

private:
    std::vector<ClassId> m_ofHost;
};

}  // namespace

TEST_F(SystemClasses, TellWhatTheyHoldAndWhatCanBeAnimated) {
    ForEachClass([this](const ClassDesc& desc, const auto& made) {
        CheckLists(desc, *made);
        Fill(*made, 1);
        CheckLists(desc, *made);
    });
}

TEST_F(SystemClasses, MakeEqualCopiesOfTheirOwn) {
    ForEachClass([this](const ClassDesc& desc, const auto& made) { CheckCopy(desc, *made); });
}
