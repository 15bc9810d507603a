#include <algorithm>

#include <fmt/format.h>

#include "Dravin/engine/item_fields.h"
#include "apps/dravin/build_outputs.h"
#include "apps/dravin/build_report.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/item_outputs.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/session.h"
#include "apps/dravin/xml_outputs.h"

namespace {

// A viewport's build shows a part of the items; whoever reads numbers must know.
void TellOfThinning(const SceneDravin& dravin) {
    int step = dravin.object->Build().Statistics().decimation;
    if (step > 1)
        PrintNote(fmt::format(
            "{}: thinned in steps of {} to stay near \"{}\"; --no-limit builds all items",
            dravin.node->GetName(), step,
            dravin.object->Build().IsRender() ? "rmaxitems" : "vmaxitems"));
}

ExitCode CheckEndings(const BuildOptions& options) {
    for (const std::string& path : options.outputs)
        if (!IsBuildOutput(path)) {
            PrintError(fmt::format("-o {}: unknown kind of output, expected an ending of {}", path,
                                   kBuildOutputs));
            return kExitUsage;
        }
    for (const std::string& path : options.outputs)
        if (options.piece && TableKindOf(path) != TableKind::kNpz) {
            PrintError(fmt::format(
                "-o {}: pieces are joined from archives of items: give --piece an output in .npz",
                path));
            return kExitUsage;
        }
    return CheckOutputs(options.outputs);
}

// Outputs that take items as they are made.
bool IsStreamed(const std::string& path) { return TableKindOf(path) || IsXmlOutput(path); }

// Whether some output shows instances or the mesh, which need the finished list.
bool NeedsLists(const BuildOptions& options) {
    return std::any_of(options.outputs.begin(), options.outputs.end(),
                       [](const std::string& path) { return !IsStreamed(path); });
}

bool HasMeshFile(const BuildOptions& options) {
    return std::any_of(options.outputs.begin(), options.outputs.end(), IsMeshFile);
}

// Each piece of items goes to all outputs that take such.
TItemConsumer ConsumerOf(ItemOutputs& tables, XmlOutputs& exports) {
    if (exports.IsEmpty()) return tables.Consumer();
    return [toTables = tables.Consumer(), &exports](const TDravinItemList& items) {
        return [first = toTables(items), second = exports.Take(items)] { first(), second(); };
    };
}

// Builds the objects one after the other, into the outputs; the worst of their exit codes.
ExitCode BuildAll(std::span<const SceneDravin> objects, TimeValue time, const BuildOptions& options,
                  ItemOutputs& tables, XmlOutputs& exports) {
    TBuildFlags flags;
    // The panel tells of the mesh that a viewport shows; a picture shows instances.
    bool showsPanel = options.viewport && options.outputs.empty() && !options.explain;
    flags.fileMesh = HasMeshFile(options);
    flags.noMesh = !flags.fileMesh && !showsPanel;
    flags.render = !options.viewport;
    flags.noLimit = flags.unprotected = options.noLimit;
    flags.forceThreads = options.threads;
    if (options.piece) flags.part = *options.piece;
    TItemConsumer consumer = ConsumerOf(tables, exports);
    bool streams = !(tables.IsEmpty() && exports.IsEmpty()) && !NeedsLists(options);
    ExitCode code = kExitDone;
    for (const SceneDravin& dravin : objects) {
        tables.BeginObject(dravin);
        exports.BeginObject(dravin, time);
        BuildWithProgress(dravin, time, flags, streams ? &consumer : nullptr);
        TellOfThinning(dravin);
        if (ExitCode outcome = ReportBuild(dravin, options.keepGoing); outcome != kExitDone)
            code = outcome;
        tables.EndObject(dravin);
        exports.EndObject();
    }
    return code;
}

ExitCode WriteGeometry(std::span<const SceneDravin> objects, Scene& scene,
                       const BuildOptions& options, bool hasFailed) {
    for (const std::string& path : options.outputs) {
        if (IsStreamed(path)) continue;
        if (hasFailed)
            PrintNote(fmt::format("{}: not written, as the build failed", path));
        else if (ExitCode code = IsMeshFile(path) ? WriteMeshFile(path, objects, options)
                                                  : WriteInstances(path, objects, scene, options);
                 code != kExitDone)
            return code;
    }
    return kExitDone;
}

// What is told of finished builds on standard output.
void PrintResults(std::span<const SceneDravin> objects, const BuildOptions& options) {
    for (const SceneDravin& dravin : objects)
        if (options.explain)
            PrintRejections(dravin);
        else if (options.outputs.empty())
            PrintPanel(dravin);
}

// What --fields means for the kinds of outputs there are, which name fields differently.
struct BuildFields {
    std::vector<std::string> tables;
    TExportFields exports;
};
std::optional<BuildFields> FieldsOf(const BuildOptions& options) {
    bool hasXml = std::any_of(options.outputs.begin(), options.outputs.end(), IsXmlOutput);
    bool hasOther = !std::all_of(options.outputs.begin(), options.outputs.end(), IsXmlOutput);
    BuildFields fields{DefaultItemFields(), TExportFields::All()};
    if (!hasXml || hasOther) fields.tables = ResolveFields(options.fields);
    if (fields.tables.empty()) return std::nullopt;
    if (!hasXml) return fields;
    auto exports = ResolveExportFields(options.fields);
    if (!exports) return std::nullopt;
    fields.exports = *exports;
    return fields;
}

// Builds and writes; a failed build is told in results, which hold its status, and other files stay
// as they were.
ExitCode BuildOutputs(Session& session, std::span<const SceneDravin> objects,
                      const BuildFields& fields, const BuildOptions& options) {
    ItemOutputs tables(options, fields.tables, objects.size());
    XmlOutputs exports(options, fields.exports);
    if (!tables.Open() || !exports.Open()) return kExitNoOutput;
    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    ExitCode code = BuildAll(objects, time, options, tables, exports);
    bool hasFailed = code != kExitDone;
    // Builds read files too: maps of the library.
    if (ExitCode input = CheckNotInputs(options.outputs, session.Inputs()); input != kExitDone)
        return input;
    PrintResults(objects, options);
    ExitCode written = tables.Commit(objects, session.Inputs(), hasFailed);
    if (written == kExitDone) written = exports.Commit(objects, hasFailed);
    if (written == kExitDone)
        written = WriteGeometry(objects, session.GetScene(), options, hasFailed);
    return written != kExitDone ? written : code;
}

}  // namespace

ExitCode RunBuild(const BuildOptions& options) {
    // What cannot be written is told before a large scene is read.
    if (ExitCode code = CheckEndings(options); code != kExitDone) return code;
    if (!FieldsOf(options)) return kExitUsage;
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    return BuildOpenScene(session, options);
}

ExitCode BuildOpenScene(Session& session, const BuildOptions& options) {
    if (ExitCode code = CheckEndings(options); code != kExitDone) return code;
    std::optional<BuildFields> fields = FieldsOf(options);
    if (!fields) return kExitUsage;
    auto objects = session.FindObjects(options.object);
    if (!objects) return options.object.empty() ? kExitMalformed : kExitUsage;
    if (ExitCode code = CheckNotInputs(options.outputs, session.Inputs()); code != kExitDone)
        return code;
    return BuildOutputs(session, *objects, *fields, options);
}
