#include "Dravin/tools/data_export.h"

#include <cstdio>

#include <gmock/gmock.h>

#include "Dravin/tools/tool_commands.h"
#include "tests/Dravin/build/scatter_fixture.h"
#include "tests/comma_locale.h"
#include "tests/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class DataExport : public ScatterFixture {
protected:
    TempFolder folder;
    ScriptedUserInterface* user = nullptr;
    TDtools tools;

    void SetUp() override {
        ScatterFixture::SetUp();
        host.SetCurrentScene(&scene);
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
        node->SetLocalTM(Matrix3::Translation({0, 0, 5}));
    }
    void TearDown() override {
        host.SetCurrentScene(nullptr);
        ScatterFixture::TearDown();
    }
    static TExportFields Fields(const char* keys) {
        std::vector<std::string> unknown;
        TExportFields fields = TExportFields::Parse(keys, &unknown);
        EXPECT_THAT(unknown, IsEmpty());
        return fields;
    }
    // The document of the last build's list.
    std::string ExportList(const TExportFields& fields, int threads = 2) {
        std::string error;
        TDataExport file(fields);
        EXPECT_TRUE(file.Open(folder.File("x.xml"), &error)) << error;
        file.BeginObject(*object, *node, 0);
        file.EndObject(threads);
        EXPECT_TRUE(file.Commit(&error)) << error;
        return folder.Read("x.xml");
    }
    // The document of a build that hands its items out as it makes them.
    std::string ExportStream(const TExportFields& fields, int threads) {
        std::string error;
        TDataExport file(fields);
        EXPECT_TRUE(file.Open(folder.File("x.xml"), &error)) << error;
        file.BeginObject(*object, *node, 0);
        TItemConsumer consumer = [&file](const TDravinItemList& items) { return file.Take(items); };
        TBuildFlags flags = Render();
        flags.noMesh = true;
        flags.forceThreads = threads;
        object->Build().BuildMesh(0, flags, &consumer);
        EXPECT_TRUE(object->Build().HasStreamed());
        file.EndObject(threads);
        EXPECT_TRUE(file.Commit(&error)) << error;
        return folder.Read("x.xml");
    }
    // The line of the item that is `place`th in the document.
    static std::string Line(const std::string& document, int place) {
        size_t at = document.find("<Item");
        for (; place > 0; --place) at = document.find("<Item", at + 1);
        return document.substr(at, document.find("/>", at) - at);
    }
    static size_t NumItems(const std::string& document) {
        size_t count = 0;
        for (size_t at = document.find("<Item"); at != document.npos;
             at = document.find("<Item", at + 1))
            ++count;
        return count;
    }
    static std::string G(float value) {
        char text[40];
        std::snprintf(text, sizeof text, "%g", double(value));
        return text;
    }
    static std::string Text(const Point3& p) {
        return "[" + G(p.x) + "," + G(p.y) + "," + G(p.z) + "]";
    }
    static std::string Text(const Matrix3& m) {
        return Text(m.GetRow(0)) + " " + Text(m.GetRow(1)) + " " + Text(m.GetRow(2)) + " " +
               Text(m.GetRow(3));
    }
};

}  // namespace

TEST_F(DataExport, FieldsOfTheGeometryListAndTheirForms) {
    using namespace geomParams;
    IParamBlock2& rows = object->Block(kGeomParams);
    auto bark = std::make_shared<StandardMtl>();
    scene.SetMaterial("bark & \"moss\"", bark);
    rows.SetValue(kNamelist, 0, "a<b>\n'\x01", 0);
    rows.SetValue(kWidthlist, 0, 1.5f, 0);
    rows.SetValue(kHeightlist, 0, 1234567.0f, 0);
    rows.SetValue(kProblist, 0, 33.25f, 0);
    rows.SetValue(kColoridlist, 0, Point3{0.25f, 0.5f, 1}, 0);
    rows.SetValue(kMatlist, 0, Target(bark), 0);
    Run(Render());
    EXPECT_EQ(
        Line(ExportList(Fields("geomID,geomType,colorID,description,size,probability,material")),
             0),
        "<Item geomID=\"0\" geomType=\"2\" colorID=\"[0.25,0.5,1]\" "
        "description=\"a&lt;b&gt;&#10;'\xEF\xBF\xBD\" size=\"[1.5,1.23457e+06]\" "
        "probability=\"33.25\" material=\"bark &amp; &quot;moss&quot;\"");
}

TEST_F(DataExport, ItemsHaveThePlacesThatTheBuildGaveThem) {
    Set(kTransformParams, transformParams::kApplyscale, 1);
    Set(kTransformParams, transformParams::kApplyrotation, 1);
    Set(kGeomParams, geomParams::kGlobscale, 50.0f);
    Run(Render());
    const int i = 7;
    std::string line =
        Line(ExportList(Fields("position,localPosition,seed,scale,rotation,localTM,finalTM")), i);
    TDravinItem item = object->Build().Items().Item(i);
    Point3 up{0, 0, 5};
    Matrix3 turned = item.transform, world = item.fullTransform;
    turned.SetTrans({});
    world.SetTrans(world.GetTrans() + up);
    EXPECT_EQ(line, "<Item position=\"" + Text(item.position + up) + "\" localPosition=\"" +
                        Text(item.position) + "\" seed=\"" + std::to_string(item.seed) +
                        "\" scale=\"" + Text(item.scale * 0.5f) + "\" rotation=\"" + Text(turned) +
                        "\" localTM=\"" + Text(item.fullTransform) + "\" finalTM=\"" + Text(world) +
                        "\"");
}

