#include "Dravin/presets/dravin_presets.h"

#include <gmock/gmock.h>

#include "Dravin/presets/preset_commands.h"
#include "tests/Dravin/build/scatter_fixture.h"
#include "tests/temp_folder.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class DravinPresets : public ScatterFixture {
protected:
    TempFolder folder;
    std::string path = folder.File("presets.ini");
    ScriptedUserInterface* user = nullptr;

    void SetUp() override {
        ScatterFixture::SetUp();
        host.SetCurrentScene(&scene);
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
    }
    void TearDown() override {
        host.SetCurrentScene(nullptr);
        ScatterFixture::TearDown();
    }
    void NameRows(const char* a, const char* b) {
        AddRow(box);
        object->Block(kGeomParams).SetValue(geomParams::kNamelist, 0, a, 0);
        object->Block(kGeomParams).SetValue(geomParams::kNamelist, 0, b, 1);
    }
    PresetResult Load(TDravin& to, std::string name) { return LoadDravinPreset(to, &name, path); }
    int Seed() const { return object->Block(kGenParams).GetInt(genParams::kSeed); }
    void SetSeed(int seed) { Set(kGenParams, genParams::kSeed, seed); }
};

}  // namespace

TEST_F(DravinPresets, TwoGeometryRowsComeBack) {
    NameRows("Pine", "Oak");
    EXPECT_TRUE(bool(SaveDravinPreset(*object, "two", path)));
    EXPECT_THAT(folder.Read("presets.ini"), HasSubstr("\nnamelist=[Pine|Oak]\n"));
    auto fresh = TDravin::Create();
    scene.AddNode("fresh", fresh);
    EXPECT_TRUE(bool(Load(*fresh, "two")));
    const IParamBlock2& rows = fresh->Block(kGeomParams);
    EXPECT_EQ(rows.Count(geomParams::kNamelist), 2);
    EXPECT_EQ(rows.GetString(geomParams::kNamelist, 0, 1), "Oak");
    EXPECT_EQ(rows.GetNode(geomParams::kCobjlist, 0, 1), box.get());
    EXPECT_EQ(fresh->Block(kSurfaceParams).GetNode(surfaceParams::kSurflist), plane.get());
}

TEST_F(DravinPresets, AllParametersButThreeAreStored) {
    size_t all = 0;
    for (const ParamBlockDesc2& desc : DravinBlocks()) all += desc.params.size();
    EXPECT_TRUE(bool(SaveDravinPreset(*object, "all", path)));
    std::string text = folder.Read("presets.ini");
    EXPECT_EQ(size_t(std::count(text.begin(), text.end(), '\n')), 1 + all - 3);
    EXPECT_TRUE(text.starts_with("[Dravin.all]\n"));
    for (const char* kept : {"\nsavedversion=", "\nrenderid=", "\nmode="})
        EXPECT_THAT(text, Not(HasSubstr(kept)));
    folder.Write("presets.ini", "[Dravin.all]\nmode=1\nseed=7\n");
    EXPECT_TRUE(bool(Load(*object, "all")));
    EXPECT_EQ(object->Block(kEditionParams).GetInt(editionParams::kMode), 0);
    EXPECT_EQ(Seed(), 7);
}

TEST_F(DravinPresets, ShortListsOfATableGrow) {
    folder.Write("presets.ini",
                 "[Dravin.a]\nnamelist=[a|b|c]\nmatlist=[]\narnamelist=[x]\n"
                 "efidlist=[{1}|{2}]\nefpaid=[p]\n");
    EXPECT_TRUE(bool(Load(*object, "a")));
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kMatlist), 3);
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kCobjlist), 3);
    EXPECT_EQ(object->Block(kAreaParams).Count(areaParams::kArspeclist), 1);
    EXPECT_EQ(object->Block(kEffectParams).Count(effectParams::kEfxmllist), 2);
    EXPECT_EQ(object->Block(kEffectParams).Count(effectParams::kEfpacurve), 1);
}

