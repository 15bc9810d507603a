#include "Dravin/commands/item_commands.h"

#include "tests/Dravin/commands/items_fixture.h"

namespace {

class ItemCommands : public ItemsFixture {
protected:
    std::vector<int> Entries() const {
        std::vector<int> entries;
        for (const TStoredItem& item : List()) entries.push_back(item.specimenIndex);
        return entries;
    }
};

constexpr Quat kQuarterTurn{0, 0, 0.70710678f, 0.70710678f};  // about z

TEST_F(ItemCommands, HitsSelectInOrder) {
    Edit(4);
    items->Select({2, 0}, true, false);
    EXPECT_EQ(items->Selected(), TItemNumbers{2});  // the first hit only
    items->Select({2, 3, 9, -1}, false, true, true);
    EXPECT_EQ(items->Selected(), TItemNumbers{3});
    items->Select(TGeneralSelection::kInvert);
    EXPECT_EQ(items->SelectedText(), "3 Items selected");
    object->editingItems = false;
    items->Select(TGeneralSelection::kAll);
    EXPECT_EQ(items->SelectedText(), "0 Items selected");
    EXPECT_FALSE(List()[3].selected);
}

TEST_F(ItemCommands, ControlsFollowTheLevelAndTheSelection) {
    Edit(2);
    EXPECT_TRUE(items->Controls().add);
    EXPECT_FALSE(items->Controls().selection);
    items->Select({0}, true);
    EXPECT_TRUE(items->Controls().selection);
    Edit(1);
    items->Select({0}, true);
    EXPECT_FALSE(items->Controls().selection);  // no more than one item
}

TEST_F(ItemCommands, SelectingByTypeWantsARow) {
    AddRow(plane);
    Edit(3);
    items->Select({1}, true);
    items->SetProperties(1, {}, {});
    items->Select({2}, true);
    EXPECT_FALSE(items->SelectByType({}));
    EXPECT_EQ(ui->messages[0].text, "Select a model from the list before using this option");
    EXPECT_EQ(ui->messages[0].caption, "Error");
    EXPECT_EQ(items->Selected().size(), 2u);
    EXPECT_TRUE(items->SelectByType(1));
    EXPECT_EQ(items->Selected(), TItemNumbers{1});
}

TEST_F(ItemCommands, MovesAlongTheAxesAtWork) {
    Edit(2);
    items->Select({1}, true);
    node->SetLocalTM(Matrix3::RotationZ(1.5707963f) * Matrix3::Translation({5, 5, 5}));
    items->Move(node->GetObjectTM(0), {}, {0, 1, 0});  // the object's x axis is the world's y axis
    EXPECT_NEAR(Length(List()[1].storedPosition - Point3{2, 0, 0}), 0, 1e-6);
    EXPECT_EQ(List()[0].storedPosition, Point3());
    items->Move(node->GetObjectTM(0), node->GetObjectTM(0), {0, 1, 0});
    EXPECT_NEAR(Length(List()[1].storedPosition - Point3{2, 1, 0}), 0, 1e-6);
}

TEST_F(ItemCommands, TurnsInPlaceOrAboutTheCentre) {
    Edit(2);
    items->Select({1}, true);
    Matrix3 axes = Matrix3::Translation({10, 0, 0});
    items->Rotate({}, axes, kQuarterTurn, false);
    EXPECT_EQ(List()[1].storedPosition, (Point3{1, 0, 0}));
    EXPECT_NEAR(Length(List()[1].sourceTransform.row[0] - Point3{0, 1, 0}), 0, 1e-6);
    // From nine to the left of the centre to nine below it.
    items->Rotate({}, axes, kQuarterTurn, true);
    EXPECT_NEAR(Length(List()[1].storedPosition - Point3{10, -9, 0}), 0, 1e-5);
    EXPECT_NEAR(Length(List()[1].sourceTransform.row[0] - Point3{-1, 0, 0}), 0, 1e-6);
}

TEST_F(ItemCommands, ScalingMovesNothing) {
    Edit(3);
    items->Select({0, 2}, true);
    items->Scale({2, 3, 4});
    items->Scale({2, 1, 1});
    EXPECT_EQ(List()[2].sizeFactor, (Point3{4, 3, 4}));
    EXPECT_EQ(List()[2].storedPosition, (Point3{2, 0, 0}));
    EXPECT_EQ(List()[1].sizeFactor, (Point3{1, 1, 1}));
}

TEST_F(ItemCommands, CentersAndTransformsAreThoseOfTheSelection) {
    Edit(3);
    node->SetLocalTM(Matrix3::Translation({0, 0, 7}));
    items->Select({1}, true);
    auto centers = items->Centers(0);
    ASSERT_EQ(centers.size(), 1u);
    EXPECT_EQ(centers[0], (std::pair<uint32_t, Point3>(1, {1, 0, 7})));
    EXPECT_EQ(items->Transforms(0)[0].second.GetTrans(), (Point3{1, 0, 7}));
    object->editingItems = false;
    EXPECT_EQ(items->Centers(0)[0].second, (Point3{0, 0, 7}));
}

TEST_F(ItemCommands, CopiesOfThreeItemsAreSelectedThen) {
    Edit(3);
    items->Select(TGeneralSelection::kAll);
    items->Clone();
    EXPECT_EQ(List().size(), 6u);
    EXPECT_EQ(items->Selected(), (TItemNumbers{3, 4, 5}));
    EXPECT_EQ(scene.undo.UndoName(), "Clone");
    items->Move({}, {}, {0, 5, 0});
    EXPECT_EQ(List()[1].storedPosition, (Point3{1, 0, 0}));
    EXPECT_EQ(List()[4].storedPosition, (Point3{1, 5, 0}));
}

TEST_F(ItemCommands, DeletingClosesTheList) {
    Edit(5);
    items->Select({0, 3}, true);
    items->Delete();
    ASSERT_EQ(List().size(), 3u);
    EXPECT_EQ(List()[2].seed, 4u);
    EXPECT_EQ(scene.undo.UndoName(), "Delete Items");
    scene.undo.Undo();
    EXPECT_EQ(List().size(), 5u);
    EXPECT_EQ(items->Selected(), (TItemNumbers{0, 3}));
}

TEST_F(ItemCommands, ASequenceWalksTheListAndStartsAgain) {
    AddRow(plane);
    AddRow(box);
    Edit(0);
    items->StartAdding();
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(items->Add({}, TAddChoice::kSequence));
    items->StartAdding();
    items->Add({}, TAddChoice::kSequence);
    EXPECT_EQ(Entries(), (std::vector<int>{0, 1, 2, 0, 1, 0}));
    EXPECT_EQ(scene.undo.UndoName(), "Create Item");
}

TEST_F(ItemCommands, AddedItemsStandWhereTheClickWas) {
    AddRow(plane);
    Edit(0);
    node->SetLocalTM(Matrix3::Translation({10, 0, 0}));
    EXPECT_TRUE(items->Add({12, 3, 1}, TAddChoice::kModel, 1));
    EXPECT_EQ(List()[0].storedPosition, (Point3{2, 3, 1}));
    EXPECT_EQ(List()[0].specimenIndex, 1);
    EXPECT_LT(List()[0].seed, 32768u);
    items->Add({}, TAddChoice::kModel);
    EXPECT_EQ(List()[1].specimenIndex, 0);
    object->Block(kGeomParams).SetCount(geomParams::kNamelist, 0);
    EXPECT_FALSE(items->Add({}, TAddChoice::kRandom));
    EXPECT_EQ(ui->messages.back().text,
              "Geometry List is empty. Please add some models and try again.");
    EXPECT_EQ(List().size(), 2u);
}

TEST_F(ItemCommands, PropertiesThatDifferAreLeftAloneUntilTheyAreSet) {
    Edit(3);
    items->Select({0}, true);
    items->SetProperties({}, 2, 9);
    items->Select({1}, true);
    TSelectionProperties shown = items->Properties();
    EXPECT_EQ(shown.count, 2);
    EXPECT_EQ(shown.entry, 0);
    EXPECT_FALSE(shown.element);
    EXPECT_FALSE(shown.userId);
    EXPECT_TRUE(items->SetProperties({}, 4, {}));
    EXPECT_EQ(items->Properties().element, 4);
    EXPECT_FALSE(items->Properties().userId);
    EXPECT_EQ(List()[0].userId, 9);
    items->Select(TGeneralSelection::kNone);
    EXPECT_FALSE(items->SetProperties({}, 1, {}));
}

TEST_F(ItemCommands, DetachingMovesTheSelectionToAnObjectOfItsOwn) {
    Edit(5);
    node->SetLocalTM(Matrix3::Translation({1, 2, 3}));
    items->Select({1, 4}, true);
    std::vector<TStoredItem> before = List();
    INode* made = items->Detach();
    ASSERT_TRUE(made);
    EXPECT_EQ(made->GetName().substr(0, 6), "Dravin");
    EXPECT_EQ(made->GetNodeTM(0).GetTrans(), (Point3{1, 2, 3}));
    auto* copy = dynamic_cast<TDravin*>(made->GetObjectRef());
    ASSERT_EQ(copy->StoredItems().size(), 2u);
    EXPECT_EQ(copy->StoredItems()[1].seed, 4u);
    EXPECT_EQ(copy->Block(kGeomParams).Count(geomParams::kNamelist), 1);
    EXPECT_EQ(List().size(), 3u);
    EXPECT_EQ(scene.undo.UndoName(), "Convert to Dravin");
    std::string name = made->GetName();
    scene.undo.Undo();
    EXPECT_EQ(List(), before);
    EXPECT_FALSE(scene.FindNode(name));
}

TEST_F(ItemCommands, AttachingTakesItemsAndDeletesNodes) {
    auto [other, otherNode] = AddScatter("other");
    other->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
    TStoredItem theirs;
    theirs.storedPosition = {1, 0, 0};
    theirs.specimenIndex = 5;  // row 0 of one
    other->SetStoredItems({theirs, theirs});
    other->Block(kGeomParams).SetValue(geomParams::kGlobscale, 0, 50.0f);
    otherNode->SetLocalTM(Matrix3::Scaling({2, 2, 2}) * Matrix3::Translation({0, 7, 0}));
    AddRow(plane);
    Edit(1);
    EXPECT_FALSE(items->MayAttach(*node));
    EXPECT_FALSE(items->MayAttach(*plane));
    EXPECT_EQ(items->Attach({node, otherNode.get(), plane.get(), otherNode.get()}), 2);
    ASSERT_EQ(List().size(), 3u);
    EXPECT_EQ(List()[2].storedPosition, (Point3{2, 7, 0}));
    EXPECT_EQ(List()[2].sizeFactor, (Point3{1, 1, 1}));  // twice as large, at half the scale
    EXPECT_EQ(List()[2].specimenIndex, 0);               // the row of the same name and kind
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kNamelist), 2);
    EXPECT_FALSE(scene.FindNode("other"));
    EXPECT_EQ(scene.undo.UndoName(), "Attach");
    scene.undo.Undo();
    EXPECT_EQ(List().size(), 1u);
    EXPECT_TRUE(scene.FindNode("other"));
}

TEST_F(ItemCommands, AttachingAppendsRowsWhereListsAreKeptApart) {
    auto [other, otherNode] = AddScatter("other");
    other->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
    other->SetStoredItems({TStoredItem()});
    Edit(0);
    Set(kEditionParams, editionParams::kConsgeom, false);
    EXPECT_EQ(items->Attach({otherNode.get()}), 1);
    EXPECT_EQ(List()[0].specimenIndex, 1);
    EXPECT_EQ(object->Block(kGeomParams).Count(geomParams::kNamelist), 2);
}

}  // namespace
