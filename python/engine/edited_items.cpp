// The published functions over the items of one object, by their names.
#include "Dravin/build/edited_items.h"

#include "Dravin/build/dravin_build.h"
#include "python/engine/open_scene.h"

namespace {

// A call over the items: call(items, arguments…) runs in its turn, and may build.
template <class Result, class... Arguments>
auto Edit(Result (TEditedItems::*call)(Arguments...)) {
    return [call](const SceneNode& self, std::decay_t<Arguments>... arguments) -> Result {
        SceneCall turn(*self.scene);
        auto object = ScatterOf(self);
        TEditedItems items(*object, self.scene->GetScene().GetTime());
        if (items.IsEditing()) self.scene->Detach(*object);
        std::conditional_t<std::is_void_v<Result>, int, Result> result{};
        turn.Run(py::none(), [&] {
            if constexpr (std::is_void_v<Result>)
                (items.*call)(arguments...);
            else
                result = (items.*call)(arguments...);
        });
        turn.Finish();
        if constexpr (!std::is_void_v<Result>) return result;
    };
}

// A question that builds nothing.
template <class Result, class... Arguments>
auto Ask(Result (TEditedItems::*call)(Arguments...) const) {
    return [call](const SceneNode& self, std::decay_t<Arguments>... arguments) {
        SceneCall turn(*self.scene);
        auto object = ScatterOf(self);
        TEditedItems items(*object, self.scene->GetScene().GetTime());
        return (items.*call)(arguments...);
    };
}

Point3 PointOf(const std::array<float, 3>& p) { return {p[0], p[1], p[2]}; }
std::array<float, 3> Numbers(const Point3& p) { return {p.x, p.y, p.z}; }

// The same for functions that take or give points, which are three numbers in Python.
template <class Call>
auto WithPoint(const Call& call) {
    return [call](const SceneNode& self, int n, const std::array<float, 3>& p) {
        call(self, n, PointOf(p));
    };
}
template <class Call>
auto GivesPoint(const Call& call) {
    return [call](const SceneNode& self, int n) { return Numbers(call(self, n)); };
}

}  // namespace

void BindEditedItems(py::class_<SceneNode>& node) {
    using I = TEditedItems;
    node.def("trees_create",
             [](const SceneNode& self, const std::array<float, 3>& p, float width, float height,
                int geometry) { Edit (&I::Create)(self, PointOf(p), width, height, geometry); })
        .def("trees_delete", Edit(&I::Delete))
        .def("trees_edit", Edit(&I::Edit))
        .def("trees_count", Ask(&I::Count))
        .def("trees_move", WithPoint(Edit(&I::Move)))
        .def("trees_set_rotation", WithPoint(Edit(&I::SetRotation)))
        .def("trees_set_width", Edit(&I::SetWidth))
        .def("trees_set_height", Edit(&I::SetHeight))
        .def("trees_set_size", WithPoint(Edit(&I::SetSize)))
        .def("trees_set_geometry", Edit(&I::SetGeometry))
        .def("trees_set_seed", Edit(&I::SetSeed))
        .def("trees_position", GivesPoint(Ask(&I::Position)))
        .def("trees_size", GivesPoint(Edit(&I::Size)))
        .def("trees_rotation", GivesPoint(Edit(&I::Rotation)))
        .def("trees_full_transform",
             [](const SceneNode& self, int n) { return ToArray(Edit(&I::FullTransform)(self, n)); })
        .def("trees_geometry", Ask(&I::Geometry))
        .def("trees_seed", Ask(&I::Seed))
        .def("trees_selected", Ask(&I::Selected))
        .def("trees_update",
             [](const SceneNode& self) {
                 {
                     SceneCall turn(*self.scene);
                     self.scene->Detach(*ScatterOf(self));
                 }
                 Edit (&I::Update)(self);
             })
        .def("trees_update_ui", [](const SceneNode& self) {
            SceneCall turn(*self.scene);
            ScatterOf(self)->UpdatePanel(PanelUpdate::kEnableRules);
        });
}
