// The functions that scatter objects and the session publish to scripts, by interface and name.
//
// One bridge serves all that take plain values: it turns arguments into what the function names and
// answers with its result and what it writes by reference, in one tuple where there are several.
// Addresses go out as numbers. None comes in: functions that take one have calls of their own here,
// which hold the memory themselves.
#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "Dravin/render/pack_interface.h"
#include "Dravin/render/trees_interface.h"
#include "Dravin/render/ui_interface.h"
#include "host/base/text.h"
#include "python/engine/built_items.h"

namespace {

// Of "trees" in custom edit mode: what looks at stored items, or at the last build as it is.
constexpr std::string_view kWithoutBuild[] = {
    "count",     "getPosition",    "getGeomID",        "getSeed",     "getSelected",
    "update_ui", "getRenderNodes", "clearRenderNodes", "getRenderID", "getRenderData"};
// What takes long for many items; all others do but with a build.
constexpr std::string_view kLong[] = {"getRenderNodes", "update"};

template <size_t N>
bool IsIn(const std::string_view (&names)[N], std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

FPInterface& MixinOf(TDravin& object, const std::string& name) {
    for (InterfaceId id : {ITreesInterface::kId, IUInterface::kId}) {
        FPInterface* found = InterfaceOf(object, id);
        if (found && found->Name() == name) return *found;
    }
    throw py::key_error(fmt::format("a scatter object publishes no interface \"{}\"", name));
}

const FPFunction& FunctionOf(const FPInterface& interface, const std::string& name) {
    if (const FPFunction* function = interface.Find(name)) return *function;
    std::vector<std::string> all;
    for (const FPFunction& function : interface.Functions()) all.push_back(function.name);
    throw py::key_error(fmt::format("\"{}\" publishes no function \"{}\"{}", interface.Name(), name,
                                    DidYouMean(name, all)));
}

// Seeds are words without a sign.
int32_t WordOf(const FPArgument& argument, int64_t number) {
    if (number < INT32_MIN || number > UINT32_MAX)
        throw py::value_error(
            fmt::format("{}: {} does not fit into 32 bits", argument.name, number));
    return int32_t(uint32_t(number));
}

FPValue ValueOf(const FPArgument& argument, const py::handle& value) {
    switch (argument.type) {
        case FPType::kBool:
            return value.cast<bool>();
        case FPType::kInt:
            return WordOf(argument, value.cast<int64_t>());
        case FPType::kInt64:
            return value.cast<int64_t>();
        case FPType::kFloat:
            return value.cast<float>();
        case FPType::kPoint3: {
            auto p = value.cast<std::array<float, 3>>();
            return Point3{p[0], p[1], p[2]};
        }
        case FPType::kString:
            return value.cast<std::string>();
        default:
            throw py::type_error(fmt::format("{}: no address is taken from here", argument.name));
    }
}

FPValues ValuesOf(const FPFunction& function, const py::args& arguments) {
    if (arguments.size() != function.arguments.size())
        throw py::type_error(fmt::format("{} takes {} arguments, not {}", function.name,
                                         function.arguments.size(), arguments.size()));
    FPValues values;
    for (size_t i = 0; i < arguments.size(); ++i) {
        try {
            values.push_back(ValueOf(function.arguments[i], arguments[i]));
        } catch (const py::cast_error&) {
            throw py::type_error(
                fmt::format("{}: {}: a value of the type {} does not fit", function.name,
                            function.arguments[i].name,
                            std::string(py::str(py::type::of(arguments[i]).attr("__name__")))));
        }
    }
    return values;
}

struct ToPython {
    py::object operator()(std::monostate) const { return py::none(); }
    py::object operator()(const Point3& p) const { return py::make_tuple(p.x, p.y, p.z); }
    py::object operator()(const Matrix3& m) const { return ToArray(m); }
    py::object operator()(const FPPointer& p) const {
        return py::int_(reinterpret_cast<uintptr_t>(p.address));
    }
    template <class T>
    py::object operator()(const T& value) const {
        return py::cast(value);
    }
};

py::object ResultOf(const FPResult& result) {
    if (result.status != FPStatus::kDone) throw py::type_error(result.error);
    py::list values;
    for (const FPValue& value : result.values) values.append(std::visit(ToPython{}, value));
    if (values.empty()) return py::none();
    return values.size() == 1 ? py::object(values[0]) : py::tuple(values);
}

// Calls interface.name(arguments): beside the interpreter where that may take long.
py::object CallBridge(SceneCall& call, FPInterface& interface, const FPFunction& function,
                      const py::args& arguments, bool isLong) {
    FPValues values = ValuesOf(function, arguments);
    FPResult result;
    auto work = [&] { result = interface.Call(function.id, values); };
    if (isLong)
        call.Run(py::none(), work);
    else
        work();
    call.Finish();
    return ResultOf(result);
}

bool MayBuild(TDravin& object, const FPInterface& interface, std::string_view function) {
    if (interface.Id() != ITreesInterface::kId || IsIn(kWithoutBuild, function)) return false;
    bool isEdited = object.Block(kEditionParams).GetInt(editionParams::kMode) == 1;
    return function == "update" || isEdited;
}

py::object CallMixin(const SceneNode& self, const std::string& interfaceName,
                     const std::string& name, const py::args& arguments) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    FPInterface& interface = MixinOf(*object, interfaceName);
    const FPFunction& function = FunctionOf(interface, name);
    bool mayBuild = MayBuild(*object, interface, name);
    if (mayBuild) self.scene->Detach(*object);
    return CallBridge(call, interface, function, arguments, mayBuild || IsIn(kLong, name));
}

py::object CallPack(const std::shared_ptr<OpenScene>& self, const std::string& name,
                    const py::args& arguments) {
    SceneCall call(*self);
    FPInterface& interface = TDravinPackInterface::Current();
    return CallBridge(call, interface, FunctionOf(interface, name), arguments, true);
}

// --- what takes addresses
// --------------------------------------------------------------------------

// A face of the object's render mesh, as a renderer that draws that would tell it.
class MeshHit final : public IDravinHit {
public:
    explicit MeshHit(int32_t face) : m_face(face) {}
    ClassId ContextClass() const override { return {}; }
    int32_t FaceNumber() const override { return m_face; }

private:
    int32_t m_face;
};

py::tuple RenderId(const SceneNode& self, int32_t face) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    MeshHit hit(face);
    int32_t item = 0, element = 0;
    bool found = TreesOf(*object)->getRenderID(&hit, &item, &element);
    call.Finish();
    return py::make_tuple(found, item, element);
}

