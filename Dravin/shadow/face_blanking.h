// Takes the faces of items out of an object mesh for a while.
#pragma once

#include <vector>

#include "Dravin/dravin.h"
#include "host/geom/mesh.h"

// Blanked faces have all corners at vertex 0, which renderers leave out. Restores the mesh when it
// goes, or before.
class TFaceBlanking {
public:
    // Blanks the own faces of all items that quads stand for: those that show a template, and with
    // `custshadow` those that show any source. mesh: the object's mesh; both outlive this.
    TFaceBlanking(TDravin& object, Mesh& mesh, TimeValue t);
    ~TFaceBlanking() { Restore(); }
    TFaceBlanking(const TFaceBlanking&) = delete;
    TFaceBlanking& operator=(const TFaceBlanking&) = delete;

    void Restore();
    // By item: whether its faces were blanked.
    const std::vector<bool>& Items() const { return m_items; }

private:
    Mesh& m_mesh;
    std::vector<Face> m_backup;  // empty before the first blanked item, and once restored
    std::vector<bool> m_items;
};
