// What the command line's commands do, over an open scene: outputs, pictures, the lister, effects.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/tools/lister.h"
#include "apps/dravin/build_outputs.h"
#include "apps/dravin/commands.h"
#include "host/base/text.h"
#include "host/render/ray_tracer.h"
#include "python/engine/built_items.h"

namespace {

void CheckOutputNames(const std::vector<std::string>& outputs) {
    if (outputs.empty()) throw py::value_error("expected at least one output");
    for (const std::string& path : outputs)
        if (path == "-") throw py::value_error("\"-\" is no file; read the result's items");
}

void Build(const std::shared_ptr<OpenScene>& self, const BuildOptions& options,
           const py::object& progress) {
    CheckOutputNames(options.outputs);
    Call call(&self->GetSession());
    self->DetachAll();
    ExitCode code = kExitDone;
    call.Run(progress, [&] { code = BuildOpenScene(self->GetSession(), options); });
    call.Finish(code);
}

// Results of what the last builds left, by the names of their objects.
py::dict BuiltObjects(const std::shared_ptr<OpenScene>& self, const std::string& name) {
    SceneCall call(*self);
    py::dict results;
    for (INode* node : self->GetScene().Nodes()) {
        auto object = std::dynamic_pointer_cast<TDravin>(node->ShareObjectRef());
        if (object && (name.empty() || node->GetName() == name))
            results[py::str(node->GetName())] = self->ItemsOf(self, object);
    }
    return results;
}

void CheckRenderer(const std::string& name) {
    const std::vector<std::string> known{"raytrace", "scanline", "viewport"};
    if (!name.empty() && std::find(known.begin(), known.end(), name) == known.end())
        throw py::value_error(
            fmt::format("no renderer is named \"{}\"{}; expected \"raytrace\", \"scanline\" or "
                        "\"viewport\"",
                        name, DidYouMean(name, known)));
}

// The picture as rows x columns x 3: linear light with the factor that exposes it, and display
// colours in bytes.
py::tuple Render(const std::shared_ptr<OpenScene>& self, const RenderOptions& options,
                 const py::object& progress) {
    CheckRenderer(options.renderer);
    Call call(&self->GetSession());
    self->DetachAll();
    ExitCode code = kExitDone;
    RenderOutcome outcome;
    call.Run(progress, [&] { code = RenderOpenScene(self->GetSession(), options, &outcome); });
    call.Finish(code);
    const Picture& picture = outcome.picture;
    std::vector<py::ssize_t> shape{picture.height, picture.width, 3};
    py::array_t<float> light(shape);
    py::array_t<uint8_t> display(shape);
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        Color lit = picture.Light(picture.pixels[i]), shown = picture.Shown(picture.pixels[i]);
        const float values[] = {lit.r, lit.g, lit.b}, tones[] = {shown.r, shown.g, shown.b};
        for (size_t k = 0; k < 3; ++k) {
            light.mutable_data()[i * 3 + k] = values[k];
            display.mutable_data()[i * 3 + k] =
                uint8_t(std::clamp(tones[k], 0.0f, 1.0f) * 255 + 0.5f);
        }
    }
    return py::make_tuple(light, display);
}

// The lister's header, and a row an object, after a viewport's build where there is none.
std::vector<std::vector<std::string>> Lister(const std::shared_ptr<OpenScene>& self) {
    Call call(&self->GetSession());
    self->DetachAll();
    std::vector<std::vector<std::string>> rows{{"Object"}};
    rows[0].insert(rows[0].end(), ListerHeaders().begin(), ListerHeaders().end());
    call.Run(py::none(), [&] {
        Scene& scene = self->GetScene();
        for (INode* node : scene.Nodes()) {
            auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
            if (!object) continue;
            TBuildFlags viewport;
            viewport.noMesh = true;
            BuildWithProgress({node, object}, scene.GetTime(), viewport);
            TListerRow cells = ListerRow(*object);
            rows.push_back({node->GetName()});
            rows.back().insert(rows.back().end(), cells.begin(), cells.end());
        }
    });
    call.Finish();
    return rows;
}

// (output, [(attribute, value)], error); the error is the effect's own.
py::tuple Effect(const std::string& text, bool checkOnly, const std::vector<std::string>& set,
                 uint32_t seed) {
    Call call;
    EffectOptions options;
    options.checkOnly = checkOnly;
    options.set = set;
    options.seed = seed;
    EffectRun run;
    ExitCode code = kExitDone;
    call.Run(py::none(), [&] { code = RunEffectText(text, "effect", options, &run); });
    if (run.error.empty()) {
        call.Finish(code);
    } else {
        std::string details = call.TakeErrors();
        if (!details.empty()) run.error += "\n" + details;
    }
    py::list attributes;
    for (const auto& [name, value] : run.attributes) attributes.append(py::make_tuple(name, value));
    return py::make_tuple(py::bytes(run.output), attributes, py::bytes(run.error));
}

}  // namespace

void BindCommands(py::module_& m) {
    py::class_<BuildOptions>(m, "BuildOptions")
        .def(py::init<>())
        .def_readwrite("object", &BuildOptions::object)
        .def_readwrite("time", &BuildOptions::time)
        .def_readwrite("viewport", &BuildOptions::viewport)
        .def_readwrite("threads", &BuildOptions::threads)
        .def_readwrite("no_limit", &BuildOptions::noLimit)
        .def_readwrite("fields", &BuildOptions::fields)
        .def_readwrite("outputs", &BuildOptions::outputs)
        .def_readwrite("flat", &BuildOptions::flat)
        .def_readwrite("surfaces", &BuildOptions::surfaces)
        .def_readwrite("keep_going", &BuildOptions::keepGoing);
    py::class_<RenderOptions>(m, "RenderOptions")
        .def(py::init<>())
        .def_readwrite("output", &RenderOptions::output)
        .def_readwrite("camera", &RenderOptions::camera)
        .def_readwrite("renderer", &RenderOptions::renderer)
        .def_readwrite("width", &RenderOptions::width)
        .def_readwrite("height", &RenderOptions::height)
        .def_readwrite("samples", &RenderOptions::samples)
        .def_readwrite("time", &RenderOptions::time)
        .def_readwrite("threads", &RenderOptions::threads)
        .def_readwrite("no_limit", &RenderOptions::noLimit)
        .def_readwrite("allow_empty", &RenderOptions::allowEmpty);
    m.def("build", &Build);
    m.def("built_objects", &BuiltObjects);
    m.def("render", &Render);
    m.def("lister", &Lister);
    m.def("effect", &Effect);
    m.attr("build_outputs") = kBuildOutputs;
}
