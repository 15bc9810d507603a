// The view as hands and eyes have it, on Qt's offscreen platform.
#include "apps/studio/viewport/viewport_widget.h"

#include "apps/studio/viewport/quad_view.h"
#include "tests/apps/studio/viewport/widgets_fixture.h"

TEST_F(Widgets, PaintsWhatStandsThere) {
    ShowTwoSquares();
    // Squares from x 40 to 80, y 80 to 120, and from x 120 to 160, y 40 to 80.
    EXPECT_GT(ColorAt({60, 100}).red(), 120);
    EXPECT_LT(ColorAt({60, 100}).green(), 60);
    EXPECT_GT(ColorAt({140, 60}).green(), 120);
    EXPECT_LT(ColorAt({100, 100}).red(), 90);
    EXPECT_TRUE(view.Notice().isEmpty()) << view.Notice().toStdString();
}

TEST_F(Widgets, ClicksAnswerIdsPlacesAndModifiers) {
    ShowTwoSquares();
    struct Case {
        Qt::KeyboardModifiers modifiers;
        PickMode mode;
    };
    for (const Case& c : {Case{Qt::NoModifier, PickMode::kReplace},
                          {Qt::ControlModifier, PickMode::kAdd},
                          {Qt::AltModifier, PickMode::kRemove},
                          {Qt::ShiftModifier, PickMode::kToggle}}) {
        picks.clear();
        Click({60, 100}, c.modifiers);
        ASSERT_TRUE(hand::Wait([&] { return picks.size() == 1; }));
        ASSERT_EQ(picks[0].ids, std::vector<uint32_t>{1});
        EXPECT_EQ(picks[0].mode, c.mode);
        EXPECT_LT(Length(picks[0].place - Point3{-2, 0, 0}), 0.1f);
    }
    Click({10, 190});
    ASSERT_TRUE(hand::Wait([&] { return picks.size() == 2; }));
    EXPECT_TRUE(picks[1].ids.empty());
}

TEST_F(Widgets, AnotherClickMeansWhatLiesBehind) {
    view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 1, 0)),
                            MeshNode(SquareMesh(), kGreen, Facing(0, 0, 0))}));
    LookFromFront();
    for (size_t turn : {0u, 1u, 0u}) {
        picks.clear();
        Click({100, 100});
        ASSERT_TRUE(hand::Wait([&] { return !picks.empty(); }));
        ASSERT_EQ(picks[0].ids, (std::vector<uint32_t>{2, 1}));
        EXPECT_EQ(picks[0].meant, turn);
    }
}

TEST_F(Widgets, RectanglesTakeItems) {
    TViewNode items = ItemNode(MakeBox(1, 1, 1, 1), 4, 2, 0.5f, kGreen);
    items.toWorld = Facing(0, 0, 0);
    view.ShowScene(SceneOf({items}));
    LookFromFront();
    // x and y of the items: 40, 80, 120, 160. Two columns, three rows from below.
    Drag({65, 100 - 35}, {130, 190}, Qt::LeftButton);
    ASSERT_TRUE(hand::Wait([&] { return !rectangles.empty(); }));
    // Rows are counted from below, ids from 2 on.
    EXPECT_EQ(rectangles[0].ids, (std::vector<uint32_t>{3, 4, 7, 8, 11, 12}));
    EXPECT_TRUE(picks.empty());
}

