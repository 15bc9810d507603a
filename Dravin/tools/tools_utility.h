// The tools utility: the settings of what works over all scatter objects of a scene.
#pragma once

#include "Dravin/materials/with_params.h"
#include "host/params/reference.h"

namespace toolsParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/tools/tools_params.inc"
};
#undef PARAM
}  // namespace toolsParams

class TDtools : public WithParams<ReferenceTarget> {
public:
    TDtools();

    static constexpr ClassInfo kClass{{0x3d1c0120, 0x52a7}, SuperClass::kUtility, "Dravin Tools"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};
