#include "host/io/model_stream.h"

#include <gtest/gtest.h>

#include "host/geom/primitives.h"

namespace {

StreamModel Sample() {
    StreamModel model;
    model.meshes = {MakeBox(1, 2, 3), MakePlane(1, 1)};
    StreamMaterial bark;
    bark.name = "bark";
    bark.diffuseMap = {{"bark.png", "", 1, {2, 2}, {}}};
    model.materials = {bark, {}};
    model.objects = {{"trunk", Matrix3::Translation({1, 2, 3}), 0, {0, 1}}, {"leaf", {}, 1, {}}};
    return model;
}

}  // namespace

TEST(ModelStream, ComesBackWhole) {
    std::string error;
    std::optional<StreamModel> back = ReadModelStream(WriteModelStream(Sample()), &error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(back->meshes, Sample().meshes);
    EXPECT_EQ(back->materials[0].diffuseMap[0].file, "bark.png");
    EXPECT_EQ(back->objects[0].transform.GetTrans(), (Point3{1, 2, 3}));
    EXPECT_EQ(back->objects[0].materials, (std::vector<uint32_t>{0, 1}));
}

TEST(ModelStream, FailureCarriesItsReason) {
    std::string error;
    EXPECT_FALSE(ReadModelStream(WriteFailureStream("out of paper"), &error));
    EXPECT_EQ(error, "out of paper");
}

TEST(ModelStream, EveryPrefixAndAnyLengthIsRefused) {
    std::string bytes = WriteModelStream(Sample()), error;
    for (size_t n = 0; n < bytes.size(); ++n)
        ASSERT_FALSE(ReadModelStream(bytes.substr(0, n), &error));
    EXPECT_FALSE(ReadModelStream(bytes + "x", &error));
    for (size_t i = 15; i < bytes.size(); i += 3) {
        std::string damaged = bytes;
        damaged[i] = '\xFF';
        ReadModelStream(damaged, &error);  // must neither crash nor allocate without bound
    }
}

TEST(ModelStream, DanglingReferencesAreRefused) {
    StreamModel model = Sample();
    model.objects[0].mesh = 2;
    std::string error;
    EXPECT_FALSE(ReadModelStream(WriteModelStream(model), &error));
    EXPECT_EQ(error, "the import helper's answer is damaged");
}