TEST_F(DataExport, OtherFieldsOfAnItem) {
    Run(Render());
    TDravinItem item = object->Build().Items().Item(3);
    item.mirrored = 1;
    item.tintColor = {0.5f, 0.25f, 0};
    item.tintBlend = 0.75f;
    item.zOffset = -2.5f;
    object->Build().Items().Write(3, item);
    std::string line =
        Line(ExportList(Fields("tintColor tintMult;mirror,zOffset,surfNormal,surfFace")), 3);
    EXPECT_EQ(line,
              "<Item tintColor=\"[0.5,0.25,0]\" tintMult=\"0.75\" mirror=\"1\" zOffset=\"-2.5\" "
              "surfNormal=\"[0,0,1]\" surfFace=\"" +
                  std::to_string(item.surfaceFace) + "\"");
    EXPECT_THAT(
        Line(ExportList(Fields("lookAtVector,lightVector,surfDirection,animSample,animOffset")), 3),
        HasSubstr("lookAtVector=\"[0,0]\" lightVector=\"[0,0]\" animSample=\"0\" "
                  "animOffset=\"0\" surfDirection=\"[1,0,0]\""));
}

TEST_F(DataExport, DiscardedItemsAreLeftOutAndCounted) {
    Run(Render());
    TDravinItemList& items = object->Build().Items();
    size_t count = items.Count();
    ASSERT_GT(count, 5u);
    TDravinItem item = items.Item(1);
    item.discarded = 1;
    items.Write(1, item);
    std::string document = ExportList(Fields("index"));
    EXPECT_EQ(NumItems(document), count - 1);
    EXPECT_EQ(Line(document, 0), "<Item index=\"0\"");
    EXPECT_EQ(Line(document, 1), "<Item index=\"2\"");
}

TEST_F(DataExport, TheFrameOfTheDocument) {
    Run(Render());
    std::string document = ExportList(TExportFields::None());
    std::string head =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<DravinData version=\"1\">\n"
        " <DravinObject name=\"scatter\">\n  <Item/>\n";
    EXPECT_EQ(document.substr(0, head.size()), head);
    EXPECT_TRUE(document.ends_with("  <Item/>\n </DravinObject>\n</DravinData>\n"));
}

TEST_F(DataExport, StreamsAndListsGiveTheSameBytes) {
    Set(kDistParams, distParams::kPixelsX, 100);
    Set(kDistParams, distParams::kPixelsY, 100);
    std::string streamed = ExportStream(TExportFields::All(), 3);
    EXPECT_EQ(ExportStream(TExportFields::All(), 1), streamed);
    TBuildFlags flags = Render();
    Run(flags);
    EXPECT_GT(NumItems(streamed), 2048u);  // more than one piece of a list
    EXPECT_EQ(ExportList(TExportFields::All(), 1), streamed);
    EXPECT_EQ(ExportList(TExportFields::All(), 3), streamed);
}

TEST_F(DataExport, NumbersHaveAPointInEveryLocale) {
    Run(Render());
    std::string plain = ExportList(TExportFields::All());
    CommaLocale comma;
    EXPECT_EQ(ExportList(TExportFields::All()), plain);
}

TEST_F(DataExport, FieldListsTakeSeveralSeparators) {
    std::vector<std::string> unknown;
    TExportFields fields = TExportFields::Parse(" seed;index, nonsense\tSeed", &unknown);
    EXPECT_THAT(unknown, ElementsAre("nonsense", "Seed"));
    EXPECT_TRUE(fields.Has(TExportField::kSeed));
    EXPECT_TRUE(fields.Has(TExportField::kIndex));
    EXPECT_FALSE(fields.Has(TExportField::kSize));
    EXPECT_STREQ(ExportFieldNames()[size_t(TExportField::kSurfBary)].key, "surfBary");
    EXPECT_STREQ(ExportFieldNames()[size_t(TExportField::kRotation)].description,
                 "Final Rotation (4x3 Matrix");
}

TEST_F(DataExport, ThePanelExportsTheSelectedObjects) {
    auto [other, otherNode] = AddScatter("other");
    TToolCommands commands(scene, tools);
    EXPECT_FALSE(commands.Export(TExportFields::None(), folder.File("a.xml")));
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text, "There are not Dravin objets selected");
    INode* both[] = {node, otherNode.get(), plane.get()};
    scene.Select(both);
    EXPECT_TRUE(commands.Export(TExportFields::None(), folder.File("a.xml")));
    EXPECT_EQ(user->messages[1].text, "XML file created sucessfully");
    std::string document = folder.Read("a.xml");
    size_t first = document.find("<DravinObject name=\"scatter\">");
    EXPECT_LT(first, document.find("<DravinObject name=\"other\">"));
    EXPECT_NE(first, document.npos);
}

TEST_F(DataExport, AFailureIsShownAndWritesNothing) {
    TToolCommands commands(scene, tools);
    scene.Select(std::span<INode* const>(&node, 1));
    EXPECT_FALSE(commands.Export(TExportFields::All(), folder.File("none/a.xml")));
    object->Block(kGeomParams).SetCount(geomParams::kNamelist, 0);
    EXPECT_FALSE(commands.Export(TExportFields::All(), folder.File("a.xml")));
    for (const auto& message : user->messages) EXPECT_EQ(message.text, "Error writing to XML file");
    EXPECT_EQ(user->messages.size(), 2u);
    EXPECT_EQ(folder.NumFiles(), 0u);
}
