#include "apps/studio/windows/recovery_dialog.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QListView>
#include <QProcess>
#include <QPushButton>

#include "Dravin/dravin.h"
#include "apps/studio/windows/studio_windows.h"
#include "apps/studio/windows/undo_window.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct Recovery : StudioWindow {
    Autosave& Copies() { return window->Windows().Copies(); }
    void Change(int times) {
        for (int i = 0; i < times; ++i) {
            Session().Run("param.set", "meadow",
                          {{"name", "pixels_x"}, {"value", 100 + ++m_value}});
            Rest();
        }
    }
    // Waits for the copy after the one known.
    std::string NextCopy(const std::string& known = {}) {
        EXPECT_TRUE(hand::Wait([&] { return Copies().LastCopy() != known; }));
        return Copies().LastCopy();
    }
    // Another program changes the scene and is killed as soon as it has a copy, whose path it
    // gives.
    std::string Crash(const std::string& scene) {
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start("/proc/self/exe", {"--leave-changes", QString::fromStdString(scene)});
        std::string line;
        while (!line.starts_with("saved ") && program.waitForReadyRead(60'000))
            line = program.readLine().trimmed().toStdString();
        program.kill();
        EXPECT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitStatus(), QProcess::CrashExit);
        return line.starts_with("saved ") ? line.substr(6) : "";
    }
    RecoveryDialog* Offered() {
        auto dialogs = window->findChildren<RecoveryDialog*>();
        return dialogs.empty() || !dialogs[0]->isVisible() ? nullptr : dialogs[0];
    }

private:
    int m_value = 0;
};

LostSession LostOne(const QDateTime& now) {
    SceneCopy newest{"/scenes/forest.autosave-2.json", now.addSecs(-180), 23};
    SceneCopy older{"/scenes/forest.autosave-1.json", now.addSecs(-7200), 3};
    return {"one", "/scenes/forest.json", {newest, older}, {}, false};
}

}  // namespace

TEST_F(Recovery, TwentyChangesMakeACopyBesideTheScene) {
    OpenSmall();
    Change(19);
    for (int i = 0; i < 50; ++i) QCoreApplication::processEvents();
    EXPECT_TRUE(Copies().LastCopy().empty());
    std::string scene = folder.Read("scene.json");
    Change(1);
    EXPECT_EQ(NextCopy(), folder.File("scene.autosave-1.json"));
    EXPECT_EQ(folder.Read("scene.json"), scene);
    EXPECT_TRUE(Session().IsModified());
    EXPECT_EQ(Session().Path(), folder.File("scene.json"));
    EXPECT_EQ(Saved("now.json"), folder.Read("scene.autosave-1.json"));
}

TEST_F(Recovery, AFewChangesAreSavedAfterAWhile) {
    OpenSmall();
    Autosave soon(Session(), folder.File("state"), {1000, 1});
    Change(1);
    EXPECT_TRUE(hand::Wait([&] { return !soon.LastCopy().empty(); }));
    EXPECT_TRUE(soon.Store().Lost(true).empty());  // it lives
}

TEST_F(Recovery, ThereAreFiveCopiesAtMost) {
    OpenSmall();
    Autosave often(Session(), folder.File("state"), {1, 1'000'000});
    std::set<std::string> seen;
    for (int i = 0; i < 7; ++i) {
        std::string last = often.LastCopy();
        Change(1);
        ASSERT_TRUE(hand::Wait([&] { return often.LastCopy() != last; }));
        seen.insert(often.LastCopy());
    }
    EXPECT_EQ(seen.size(), size_t(kMaxCopies));
    // The newest holds what the scene is now.
    EXPECT_EQ(Saved("now.json"), folder.Read(often.LastCopy().substr(folder.File("").size())));
}

TEST_F(Recovery, EditsDuringACopyWaitAndAreDone) {
    OpenSmall();
    std::string error = "none yet";
    Session().SaveCopy(folder.File("copy.json"), [&](const std::string& e) { error = e; });
    EXPECT_FALSE(Session().IsBusy());
    Session().Do(
        [this](Scene& scene) { Session().Panel(scene).SetNumber(distParams::kPixelsX, 77); });
    Rest();
    EXPECT_EQ(error, "");
    EXPECT_EQ(Read(distParams::kPixelsX).number, 77);
}

TEST_F(Recovery, AKilledProgramsChangesAreOfferedAndComeBack) {
    std::string scene = folder.Write("scene.json", kSmallScene);
    std::string copy = Crash(scene);
    ASSERT_EQ(copy, folder.File("scene.autosave-1.json"));
    EXPECT_EQ(folder.Read("scene.json"), kSmallScene);

    window->Windows().OfferRecovery(false);
    RecoveryDialog* dialog = Offered();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->NumOffered(), 1u);
    dialog->findChild<QPushButton*>("recover")->click();
    Rest();
    EXPECT_EQ(Session().Path(), scene);
    EXPECT_TRUE(Session().IsModified());
    bool isThere = false;
    Session().Look([&](Scene& s) { isThere = s.FindNode("stone20") != nullptr; });
    EXPECT_TRUE(isThere);

    // The copy that was recovered from stays until there is another; then nothing is offered.
    std::string own = NextCopy();
    EXPECT_NE(own, copy);
    EXPECT_TRUE(Copies().Store().Lost(true).empty());
    Session().Save(scene);
    Rest();
    EXPECT_FALSE(Session().IsModified());
}

