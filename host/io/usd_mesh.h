// Meshes as prims of a USD file in the making.
#pragma once

#include <string>
#include <vector>

#include "host/geom/mesh.h"
#include "host/io/usd_materials.h"
#include "host/io/usd_text.h"

struct UsdMeshPrim {
    std::string identifier, displayName;  // the latter as its user knows it
    const Mesh* mesh = nullptr;           // indices in range
    const Mtl* material = nullptr;        // null: the host's default grey
    const Matrix3* transform = nullptr;   // null: none
};

// Box of the faces that are drawn: not hidden, of three different vertices of finite coordinates.
// Empty where there is none.
Box3 DrawnBox(const Mesh& mesh);

class UsdMeshWriter {
public:
    UsdMeshWriter(AtomicFile& out, UsdArrays& arrays, UsdMaterials& materials,
                  std::vector<std::string>* warnings)
        : m_out(out), m_arrays(arrays), m_materials(materials), m_warnings(warnings) {}

    // Appends the prim, with the faces that are drawn: points, normals (a vertex each, or a corner
    // each where edges are hard), mapping channels as primvars st, st2, …, vertex colours as linear
    // primvars:vertexColor, and a subset a material id where faces show different materials. False
    // with a reason in `error`.
    bool Write(const UsdMeshPrim& prim, std::string* error);

private:
    void WriteFaces(const Mesh& mesh);
    void WriteNormals(const Mesh& mesh);
    void WriteChannel(const Mesh& mesh, int channel);
    bool BindMaterials(const UsdMeshPrim& prim, const Mesh& mesh, std::string* error);
    bool WriteSubset(const UsdMeshPrim& prim, const Mesh& mesh, uint16_t id, std::string* error);
    void WriteSidedness(const UsdMeshPrim& prim, const std::vector<uint16_t>& ids);

    AtomicFile& m_out;
    UsdArrays& m_arrays;
    UsdMaterials& m_materials;
    std::vector<std::string>* m_warnings;
};
