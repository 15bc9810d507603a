// The fields of an item by name: what outputs, scripts and tests read.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/engine/item.h"

enum class ItemFieldKind { kInt, kUInt, kFloat, kText };

struct ItemField {
    const char* name;
    ItemFieldKind kind;
    int rows;        // 1, or the rows of a matrix or of a list of points
    int components;  // numbers a row; rows * components numbers in all (texts: one)
    bool stored;     // false: drawn or computed again when an item is completed
    // Write the field's numbers; exactly one of the three is set.
    void (*getFloats)(const TDravinItem& item, float* out) = nullptr;
    void (*getInts)(const TDravinItem& item, int32_t* out) = nullptr;
    std::string (*getText)(const TDravinItem& item) = nullptr;

    int NumValues() const { return rows * components; }
};

// All fields in the order in which they are written.
std::span<const ItemField> ItemFields();
// Null when there is none of that name.
const ItemField* FindItemField(std::string_view name);
// What is written unless a user chooses otherwise.
std::vector<std::string> DefaultItemFields();
