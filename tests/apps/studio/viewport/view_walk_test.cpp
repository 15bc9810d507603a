// Walking through a view with the right button held.
#include "tests/apps/studio/viewport/widgets_fixture.h"

namespace {

class Walks : public Widgets {
protected:
    int changes = 0;

    void SetUp() override {
        Widgets::SetUp();
        ShowTwoSquares();
        view.onCameraChanged = [this] { ++changes; };
    }
    void HoldRight() {
        Send(QEvent::MouseButtonPress, {100, 100}, Qt::RightButton, Qt::RightButton);
    }
    void Release() { Send(QEvent::MouseButtonRelease, {100, 100}, Qt::RightButton, {}); }
    Point3 Eye() { return Pose().Transform().GetTrans(); }
    bool Moves() {
        Point3 before = Eye();
        return hand::Wait([&] { return !(Eye() == before); });
    }
};

}  // namespace

TEST_F(Walks, KeysMoveTheEyeAsTheyAreNamed) {
    // It looks along +y, x to the right.
    const Point3 from = Eye();
    struct Case {
        int key;
        Point3 way;
    };
    for (const Case& c : {Case{Qt::Key_W, {0, 1, 0}},
                          {Qt::Key_S, {0, -1, 0}},
                          {Qt::Key_A, {-1, 0, 0}},
                          {Qt::Key_D, {1, 0, 0}},
                          {Qt::Key_E, {0, 0, 1}},
                          {Qt::Key_Q, {0, 0, -1}}}) {
        LookFromFront();
        HoldRight();
        Press(c.key);
        ASSERT_TRUE(Moves());
        LetGo(c.key);
        Release();
        EXPECT_LT(Length(Normalize(Eye() - from) - c.way), 1e-3f) << c.key;
    }
    EXPECT_EQ(Pose().yaw, 0);
}

TEST_F(Walks, ADragTurnsTheHeadAndTheEyeStays) {
    Point3 eye = Eye();
    HoldRight();
    Send(QEvent::MouseMove, {120, 110}, Qt::NoButton, Qt::RightButton);
    EXPECT_LT(Pose().yaw, 0) << "to the right";
    EXPECT_GT(Pose().pitch, 0) << "down";
    EXPECT_LT(Length(Eye() - eye), 1e-4f);
    Release();
}

TEST_F(Walks, EscapeReturnsAndTheWalkIsOneStepOfTheViewsHistory) {
    ViewPose before = Pose();
    HoldRight();
    Press(Qt::Key_W);
    ASSERT_TRUE(Moves());
    Press(Qt::Key_Escape);
    EXPECT_EQ(Pose(), before);
    Release();
    Point3 eye = Eye();
    QTest::qWait(50);
    EXPECT_EQ(Eye(), eye) << "it walks no more";
    HoldRight();
    for (int key : {Qt::Key_W, Qt::Key_D}) {
        Press(key);
        ASSERT_TRUE(Moves());
        LetGo(key);
    }
    Release();
    EXPECT_FALSE(Pose() == before);
    Press(Qt::Key_Z, Qt::ShiftModifier);
    EXPECT_EQ(Pose(), before);
}

TEST_F(Walks, TheWheelChangesTheSpeed) {
    double speed = view.Walk().Speed();
    EXPECT_NEAR(speed, Pose().distance / 2, 1e-5);
    HoldRight();
    Turn(2);
    EXPECT_GT(view.Walk().Speed(), speed * 1.5);
    Turn(-2);
    EXPECT_NEAR(view.Walk().Speed(), speed, 1e-9);
    EXPECT_EQ(Pose().distance, 5) << "it does not zoom";
    Point3 eye = Eye();
    Press(Qt::Key_W);
    view.Walk().Step(2);
    EXPECT_NEAR(Length(Eye() - eye), 2 * speed, 1e-3);
    Release();
}

TEST_F(Walks, WithoutTheButtonOrWithoutPerspectiveKeysDoNotWalk) {
    ViewPose before = Pose();
    Press(Qt::Key_D);
    QTest::qWait(50);
    EXPECT_EQ(Pose(), before);
    view.Navigation().SetParallel(true);
    before = Pose();
    HoldRight();
    Press(Qt::Key_D);
    Send(QEvent::MouseMove, {130, 110}, Qt::NoButton, Qt::RightButton);
    QTest::qWait(50);
    EXPECT_EQ(Pose(), before);
    Release();
}

TEST_F(Walks, ALostFocusEndsTheWalkWhereItBegan) {
    ViewPose before = Pose();
    HoldRight();
    Press(Qt::Key_W);
    ASSERT_TRUE(Moves());
    QFocusEvent out(QEvent::FocusOut);
    QApplication::sendEvent(&view, &out);
    EXPECT_EQ(Pose(), before);
    Release();
}
