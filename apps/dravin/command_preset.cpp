// `dravin preset`: parameter values under names, in the user's file or in files to hand on.
#include <filesystem>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/presets/dravin_presets.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/session.h"

namespace fs = std::filesystem;

namespace {

ExitCode CodeOf(PresetStatus status) {
    switch (status) {
        case PresetStatus::kDone:
            return kExitDone;
        case PresetStatus::kBadName:
            return kExitUsage;
        case PresetStatus::kNoSuchPreset:
        case PresetStatus::kUnreadable:
            return kExitMissingInput;
        case PresetStatus::kTooLarge:
            return kExitLimit;
        case PresetStatus::kNotWritten:
            return kExitNoOutput;
        case PresetStatus::kNothingApplied:
        case PresetStatus::kNameTaken:
            break;
    }
    return kExitFailed;
}

ExitCode Tell(const PresetResult& result) {
    for (const std::string& warning : result.warnings) PrintWarning(warning);
    if (!result) PrintError(result.error);
    return CodeOf(result.status);
}

// The file of presets that a command works on; empty, with the error printed, where there is none.
std::string PathOf(const PresetOptions& options) {
    std::string path = options.file.empty() ? DravinPresetsPath() : options.file;
    if (path.empty())
        PrintError("no configuration folder: set XDG_CONFIG_HOME or HOME, or give --file");
    return path;
}

// With the ending of presets where the user gave none.
std::string ExportPath(const std::string& path) {
    return fs::path(path).has_extension() ? path : path + ".ope";
}

bool IsFile(const std::string& path) {
    std::error_code unknown;
    return fs::exists(path, unknown);
}

// The object of a scene that is asked for; none, with the error printed and its code in `code`.
std::optional<SceneDravin> OpenObject(Session& session, const PresetOptions& options,
                                      ExitCode* code) {
    *code = session.Read(options.scene);
    if (*code != kExitDone) return std::nullopt;
    auto object = session.FindObject(options.object);
    if (!object) *code = kExitUsage;
    return object;
}

ExitCode Save(const PresetOptions& options, const std::string& path) {
    Session session;
    ExitCode code;
    auto dravin = OpenObject(session, options, &code);
    if (!dravin) return code;
    code = Tell(SaveDravinPreset(*dravin->object, options.name, path));
    if (code == kExitDone)
        PrintNote(fmt::format("{}: preset \"{}\" holds the values of \"{}\"", path, options.name,
                              dravin->node->GetName()));
    return code;
}

// Loads a preset (an empty name: the first) into the object and writes the scene.
ExitCode Load(const PresetOptions& options, std::string name, const std::string& path) {
    std::span<const std::string> output(&options.output, 1);
    if (ExitCode code = CheckOutputs(output); code != kExitDone) return code;
    Session session;
    ExitCode code;
    auto dravin = OpenObject(session, options, &code);
    if (!dravin) return code;
    code = Tell(LoadDravinPreset(*dravin->object, &name, path));
    if (code != kExitDone) return code;
    if (code = CheckNotInputs(output, session.Inputs()); code != kExitDone) return code;
    if (code = session.Save(options.output); code != kExitDone) return code;
    PrintNote(fmt::format("{}: \"{}\" has the values of preset \"{}\"", options.output,
                          dravin->node->GetName(), name));
    return kExitDone;
}

ExitCode ExportObject(const PresetOptions& options, const std::string& output) {
    Session session;
    ExitCode code;
    auto dravin = OpenObject(session, options, &code);
    if (!dravin) return code;
    if (code = CheckNotInputs({&output, 1}, session.Inputs()); code != kExitDone) return code;
    return Tell(ExportDravinPreset(*dravin->object, output));
}

// A preset of the user's file as a file of its own.
ExitCode ExportStored(const PresetOptions& options, const std::string& path,
                      const std::string& output) {
    IniFile::Entries lines;
    std::string name = options.scene;
    PresetResult read = DravinPresetFile(path).Read(&name, &lines);
    if (read.status == PresetStatus::kNoSuchPreset)
        read.error = fmt::format("\"{}\" is neither a scene file nor a preset: {}", options.scene,
                                 read.error);
    if (ExitCode code = Tell(read); code != kExitDone) return code;
    return Tell(DravinPresetFile(output).WriteAlone(fs::path(output).stem().string(), lines));
}

ExitCode Export(const PresetOptions& options) {
    std::string output = ExportPath(options.name);
    if (ExitCode code = CheckOutputs({&output, 1}); code != kExitDone) return code;
    ExitCode code;
    if (IsFile(options.scene)) {
        code = ExportObject(options, output);
    } else {
        std::string path = PathOf(options);
        if (path.empty()) return kExitUsage;
        code = ExportStored(options, path, output);
    }
    if (code == kExitDone) PrintNote(fmt::format("{}: written", output));
    return code;
}

// The first preset of a file, into the user's file.
ExitCode ImportStored(const PresetOptions& options, const std::string& path) {
    std::string name;
    IniFile::Entries lines;
    if (ExitCode code = Tell(DravinPresetFile(options.scene).Read(&name, &lines));
        code != kExitDone)
        return code;
    if (!options.name.empty()) name = options.name;
    ExitCode code = Tell(DravinPresetFile(path).Write(name, lines));
    if (code == kExitDone) PrintNote(fmt::format("{}: preset \"{}\"", path, name));
    return code;
}

ExitCode Import(const PresetOptions& options) {
    if (!options.output.empty()) {
        if (!options.name.empty()) return Load(options, {}, options.name);
        PrintError("expected SCENE FILE -o OUT, or FILE [NAME] without -o");
        return kExitUsage;
    }
    std::string path = PathOf(options);
    return path.empty() ? kExitUsage : ImportStored(options, path);
}

}  // namespace

ExitCode RunPresetList(const PresetOptions& options, bool json) {
    std::string path = PathOf(options);
    if (path.empty()) return kExitUsage;
    if (!options.file.empty() && !IsFile(path)) {
        PrintError(fmt::format("{}: there is no such file", path));
        return kExitMissingInput;
    }
    std::vector<std::string> names;
    if (ExitCode code = Tell(DravinPresetFile(path).List(&names)); code != kExitDone) return code;
    if (json) {
        nlohmann::ordered_json result{{"dravin_presets", 1}, {"file", path}, {"presets", names}};
        PrintResult(result.dump());
        return kExitDone;
    }
    for (const std::string& name : names) PrintResult(name);
    return kExitDone;
}

ExitCode RunPreset(PresetCommand command, const PresetOptions& options) {
    if (command == PresetCommand::kExport) return Export(options);
    if (command == PresetCommand::kImport) return Import(options);
    std::string path = PathOf(options);
    if (path.empty()) return kExitUsage;
    if (command == PresetCommand::kSave) return Save(options, path);
    if (command == PresetCommand::kLoad) return Load(options, options.name, path);
    if (command == PresetCommand::kDelete) return Tell(DravinPresetFile(path).Delete(options.name));
    return Tell(DravinPresetFile(path).Rename(options.name, options.newName));
}
