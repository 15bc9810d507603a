// The functions of "trees" by number and name.
#include "Dravin/build/edited_items.h"
#include "Dravin/dravin.h"
#include "Dravin/render/render_state.h"
#include "Dravin/render/trees_interface.h"

namespace {

TDravin& ObjectOf(FPInterface& interface) {
    return static_cast<TTreesInterface&>(interface).GetObject();
}
ITreesInterface& Trees(FPInterface& interface) { return static_cast<ITreesInterface&>(interface); }
TEditedItems Items(FPInterface& interface) {
    return {ObjectOf(interface), HostTimeOf(ObjectOf(interface))};
}

template <class T>
const T& Get(FPArguments arguments, size_t i) {
    return std::get<T>(arguments[i]);
}
int Int(FPArguments a, size_t i) { return Get<int32_t>(a, i); }

constexpr FPArgument kN{"n", FPType::kInt}, kP{"p", FPType::kPoint3},
    kWidth{"width", FPType::kFloat}, kHeight{"height", FPType::kFloat},
    kGeomId{"geomid", FPType::kInt}, kSeed{"seed", FPType::kInt};

FPValues Put(FPInterface& i, FPArguments a) {
    Items(i).Move(Int(a, 0), Get<Point3>(a, 1));
    return {};
}

const std::vector<FPFunction>& Table() {
    using F = FPInterface;
    using A = FPArguments;
    using V = FPValues;
    using enum FPType;
    static const std::vector<FPFunction> table{
        {0,
         "create",
         kNone,
         {kP, kWidth, kHeight, kGeomId},
         {},
         [](F& i, A a) -> V {
             Items(i).Create(Get<Point3>(a, 0), Get<float>(a, 1), Get<float>(a, 2), Int(a, 3));
             return {};
         }},
        {1,
         "delete",
         kNone,
         {kN},
         {},
         [](F& i, A a) -> V { return Items(i).Delete(Int(a, 0)), V{}; }},
        {2,
         "edit",
         kNone,
         {kN, kWidth, kHeight, kGeomId, kSeed},
         {},
         [](F& i, A a) -> V {
             Items(i).Edit(Int(a, 0), Get<float>(a, 1), Get<float>(a, 2), Int(a, 3),
                           uint32_t(Int(a, 4)));
             return {};
         }},
        {3, "count", kInt, {}, {}, [](F& i, A) -> V { return {int32_t(Items(i).Count())}; }},
        {4, "move", kNone, {kN, kP}, {}, Put},
        {13, "setPosition", kNone, {kN, kP}, {}, Put},
        {14,
         "setRotation",
         kNone,
         {kN, {"angle", kPoint3}},
         {},
         [](F& i, A a) -> V { return Items(i).SetRotation(Int(a, 0), Get<Point3>(a, 1)), V{}; }},
        {15,
         "setWidth",
         kNone,
         {kN, kWidth},
         {},
         [](F& i, A a) -> V { return Items(i).SetWidth(Int(a, 0), Get<float>(a, 1)), V{}; }},
        {16,
         "setHeight",
         kNone,
         {kN, kHeight},
         {},
         [](F& i, A a) -> V { return Items(i).SetHeight(Int(a, 0), Get<float>(a, 1)), V{}; }},
        {17,
         "setSize",
         kNone,
         {kN, {"size", kPoint3}},
         {},
         [](F& i, A a) -> V { return Items(i).SetSize(Int(a, 0), Get<Point3>(a, 1)), V{}; }},
        {18,
         "setGeomID",
         kNone,
         {kN, kGeomId},
         {},
         [](F& i, A a) -> V { return Items(i).SetGeometry(Int(a, 0), Int(a, 1)), V{}; }},
        {19,
         "setSeed",
         kNone,
         {kN, kSeed},
         {},
         [](F& i, A a) -> V { return Items(i).SetSeed(Int(a, 0), uint32_t(Int(a, 1))), V{}; }},
        {6,
         "getPosition",
         kPoint3,
         {kN},
         {},
         [](F& i, A a) -> V { return {Items(i).Position(Int(a, 0))}; }},
        {7,
         "getWidth",
         kFloat,
         {kN},
         {},
         [](F& i, A a) -> V { return {Items(i).Size(Int(a, 0)).x}; }},
        {8,
         "getHeight",
         kFloat,
         {kN},
         {},
         [](F& i, A a) -> V { return {Items(i).Size(Int(a, 0)).z}; }},
        {9,
         "getSize",
         kPoint3,
         {kN},
         {},
         [](F& i, A a) -> V { return {Items(i).Size(Int(a, 0))}; }},
        {10,
         "getRotation",
         kPoint3,
         {kN},
         {},
         [](F& i, A a) -> V { return {Items(i).Rotation(Int(a, 0))}; }},
        {11,
         "getGeomID",
         kInt,
         {kN},
         {},
         [](F& i, A a) -> V { return {int32_t(Items(i).Geometry(Int(a, 0)))}; }},
        {12,
         "getSeed",
         kInt64,
         {kN},
         {},
         [](F& i, A a) -> V { return {int64_t{Items(i).Seed(Int(a, 0))}}; }},
        {21,
         "getFullTransform",
         kMatrix,
         {kN},
         {},
         [](F& i, A a) -> V { return {Items(i).FullTransform(Int(a, 0))}; }},
        {34, "getSelected", kInts, {}, {}, [](F& i, A) -> V { return {Trees(i).getSelected()}; }},
        {20, "update", kNone, {}, {}, [](F& i, A) -> V { return Items(i).Update(), V{}; }},
        {22,
         "update_ui",
         kNone,
         {},
         {},
         [](F& i, A) -> V { return ObjectOf(i).UpdatePanel(PanelUpdate::kEnableRules), V{}; }},
        {23,
         "getRenderID",
         kBool,
         {{"shadeContext_ptr", kPointer}},
         {{"itemID", kInt}, {"elemID", kInt}},
         [](F& i, A a) -> V {
             int32_t item = 0, element = 0;
             auto* hit = static_cast<const IDravinHit*>(Get<FPPointer>(a, 0).address);
             bool found = Trees(i).getRenderID(hit, &item, &element);
             return {found, item, element};
         }},
        {24,
         "getRenderNode",
         kPointer,
         {kN},
         {},
         [](F& i, A a) -> V { return {FPPointer{Trees(i).getRenderNode(Int(a, 0))}}; }},
        {25,
         "getRenderNodes",
         kPointer,
         {},
         {{"numnodes", kInt}},
         [](F& i, A) -> V {
             int32_t count = 0;
             void* records = Trees(i).getRenderNodes(&count);
             return {FPPointer{records}, count};
         }},
        {26,
         "clearRenderNodes",
         kNone,
         {},
         {},
         [](F& i, A) -> V { return Trees(i).clearRenderNodes(), V{}; }},
        {29,
         "getRenderData",
         kBool,
         {{"data", kPointer}, {"itemIndex", kInt}, {"faceNumber", kInt}},
         {},
         [](F& i, A a) -> V {
             auto* data = static_cast<TDravinRenderData*>(Get<FPPointer>(a, 0).address);
             return {Trees(i).getRenderData(data, Int(a, 1), Int(a, 2))};
         }},
    };
    return table;
}

}  // namespace

std::span<const FPFunction> ITreesInterface::Functions() const { return Table(); }
