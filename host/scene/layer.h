// Layers: switches that many nodes share.
#pragma once

#include "host/params/property.h"

class Layer : public ReferenceTarget {
public:
    explicit Layer(std::string layerName = {}) : name(this, std::move(layerName)) {}

    Property<std::string> name;
    Property<bool> hidden{this, false};
    Property<bool> frozen{this, false};
    Property<bool> renderable{this, true};
    // Views show its nodes as boxes around what they are; pictures show them as they are.
    Property<bool> boxes{this, false};

    static constexpr ClassInfo kClass{{0x3d1c0004, 0x52a7}, SuperClass::kReferenceTarget, "Layer"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap&) const override;
};
