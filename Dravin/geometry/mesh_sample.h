// One source object of a specimen at one time: measured, brought to unit size, and on demand
// analysed into elements and reduced to a cloud of points.
//
// Unit size means that the mesh's box under the source's matrix (its object offset, or what a
// template or a group adds) becomes 1 x 1 x 1; items then scale one mesh by their own width, depth
// and height. A sample never changes; mesh, elements and cloud are made at their first use, once,
// and may be asked for from any thread.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "Dravin/geometry/mesh_cloud.h"
#include "Dravin/geometry/mesh_elements.h"
#include "Dravin/geometry/plant_cloud.h"
#include "host/geom/mesh.h"
#include "host/math/interval.h"

class INode;

// Measures of a source.
struct TDravinMeshSize {
    int32_t numFaces = 0;
    Point3 size{1, 1, 1};     // width, depth, height at real size; 1 where one vanishes
    Matrix3 toReal;           // object space -> the item's own space at real size
    Matrix3 normalize;        // object space -> unit size; may mirror
    float aspect = 1;         // depth over width
    Box3 bounds;              // at unit size; empty without vertices
    bool degenerate = false;  // an extent was below 0.0001 and counts as 1
    bool valid = false;       // a mesh was measured
};

// Vertices that are not finite are passed over.
TDravinMeshSize MeasureMesh(const Mesh& mesh, const Matrix3& toReal);

class TDravinMeshSample {
public:
    // The empty sample: no mesh, size 1 x 1 x 1, valid for ever.
    TDravinMeshSample();
    // source: in object space, shared, null for none; its indices must be in range.
    // plant: a cloud in object space that stands for the mesh's; without points there is none.
    TDravinMeshSample(std::shared_ptr<const Mesh> source, const Matrix3& toReal, Interval validity,
                      std::vector<TPlantPoint> plant = {});

    const TDravinMeshSize& Size() const { return m_size; }
    // The times at which the sample is exact.
    const Interval& Validity() const { return m_validity; }
    // In object space, as the object gave it; null when it shows no mesh.
    const std::shared_ptr<const Mesh>& Source() const { return m_source; }

    // At unit size, faces turned round when the normalising matrix mirrors. Empty without a source.
    const Mesh& UnitMesh() const;
    // Of the unit mesh.
    const TDravinMeshElements& Elements() const;
    const TMeshCloud& Cloud() const;

private:
    std::shared_ptr<const Mesh> m_source;
    TDravinMeshSize m_size;
    Interval m_validity;
    std::vector<TPlantPoint> m_plant;

    mutable std::once_flag m_meshOnce, m_elementsOnce, m_cloudOnce;
    mutable Mesh m_mesh;
    mutable TDravinMeshElements m_elements;
    mutable TMeshCloud m_cloud;
};

// Object space of a node -> the space of items that show it, at real size. Templates have recorded
// theirs. Group members, picked directly or through their group, take their rotation and scale
// relative to the outermost head, never a translation.
Matrix3 SourceMatrix(INode& node, TimeValue t);

// The sample of what a node shows at time t: anything but geometry gives an empty one. Its validity
// is the object's, or the instant t where that does not contain t. plantClouds: plants that know
// clouds of their own are asked for them.
std::shared_ptr<const TDravinMeshSample> MakeMeshSample(INode& node, TimeValue t,
                                                        bool plantClouds = true);
