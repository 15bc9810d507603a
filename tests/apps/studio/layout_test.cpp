// Nothing is cut off and nothing covered: in English, in longer languages, and with texts twice as
// large. The same program runs once more at a scale of 2 (see CMakeLists.txt).
#include <QAction>
#include <QFont>
#include <QLabel>
#include <QPushButton>

#include "apps/studio/command_form.h"
#include "apps/studio/command_palette.h"
#include "apps/studio/windows/curve_editor.h"
#include "apps/studio/windows/effect_editor.h"
#include "apps/studio/windows/render_window.h"
#include "apps/studio/windows/studio_windows.h"
#include "tests/apps/studio/child_window.h"
#include "tests/apps/studio/layout_check.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct LayoutTest : StudioWindow {
    void SetUp() override {
        OpenSmall();
        window->resize(1440, 900);
    }
    void Check(QWidget& shown, const char* what) {
        Rest();
        for (int i = 0; i < 5; ++i) QTest::qWait(10);
        std::vector<std::string> faults = LayoutFaults(shown);
        EXPECT_TRUE(faults.empty()) << what;
        for (const std::string& fault : faults) ADD_FAILURE() << what << ": " << fault;
    }
    // Every rollout by itself, so that all of them are seen.
    void CheckRollouts(bool isTranslated) {
        for (const TRollout& rollout : DravinRollouts()) {
            for (const TRollout& other : DravinRollouts())
                window->Panel().OpenRollout(*other.table, &other == &rollout);
            Rest();
            if (isTranslated) PretendTranslation(window->Panel());
            Check(window->Panel(), rollout.title.c_str());
        }
    }
    void CheckWindowsAround(bool isTranslated) {
        for (auto [action, name] : {std::pair("window.lister", "Lister"),
                                    {"window.undo", "UndoList"},
                                    {"edit.settings", "Settings"},
                                    {"window.render", "RenderWindow"},
                                    {"pack.tools", "Tools"}}) {
            window->Action(action)->trigger();
            Rest();
            QWidget* opened = nullptr;
            for (QWidget* each : window->findChildren<QWidget*>(name)) opened = each;
            if (name == std::string("RenderWindow")) opened = &window->Windows().OpenRender();
            ASSERT_TRUE(opened) << name;
            if (isTranslated) PretendTranslation(*opened);
            // Screens of tests are smaller than those of people.
            opened->resize(opened->size().expandedTo({900, 600}));
            Check(*opened, name);
            opened->close();
        }
    }
    void CheckEditors(bool isTranslated) {
        Session().Run("effect.add", "meadow", {{"name", "lean"}, {"program", "real a = 1;"}});
        Rest();
        window->Action("effects.editor")->trigger();
        Rest();
        Session().Run("curve.edit", "meadow", {{"curve", "spdenscurve"}});
        Rest();
        QWidget* editors[] = {Child<EffectEditor>(*window), Child<CurveEditor>(*window)};
        for (QWidget* editor : editors) {
            ASSERT_TRUE(editor);
            if (isTranslated) PretendTranslation(*editor);
            Check(*editor, editor->objectName().toUtf8());
            editor->close();
        }
    }
    // Of commands with many arguments.
    void CheckForms(bool isTranslated) {
        for (const char* name : {"param.set", "scene.render", "node.transform", "items.change"}) {
            CommandForm form(*Session().Commands().Find(name), {}, window.get());
            if (isTranslated) PretendTranslation(form);
            form.show();
            Check(form, name);
        }
        CommandPalette palette(window->PaletteEntries(), window.get());
        palette.show();
        Check(palette, "palette");
    }
    void CheckAll(bool isTranslated) {
        if (isTranslated) PretendTranslation(*window);
        Check(*window, "main window");
        CheckRollouts(isTranslated);
        CheckWindowsAround(isTranslated);
        CheckEditors(isTranslated);
        CheckForms(isTranslated);
    }
};

}  // namespace

// The check itself finds what is wrong.
TEST(LayoutCheck, FindsCutAndCoveredTexts) {
    QWidget window;
    auto* cut = new QLabel("a text that has no room", &window);
    cut->setGeometry(0, 0, 20, 20);
    auto* fits = new QPushButton("fits", &window);
    fits->setGeometry(0, 40, 200, 60);
    window.resize(300, 200);
    window.show();
    std::vector<std::string> faults = LayoutFaults(window);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_NE(faults[0].find("a text that has no room"), std::string::npos);
    PretendTranslation(window);
    EXPECT_GT(fits->text().size(), 4 * 1.4);
    EXPECT_FALSE(fits->text().contains("fits"));
}

TEST_F(LayoutTest, NothingIsCutOrCovered) { CheckAll(false); }

TEST_F(LayoutTest, NorInALongerLanguage) { CheckAll(true); }

TEST_F(LayoutTest, NorWithTextsTwiceAsLarge) {
    QFont before = QApplication::font(), large = before;
    if (large.pixelSize() > 0)
        large.setPixelSize(large.pixelSize() * 2);
    else
        large.setPointSizeF(large.pointSizeF() * 2);
    QApplication::setFont(large);
    window->resize(1920, 1200);
    CheckAll(false);
    QApplication::setFont(before);
}
