// The demo's scenes build, with as many items as their settings promise and where they belong.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "apps/dravin/demo_farm.h"
#include "apps/dravin/demo_scene.h"
#include "apps/dravin/session.h"

namespace fs = std::filesystem;

namespace {

struct Built {
    TBuildStatus status = TBuildStatus::kSuccess;
    std::vector<Point3> places;  // of the items that are shown
};

// A scene file of the demo's folder with all its objects built for a render.
class BuiltScene {
public:
    explicit BuiltScene(const fs::path& file) {
        EXPECT_EQ(m_session.Open(file.string()), kExitDone) << file;
        std::ifstream text(file);
        m_text = nlohmann::json::parse(text, nullptr, true, true);
        auto objects = m_session.FindObjects("");
        if (!objects) return;
        TBuildFlags flags;
        flags.render = flags.noMesh = true;
        for (const SceneDravin& dravin : *objects) {
            TDravinBuild& build = dravin.object->Build();
            build.BuildMesh(0, flags);
            Built& built = m_objects[dravin.node->GetName()];
            built.status = build.Status();
            EXPECT_EQ(built.status, TBuildStatus::kSuccess) << dravin.node->GetName();
            for (size_t i = 0; i < build.Items().Count(); ++i) {
                TDravinItem item;
                build.Items().ReadStored(i, &item);
                if (!item.discarded) built.places.push_back(item.position);
            }
        }
    }

    const std::vector<Point3>& Places(const std::string& object) {
        EXPECT_TRUE(m_objects.count(object)) << object;
        return m_objects[object].places;
    }
    size_t Count(const std::string& object) { return Places(object).size(); }
    size_t Total() const {
        size_t total = 0;
        for (auto& [name, built] : m_objects) total += built.places.size();
        return total;
    }
    // The node of this name as the file has it.
    nlohmann::json Node(const std::string& name) const {
        for (auto& node : m_text["nodes"])
            if (node["name"] == name) return node;
        return {};
    }

private:
    Session m_session;
    nlohmann::json m_text;
    std::map<std::string, Built> m_objects;
};

class DemoBuild : public testing::Test {
protected:
    static constexpr double kItems = 1.2e5;

    static void SetUpTestSuite() {
        s_folder = fs::path(testing::TempDir()) / "demo_build_test";
        fs::remove_all(s_folder);
        std::string error;
        ASSERT_TRUE(WriteDemoScene(s_folder.string(), {DRAVIN_SOURCE_DIR "/data", kItems}, &error))
            << error;
    }
    static void TearDownTestSuite() { fs::remove_all(s_folder); }

