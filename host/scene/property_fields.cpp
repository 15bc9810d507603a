#include "host/scene/property_fields.h"

namespace property_fields {

Elements One(ParamValue value) {
    Elements elements(1);
    elements[0].value = std::move(value);
    return elements;
}

void Add(Elements& elements, ParamValue value) {
    elements.emplace_back();
    elements.back().value = std::move(value);
}

}  // namespace property_fields