TEST_F(DravinPresets, ALoadedObjectBuildsLikeTheSavedOne) {
    auto fresh = TDravin::Create();
    INode* place = scene.AddNode("fresh", fresh);
    place->SetLocalTM(node->GetLocalTM());
    SetSeed(99);
    Set(kTransformParams, transformParams::kApplyscale, 1);
    EXPECT_TRUE(bool(SaveDravinPreset(*object, "a", path)));
    fresh->Block(kDistParams).SetValue(distParams::kDistmap, 0, White());
    EXPECT_TRUE(bool(Load(*fresh, "a")));
    fresh->Block(kDistParams).SetValue(distParams::kDistmap, 0, White());  // maps do not travel
    const TDravinBuild& saved = Run();
    fresh->Build().BuildMesh(0, {});
    ASSERT_GT(saved.Items().Count(), 50u);
    ASSERT_EQ(fresh->Build().Items().Count(), saved.Items().Count());
    for (size_t i = 0; i < saved.Items().Count(); ++i)
        ASSERT_EQ(fresh->Build().Items().Item(i).seed, saved.Items().Item(i).seed);
}

TEST_F(DravinPresets, FalloffCurvesStayAndAreTold) {
    object->CurveSet(kSlotCamDensityCurve)->SetPoints(0, {{0, 0.25f}, {1, 0.75f}});
    PresetResult saved = SaveDravinPreset(*object, "a", path);
    EXPECT_THAT(saved.warnings, Contains(HasSubstr("camdenscurve")));
    EXPECT_TRUE(bool(Load(*object, "a")));
    EXPECT_EQ(object->CurveSet(kSlotCamDensityCurve)->Points(0)[0].py, 0.25f);
}

TEST_F(DravinPresets, LoadingCanBeUndoneInOneStep) {
    folder.Write("presets.ini", "[Dravin.a]\nnamelist=[a|b|c]\nseed=7\n");
    int before = Seed();
    scene.undo.Clear();
    EXPECT_TRUE(bool(Load(*object, "a")));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(Seed(), before);
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kNamelist), 1);
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kMatlist), 1);
}

TEST_F(DravinPresets, TextsOfValues) {
    NameRows("A|B", "C]D");
    object->Block(kGeomParams).SetValue(geomParams::kScalelist, 0, 33.5f, 1);
    Set(kMatParams, matParams::kTintcolor1, Color{0.86f, 0.47f, 0});
    EXPECT_TRUE(bool(SaveDravinPreset(*object, "a", path)));
    std::string text = folder.Read("presets.ini");
    EXPECT_THAT(text, HasSubstr("\nscalelist=[100.000000|33.500000]\n"));
    EXPECT_THAT(text, HasSubstr("\ntintcolor1=0.860000;0.470000;0.000000\n"));
    EXPECT_THAT(text, HasSubstr("\nnamelist=[A&#124;B|C&#93;D]\n"));
    folder.Write("presets.ini", "[Dravin.a]\nproblist=[30|]\n");
    EXPECT_TRUE(bool(Load(*object, "a")));
    EXPECT_EQ(object->Block(kGeomParams).GetFloat(geomParams::kProblist, 0, 0), 30);
    EXPECT_EQ(object->Block(kGeomParams).GetFloat(geomParams::kProblist, 0, 1), 0);
}

TEST_F(DravinPresets, MaterialsAreFoundByName) {
    auto bark = std::make_shared<StandardMtl>();
    scene.SetMaterial("bark", bark);
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, Target(bark), 0);
    EXPECT_TRUE(bool(SaveDravinPreset(*object, "a", path)));
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, nullptr, 0);
    EXPECT_TRUE(bool(Load(*object, "a")));
    EXPECT_EQ(object->Block(kGeomParams).GetMtl(geomParams::kMatlist), bark.get());
    scene.SetMaterial("bark", nullptr);
    PresetResult result = Load(*object, "a");
    EXPECT_EQ(object->Block(kGeomParams).GetMtl(geomParams::kMatlist), nullptr);
    EXPECT_THAT(result.warnings, Contains(HasSubstr("no material \"bark\"")));
}

// --- the commands of the panel

