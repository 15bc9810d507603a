// The effects editor, its library and the parameters, with keys and mouse as a hand would give
// them.

#include <QAction>
#include <QComboBox>
#include <QCompleter>
#include <QListView>
#include <QPushButton>
#include <QSettings>
#include <QToolButton>

#include "Dravin/commands/effect_session.h"
#include "Dravin/dravin.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/code_edit.h"
#include "apps/studio/windows/effect_browser.h"
#include "apps/studio/windows/effect_editor.h"
#include "apps/studio/windows/effect_parameter_panel.h"
#include "tests/apps/studio/child_window.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

struct StudioEffects : StudioWindow {
    StudioEffects() { OpenSmall(); }
    void SetUp() override {
        QSettings().setValue("effects/live", false);
        QSettings().setValue("effects/values", false);
        Run("effect.add", {{"name", "lean"}, {"program", "dpItem.scale.x = 2;"}});
    }
    void Run(const char* command, TArguments arguments) {
        Session().Run(command, "meadow", std::move(arguments));
        Rest();
    }
    EffectEditor& Open() {
        window->Action("effects.editor")->trigger();
        Rest();
        return *Child<EffectEditor>(*window);
    }
    std::string Program() {
        std::string program;
        Rest();
        Session().Look([&](Scene& scene) {
            program = EffectCommandsOf(*Session().Panel(scene).Scatter()).Program(0);
        });
        return program;
    }
    double Parameter(const char* name) {
        double value = 0;
        Rest();
        Session().Look([&](Scene& scene) {
            TEffectCommands& effects = EffectCommandsOf(*Session().Panel(scene).Scatter());
            value =
                effects.Parameters().Number(effects.Parameters().FindName(effects.IdOf(0), name));
        });
        return value;
    }
    void Type(EffectEditor& editor, const char* text) {
        editor.Code().setFocus();
        editor.Code().selectAll();
        for (const QString& line : QString(text).split('\n')) {
            if (!editor.Code().textCursor().hasSelection())
                hand::Key(&editor.Code(), Qt::Key_Return);
            hand::Type(&editor.Code(), line.toUtf8().constData());
        }
    }
};

}  // namespace

TEST_F(StudioEffects, TheEditorOpensOnTheEffectAndCloses) {
    EffectEditor& editor = Open();
    EXPECT_TRUE(editor.isVisible());
    EXPECT_EQ(editor.Code().toPlainText(), "dpItem.scale.x = 2;");
    window->Action("effects.editor")->trigger();
    Rest();
    EXPECT_FALSE(editor.isVisible());
    Open();
    editor.close();
    Rest();
    // The list may be changed again: the effect is open no more.
    asked->messages.clear();
    Run("effect.add", {});
    EXPECT_TRUE(asked->messages.empty());
}

TEST_F(StudioEffects, TheLibraryStaysClosedWhileTheEditorIsOpen) {
    Open();
    window->Action("effects.library")->trigger();
    Rest();
    EXPECT_EQ(Child<EffectBrowser>(*window), nullptr);
    ASSERT_EQ(asked->messages.size(), 1u);
    EXPECT_EQ(asked->messages[0].text,
              "Effects Editor is open. Please close it before open the Library Browser");
}

TEST_F(StudioEffects, ControlReturnAppliesAsOneStep) {
    EffectEditor& editor = Open();
    size_t steps = NumSteps();
    Type(editor, "dpItem.scale.y = 3;");
    EXPECT_EQ(Program(), "dpItem.scale.x = 2;");
    editor.Button("apply")->defaultAction()->trigger();
    EXPECT_EQ(Program(), "dpItem.scale.y = 3;");
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_EQ(Session().UndoName(), "Edit Effect");
    Session().Undo();
    Rest();
    EXPECT_EQ(Program(), "dpItem.scale.x = 2;");
    EXPECT_EQ(editor.Code().toPlainText(), "dpItem.scale.x = 2;");  // undo reaches the window
}

