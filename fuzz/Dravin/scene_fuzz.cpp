#include "Dravin/scene/dravin_description.h"
#include "fuzz/fuzz_file.h"
#include "host/io/scene_loaders.h"
#include "host/scene/height_field_object.h"

namespace {

// Gives one triangle for every mesh, so that sizes in a description cost nothing.
class TriangleLoaders : public ISceneLoaders {
public:
    using MeshPtr = std::shared_ptr<const Mesh>;

    LoadedModel LoadMesh(const FileOrigin&, double, const std::string&, const WorkWatch*) override {
        LoadedModel model;
        model.mesh = m_triangle;
        return model;
    }
    HeightfieldLoad LoadHeightfield(const HeightfieldOrigin&, double) override {
        return {m_heights, {}, {}, {}, {}};
    }
    PointCacheLoad LoadPointCache(const PointCacheOrigin&, double, int) override {
        PointCacheLoad load;
        load.error = "there are no files here";
        return load;
    }
    MeshPtr MakePrimitive(const PrimitiveOrigin&) override { return m_triangle; }
    TexmapLoad MakeTexmap(const TexmapDescription& description) override {
        TexmapDescription harmless = description;
        if (harmless.type == "bitmap") harmless.type = "uvw";
        return m_real->MakeTexmap(harmless);
    }
    bool DescribeTexmap(const Texmap& texmap, TexmapDescription* description) override {
        return m_real->DescribeTexmap(texmap, description);
    }

private:
    std::shared_ptr<ISceneLoaders> m_real = MakeSceneLoaders();
    MeshPtr m_triangle =
        std::make_shared<Mesh>(Mesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{{0, 1, 2}}}});
    std::shared_ptr<const HeightField> m_heights =
        std::make_shared<const HeightField>(2, 2, Point2{1, 1}, std::vector<float>{0, 0, 0, 1});
};

const SceneFormats& Formats() {
    static const SceneFormats formats = [] {
        SceneFormats made(std::make_shared<TriangleLoaders>());
        RegisterDravinNodes(made);
        return made;
    }();
    return formats;
}

}  // namespace

// A scene that is read can be written, and its text is read again without complaint.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    SceneReadResult read = ParseSceneDescription(text, "fuzz.json", "/nowhere", Formats());
    if (!read) {
        Promise(!read.error.empty() && read.errorClass != DescriptionErrorClass::kNone);
        return 0;
    }
    std::string written = WriteSceneDescription(*read.scene, "/nowhere", Formats());
    SceneReadResult again = ParseSceneDescription(written, "again.json", "/nowhere", Formats());
    if (!again) fprintf(stderr, "%s\n%s\n", again.error.c_str(), written.c_str());
    Promise(bool(again));
    return 0;
}