TEST_F(Widgets, AltMiddleOrbitsMiddlePansWheelZooms) {
    ShowTwoSquares();
    ViewPose before = Pose();
    Drag({100, 100}, {140, 120}, Qt::MiddleButton, Qt::AltModifier);
    EXPECT_NE(Pose().yaw, before.yaw);
    EXPECT_NE(Pose().pitch, before.pitch);
    EXPECT_EQ(Pose().distance, before.distance);
    LookFromFront();
    // Ten units over 200 pixels: 20 pixels are a unit.
    Drag({100, 100}, {140, 120}, Qt::MiddleButton);
    EXPECT_NEAR(Pose().target.x, -2, 1e-4);
    EXPECT_NEAR(Pose().target.z, 1, 1e-4);
    LookFromFront();
    Drag({100, 100}, {120, 100}, Qt::MiddleButton, Qt::AltModifier | Qt::ControlModifier);
    EXPECT_LT(Pose().distance, 5);
    LookFromFront();
    QWheelEvent wheel({150, 60}, view.mapToGlobal(QPointF(150, 60)), {}, {0, 120}, {}, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &wheel);
    EXPECT_LT(Pose().distance, 5);
    // What lay under the pointer lies there still.
    TScreenPoint p;
    ASSERT_TRUE(view.Camera().Project({2.5f, 0, 2}, &p));
    QPointF at = view.ToLogical({p.x, p.y});
    EXPECT_NEAR(at.x(), 150, 0.1);
    EXPECT_NEAR(at.y(), 60, 0.1);
}

TEST_F(Widgets, OnlyTheSameButtonsReleaseEndsAGesture) {
    ShowTwoSquares();
    Drag({100, 100}, {120, 100}, Qt::MiddleButton, Qt::AltModifier, false);
    float yaw = Pose().yaw;
    Send(QEvent::MouseButtonPress, {120, 100}, Qt::LeftButton, Qt::LeftButton | Qt::MiddleButton);
    Send(QEvent::MouseButtonRelease, {120, 100}, Qt::LeftButton, Qt::MiddleButton);
    // Alt was let go meanwhile: it still orbits.
    Send(QEvent::MouseMove, {130, 100}, Qt::NoButton, Qt::MiddleButton);
    EXPECT_NE(Pose().yaw, yaw);
    Press(Qt::Key_Escape);
    EXPECT_EQ(Pose().yaw, 0);
    Send(QEvent::MouseButtonRelease, {130, 100}, Qt::MiddleButton, {});
    Send(QEvent::MouseMove, {150, 100}, Qt::NoButton, {});
    EXPECT_EQ(Pose().yaw, 0);
}

TEST_F(Widgets, KeysFrameAndChooseViews) {
    TViewNode far = MeshNode(SquareMesh(), kGreen, Facing(50, 0, 0));
    far.isSelected = true;
    view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0)), far}));
    LookFromFront();
    Press(Qt::Key_F);
    EXPECT_NEAR(Pose().target.x, 50, 1e-3);
    Press(Qt::Key_F, Qt::ShiftModifier);
    EXPECT_NEAR(Pose().target.x, 25, 1e-3);
    Press(Qt::Key_Z, Qt::ShiftModifier);
    EXPECT_NEAR(Pose().target.x, 50, 1e-3);
    Press(Qt::Key_Y, Qt::ShiftModifier);
    EXPECT_NEAR(Pose().target.x, 25, 1e-3);
    for (auto [key, side] : {std::pair{Qt::Key_1, ViewSide::kFront},
                             {Qt::Key_3, ViewSide::kLeft},
                             {Qt::Key_7, ViewSide::kTop}}) {
        Press(key, Qt::KeypadModifier);
        EXPECT_EQ(Pose().side, side);
    }
    EXPECT_TRUE(Pose().isParallel);
    Press(Qt::Key_5, Qt::KeypadModifier);
    EXPECT_FALSE(Pose().isParallel);
    Press(Qt::Key_F4);
    Press(Qt::Key_F3);
    EXPECT_EQ(view.Shading(), ViewportShading::kWire);
}

