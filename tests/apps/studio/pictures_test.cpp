// Pictures of the window for people to look at, also those of the documentation.
#include <filesystem>
#include <set>

#include <QAction>
#include <QApplication>

#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "apps/dravin/demo_scene.h"
#include "apps/studio/command_palette.h"
#include "apps/studio/theme.h"
#include "apps/studio/tools/view_tools.h"
#include "tests/apps/studio/studio_window.h"

namespace {

std::string PictureFile(const std::string& name) {
    std::filesystem::path folder =
        std::filesystem::path(DRAVIN_BINARY_DIR) / "tests/apps/studio/pictures";
    std::filesystem::create_directories(folder);
    return (folder / name).string();
}

struct StudioPictures : StudioWindow {
    // The picture that is written has the size of what it shows, and more than one colour.
    void Write(QWidget* widget, const std::string& name) {
        Rest();
        for (int i = 0; i < 20; ++i) QTest::qWait(20);  // the view's picture, tooltips, focus
        QImage image = widget->grab().toImage();
        EXPECT_EQ(image.size(), widget->size() * widget->devicePixelRatioF());
        std::set<QRgb> colors;
        for (int i = 0; i < image.width() * image.height(); i += 7)
            colors.insert(image.pixel(i % image.width(), i / image.width()));
        EXPECT_GT(colors.size(), 10u);
        EXPECT_TRUE(image.save(QString::fromStdString(PictureFile(name))));
    }
    // The demo with fewer items.
    void OpenForest() {
        std::string error;
        DemoOptions options{std::string(DRAVIN_SOURCE_DIR) + "/data", 20000};
        ASSERT_TRUE(WriteDemoScene(folder.File("demo"), options, &error)) << error;
        window->OpenDemo(folder.File("demo"));
        Rest();
        ASSERT_FALSE(Session().Path().empty()) << window->LogText().toStdString();
    }
};

}  // namespace

TEST_F(StudioPictures, TheWindowOnTheDemo) {
    OpenForest();
    window->resize(1440, 900);
    window->Panel().OpenRollout(kDistParams, true);
    Write(window.get(), "studio.png");
    window->Panel().OpenRollout(kGeomParams, false);
    window->Panel().OpenRollout(kDistParams, false);
    window->Panel().OpenRollout(kSurfaceParams, true);
    window->Panel().OpenRollout(kMatParams, true);
    window->Action("view.theme")->trigger();
    Write(window.get(), "studio-light.png");
    window->Action("view.theme")->trigger();
}

TEST_F(StudioPictures, ToolsOnHandEditedItems) {
    OpenForest();
    window->resize(1440, 900);
    window->Panel().OpenRollout(kDistParams, true);
    Session().Do([](Scene& scene) {
        for (INode* node : scene.Nodes())
            if (dynamic_cast<TDravin*>(node->GetObjectRef())) {
                INode* const one[] = {node};
                return scene.Select(one);
            }
    });
    Rest();
    asked->answers = {Answer::kYes};
    window->Action("items.edit")->trigger();
    Rest();
    window->Tools().SetGizmoTool(GizmoTool::kMove);
    Session().Do([](Scene& scene) {
        INode* node = scene.Selection().at(0);
        auto& object = dynamic_cast<TDravin&>(*node->GetObjectRef());
        TItemCommands(scene, *node, object).Select({40, 41, 42, 43, 44, 45}, true);
    });
    Rest();
    QTest::qWait(300);
    window->Views().ActiveView().FrameSelection();
    Write(window.get(), "studio-tools.png");
}

TEST_F(StudioPictures, ThePalette) {
    OpenSmall();
    CommandPalette palette(window->PaletteEntries(), window.get());
    palette.show();
    hand::Type(palette.findChild<QLineEdit*>(), "density");
    Write(&palette, "palette.png");
}

TEST_F(StudioPictures, EveryRollout) {
    OpenSmall();
    window->resize(1440, 1600);
    for (const TRollout& rollout : DravinRollouts()) {
        for (const TRollout& other : DravinRollouts())
            window->Panel().OpenRollout(other.block, &other == &rollout);
        Write(&window->Panel(), "rollout-" + DravinBlocks()[size_t(rollout.block)].name + ".png");
    }
}
