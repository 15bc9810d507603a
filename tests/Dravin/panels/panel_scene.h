// A scene with two scatter objects and a panel over them.
#pragma once

#include <gtest/gtest.h>

#include "Dravin/dravin.h"
#include "Dravin/panels/panel_values.h"
#include "host/io/bitmap.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

struct PanelScene : testing::Test {
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> first = TDravin::Create(), second = TDravin::Create();

    PanelScene() {
        host.SetCurrentScene(&scene);
        scene.AddNode("first", first);
        scene.AddNode("second", second);
        scene.undo.Clear();
    }
    TPanel One() { return {scene, {first.get()}}; }
    TPanel Both() { return {scene, {first.get(), second.get()}}; }

    template <class Id>
    void Put(TDravin& object, Id id, double value) {
        object.Block(DravinBlockOf(id)).SetValue(id, 0, value);
    }
    template <class Id>
    double Number(TDravin& object, Id id) {
        ParamValue value = object.Block(DravinBlockOf(id)).GetValue(id);
        auto* integer = std::get_if<int32_t>(&value);
        return integer ? double(*integer) : double(std::get<float>(value));
    }
};
