// The first start: samples, the tour, and how both end.
#include "apps/studio/windows/welcome.h"

#include <filesystem>

#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QSettings>

#include "apps/dravin/demo_scene.h"
#include "apps/studio/windows/tour.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct WelcomeTest : StudioWindow {
    Tour* TheTour() { return dynamic_cast<Tour*>(window->findChild<QWidget*>("tour")); }
};

}  // namespace

TEST_F(WelcomeTest, ItIsShownOnce) {
    QSettings().remove("welcome/shown");
    EXPECT_FALSE(Welcome::WasShown());
    EXPECT_TRUE(Welcome::WasShown());
}

TEST_F(WelcomeTest, EverySampleIsWrittenAndOpened) {
    std::string error;
    DemoOptions options{std::string(DRAVIN_SOURCE_DIR) + "/data", 2000};
    ASSERT_TRUE(WriteDemoScene(folder.File("samples"), options, &error)) << error;
    ASSERT_GE(SampleScenes().size(), 3u);
    for (const SampleScene& sample : SampleScenes()) {
        ASSERT_TRUE(std::filesystem::exists(folder.File("samples") + "/" + sample.file));
        Session().OpenDemo(folder.File("samples"), sample.file);
        Rest();
        EXPECT_EQ(Session().Path(), folder.File("samples") + "/" + sample.file)
            << window->LogText().toStdString();
    }
}

TEST_F(WelcomeTest, AButtonOpensItsSample) {
    std::string opened;
    bool hasTour = false;
    Welcome welcome(
        {[&](const SampleScene& sample) { opened = sample.file; }, [&] { hasTour = true; }},
        window.get());
    welcome.show();
    welcome.findChild<QPushButton*>("wall.json")->click();
    EXPECT_EQ(opened, "wall.json");
    EXPECT_FALSE(welcome.isVisible());
    welcome.show();
    welcome.findChild<QPushButton*>("take_tour")->click();
    EXPECT_TRUE(hasTour);
}

TEST_F(WelcomeTest, TheTourGoesOnAndBackAndEnds) {
    window->Action("help.tour")->trigger();
    Tour* tour = TheTour();
    ASSERT_TRUE(tour);
    ASSERT_GT(tour->NumSteps(), 4u);
    EXPECT_EQ(tour->size(), window->size());
    hand::Key(tour, Qt::Key_Right);
    EXPECT_EQ(tour->Step(), 1u);
    hand::Key(tour, Qt::Key_Left);
    hand::Key(tour, Qt::Key_Left);
    EXPECT_EQ(tour->Step(), 0u);
    window->resize(1000, 700);
    QCoreApplication::processEvents();
    EXPECT_EQ(tour->size(), window->size());
    for (size_t i = 1; i < tour->NumSteps(); ++i) {
        hand::Press(tour, {5, 5});
        EXPECT_EQ(tour->Step(), i);
        QWidget* bubble = tour->findChild<QLabel*>("tour_title")->parentWidget();
        EXPECT_TRUE(tour->rect().contains(bubble->geometry())) << i;
    }
    hand::Key(tour, Qt::Key_Return);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(TheTour());
    window->Action("help.tour")->trigger();
    ASSERT_TRUE(TheTour());
    hand::Key(TheTour(), Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(TheTour());
}
