#include "apps/studio/windows/lister_window.h"

#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTableView>

#include "Dravin/dravin.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct Lister : StudioWindow {
    std::unique_ptr<ListerWindow> lister;
    QTableView* table = nullptr;

    void OpenLister() {
        lister = std::make_unique<ListerWindow>(Session(), window.get());
        lister->Open();
        table = lister->findChild<QTableView*>("lister_rows");
        Rest();
    }
    // The small scene with one more object, which has two entries and no surface.
    void OpenTwo() {
        OpenSmall();
        Session().Run("node.clone", "meadow", {});
        Rest();
        OpenLister();
    }
    std::string Cell(int row, const char* header) {
        for (int c = 0; c < table->model()->columnCount(); ++c)
            if (table->model()->headerData(c, Qt::Horizontal).toString() == header)
                return table->model()->index(row, c).data().toString().toStdString();
        return "no such column";
    }
    bool IsHidden(const std::string& name) {
        bool isHidden = false;
        Rest();
        Session().Look([&](Scene& scene) { isHidden = scene.FindNode(name)->IsHidden(); });
        return isHidden;
    }
    QPointF At(int row) { return table->visualRect(table->model()->index(row, 1)).center(); }
};

}  // namespace

TEST_F(Lister, TellsWhatAnObjectIsSetUpToDo) {
    OpenSmall();
    OpenLister();
    ASSERT_EQ(table->model()->rowCount(), 1);
    EXPECT_EQ(Cell(0, "Object"), "meadow");
    EXPECT_EQ(Cell(0, "Geometry"), "1 model");
    EXPECT_EQ(Cell(0, "Surfaces"), "1 XY Surf");
    EXPECT_EQ(Cell(0, "Items Editor"), "Generate");
    EXPECT_EQ(Cell(0, "Animation"), "Static");
    EXPECT_EQ(Session().Reports()[0].numItems, 1024);
    EXPECT_EQ(Cell(0, "Distribution"), "1.0K items");
}

TEST_F(Lister, FollowsChanges) {
    OpenSmall();
    OpenLister();
    Session().Run("geometry.add", "meadow", {{"node", "ground"}});
    Rest();
    EXPECT_EQ(Cell(0, "Geometry"), "2 models");
    Session().Undo();
    Rest();
    EXPECT_EQ(Cell(0, "Geometry"), "1 model");
}

TEST_F(Lister, ADragOverRowsIsOneSelection) {
    OpenTwo();
    ASSERT_EQ(table->model()->rowCount(), 2);
    size_t steps = NumSteps();
    QWidget* rows = table->viewport();
    hand::Press(rows, At(0));
    hand::Move(rows, At(1));
    hand::Release(rows, At(1));
    EXPECT_EQ(Selected().size(), 2u);
    EXPECT_EQ(NumSteps(), steps + 1);
    // What is selected already is no step.
    table->selectAll();
    EXPECT_EQ(NumSteps(), steps + 1);
}

TEST_F(Lister, AChangeIsOneForAllSelected) {
    OpenTwo();
    table->selectAll();
    Rest();
    Session().Do(
        [this](Scene& scene) { Session().Panel(scene).SetNumber(distParams::kPixelsX, 123); });
    Rest();
    std::vector<int> values;
    Session().Look([&](Scene& scene) {
        for (INode* node : scene.Nodes())
            if (auto* object = dynamic_cast<TDravin*>(node->GetObjectRef()))
                values.push_back(object->Block(kDistParams).GetInt(distParams::kPixelsX));
    });
    EXPECT_EQ(values, (std::vector{123, 123}));
}

