// The XML data exports that one run writes; beside item_outputs.h, in the same steps.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dravin/engine/item_stream.h"
#include "Dravin/tools/data_export.h"
#include "apps/dravin/session.h"

struct BuildOptions;

bool IsXmlOutput(const std::string& path);
// What --fields says for these outputs: all without it or for "all", no field for "none". None,
// with the error printed, for an unknown key.
std::optional<TExportFields> ResolveExportFields(const std::vector<std::string>& fields);

class XmlOutputs {
public:
    XmlOutputs(const BuildOptions& options, TExportFields fields)
        : m_options(options), m_fields(fields) {}

    // Opens those among the outputs. False, with the error printed, when one cannot be.
    bool Open();
    bool IsEmpty() const { return m_files.empty(); }

    void BeginObject(const SceneDravin& dravin, TimeValue t);
    // Takes the items of a piece, as a TItemConsumer.
    std::function<void()> Take(const TDravinItemList& items);
    void EndObject();

    // Puts the files in their places, unless the build failed, and tells; the error is printed.
    ExitCode Commit(std::span<const SceneDravin> objects, bool hasFailed);

private:
    struct File {
        std::string path;
        std::unique_ptr<TDataExport> content;
    };
    const BuildOptions& m_options;
    TExportFields m_fields;
    std::vector<File> m_files;
};
