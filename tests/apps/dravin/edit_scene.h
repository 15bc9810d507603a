// A small scene for tests of commands, and the program that runs them.
#pragma once

#include <string>

#include <gmock/gmock.h>

#include "tests/run_program.h"

class EditScene : public testing::Test {
protected:
    EditScene() {
        m_folder.Write("wood.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2},
  {"name": "bush", "type": "box", "width": 2, "length": 2, "height": 1},
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "pond", "type": "spline", "lines": [
    {"points": [[-2, -2, 0], [2, -2, 0], [2, 2, 0]], "closed": true}]},
  {"name": "lod", "type": "lod"},
  {"name": "wood", "type": "dravin",
   "params": {"surflist": ["ground"], "pixels_x": 10, "pixels_y": 10, "distmap": "white"},
   "geometry": [{"name": "tree", "object": "tree"}]}],
  "texmaps": {"white": {"type": "color", "color": [1, 1, 1]}}})");
    }
    // Each command is an argument of --do; the new scene is out.json.
    ProgramRun Edit(const std::vector<std::string>& commands, const std::string& more = "") const {
        std::string text =
            "HOME=$PWD XDG_CONFIG_HOME=$PWD/config XDG_DATA_HOME=$PWD/data "
            "XDG_DOCUMENTS_DIR=$PWD/documents " DRAVIN_BINARY_DIR
            "/apps/dravin/dravin edit wood.json -o out.json " +
            more;
        for (const std::string& command : commands) text += " --do '" + command + "'";
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    std::string Out() const { return m_folder.Read("out.json"); }

    TempFolder m_folder;
};
