// What a session holds: its scene and undo list, who is told, threads.
#include <thread>

#include <gmock/gmock.h>

#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

void Rename(INode& node, const std::string& name) {
    Hold& undo = HostContext::Current()->Undo();
    undo.Begin();
    node.SetName(name);
    undo.Accept("Rename");
}

}  // namespace

TEST(Session, TheUndoListBelongsToTheScene) {
    HostContext session;
    Scene first, second;
    session.SetCurrentScene(&first);
    Rename(*first.AddNode("a", nullptr), "b");
    session.SetCurrentScene(&second);
    EXPECT_FALSE(session.Undo().Undo());
    Rename(*second.AddNode("x", nullptr), "y");
    session.SetCurrentScene(&first);
    EXPECT_TRUE(session.Undo().Undo());
    EXPECT_TRUE(first.FindNode("a"));
    EXPECT_TRUE(second.FindNode("y"));
}

TEST(Session, ASceneThatGoesIsCurrentNoMore) {
    HostContext session;
    {
        Scene scene;
        session.SetCurrentScene(&scene);
    }
    EXPECT_EQ(session.CurrentScene(), nullptr);
    EXPECT_FALSE(session.Undo().Undo());
}

TEST(Session, ThreadsHaveSessionsOfTheirOwnOrTakeOneOver) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    INode* node = scene.AddNode("a", nullptr);
    std::thread([&] {
        EXPECT_EQ(HostContext::Current(), nullptr);
        EXPECT_EQ(CurrentHold(), nullptr);
        {
            HostContext own;
            EXPECT_EQ(HostContext::Current(), &own);
        }
        ContextScope scope(session);
        EXPECT_EQ(CurrentHold(), &scene.undo);
        Rename(*node, "b");
    }).join();
    EXPECT_EQ(HostContext::Current(), &session);
    EXPECT_TRUE(session.Undo().Undo());
    EXPECT_EQ(node->GetName(), "a");
}

TEST(Session, TwoSessionsWorkSideBySide) {
    auto work = [](int seed) {
        HostContext session;
        Scene scene;
        session.SetCurrentScene(&scene);
        INode* node = scene.AddNode("n", nullptr);
        for (int i = 0; i < 500; ++i) Rename(*node, std::to_string(seed + i));
        while (session.Undo().Undo()) {
        }
        return node->GetName();
    };
    std::string a, b;
    std::thread one([&] { a = work(0); }), two([&] { b = work(1000); });
    one.join(), two.join();
    EXPECT_EQ(a, "n");
    EXPECT_EQ(b, "n");
}

TEST(Session, ChangesOfTheSceneAreAnnounced) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    std::vector<HostNotify> heard;
    for (HostNotify notice :
         {HostNotify::kNodeAdded, HostNotify::kNodeDeleted, HostNotify::kNodeRenamed,
          HostNotify::kTimeChanged, HostNotify::kSelectionChanged, HostNotify::kViewChanged,
          HostNotify::kSystemPreReset, HostNotify::kSystemPostReset})
        session.notifications.Register(notice, [&](HostNotify n, INode*) { heard.push_back(n); });
    INode* node = scene.AddNode("a", nullptr);
    node->SetName("b");
    scene.Select({{node}});
    scene.Select({{node}});
    scene.SetTime(10);
    scene.SetView(ViewState{});
    scene.SetView(ViewState{});
    scene.DeleteNode(*node);
    EXPECT_THAT(heard, testing::ElementsAre(HostNotify::kNodeAdded, HostNotify::kNodeRenamed,
                                            HostNotify::kSelectionChanged, HostNotify::kTimeChanged,
                                            HostNotify::kViewChanged, HostNotify::kNodeDeleted));
    heard.clear();
    scene.Reset();
    EXPECT_EQ(heard.front(), HostNotify::kSystemPreReset);
    EXPECT_EQ(heard.back(), HostNotify::kSystemPostReset);
}

TEST(Session, PairedNoticesComeBeforeAndAfter) {
    HostContext session;
    std::string heard;
    session.notifications.Register(HostNotify::kPreRender,
                                   [&](HostNotify, INode*) { heard += '<'; });
    session.notifications.Register(HostNotify::kPostRender,
                                   [&](HostNotify, INode*) { heard += '>'; });
    {
        NoticePair rendering(HostNotify::kPreRender, HostNotify::kPostRender);
        heard += "picture";
    }
    EXPECT_EQ(heard, "<picture>");
}

TEST(Session, RedrawsAreAskedForOnceUntilSomebodyDraws) {
    HostContext session;
    int asked = 0;
    Connection listens = session.redrawRequested.Connect([&] { ++asked; });
    session.RequestRedraw();
    session.RequestRedraw();
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(session.TakeRedraw());
    EXPECT_FALSE(session.TakeRedraw());
    session.RequestRedraw();
    EXPECT_EQ(asked, 2);
}

