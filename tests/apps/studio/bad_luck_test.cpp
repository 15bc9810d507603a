// What goes wrong around an artist: builds that break off, files that are none, screens that are
// gone, and texts of every kind in every field.
#include <filesystem>
#include <stdexcept>

#include <QAction>
#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QScreen>
#include <QSettings>
#include <QToolButton>

#include "Dravin/dravin.h"
#include "apps/studio/command_form.h"
#include "apps/studio/command_palette.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/code_edit.h"
#include "apps/studio/windows/effect_editor.h"
#include "apps/studio/windows/lister_window.h"
#include "tests/apps/studio/child_window.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct BadLuck : StudioWindow {
    // What a hand does that lets files go over the window; whether they were taken.
    bool Drop(const QList<QUrl>& urls) {
        QMimeData data;
        data.setUrls(urls);
        QPoint at = window->rect().center();
        QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, {});
        enter.ignore();
        QApplication::sendEvent(window.get(), &enter);
        if (!enter.isAccepted()) return false;
        QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &drop);
        QTest::qWait(1);
        Rest();
        return true;
    }
    QUrl File(const std::string& name) {
        return QUrl::fromLocalFile(QString::fromStdString(folder.File(name)));
    }
};

class TornMap : public Texmap {
public:
    bool isTorn = true;
    AColor EvalColor(const TexPoint&) const override {
        if (isTorn) throw std::runtime_error("the map is torn");
        return {1, 1, 1, 1};
    }
};

const QStringList kTexts = {
    "",
    " ",
    "-",
    "1e999",
    "-1e999",
    "nan",
    "inf",
    "99999999999999999999",
    "-99999999999999999999",
    "1/0",
    "((((((((",
    "1,,2;;3",
    "0x7fffffff",
    "'; drop",
    "%s%n%1",
    "<b>bold</b>",
    "../../../etc/passwd",
    QString(5000, '9'),
    QString(5000, '('),
    QString::fromUtf8("\xd8\xb9\xd8\xb1\xd8\xa8\xd9\x8a \xf0\x9f\x8c\xb2 e\xcc\x81"),
    QString(QChar(0xD800)),  // half a character
    QString::fromUtf8("a\0b", 3),
    "a\nb\tc\x7f",
};

}  // namespace

TEST_F(BadLuck, ABuildThatThrowsIsToldAndTheNextOneStands) {
    OpenSmall();
    int64_t items = Session().Reports()[0].numItems;
    auto map = std::make_shared<TornMap>();
    Session().Do([&](Scene& scene) {
        auto& object = dynamic_cast<TDravin&>(*scene.FindNode("meadow")->GetObjectRef());
        object.Block(kDistParams)
            .SetValue(distParams::kDistmap, 0, std::shared_ptr<ReferenceTarget>(map));
    });
    Rest();
    EXPECT_EQ(Session().Reports()[0].numItems, 0);
    EXPECT_NE(Session().Reports()[0].message.find("the map is torn"), std::string::npos);
    EXPECT_TRUE(window->LogText().contains("the map is torn"));
    map->isTorn = false;
    Session().Run("update.all", "", {});
    Rest();
    EXPECT_GT(Session().Reports()[0].numItems, items);
    EXPECT_EQ(Session().Reports()[0].message.find("torn"), std::string::npos);
}

TEST_F(BadLuck, AJobThatThrowsLeavesTheScene) {
    OpenSmall();
    RunGuarded("Job", [] { throw std::runtime_error("it broke"); });
    RunGuarded("Job", [] { throw std::bad_alloc(); });
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->LogText().contains("Job: it broke"));
    EXPECT_TRUE(window->LogText().contains("Job: out of memory"));
}

TEST_F(BadLuck, WhatIsNoSceneIsRefusedWhenItIsDropped) {
    OpenSmall();
    std::string path = Session().Path();
    folder.Write("notes.txt", "hello");
    EXPECT_FALSE(Drop({File("notes.txt")}));
    EXPECT_FALSE(Drop({File("")}));  // a folder
    EXPECT_FALSE(Drop({QUrl("https://example.org/scene.json")}));
    EXPECT_FALSE(Drop({}));
    EXPECT_FALSE(Drop({File("a.json"), File("b.json")})) << "one scene at a time";
    EXPECT_EQ(Session().Path(), path);
    EXPECT_TRUE(asked->messages.empty());
}

