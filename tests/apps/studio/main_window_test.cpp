#include <QAction>
#include <QTreeView>

#include "apps/studio/command_form.h"
#include "apps/studio/command_palette.h"
#include "apps/studio/viewport/quad_view.h"
#include "tests/apps/studio/studio_window.h"

TEST_F(StudioWindow, OpensBuildsAndShowsItems) {
    OpenSmall();
    ASSERT_EQ(Session().Reports().size(), 1u);
    EXPECT_GT(Session().Reports()[0].numItems, 0) << Session().Reports()[0].message;
    ASSERT_TRUE(Session().View());
    EXPECT_EQ(Session().View()->NumItems(), size_t(Session().Reports()[0].numItems));
    EXPECT_FALSE(Session().IsModified());
    EXPECT_EQ(window->RecentFiles().value(0).toStdString(), folder.File("scene.json"));
}

TEST_F(StudioWindow, EditsUndoneToTheStartSaveTheSameBytes) {
    OpenSmall();
    std::string before = Saved("a.json");
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    Session().Run("node.clone", "stone", {});
    Rest();
    Session().Run("geometry.add", "meadow", {{"node", "ground"}});
    Rest();
    EXPECT_TRUE(Session().IsModified());
    EXPECT_NE(Saved("b.json"), before);
    while (NumSteps() > 0) Session().Undo();
    Rest();
    EXPECT_EQ(Saved("c.json"), before);
}

// Scene files also hold which handle was given out last. (Of a geometry row that was added one
// thing stays: the automatic material that builds make has an empty slot more at its end, as the
// faces of meshes know its slots by number.)
TEST_F(StudioWindow, SceneFilesAreTheSameAfterUndoToo) {
    OpenSmall();
    std::string before = Saved("a.max");
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    Session().Run("node.clone", "stone", {});
    Rest();
    while (NumSteps() > 0) Session().Undo();
    Rest();
    EXPECT_TRUE(Saved("c.max") == before);
}

TEST_F(StudioWindow, ClosingSavesFirstWhenAsked) {
    OpenSmall();
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    asked->answers = {Answer::kYes};
    EXPECT_FALSE(window->close());  // the save takes a moment
    EXPECT_TRUE(hand::Wait([this] { return !window->isVisible(); }));
    EXPECT_FALSE(Session().IsModified());
}

TEST_F(StudioWindow, ASavedStateCountsAsSavedAgain) {
    OpenSmall();
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    Saved("a.json");
    EXPECT_FALSE(Session().IsModified());
    EXPECT_FALSE(window->isWindowModified());
    Session().Undo();
    Rest();
    EXPECT_TRUE(Session().IsModified());
    Session().Redo();
    Rest();
    EXPECT_FALSE(Session().IsModified());
}

TEST_F(StudioWindow, ClosingAsksWhenSomethingIsUnsaved) {
    OpenSmall();
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    asked->answers = {Answer::kCancel};
    EXPECT_FALSE(window->close());
    EXPECT_EQ(asked->questions.size(), 1u);
    asked->answers = {Answer::kNo};
    EXPECT_TRUE(window->close());
}

TEST_F(StudioWindow, ABrokenFileLeavesTheSceneAlone) {
    OpenSmall();
    std::string path = Session().Path();
    window->OpenFile(folder.Write("broken.json", R"({"dravin_scene": 1, "nodes": [{]})"));
    Rest();
    EXPECT_EQ(Session().Path(), path);
    EXPECT_EQ(asked->messages.size(), 1u);
    EXPECT_TRUE(window->LogText().contains("broken.json:1")) << window->LogText().toStdString();
    window->OpenFile(folder.File("none.json"));
    Rest();
    EXPECT_EQ(Session().Path(), path);
}

TEST_F(StudioWindow, AFailedSaveKeepsTheSceneUnsaved) {
    OpenSmall();
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    std::string error;
    Session().Save(folder.File("no/such/folder/a.json"), [&](const std::string& e) { error = e; });
    Rest();
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(Session().IsModified());
}

