// write_samples FOLDER: exports the sample scene in every form, and expected.json with the
// instances as they should be read back.

#include <cstdio>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/atomic_file.h"
#include "host/geom/primitives.h"
#include "host/io/gltf_export.h"
#include "host/io/json_text.h"
#include "host/io/usd_writer.h"
#include "tests/host/io/gltf/sample_scene.h"

namespace {

void AppendPoint(std::string& text, const Point3& p) {
    for (int k = 0; k < 3; ++k) {
        if (text.back() != '[') text += ',';
        AppendJsonNumber(text, p[k]);
    }
}

std::string Expected(const SampleSource& source) {
    std::string text = "[";
    for (size_t i = 0; i < source.NumInstances(); ++i) {
        InstanceRecord r = source.Instance(i);
        if (source.PrototypeMesh(r.prototype)->faces.empty()) continue;
        text += fmt::format("{}{{\"prototype\":{},\"id\":{},\"matrix\":[",
                            text.size() > 1 ? ",\n" : "", r.prototype, r.id);
        for (const Point3& row : r.transform.row) AppendPoint(text, row);
        text += "],\"color\":[";
        AppendPoint(text, {r.tint.r, r.tint.g, r.tint.b});
        text += ',';
        AppendJsonNumber(text, r.tintBlend);
        text += "]}";
    }
    return text + "]";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::string folder = argv[1], error;
    std::filesystem::create_directories(folder);
    SampleSource large(folder, 70001), small(folder, 60), none(folder, 0);
    Mesh ground = MakePlane(10, 10), side = MakePlane(1, 1);
    Matrix3 sheared{{{1, 0, 0}, {0.5f, 1, 0}, {0, 0, 1}, {1, 2, 3}}};
    std::vector<PlacedMesh> meshes{{"ground", &ground, nullptr, Matrix3::Translation({0, 0, -1})},
                                   {"side", &side, large.PrototypeMtl(1), sheared}};
    struct Sample {
        const char* file;
        const SampleSource* source;
        GltfOptions options;
    };
    for (const Sample& s :
         std::initializer_list<Sample>{{"instanced.gltf", &large, {false, 0.01, false}},
                                       {"instanced.glb", &large, {}},
                                       {"embedded.gltf", &small, {false, 1, true}},
                                       {"flat.gltf", &small, {true, 1, false}},
                                       {"flat.glb", &small, {true, 2.5, false}},
                                       {"none.glb", &none, {}}}) {
        const IInstanceSource* sources[] = {s.source};
        if (!ExportGltf(folder + "/" + s.file, sources, meshes, s.options, &error))
            return std::fprintf(stderr, "%s\n", error.c_str()), 1;
    }
    if (!ExportGltf(folder + "/empty.gltf", {}, {}, {}, &error)) return 1;
    std::vector<std::string> warnings;
    const IInstanceSource* smalls[] = {&small};
    if (!ExportUsd(folder + "/small.usda", smalls, meshes, {}, &warnings, &error))
        return std::fprintf(stderr, "%s\n", error.c_str()), 1;
    for (const SampleSource* source : {&large, &small}) {
        AtomicFile out;
        const char* name = source == &large ? "/expected_large.json" : "/expected_small.json";
        if (!out.Open(folder + name, &error)) return 1;
        out.Write(Expected(*source));
        if (!out.Commit(&error)) return 1;
    }
    return 0;
}
