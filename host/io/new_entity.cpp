#include "host/io/new_entity.h"

#include "host/io/bitmap.h"

std::shared_ptr<ReferenceTarget> NewEntity(const ClassDesc& desc) {
    return desc.info.id == BitmapTex::kClass.id ? MakeBitmapTex("") : desc.create();
}
