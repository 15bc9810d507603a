#include "Dravin/storage/item_block.h"

#include <cmath>
#include <cstring>

#include "Dravin/storage/object_chunks.h"

namespace {

// Places of the fields in a block.
enum Place : size_t {
    kDiscarded = 4,
    kSpecimenIndex = 12,
    kStoredPosition = 16,
    kPosition = 28,
    kSeed = 40,
    kSizeFactorX = 44,
    kSizeFactorZ = 48,
    kWidth = 52,
    kHeight = 56,
    kScale = 60,
    kOldRotation = 72,  // about Z in radians, of the oldest form
    kTintColor = 84,
    kTintBlend = 96,
    kMirrored = 100,
    kSelected = 144,
    kZOffset = 148,
    kAnimationOffset = 180,
    kSourceTransform = 184,
    kSizeFactorY = 236,
    kElementIndex = 240,  // 16 bits
    kUserId = 244,
};

// One field at its place.
template <class T>
void Put(char* block, Place at, const T& value) {
    std::memcpy(block + at, &value, sizeof value);
}
template <class T>
void Get(const char* block, Place at, T& value) {
    std::memcpy(&value, block + at, sizeof value);
}
int32_t GetInt(const char* block, Place at) {
    int32_t value = 0;
    Get(block, at, value);
    return value;
}

TStoredItem ItemOf(const TItemBytes& bytes) {
    const char* block = bytes.data();
    TStoredItem item;
    item.discarded = GetInt(block, kDiscarded) != 0;
    item.specimenIndex = GetInt(block, kSpecimenIndex);
    Get(block, kStoredPosition, item.storedPosition);
    Get(block, kPosition, item.position);
    Get(block, kSeed, item.seed);
    Get(block, kSizeFactorX, item.sizeFactor.x);
    Get(block, kSizeFactorY, item.sizeFactor.y);
    Get(block, kSizeFactorZ, item.sizeFactor.z);
    Get(block, kWidth, item.width);
    Get(block, kHeight, item.height);
    Get(block, kScale, item.scale);
    Get(block, kTintColor, item.tintColor);
    Get(block, kTintBlend, item.tintBlend);
    item.mirrored = GetInt(block, kMirrored) != 0;
    item.selected = GetInt(block, kSelected) != 0;
    Get(block, kZOffset, item.zOffset);
    item.animationOffset = GetInt(block, kAnimationOffset);
    Get(block, kSourceTransform, item.sourceTransform);
    int16_t element = 0;
    Get(block, kElementIndex, element);
    item.elementIndex = element;
    item.userId = GetInt(block, kUserId);
    return item;
}

// Sizes that a form of blocks has.
bool HasSize(uint16_t chunk, size_t size) {
    switch (chunk) {
        case kItemsForm1Chunk:
            return size == 184 || size == 236;
        case kItemsForm2Chunk:
            return size == 236;
        case kItemsForm3Chunk:
            return size == 244;
        default:
            return size == kItemBlockBytes;
    }
}

// What the forms before the present one lacked, or meant otherwise.
void Mend(uint16_t chunk, size_t size, TItemBytes& bytes) {
    char* block = bytes.data();
    if (size == 184) {
        float angle = 0;
        Get(block, kOldRotation, angle);
        Put(block, kSourceTransform, Matrix3::RotationZ(angle));
    }
    if (chunk == kItemsForm1Chunk || chunk == kItemsForm2Chunk) Put(block, kSizeFactorY, -1.0f);
    if (chunk != kItemChunk) Put(block, kUserId, int32_t{0});
}

}  // namespace

void WriteItemBlock(const TStoredItem& item, char* block) {
    std::memset(block, 0, kItemBlockBytes);
    Put(block, kDiscarded, int32_t(item.discarded));
    Put(block, kSpecimenIndex, int32_t(item.specimenIndex));
    Put(block, kStoredPosition, item.storedPosition);
    Put(block, kPosition, item.position);
    Put(block, kSeed, item.seed);
    Put(block, kSizeFactorX, item.sizeFactor.x);
    Put(block, kSizeFactorZ, item.sizeFactor.z);
    Put(block, kWidth, item.width);
    Put(block, kHeight, item.height);
    Put(block, kScale, item.scale);
    Put(block, kTintColor, item.tintColor);
    Put(block, kTintBlend, item.tintBlend);
    Put(block, kMirrored, int32_t(item.mirrored));
    Put(block, kSelected, int32_t(item.selected));
    Put(block, kZOffset, item.zOffset);
    Put(block, kAnimationOffset, int32_t(item.animationOffset));
    Put(block, kSourceTransform, item.sourceTransform);
    Put(block, kSizeFactorY, item.sizeFactor.y);
    Put(block, kElementIndex, int16_t(item.elementIndex));
    Put(block, kUserId, int32_t(item.userId));
}

std::optional<TStoredItem> ReadItemBlock(uint16_t chunk, std::string_view block) {
    if (!HasSize(chunk, block.size())) return std::nullopt;
    TItemBytes bytes;
    WriteItemBlock(TStoredItem(), bytes.data());
    std::memcpy(bytes.data(), block.data(), block.size());
    Mend(chunk, block.size(), bytes);
    return ItemOf(bytes);
}

int ItemBlockGeneration(uint16_t chunk) {
    switch (chunk) {
        case kItemsForm1Chunk:
            return 1;
        case kItemsForm2Chunk:
            return 2;
        case kItemsForm3Chunk:
            return 3;
        case kItemChunk:
            return 4;
        default:
            return 0;
    }
}