TEST_F(StudioEffects, AWrongProgramIsUnderlinedAndTheLastGoodOneStays) {
    EffectEditor& editor = Open();
    Type(editor, "real a = 1;\ndpItem.scale.y = b;");
    editor.Button("apply")->defaultAction()->trigger();
    EXPECT_EQ(Program(), "dpItem.scale.x = 2;");
    ASSERT_TRUE(editor.Fault());
    EXPECT_EQ(editor.Fault()->line, 2);
    EXPECT_TRUE(editor.StatusText().startsWith("Line 2: ")) << editor.StatusText().toStdString();
    bool isUnderlined = false;
    for (const QTextEdit::ExtraSelection& mark : editor.Code().extraSelections())
        isUnderlined |= mark.format.underlineStyle() == QTextCharFormat::WaveUnderline &&
                        mark.cursor.selectedText() == "b";
    EXPECT_TRUE(isUnderlined);
}

TEST_F(StudioEffects, NextErrorGoesThere) {
    EffectEditor& editor = Open();
    Type(editor, "real a = 1;\ndpItem.scale.y = b;\n");
    editor.Button("error")->defaultAction()->trigger();
    EXPECT_EQ(editor.Code().textCursor().blockNumber(), 1);
    EXPECT_EQ(editor.Code().textCursor().positionInBlock(), 17);
}

TEST_F(StudioEffects, LiveTypingIsOneStep) {
    EffectEditor& editor = Open();
    editor.Button("live")->defaultAction()->setChecked(true);
    size_t steps = NumSteps();
    Type(editor, "dpItem.scale.y = 3;");
    EXPECT_TRUE(hand::Wait([&] { return Program() == "dpItem.scale.y = 3;"; }));
    Type(editor, "dpItem.scale.y = 45;");
    EXPECT_TRUE(hand::Wait([&] { return Program() == "dpItem.scale.y = 45;"; }));
    EXPECT_EQ(NumSteps(), steps + 1);
    Session().Undo();
    Rest();
    EXPECT_EQ(Program(), "dpItem.scale.x = 2;");
}

TEST_F(StudioEffects, AWrongTextIsKeptWhileTheWindowIsClosed) {
    EffectEditor& editor = Open();
    Type(editor, "dpItem.scale.y = b;");
    editor.close();
    Rest();
    Open();
    EXPECT_EQ(editor.Code().toPlainText(), "dpItem.scale.y = b;");
    EXPECT_EQ(Program(), "dpItem.scale.x = 2;");
}

TEST_F(StudioEffects, CompletionOffersAttributesBehindTheItem) {
    EffectEditor& editor = Open();
    Type(editor, "dpItem.surfs");
    QCompleter* completer = editor.Code().Completer();
    EXPECT_EQ(completer->currentCompletion(), "surfSlope");
    hand::Key(&editor.Code(), Qt::Key_Return);  // the popup's, in a window of its own
    Type(editor, "rando");
    editor.Code().Complete(true);
    ASSERT_EQ(completer->completionCount(), 3);  // dpRandomGeom, too
    EXPECT_EQ(completer->currentCompletion(), "randomReal");
}

TEST_F(StudioEffects, WordsHaveHelp) {
    EffectEditor& editor = Open();
    Type(editor, "dpItem.surfSlope");
    EXPECT_TRUE(editor.Code().HelpAtCursor().contains("radians"));
    Type(editor, "real a = randomReal(1, max(2, 3), ");
    EXPECT_TRUE(editor.Code().CallAtCursor().contains("randomReal(real, real)"));
}

TEST_F(StudioEffects, CommentsGoOnAndOff) {
    EffectEditor& editor = Open();
    editor.Code().setPlainText("int a;\nint b;");
    editor.Code().selectAll();
    hand::Key(&editor.Code(), Qt::Key_Slash, Qt::ControlModifier);
    EXPECT_EQ(editor.Code().toPlainText(), "# int a;\n# int b;");
    editor.Code().selectAll();
    editor.Code().ToggleComment();
    EXPECT_EQ(editor.Code().toPlainText(), "int a;\nint b;");
}

