// Pictures of the windows of effects and curves, also those of the documentation.
#include <filesystem>
#include <set>

#include <QAction>
#include <QListView>
#include <QToolButton>

#include "Dravin/panels/curve_shape.h"
#include "apps/studio/windows/code_edit.h"
#include "apps/studio/windows/curve_editor.h"
#include "apps/studio/windows/curve_view.h"
#include "apps/studio/windows/effect_browser.h"
#include "apps/studio/windows/effect_editor.h"
#include "tests/apps/studio/child_window.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct StudioEffectPictures : StudioWindow {
    void Write(QWidget* widget, const char* name) {
        Rest();
        for (int i = 0; i < 10; ++i) QTest::qWait(20);
        QImage image = widget->grab().toImage();
        std::set<QRgb> colors;
        for (int i = 0; i < image.width() * image.height(); i += 7)
            colors.insert(image.pixel(i % image.width(), i / image.width()));
        EXPECT_GT(colors.size(), 10u);
        std::filesystem::path folder =
            std::filesystem::path(DRAVIN_BINARY_DIR) / "tests/apps/studio/pictures";
        std::filesystem::create_directories(folder);
        EXPECT_TRUE(image.save(QString::fromStdString((folder / name).string())));
    }
    void Run(const char* command, TArguments arguments) {
        Session().Run(command, "meadow", std::move(arguments));
        Rest();
    }
};

}  // namespace

TEST_F(StudioEffectPictures, TheEditor) {
    OpenSmall();
    Run("effect.add", {{"library", "wind_lean"}});
    Run("effect.edit", {});
    EffectEditor& editor = *Child<EffectEditor>(*window);
    editor.resize(1100, 640);
    editor.Button("values")->defaultAction()->setChecked(true);
    Write(&editor, "studio-effects.png");
    editor.Button("live")->defaultAction()->setChecked(false);
    editor.Code().setPlainText(
        "# Half of them lean.\nreal half = lean / 2;\ndpItem.rotation.x = "
        "degToRad(hlaf);\ndpItem.sc");
    editor.Button("error")->defaultAction()->trigger();
    Write(&editor, "effects-error.png");
}

TEST_F(StudioEffectPictures, TheLibrary) {
    OpenSmall();
    Run("effect.add", {{"name", "bend"}});
    Run("effect.browse", {});
    EffectBrowser& browser = *Child<EffectBrowser>(*window);
    browser.resize(1100, 640);
    browser.List().setCurrentIndex(browser.List().model()->index(10, 0));
    Write(&browser, "studio-effect-library.png");
}

TEST_F(StudioEffectPictures, TheCurve) {
    OpenSmall();
    Run("curve.edit", {{"curve", "spdenscurve"}});
    CurveEditor& editor = *Child<CurveEditor>(*window);
    editor.View().Change(ScaledCurve(CurvePresets()[5].points, 100));
    Rest();
    editor.View().Select({1});
    Write(&editor, "studio-curve.png");
}
