// A source that moves, for tests.
#pragma once

#include <memory>

#include "host/geom/primitives.h"
#include "host/scene/object.h"

// A box of 2 x 1 that is 3 units high at tick 0 and grows by one a frame.
class GrowingBox : public IMeshAnimation {
public:
    std::shared_ptr<const Mesh> MeshAt(TimeValue t, Interval* valid) override {
        if (valid) *valid &= Interval(t);
        return std::make_shared<Mesh>(MakeBox(2, 1, 3 + float(t) / 160, 1));
    }
};
