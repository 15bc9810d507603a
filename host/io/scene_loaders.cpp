#include "host/io/scene_loaders.h"

#include "host/geom/primitives.h"
#include "host/image/image_module.h"
#include "host/io/bitmap.h"
#include "host/io/heightfield.h"
#include "host/io/mesh_import.h"
#include "host/io/point_cache_file.h"
#include "host/scene/texmaps.h"

#include <map>
#include <optional>
#include <tuple>

namespace {

using MeshPtr = std::shared_ptr<const Mesh>;

// Why an image could not be read: a limit, the program's own module that is not there, or the file.
DescriptionErrorClass ImageErrorClass(bool isLimit) {
    std::string ignored;
    if (isLimit) return DescriptionErrorClass::kLimit;
    return LoadImageModule(&ignored) ? DescriptionErrorClass::kMalformed
                                     : DescriptionErrorClass::kMissingInput;
}

// Segments that a shape gets when the description names none.
int SegmentsOr(const PrimitiveOrigin& origin, int usual) {
    return origin.segments > 0 ? origin.segments : usual;
}

Mesh MakeShape(const PrimitiveOrigin& o) {
    if (o.kind == "plane") {
        int segments = SegmentsOr(o, 1);
        return MakePlane(o.width, o.length, segments, segments);
    }
    if (o.kind == "box") return MakeBox(o.width, o.length, o.height, SegmentsOr(o, 1));
    if (o.kind == "sphere") return MakeSphere(o.radius, SegmentsOr(o, 32));
    if (o.kind == "cone") return MakeCone(o.radius, o.height, SegmentsOr(o, 32));
    return MakeCylinder(o.radius, o.height, SegmentsOr(o, 32));
}

class SceneLoaders : public ISceneLoaders {
public:
    explicit SceneLoaders(SceneOpener openScene) {
        if (openScene) m_scenes.emplace(std::move(openScene));
    }

    ExternalSceneLoad LoadScene(const std::string& path, WorkWatch* watch) override {
        return m_scenes ? m_scenes->Load(path, watch) : ISceneLoaders::LoadScene(path, watch);
    }

    void ForgetScenes() override {
        m_models.clear();  // their files may have changed with them
        if (m_scenes) m_scenes->Forget();
    }

    // One object of a file, or all joined. Nodes that name the same share one mesh.
    LoadedModel LoadMesh(const FileOrigin& origin, double unitScale, const std::string& folder,
                         const WorkWatch* watch) override {
        ModelKey key{origin.file,        origin.object, origin.up,
                     origin.keepNumbers, unitScale,     origin.animation};
        if (auto known = m_models.find(key); known != m_models.end()) return known->second;
        LoadedModel loaded;
        ImportError error;
        ImportOptions options{origin.up,        origin.keepNumbers, unitScale,
                              origin.animation, {folder},           watch};
        JoinedModel model = ImportJoined(origin.file, origin.object, options, &error);
        loaded.warnings = std::move(model.warnings);
        if (!model.mesh) {
            loaded.errorClass = DescriptionErrorClass(int(error.kind));
            loaded.error = error.text;
        } else if (model.mesh->faces.empty()) {
            loaded.error = "the mesh has no faces";
        } else {
            loaded.mesh = model.mesh;
            loaded.material = model.material;
            loaded.animation = model.animation;
            LoadedModel& kept = m_models[key] = loaded;
            kept.warnings.clear();
        }
        return loaded;
    }

    HeightfieldLoad LoadHeightfield(const HeightfieldOrigin& origin,
                                    double metresPerUnit) override {
        for (const KnownHeights& known : m_heights)
            if (known.origin == origin && known.metresPerUnit == metresPerUnit)
                if (auto field = known.field.lock()) return {field, {}, {}, {}, known.warnings};
        HeightFieldResult result = ReadHeightField(origin.file, origin, metresPerUnit);
        if (result.field)
            m_heights.push_back({origin, metresPerUnit, result.field, result.warnings});
        HeightfieldLoad load;
        load.field = std::move(result.field);
        load.error = std::move(result.error);
        if (!result.key.empty()) load.key = result.key;
        if (!load.field) load.errorClass = ImageErrorClass(result.isLimit);
        load.warnings = std::move(result.warnings);
        return load;
    }

    PointCacheLoad LoadPointCache(const PointCacheOrigin& origin, double unitScale,
                                  int ticksPerFrame) override {
        PointCacheLoad load;
        ImportError error;
        load.samples = OpenPointCache(origin, {ticksPerFrame, unitScale}, &error, &load.warning);
        load.error = error.text;
        if (!load.samples) load.errorClass = DescriptionErrorClass(int(error.kind));
        return load;
    }

