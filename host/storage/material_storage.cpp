// Materials and texture maps.
#include "host/io/bitmap.h"
#include "host/scene/material.h"
#include "host/scene/physical_material.h"
#include "host/scene/texmaps.h"
#include "host/storage/base_fields.h"
#include "host/storage/class_storage.h"

constexpr int NumEnumerators(ViewportMaps) { return 3; }
constexpr int NumEnumerators(GradientTex::Axis) { return 2; }
constexpr int NumEnumerators(BitmapTex::Filter) { return 2; }
constexpr int NumEnumerators(BitmapTex::Wrap) { return 3; }

namespace {

template <class Fields>
void VisitStandard(Fields& fields, StandardMtl& mtl) {
    VisitMtl(fields, mtl);
    fields(10, mtl.diffuse);
    fields(11, mtl.opacity);
    fields(12, mtl.opacityCutoff);
    fields(13, mtl.mapFactor);
    fields(14, mtl.vertexColors);
    fields(15, mtl.twoSided);
    fields(16, mtl.translucency);
    fields(17, mtl.reflectivity);
    fields(18, mtl.wireframe);
    fields(19, mtl.viewportMaps);
    fields(20, mtl.ripple);
}

// Pixels of maps that have no file.
void WriteImage(FieldWriter& out, const Bitmap* image) {
    if (!image) return;
    out.Put(int32_t(image->Width())), out.Put(int32_t(image->Height()));
    out.Put(int32_t(image->Channels())), out.Put(uint8_t(image->Values().index()));
    std::visit([&out](const auto& values) { out.Put(values); }, image->Values());
}

template <class T>
bool ReadPixels(FieldReader& in, size_t count, Bitmap::Data& data) {
    std::vector<T> values;
    in.Get(values);
    if (values.size() != count) return false;
    data = std::move(values);
    return true;
}

void ReadImage(FieldReader& in, BitmapTex& map) {
    if (in.In().Remaining() == 0) return;
    int32_t width = 0, height = 0, channels = 0;
    in.Get(width), in.Get(height), in.Get(channels);
    auto kind = in.In().Read<uint8_t>();
    bool isGood = width > 0 && height > 0 && width <= kMaxImageSide && height <= kMaxImageSide &&
                  channels >= 1 && channels <= 4;
    size_t count = isGood ? size_t(width) * size_t(height) * size_t(channels) : 0;
    Bitmap::Data data;
    isGood = isGood && (kind == 0   ? ReadPixels<uint8_t>(in, count, data)
                        : kind == 1 ? ReadPixels<uint16_t>(in, count, data)
                        : kind == 2 ? ReadPixels<float>(in, count, data)
                                    : false);
    if (!isGood) return in.In().Fail("an image without its pixels");
    map.SetImage(std::make_shared<Bitmap>(width, height, channels, std::move(data)));
}

template <class Fields>
void VisitBitmap(Fields& fields, BitmapTex& map) {
    VisitTexmap(fields, map);
    fields(10, map.filter);
    fields(11, map.wrap);
    fields(12, map.alphaOnly);
    if constexpr (Fields::kReads) {
        auto path = std::make_shared<std::string>();
        fields.Path(13, *path);
        fields.WhenLoaded([path, &map] {
            if (!path->empty()) map.SetFile(*path);
        });
    } else {
        fields.Path(13, map.File());
    }
    fields.Own(
        14,
        [&map](FieldWriter& out) {
            WriteImage(out, map.File().empty() ? map.Image().get() : nullptr);
        },
        [&map](FieldReader& in) { ReadImage(in, map); });
}

}  // namespace

void RegisterMaterialStorage(SceneStorage& storage) {
    storage.Register<StandardMtl>([](auto& fields, StandardMtl& m) { VisitStandard(fields, m); });
    storage.Register<PhysicalMtl>([](auto& fields, PhysicalMtl& mtl) {
        VisitStandard(fields, mtl);
        fields(30, mtl.metallic);
        fields(31, mtl.roughness);
        fields(32, mtl.normalScale);
        fields(33, mtl.emission);
        fields(34, mtl.emissionStrength);
    });
    storage.Register<MultiMtl>([](auto& fields, MultiMtl& mtl) { VisitMtl(fields, mtl); });
    storage.Register<ColorTex>([](auto& fields, ColorTex& map) {
        VisitTexmap(fields, map);
        fields(10, map.color);
    });
    storage.Register<UvwTex>([](auto& fields, UvwTex& map) { VisitTexmap(fields, map); });
    storage.Register<GradientTex>([](auto& fields, GradientTex& map) {
        VisitTexmap(fields, map);
        fields(10, map.color1);
        fields(11, map.color2);
        fields(12, map.axis);
    });
    storage.Register<CheckerTex>([](auto& fields, CheckerTex& map) {
        VisitTexmap(fields, map);
        fields(10, map.color1);
        fields(11, map.color2);
    });
    storage.Register<BitmapTex>([](auto& fields, BitmapTex& map) { VisitBitmap(fields, map); },
                                [] { return std::make_shared<BitmapTex>(ReadBitmap); });
    storage.Register<NoiseTex>([](auto& fields, NoiseTex& map) {
        VisitTexmap(fields, map);
        fields(10, map.color1);
        fields(11, map.color2);
        fields(12, map.size);
        fields(13, map.levels);
        fields(14, map.seed);
        if constexpr (std::remove_reference_t<decltype(fields)>::kReads)
            fields.WhenLoaded([&map] { map.levels = std::clamp(map.levels.Get(), 1, 16); });
    });
}
