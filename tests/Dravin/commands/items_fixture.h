// A scatter object in custom edit mode with some items, for tests of the item commands.
#pragma once

#include "Dravin/commands/item_commands.h"
#include "tests/Dravin/build/scatter_fixture.h"

class ItemsFixture : public ScatterFixture {
protected:
    ScriptedUserInterface* ui = nullptr;
    std::unique_ptr<TItemCommands> items;

    void SetUp() override {
        ScatterFixture::SetUp();
        auto scripted = std::make_unique<ScriptedUserInterface>();
        ui = scripted.get();
        host.SetUserInterface(std::move(scripted));
        host.SetCurrentScene(&scene);
        items = std::make_unique<TItemCommands>(scene, *node, *object);
        items->clock = [] { return 7u; };
    }
    // Custom edit mode with that many items, at x = 0, 1, 2, …, open to editing.
    void Edit(int count) {
        Set(kEditionParams, editionParams::kMode, 1);
        std::vector<TStoredItem> list(static_cast<size_t>(count));
        for (size_t i = 0; i < list.size(); ++i) {
            list[i].storedPosition = {float(i), 0, 0};
            list[i].seed = uint32_t(i);
        }
        object->SetStoredItems(list);
        object->editingItems = true;
        scene.undo.Clear();
    }
    const std::vector<TStoredItem>& List() const { return object->StoredItems(); }
    // A step of undo around work.
    template <class Work>
    void Step(const Work& work) {
        scene.undo.Begin();
        work();
        scene.undo.Accept("step");
    }
};