TEST_F(DravinPresets, ChoosingAsksFirst) {
    SetSeed(7);
    EXPECT_TRUE(bool(SaveDravinPreset(*object, "a", path)));
    SetSeed(8);
    TPresetCommands commands(*object, path);
    EXPECT_THAT(commands.Names(), ElementsAre("a"));
    EXPECT_FALSE(commands.Choose("a"));  // nobody says yes
    EXPECT_EQ(Seed(), 8);
    user->answers = {Answer::kYes};
    EXPECT_TRUE(commands.Choose("a"));
    EXPECT_EQ(Seed(), 7);
    EXPECT_EQ(user->questions[0],
              "All parameters for this object will be overwritten.\nAre you sure ?");
}

TEST_F(DravinPresets, SavingAndDeletingAsk) {
    TPresetCommands commands(*object, path);
    EXPECT_FALSE(commands.Save("a"));
    user->answers = {Answer::kYes, Answer::kNo, Answer::kYes};
    EXPECT_TRUE(commands.Save("a"));
    EXPECT_FALSE(commands.Delete("a"));
    EXPECT_THAT(commands.Names(), ElementsAre("a"));
    EXPECT_TRUE(commands.Delete("a"));
    EXPECT_THAT(commands.Names(), IsEmpty());
    EXPECT_THAT(user->questions, ElementsAre("Save current parameters as a preset ?",
                                             "Save current parameters as a preset ?",
                                             "Selected preset will be deleted. Are you sure ?",
                                             "Selected preset will be deleted. Are you sure ?"));
}

TEST_F(DravinPresets, ExportTakesTheFilesNameAndImportTheFirstSection) {
    TPresetCommands commands(*object, path);
    SetSeed(7);
    user->files = {folder.File("spruces"), folder.File("spruces.ope")};
    EXPECT_TRUE(commands.Export());
    EXPECT_TRUE(folder.Read("spruces.ope").starts_with("[Dravin.spruces]\n"));
    SetSeed(8);
    EXPECT_TRUE(commands.Import());
    EXPECT_EQ(Seed(), 7);
    EXPECT_FALSE(commands.Export());  // the user gave up
}

TEST_F(DravinPresets, AFileNameIsOffered) {
    TPresetCommands commands(*object, path);
    commands.Export({}, "Old Oaks");
    commands.Export();
    commands.Import();
    ASSERT_EQ(user->fileRequests.size(), 3u);
    EXPECT_EQ(user->fileRequests[0].name, "Old Oaks.ope");
    EXPECT_EQ(user->fileRequests[0].title, "Export Dravin preset");
    EXPECT_EQ(user->fileRequests[0].kind, "Preset files");
    EXPECT_TRUE(user->fileRequests[0].save);
    EXPECT_EQ(user->fileRequests[1].name, "dravin_preset.ope");
    EXPECT_EQ(user->fileRequests[2].title, "Import Dravin preset");
    EXPECT_FALSE(user->fileRequests[2].save);
}

TEST_F(DravinPresets, FilesThatAreNamedAreNotAskedFor) {
    TPresetCommands commands(*object, path);
    SetSeed(7);
    EXPECT_TRUE(commands.Export(folder.File("larches")));
    SetSeed(8);
    EXPECT_TRUE(commands.Import(folder.File("larches.ope")));
    EXPECT_EQ(Seed(), 7);
    EXPECT_FALSE(commands.Import(folder.File("nothing.ope")));
    EXPECT_EQ(user->messages.back().text, "Error loading preset");
}

TEST_F(DravinPresets, AnotherClassInTheFileStillApplies) {
    folder.Write("other.ope", "[Grass.Lawn]\nseed=9\n");
    user->files = {folder.File("other.ope")};
    EXPECT_TRUE(TPresetCommands(*object, path).Import());
    EXPECT_EQ(Seed(), 9);
}

TEST_F(DravinPresets, FailuresAreShown) {
    TPresetCommands commands(*object, path);
    folder.Write("file", "");
    user->files = {folder.File("file/a.ope"), folder.File("nothing.ope")};
    EXPECT_FALSE(commands.Export());
    EXPECT_FALSE(commands.Import());
    ASSERT_EQ(user->messages.size(), 2u);
    EXPECT_EQ(user->messages[0].text, "Error saving preset");
    EXPECT_EQ(user->messages[0].caption, "Export Preset");
    EXPECT_EQ(user->messages[1].text, "Error loading preset");
    EXPECT_EQ(user->messages[1].caption, "Import Preset");
    EXPECT_EQ(user->messages[1].kind, MessageKind::kError);
}
