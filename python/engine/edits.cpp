// Commands on an open scene, by name.
#include "Dravin/commands/all_commands.h"
#include "python/engine/open_scene.h"

namespace {

py::object OutputOf(const ParamInput& input) {
    struct {
        py::object operator()(std::monostate) { return py::none(); }
        py::object operator()(bool b) { return py::bool_(b); }
        py::object operator()(int64_t i) { return py::int_(i); }
        py::object operator()(double d) { return py::float_(d); }
        py::object operator()(const std::string& s) { return py::str(s); }
        py::object operator()(const ParamInput::Array& a) {
            py::list list;
            for (const ParamInput& element : a) list.append(OutputOf(element));
            return list;
        }
        py::object operator()(const std::shared_ptr<ReferenceTarget>& target) {
            return target ? py::object(py::str(target->ClassName())) : py::none();
        }
    } convert;
    return std::visit(convert, input.value);
}

py::object Run(const std::shared_ptr<OpenScene>& self, const std::string& command,
               const std::string& object, const py::dict& arguments, bool yes,
               const py::object& progress) {
    Call call(&self->GetSession());
    self->DetachAll();
    TArguments inputs;
    for (const auto& [name, value] : arguments)
        inputs[py::cast<std::string>(name)] = InputOf(*self, value);
    self->GetSession().Host().SetUserInterface(MakeProgramInterface(yes));
    TCommandResult result;
    call.Run(progress,
             [&] { result = self->GetSession().Run(MakeCommandTable(), command, object, inputs); });
    for (const std::string& warning : result.warnings) PrintWarning(command + ": " + warning);
    if (!result) RaiseError(kExitFailed, result.error);
    call.Finish();
    return OutputOf(result.value);
}

// name -> (what it works on: 0 scene, 1 node, 2 object, meaning, [(argument, takes, required,
// meaning)]).
py::dict Commands() {
    py::dict all;
    TCommandTable table = MakeCommandTable();
    for (const auto& [name, command] : table.All()) {
        py::list arguments;
        for (const TArgumentInfo& info : command.arguments)
            arguments.append(py::make_tuple(info.name, std::string(ArgumentKindName(info.kind)),
                                            info.isRequired, info.meaning));
        all[py::str(name)] = py::make_tuple(int(command.target), command.meaning, arguments);
    }
    return all;
}

}  // namespace

void BindEdits(py::module_& m) {
    m.def("run", &Run);
    m.def("commands", &Commands);
}
