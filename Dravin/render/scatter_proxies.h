// One flat array of the instances of all scatter objects of a session, in world space, for
// renderers that do not ask objects one by one.
//
// The array stands from Calculate to the next Calculate or Free. Only objects that nodes show and
// that are rendered automatically take part, and of their items those that show custom objects.
// Objects that go meanwhile leave their records behind; the nodes that records name are those of
// the scene. One thread, between frames.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "Dravin/render/instance_records.h"
#include "host/base/huge_buffer.h"
#include "host/math/interval.h"

class TDravin;

class TScatterProxies {
public:
    // Of the current session, which must exist.
    static TScatterProxies& Current();

    // Builds the objects at time t with render settings, and fills the array.
    void Calculate(TimeValue t);
    // Ends the render of those objects, which views then show by their own settings, and tells
    // which of them failed.
    void Free();

    std::span<const TDravinInstanceV1> Records() const;
    // Null when there are none.
    TDravinInstanceV1* Data();

private:
    void ReleaseRecords();

    std::vector<std::weak_ptr<TDravin>> m_objects;  // of the last calculation
    HugeBuffer m_records;
    size_t m_count = 0;
};