TEST_F(StudioWindow, TheOutlinerSelectsInTheScene) {
    OpenSmall();
    auto* outliner = window->findChild<QTreeView*>("outliner");
    ASSERT_EQ(outliner->model()->rowCount(), 4);
    outliner->setCurrentIndex(outliner->model()->index(1, 0));
    Rest();
    std::vector<std::string> names;
    Session().Look([&](Scene& scene) {
        for (INode* node : scene.Selection()) names.push_back(node->GetName());
    });
    EXPECT_EQ(names, std::vector<std::string>{"stone"});
    EXPECT_EQ(Session().UndoName(), "Select");
}

TEST_F(StudioWindow, UndoNamesItsStep) {
    OpenSmall();
    EXPECT_FALSE(window->Action("edit.undo")->isEnabled());
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    EXPECT_EQ(window->Action("edit.undo")->text(), "Undo Set Parameter");
    window->Action("edit.undo")->trigger();
    Rest();
    EXPECT_EQ(window->Action("edit.redo")->text(), "Redo Set Parameter");
}

TEST_F(StudioWindow, EditsDuringABuildWinAndTheViewFollows) {
    OpenSmall();
    for (int threshold : {90, 70, 30}) {
        Session().Do([this, threshold](Scene& scene) {
            TPanel panel = Session().Panel(scene);
            panel.SetNumber(distParams::kPixelsX, 400 + threshold);
        });
        QCoreApplication::processEvents();  // a build begins
    }
    Rest();
    EXPECT_EQ(Read(distParams::kPixelsX).number, 430);
    EXPECT_EQ(NumSteps(), 3u);
    ASSERT_EQ(Session().Reports().size(), 1u);
    EXPECT_EQ(Session().View()->NumItems(), size_t(Session().Reports()[0].numItems));
}

TEST_F(StudioWindow, TheModeAsksAndIsSwitchedBesideTheWindow) {
    OpenSmall();
    asked->answers = {Answer::kYes};
    Session().Run("mode.switch", "meadow", {{"mode", "custom_edit"}});
    Rest();
    EXPECT_EQ(Read(editionParams::kMode).number, 1);
    EXPECT_FALSE(Control(surfaceParams::kAltmax)->isEnabled());
    Session().Undo();
    Rest();
    EXPECT_EQ(Read(editionParams::kMode).number, 0);
}

TEST_F(StudioWindow, APaletteKnowsActionsCommandsAndParameters) {
    OpenSmall();
    std::vector<PaletteEntry> entries = window->PaletteEntries();
    auto best = [&](const QStringList& words) {
        const PaletteEntry* found = nullptr;
        int score = 0;
        for (const PaletteEntry& entry : entries)
            if (int s = MatchScore(entry, words); s > score) found = &entry, score = s;
        return found ? found->title.toStdString() : "";
    };
    EXPECT_EQ(best({"max", "density"}), "Distribution: Max. Density");
    EXPECT_EQ(best({"clone", "node"}), "node.clone");
    EXPECT_EQ(best({"save", "as"}), "Save As");
    EXPECT_EQ(best({"xyzzy"}), "");
    size_t commands = 0;
    for (const PaletteEntry& entry : entries)
        commands += Session().Commands().Find(entry.title.toStdString()) != nullptr;
    EXPECT_EQ(commands, Session().Commands().All().size());
}

TEST_F(StudioWindow, JumpingToAParameterGivesItTheFocus) {
    OpenSmall();
    window->Panel().JumpTo(dispParams::kRmaxitems);
    Rest();
    ParamControl* control = window->Panel().ControlOf(dispParams::kRmaxitems);
    EXPECT_TRUE(control->Editor()->hasFocus());
    EXPECT_TRUE(control->isVisible());
}

TEST_F(StudioWindow, IconsFollowTheTheme) {
    auto darkest = [this] {
        QImage image = window->Action("file.open")->icon().pixmap(20).toImage();
        int value = 255;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixelColor(x, y).alpha() == 255)
                    value = std::min(value, image.pixelColor(x, y).value());
        return value;
    };
    EXPECT_GT(darkest(), 150);  // light lines on dark ground
    window->Action("view.theme")->trigger();
    EXPECT_LT(darkest(), 100);
    window->Action("view.theme")->trigger();
    EXPECT_GT(darkest(), 150);
}