    MeshPtr MakePrimitive(const PrimitiveOrigin& origin) override {
        return std::make_shared<Mesh>(MakeShape(origin));
    }

    TexmapLoad MakeTexmap(const TexmapDescription& d) override {
        TexmapLoad load;
        load.texmap = d.type == "bitmap" ? MakeImageMap(d, &load) : MakePlainMap(d);
        return load;
    }

    bool DescribeTexmap(const Texmap& texmap, TexmapDescription* d) override {
        d->type = texmap.ClassName();
        if (auto* color = dynamic_cast<const ColorTex*>(&texmap)) {
            d->color = color->color;
        } else if (auto* gradient = dynamic_cast<const GradientTex*>(&texmap)) {
            d->color1 = gradient->color1, d->color2 = gradient->color2;
            d->axisV = gradient->axis == GradientTex::kV;
        } else if (auto* checker = dynamic_cast<const CheckerTex*>(&texmap)) {
            d->color1 = checker->color1, d->color2 = checker->color2;
        } else if (auto* noise = dynamic_cast<const NoiseTex*>(&texmap)) {
            d->color1 = noise->color1, d->color2 = noise->color2;
            d->size = noise->size, d->levels = noise->levels, d->seed = noise->seed;
        } else if (auto* bitmap = dynamic_cast<const BitmapTex*>(&texmap)) {
            d->file = bitmap->File();
            d->filter = bitmap->filter == BitmapTex::Filter::kNearest ? "nearest" : "bilinear";
            const char* wraps[] = {"tile", "clamp", "mirror"};
            d->wrap = wraps[int(bitmap->wrap.Get())];
        } else {
            return dynamic_cast<const UvwTex*>(&texmap) != nullptr;
        }
        return true;
    }

private:
    using ModelKey =
        std::tuple<std::string, std::string, std::optional<UpAxis>, bool, double, std::string>;
    std::map<ModelKey, LoadedModel> m_models;
    std::optional<ExternalScenes> m_scenes;

    // Nodes that ask for the same terrain share one as long as any of them lives.
    struct KnownHeights {
        HeightfieldOrigin origin;
        double metresPerUnit;
        std::weak_ptr<const HeightField> field;
        std::vector<std::string> warnings;
    };
    std::vector<KnownHeights> m_heights;

    static std::shared_ptr<Texmap> MakePlainMap(const TexmapDescription& d) {
        if (d.type == "color") {
            auto map = std::make_shared<ColorTex>();
            map->color = d.color;
            return map;
        }
        if (d.type == "gradient") {
            auto map = std::make_shared<GradientTex>();
            map->color1 = d.color1, map->color2 = d.color2;
            map->axis = d.axisV ? GradientTex::kV : GradientTex::kU;
            return map;
        }
        if (d.type == "checker") {
            auto map = std::make_shared<CheckerTex>();
            map->color1 = d.color1, map->color2 = d.color2;
            return map;
        }
        if (d.type == "noise") {
            auto map = std::make_shared<NoiseTex>();
            map->color1 = d.color1, map->color2 = d.color2;
            map->size = d.size, map->levels = d.levels, map->seed = d.seed;
            return map;
        }
        return std::make_shared<UvwTex>();
    }

    // Null with a reason in `load`.
    static std::shared_ptr<Texmap> MakeImageMap(const TexmapDescription& d, TexmapLoad* load) {
        ImageError error;
        std::shared_ptr<const Bitmap> image = ReadImage(d.file, 0, &error);
        if (!image) {
            load->error = error.text;
            load->errorClass = ImageErrorClass(error.isLimit);
            return nullptr;
        }
        auto map = MakeBitmapTex(d.file);
        map->filter =
            d.filter == "nearest" ? BitmapTex::Filter::kNearest : BitmapTex::Filter::kBilinear;
        map->wrap = d.wrap == "clamp"    ? BitmapTex::Wrap::kClamp
                    : d.wrap == "mirror" ? BitmapTex::Wrap::kMirror
                                         : BitmapTex::Wrap::kTile;
        map->SetImage(std::move(image));
        return map;
    }
};

}  // namespace

std::shared_ptr<ISceneLoaders> MakeSceneLoaders(SceneOpener openScene) {
    return std::make_shared<SceneLoaders>(std::move(openScene));
}
