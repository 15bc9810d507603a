// Views where there is no OpenGL.
#include "tests/apps/studio/viewport/widgets_fixture.h"

namespace {

std::shared_ptr<const TViewportScene> RedSquare() {
    Matrix3 facing{{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, 0, 0}}};
    TViewNode square = MeshNode(SquareMesh(), kRed, facing);
    auto material = std::make_shared<StandardMtl>();
    material->diffuse = kRed;
    square.material = material;
    return SceneOf({square});
}

// On the square, beside the lines of the grid that run through the middle.
const uint8_t* OnSquare(const ViewPicture& picture) {
    int x = picture.width / 2 + 3, y = picture.height / 2 - 3;
    return &picture.rgbx[size_t(y * picture.width + x) * 4];
}

void LookAtIt(ViewportWidget& view) {
    view.resize(60, 60);
    view.show();
    view.ShowScene(RedSquare());
    ViewPose pose;
    pose.yaw = pose.pitch = 0, pose.distance = 5, pose.slope = 1;
    view.Navigation().SetPose(pose);
    view.CameraChanged();
}

struct NoOpenGl {
    NoOpenGl() { qputenv("DRAVIN_NO_OPENGL", "1"); }
    ~NoOpenGl() { qunsetenv("DRAVIN_NO_OPENGL"); }
};

}  // namespace

// A machine that refuses the context: plain dots and faces while the hand moves, and the ray
// tracer's picture when it rests, both with the reason.
TEST(WithoutOpenGl, TheRayTracerStandsInAndSaysSo) {
    NoOpenGl refused;
    ViewportWidget view(nullptr, false);
    LookAtIt(view);
    ASSERT_TRUE(hand::Wait([&] { return view.Picture() != nullptr; }));
    EXPECT_TRUE(view.Notice().contains("without OpenGL (switched off by DRAVIN_NO_OPENGL)"))
        << view.Notice().toStdString();
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    EXPECT_EQ(view.Picture()->samples, kViewSamples);
    EXPECT_TRUE(view.Notice().contains("the ray tracer's picture")) << view.Notice().toStdString();
    const uint8_t* middle = OnSquare(*view.Picture());
    EXPECT_GT(int(middle[0]), int(middle[1]) + 20) << "red";
    // It follows the hand, and begins again.
    view.Navigation().Pan(5, 0, 60);
    view.CameraChanged();
    ASSERT_TRUE(hand::Wait([&] { return view.Picture()->samples < kViewSamples; }));
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    EXPECT_EQ(view.Picture()->samples, kViewSamples);
}

// What the tracer does not know shows over its picture: here a line through the middle, and behind
// the eye.
TEST(WithoutOpenGl, SplinesShowOverTheRayTracersPicture) {
    ViewportWidget view(nullptr, true);
    LookAtIt(view);
    TViewNode line;
    line.kind = TViewKind::kLines, line.wire = {0, 0, 1};
    line.lines.lines = {PolyLine{{{0, 0, -1}, {0, -20, -1}}, false},
                        PolyLine{{{-3, -1, -2}, {3, -1, -2}}, false}};
    line.bounds = line.lines.BoundingBox();
    view.ShowScene(SceneOf({RedSquare()->Nodes()[0], line}));
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    TScreenPoint at;
    ASSERT_TRUE(view.Camera().Project({0.5f, -1, -2}, &at));
    QImage image = view.grab().toImage();
    double ratio = image.devicePixelRatio();
    int bluest = 0;
    QPointF middle = view.ToLogical({at.x, at.y}) * ratio;
    for (int y = -2; y <= 2; ++y) {
        QColor color = image.pixelColor(int(middle.x()), int(middle.y()) + y);
        bluest = std::max(bluest, color.blue() - color.red());
    }
    EXPECT_GT(bluest, 60);
}

TEST(WithoutOpenGl, TheSplatterDrawsWhatIsNoShadedPicture) {
    for (ViewportShading shading :
         {ViewportShading::kWire, ViewportShading::kBoxes, ViewportShading::kPoints}) {
        ViewportWidget view(nullptr, true);
        view.SetShading(shading);
        LookAtIt(view);
        ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
        EXPECT_EQ(view.Picture()->wantedSamples, 0);
        EXPECT_TRUE(view.Notice().contains("without OpenGL")) << view.Notice().toStdString();
    }
}

TEST(WithoutOpenGl, TheSplattersFacesHaveTheirColours) {
    ViewportWidget view(nullptr, true);
    view.SetShading(ViewportShading::kPoints);  // of items; meshes show their faces
    LookAtIt(view);
    ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
    const uint8_t* middle = OnSquare(*view.Picture());
    EXPECT_GT(int(middle[0]), 120);
    EXPECT_LT(int(middle[1]), 60);
}
