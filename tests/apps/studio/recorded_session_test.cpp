// A session as a person has it, with mouse and keys: opened, painted, edited, rendered, undone to
// the beginning and done again. What the window's thread spent on it is printed
// (apps/studio/event_watch.h).
#include <cstdio>
#include <fstream>

#include <QAction>
#include <QPushButton>
#include <QToolButton>
#include <QTreeView>

#include "apps/studio/event_watch.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/code_edit.h"
#include "apps/studio/windows/curve_editor.h"
#include "apps/studio/windows/curve_view.h"
#include "apps/studio/windows/effect_editor.h"
#include "apps/studio/windows/render_window.h"
#include "apps/studio/windows/studio_windows.h"
#include "tests/apps/studio/child_window.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

const char* kMaterials = R"({
  "dravin_scene": 1,
  "materials": {"bark": {"type": "standard", "diffuse": [0.4, 0.2, 0.1]}},
  "nodes": []
})";

struct RecordedSession : ItemTools {
    // In both forms; the scene keeps its path.
    struct Files {
        std::string description, sceneFile;
    };
    Files Written() {
        auto write = [this](const char* name) {
            std::string path = folder.File(name), failure = "not yet";
            Session().SaveCopy(path, [&](const std::string& error) { failure = error; });
            Rest();
            EXPECT_EQ(failure, "");
            std::ifstream in(path, std::ios::binary);
            return std::string(std::istreambuf_iterator<char>(in), {});
        };
        return {write("written.json"), write("written.max")};
    }
    static void ExpectSame(const Files& now, const Files& then, const char* when) {
        EXPECT_EQ(now.description, then.description) << when;
        EXPECT_TRUE(now.sceneFile == then.sceneFile) << when << ": the scene file differs";
    }

    void ChooseInOutliner(int row) {
        auto* outliner = window->findChild<QTreeView*>("outliner");
        QPointF at = outliner->visualRect(outliner->model()->index(row, 0)).center();
        hand::Press(outliner->viewport(), at);
        hand::Release(outliner->viewport(), at);
        Settle();
    }
    void Keys(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        window->activateWindow();  // other windows may have been in front
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
        View().setFocus();
        hand::Key(&View(), key, modifiers);
        Settle();
    }
    QPushButton* Button(DravinBlockId block, const char* command) {
        window->Panel().OpenRollout(block, true);
        Rest();
        auto* button = window->Panel().findChild<QPushButton*>(command);
        EXPECT_TRUE(button) << command;
        return button;
    }
    QPointF Along(const Point3& way) { return At(way) - At({0, 0, 0}); }

    // --- what is done

