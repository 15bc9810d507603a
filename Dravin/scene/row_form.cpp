#include "Dravin/scene/row_form.h"

#include <fmt/format.h>

int ReadKind(DescriptionObject& keys, const char* key, const std::vector<std::string>& names,
             int missing) {
    auto value = keys.Find(key);
    if (!value || !value->Json().is_number()) return keys.Choice(key, names, missing);
    int kind = value->AsInt();
    if (kind < 0 || size_t(kind) >= names.size())
        value->Warn(
            fmt::format("the {} {} is not known; the row is kept and does nothing", key, kind));
    return kind;
}

nlohmann::ordered_json KindAsJson(const std::vector<std::string>& names, int kind) {
    if (kind < 0 || size_t(kind) >= names.size()) return kind;
    return names[size_t(kind)];
}

void RowReader::Column(DescriptionObject& keys, const char* key, ParamID id, ParamValue missing) {
    auto value = keys.Find(key);
    if (!value) return Put(id, std::move(missing));
    auto element = ReadParamElement(*m_block.GetDesc().Find(id), *value, m_context);
    m_lists[id].push_back(element ? std::move(*element) : ParamElement{std::move(missing), {}});
}

void RowReader::Store(std::span<const ParamID> ids) {
    AccessorSuspender quiet(m_block);
    for (ParamID id : ids) m_block.SetElements(id, std::move(m_lists[id]));
    m_lists.clear();
}

const std::vector<ParamElement>& RowWriter::List(ParamID id) const {
    auto it = m_lists.find(id);
    if (it == m_lists.end()) it = m_lists.emplace(id, m_block.GetElements(id)).first;
    return it->second;
}

void RowWriter::Column(nlohmann::ordered_json& row, const char* key, ParamID id, int i,
                       const ParamValue& missing) const {
    const ParamElement& element = List(id)[size_t(i)];
    if (!m_writer.complete && element.track.IsEmpty() && element.value == missing) return;
    Column(row, key, id, i);
}

void RowWriter::Column(nlohmann::ordered_json& row, const char* key, ParamID id, int i) const {
    row[key] = m_writer.Value(*m_block.GetDesc().Find(id), List(id)[size_t(i)]);
}

bool RowWriter::SameLength(std::span<const ParamID> ids) const {
    for (ParamID id : ids)
        if (m_block.Count(id) != m_block.Count(ids[0])) return false;
    return true;
}
