// A window with a view from above, and a hand in it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>

#include <QDialog>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/tools/view_tools.h"
#include "apps/studio/windows/command_calls.h"
#include "tests/apps/studio/studio_window.h"

// Two stones, 10 apart, on nothing; and a meadow whose items stand 5 apart.
inline const char* kTwoStones = R"({
  "dravin_scene": 1,
  "nodes": [
    {"name": "left", "type": "box", "width": 1, "length": 1, "height": 1, "position": [-5, 0, 0]},
    {"name": "right", "type": "box", "width": 1, "length": 1, "height": 1, "position": [5, 0, 0]},
    {"name": "child", "type": "box", "width": 1, "length": 1, "height": 1, "parent": "right",
     "position": [0, 4, 0]}
  ]
})";

struct Tools : StudioWindow {
    ViewportWidget& View() { return window->Views().ActiveView(); }
    // From above, 20 units across, the origin in the middle.
    void LookFromAbove() {
        ViewPose pose;
        pose.yaw = 0, pose.pitch = float(M_PI) / 2, pose.distance = 40, pose.slope = 0.25f;
        pose.isParallel = true;
        View().Navigation().SetPose(pose);
        View().CameraChanged();
    }
    void OpenStones() {
        Open(kTwoStones);
        LookFromAbove();
    }
    // Where a place stands in the view, logical.
    QPointF At(const Point3& place) {
        TScreenPoint at;
        EXPECT_TRUE(View().Camera().Project(place, &at));
        return View().ToLogical({at.x, at.y});
    }
    void Send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons,
              Qt::KeyboardModifiers modifiers) {
        QMouseEvent event(type, at, View().mapToGlobal(at), button, buttons, modifiers);
        QApplication::sendEvent(&View(), &event);
    }
    void PressAt(QPointF at, Qt::KeyboardModifiers modifiers = {}) {
        Send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, modifiers);
    }
    void MoveTo(QPointF at, Qt::KeyboardModifiers modifiers = {}) {
        Send(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton, modifiers);
    }
    void ReleaseAt(QPointF at) {
        Send(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton, {});
    }
    // Until the picker has answered and all has followed.
    void Settle() {
        for (int i = 0; i < 10; ++i) QTest::qWait(10);
        Rest();
    }
    void Click(const Point3& place, Qt::KeyboardModifiers modifiers = {}) {
        PressAt(At(place), modifiers);
        ReleaseAt(At(place));
        Settle();
    }
    void RightClick() {
        Send(QEvent::MouseButtonPress, {50, 50}, Qt::RightButton, Qt::RightButton, {});
        Send(QEvent::MouseButtonRelease, {50, 50}, Qt::RightButton, Qt::NoButton, {});
        Settle();
    }
    void Drag(QPointF from, QPointF to, Qt::KeyboardModifiers modifiers = {}) {
        PressAt(from, modifiers);
        for (int i = 1; i <= 10; ++i) MoveTo(from + (to - from) * i / 10.0);
        ReleaseAt(to);
        Settle();
    }
    QPointF Middle() {
        EXPECT_TRUE(window->Tools().GizmoFrame());
        return At(window->Tools().GizmoFrame().value_or(Matrix3()).GetTrans());
    }
    Point3 PlaceOf(const std::string& name) {
        Point3 place{1e9f, 0, 0};
        Rest();
        Session().Look([&](Scene& scene) {
            if (INode* node = scene.FindNode(name)) place = node->GetNodeTM(0).GetTrans();
        });
        return place;
    }
    QDialog* Dialog(const char* name) { return window->findChild<QDialog*>(name); }
    // A number into a field of a dialog.
    void Enter(const char* dialog, const char* name, const char* text) {
        ASSERT_TRUE(hand::Wait([&] { return Dialog(dialog); }));
        auto* field = Dialog(dialog)->findChild<NumberField*>(name);
        ASSERT_TRUE(field) << name;
        field->setFocus();
        field->selectAll();
        hand::Type(field, text);
        hand::Key(field, Qt::Key_Return);
        Settle();
    }
    // Of the question that a drag with Shift has opened.
    void AnswerCopies(const char* count, bool accepts = true) {
        ASSERT_TRUE(hand::Wait([&] { return Dialog("copy_question"); }));
        auto* field = Dialog("copy_question")->findChild<NumberField*>("copies_count");
        field->setFocus();
        field->selectAll();
        hand::Type(field, count);
        hand::Key(field, accepts ? Qt::Key_Return : Qt::Key_Escape);  // of what was typed
        if (!accepts) hand::Key(Dialog("copy_question"), Qt::Key_Escape);
        Settle();
        EXPECT_FALSE(Dialog("copy_question"));
    }
    void Trigger(const char* action) {
        window->Action(action)->trigger();
        Settle();
    }
    TDravin& Meadow(Scene& scene) {
        return dynamic_cast<TDravin&>(*scene.FindNode("meadow")->GetObjectRef());
    }
};

struct ItemTools : Tools {
    void OpenItems(bool customEdit) {
        // Cells of 5: items that a hand can tell apart.
        std::string scene = kSmallScene;
        for (const char* name : {"units_x\": 20", "units_y\": 20"})
            scene.replace(scene.find(name), strlen(name), std::string(name, 10) + "160");
        Open(scene);
        LookFromAbove();
        Select({"meadow"});
        if (!customEdit) return;
        asked->answers = {Answer::kYes};
        Trigger("items.edit");
        ASSERT_TRUE(window->Action("items.edit")->isChecked()) << window->LogText().toStdString();
    }
    std::vector<TStoredItem> Items() {
        std::vector<TStoredItem> items;
        Rest();
        Session().Look([&](Scene& scene) { items = Meadow(scene).StoredItems(); });
        return items;
    }
    size_t NumSelected() {
        size_t n = 0;
        for (const TStoredItem& item : Items()) n += item.selected;
        return n;
    }
    std::vector<TItemDelta> Deltas() {
        std::vector<TItemDelta> deltas;
        Rest();
        Session().Look([&](Scene& scene) { deltas = Meadow(scene).Deltas(); });
        return deltas;
    }
    // The item that stands nearest to the middle of the view.
    size_t Near() {
        std::vector<Point3> places = Built();
        auto nearer = [](const Point3& a, const Point3& b) { return Length(a) < Length(b); };
        return size_t(std::min_element(places.begin(), places.end(), nearer) - places.begin());
    }
    // World places of the items of the last build.
    std::vector<Point3> Built() {
        std::vector<Point3> places;
        Rest();
        Session().Look([&](Scene& scene) {
            TDravinItem item;
            TDravinBuild& build = Meadow(scene).Build();
            for (size_t i = 0; i < build.Items().Count(); ++i) {
                build.Items().ReadStored(i, &item);
                places.push_back(item.position * scene.FindNode("meadow")->GetObjectTM(0));
            }
        });
        return places;
    }
};
