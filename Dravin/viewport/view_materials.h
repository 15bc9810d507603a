// Materials of a scene as a snapshot takes them: brought to its time, and copied with their maps,
// so that other threads may ask the copies while the scene is being edited.
#pragma once

#include <memory>
#include <set>

#include "host/params/clone_map.h"
#include "host/scene/material.h"

// One snapshot's; one thread, which owns the scene.
class TViewMaterials {
public:
    explicit TViewMaterials(TimeValue t) : m_time(t) {}

    // Brings a material and all below it to the time; null does nothing.
    void Prepare(Mtl* material);
    // Null for null, and for what cannot be copied. Whole after Finish; images stay shared.
    std::shared_ptr<Mtl> CopyOf(Mtl* material);
    void Finish() { m_copies.Finish(); }

private:
    void Copy(ReferenceTarget& target);

    TimeValue m_time;
    std::set<const Mtl*> m_prepared;
    CloneMap m_copies;
};
