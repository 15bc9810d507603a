// Scatter objects: parameters by internal name, row lists, builds.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/effects/effect_list.h"
#include "Dravin/scene/dravin_rows.h"
#include "apps/dravin/build_report.h"
#include "host/base/text.h"
#include "host/params/param_assign.h"
#include "python/engine/built_items.h"

ParamInput InputOf(const OpenScene& scene, const py::handle& value) {
    if (value.is_none()) return {};
    if (py::isinstance<py::bool_>(value)) return value.cast<bool>();
    if (py::isinstance<SceneNode>(value)) {
        SceneNode node = value.cast<SceneNode>();
        NodeOf(node);
        if (node.scene.get() != &scene) throw py::value_error("the node is one of another scene");
        return std::shared_ptr<ReferenceTarget>(node.node);
    }
    if (py::isinstance<py::str>(value)) return value.cast<std::string>();
    if (PyIndex_Check(value.ptr())) {
        int overflow = 0;
        py::object number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
        if (!number) throw py::error_already_set();
        long long integer = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
        return overflow ? ParamInput(PyLong_AsDouble(number.ptr())) : ParamInput(int64_t(integer));
    }
    if (PyFloat_Check(value.ptr())) return value.cast<double>();
    if (PyList_Check(value.ptr()) || PyTuple_Check(value.ptr())) {
        ParamInput::Array array;
        for (const py::handle& one : value.cast<py::sequence>())
            array.push_back(InputOf(scene, one));
        return array;
    }
    throw py::type_error(fmt::format(
        "a value of the type {} is none that a parameter takes: expected a number, text, a node, "
        "None, or a list of them",
        std::string(py::str(py::type::of(value).attr("__name__")))));
}

namespace {

py::object OutputOf(const std::shared_ptr<OpenScene>& scene, const ParamDef& def,
                    const ParamValue& value, const DescriptionWriter& writer) {
    switch (def.type) {
        case ParamType::kBool:
            return py::bool_(std::get<int32_t>(value) != 0);
        case ParamType::kInt:
        case ParamType::kTime:
            return py::int_(std::get<int32_t>(value));
        case ParamType::kFloat:
        case ParamType::kWorld:
            return py::float_(std::get<float>(value));
        case ParamType::kString:
        case ParamType::kFilename:
            return py::str(std::get<std::string>(value));
        case ParamType::kPoint3: {
            Point3 p = std::get<Point3>(value);
            return py::make_tuple(p.x, p.y, p.z);
        }
        case ParamType::kColor: {
            Color c = std::get<Color>(value);
            return py::make_tuple(c.r, c.g, c.b);
        }
        default:
            break;
    }
    auto target = std::get<std::shared_ptr<ReferenceTarget>>(value);
    if (auto node = std::dynamic_pointer_cast<INode>(target))
        return py::cast(SceneNode{scene, node});
    nlohmann::ordered_json name;
    if (auto* map = dynamic_cast<Texmap*>(target.get())) name = writer.TexmapName(map);
    if (auto* mtl = dynamic_cast<Mtl*>(target.get())) name = writer.MtlName(mtl);
    return name.is_string() ? py::object(py::str(name.get<std::string>())) : py::none();
}

TDravin::Param ParamOf(TDravin& object, const std::string& name) {
    TDravin::Param param = object.FindParam(name);
    if (!param)
        throw py::key_error(fmt::format("unknown parameter \"{}\"{}", CutText(name, 60),
                                        DidYouMean(name, DravinParamNames())));
    return param;
}

py::object Get(const SceneNode& self, const std::string& name) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    TDravin::Param param = ParamOf(*object, name);
    Scene& scene = self.scene->GetScene();
    DescriptionWriter writer(scene, "", self.scene->GetSession().Formats());
    auto value = [&](int i) {
        return OutputOf(self.scene, *param.def,
                        param.block->GetValue(param.def->id, scene.GetTime(), i), writer);
    };
    if (!param.def->list) return value(0);
    py::list list;
    for (int i = 0; i < param.block->Count(param.def->id); ++i) list.append(value(i));
    return list;
}

// The values may make the object build: items are frozen on the way to the custom edit mode.
void Set(const SceneNode& self, const std::string& name, const py::object& value) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    TDravin::Param param = ParamOf(*object, name);
    ParamInput input = InputOf(*self.scene, value);
    Session& session = self.scene->GetSession();
    DescriptionContext context(session.GetScene(), "", session.Formats(), nullptr);
    if (param.def->id == editionParams::kMode && param.block == &object->Block(kEditionParams))
        self.scene->Detach(*object);
    AssignResult result;
    auto assign = [&] {
        result = AssignParam(*param.block, *param.def, input, session.GetScene().GetTime(),
                             AssignSource::kScript, context.Resolver());
    };
    call.Run(py::none(), assign);
    if (!result)
        RaiseError(kExitMalformed, fmt::format("{}: {}", self.node->GetName(), result.error));
    for (const std::string& warning : result.warnings)
        PrintWarning(fmt::format("{}: {}", self.node->GetName(), warning));
    call.Finish();
}