TEST_F(Lister, HidesAllSelectedInOneStepAndUndoShowsThem) {
    OpenTwo();
    std::string other = Cell(1, "Object");
    table->selectAll();
    Rest();
    size_t steps = NumSteps();
    for (QPushButton* button : lister->findChildren<QPushButton*>())
        if (button->text() == "Hide") button->click();
    EXPECT_TRUE(IsHidden("meadow"));
    EXPECT_TRUE(IsHidden(other));
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_EQ(table->model()->index(0, 0).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
    Session().Undo();
    EXPECT_FALSE(IsHidden("meadow"));
    EXPECT_FALSE(IsHidden(other));
}

TEST_F(Lister, ATickHidesOnlyItsRowWhenOthersAreSelected) {
    OpenTwo();
    std::string other = Cell(1, "Object");
    table->selectRow(1);
    Rest();
    table->model()->setData(table->model()->index(0, 0), Qt::Unchecked, Qt::CheckStateRole);
    EXPECT_TRUE(IsHidden("meadow"));
    EXPECT_FALSE(IsHidden(other));
    table->model()->setData(table->model()->index(0, 0), Qt::Checked, Qt::CheckStateRole);
    EXPECT_FALSE(IsHidden("meadow"));
}

TEST_F(Lister, AFilterLeavesTheSelection) {
    OpenTwo();
    std::string other = Cell(1, "Object");
    table->selectRow(1);
    Rest();
    size_t steps = NumSteps();
    lister->findChild<QLineEdit*>()->setText("no such object");
    Rest();
    EXPECT_EQ(table->model()->rowCount(), 0);
    EXPECT_EQ(Selected(), std::vector{other});
    lister->findChild<QLineEdit*>()->clear();
    Rest();
    EXPECT_EQ(NumSteps(), steps);
    EXPECT_TRUE(table->selectionModel()->isRowSelected(1));
}

TEST_F(Lister, AThousandObjectsMakeNoWidgets) {
    std::string nodes;
    for (int i = 0; i < 1000; ++i)
        nodes += (i ? "," : "") + std::string(R"({"type": "dravin", "name": "object)") +
                 std::to_string(i) + "\"}";
    Open(R"({"dravin_scene": 1, "nodes": [)" + nodes + "]}");
    OpenLister();
    EXPECT_EQ(table->model()->rowCount(), 1000);
    EXPECT_LT(lister->findChildren<QWidget*>().size(), 40);
    table->selectAll();
    EXPECT_EQ(Selected().size(), 1000u);
}

TEST_F(Lister, ItemsAreSortedByTheirNumber) {
    OpenTwo();
    Session().Run("param.set", Cell(1, "Object"), {{"name", "threshold"}, {"value", 90}});
    Rest();
    std::map<NodeHandle, int64_t> counts;
    for (const ObjectReport& report : Session().Reports()) counts[report.handle] = report.numItems;
    ASSERT_EQ(counts.size(), 2u);
    int column = 3;
    ASSERT_EQ(table->model()->headerData(column, Qt::Horizontal).toString(), "Distribution");
    for (Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
        table->sortByColumn(column, order);
        auto number = [&](int row) {
            return table->model()->index(row, column).data(Qt::UserRole).toLongLong();
        };
        EXPECT_TRUE(order == Qt::AscendingOrder ? number(0) <= number(1) : number(0) >= number(1));
    }
}

TEST_F(Lister, StandsWhereItStoodAndNeverOffTheScreen) {
    OpenSmall();
    OpenLister();
    lister->setGeometry(40, 50, 700, 300);
    lister->hide();
    lister = std::make_unique<ListerWindow>(Session(), window.get());
    lister->Open();
    EXPECT_EQ(lister->geometry(), QRect(40, 50, 700, 300));
    QRect screen(0, 0, 1000, 800);
    EXPECT_EQ(PlacedOnScreen({-500, 790, 300, 200}, screen), QRect(0, 600, 300, 200));
    EXPECT_EQ(PlacedOnScreen({10, 10, 5000, 200}, screen), QRect(0, 10, 1000, 200));
    EXPECT_EQ(PlacedOnScreen({10, 20, 300, 200}, screen), QRect(10, 20, 300, 200));
}

TEST_F(Lister, EscapeLeavesItOpen) {
    OpenSmall();
    OpenLister();
    hand::Key(table, Qt::Key_Escape);
    EXPECT_TRUE(lister->isVisible());
}

// --- statistics

TEST_F(Lister, StatisticsShowWhatTheLastBuildCounted) {
    OpenSmall();
    auto* view = window->findChild<QTableView*>("statistics_rows");
    ASSERT_TRUE(view);
    auto value = [&](const char* label) -> std::string {
        for (int row = 0; row < view->model()->rowCount(); ++row)
            if (view->model()->index(row, 0).data().toString() == label)
                return view->model()->index(row, 1).data().toString().toStdString();
        return "none";
    };
    EXPECT_EQ(view->model()->index(0, 0).data().toString(), "meadow");
    EXPECT_EQ(value("Items"), "1,024");
    EXPECT_EQ(value("Warning"), "none");
    Session().Run("param.set", "meadow", {{"name", "disabled"}, {"value", true}});
    Rest();
    EXPECT_EQ(value("Warning"), "Object is disabled in Display settings");
    EXPECT_EQ(value("Items"), "none");  // blank
}