// Numeric keys, Ctrl for the other side, zero for the camera.
TEST_F(Widgets, TheNumericPadLooksFromEverySide) {
    TViewNode camera;
    camera.kind = TViewKind::kCamera, camera.name = "eye", camera.handle = 7, camera.slopeX = 0.5f;
    camera.toWorld = Facing(3, -8, 1);
    view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0)), camera}));
    for (auto [key, side] : {std::pair{Qt::Key_1, ViewSide::kBack},
                             {Qt::Key_3, ViewSide::kRight},
                             {Qt::Key_7, ViewSide::kBottom}}) {
        Press(key, Qt::KeypadModifier | Qt::ControlModifier);
        EXPECT_EQ(Pose().side, side);
    }
    Press(Qt::Key_0, Qt::KeypadModifier);
    EXPECT_EQ(view.ThroughCamera(), 7u);
    EXPECT_EQ(view.ViewName(), "eye");
    EXPECT_LT(Length(Pose().Transform().GetTrans() - Point3{3, -8, 1}), 1e-4f);
    EXPECT_FLOAT_EQ(Pose().slope, 0.5f);
    Drag({100, 100}, {120, 100}, Qt::MiddleButton);
    EXPECT_EQ(view.ThroughCamera(), 0u) << "it has been left";
    EXPECT_EQ(view.ViewName(), "Perspective");
}

// Around the selection, else around what lies under the pointer; both stay where they are seen.
TEST_F(Widgets, OrbitsAroundTheSelectionElseThePlaceUnderThePointer) {
    ShowTwoSquares();
    Send(QEvent::MouseMove, {140, 60}, Qt::NoButton, {});
    ASSERT_TRUE(hand::Wait([&] { return view.PlaceUnderPointer().has_value(); }));
    Point3 under = *view.PlaceUnderPointer();
    EXPECT_LT(Length(under - Point3{2, 0, 2}), 0.2f);
    auto isSeenAt = [&](const Point3& place, QPointF at) {
        TScreenPoint p;
        ASSERT_TRUE(view.Camera().Project(place, &p));
        QPointF seen = view.ToLogical({p.x, p.y});
        EXPECT_LT(std::hypot(seen.x() - at.x(), seen.y() - at.y()), 1);  // a pixel
    };
    Drag({140, 60}, {180, 70}, Qt::MiddleButton, Qt::AltModifier);
    isSeenAt(under, {140, 60});
    TViewNode chosen = MeshNode(SquareMesh(), kRed, Facing(-2, 0, 0));
    chosen.isSelected = true;
    view.ShowScene(SceneOf({chosen}));
    LookFromFront();
    Drag({140, 60}, {180, 70}, Qt::MiddleButton, Qt::AltModifier);
    isSeenAt({-2, 0, 0}, {60, 100});
    EXPECT_NEAR(Pose().Transform().row[0].z, 0, 1e-6) << "the horizon stays level";
}

TEST_F(Widgets, ThePointerComesBackToWhereNavigationBegan) {
    ShowTwoSquares();
    for (Qt::KeyboardModifiers modifiers :
         {Qt::KeyboardModifiers(), Qt::AltModifier | Qt::NoModifier}) {
        QCursor::setPos(view.mapToGlobal(QPoint(20, 20)));
        Drag({100, 100}, {199, 120}, Qt::MiddleButton, modifiers);
        EXPECT_EQ(QCursor::pos(), view.mapToGlobal(QPoint(100, 100)));
    }
}

TEST_F(Widgets, ThePointerGoesOnAtTheOtherBorder) {
    ShowTwoSquares();
    Drag({100, 100}, {199, 100}, Qt::MiddleButton, {}, false);
    EXPECT_LT(view.mapFromGlobal(QCursor::pos()).x(), 10);
    float before = Pose().target.x;
    Send(QEvent::MouseMove, {1, 100}, Qt::NoButton,
         Qt::MiddleButton);  // what the jump itself sends
    EXPECT_EQ(Pose().target.x, before);
    Send(QEvent::MouseMove, {21, 100}, Qt::NoButton, Qt::MiddleButton);
    EXPECT_NEAR(before - Pose().target.x, 1, 0.1) << "20 pixels are a unit";
    Send(QEvent::MouseButtonRelease, {21, 100}, Qt::MiddleButton, {});
}

