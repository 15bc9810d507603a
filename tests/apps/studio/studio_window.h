// A window on a small scene: a meadow of stones, with all that panels refer to.
#pragma once

#include <gtest/gtest.h>

#include <QLineEdit>
#include "Dravin/viewport/viewport_scene.h"

#include "apps/studio/main_window.h"
#include "apps/studio/panels/controls.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"
#include "tests/apps/studio/hand.h"
#include "tests/temp_folder.h"

inline const char* kSmallScene = R"({
  "dravin_scene": 1,
  "texmaps": {"checks": {"type": "checker"}},
  "nodes": [
    {"name": "ground", "type": "plane", "width": 20, "length": 20},
    {"name": "stone", "type": "box", "width": 1, "length": 1, "height": 1},
    {"name": "eye", "type": "camera"},
    {"name": "meadow", "type": "dravin",
     "params": {"units_x": 20, "units_y": 20, "surflist": ["ground"], "mapname": "dense.bmp"},
     "geometry": [{"kind": "custom", "object": "stone", "name": "stone", "probability": 100,
                   "width": 1, "height": 1}]}
  ]
})";

struct StudioWindow : testing::Test {
    TempFolder folder;
    ScriptedUserInterface* asked = nullptr;
    std::unique_ptr<MainWindow> window;

    StudioWindow() {
        window = std::make_unique<MainWindow>([this] {
            auto port = std::make_unique<ScriptedUserInterface>();
            asked = port.get();
            return port;
        });
        window->show();
        window->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
        Rest();
    }
    StudioSession& Session() { return window->Session(); }
    // Until all work is done.
    void Rest() {
        EXPECT_TRUE(hand::Wait([this] {
            QCoreApplication::sendPostedEvents();
            return Session().IsFree();
        }));
    }
    void Open(const std::string& text) {
        window->OpenFile(folder.Write("scene.json", text));
        Rest();
        ASSERT_FALSE(Session().Path().empty()) << window->LogText().toStdString();
    }
    void OpenSmall() { Open(kSmallScene); }
    std::string Saved(const std::string& name) {
        Session().Save(folder.File(name));
        Rest();
        std::ifstream in(folder.File(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    ParamControl* Control(TParamKey key) {
        window->Panel().OpenRollout(*key.table, true);
        ParamControl* control = window->Panel().ControlOf(key);
        Rest();
        return control;
    }
    std::vector<std::string> Selected() {
        std::vector<std::string> names;
        Rest();
        Session().Look([&](Scene& scene) {
            for (INode* node : scene.Selection()) names.push_back(node->GetName());
        });
        return names;
    }
    void Select(const std::vector<std::string>& names) {
        ParamInput::Array nodes;
        for (const std::string& name : names) nodes.emplace_back(name);
        Session().Run("scene.select", "", {{"nodes", ParamInput(std::move(nodes))}});
        Rest();
    }
    TControlValue Read(TParamKey key) {
        TControlValue value;
        Rest();
        Session().Look([&](Scene& scene) { value = Session().Panel(scene).Read(key); });
        return value;
    }
    size_t NumSteps() {
        size_t steps = 0;
        Rest();
        Session().Look([&](Scene& scene) { steps = scene.undo.NumUndoSteps(); });
        return steps;
    }
};
