#include "Dravin/geometry/template_list.h"

#include <gtest/gtest.h>

#include "Dravin/config/main_folder.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "tests/temp_folder.h"

namespace {

class Templates : public testing::Test {
protected:
    HostContext host;
    ScriptedUserInterface* user = nullptr;
    TempFolder folder;
    Scene scene;

    void SetUp() override {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
    }
    // A file whose node "Oak" stands at (5, 6, 7), twice as high as wide.
    static std::unique_ptr<Scene> OakFile(const std::string& path, std::string*) {
        if (path.find("oak.max") == std::string::npos) return nullptr;
        auto file = std::make_unique<Scene>();
        auto mesh = std::make_shared<Mesh>(MakeBox(1, 1, 1, 1));
        auto node = INode::Create("Oak", std::make_shared<TriObject>(std::move(mesh)));
        node->SetLocalTM({{{1, 0, 0}, {0, 1, 0}, {0, 0, 2}, {5, 6, 7}}});
        file->AddNode(node);
        return file;
    }
};

TEST_F(Templates, TheIndexGivesDefinitionsInOrder) {
    folder.Write("index.dat", "header\nOne Plane;oak;Oak;oak.jpg\nBush;bush;Bush;\n");
    TTemplates templates;
    EXPECT_TRUE(templates.ReadDefinitions(folder.File("")));
    EXPECT_EQ(templates.Names(), (std::vector<std::string>{"One Plane", "Bush"}));
    EXPECT_EQ(templates.Definitions()[1]->image, "");
}

TEST_F(Templates, ABadLineKeepsTheTemplatesBeforeItAndTellsItsNumber) {
    folder.Write("index.dat", "header\nA;a;a;a\nB;b;b;b;b\nC;c;c;c\n");
    TTemplates templates;
    EXPECT_FALSE(templates.ReadDefinitions(folder.File("")));
    EXPECT_EQ(templates.Names(), (std::vector<std::string>{"A"}));
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text, "Error reading geometry\\index.dat (line 2). Bad format !");
}

TEST_F(Templates, AMissingIndexIsToldUnlessTheHostIsQuiet) {
    TTemplates templates;
    EXPECT_FALSE(templates.ReadDefinitions(folder.File("none")));
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text, "Error opening file:  \n" + folder.File("none/index.dat"));
    host.quiet = true;
    EXPECT_FALSE(templates.ReadDefinitions(folder.File("none")));
    EXPECT_EQ(user->messages.size(), 1u);
}

TEST_F(Templates, CopiesTakeTheTextsAndNoNode) {
    TSpecGeomList from{std::make_shared<TSpecGeom>("n", "f", "o", "i")}, to;
    from[0]->SetReference(0, INode::Create("node"));
    CopyTemplateList(to, from);
    ASSERT_EQ(to.size(), 1u);
    EXPECT_EQ(to[0]->object, "o");
    EXPECT_EQ(to[0]->Node(), nullptr);
    EXPECT_NE(from[0]->Node(), nullptr);
}

TEST_F(Templates, AMergedTemplateIsInvisibleAndKeepsItsTransformWithoutTranslation) {
    TSpecGeom oak("Oak tree", "oak", "Oak", "");
    ASSERT_TRUE(LoadTemplateNode(oak, scene, folder.File(""), OakFile));
    INode* node = scene.FindNode("_dravin_template_Oak tree");
    ASSERT_EQ(oak.Node(), node);
    Matrix3 zero;
    zero.Zero();
    EXPECT_EQ(node->GetNodeTM(0), zero);
    EXPECT_TRUE(node->IsHidden());
    EXPECT_FALSE(node->IsRenderable());
    EXPECT_TRUE(scene.FindLayer("dravin_templates")->frozen);
    EXPECT_EQ(TemplateTransform(*node), (Matrix3{{{1, 0, 0}, {0, 1, 0}, {0, 0, 2}, {0, 0, 0}}}));
    EXPECT_EQ(node->UserProperties().size(), 12u);
}

TEST_F(Templates, ADecimalCommaReadsAsAPoint) {
    auto node = INode::Create("_dravin_template_x");
    node->SetUserProperty("m00", std::string("0,5"));
    node->SetUserProperty("m32", std::string("nonsense"));
    Matrix3 m = TemplateTransform(*node);
    EXPECT_EQ(m.row[0].x, 0.5f);
    EXPECT_EQ(m.row[1].y, 1);
    EXPECT_EQ(m.row[3].z, 0);
}

TEST_F(Templates, ANodeOfTheNameInTheSceneIsTakenWithoutMerging) {
    auto node = INode::Create("_dravin_template_Oak tree", std::make_shared<DummyObject>());
    scene.AddNode(node);
    TSpecGeom oak("Oak tree", "oak", "Oak", "");
    EXPECT_TRUE(LoadTemplateNode(oak, scene, "", {}));
    EXPECT_EQ(oak.Node(), node.get());
    scene.DeleteNode(*node);
    EXPECT_EQ(oak.Node(), nullptr);
    EXPECT_FALSE(LoadTemplateNode(oak, scene, "", {}));
}

TEST_F(Templates, AFailedMergeReportsFileAndObjectAndAddsNothing) {
    size_t nodes = scene.Nodes().size();
    TSpecGeom missing("M", "missing", "M", ""), wrong("W", "oak", "Elm", "");
    EXPECT_FALSE(LoadTemplateNode(missing, scene, "geo", OakFile));
    EXPECT_FALSE(LoadTemplateNode(wrong, scene, "geo", OakFile));
    ASSERT_EQ(user->messages.size(), 2u);
    EXPECT_EQ(user->messages[1].text, "Error loading geometry:  geo/objects/oak.max (Elm) !");
    EXPECT_EQ(user->messages[1].caption, "Dravin Pack");
    EXPECT_EQ(scene.Nodes().size(), nodes);
    TSpecGeom empty("E", "", "E", "");
    EXPECT_FALSE(LoadTemplateNode(empty, scene, "geo", OakFile));
    EXPECT_EQ(user->messages.size(), 2u);
}

TEST_F(Templates, LoadAllGoesOnAfterAFailure) {
    TSpecGeomList list{std::make_shared<TSpecGeom>("M", "missing", "M", ""),
                       std::make_shared<TSpecGeom>("O", "oak", "Oak", "")};
    EXPECT_FALSE(LoadAllTemplates(list, scene, "", OakFile));
    EXPECT_NE(list[1]->Node(), nullptr);
}

TEST_F(Templates, TheShippedCatalogueStartsWithOnePlaneAndHasAtLeastTwelve) {
    TTemplates templates;
    EXPECT_TRUE(templates.ReadDefinitions(GeometryFolder()));
    std::vector<std::string> names = templates.Names();
    ASSERT_GE(names.size(), 12u);
    EXPECT_EQ(names[0], "One Plane");
    for (const auto& geom : templates.Definitions()) {
        EXPECT_TRUE(std::filesystem::exists(GeometryFolder() + "/objects/" + geom->file + ".max"))
            << geom->file;
        EXPECT_TRUE(std::filesystem::exists(GeometryFolder() + "/images/" + geom->image))
            << geom->image;
    }
}

}  // namespace
