#include "common/util/material_library.h"

#include <gmock/gmock.h>

#include "common/util/report_error.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/scene/texmaps.h"

namespace {

class MaterialLibrary : public testing::Test {
protected:
    MaterialLibrary() : library(std::make_shared<Scene>()) {
        auto user = std::make_unique<ScriptedUserInterface>();
        ui = user.get();
        session.SetUserInterface(std::move(user));
        session.SetCurrentScene(&scene);
        auto map = std::make_shared<ColorTex>();
        auto leaf = std::make_shared<StandardMtl>();
        leaf->SetReference(0, map);
        library->SetTexmap("veins", map);
        library->SetMaterial("leaf", leaf);
        before = SetLogSink([this](LogKind, const std::string& text) { log.push_back(text); });
    }
    ~MaterialLibrary() override { SetLogSink(before); }
    std::shared_ptr<Mtl> Load(const std::string& name) {
        return LoadMaterialFromLibrary(
            scene, "lib.max", name, "Pack",
            [this](const std::string&, std::string* why) {
                if (!library) *why = "no file";
                return library;
            },
            &error);
    }

    HostContext session;
    ScriptedUserInterface* ui;
    Scene scene;
    std::shared_ptr<Scene> library;
    LogSink before;
    std::vector<std::string> log;
    std::string error;
};

}  // namespace

TEST_F(MaterialLibrary, TakesACopyWithItsMaps) {
    auto leaf = std::dynamic_pointer_cast<StandardMtl>(Load("leaf"));
    ASSERT_TRUE(leaf) << error;
    EXPECT_EQ(scene.Materials().at("leaf"), leaf);
    EXPECT_NE(leaf, library->Materials().at("leaf"));
    ASSERT_TRUE(scene.Texmaps().contains("veins"));
    EXPECT_EQ(leaf->GetReference(0), scene.Texmaps().at("veins"));
    EXPECT_NE(leaf->GetReference(0), library->Texmaps().at("veins"));
}

TEST_F(MaterialLibrary, AMapOfTheSameNameIsAnother) {
    auto own = std::make_shared<ColorTex>();
    scene.SetTexmap("veins", own);
    ASSERT_TRUE(Load("leaf"));
    EXPECT_EQ(scene.Texmaps().at("veins"), own);
    EXPECT_EQ(Load("leaf")->GetReference(0), scene.Texmaps().at("veins 2"));
}

TEST_F(MaterialLibrary, TheScenesOwnMaterialOfTheNameIsUsed) {
    auto own = std::make_shared<StandardMtl>();
    scene.SetMaterial("leaf", own);
    EXPECT_EQ(Load("leaf"), own);
    EXPECT_TRUE(scene.Texmaps().empty());
}

TEST_F(MaterialLibrary, TellsWhatIsMissing) {
    EXPECT_EQ(Load("bark"), nullptr);
    EXPECT_EQ(error, "Material not found in library:\n\n(L) lib.max\n(M) bark");
    EXPECT_THAT(ui->listener, testing::ElementsAre(error));
    EXPECT_THAT(log, testing::ElementsAre("Pack: " + error));
    EXPECT_EQ(Load("veins"), nullptr);
    EXPECT_EQ(error, "Error loading material from library:\n(M) veins\n(L) lib.max");
    library = nullptr;
    EXPECT_EQ(Load("leaf"), nullptr);
    EXPECT_EQ(error, "Error loading material library:\n\nlib.max");
    EXPECT_THAT(log, testing::Contains("no file"));
    EXPECT_TRUE(scene.Materials().empty());
}

TEST(ReportError, NeedsNoSession) { ReportError("text", "caption"); }