TEST_F(StudioWindow, TheFilterShowsWhatFits) {
    OpenSmall();
    window->Panel().SetFilter("slope max");
    Rest();
    EXPECT_TRUE(window->Panel().ControlOf(surfaceParams::kSlopemax)->isVisible());
    EXPECT_FALSE(window->Panel().ControlOf(surfaceParams::kSlopemin)->isVisible());
    EXPECT_FALSE(window->Panel().ControlOf(camParams::kCamfar)->isVisible());
    window->Panel().SetFilter("");
    EXPECT_FALSE(window->Panel().ControlOf(surfaceParams::kSlopemax)->isVisible());  // closed
}

TEST_F(StudioWindow, AFormReadsWhatACommandTakes) {
    const TCommand* command = Session().Commands().Find("node.transform");
    CommandForm form(*command, {}, window.get());
    auto* by = qobject_cast<QLineEdit*>(form.FieldOf("by"));
    by->setText("1, 2*3 -4");
    TArguments arguments;
    ASSERT_TRUE(form.Read(&arguments));
    ASSERT_EQ(arguments.size(), 1u);
    auto& array = std::get<ParamInput::Array>(arguments["by"].value);
    EXPECT_EQ(std::get<double>(array[1].value), 6);
    by->setText("1, 2");
    EXPECT_FALSE(form.Read(&arguments));
    CommandForm needed(*Session().Commands().Find("param.set"), {}, window.get());
    EXPECT_FALSE(needed.Read(&arguments));
}

TEST_F(StudioWindow, TheSceneKnowsItsActiveView) {
    OpenSmall();
    ViewportWidget& view = window->Views().ActiveView();
    std::string before = Saved("a.json");
    view.Navigation().Orbit(40, 10, {});
    view.CameraChanged();
    std::optional<ViewState> told;
    EXPECT_TRUE(hand::Wait([&] {
        Session().Look([&](Scene& scene) { told = scene.View(); });
        return told.has_value();
    }));
    EXPECT_EQ(told->transform, view.Navigation().Pose().Transform());
    EXPECT_EQ(told->width, view.PictureSize().width());
    EXPECT_EQ(told->height, view.PictureSize().height());
    EXPECT_FALSE(Session().IsModified());
    view.LookThroughCamera();
    NodeHandle seenThrough = 0;
    EXPECT_TRUE(hand::Wait([&] {
        Session().Look([&](Scene& scene) {
            seenThrough = scene.ViewCamera() ? scene.ViewCamera()->GetHandle() : 0;
        });
        return seenThrough != 0;
    }));
    EXPECT_EQ(seenThrough, view.ThroughCamera());
    // Saved, the scene opens with the same view.
    view.Navigation().Orbit(15, 0, {});
    view.CameraChanged();
    EXPECT_TRUE(hand::Wait([&] {
        Session().Look(
            [&](Scene& scene) { told = scene.ViewCamera() ? std::nullopt : scene.View(); });
        return told.has_value();
    }));
    Matrix3 pose = view.Navigation().Pose().Transform();
    Session().Save(folder.File("scene.json"));
    Rest();
    Session().NewScene();
    Rest();
    view.Navigation().Orbit(100, 0, {});
    window->OpenFile(folder.File("scene.json"));
    Rest();
    Matrix3 restored = view.Navigation().Pose().Transform();
    for (int row = 0; row < 4; ++row)
        EXPECT_LT(Length(restored.row[row] - pose.row[row]), 1e-3f) << row;
}

TEST_F(StudioWindow, ANewSceneIsEmpty) {
    OpenSmall();
    Session().NewScene();
    Rest();
    EXPECT_TRUE(Session().Path().empty());
    Session().Look([](Scene& scene) { EXPECT_TRUE(scene.Nodes().empty()); });
}