TEST_F(Recovery, ANeverSavedSceneComesBackWithoutAFile) {
    std::string copy = Crash("");
    ASSERT_TRUE(copy.starts_with(StudioStateFolder())) << copy;
    window->Windows().OfferRecovery(false);
    ASSERT_TRUE(Offered());
    Offered()->findChild<QPushButton*>("recover")->click();
    Rest();
    EXPECT_TRUE(Session().Path().empty());
    EXPECT_TRUE(Session().IsModified());
    int objects = 0;
    Session().Look([&](Scene& scene) {
        for (INode* node : scene.Nodes())
            objects += dynamic_cast<TDravin*>(node->GetObjectRef()) != nullptr;
    });
    EXPECT_EQ(objects, 20);
    NextCopy();
}

TEST_F(Recovery, WhatIsSkippedIsOfferedNoMore) {
    ASSERT_FALSE(Crash(folder.Write("scene.json", kSmallScene)).empty());
    window->Windows().OfferRecovery(false);
    ASSERT_TRUE(Offered());
    Offered()->findChild<QPushButton*>("skip")->click();
    EXPECT_FALSE(Offered());
    window->Windows().OfferRecovery(false);
    EXPECT_FALSE(Offered());
    window->Action("file.recover")->trigger();  // but still to be had
    ASSERT_TRUE(Offered());
    Offered()->findChild<QPushButton*>("recover")->click();
    Rest();
    EXPECT_TRUE(Session().IsModified());
    NextCopy();
}

TEST_F(Recovery, AnEmptyCopyIsNotOffered) {
    std::string copy = Crash(folder.Write("scene.json", kSmallScene));
    ASSERT_TRUE(QFile::resize(QString::fromStdString(copy), 0));
    window->Windows().OfferRecovery(false);
    EXPECT_FALSE(Offered());
    for (const QString& name :
         QDir(QString::fromStdString(StudioStateFolder())).entryList({"*.session"}, QDir::Files))
        Copies().Store().Remove(name.chopped(8).toStdString());
}

TEST_F(Recovery, ACopyThatIsOfferedIsNotWrittenOver) {
    std::string scene = folder.Write("scene.json", kSmallScene);
    std::string lost = Crash(scene);
    std::string bytes = folder.Read("scene.autosave-1.json");
    OpenSmall();
    Autosave often(Session(), StudioStateFolder(), {1, 1'000'000});
    for (int i = 0; i < 6; ++i) {
        std::string last = often.LastCopy();
        Change(1);
        ASSERT_TRUE(hand::Wait([&] { return often.LastCopy() != last; }));
        EXPECT_NE(often.LastCopy(), lost);
    }
    EXPECT_EQ(folder.Read("scene.autosave-1.json"), bytes);
    for (const LostSession& session : often.Store().Lost(true)) often.Store().Remove(session.id);
}

TEST_F(Recovery, ASavedSceneLeavesNothingToRecover) {
    OpenSmall();
    Change(20);
    NextCopy();
    auto records = [] {
        return QDir(QString::fromStdString(StudioStateFolder()))
            .entryList({"*.session"}, QDir::Files)
            .size();
    };
    EXPECT_EQ(records(), 1);
    Saved("scene.json");
    EXPECT_EQ(records(), 0);
}

TEST_F(Recovery, AgesAreTold) {
    QDateTime now = QDateTime::currentDateTime();
    EXPECT_EQ(AgeText(now.addSecs(-59), now), "just now");
    EXPECT_EQ(AgeText(now.addSecs(-60), now), "1 minute ago");
    EXPECT_EQ(AgeText(now.addSecs(-3599), now), "59 minutes ago");
    EXPECT_EQ(AgeText(now.addSecs(-7200), now), "2 hours ago");
    EXPECT_EQ(AgeText(now.addDays(-3), now), "3 days ago");
}

TEST_F(Recovery, AnOlderCopyCanBeChosen) {
    QDateTime now = QDateTime::currentDateTime();
    std::string chosen;
    RecoveryDialog dialog(
        {LostOne(now)},
        {[&](const LostSession&, const SceneCopy& copy) { chosen = copy.path; }, {}}, now,
        window.get());
    dialog.show();
    EXPECT_TRUE(dialog.findChild<QListView*>()->model()->index(0, 0).data().toString().contains(
        "3 minutes ago, 23 changes"));
    auto* copies = dialog.findChild<QComboBox*>();
    ASSERT_EQ(copies->count(), 2);
    copies->setCurrentIndex(1);
    dialog.findChild<QPushButton*>("recover")->click();
    EXPECT_EQ(chosen, "/scenes/forest.autosave-1.json");
}

// --- the undo list

TEST_F(Recovery, TheUndoListGoesToAnyStep) {
    OpenSmall();
    std::string before = Saved("a.json");
    Session().Run("param.set", "meadow", {{"name", "threshold"}, {"value", 20}});
    Rest();
    std::string first = Saved("b.json");
    Session().Run("node.rename", "stone", {{"name", "rock"}});
    Rest();
    UndoWindow undo(Session(), window.get());
    undo.Open();
    auto* list = undo.findChild<QListView*>();
    auto name = [&](int row) { return list->model()->index(row, 0).data().toString(); };
    ASSERT_EQ(list->model()->rowCount(), 3);
    EXPECT_EQ(name(1), "Set Parameter");
    EXPECT_EQ(list->currentIndex().row(), 2);
    auto click = [&](int row) {
        QPointF at = list->visualRect(list->model()->index(row, 0)).center();
        hand::Press(list->viewport(), at);
        hand::Release(list->viewport(), at);
        Rest();
    };
    click(0);
    EXPECT_EQ(Saved("c.json"), before);
    EXPECT_EQ(list->model()->rowCount(), 3);  // undone steps stay in it
    click(1);
    EXPECT_EQ(Saved("d.json"), first);
    EXPECT_EQ(list->currentIndex().row(), 1);
}