py::object RenderData(const SceneNode& self, int32_t record, int32_t face) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    TDravinRenderData data;
    bool found = TreesOf(*object)->getRenderData(&data, record, face);
    call.Finish();
    if (!found) return py::none();
    return py::make_tuple(data.element, data.random, data.combined, data.visible);
}

// As a node; builds where there are no items.
py::object RenderNode(const SceneNode& self, int32_t n) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    if (object->Build().Items().IsEmpty()) self.scene->Detach(*object);
    INode* node = nullptr;
    call.Run(py::none(), [&] { node = TreesOf(*object)->getRenderNode(n); });
    call.Finish();
    return node ? py::cast(HandleOf(self.scene, *node)) : py::none();
}

std::array<uint32_t, 3> SetEngineFeatures(const std::shared_ptr<OpenScene>& self,
                                          std::array<uint32_t, 3> features) {
    SceneCall call(*self);
    TDravinPackInterface::Current().setEngineFeatures(features.data());
    call.Finish();
    return features;
}

// --- renders
// ---------------------------------------------------------------------------------------

void RenderStep(const SceneNode& self, int time, void (ITreesInterface::*step)(TimeValue)) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    self.scene->Detach(*object);
    call.Run(py::none(), [&] { (TreesOf(*object)->*step)(time); });
    call.Finish();
}

}  // namespace

void BindPublished(py::module_& m, py::class_<SceneNode>& node) {
    node.def("call", &CallMixin)
        .def("render_id", &RenderId)
        .def("render_data", &RenderData)
        .def("render_node", &RenderNode)
        .def("render_begin",
             [](const SceneNode& self, int t) {
                 RenderStep(self, t, &ITreesInterface::IDravinRenderBegin);
             })
        .def("render_end", [](const SceneNode& self, int t) {
            RenderStep(self, t, &ITreesInterface::IDravinRenderEnd);
        });
    m.def("call_pack", &CallPack);
    m.def("set_engine_features", &SetEngineFeatures);
}
