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
    model.nodes = {{}, {0, Matrix3::Translation({1, 2, 3})}};
    model.objects = {{"trunk", 1, 0, {0, 1}, {}, {}},
                     {"leaf",
                      0,
                      1,
                      {},
                      {{{{0, 1}, {3, 0.5f}}, 1, Matrix3::Translation({7, 0, 0})}},
                      {{{{1, 1, 1}}, {{5, 0.25f}, {9, 1}}, 2}}}};
    model.animations = {{"sway", 1.5, 1}, {"fall", 2, 0}};
    model.channels = {{{{0, {1, 2, 3}}, {480, {4, 5, 6}}}, {}, {{0, {}}}, 1}};
    return model;
}

}  // namespace

TEST(ModelStream, ComesBackWhole) {
    std::string error;
    std::optional<StreamModel> back = ReadModelStream(WriteModelStream(Sample()), &error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(back->meshes, Sample().meshes);
    EXPECT_EQ(back->materials[0].diffuseMap[0].file, "bark.png");
    EXPECT_EQ(back->nodes[1].transform.GetTrans(), (Point3{1, 2, 3}));
    EXPECT_EQ(back->objects[0].node, 1u);
    EXPECT_EQ(back->objects[1].bones[0].weights[1].weight, 0.5f);
    EXPECT_EQ(back->objects[1].morphs[0].keys, Sample().objects[1].morphs[0].keys);
    EXPECT_EQ(back->animations[1].name, "fall");
    EXPECT_EQ(back->channels[0].positions, Sample().channels[0].positions);
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
    using Damage = void (*)(StreamModel&);
    const Damage kDamages[] = {[](StreamModel& m) { m.objects[0].mesh = 2; },
                               [](StreamModel& m) { m.objects[0].node = 2; },
                               [](StreamModel& m) { m.objects[0].materials[1] = 2; },
                               [](StreamModel& m) { m.objects[1].bones[0].node = 2; },
                               [](StreamModel& m) { m.objects[1].bones[0].weights[0].vertex = 4; },
                               [](StreamModel& m) { m.objects[1].morphs[0].firstVertex = 4; },
                               [](StreamModel& m) { m.objects[1].morphs[0].keys[1].time = 5; },
                               [](StreamModel& m) { m.meshes[1].faces[0].v[0] = 4; },
                               [](StreamModel& m) { m.nodes[1].parent = 1; },
                               [](StreamModel& m) { m.channels[0].node = 2; },
                               [](StreamModel& m) { m.channels[0].positions[1].time = 0; }};
    for (size_t i = 0; i < std::size(kDamages); ++i) {
        StreamModel model = Sample();
        kDamages[i](model);
        std::string error;
        EXPECT_FALSE(ReadModelStream(WriteModelStream(model), &error)) << i;
        EXPECT_EQ(error, "the import helper's answer is damaged");
    }
}
