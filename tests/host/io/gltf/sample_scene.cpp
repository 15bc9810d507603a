#include "tests/host/io/gltf/sample_scene.h"

#include <cmath>
#include <cstdlib>

#include "host/geom/mesh_tools.h"
#include "host/geom/primitives.h"
#include "host/io/bitmap.h"

namespace {

// An image file of 8 x 4 pixels; alpha is a stripe.
std::shared_ptr<BitmapTex> MakeImage(const std::string& file, int channels) {
    std::vector<uint8_t> values;
    for (int i = 0; i < 32; ++i)
        for (int c = 0; c < channels; ++c)
            values.push_back(uint8_t(c == 3 ? (i % 8 < 4 ? 255 : 0) : i * 8 / (c + 1)));
    std::string error;
    if (!WriteBitmap(file, Bitmap(8, 4, channels, values), &error)) std::abort();
    return MakeBitmapTex(file);
}

std::shared_ptr<StandardMtl> MakeMtl(const std::string& name, std::shared_ptr<Texmap> diffuse,
                                     std::shared_ptr<Texmap> opacity) {
    auto material = std::make_shared<StandardMtl>();
    material->name = name;
    material->diffuse = {0.1f, 0.5f, 0.25f};
    material->diffuseMap = std::move(diffuse);
    material->opacityMap = std::move(opacity);
    return material;
}

// A box whose six sides show six materials.
Mesh SixSides() {
    Mesh box = MakeBox(1, 2, 3);
    for (Face& face : box.faces) face.matID = uint16_t(std::countr_zero(face.smGroup));
    MapChannel& colors = box.MakeMap(0);
    colors.verts = {{1, 0, 0}, {0, 0.5f, 2}};
    for (size_t f = 0; f < box.NumFaces(); ++f) colors.faces.push_back({0, 1, uint32_t(f % 2)});
    box.faces.push_back({{0, 0, 1}, 0, 0});  // a face that no reader wants
    box.MakeMap(0).faces.push_back({0, 0, 0});
    box.MakeMap(1).faces.push_back({0, 0, 0});
    return box;
}

}  // namespace

SampleSource::SampleSource(const std::string& folder, size_t numInstances)
    : m_numInstances(numInstances) {
    auto leaf = MakeImage(folder + "/leaf a.png", 4), cut = MakeBitmapTex(leaf->File());
    cut->alphaOnly = true;
    auto bark = MakeImage(folder + "/bark.jpg", 3), stone = MakeImage(folder + "/stone.tif", 3);
    bark->SetRotation(30);
    bark->tiling = {2, 3}, bark->offset = {0.25f, 0.5f}, bark->wrap = BitmapTex::Wrap::kMirror;
    auto mask = MakeImage(folder + "/mask.png", 1);

    auto multi = std::make_shared<MultiMtl>();
    auto leafMtl = MakeMtl("leaf", leaf, cut);
    leafMtl->opacityCutoff = 0.25f;
    multi->Append(leafMtl);
    auto barkMtl = MakeMtl("bark", bark, nullptr);
    barkMtl->mapFactor = {1, 0.5f, 0.25f}, barkMtl->vertexColors = true;
    multi->Append(barkMtl);
    multi->Append(nullptr);
    multi->Append(MakeMtl("stone \xC3\xA4", stone, mask));
    multi->Append(MakeMtl("checker", std::make_shared<CheckerTex>(), nullptr));
    auto glass = MakeMtl("", std::make_shared<NoiseTex>(), nullptr);
    glass->opacity = 0.5f, glass->twoSided = true;
    multi->Append(glass);

    m_meshes = {SixSides(), MakePlane(2, 2), Mesh(), MakeCone(1, 2, 5)};
    m_meshes[3].maps.clear();  // no coordinates, but a material that asks for some
    m_materials = {multi, multi->ShareSubMtl(0), nullptr, multi->ShareSubMtl(1)};
}

InstanceRecord SampleSource::Instance(size_t i) const {
    auto f = float(i);
    Matrix3 m = EulerDegreesToMatrix({f * 7, f * 13, f * 29});
    m.PreScale({i % 5 == 0 ? -0.5f : 0.5f, 1 + std::fmod(f, 3.0f), 2});
    m.SetTrans({f * 0.1f, -f, 1e-3f * f});
    if (i == 11) m.PreScale({0, 1, 1});
    if (i == 13) m.PreScale({0, 0, 0});
    InstanceRecord record;
    record.transform = m;
    record.prototype = uint32_t(i % 4);
    record.id = int32_t(i * 3 + 20000000);  // beyond the whole numbers of a float
    record.tint = {std::fmod(f * 0.1f, 1.0f), 0.5f, 1};
    record.tintBlend = i % 2 ? 0.75f : 0;
    return record;
}

void SampleSource::GetInstances(size_t first, std::span<InstanceRecord> out) const {
    for (size_t i = 0; i < out.size(); ++i) out[i] = Instance(first + i);
}
