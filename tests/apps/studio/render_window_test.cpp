#include "apps/studio/windows/render_window.h"

#include <QListView>
#include <QPushButton>

#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/picture_compare.h"
#include "apps/studio/windows/studio_windows.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct RenderWindowTest : StudioWindow {
    RenderWindowTest() : shown(window->Windows().OpenRender()) {}
    void OpenTiny() {
        OpenSmall();
        Session().Run("scene.render", "", {{"width", 32}, {"height", 24}, {"samples", 1}});
        Rest();
    }
    void Render() {
        int before = shown.History().rowCount();
        shown.Render();
        Rest();
        ASSERT_EQ(shown.History().rowCount(), before + 1) << window->LogText().toStdString();
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
    OpenTiny();
    Session().Run("scene.render", "", {{"width", 640}, {"height", 480}, {"samples", 4096}});
    Rest();
    shown.Render();
    EXPECT_TRUE(hand::Wait([this] { return Session().Activity() == "Rendering"; }));
    Session().CancelJob();
    Rest();
    EXPECT_EQ(shown.History().rowCount(), 0);
    EXPECT_FALSE(Session().IsBusy());
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