TEST_F(Widgets, TheCursorSaysWhatAPressWouldDo) {
    ShowTwoSquares();
    view.ShowGizmo(GizmoTool::kMove, Matrix3());
    auto at = [&](QPointF place) {
        Send(QEvent::MouseMove, place, Qt::NoButton, {});
        return view.cursor().shape();
    };
    EXPECT_EQ(at({10, 190}), Qt::ArrowCursor);
    EXPECT_EQ(at({150, 100}), Qt::SizeAllCursor) << "a handle";
    EXPECT_EQ(at(view.LabelBoxes()[0].center()), Qt::PointingHandCursor);
    view.SetRestCursor(Qt::CrossCursor);
    EXPECT_EQ(at({10, 190}), Qt::CrossCursor);
    Drag({100, 100}, {120, 100}, Qt::MiddleButton, {}, false);
    EXPECT_EQ(view.cursor().shape(), Qt::ClosedHandCursor);
    Press(Qt::Key_Escape);
}

TEST_F(Widgets, TheWordsInTheCornerTheRightButtonAndVOpenMenus) {
    ShowTwoSquares();
    std::vector<ViewMenu> opened;
    view.onMenu = [&](ViewMenu menu, const QPoint&) { opened.push_back(menu); };
    Click(view.LabelBoxes()[0].center());
    Click(view.LabelBoxes()[1].center());
    Press(Qt::Key_V);
    Send(QEvent::MouseButtonPress, {100, 100}, Qt::RightButton, Qt::RightButton);
    EXPECT_EQ(opened.size(), 3u) << "not before the button is up";
    Send(QEvent::MouseButtonRelease, {100, 100}, Qt::RightButton, {});
    EXPECT_EQ(opened, (std::vector{ViewMenu::kSides, ViewMenu::kShading, ViewMenu::kSides,
                                   ViewMenu::kAll}));
    Send(QEvent::MouseButtonPress, {100, 100}, Qt::RightButton, Qt::RightButton);
    Press(Qt::Key_Escape);
    Send(QEvent::MouseButtonRelease, {100, 100}, Qt::RightButton, {});
    EXPECT_EQ(opened.size(), 4u) << "given up";
    EXPECT_TRUE(picks.empty());
}

TEST_F(Widgets, OnlyWhatWasSelectedIsShownUntilThatEnds) {
    auto scene = [](bool isSelected) {
        TViewNode red = MeshNode(SquareMesh(), kRed, Facing(-2, 0, 0));
        TViewNode green = MeshNode(SquareMesh(), kGreen, Facing(2, 0, 2));
        red.handle = 1, green.handle = 2, red.isSelected = isSelected;
        return SceneOf({red, green});
    };
    view.ShowScene(scene(true));
    LookFromFront();
    view.SetOnlySelected(true);
    EXPECT_TRUE(view.ShowsOnlySelected());
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    EXPECT_GT(ColorAt({60, 100}).red(), 120);
    EXPECT_LT(ColorAt({140, 60}).green(), 100);
    Click({140, 60});
    ASSERT_TRUE(hand::Wait([&] { return !picks.empty(); }));
    EXPECT_TRUE(picks[0].ids.empty()) << "what is not shown is not picked";
    view.ShowScene(scene(false));
    EXPECT_EQ(view.Shown()->Nodes().size(), 1u) << "still, when it is selected no more";
    view.SetOnlySelected(false);
    EXPECT_EQ(view.Shown()->Nodes().size(), 2u);
    view.SetOnlySelected(true);
    EXPECT_FALSE(view.ShowsOnlySelected()) << "nothing is selected";
    EXPECT_EQ(view.Shown()->Nodes().size(), 2u);
}

TEST_F(Widgets, TheSafeFrameIsAsWideAsTheView) {
    ShowTwoSquares();
    QColor above = ColorAt({100, 30}), inside = ColorAt({100, 160});
    view.SetSafeFrame(2);  // 200 x 100: from 50 to 150
    EXPECT_LT(ColorAt({20, 30}).lightness(), ColorAt({20, 60}).lightness());
    EXPECT_LT(ColorAt({100, 30}).lightness(), above.lightness() + 1);
    EXPECT_LT(ColorAt({100, 160}).lightness(), inside.lightness());
    view.SetSafeFrame(0);
    EXPECT_EQ(ColorAt({100, 160}), inside);
}