TEST_F(BadLuck, FilesThatLookLikeScenesAndAreNoneLeaveTheScene) {
    OpenSmall();
    std::string path = Session().Path();
    folder.Write("garbage.json", std::string("\x89PNG\r\n\0\0\x7f", 9));
    folder.Write("empty.json", "");
    folder.Write("garbage.max", std::string(4096, '\xff'));
    std::filesystem::create_directory(folder.File("folder.json"));
    size_t told = 0;
    for (const char* name :
         {"garbage.json", "empty.json", "garbage.max", "folder.json", "gone.json"}) {
        EXPECT_TRUE(Drop({File(name)})) << name;
        EXPECT_EQ(Session().Path(), path) << name;
        EXPECT_EQ(asked->messages.size(), ++told) << name;
    }
    Session().Look([](Scene& scene) { EXPECT_TRUE(scene.FindNode("meadow")); });
}

TEST_F(BadLuck, AWindowOfAScreenThatIsGoneOpensOnOneThatIsThere) {
    window->move(200, 100);
    window->close();
    // As a second screen to the right would have left it.
    window = std::make_unique<MainWindow>([] { return std::make_unique<ScriptedUserInterface>(); });
    window->setGeometry(50000, 30000, 1200, 800);
    QSettings().setValue("window/geometry", window->saveGeometry());
    window = std::make_unique<MainWindow>([] { return std::make_unique<ScriptedUserInterface>(); });
    window->show();
    QCoreApplication::processEvents();
    QRect seen = window->frameGeometry() & window->screen()->availableGeometry();
    EXPECT_GE(seen.width(), 100);
    EXPECT_GE(seen.height(), 100);
    QSettings().remove("window/geometry");
}

TEST_F(BadLuck, NumberFieldsTakeAnyText) {
    OpenSmall();
    for (const TRollout& rollout : DravinRollouts())
        window->Panel().OpenRollout(*rollout.table, true);
    Rest();
    std::string before = Saved("a.json");
    size_t numTried = 0;
    for (QLineEdit* edit : window->Panel().findChildren<QLineEdit*>()) {
        auto* field = dynamic_cast<NumberField*>(edit);
        if (!field || !field->isEnabled()) continue;
        ++numTried;
        for (const QString& text : kTexts) {
            field->setFocus();
            field->setText(text);
            hand::Key(field, Qt::Key_Return);
            hand::Key(field, Qt::Key_Escape);
        }
    }
    EXPECT_GT(numTried, 50u);
    Rest();
    while (NumSteps() > 0) Session().Undo();
    Rest();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(BadLuck, FormsOfAllCommandsTakeAnyText) {
    OpenSmall();
    for (const auto& [name, command] : Session().Commands().All()) {
        SCOPED_TRACE(name);
        CommandForm form(command, {}, window.get());
        for (const QString& text : kTexts) {
            for (QLineEdit* field : form.findChildren<QLineEdit*>()) field->setText(text);
            TArguments read;
            if (!form.Read(&read)) continue;
            for (const auto& [argument, value] : read) EXPECT_FALSE(argument.empty());
        }
    }
}

TEST_F(BadLuck, FiltersThePaletteAndTheEditorTakeAnyText) {
    OpenSmall();
    CommandPalette palette(window->PaletteEntries(), window.get());
    auto* words = palette.findChild<QLineEdit*>();
    window->Action("window.lister")->trigger();
    Rest();
    Session().Run("effect.add", "meadow", {{"name", "lean"}});
    Rest();
    window->Action("effects.editor")->trigger();
    Rest();
    EffectEditor* editor = Child<EffectEditor>(*window);
    ASSERT_TRUE(editor);
    editor->Button("values")->defaultAction()->setChecked(true);
    auto* lister = window->findChild<QWidget*>("Lister");
    ASSERT_TRUE(lister);
    for (const QString& text : kTexts) {
        words->setText(text);
        window->Panel().SetFilter(text);
        lister->findChild<QLineEdit*>()->setText(text);
        editor->Code().setPlainText(text);
        editor->Apply();
        Rest();
    }
    window->Panel().SetFilter("");
    while (NumSteps() > 0) Session().Undo();
    Rest();
    EXPECT_FALSE(Session().IsModified());
}

TEST_F(BadLuck, NamesMayBeAnythingAndComeBackFromTheFile) {
    OpenSmall();
    for (const QString& text : kTexts) {
        std::string name = text.toStdString();
        Session().Run("node.rename", "stone", {{"name", name}});
        Rest();
        if (Session().UndoName() != "Rename") continue;  // refused
        std::string saved = Saved("named.json");
        Session().Open(folder.File("named.json"));
        Rest();
        Session().Look([&](Scene& scene) { EXPECT_TRUE(scene.FindNode("meadow")) << name; });
        EXPECT_EQ(Saved("again.json"), saved) << name;
        OpenSmall();
    }
}
