#include "host/scene/layer.h"

std::shared_ptr<ReferenceTarget> Layer::Clone(CloneMap&) const {
    auto copy = std::make_shared<Layer>(name);
    copy->hidden = hidden;
    copy->frozen = frozen;
    copy->renderable = renderable;
    copy->boxes = boxes;
    return copy;
}
