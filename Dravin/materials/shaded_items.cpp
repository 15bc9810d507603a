#include "Dravin/materials/shaded_items.h"

#include "host/scene/instance_source.h"

const IShadedItems* IShadedItems::At(const ShadeContext& sc) {
    const IInstanceSource* source = sc.Source();
    return source ? static_cast<const IShadedItems*>(source->GetInterface(kInterface)) : nullptr;
}
