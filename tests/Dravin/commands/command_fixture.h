// Commands by name on a scatter object on a plane, with a user who answers as told.
#pragma once

#include <gmock/gmock.h>

#include "Dravin/commands/all_commands.h"
#include "tests/Dravin/build/scatter_fixture.h"

// Rows of numbers, as commands take points.
inline ParamInput PointRows(const std::vector<std::vector<double>>& rows) {
    ParamInput::Array points;
    for (const std::vector<double>& row : rows) {
        ParamInput::Array numbers;
        for (double n : row) numbers.emplace_back(n);
        points.emplace_back(std::move(numbers));
    }
    return ParamInput(std::move(points));
}

class CommandFixture : public ScatterFixture {
protected:
    const TCommandTable table = MakeCommandTable();
    ScriptedUserInterface* ui = nullptr;

    void SetUp() override {
        ScatterFixture::SetUp();
        auto scripted = std::make_unique<ScriptedUserInterface>();
        ui = scripted.get();
        host.SetUserInterface(std::move(scripted));
        host.SetCurrentScene(&scene);
        scene.undo.Clear();
    }
    void TearDown() override {
        host.SetCurrentScene(nullptr);
        ScatterFixture::TearDown();
    }
    TCommandResult Run(const std::string& name, const TArguments& arguments = {}) {
        return table.Run(name, scene, "", arguments);
    }
};
