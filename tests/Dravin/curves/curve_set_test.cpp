#include "Dravin/curves/curve_set.h"

#include <functional>

#include <gmock/gmock.h>

#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "tests/comma_locale.h"
#include "tests/host/scene/test_block.h"

using testing::HasSubstr;

namespace {

const std::vector<CurvePoint> kPoints = {
    {0.1f, 100, -0.25f, 3e-20f, 0.05f, -7, 0x13},
    {1, 1.0f / 3.0f, 0, 0, 1e30f, 2.5f, -1},
};

std::string Curves(std::initializer_list<const char*> pys) {
    std::string text = "<curves>";
    for (const char* py : pys)
        text += std::string("<curve><point px=\"0\" py=\"") + py + "\"/></curve>";
    return text + "</curves>";
}

std::string State(const TCurveSet& set) {
    std::string text = CurveSetToXml(&set) + set.title.Get();
    for (const TCurveSet::Range& range : {set.xRange.Get(), set.yRange.Get()})
        text += testing::PrintToString(range.min) + "," + testing::PrintToString(range.max) + ";";
    return text;
}

}  // namespace

TEST(CurveSet, BinaryFormRestoresEveryField) {
    TCurveSet a, b;
    a.SetNumCurves(1);
    b.SetNumCurves(1);
    a.SetPoints(0, kPoints);
    std::string bytes = SaveCurve(a, 0), error;
    EXPECT_EQ(bytes.size(), 4 + 2 * 28u);
    ASSERT_TRUE(LoadCurve(bytes, b, 0, &error)) << error;
    EXPECT_EQ(b.Points(0), kPoints);
}