TEST_F(Widgets, WorkBesideTheViewIsMarkedOnIt) {
    ShowTwoSquares();
    auto corner = [this] { return view.grab(QRect(120, 170, 80, 30)).toImage(); };
    QImage before = corner();
    view.SetBusy("Building");
    EXPECT_NE(corner(), before);
    view.SetBusy({});
    EXPECT_EQ(corner(), before);
}

TEST_F(Widgets, APictureOfASceneThatIsGoneNeverShows) {
    view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0))}));
    view.ShowScene(nullptr);
    auto second = SceneOf({MeshNode(SquareMesh(), kGreen, Facing(0, 0, 0))});
    view.ShowScene(second);
    ASSERT_TRUE(hand::Wait([&] {
        bool isOld = view.Picture() && view.Picture()->scene != second;
        EXPECT_FALSE(isOld);
        return view.IsUpToDate();
    }));
}

TEST_F(Widgets, AHoveredItemIsLit) {
    ShowTwoSquares();
    Send(QEvent::MouseMove, {140, 60}, Qt::NoButton, {});
    ASSERT_TRUE(hand::Wait([&] { return view.HoveredId() == 2; }));
    Send(QEvent::MouseMove, {10, 190}, Qt::NoButton, {});
    ASSERT_TRUE(hand::Wait([&] { return view.HoveredId() == 0; }));
}

TEST_F(Widgets, TheGizmoIsDraggedTypedAndTakenBack) {
    ShowTwoSquares();
    std::vector<Matrix3> commits, previews;
    int cancelled = 0;
    view.Gizmo().onCommit = [&](const Matrix3& m) { commits.push_back(m); };
    view.Gizmo().onPreview = [&](const Matrix3& m) { previews.push_back(m); };
    view.Gizmo().onCancel = [&] { ++cancelled; };
    view.ShowGizmo(GizmoTool::kMove, Matrix3());
    Drag({150, 100}, {170, 100}, Qt::LeftButton);
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_NEAR(commits[0].row[3].x, 1, 1e-3);
    EXPECT_EQ(previews.size(), 5u);
    EXPECT_TRUE(picks.empty() && rectangles.empty());
    Drag({150, 100}, {170, 100}, Qt::LeftButton, {}, false);
    Press(Qt::Key_7, {}, "7");
    Press(Qt::Key_Return, {}, "\r");
    ASSERT_EQ(commits.size(), 2u);
    EXPECT_NEAR(commits[1].row[3].x, 7, 1e-4);
    Send(QEvent::MouseButtonRelease, {170, 100}, Qt::LeftButton, {});
    for (int way = 0; way < 3; ++way) {
        Drag({150, 100}, {170, 100}, Qt::LeftButton, {}, false);
        if (way == 0) Press(Qt::Key_Escape);
        if (way == 1)
            Send(QEvent::MouseButtonPress, {170, 100}, Qt::RightButton,
                 Qt::LeftButton | Qt::RightButton);
        if (way == 2) {
            QFocusEvent out(QEvent::FocusOut);
            QApplication::sendEvent(&view, &out);
        }
        Send(QEvent::MouseButtonRelease, {170, 100}, Qt::LeftButton, {});
        EXPECT_EQ(cancelled, way + 1);
    }
    EXPECT_EQ(commits.size(), 2u);
}

TEST_F(Widgets, RenderedViewsFillUpAndBeginAgain) {
    view.resize(80, 80);
    view.SetShading(ViewportShading::kRendered);
    TViewNode square = MeshNode(SquareMesh(), kRed, Facing(0, 0, 0));
    auto material = std::make_shared<StandardMtl>();
    material->diffuse = kRed;
    square.material = material;
    view.ShowScene(SceneOf({square}));
    LookFromFront();
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    ASSERT_EQ(view.Picture()->samples, kViewSamples);
    // The square covers a fifth of the view's side.
    QColor lit = ColorAt({40, 40}), beside = ColorAt({24, 40});
    EXPECT_GT(lit.red(), lit.green() + 20);
    EXPECT_LT(beside.red(), beside.blue() + 20);
    view.Navigation().Pan(5, 0, 80);
    view.CameraChanged();
    EXPECT_TRUE(hand::Wait([&] { return view.Picture()->samples < kViewSamples; }));
    EXPECT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
}