TEST_F(StudioEffects, TextIsFoundAndReplacedRoundTheEnd) {
    EffectEditor& editor = Open();
    editor.Code().setPlainText("aa b aa");
    EXPECT_TRUE(editor.Code().Find("b"));
    EXPECT_TRUE(editor.Code().Find("aa"));
    EXPECT_EQ(editor.Code().textCursor().selectionStart(), 5);
    EXPECT_TRUE(editor.Code().Find("aa"));
    EXPECT_EQ(editor.Code().textCursor().selectionStart(), 0);
    editor.Code().Replace("aa", "c");
    EXPECT_EQ(editor.Code().toPlainText(), "c b aa");
    EXPECT_FALSE(editor.Code().Find("zz"));
}

TEST_F(StudioEffects, ParametersAreFields) {
    Run("effect.parameter.add", {{"name", "amount"}});
    EffectEditor& editor = Open();
    auto* field = dynamic_cast<NumberField*>(editor.Parameters().FieldOf("amount"));
    ASSERT_TRUE(field);
    size_t steps = NumSteps();
    QPointF arrows(field->width() - 5.0, 6);
    hand::Press(field, arrows);
    for (int i = 1; i <= 20; ++i) hand::Move(field, arrows - QPointF(0, 2 * i));
    hand::Release(field, arrows - QPointF(0, 40));
    EXPECT_GT(Parameter("amount"), 0);
    EXPECT_EQ(NumSteps(), steps + 1);
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "2*3");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(Parameter("amount"), 6);
    Type(editor, "dpItem.scale.x = amount;");
    editor.Apply();
    EXPECT_FALSE(editor.Fault());
}

TEST_F(StudioEffects, AShippedEffectIsLoaded) {
    window->Action("effects.library")->trigger();
    Rest();
    EffectBrowser* browser = Child<EffectBrowser>(*window);
    ASSERT_TRUE(browser);
    EXPECT_FALSE(browser->Button("load")->isEnabled());
    QAbstractItemModel* model = browser->List().model();
    ASSERT_EQ(model->rowCount(), 33);
    for (int i = 0; i < model->rowCount(); ++i)
        if (model->index(i, 0).data() == "random hide")
            browser->List().setCurrentIndex(model->index(i, 0));
    size_t steps = NumSteps();
    QTest::mouseClick(browser->Button("load"), Qt::LeftButton);
    Rest();
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_NE(Program().find("percent"), std::string::npos);
    EXPECT_FALSE(browser->Button("delete")->isEnabled());
    browser->close();
    Rest();
    EXPECT_FALSE(browser->isVisible());
}

TEST_F(StudioEffects, OwnEffectsAreSavedRenamedAndDeletedInFolders) {
    QByteArray documents = qgetenv("XDG_DOCUMENTS_DIR"), data = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DOCUMENTS_DIR", QByteArray::fromStdString(folder.File("documents")));
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString(folder.File("data")));
    window->Action("effects.library")->trigger();
    Rest();
    EffectBrowser& browser = *Child<EffectBrowser>(*window);
    QAbstractItemModel* model = browser.List().model();
    auto press = [&](const char* button, const char* answer) {
        asked->texts = {answer};
        QTest::mouseClick(browser.Button(button), Qt::LeftButton);
        Rest();
    };
    browser.SetLibrary(1);
    press("folder", "slopes");
    browser.OpenFolder("slopes");
    press("save", "half");
    ASSERT_EQ(model->rowCount(), 2);  // and the way up
    browser.List().setCurrentIndex(model->index(1, 0));
    press("rename", "whole");
    EXPECT_EQ(model->index(1, 0).data(), "whole");
    browser.List().setCurrentIndex(model->index(1, 0));
    asked->answers = {Answer::kNo};
    press("delete", "");
    EXPECT_EQ(model->rowCount(), 2);
    asked->answers = {Answer::kYes};
    press("delete", "");
    EXPECT_EQ(model->rowCount(), 1);
    for (auto [name, value] : {std::pair("XDG_DOCUMENTS_DIR", documents), {"XDG_DATA_HOME", data}})
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
}

