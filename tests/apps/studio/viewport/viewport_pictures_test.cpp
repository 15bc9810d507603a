// Pictures of views for people to look at, in the build folder; the documents show one. What can be
// told by numbers is told here too.
#include <gtest/gtest.h>

#include <filesystem>

#include <QApplication>
#include <QElapsedTimer>
#include <QThread>

#include "apps/dravin/build_report.h"
#include "apps/dravin/demo_scene.h"
#include "apps/dravin/session.h"
#include "apps/studio/viewport/quad_view.h"

namespace {

const std::string kFolder = std::string(DRAVIN_BINARY_DIR) + "/pictures/viewport";

class Pictures : public testing::Test {
protected:
    Session session;
    std::shared_ptr<const TViewportScene> shown;

    static void SetUpTestSuite() {
        std::filesystem::remove_all(kFolder);
        std::filesystem::create_directories(kFolder);
        std::string error;
        DemoOptions options{std::string(DRAVIN_SOURCE_DIR) + "/data", 60'000};
        ASSERT_TRUE(WriteDemoScene(kFolder + "/valley", options, &error)) << error;
    }
    void Open(const std::string& scene) {
        ASSERT_EQ(session.Open(kFolder + "/valley/" + scene), kExitDone);
        std::optional<std::vector<SceneDravin>> objects = session.FindObjects("");
        for (const SceneDravin& dravin : *objects) {
            TBuildFlags flags;
            flags.noLimit = true, flags.skipMesh = true;
            BuildWithProgress(dravin, 0, flags);
        }
        shown = MakeViewportScene(session.GetScene(), 0, 2);
    }
    static bool Finish(ViewportWidget& view) {
        QElapsedTimer timer;
        timer.start();
        // Where a picture is simplified a finer one follows.
        auto isFine = [&] { return view.IsUpToDate() && !view.Picture()->isSimplified; };
        while (!isFine() && timer.elapsed() < (view.IsUpToDate() ? 20'000 : 60'000)) {
            QApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(1);
        }
        return view.IsUpToDate();
    }
    static void Save(QWidget& widget, const std::string& name) {
        EXPECT_TRUE(widget.grab().save(QString::fromStdString(kFolder + "/" + name + ".png")));
    }
    void SaveShadings(const std::string& name) {
        ViewportWidget view;
        view.resize(1280, 720);
        view.show();
        view.ShowScene(shown);
        view.LookThroughCamera();
        view.SetShading(ViewportShading::kTextured);
        ASSERT_TRUE(Finish(view)) << view.Notice().toStdString();
        EXPECT_EQ(view.Picture()->counts.itemsDrawn, view.Picture()->counts.itemsInView);
        Save(view, name + "_textured");
        view.SetShading(ViewportShading::kPoints);
        ASSERT_TRUE(Finish(view));
        Save(view, name + "_points");
        view.SetShading(ViewportShading::kTextured);
        view.FrameAll();
        ASSERT_TRUE(Finish(view));
        Save(view, name + "_all");
    }
};

TEST_F(Pictures, Valley) {
    Open("forest.json");
    EXPECT_GT(shown->NumItems(), 20'000u);
    SaveShadings("valley");
}

TEST_F(Pictures, Autumn) {
    Open("autumn.json");
    SaveShadings("autumn");
}

TEST_F(Pictures, FourViews) {
    Open("boulders.json");
    QuadView quad;
    quad.resize(1280, 720);
    quad.show();
    quad.SetLayout(QuadLayout::kFour);
    quad.ShowScene(shown);
    for (size_t i = 0; i < 4; ++i) ASSERT_TRUE(Finish(quad.View(i)));
    Save(quad, "four");
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
