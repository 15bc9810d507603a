// What the tests of saved scatter objects share: a scene with one, and files with chunks of choice.
#pragma once

#include <gtest/gtest.h>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/storage/dravin_storage.h"
#include "Dravin/storage/object_chunks.h"
#include "host/io/scene_loaders.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/storage/scene_storage.h"
#include "tests/temp_folder.h"

class ObjectFile : public testing::Test {
protected:
    ObjectFile() : object(TDravin::Create()) {
        RegisterDravinClasses(host.classes);
        RegisterDravinStorage(storage);
        host.SetCurrentScene(&scene);
        scene.AddNode("wood", object);
    }
    ~ObjectFile() override { host.SetCurrentScene(nullptr); }

    std::string Save(Scene& what, const SceneStorage& how) {
        std::vector<std::string> warnings;
        std::string error;
        auto bytes = SaveSceneBytes(what, folder.File("."), how, &warnings, &error);
        EXPECT_TRUE(bytes) << error;
        return bytes.value_or("");
    }
    std::string Save(Scene& what) { return Save(what, storage); }
    // A file of the scene in which the object's own chunks are these.
    std::string SaveWith(const std::string& chunks) {
        SceneStorage other;
        RegisterDravinStorage(other);
        other.Register<TDravin>([chunks](auto& fields, TDravin&) {
            fields.Own(
                1, [&chunks](FieldWriter& out) { out.Out().WriteBytes(chunks); },
                [](FieldReader&) {});
        });
        return Save(scene, other);
    }
    SceneReadResult Read(const std::string& bytes) {
        return LoadSceneBytes(bytes, "s.dscene", folder.File("."), storage, *loaders);
    }
    // The object of a file; null when it cannot be read.
    TDravin* Load(const std::string& bytes) {
        SceneReadResult result = Read(bytes);
        EXPECT_TRUE(result) << result.error;
        m_loaded = std::move(result.scene);
        return m_loaded ? dynamic_cast<TDravin*>(m_loaded->FindNode("wood")->GetObjectRef())
                        : nullptr;
    }
    TDravin* Again() { return Load(Save(scene)); }
    Scene& Loaded() { return *m_loaded; }

    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object;
    SceneStorage storage;
    std::shared_ptr<ISceneLoaders> loaders = MakeSceneLoaders();
    TempFolder folder;

private:
    std::unique_ptr<Scene> m_loaded;
};
