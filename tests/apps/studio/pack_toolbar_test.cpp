#include "apps/studio/windows/pack_toolbar.h"

#include <QAction>
#include <QPushButton>
#include <QToolBar>

#include "Dravin/config/settings.h"
#include "apps/studio/viewport/quad_view.h"
#include "host/scene/host_context.h"
#include "host/script/script_system.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct Pack : StudioWindow {
    // Runs the action, and clicks where the object shall be.
    void Make(const char* action, const char* tool) {
        window->Action(action)->trigger();
        EXPECT_TRUE(hand::Wait([&] { return window->Action(tool)->isChecked(); }));
        ViewportWidget& view = window->Views().ActiveView();
        QPointF below(view.width() / 2.0, view.height() * 0.8);
        hand::Press(&view, below);
        hand::Release(&view, below);
        Rest();
    }
    bool Has(const char* name) {
        bool isThere = false;
        Session().Look([&](Scene& scene) { isThere = scene.FindNode(name) != nullptr; });
        return isThere;
    }
};

}  // namespace

TEST_F(Pack, ItsButtonsStandInABarOfTheirOwn) {
    auto* bar = window->findChild<QToolBar*>("dravinpack_toolbar");
    ASSERT_TRUE(bar);
    EXPECT_EQ(bar->windowTitle(), "Dravin Pack");
    EXPECT_EQ(bar->actions().size(), 3);
    PackToolbar again(Session(), *window, {[](const std::string&) {}, [] {}});
    EXPECT_TRUE(again.Show({}));
    EXPECT_FALSE(again.Show({}));
}

TEST_F(Pack, CreatesObjectsThatUndoTakesBack) {
    OpenSmall();
    Make("pack.create", "create.scatter");
    EXPECT_TRUE(Has("Dravin001") || Has("Dravin"));
    Make("pack.lod", "create.lod");
    EXPECT_TRUE(Has("LOD001") || Has("LOD"));
    EXPECT_EQ(NumSteps(), 2u);
    Session().Undo();
    Session().Undo();
    Rest();
    EXPECT_FALSE(Has("Dravin001") || Has("Dravin") || Has("LOD001") || Has("LOD"));
}

TEST_F(Pack, OpensTheToolsAsScriptsDo) {
    OpenSmall();
    Session().Look([](Scene&) {
        ScriptSystem& scripts = HostContext::Current()->State<ScriptSystem>();
        EXPECT_FALSE(scripts.Execute("UtilityPanel.OpenUtility Dravin_Tools").IsError());
        EXPECT_TRUE(scripts.Execute("startObjectCreation Sphere").IsError());
    });
    EXPECT_TRUE(hand::Wait([this] {
        auto* tools = window->findChild<QWidget*>("Tools");
        return tools && tools->isVisible();
    }));
}

TEST_F(Pack, AToolWorksOnWhatIsSelected) {
    OpenSmall();
    window->Action("pack.tools")->trigger();
    ASSERT_TRUE(hand::Wait([this] { return window->findChild<QWidget*>("Tools"); }));
    auto* instantiate = window->findChild<QPushButton*>("tools.instantiate");
    ASSERT_TRUE(instantiate);
    instantiate->click();
    Rest();
    EXPECT_FALSE(asked->messages.empty());  // nothing is selected
    size_t before = 0, after = 0;
    Session().Run("lister.select", "",
                  {{"objects", ParamInput(ParamInput::Array{ParamInput("meadow")})}});
    Rest();
    Session().Look([&](Scene& scene) { before = scene.Nodes().size(); });
    asked->answers = {Answer::kYes, Answer::kYes};
    instantiate->click();
    Rest();
    Session().Look([&](Scene& scene) { after = scene.Nodes().size(); });
    EXPECT_GT(after, before);
    Session().Undo();
    Rest();
    Session().Look([&](Scene& scene) { after = scene.Nodes().size(); });
    EXPECT_EQ(after, before);
}

// The machine's settings, which the toolbar's own tests cover, reach the window too.
TEST_F(Pack, AMachineThatWantsNoToolbarsHasNone) {
    TempFolder machine;
    std::filesystem::create_directories(machine.File("dravin"));
    machine.Write("dravin/settings.ini", "[Tavu Software]\nDisableToolbars=1\n");
    QByteArray before = qgetenv("XDG_CONFIG_DIRS");
    qputenv("XDG_CONFIG_DIRS", QByteArray::fromStdString(machine.File("")));
    MainWindow other([] { return std::make_unique<ScriptedUserInterface>(); });
    EXPECT_FALSE(other.findChild<QToolBar*>("dravinpack_toolbar"));
    before.isNull() ? qunsetenv("XDG_CONFIG_DIRS") : qputenv("XDG_CONFIG_DIRS", before);
}