TEST(CurveSet, BinaryFormRefusesCountsThatDoNotFit) {
    TCurveSet set;
    set.SetNumCurves(1);
    set.SetPoints(0, kPoints);
    std::string bytes = SaveCurve(set, 0), error;
    for (size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(LoadCurve(std::string_view(bytes).substr(0, size), set, 0, &error)) << size;
    bytes[3] = '\x80';  // a negative count
    EXPECT_FALSE(LoadCurve(bytes, set, 0, &error));
    EXPECT_EQ(set.Points(0), kPoints);
}

TEST(CurveSet, XmlFormIsReadBack) {
    TCurveSet a, b;
    a.SetNumCurves(2);
    a.SetPoints(0, {{0, 100}, {1, 0.05f}});
    a.SetPoints(1, {{0.5f, 1}});
    std::string text = CurveSetToXml(&a);
    EXPECT_THAT(text, HasSubstr("py=\"100.\""));
    EXPECT_THAT(text, HasSubstr("py=\"5.00000007451e-002\""));
    ASSERT_TRUE(CurveSetFromXml(b, text));
    ASSERT_EQ(b.GetNumCurves(), 2);
    EXPECT_EQ(b.Points(0), a.Points(0));
    EXPECT_THAT(CurveSetToXml(nullptr), HasSubstr("<curves />"));
    EXPECT_THAT(CurveSetToXml(&a, 1), testing::Not(HasSubstr("100.")));
}

TEST(CurveSet, TheLastListWinsWhenOneCurveIsRead) {
    TCurveSet set;
    set.SetNumCurves(1);
    ASSERT_TRUE(CurveSetFromXml(set, Curves({"1", "2"}), 0));
    ASSERT_EQ(set.GetNumCurves(), 1);
    EXPECT_EQ(set.Points(0), (std::vector<CurvePoint>{{0, 2}}));
}

TEST(CurveSet, AllCurvesReplaceTheSetsNumber) {
    TCurveSet set;
    set.SetNumCurves(5);
    ASSERT_TRUE(CurveSetFromXml(set, Curves({"1", "2", "3"}), -1));
    EXPECT_EQ(set.GetNumCurves(), 3);
}

TEST(CurveSet, MissingAndMalformedAttributesAreZero) {
    TCurveSet set;
    ASSERT_TRUE(CurveSetFromXml(
        set, "<curves><curve><point/><point px='x' py=' 1.5abc' flags='7z'/></curve></curves>"));
    EXPECT_EQ(set.Points(0), (std::vector<CurvePoint>{{}, {0, 1.5f, 0, 0, 0, 0, 7}}));
}

TEST(CurveSet, BadTextLeavesTheSet) {
    TCurveSet set;
    set.SetNumCurves(1);
    set.SetPoints(0, kPoints);
    EXPECT_FALSE(CurveSetFromXml(set, "<curves><curve>"));
    EXPECT_FALSE(CurveSetFromXml(set, "<other/>"));
    EXPECT_FALSE(CurveSetFromXml(set, "<!DOCTYPE x [<!ENTITY a 'b'>]><curves/>"));
    EXPECT_FALSE(CurveSetFromXml(set, Curves({"1"}), 1));
    EXPECT_EQ(set.Points(0), kPoints);
}

TEST(CurveSet, DecimalCommasOfTheLocaleDoNotMatter) {
    CommaLocale comma;
    TCurveSet a, b;
    a.SetNumCurves(1);
    a.SetPoints(0, {{0.5f, 12.25f}});
    std::string text = CurveSetToXml(&a);
    EXPECT_THAT(text, HasSubstr("px=\"0.5\" py=\"12.25\""));
    EXPECT_TRUE(CurveSetFromXml(b, text));
    EXPECT_EQ(b.Points(0), a.Points(0));
}

TEST(CurveSet, ObjectStartsWithTheDefaultCurves) {
    auto object = TDravin::Create();
    for (DravinSlot slot :
         {kSlotCamDensityCurve, kSlotCamScaleCurve, kSlotAreaDensityCurve, kSlotAreaScaleCurve})
        EXPECT_EQ(object->CurveSet(slot)->Points(0), (std::vector<CurvePoint>{{0, 100}, {1, 0}}));
    EXPECT_EQ(object->CurveSet(kSlotSurfaceCurves)->GetNumCurves(), 4);
    EXPECT_EQ(object->CurveSet(kSlotRotProbCurve)->Points(0),
              (std::vector<CurvePoint>{{0, 100}, {1, 100}}));
    EXPECT_EQ(object->CurveSet(kSlotScaProbCurve)->editorFlags, 0x200u);
    EXPECT_EQ(object->CurveSet(kSlotEffectCurves)->GetNumCurves(), 0);
    EXPECT_FALSE(object->Curve(kSlotEffectCurves, 0));
    EXPECT_EQ(object->Curve(kSlotSurfaceCurves, 3)->Value(0.5f), 100.0f);
}

TEST(CurveSet, EffectCurvesGrowAndReset) {
    auto object = TDravin::Create();
    TCurveSet& set = EnsureCurveSet(*object, kSlotEffectCurves, 2, kEffectCurveDefaults);
    EXPECT_EQ(set.yRange->max, 1.0f);
    set.SetPoints(1, {{0, 0.25f}});
    EnsureCurveSet(*object, kSlotEffectCurves, 3, kEffectCurveDefaults);
    EXPECT_EQ(set.Points(1), (std::vector<CurvePoint>{{0, 0.25f}}));
    ResetEffectCurve(*object, kSlotEffectCurves, 1);
    EXPECT_EQ(set.Points(1), (std::vector<CurvePoint>{{0, 1}, {1, 1}}));
    ResetEffectCurve(*object, kSlotEffectCurves, 9);
    EXPECT_EQ(set.GetNumCurves(), 3);
}

TEST(TwelveDigits, Notation) {
    const std::pair<double, const char*> golden[] = {{100, "100."},
                                                     {0, "0."},
                                                     {0.1, "0.1"},
                                                     {0.05, "5.e-002"},
                                                     {-2.5, "-2.5"},
                                                     {1e12, "1.e+012"},
                                                     {123456789012.0, "123456789012."},
                                                     {1.0 / 3.0, "0.333333333333"},
                                                     {999999999999.9, "1.e+012"},
                                                     {-1e-300, "-1.e-300"}};
    for (const auto& [value, text] : golden) EXPECT_EQ(FormatTwelveDigits(value), text);
}

TEST(CurveSet, ChangesAreHeardUndoneAndRedone) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    auto set = std::make_shared<TCurveSet>();
    set->SetNumCurves(1);
    set->SetPoints(0, {{0, 5}, {1, 7}});
    Listener listener(set);
    const std::vector<std::function<void()>> changes = {
        [&] {
            set->SetPoints(0, {{0, 9, 1, 2, 3, 4, 5}});
        },
        [&] { set->SetPoints(0, {}); },
        [&] { set->SetNumCurves(3); },
        [&] { set->SetNumCurves(0); },
        [&] {
            set->xRange = {0, 4};
        },
        [&] {
            set->yRange = {-1, 1};
        },
        [&] { set->title = "Falloff"; }};
    for (const auto& change : changes) {
        std::string before = State(*set);
        auto heard = [&] { return !std::exchange(listener.changes, {}).empty(); };
        scene.undo.Begin();
        change();
        scene.undo.Accept("Curve");
        std::string after = State(*set);
        EXPECT_NE(after, before);
        EXPECT_TRUE(heard());
        ASSERT_TRUE(scene.undo.Undo());
        EXPECT_EQ(State(*set), before);
        EXPECT_TRUE(heard());
        ASSERT_TRUE(scene.undo.Redo());
        EXPECT_EQ(State(*set), after);
        EXPECT_TRUE(heard());
        ASSERT_TRUE(scene.undo.Undo());
        heard();
    }
    session.SetCurrentScene(nullptr);
}