// What a description's readers tell of a value that stands in text.
template <class Read>
void ReadText(SceneCall& call, const SceneNode& self, const std::string& text,
              const std::string& name, const Read& read) {
    Session& session = self.scene->GetSession();
    std::string folder = std::filesystem::path(session.GetScene().path).parent_path().string();
    DescriptionContext context(session.GetScene(), folder, session.Formats(), nullptr);
    DescriptionDocument document(fmt::format("{}: {}", self.node->GetName(), name), text);
    if (document.Parse()) read(DescriptionValue(document, document.Root()), context);
    if (document.Failed()) RaiseError(int(document.ErrorClass()), document.Error());
    for (const std::string& warning : document.Warnings()) PrintWarning(warning);
    call.Finish();
}

void SetKeys(const SceneNode& self, const std::string& name, const std::string& text) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    TDravin::Param param = ParamOf(*object, name);
    ReadText(call, self, text, name, [&](const auto& value, const auto& context) {
        ReadParam(*param.block, *param.def, value, context);
    });
}

struct RowList {
    const char* name;
    void (*read)(TDravin&, const DescriptionValue&, const DescriptionContext&);
    nlohmann::ordered_json (*write)(const TDravin&, const DescriptionWriter&);
};
void ReadCurveLists(TDravin& object, const DescriptionValue& value, const DescriptionContext&) {
    ReadCurves(object, value);
}
nlohmann::ordered_json WriteCurveLists(const TDravin& object, const DescriptionWriter&) {
    return WriteCurves(object);
}
void ReadItemList(TDravin& object, const DescriptionValue& value, const DescriptionContext&) {
    ReadItems(object, value);
}
nlohmann::ordered_json WriteItemList(const TDravin& object, const DescriptionWriter&) {
    return WriteItems(object);
}
constexpr RowList kRowLists[] = {{"geometry", ReadGeometryRows, WriteGeometryRows},
                                 {"areas", ReadAreaRows, WriteAreaRows},
                                 {"effects", ReadEffectRows, WriteEffectRows},
                                 {"curves", ReadCurveLists, WriteCurveLists},
                                 {"items", ReadItemList, WriteItemList},
                                 {"deltas", ReadDeltas, WriteDeltas}};

const RowList& RowListOf(const std::string& name) {
    for (const RowList& list : kRowLists)
        if (list.name == name) return list;
    throw py::key_error(name);
}

// complete: with the keys that hold their defaults.
py::bytes Rows(const SceneNode& self, const std::string& list, bool complete) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    DescriptionWriter writer(self.scene->GetScene(), "", self.scene->GetSession().Formats());
    writer.complete = complete;
    nlohmann::ordered_json rows = RowListOf(list).write(*object, writer);
    return py::bytes(rows.is_null() ? "null" : rows.dump());
}

void SetRows(const SceneNode& self, const std::string& list, const std::string& text) {
    SceneCall call(*self.scene);
    auto object = ScatterOf(self);
    ReadText(call, self, text, list, [&](const auto& value, const auto& context) {
        RowListOf(list).read(*object, value, context);
        if (value.Document().Failed()) return;
        if (list == "effects")
            LoadEffectCurves(object->Block(kEffectParams), *object, kSlotEffectCurves);
        if (list == "geometry") self.scene->GetSession().LoadTemplates();
    });
}

std::shared_ptr<BuiltItems> Build(const SceneNode& self, const std::optional<int>& time,
                                  bool viewport, int threads, bool noLimit,
                                  const py::object& progress) {
    if (threads < 0) throw py::value_error("threads: expected 0 (as the parameters say) or more");
    Call call(&self.scene->GetSession());
    auto object = ScatterOf(self);
    self.scene->Detach(*object);
    TBuildFlags flags;
    flags.noMesh = true;
    flags.render = !viewport;
    flags.noLimit = flags.unprotected = noLimit;
    flags.forceThreads = threads;
    SceneDravin dravin{self.node.get(), object.get()};
    TimeValue t = time.value_or(self.scene->GetScene().GetTime());
    ExitCode code = kExitDone;
    call.Run(progress, [&] {
        BuildWithProgress(dravin, t, flags);
        code = ReportBuild(dravin, false);
    });
    // What a limit refused and what broke off has no result; any other status is one.
    const TDravinBuild& build = object->Build();
    if (code == kExitLimit || !build.Failure().empty()) call.Finish(code);
    if (std::string errors = call.TakeErrors(); code != kExitDone) PrintWarning(errors);
    auto items = self.scene->ItemsOf(self.scene, object);
    call.Finish();
    return items;
}

}  // namespace

void BindScatter(py::class_<SceneNode>& node) {
    node.def("get", &Get)
        .def("set", &Set)
        .def("set_param_keys", &SetKeys)
        .def("rows", &Rows)
        .def("set_rows", &SetRows)
        .def("build", &Build)
        .def_property_readonly("is_scatter", [](const SceneNode& self) {
            return dynamic_cast<TDravin*>(self.node->GetObjectRef()) != nullptr;
        });
}
