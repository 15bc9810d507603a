#include "Dravin/tools/toolbar.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "host/scene/host_context.h"
#include "host/script/script_system.h"
#include "tests/temp_folder.h"

namespace {

class Toolbar : public testing::Test {
protected:
    HostContext session;
    TempFolder machine;
    TDToolbar toolbar;
    std::string oldDirs = std::getenv("XDG_CONFIG_DIRS") ? std::getenv("XDG_CONFIG_DIRS") : "";

    void TearDown() override {
        oldDirs.empty() ? unsetenv("XDG_CONFIG_DIRS")
                        : setenv("XDG_CONFIG_DIRS", oldDirs.c_str(), 1);
    }
    void SetDisabled(const std::string& value) {
        std::filesystem::create_directories(machine.File("dravin"));
        machine.Write("dravin/settings.ini", "[Tavu Software]\nDisableToolbars=" + value + "\n");
        setenv("XDG_CONFIG_DIRS", machine.File("").c_str(), 1);
    }
};

TEST_F(Toolbar, StartingTwiceMakesOne) {
    int numShown = 0;
    Connection heard = toolbar.shown.Connect([&](bool isShown) { numShown += isShown; });
    EXPECT_TRUE(toolbar.Create());
    EXPECT_FALSE(toolbar.Create());
    EXPECT_EQ(numShown, 1);
    toolbar.Destroy();
    EXPECT_FALSE(toolbar.IsShown());
    EXPECT_TRUE(toolbar.Create());
}

TEST_F(Toolbar, TheMachineMayForbidIt) {
    SetDisabled("1");
    EXPECT_FALSE(toolbar.Create());
    EXPECT_FALSE(toolbar.IsShown());
    SetDisabled("0");
    EXPECT_TRUE(toolbar.Create());
}

TEST_F(Toolbar, ButtonsRunTheirCommands) {
    std::vector<std::string> run;
    auto& scripts = session.State<ScriptSystem>();
    scripts.Register("startObjectCreation %s", [&](const ScriptArguments& a) {
        run.push_back(a.Text(0));
        return ScriptResult{};
    });
    EXPECT_TRUE(toolbar.Execute(TDToolbar::kCreateDravin));
    EXPECT_TRUE(toolbar.Execute(TDToolbar::kCreateLod));
    EXPECT_EQ(run, (std::vector<std::string>{"Dravin_Pro", "DravinLOD"}));
    EXPECT_FALSE(toolbar.Execute(TDToolbar::kOpenTools));  // nothing opens it here
    scripts.Register("UtilityPanel.OpenUtility Dravin_Tools",
                     [](const ScriptArguments&) { return ScriptResult{}; });
    EXPECT_TRUE(toolbar.Execute(TDToolbar::kOpenTools));
}

TEST_F(Toolbar, TheLibraryIsOpenedByWhoListens) {
    int numWanted = 0;
    Connection heard = toolbar.libraryWanted.Connect([&] { ++numWanted; });
    EXPECT_TRUE(toolbar.Execute(TDToolbar::kOpenLibrary));
    EXPECT_EQ(numWanted, 1);
    for (int action : {-1, TDToolbar::kNumButtons}) EXPECT_FALSE(toolbar.Execute(action));
}

}  // namespace
