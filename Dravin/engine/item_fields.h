// The fields of an item by name: what outputs, scripts and tests read.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/engine/item_list.h"

enum class ItemFieldKind { kInt, kUInt, kFloat, kText };

struct ItemField {
    const char* name;
    ItemFieldKind kind;
    int rows;        // 1, or the rows of a matrix or of a list of points
    int components;  // numbers a row; rows * components numbers in all (texts: one)
    bool stored;     // false: drawn or computed again when an item is completed
    // Write the field's numbers; one of the three is set.
    void (*getFloats)(const TDravinItem& item, float* out) = nullptr;
    void (*getInts)(const TDravinItem& item, int32_t* out) = nullptr;
    std::string (*getText)(const TDravinItem& item) = nullptr;

    // Of a field that lists may store: the entry that holds it of the first of consecutive items
    // (null where the list does not store its group), how far entries are apart, and how one is
    // read, by one of two. Null for all others.
    const void* (*record)(const TItemColumns& items) = nullptr;
    size_t stride = 0;
    void (*readFloats)(const void* record, float* out) = nullptr;
    void (*readInts)(const void* record, int32_t* out) = nullptr;
    // What an entry says where nothing stores or derives its group.
    const void* unstored = nullptr;
    uint32_t group = 0;  // of ItemGroups; 0: always stored

    // Whether that list has the field itself, without completing items.
    bool IsIn(const TDravinItemList& items) const { return record && !items.Derives(group); }

    int NumValues() const { return rows * components; }
};

// All fields in the order in which they are written.
std::span<const ItemField> ItemFields();
// Null when there is none of that name.
const ItemField* FindItemField(std::string_view name);
// What is written unless a user chooses otherwise.
std::vector<std::string> DefaultItemFields();
