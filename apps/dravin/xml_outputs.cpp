#include "apps/dravin/xml_outputs.h"

#include <fmt/format.h>

#include "apps/dravin/build_outputs.h"
#include "host/base/text.h"
#include "host/base/thread_pool.h"

std::optional<TExportFields> ResolveExportFields(const std::vector<std::string>& fields) {
    if (fields.empty() || (fields.size() == 1 && fields[0] == "all")) return TExportFields::All();
    if (fields.size() == 1 && fields[0] == "none") return TExportFields::None();
    std::string keys;
    for (const std::string& field : fields) keys += field + ",";
    std::vector<std::string> unknown, known;
    TExportFields chosen = TExportFields::Parse(keys, &unknown);
    if (unknown.empty()) return chosen;
    std::string listed;
    for (const TExportFieldName& name : ExportFieldNames()) {
        known.push_back(name.key);
        listed += (listed.empty() ? "" : ", ") + known.back();
    }
    PrintError(fmt::format("--fields: the XML export has no field \"{}\"{}; it has {}",
                           unknown.front(), DidYouMean(unknown.front(), known), listed));
    return std::nullopt;
}

bool XmlOutputs::Open() {
    for (const std::string& path : m_options.outputs) {
        if (!IsXmlOutput(path)) continue;
        File& file = m_files.emplace_back(File{path, std::make_unique<TDataExport>(m_fields)});
        std::string error;
        if (!file.content->Open(path, &error)) return PrintError(error), false;
    }
    return true;
}

void XmlOutputs::BeginObject(const SceneDravin& dravin, TimeValue t) {
    for (File& file : m_files) file.content->BeginObject(*dravin.object, *dravin.node, t);
}

std::function<void()> XmlOutputs::Take(const TDravinItemList& items) {
    std::vector<std::function<void()>> writes;
    for (File& file : m_files) writes.push_back(file.content->Take(items));
    return [writes = std::move(writes)] {
        for (const std::function<void()>& write : writes) write();
    };
}

void XmlOutputs::EndObject() {
    int threads = m_options.threads > 0 ? m_options.threads : NumProcessors();
    for (File& file : m_files) file.content->EndObject(threads);
}

ExitCode XmlOutputs::Commit(std::span<const SceneDravin> objects, bool hasFailed) {
    for (File& file : m_files) {
        std::string error;
        if (hasFailed) {
            PrintNote(fmt::format("{}: not written, as the build failed", file.path));
        } else if (!file.content->Commit(&error)) {
            PrintError(error);
            return kExitNoOutput;
        } else {
            TellOfOutput(file.path, NumItems(objects));
        }
        file.content.reset();
    }
    return kExitDone;
}
