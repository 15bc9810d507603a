// Rows of a description and the parallel lists that they stand for.
//
// A reader collects one element a row for every column; Store puts the lists into the block at
// once. A column whose key is missing in a row takes the value that the caller names. Values go
// through the parameter tables: the same types, clamps and animated forms as in `params`.
#pragma once

#include <map>

#include <nlohmann/json.hpp>

#include "host/io/scene_description.h"

// The number of a row's kind by one of these names. A number that has no name may stand for itself:
// it is kept, with a warning.
int ReadKind(DescriptionObject& keys, const char* key, const std::vector<std::string>& names,
             int missing);
// The name of a kind, or its number where it has none.
nlohmann::ordered_json KindAsJson(const std::vector<std::string>& names, int kind);

class RowReader {
public:
    RowReader(IParamBlock2& block, const DescriptionContext& context)
        : m_block(block), m_context(context) {}

    // The key's value, or `missing`.
    void Column(DescriptionObject& keys, const char* key, ParamID id, ParamValue missing);
    void Put(ParamID id, ParamValue value) { m_lists[id].push_back({std::move(value), {}}); }
    // The declared element default.
    void PutDefault(ParamID id) { Put(id, m_block.GetDesc().Find(id)->defaultValue); }

    // All of these lists, which hold what the rows have said of them.
    void Store(std::span<const ParamID> ids);

private:
    IParamBlock2& m_block;
    const DescriptionContext& m_context;
    std::map<ParamID, std::vector<ParamElement>> m_lists;
};

class RowWriter {
public:
    RowWriter(const IParamBlock2& block, const DescriptionWriter& writer)
        : m_block(block), m_writer(writer) {}

    // Adds the key unless row i holds `missing`.
    void Column(nlohmann::ordered_json& row, const char* key, ParamID id, int i,
                const ParamValue& missing) const;
    // Adds the key always.
    void Column(nlohmann::ordered_json& row, const char* key, ParamID id, int i) const;

    // All of these lists are as long as the first.
    bool SameLength(std::span<const ParamID> ids) const;

private:
    const std::vector<ParamElement>& List(ParamID id) const;

    const IParamBlock2& m_block;
    const DescriptionWriter& m_writer;
    mutable std::map<ParamID, std::vector<ParamElement>> m_lists;
};
