// What stands for an entity whose class is not there: it keeps what the file held of it, and is
// written again as it came. It shows nothing and does nothing.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/chunks/chunk_format.h"
#include "host/params/reference.h"

// The stored content of such an entity.
struct UnknownContent {
    ClassId id;
    SuperClass super = SuperClass::kReferenceTarget;
    std::string name;
    uint16_t version = 0;
    uint32_t numSlots = 0;
    std::vector<KeptChunk> fields;
};

class UnknownEntity {
public:
    virtual ~UnknownEntity() = default;
    UnknownContent content;
};

// Of a kind that the places take where such entities stand: object, material, map, modifier, or
// none of these. numRefs: of all its references, which are its slots and then what its fields name.
std::shared_ptr<ReferenceTarget> MakeUnknownEntity(UnknownContent content, size_t numRefs);