    void Paint() {
        Keys(Qt::Key_B);
        ASSERT_TRUE(window->Tools().Brush().Target()) << window->LogText().toStdString();
        window->Tools().Brush().brush.SetSize(6);
        Drag(At({-8, -4, 0}), At({8, -4, 0}));
        Drag(At({-8, 4, 0}), At({8, 4, 0}));
        Keys(Qt::Key_B);
    }
    void DragASpinner() {
        auto* field = dynamic_cast<NumberField*>(Control(distParams::kPixelsX)->Editor());
        hand::DragArrows(field, 50);
        Rest();
    }
    void PinItems() {
        Keys(Qt::Key_I, Qt::ShiftModifier);
        ASSERT_TRUE(window->Action("items.pin")->isChecked());
        Click(Built()[Near()] + Point3{0, 0, 1});
        Keys(Qt::Key_W);
        ASSERT_TRUE(window->Tools().GizmoFrame());
        Drag(Middle(), Middle() + Along({1, 1, 0}));
        EXPECT_EQ(Deltas().size(), 1u);
        Keys(Qt::Key_Q);
        Click(Built().back() + Point3{0, 0, 1});
        Keys(Qt::Key_Delete);
        Keys(Qt::Key_I, Qt::ShiftModifier);
    }
    void WriteAnEffect() {
        Session().Run("effect.add", "meadow", {{"name", "lean"}});
        Rest();
        window->Action("effects.editor")->trigger();
        Rest();
        EffectEditor* editor = Child<EffectEditor>(*window);
        ASSERT_TRUE(editor);
        editor->Code().setFocus();
        hand::Type(&editor->Code(), "real a = 1.5;");
        hand::Key(&editor->Code(), Qt::Key_Return);
        hand::Type(&editor->Code(), "dpItem.scale.z = a * 2;");
        editor->Button("apply")->defaultAction()->trigger();
        Rest();
        EXPECT_FALSE(editor->Fault()) << editor->StatusText().toStdString();
        editor->close();
        Rest();
    }
    void EditACurve() {
        QTest::mouseClick(Button(kAreaParams, "curve.edit curve=spdenscurve"), Qt::LeftButton);
        Rest();
        CurveEditor* editor = Child<CurveEditor>(*window);
        ASSERT_TRUE(editor);
        CurveView* view = &editor->View();
        QPointF at = view->At(0.5, 50);
        hand::Mouse(view, QEvent::MouseButtonDblClick, at, Qt::LeftButton);
        hand::Release(view, at);
        Rest();
        hand::Press(view, at);
        for (int i = 1; i <= 20; ++i) {
            hand::Move(view, at - QPointF(0, 3 * i));
            QCoreApplication::processEvents();
        }
        hand::Release(view, at - QPointF(0, 60));
        Rest();
        EXPECT_EQ(Session().UndoName(), "Edit Curve");
        editor->close();
        Rest();
    }
    // On no node that is scattered: the automatic material that builds make of those would keep an
    // empty slot at its end, as the faces of meshes know its slots by number.
    void AddAMaterial() {
        Session().Run("material.load", "",
                      {{"library", folder.Write("materials.json", kMaterials)},
                       {"material", "bark"},
                       {"nodes", ParamInput(ParamInput::Array{ParamInput("ground")})}});
        Rest();
        Session().Look([](Scene& scene) { EXPECT_EQ(scene.Materials().count("bark"), 1u); });
    }
    void EditItems() {
        asked->answers = {Answer::kYes};
        Keys(Qt::Key_I);
        ASSERT_TRUE(window->Action("items.edit")->isChecked()) << window->LogText().toStdString();
        size_t count = Items().size();
        Click(Built()[Near()] + Point3{0, 0, 1});
        Keys(Qt::Key_W);
        Drag(Middle(), Middle() + Along({0, 2, 0}));
        Drag(Middle(), Middle() + Along({2, 0, 0}), Qt::ShiftModifier);
        AnswerCopies("1");
        EXPECT_EQ(Items().size(), count + 1);
        Drag(Middle(), Middle() + Along({2, 0, 0}), Qt::ShiftModifier);
        AnswerCopies("1");
        Keys(Qt::Key_Delete);
        EXPECT_EQ(Items().size(), count + 1);
        Keys(Qt::Key_I);
        Keys(Qt::Key_Q);
    }
    void CopyANode() {
        ChooseInOutliner(1);
        ASSERT_EQ(Selected(), std::vector<std::string>{"stone"});
        Keys(Qt::Key_W);
        Drag(Middle(), Middle() + Along({4, 3, 0}), Qt::ShiftModifier);
        AnswerCopies("1");
        ASSERT_EQ(Selected().size(), 1u) << testing::PrintToString(Selected());
        EXPECT_NE(Selected()[0], "stone");
        Keys(Qt::Key_Q);
        ChooseInOutliner(3);
    }
    void Render() {
        Session().Run("scene.render", "", {{"width", 64}, {"height", 48}, {"samples", 2}});
        Rest();
        RenderWindow& render = window->Windows().OpenRender();
        render.Render();
        EXPECT_TRUE(hand::Wait([this] { return !Session().IsRendering(); }));
        EXPECT_EQ(render.History().rowCount(), 1) << window->LogText().toStdString();
        render.close();
        Rest();
    }
    // Until nothing is left; how often it was.
    int Exhaust(const char* action) {
        int count = 0;
        for (; window->Action(action)->isEnabled() && count < 500; ++count) {
            window->Action(action)->trigger();
            Rest();
        }
        return count;
    }
};

}  // namespace

TEST_F(RecordedSession, EverythingUndoneIsTheSceneAsItWasOpened) {
    OpenItems(false);
    Session().Undo();  // of the selection that the fixture makes
    Rest();
    Written();  // an object gets its number when a scene is stored for the first time
    Files opened = Written();
    auto* application = dynamic_cast<WatchedApplication*>(qApp);
    ASSERT_TRUE(application);
    application->Watch().Start();

    ChooseInOutliner(3);
    ASSERT_EQ(Selected(), std::vector<std::string>{"meadow"});
    Paint();
    DragASpinner();
    PinItems();
    WriteAnEffect();
    EditACurve();
    AddAMaterial();
    CopyANode();
    EditItems();
    Render();
    ASSERT_FALSE(HasFatalFailure());
    Files edited = Written();
    EXPECT_NE(edited.description, opened.description);

    int steps = Exhaust("edit.undo");
    EXPECT_GT(steps, 15);
    EXPECT_FALSE(Session().IsModified());
    ExpectSame(Written(), opened, "undone");
    EXPECT_EQ(Exhaust("edit.redo"), steps);
    ExpectSame(Written(), edited, "done again");
    EXPECT_EQ(Exhaust("edit.undo"), steps);
    ExpectSame(Written(), opened, "undone again");

    EXPECT_GT(application->Watch().NumEvents(), 1000u);
    std::printf("%s", application->Watch().Report().c_str());
}
