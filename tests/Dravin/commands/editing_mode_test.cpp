#include "tests/Dravin/commands/items_fixture.h"

namespace {

constexpr const char* kToCustom =
    "Switching to Custom Edit mode will disable\nArea/Distribution parameters. Are you sure ?";
constexpr const char* kToGenerate =
    "Switching to Generate mode will restore all items changes,\nand the Dravin object will be "
    "recreated. Are you sure ?";
constexpr const char* kCamera =
    "Some items are not visible in the viewport because Camera clipping.\nDo you want include them "
    "in the Custom Edit distribution ?";

class EditingMode : public ItemsFixture {
protected:
    int Mode() const { return object->Block(kEditionParams).GetInt(editionParams::kMode, 0); }
    void LimitToCamera() {
        auto camera = std::make_shared<CameraObject>();
        camera->fovDegrees = 20;
        INode* eye = scene.AddNode("eye", camera);
        eye->SetLocalTM(Matrix3::Translation({0, 0, 20}));
        Set(kCamParams, camParams::kCamera, Target(eye->shared_from_this()));
        Set(kCamParams, camParams::kCamlimit, true);
    }
};

TEST_F(EditingMode, SwitchingAsksAndDecliningChangesNothing) {
    EXPECT_TRUE(items->SwitchMode(0));
    EXPECT_TRUE(ui->questions.empty());  // it is the mode already
    ui->answers = {Answer::kNo};
    EXPECT_FALSE(items->SwitchMode(1));
    EXPECT_EQ(ui->questions, std::vector<std::string>{kToCustom});
    EXPECT_EQ(Mode(), 0);
    EXPECT_TRUE(List().empty());
}

TEST_F(EditingMode, FreezesAndDropsItems) {
    ui->answers = {Answer::kYes, Answer::kNo, Answer::kYes};
    EXPECT_TRUE(items->SwitchMode(1));
    EXPECT_EQ(List().size(), 400u);
    EXPECT_FALSE(items->SwitchMode(0));
    EXPECT_EQ(Mode(), 1);
    EXPECT_EQ(List().size(), 400u);
    EXPECT_TRUE(items->SwitchMode(0));
    EXPECT_TRUE(List().empty());
    EXPECT_EQ(ui->questions, (std::vector<std::string>{kToCustom, kToGenerate, kToGenerate}));
}

TEST_F(EditingMode, ASwitchCanBeUndone) {
    ui->answers = {Answer::kYes};
    Step([&] { items->SwitchMode(1); });
    scene.undo.Undo();
    EXPECT_EQ(Mode(), 0);
    EXPECT_TRUE(List().empty());
    scene.undo.Redo();
    EXPECT_EQ(Mode(), 1);
    EXPECT_EQ(List().size(), 400u);
}

TEST_F(EditingMode, WithCameraClippingTheAnswerSaysWhichItemsAreKept) {
    LimitToCamera();
    ui->answers = {Answer::kYes, Answer::kNo, Answer::kYes, Answer::kYes, Answer::kYes};
    EXPECT_TRUE(items->SwitchMode(1));
    EXPECT_EQ(ui->questions.back(), kCamera);
    EXPECT_GT(List().size(), 0u);
    EXPECT_LT(List().size(), 400u);
    EXPECT_TRUE(items->SwitchMode(0));
    EXPECT_TRUE(items->SwitchMode(1));
    EXPECT_EQ(List().size(), 400u);
}

TEST_F(EditingMode, TheLevelSwitchesTheModeOrIsDeclined) {
    ui->answers = {Answer::kNo};
    items->SetLevel(1);
    EXPECT_TRUE(object->levelDeclined);
    EXPECT_TRUE(object->editingItems);
    EXPECT_FALSE(items->IsEditing());
    items->SetLevel(0);
    EXPECT_FALSE(object->levelDeclined);
    ui->answers = {Answer::kYes};
    items->SetLevel(1);
    EXPECT_TRUE(items->IsEditing());
    EXPECT_EQ(items->CountText(), "400 Items in Object");
    ui->questions.clear();
    items->SetLevel(0);
    items->SetLevel(1);
    EXPECT_TRUE(ui->questions.empty());
}

TEST_F(EditingMode, InGenerateModeOperationsAskAndDoNothing) {
    items->SetLevel(1);
    ui->questions.clear();
    EXPECT_FALSE(items->ResetSizes());
    EXPECT_FALSE(items->Reseed());
    EXPECT_FALSE(items->StoreTransforms());
    EXPECT_FALSE(items->RandomiseGeometry());
    EXPECT_FALSE(items->Add({}, TAddChoice::kRandom));
    EXPECT_TRUE(ui->questions.empty());
    EXPECT_TRUE(ui->messages.empty());
}

TEST_F(EditingMode, ReseedingGivesNewSeedsOfFifteenBits) {
    Edit(50);
    items->Select(TGeneralSelection::kAll);
    std::vector<uint32_t> seeds[2];
    for (auto& list : seeds) {
        ui->answers = {Answer::kYes};
        EXPECT_TRUE(items->Reseed());
        for (const TStoredItem& item : List()) {
            EXPECT_LT(item.seed, 32768u);
            list.push_back(item.seed);
        }
    }
    EXPECT_NE(seeds[0], seeds[1]);
    EXPECT_EQ(ui->questions[0], "Do you like to Re-Seed the selected items ?");
    EXPECT_FALSE(items->Reseed());  // declined
}

TEST_F(EditingMode, ResettingSizesChangesTheSelectionOnly) {
    Edit(2);
    items->Select(TGeneralSelection::kAll);
    items->Scale({2, 3, 4});
    items->Select({0}, false);
    ui->answers = {Answer::kYes};
    EXPECT_TRUE(items->ResetSizes());
    EXPECT_EQ(List()[0].sizeFactor, (Point3{2, 3, 4}));
    EXPECT_EQ(List()[1].sizeFactor, (Point3{1, 1, 1}));
    EXPECT_EQ(ui->questions[0], "All sizes will be reset to their default values. Are you sure ?");
}

TEST_F(EditingMode, RandomisingDrawsByTheProbabilities) {
    AddRow(plane);
    object->Block(kGeomParams).SetValue(geomParams::kProblist, 0, 0.0f, 0);
    Edit(30);
    items->Select({0, 1, 2}, true);
    ui->answers = {Answer::kYes};
    EXPECT_TRUE(items->RandomiseGeometry());
    for (size_t i = 0; i < 30; ++i) EXPECT_EQ(List()[i].specimenIndex, i < 3 ? 1 : 0);
    object->Block(kGeomParams).SetCount(geomParams::kNamelist, 0);
    ui->answers = {Answer::kYes};
    EXPECT_FALSE(items->RandomiseGeometry());
    EXPECT_EQ(ui->messages.back().text,
              "Geometry List is empty. Please add some models and try again.");
}

TEST_F(EditingMode, StoredTransformsDoNotApplyTwice) {
    Set(kSurfaceParams, surfaceParams::kLinkeditsurf, false);
    Set(kTransformParams, transformParams::kApplyscale, true);
    Set(kTransformParams, transformParams::kScalexmin, 50);
    Set(kTransformParams, transformParams::kApplyrotation, true);
    Set(kTransformParams, transformParams::kApplytranslation, true);
    Set(kTransformParams, transformParams::kTransxmax, 80);
    Edit(20);
    Run();
    std::vector<TDravinItem> before;
    for (size_t i = 0; i < 20; ++i) before.push_back(object->Build().Items().Item(i));
    ui->answers = {Answer::kYes};
    EXPECT_TRUE(items->StoreTransforms());
    EXPECT_EQ(ui->questions[0],
              "Random transformations will stored within the items, and Transform parameters will "
              "be reset. Are you sure ?");
    EXPECT_FALSE(object->Block(kTransformParams).GetBool(transformParams::kApplyscale, 0));
    Run();
    for (size_t i = 0; i < 20; ++i) {
        TDravinItem after = object->Build().Items().Item(i);
        EXPECT_NEAR(Length(after.position - before[i].position), 0, 1e-4);
        EXPECT_NEAR(after.width, before[i].width, 1e-5);
        for (int r = 0; r < 3; ++r)
            EXPECT_NEAR(Length(after.transform.row[r] - before[i].transform.row[r]), 0, 1e-4);
    }
}

TEST_F(EditingMode, ItemsKeepTheirGeometryWhenRowsMove) {
    AddRow(plane);
    AddRow(box);
    for (int i = 0; i < 3; ++i)
        object->Block(kGeomParams).SetValue(geomParams::kSpecidlist, 0, 10 + i, i);
    Edit(4);
    std::vector<TStoredItem> list = List();
    for (size_t i = 0; i < 4; ++i) list[i].specimenIndex = int(i);
    object->SetStoredItems(list);
    TItemDelta delta;
    delta.geometry = 2;
    object->SetDelta(delta);
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
    {
        TKeptGeometry keep(*object);
        rows.Delete({1});
    }
    // Row 1 is gone, row 2 is now row 1; what showed row 1, or none, stays as it was.
    std::vector<int> shown;
    for (const TStoredItem& item : List()) shown.push_back(item.specimenIndex);
    EXPECT_EQ(shown, (std::vector<int>{0, 1, 1, 3}));
    EXPECT_EQ(object->Deltas()[0].geometry, 1);
}

TEST_F(EditingMode, ObjectsAreCreatedAsTheModeSays) {
    INode* clicked = CreateDravin(scene, 0, {1, 2, 3}, 0);
    auto* made = dynamic_cast<TDravin*>(clicked->GetObjectRef());
    EXPECT_EQ(clicked->GetNodeTM(0).GetTrans(), (Point3{1, 2, 3}));
    EXPECT_EQ(made->Block(kGeomParams).Count(geomParams::kNamelist), 1);
    EXPECT_EQ(made->Block(kGeomParams).GetFloat(geomParams::kWidth, 0), 2);
    EXPECT_EQ(made->Block(kGeomParams).GetFloat(geomParams::kHeight, 0), 3);
    auto* edited = dynamic_cast<TDravin*>(CreateDravin(scene, 1, {}, 0)->GetObjectRef());
    EXPECT_EQ(edited->Block(kEditionParams).GetInt(editionParams::kMode, 0), 1);
    auto* dragged = dynamic_cast<TDravin*>(CreateDravin(scene, 2, {}, 4)->GetObjectRef());
    EXPECT_EQ(dragged->Block(kGeomParams).Count(geomParams::kNamelist), 0);
    EXPECT_EQ(dragged->Block(kGenParams).GetFloat(genParams::kIconsize, 0), 4);
    EXPECT_EQ(CreateDravin(scene, 2, {}, 0.00009f), nullptr);
    EXPECT_NE(CreateDravin(scene, 2, {}, 0.0001f), nullptr);
}

}  // namespace