TEST(Session, UndoForgetsTheOldestStepsBeyondItsMemory) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    INode* node = scene.AddNode("n", nullptr);
    for (int i = 0; i < 100; ++i) Rename(*node, std::string(10000, char('a' + i % 26)));
    size_t all = scene.undo.Memory();
    EXPECT_EQ(scene.undo.NumUndoSteps(), 100u);
    scene.undo.SetMemoryLimit(all / 4);
    EXPECT_LE(scene.undo.Memory(), all / 4);
    EXPECT_GT(scene.undo.NumUndoSteps(), 20u);
    EXPECT_LT(scene.undo.NumUndoSteps(), 27u);
    std::string before = node->GetName();
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_TRUE(scene.undo.Redo());
    EXPECT_EQ(node->GetName(), before);
    scene.undo.SetMemoryLimit(0);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
}

TEST(Classes, AreFoundByNumberAndNameAndMade) {
    HostContext session;
    const ClassDesc* camera = session.classes.Find(SuperClass::kCamera, "camera");
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera, session.classes.Find(CameraObject::kClass.id));
    EXPECT_EQ(session.classes.OfSuperClass(SuperClass::kMaterial).size(), 3u);
    for (SuperClass super : {SuperClass::kGeomObject, SuperClass::kTexmap, SuperClass::kMaterial,
                             SuperClass::kHelper, SuperClass::kNode})
        for (const ClassDesc* desc : session.classes.OfSuperClass(super)) {
            std::shared_ptr<ReferenceTarget> made = desc->create();
            EXPECT_EQ(made->Class().id, desc->info.id);
            EXPECT_EQ(made->Class().super, super);
        }
    EXPECT_EQ(session.classes.Create({1, 2}), nullptr);
    EXPECT_FALSE(session.classes.Register(*camera));
    EXPECT_TRUE(session.classes.Unregister(CameraObject::kClass.id));
    EXPECT_EQ(session.classes.Find(CameraObject::kClass.id), nullptr);
}

TEST(Session, AViewThroughACameraHasTheSizeOfTheView) {
    HostContext session;
    Scene scene;
    auto lens = std::make_shared<CameraObject>();
    lens->fovDegrees = 30.0f;
    INode* camera = scene.AddNode("camera", lens);
    camera->SetLocalTM(Matrix3::Translation({1, 2, 3}));
    scene.SetView(ViewState{Matrix3(), 60, 640, 480});
    scene.SetViewCamera(std::static_pointer_cast<INode>(camera->shared_from_this()));
    std::optional<ViewState> view = scene.ActiveView(0);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->transform.GetTrans(), (Point3{1, 2, 3}));
    EXPECT_EQ(view->fovDegrees, 30);
    EXPECT_EQ(view->width, 640);
    EXPECT_EQ(view->height, 480);
}

TEST(Session, QuietOnesAskNobodyAndWriteIntoTheLog) {
    HostContext session;
    auto user = std::make_unique<ScriptedUserInterface>();
    ScriptedUserInterface* ui = user.get();
    ui->answers = {Answer::kYes};
    ui->files = {"a"}, ui->texts = {"b"}, ui->selections = {{"c"}};
    session.SetUserInterface(std::move(user));
    session.quiet = true;
    std::vector<std::pair<LogKind, std::string>> log;
    LogSink before = SetLogSink([&](LogKind kind, const std::string& text) {
        log.push_back({kind, text});
    });
    IUserInterface& quiet = session.UserInterface();
    quiet.MessageBox("all is lost", "Pack", MessageKind::kError);
    quiet.MessageBox("some is lost", "Pack", MessageKind::kWarning);
    EXPECT_EQ(quiet.Question("sure?", "Pack"), Answer::kNo);
    bool never = true;
    EXPECT_EQ(quiet.SuppressibleQuestion("sure?", "Pack", QuestionKind::kYesNo, &never),
              Answer::kNo);
    EXPECT_FALSE(never);
    EXPECT_FALSE(quiet.PickFile({}));
    EXPECT_FALSE(quiet.AskText("", ""));
    EXPECT_FALSE(quiet.SelectByName("", {}, {}));
    quiet.SetPrompt("click");
    EXPECT_TRUE(quiet.ProgressUpdate(5));
    SetLogSink(before);
    EXPECT_THAT(
        log, testing::ElementsAre(std::pair(LogKind::kError, std::string("Pack: all is lost")),
                                  std::pair(LogKind::kWarning, std::string("Pack: some is lost"))));
    EXPECT_TRUE(ui->messages.empty());
    EXPECT_TRUE(ui->questions.empty());
    EXPECT_EQ(ui->prompt, "click");
    EXPECT_THAT(ui->progress, testing::ElementsAre(5));
    session.quiet = false;
    EXPECT_EQ(session.UserInterface().Question("sure?", "Pack"), Answer::kYes);
}
