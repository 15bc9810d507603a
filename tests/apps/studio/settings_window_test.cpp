#include "apps/studio/windows/settings_window.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QSettings>
#include <QTabWidget>
#include <QTableView>

#include "Dravin/config/options.h"
#include "Dravin/dravin_globals.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/action_keys.h"
#include "host/base/log.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct Settings : StudioWindow {
    SettingsWindow* Opened() {
        window->Action("edit.settings")->trigger();
        Rest();
        auto* settings = static_cast<SettingsWindow*>(window->findChild<QWidget*>("Settings"));
        EXPECT_TRUE(settings && settings->isVisible());
        return settings;
    }
    template <class Control>
    Control* Find(SettingsWindow* settings, const char* name) {
        auto* control = settings->findChild<Control*>(name);
        EXPECT_TRUE(control) << name;
        return control;
    }
    ~Settings() override {
        std::remove(OptionsFile().c_str());
        QSettings().remove("keys");
    }
};

}  // namespace

TEST_F(Settings, AnOptionIsSavedAtOnceAndHolds) {
    OpenSmall();
    auto* ticks = Find<QCheckBox>(Opened(), "noPopups");
    EXPECT_FALSE(ticks->isChecked());
    ticks->click();
    Rest();
    EXPECT_EQ(LoadOptions(OptionsFile()).noPopups, 1);
    int now = 0;
    Session().Look([&](Scene&) { now = DravinGlobals().options.noPopups; });
    EXPECT_EQ(now, 1);
    Session().NewScene();  // a session of its own
    Rest();
    EXPECT_TRUE(ticks->isChecked());
}

TEST_F(Settings, EveryOptionHasAControlThatShowsIt) {
    SettingsWindow* settings = Opened();
    TOptions defaults;
    for (const TOptionName& option : OptionNames()) {
        auto* control = Find<QWidget>(settings, option.key);
        int shown = -1;
        if (auto* box = qobject_cast<QCheckBox*>(control)) shown = box->isChecked();
        if (auto* box = qobject_cast<QComboBox*>(control)) shown = box->currentIndex();
        if (auto* field = dynamic_cast<NumberField*>(control)) shown = int(field->Value());
        EXPECT_EQ(shown, defaults.*option.value) << option.key;
        EXPECT_FALSE(control->accessibleName().isEmpty()) << option.key;
        EXPECT_TRUE(control->toolTip().contains("Default: ")) << option.key;
    }
}

TEST_F(Settings, NumbersTakeExpressionsAndStayInRange) {
    auto* field = Find<NumberField>(Opened(), "vshadowPlaneOffset");
    auto enter = [&](const char* text) {
        field->setFocus();
        field->selectAll();
        hand::Type(field, text);
        hand::Key(field, Qt::Key_Return);
        Rest();
        return LoadOptions(OptionsFile()).vshadowPlaneOffset;
    };
    EXPECT_EQ(enter("2*3"), 6);
    EXPECT_EQ(enter("1e4"), 100);
    EXPECT_EQ(enter("no number"), 100);
}

TEST_F(Settings, WhatAllObjectsShareIsSetForThem) {
    OpenSmall();
    SettingsWindow* settings = Opened();
    auto* level = Find<QComboBox>(settings, "log_level");
    int before = GetLogLevel();
    level->setFocus();
    hand::Key(level, Qt::Key_End);
    Rest();
    EXPECT_EQ(GetLogLevel(), 2);
    SetLogLevel(before);
    auto* freeze = Find<QCheckBox>(settings, "freeze_all");
    freeze->click();
    bool isFrozen = false;
    Rest();
    Session().Look([&](Scene&) { isFrozen = DravinGlobals().freezeAll; });
    EXPECT_TRUE(isFrozen);
    freeze->click();
    Session().Run("update.freeze", "", {});  // by a command
    Rest();
    EXPECT_TRUE(freeze->isChecked());
}

TEST_F(Settings, KeysCanBeChangedAndAreKept) {
    ActionKeys keys(
        {{"view.frame", window->Action("view.frame")}, {"file.save", window->Action("file.save")}});
    ASSERT_EQ(keys.Rows()[1].name, "view.frame");
    QString error;
    ASSERT_TRUE(keys.Set(1, QKeySequence("Ctrl+Alt+K"), &error));
    EXPECT_EQ(window->Action("view.frame")->shortcut(), QKeySequence("Ctrl+Alt+K"));
    EXPECT_FALSE(keys.IsDefault(1));
    MainWindow other([] { return std::make_unique<ScriptedUserInterface>(); });
    EXPECT_EQ(other.Action("view.frame")->shortcut(), QKeySequence("Ctrl+Alt+K"));
    ASSERT_TRUE(keys.Reset(1, &error));
    EXPECT_EQ(window->Action("view.frame")->shortcut(), QKeySequence("Shift+F"));
    EXPECT_FALSE(QSettings().contains("keys/view.frame"));
}

TEST_F(Settings, KeysOfAnotherActionAreRefused) {
    ActionKeys keys(
        {{"view.frame", window->Action("view.frame")}, {"file.save", window->Action("file.save")}});
    QString error;
    EXPECT_FALSE(keys.Set(1, QKeySequence("Ctrl+S"), &error));
    EXPECT_TRUE(error.contains("Save")) << error.toStdString();
    EXPECT_EQ(window->Action("view.frame")->shortcut(), QKeySequence("Shift+F"));
    ASSERT_TRUE(keys.Set(0, {}, &error));
    ASSERT_TRUE(keys.Set(1, QKeySequence("Ctrl+S"), &error));
    EXPECT_FALSE(keys.Reset(0, &error));  // now its own are taken
}

TEST_F(Settings, TheTableOfKeysHasEveryAction) {
    SettingsWindow* settings = Opened();
    settings->findChild<QTabWidget*>()->setCurrentIndex(1);
    auto* table = Find<QTableView>(settings, "keys_rows");
    QStringList names;
    for (int row = 0; row < table->model()->rowCount(); ++row)
        names.append(table->model()->index(row, 2).data().toString());
    for (const char* name : {"file.open", "edit.undo", "window.lister", "edit.settings"})
        EXPECT_TRUE(names.contains(name)) << name;
    int row = int(names.indexOf("window.lister"));
    table->model()->setData(table->model()->index(row, 1),
                            QVariant::fromValue(QKeySequence("Ctrl+Alt+L")));
    EXPECT_EQ(window->Action("window.lister")->shortcut(), QKeySequence("Ctrl+Alt+L"));
}