    static inline fs::path s_folder;
};

size_t NumPoints(const nlohmann::json& spline) { return spline["lines"][0]["points"].size(); }

// Items between two distances from the demo's camera, seen from above.
size_t CountInRing(const std::vector<Point3>& places, float near, float far) {
    size_t count = 0;
    for (const Point3& p : places) {
        float d = std::hypot(p.x + 1, p.y + 972);
        count += d >= near && d < far;
    }
    return count;
}

std::string TextOf(const fs::path& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// A section of docs/gallery.md: a picture, the command that makes it, a table of parameters.
struct GallerySection {
    std::string picture, scene;
    std::vector<std::string> names;  // in the table's first column
};

std::vector<GallerySection> ReadGallery() {
    std::string text = TextOf(DRAVIN_SOURCE_DIR "/docs/gallery.md");
    const std::regex head(R"(\(images/(\w+\.jpg)\)\s+```sh\n.*demo/(\w+)\.json)");
    const std::regex row(R"(\n\| ([^|\n]+) \|)"), name(R"(`(\w+)`)");
    const std::sregex_iterator end;
    std::vector<GallerySection> sections;
    for (std::sregex_iterator it(text.begin(), text.end(), head); it != end; ++it) {
        GallerySection& section = sections.emplace_back(GallerySection{it->str(1), it->str(2), {}});
        std::string rest = it->suffix();
        rest.resize(std::min(rest.size(), rest.find("\n## ")));
        for (std::sregex_iterator r(rest.begin(), rest.end(), row); r != end; ++r) {
            std::string cell = r->str(1);
            for (std::sregex_iterator n(cell.begin(), cell.end(), name); n != end; ++n)
                section.names.push_back(n->str(1));
        }
    }
    return sections;
}

}  // namespace

TEST_F(DemoBuild, ForestHasAboutAsManyItemsAsAsked) {
    BuiltScene forest(s_folder / "forest.json");
    EXPECT_GT(double(forest.Total()), 0.8 * kItems);
    EXPECT_LT(double(forest.Total()), 1.2 * kItems);
}

TEST_F(DemoBuild, TheMeadowLeavesTrackAndYardFree) {
    BuiltScene forest(s_folder / "forest.json");
    int onTrack = 0;
    for (const char* layer : {"Meadow grass", "Far grass", "Flowers"})
        for (const Point3& p : forest.Places(layer)) {
            onTrack += std::fabs(p.x - demo::RoadX(p.y)) < 0.9f;
            // The yard's border is drawn with corners, which cut a little off its curve.
            ASSERT_GT(demo::kYard.Reach(p.x, p.y), 0.93f) << layer;
        }
    // The band is a rectangle a segment: slits in bends, where hardly anything passes the falloff.
    EXPECT_LE(onTrack, 2);
    auto cabin = forest.Node("cabin")["position"];
    for (const Point3& p : forest.Places("Lawn"))
        ASSERT_GT(std::hypot(p.x - cabin[0].get<float>(), p.y - cabin[1].get<float>()), 2.5f);
    EXPECT_GT(forest.Count("Lawn"), 300u);
}

TEST_F(DemoBuild, NoTreeStandsInThePasture) {
    BuiltScene forest(s_folder / "forest.json");
    int around = 0;
    for (const Point3& p : forest.Places("Forest")) {
        float reach = demo::kPasture.Reach(p.x, p.y);
        ASSERT_GT(reach, 0.93f) << p.x << ' ' << p.y;  // trees are moved by up to 3 m
        around += reach < 1.5f;
    }
    EXPECT_GT(around, 50);
}

TEST_F(DemoBuild, AFencePostStandsAtEveryPointOfItsLine) {
    BuiltScene forest(s_folder / "forest.json");
    size_t posts = NumPoints(forest.Node("fence"));
    EXPECT_GT(posts, 30u);
    EXPECT_EQ(forest.Count("Fence posts"), posts);
    EXPECT_EQ(forest.Count("Fence rails"), posts - 1);
    const std::vector<Point3>& places = forest.Places("Fence posts");
    for (size_t i = 1; i < posts; ++i)  // the points are written to centimetres
        EXPECT_NEAR(Length(places[i] - places[i - 1]), 2.5f, 0.02f);
}

TEST_F(DemoBuild, TheMeadowThinsOutFromTheCamera) {
    BuiltScene forest(s_folder / "forest.json");
    std::vector<Point3> faded = forest.Places("Meadow grass");
    std::stringstream text;
    text << std::ifstream(s_folder / "forest.json").rdbuf();
    std::string even =
        std::regex_replace(text.str(), std::regex("\"camdensact\": true"), "\"camdensact\": false");
    std::ofstream(s_folder / "even.json") << even;
    std::vector<Point3> all = BuiltScene(s_folder / "even.json").Places("Meadow grass");
    EXPECT_EQ(CountInRing(faded, 0, 44), CountInRing(all, 0, 44));
    // From 100 % at 45 m the curve falls to 50 % at 160 m: 80.4 % in the middle of this ring.
    double share = double(CountInRing(faded, 80, 100)) / double(CountInRing(all, 80, 100));
    EXPECT_NEAR(share, 0.804, 0.03);
}

TEST_F(DemoBuild, IvyAndRosesStandOnTheWall) {
    BuiltScene wall(s_folder / "wall.json");
    EXPECT_GT(wall.Count("Ivy"), 3000u);
    EXPECT_LT(wall.Count("Ivy"), 12000u);
    EXPECT_GT(wall.Count("Roses"), 50u);
    EXPECT_LT(wall.Count("Roses"), 500u);
    for (const char* layer : {"Ivy", "Roses"})
        for (const Point3& p : wall.Places(layer)) {
            ASSERT_LT(std::fabs(p.y), 0.5f) << layer;
            ASSERT_LT(p.z, 3.5f) << layer;
        }
    EXPECT_GT(wall.Count("Lawn"), 5000u);
    EXPECT_GT(wall.Count("Way"), 8u);
}

TEST_F(DemoBuild, EveryParticleIsALeaf) {
    BuiltScene autumn(s_folder / "autumn.json");
    auto particles = autumn.Node("gust")["particles"];
    EXPECT_GT(particles.size(), 500u);
    ASSERT_EQ(autumn.Count("Flying leaves"), particles.size());
    Point3 first = autumn.Places("Flying leaves")[0];
    EXPECT_FLOAT_EQ(first.x, particles[0]["position"][0].get<float>());
    EXPECT_FLOAT_EQ(first.z, particles[0]["position"][2].get<float>());
    // Trees every 10.5 m on lines of 122 and 125 m, from their starts on.
    EXPECT_EQ(autumn.Count("Avenue"), size_t(std::ceil(122 / 10.5) + std::ceil(125 / 10.5)));
    EXPECT_GT(autumn.Count("Fallen leaves"), 50000u);
}

TEST_F(DemoBuild, MossGrowsOnFacesOfTheBoulders) {
    BuiltScene boulders(s_folder / "boulders.json");
    constexpr size_t kFaces = 4 * 5120;  // four boulders of as many faces
    EXPECT_GT(boulders.Count("Moss"), kFaces / 3);
    EXPECT_LT(boulders.Count("Moss"), kFaces);
    EXPECT_GT(boulders.Count("Rock garden"), 20u);
    EXPECT_LT(boulders.Count("Rock garden"), kFaces / 40);
    for (const Point3& p : boulders.Places("Moss")) ASSERT_GE(p.z, 0.1f);
    EXPECT_GT(boulders.Count("Ferns"), 50u);
}

TEST_F(DemoBuild, TheGalleryShowsEveryScene) {
    std::vector<std::string> scenes;
    for (const GallerySection& section : ReadGallery()) {
        scenes.push_back(section.scene);
        fs::path picture = fs::path(DRAVIN_SOURCE_DIR "/docs/images") / section.picture;
        ASSERT_TRUE(fs::exists(picture)) << picture;
        EXPECT_LT(fs::file_size(picture), 250000u) << picture;
    }
    EXPECT_EQ(scenes, (std::vector<std::string>{"forest", "wall", "autumn", "boulders"}));
}

TEST_F(DemoBuild, TheGalleryNamesWhatItsScenesSet) {
    for (const GallerySection& section : ReadGallery()) {
        std::string scene = TextOf(s_folder / (section.scene + ".json"));
        EXPECT_GT(section.names.size(), 8u) << section.scene;
        for (const std::string& name : section.names)
            EXPECT_NE(scene.find(fmt::format("\"{}\"", name)), std::string::npos)
                << section.scene << ": " << name;
    }
}
