#include "apps/studio/windows/render_window.h"

#include <QListView>
#include <QPointer>
#include <QPushButton>

#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/viewport/quad_view.h"
#include "apps/studio/windows/picture_compare.h"
#include "apps/studio/windows/studio_windows.h"
#include "host/render/render_outcome.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct RenderWindowTest : StudioWindow {
    RenderWindowTest() : shown(window->Windows().OpenRender()) {}
    void OpenTiny() {
        OpenSmall();
        Session().Run("scene.render", "", {{"width", 32}, {"height", 24}, {"samples", 1}});
        Rest();
    }
    void RestRender() {
        EXPECT_TRUE(hand::Wait([this] { return !Session().IsRendering(); }));
        Rest();
    }
    void Render() {
        int before = shown.History().rowCount();
        shown.Render();
        RestRender();
        ASSERT_EQ(shown.History().rowCount(), before + 1) << window->LogText().toStdString();
    }
    // A render that lasts until it is cancelled.
    void BeginLongRender() {
        OpenTiny();
        Session().Run("scene.render", "", {{"width", 640}, {"height", 480}, {"samples", 65536}});
        Rest();
        shown.Render();
        Rest();
        ASSERT_TRUE(Session().IsRendering()) << window->LogText().toStdString();
        ASSERT_TRUE(hand::Wait([this] { return Session().Activity() == "Rendering"; }));
    }
    RenderWindow& shown;
};

}  // namespace

TEST_F(RenderWindowTest, RendersWithTheSettingsOfTheScene) {
    OpenTiny();
    Render();
    auto first = shown.History().At(0);
    EXPECT_EQ(first->picture.width, 32);
    EXPECT_EQ(first->image.size(), QSize(32, 24));
    EXPECT_EQ(NumSteps(), 1u) << "a picture is no step";
    auto* width = shown.findChild<NumberField*>("width");
    width->setFocus();
    width->selectAll();
    hand::Type(width, "16");
    hand::Key(width, Qt::Key_Return);
    Rest();
    EXPECT_EQ(NumSteps(), 2u);
    Render();
    EXPECT_EQ(shown.History().At(0)->picture.width, 16);
    EXPECT_EQ(shown.History().At(1), first) << "newest first";
    EXPECT_NE(shown.History().At(0)->name, first->name);
    // The views are built for views again.
    EXPECT_GT(Session().Reports()[0].numItems, 0);
}

TEST_F(RenderWindowTest, ComparesTwoPictures) {
    OpenTiny();
    Render();
    Session().Run("scene.render", "", {{"exposure", 2.0}});
    Rest();
    Render();
    EXPECT_FALSE(shown.Shown().IsComparing());
    shown.Select(1);
    shown.CompareWithSelected();
    shown.Select(0);
    PictureCompare& both = shown.Shown();
    ASSERT_TRUE(both.IsComparing());
    QRectF place = both.PictureRect();
    hand::Press(&both, {place.left() + place.width() / 4, place.center().y()});
    hand::Release(&both, {place.left() + place.width() / 4, place.center().y()});
    EXPECT_NEAR(both.Split(), 0.25, 0.02);
    // A left of the line, B right of it.
    QImage picture = both.grab().toImage();
    auto at = [&](double share) {
        return picture.pixelColor(
            (QPointF(place.left() + place.width() * share, place.bottom() - 3) *
             picture.devicePixelRatio())
                .toPoint());
    };
    auto pixel = [&](int row, double share) {
        const QImage& image = shown.History().At(row)->image;
        return image.pixelColor(int(share * image.width()), image.height() - 2);
    };
    auto differ = [](const QColor& a, const QColor& b) {
        return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
               std::abs(a.blue() - b.blue());
    };
    EXPECT_LT(differ(at(0.1), pixel(0, 0.1)), differ(at(0.1), pixel(1, 0.1)));
    EXPECT_LT(differ(at(0.9), pixel(1, 0.9)), differ(at(0.9), pixel(0, 0.9)));
    shown.CompareWithSelected();
    EXPECT_FALSE(both.IsComparing());
}

TEST_F(RenderWindowTest, SavesAndTellsWhatCannotBeSaved) {
    OpenTiny();
    Render();
    for (const char* name : {"a.png", "a.exr"}) {
        shown.SavePicture(folder.File(name));
        EXPECT_FALSE(folder.Read(name).empty()) << name;
    }
    shown.SavePicture(folder.File("a.txt"));
    EXPECT_EQ(asked->messages.size(), 1u);
    shown.SavePicture(folder.File("none/a.png"));
    EXPECT_EQ(asked->messages.size(), 2u);
    asked->files = {folder.File("b")};
    shown.SavePicture();
    EXPECT_FALSE(folder.Read("b.png").empty());
}

