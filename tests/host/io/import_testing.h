// What the tests of the model readers share.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "host/geom/mesh_tools.h"
#include "host/io/mesh_import.h"
#include "tests/temp_folder.h"

// Writes `bytes` to a file and imports it; the failed test tells the reason.
inline ImportedModel ImportText(const TempFolder& folder, const std::string& name,
                                const std::string& bytes, const ImportOptions& options = {}) {
    ImportedModel model;
    ImportError error;
    EXPECT_TRUE(ImportModel(folder.Write(name, bytes), options, &model, &error)) << error.text;
    return model;
}

// The error of importing `bytes`, without the folder's path.
inline std::string ErrorOfImport(const std::string& name, const std::string& bytes) {
    TempFolder folder;
    ImportedModel model;
    std::string error;
    EXPECT_FALSE(ImportModel(folder.Write(name, bytes), &model, &error));
    size_t at = error.find(folder.File(""));
    return at == 0 ? error.substr(folder.File("").size()) : error;
}

// Every prefix of the file, and the file with each byte changed in turn, must import or give an
// error.
inline void ExpectRobust(const std::string& name, const std::string& bytes, size_t step = 1) {
    TempFolder folder;
    auto import = [&](const std::string& damaged) {
        ImportedModel model;
        std::string error;
        bool ok = ImportModel(folder.Write(name, damaged), &model, &error);
        ASSERT_EQ(ok, error.empty()) << error;
        for (const ImportedObject& object : model.objects) ASSERT_EQ(Validate(*object.mesh), "");
    };
    for (size_t n = 0; n <= bytes.size(); n += step) import(bytes.substr(0, n));
    for (size_t i = 0; i < bytes.size(); i += step)
        for (char c : {'\0', '9', '-', '\xFF'}) {
            std::string damaged = bytes;
            damaged[i] = c;
            import(damaged);
        }
}

// The vertices of an object in the world.
inline std::vector<Point3> Vertices(const ImportedModel& model, size_t object = 0) {
    std::vector<Point3> points;
    for (const Point3& p : model.objects.at(object).mesh->verts)
        points.push_back(p * model.objects[object].transform);
    return points;
}

inline void ExpectNear(const std::vector<Point3>& a, const std::vector<Point3>& b,
                       float tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i)
        EXPECT_LE(Length(a[i] - b[i]), tolerance)
            << i << ": " << a[i].x << " " << a[i].y << " " << a[i].z;
}