// Whatever changes: the picture is of the present scene, begun anew.
TEST_F(Widgets, RenderedViewsFollowTheSceneAndTheSize) {
    view.resize(60, 60);
    view.SetShading(ViewportShading::kRendered);
    auto scene = [](Color color, float exposure) {
        TViewNode square = MeshNode(SquareMesh(), color, Facing(0, 0, 0));
        auto material = std::make_shared<StandardMtl>();
        material->diffuse = color;
        square.material = material;
        TViewLight light;
        light.exposure = exposure;
        return std::make_shared<const TViewportScene>(std::vector<TViewNode>{square}, light);
    };
    view.ShowScene(scene(kRed, 0));
    LookFromFront();
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    QColor red = ColorAt({30, 30});
    EXPECT_GT(red.red(), red.green() + 20);
    view.ShowScene(scene(kGreen, 0));
    EXPECT_FALSE(view.IsUpToDate());
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    QColor green = ColorAt({30, 30});
    EXPECT_GT(green.green(), green.red() + 20);
    view.ShowScene(scene(kGreen, 2));
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    EXPECT_GT(ColorAt({30, 30}).lightness(), green.lightness() + 10) << "two stops more";
    view.resize(90, 60);
    EXPECT_FALSE(view.IsUpToDate());
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    EXPECT_EQ(view.Picture()->width, view.PictureSize().width());
    view.SetShading(ViewportShading::kShaded);
    ASSERT_TRUE(
        hand::Wait([&] { return view.IsUpToDate() && view.Picture()->wantedSamples == 0; }));
}

TEST_F(Widgets, NothingIsShownForNoScene) {
    ShowTwoSquares();
    view.ShowScene(nullptr);
    EXPECT_EQ(view.Picture(), nullptr);
    Click({60, 100});
    Press(Qt::Key_F);
    Drag({100, 100}, {140, 120}, Qt::MiddleButton);
    view.grab();
    EXPECT_TRUE(picks.empty());
}

TEST_F(Widgets, FourViewsAndBack) {
    QuadView quad;
    quad.resize(402, 402);
    quad.show();
    quad.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0))}));
    EXPECT_TRUE(quad.View(3).isVisible());
    EXPECT_FALSE(quad.View(0).isVisible());
    QKeyEvent key(QEvent::KeyPress, Qt::Key_W, Qt::AltModifier);
    QApplication::sendEvent(&quad.View(3), &key);
    EXPECT_EQ(quad.Layout(), QuadLayout::kFour);
    ASSERT_TRUE(hand::Wait([&] {
        for (size_t i = 0; i < 4; ++i)
            if (!quad.View(i).IsUpToDate()) return false;
        return true;
    }));
    EXPECT_EQ(quad.View(0).Navigation().Pose().side, ViewSide::kTop);
    EXPECT_NEAR(quad.View(0).width(), 200, 2);
    QApplication::sendEvent(&quad.View(1), &key);
    EXPECT_EQ(quad.Layout(), QuadLayout::kOne);
    EXPECT_TRUE(quad.View(1).isVisible());
    quad.SetLayout(QuadLayout::kTwo);
    EXPECT_TRUE(quad.View(3).isVisible());
}

TEST_F(Widgets, PixelsAreConvertedInOneWay) {
    double ratio = view.devicePixelRatioF();
    EXPECT_EQ(view.PictureSize(),
              QSize(int(std::lround(200 * ratio)), int(std::lround(200 * ratio))));
    EXPECT_NEAR(view.ToPixel({50, 100}).x(), 50 * ratio, 1e-6);
    EXPECT_NEAR(view.ToLogical(view.ToPixel({50, 100})).y(), 100, 1e-6);
    ShowTwoSquares();
    EXPECT_EQ(view.Picture()->width, view.PictureSize().width());
}

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