TEST_F(RenderWindowTest, ACancelledOneLeavesNoPicture) {
    BeginLongRender();
    Session().CancelJob();
    RestRender();
    EXPECT_EQ(shown.History().rowCount(), 0);
    EXPECT_FALSE(Session().IsBusy());
    EXPECT_EQ(Session().Activity(), "");
}

TEST_F(RenderWindowTest, TheSceneIsEditedBuiltAndSavedWhileItRenders) {
    BeginLongRender();
    Session().Run("param.set", "meadow", {{"name", "units_x"}, {"value", 40}});
    Rest();
    EXPECT_EQ(Session().UndoName(), "Set Parameter");
    int64_t items = Session().Reports()[0].numItems;
    Session().Undo();
    Rest();
    EXPECT_NE(Session().Reports()[0].numItems, items) << "views follow";
    EXPECT_FALSE(Saved("meanwhile.json").empty());
    EXPECT_TRUE(Session().IsRendering());
    shown.Render();  // one at a time
    Rest();
    EXPECT_TRUE(window->LogText().contains("wait for the picture before"));
    Session().CancelRender();
    RestRender();
    EXPECT_EQ(shown.History().rowCount(), 0);
}

TEST_F(RenderWindowTest, ThePictureIsOfTheSceneAsItWas) {
    OpenTiny();
    Session().Save(folder.File("asked.json"));
    Rest();
    shown.Render();
    Session().Run("node.delete", "stone", {});  // in its turn: behind the copy
    RestRender();
    ASSERT_EQ(shown.History().rowCount(), 1) << window->LogText().toStdString();
    ::Session alone;
    ASSERT_EQ(alone.Open(folder.File("asked.json")), kExitDone);
    RenderOutcome outcome;
    ASSERT_EQ(RenderOpenScene(alone, {}, &outcome), kExitDone);
    ASSERT_EQ(outcome.picture.pixels.size(), 32u * 24);
    EXPECT_TRUE(shown.History().At(0)->picture.pixels == outcome.picture.pixels);
    Session().Look([](Scene& scene) { EXPECT_EQ(scene.FindNode("stone"), nullptr); });
}

TEST_F(RenderWindowTest, TheSceneMayBeClosedWhileItRenders) {
    BeginLongRender();
    Session().NewScene();
    Rest();
    Session().Look([](Scene& scene) { EXPECT_TRUE(scene.Nodes().empty()); });
    EXPECT_TRUE(Session().IsRendering());
    Session().CancelRender();
    RestRender();
    OpenTiny();
    shown.Render();
    window->OpenFile(folder.File("scene.json"));  // before the copy is there, or behind it
    RestRender();
    EXPECT_LE(shown.History().rowCount(), 1);
    EXPECT_FALSE(Session().Path().empty());
}

TEST_F(RenderWindowTest, ARenderedViewLetsItsSceneChangeAndGo) {
    OpenTiny();
    ViewportWidget& view = window->Views().ActiveView();
    view.SetShading(ViewportShading::kRendered);
    auto isRendering = [&] { return view.Picture() && view.Picture()->samples > 0; };
    EXPECT_TRUE(hand::Wait(isRendering));
    std::shared_ptr<const TViewportScene> first = view.Shown();
    Session().Run("node.delete", "stone", {});
    Rest();
    EXPECT_NE(view.Shown(), first);
    EXPECT_TRUE(hand::Wait([&] { return isRendering() && view.Picture()->scene == view.Shown(); }))
        << "it begins anew";
    Session().NewScene();
    Rest();
    OpenTiny();
    EXPECT_TRUE(hand::Wait([&] { return isRendering() && view.Picture()->scene == view.Shown(); }));
    window.reset();
}

TEST_F(RenderWindowTest, TheWindowMayBeClosedWhileItRenders) {
    BeginLongRender();
    // It would take hours: who waits for its end is stopped by the limit of the test.
    EXPECT_LT(Session().RenderProgress(), 0.5f);
    QPointer<QWidget> open = &shown;
    window.reset();
    QTest::qWait(50);  // what the render has sent finds nobody
    EXPECT_FALSE(open);
}

TEST_F(RenderWindowTest, TheOldestPicturesGo) {
    OpenTiny();
    for (int i = 0; i < 40; ++i) {
        RenderedPicture rendered;
        rendered.picture = {1, 1, {Color{1, 1, 1}}, 1, true};
        rendered.image = ImageOf(rendered.picture);
        rendered.name = QString::number(i);
        shown.History().Add(std::move(rendered));
    }
    EXPECT_EQ(shown.History().rowCount(), 30);
    EXPECT_EQ(shown.History().At(29)->name, "10");
    EXPECT_EQ(shown.History().At(0)->image.pixelColor(0, 0), QColor(255, 255, 255));
}
