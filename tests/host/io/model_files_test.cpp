#include "host/io/model_files.h"

#include <gmock/gmock.h>

#include "host/io/bitmap.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// A project with a scene's folder, in it a folder with a model, and a secret beside both.
struct Project {
    TempFolder folder;
    std::string model, error;
    ImportedModel imported;

    Project() {
        fs::create_directories(folder.File("scene/models"));
        fs::create_directories(folder.File("scene/textures"));
        model = folder.Write("scene/models/m.obj", "");
        for (const char* image : {"secret.png", "scene/textures/Bark.PNG", "scene/models/leaf.png"})
            WriteBitmap(folder.File("x.png"), Bitmap(1, 1, 1, std::vector<uint8_t>{7}), &error),
                fs::rename(folder.File("x.png"), folder.File(image));
    }
    ModelFiles Files() { return ModelFiles(model, {folder.File("scene")}, &imported); }
    std::shared_ptr<BitmapTex> Texture(const std::string& name) {
        return Files().Texture(name, "diffuse", nullptr);
    }
};

}  // namespace

TEST(ModelFiles, NothingOutsideTheRootsIsOpened) {
    Project project;
    std::string absolute = project.folder.File("secret.png");
    for (const std::string& name :
         {std::string("../../secret.png"), std::string("..\\..\\secret.png"), absolute,
          std::string("../../../../../../../../etc/passwd")}) {
        EXPECT_EQ(project.Texture(name), nullptr) << name;
        ASSERT_FALSE(project.imported.warnings.empty());
        EXPECT_THAT(project.imported.warnings.back(), HasSubstr(name + " lies outside"));
    }
    std::string error;
    EXPECT_FALSE(project.Files().Resolve(absolute, &error));
}

TEST(ModelFiles, LinksDoNotLeadOut) {
    Project project;
    fs::create_symlink(project.folder.File("secret.png"),
                       project.folder.File("scene/models/link.png"));
    EXPECT_EQ(project.Texture("link.png"), nullptr);
    EXPECT_THAT(project.imported.warnings, ElementsAre(HasSubstr("link.png lies outside")));
}

TEST(ModelFiles, ImagesOfTheSceneAreFound) {
    Project project;
    EXPECT_NE(project.Texture("leaf.png"), nullptr);
    EXPECT_NE(project.Texture("../textures/Bark.PNG"), nullptr);
    EXPECT_TRUE(project.imported.warnings.empty());
    // Paths and cases of the author's machine.
    EXPECT_NE(project.Texture("C:\\art\\LEAF.PNG"), nullptr);
    EXPECT_NE(project.Texture("bark.png"), nullptr);
    EXPECT_THAT(project.imported.warnings, ElementsAre(HasSubstr("C:\\art\\LEAF.PNG is taken from"),
                                                       HasSubstr("bark.png is taken from")));
    EXPECT_EQ(project.Texture("none.png"), nullptr);
}

TEST(ModelFiles, ImagesInTheMaterialsFolderBesideAreFound) {
    Project project;
    fs::create_directories(project.folder.File("scene/materials/textures"));
    fs::rename(project.folder.File("scene/models/leaf.png"),
               project.folder.File("scene/materials/textures/leaf.png"));
    EXPECT_NE(project.Texture("leaf.png"), nullptr);
    // Without a scene that holds both folders, the one beside the model's stays closed.
    ImportedModel alone;
    EXPECT_EQ(ModelFiles(project.model, {}, &alone).Texture("leaf.png", "", nullptr), nullptr);
}

TEST(ModelFiles, BuffersAndLibrariesStayInsideToo) {
    TempFolder folder;
    fs::create_directories(folder.File("models"));
    folder.Write("secret.bin", std::string(36, '\0'));
    folder.Write("secret.mtl", "newmtl red\nKd 1 0 0\n");
    std::string gltf = R"({"asset":{"version":"2.0"},"nodes":[{"mesh":0}],"meshes":[{"primitives":[
        {"attributes":{"POSITION":0}}]}],"accessors":[{"bufferView":0,"componentType":5126,
        "count":3,"type":"VEC3"}],"bufferViews":[{"buffer":0,"byteLength":36}],
        "buffers":[{"byteLength":36,"uri":"../secret.bin"}]})";
    ImportedModel model;
    std::string error;
    EXPECT_FALSE(ImportModel(folder.Write("models/a.gltf", gltf), &model, &error));
    model = ImportText(folder, "models/b.obj",
                       "mtllib ../secret.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
    EXPECT_EQ(model.objects.at(0).material, nullptr);
    EXPECT_THAT(model.warnings[0], HasSubstr("../secret.mtl lies outside"));
}

TEST(ModelFiles, LeftOutThingsAreCounted) {
    ImportedModel model;
    ModelFiles files("m.glb", {}, &model);
    files.LeaveOut("normal map");
    files.LeaveOut("animation", 2);
    files.LeaveOut("camera", 0);
    files.LeaveOut("row of element \"edge\"", 3);
    files.Finish();
    files.Finish();
    EXPECT_THAT(model.warnings,
                ElementsAre("m.glb: left out: 2 animations, 1 normal map, 3 rows of "
                            "element \"edge\""));
}