// --- values of an item that is picked in a view

namespace {

struct PickedItem : ItemTools {
    EffectEditor* editor = nullptr;

    void SetUp() override {
        QSettings().setValue("effects/live", false);
        QSettings().setValue("effects/values", false);
        OpenItems(false);
        Session().Run("effect.add", "meadow",
                      {{"name", "lean"}, {"program", "real x = dpItem.position.x;"}});
        Rest();
        window->Action("effects.editor")->trigger();
        Rest();
        editor = Child<EffectEditor>(*window);
        ASSERT_TRUE(editor);
    }
    void Pick(const Point3& place) {
        editor->Button("pick")->defaultAction()->setChecked(true);
        Click(place + Point3{0, 0, 1});
    }
    // The number behind the last line; none while there is none.
    std::optional<double> Shown() {
        if (editor->Code().Values().empty()) return std::nullopt;
        QString text = QString::fromStdString(editor->Code().Values().back().text);
        return text.section(' ', -1).toDouble();
    }
    bool Shows(double number) {
        return hand::Wait([&] { return Shown() && std::abs(*Shown() - number) < 1e-3; });
    }
};

}  // namespace

TEST_F(PickedItem, ItsValuesAreShownAndFollowTheTextAndTheScene) {
    std::vector<Point3> built = Built();
    Point3 place = built[Near()];
    std::vector<std::string> selected = Selected();
    size_t steps = NumSteps();
    Pick(place);
    ASSERT_TRUE(editor->PickedItem()) << window->LogText().toStdString();
    EXPECT_TRUE(Shows(place.x)) << Shown().value_or(-1e9);
    EXPECT_EQ(Selected(), selected) << "a pick of values selects nothing";
    EXPECT_EQ(NumSteps(), steps);
    editor->Code().setPlainText("real y = dpItem.position.y * 3;");
    EXPECT_TRUE(Shows(place.y * 3)) << Shown().value_or(-1e9);
    // Of another item.
    std::sort(built.begin(), built.end(),
              [](const Point3& a, const Point3& b) { return Length(a) < Length(b); });
    Point3 other = built[1];
    editor->Button("pick")->defaultAction()->setChecked(false);
    EXPECT_TRUE(Shows(0)) << "a fresh one";
    Pick(other);
    EXPECT_TRUE(Shows(other.y * 3)) << Shown().value_or(-1e9);
    // The next click selects again.
    EXPECT_FALSE(window->Action("items.pin")->isChecked());
    Click({9.5f, 9.5f, 0});
    EXPECT_TRUE(editor->PickedItem());
}

TEST_F(PickedItem, AnItemThatGoesIsTold) {
    Pick(Built()[Near()]);
    ASSERT_TRUE(editor->PickedItem());
    ASSERT_TRUE(hand::Wait([this] { return Shown().has_value(); }));
    Session().Run("param.set", "meadow", {{"name", "disabled"}, {"value", true}});
    Rest();
    EXPECT_TRUE(hand::Wait([this] { return editor->StatusText().contains("no more"); }));
    EXPECT_FALSE(Shown());
    Session().Run("param.set", "meadow", {{"name", "disabled"}, {"value", false}});
    Rest();
    EXPECT_TRUE(hand::Wait([this] { return Shown().has_value(); })) << "it is there again";
    Session().NewScene();
    Rest();
    EXPECT_FALSE(editor->PickedItem());
    EXPECT_FALSE(editor->isVisible());
}
