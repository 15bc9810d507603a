// Pictures of the window for people to look at, also those of the documentation.
#include <cmath>
#include <filesystem>
#include <set>

#include <QAction>
#include <QApplication>
#include <QTabWidget>

#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "apps/dravin/demo_scene.h"
#include "apps/studio/command_palette.h"
#include "apps/studio/theme.h"
#include "apps/studio/tools/view_tools.h"
#include "apps/studio/viewport/quad_view.h"
#include "apps/studio/windows/picture_compare.h"
#include "apps/studio/windows/recovery_dialog.h"
#include "apps/studio/windows/render_window.h"
#include "apps/studio/windows/studio_windows.h"
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

TEST_F(StudioPictures, TheBrushOnAPaintedArea) {
    OpenForest();
    window->resize(1440, 900);
    window->Panel().OpenRollout(kDistParams, false);
    window->Panel().OpenRollout(kAreaParams, true);
    Session().Run("scene.select", "", {{"nodes", ParamInput("Forest")}});
    Rest();
    window->Action("area.paint_brush")->trigger();
    Rest();
    PaintTool& brush = window->Tools().Brush();
    ASSERT_TRUE(brush.Target()) << window->LogText().toStdString();
    brush.brush.SetSize(brush.Target()->ground.Bounds().Width().x / 12);
    brush.onBrushChanged();
    ViewportWidget& view = window->Views().ActiveView();
    auto at = [&view](double x, double y) { return QPointF(view.width() * x, view.height() * y); };
    hand::Press(&view, at(0.3, 0.5));
    for (int i = 1; i <= 30; ++i)
        hand::Move(&view, at(0.3 + 0.4 * i / 30, 0.5 + 0.1 * std::sin(i / 4.0)));
    hand::Release(&view, at(0.7, 0.5));
    Rest();
    hand::Mouse(&view, QEvent::MouseMove, at(0.6, 0.6), Qt::NoButton);
    EXPECT_EQ(Session().UndoName(), "Paint Stroke");
    Write(window.get(), "studio-paint.png");
}

TEST_F(StudioPictures, PointsOfASpline) {
    OpenSmall();
    window->resize(1200, 800);
    Session().Do([](Scene& scene) {
        auto shape = std::make_shared<ShapeObject>();
        shape->shape = BezierShape{{{{{{-6, -4, 0}, {-2, 2, 0}, {2, -2, 0}},
                                      {{5, -5, 0}},
                                      {{6, 4, 0}, {2, -2, 0}, {-2, 2, 0}},
                                      {{-5, 5, 0}}},
                                     true}}};
        INode* node = scene.AddNode("path", shape);
        INode* const one[] = {node};
        scene.Select(one);
    });
    Rest();
    window->Action("points.edit")->trigger();
    Rest();
    window->Action("select.all")->trigger();
    window->Tools().SetGizmoTool(GizmoTool::kMove);
    window->Views().ActiveView().FrameAll();
    Write(window.get(), "studio-points.png");
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

TEST_F(StudioPictures, TheWindowsAround) {
    OpenForest();
    auto run = [this](const char* command, const char* target, TArguments arguments) {
        Session().Run(command, target, std::move(arguments));
        Rest();
    };
    run("node.clone", "Forest", {});
    run("param.set", "Forest", {{"name", "threshold"}, {"value", 20}});
    run("param.set", "Flowers", {{"name", "threshold"}, {"value", 20}});
    run("lister.hide", "", {{"objects", ParamInput(ParamInput::Array{ParamInput("Lawn")})}});
    Session().Undo();
    Session().Undo();
    EXPECT_EQ(NumSteps(), 2u);
    for (auto [action, name] : {std::pair("window.lister", "Lister"),
                                {"window.undo", "UndoList"},
                                {"edit.settings", "Settings"},
                                {"pack.tools", "Tools"}}) {
        window->Action(action)->trigger();
        Rest();
        ASSERT_TRUE(hand::Wait([&, name = name] { return window->findChild<QWidget*>(name); }));
        auto* opened = window->findChild<QWidget*>(name);
        if (name == std::string("Lister")) opened->resize(1200, 380);
        if (name == std::string("UndoList")) opened->resize(280, 180);
        Write(opened, std::string(name) + ".png");
    }
    auto* settings = window->findChild<QWidget*>("Settings");
    settings->findChild<QTabWidget*>()->setCurrentIndex(1);
    Write(settings, "Settings-keys.png");
}

TEST_F(StudioPictures, TheRecovery) {
    OpenForest();
    QDateTime now = QDateTime::currentDateTime();
    ViewportWidget& view = static_cast<QuadView*>(window->centralWidget())->ActiveView();
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    QImage picture = view.grab().toImage();
    SceneCopy newest{"/home/ana/valley/forest.autosave-2.json", now.addSecs(-180), 23};
    SceneCopy older{"/home/ana/valley/forest.autosave-1.json", now.addSecs(-420), 20};
    SceneCopy unsaved{"/home/ana/.local/state/dravin/studio/unsaved.autosave-1.json",
                      now.addDays(-2), 41};
    RecoveryDialog dialog(
        {{"1", "/home/ana/valley/forest.json", {newest, older}, picture.scaledToWidth(320), false},
         {"2", "", {unsaved}, {}, false}},
        {}, now, window.get());
    dialog.show();
    Write(&dialog, "recovery.png");
}

TEST_F(StudioPictures, TwoRendersCompared) {
    OpenForest();
    RenderWindow& render = window->Windows().OpenRender();
    render.resize(1000, 600);
    Session().Run("scene.render", "", {{"width", 640}, {"height", 360}, {"samples", 8}});
    Rest();
    render.Render();
    EXPECT_TRUE(hand::Wait([this] { return !Session().IsRendering(); }));
    Session().Run("scene.render", "", {{"exposure", 1.5}});
    Rest();
    render.Render();
    EXPECT_TRUE(hand::Wait([this] { return !Session().IsRendering(); }));
    ASSERT_EQ(render.History().rowCount(), 2) << window->LogText().toStdString();
    render.Select(1);
    render.CompareWithSelected();
    render.Select(0);
    Write(&render, "studio-render.png");
}
