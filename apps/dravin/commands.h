// The commands of the program, each from its options to its exit code.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Dravin/engine/build_input.h"
#include "apps/dravin/console.h"

struct BuildOptions {
    std::string scene;
    std::string object;                // empty: all
    std::optional<int> time;           // ticks; none: the scene's
    bool viewport = false;             // what a viewport shows, instead of what will be rendered
    int threads = 0;                   // 0: as the parameters say
    bool noLimit = false;              // as --no-limit
    std::vector<std::string> fields;   // empty: the default ones; "all" for all
    std::vector<std::string> outputs;  // by ending; none: the statistics panel
    bool flat = false;                 // glTF: plain nodes instead of instancing
    bool surfaces = false;             // glTF: the surfaces too
    bool explain = false;              // print what each rule dropped
    bool keepGoing = false;            // whatever effects do not compile
    std::optional<TBuildPart> piece;   // of several that are joined later; .npz outputs only
};
ExitCode RunBuild(const BuildOptions& options);
class Session;
// The same over a scene that is open, whatever file the options name.
ExitCode BuildOpenScene(Session& session, const BuildOptions& options);

struct JoinOptions {
    std::vector<std::string> parts;
    std::string output;
};
ExitCode RunJoin(const JoinOptions& options);

struct RenderOptions {
    std::string scene, output, camera;
    std::string renderer;  // "raytrace", "scanline" or "viewport"; empty: the scene's
    std::optional<int> width, height, samples, time;
    // First and last frame of a sequence, in place of a time; the output's name is numbered.
    std::optional<std::pair<int, int>> frames;
    // Of viewport pictures: how items are shown, the most elements of them (0: any number), and a
    // pixel whose nodes and items are told.
    std::string display;
    uint64_t maxElements = 0;
    std::optional<std::pair<int, int>> pick;
    bool noLimit = false;     // as --no-limit
    bool allowEmpty = false;  // an object that ends up without items is left out, not a failure
    int threads = 0;
};
ExitCode RunRender(const RenderOptions& options);
struct RenderOutcome;
// One picture of an open scene, whatever file the options name; written where they name an output.
// Errors are printed.
ExitCode RenderOpenScene(Session& session, const RenderOptions& options, RenderOutcome* outcome);

struct InfoOptions {
    std::string scene;
    bool verbose = false;
};
ExitCode RunInfo(const InfoOptions& options);
// The import report of a model file, as text or as JSON.
ExitCode RunInspect(const std::string& file, bool json);
// Of a plug-in module; the helper program loads it.
ExitCode RunInspectPlugin(const std::string& file, bool json);
// filter: a block's or parameter's name, or empty.
ExitCode RunSchema(const std::string& filter, bool json);

struct DemoCommandOptions {
    std::string folder = "demo";
    std::optional<double> items;  // none: as many as the demo has by itself
    bool fresh = false;           // make the scene anew, whatever the folder holds
    int threads = 0;
};
ExitCode RunDemo(const DemoCommandOptions& options);

struct EffectOptions {
    std::string file;  // or the name of a shipped effect
    bool checkOnly = false;
    std::vector<std::string> set;  // NAME=VALUE
    uint32_t seed = 123456;
};
ExitCode RunEffect(const EffectOptions& options);

// What a run of an effect gave.
struct EffectRun {
    std::string output;                                           // of print
    std::vector<std::pair<std::string, std::string>> attributes;  // that it assigned, with values
    std::string error;  // why it does not compile, or how it ended; empty when all is well
};
// Compiles an effect that is given as text, and runs it unless options only check; `name` stands in
// messages. Errors but those of the effect itself are printed.
ExitCode RunEffectText(const std::string& text, const std::string& name,
                       const EffectOptions& options, EffectRun* run);
// The shipped effects, one a line; of one of them, its description and parameters.
ExitCode RunEffectList(const std::string& name);

enum class PresetCommand { kSave, kLoad, kDelete, kRename, kExport, kImport };
struct PresetOptions {
    std::string scene;    // export: or a preset's name; import: or the file to import
    std::string name;     // of the preset; export and import into a scene: the preset's file
    std::string newName;  // rename
    std::string object;   // empty: the only one
    std::string file;     // of presets; empty: the user's own
    std::string output;   // the scene that is written
};
ExitCode RunPreset(PresetCommand command, const PresetOptions& options);
// Names, one a line, or as JSON.
ExitCode RunPresetList(const PresetOptions& options, bool json);

struct InstantiateOptions {
    std::string scene, output;
    std::string object;     // empty: all
    int hierarchy = 0;      // 0 individual objects, 1 a group, 2 a layer
    std::string layer;      // empty: the usual one
    bool noFreeze = false;  // the layer
    bool keepOld = false;   // objects of an earlier run
    bool keepGeometry = false, noEnable = false;
    bool deleteOnly = false;
};
ExitCode RunInstantiate(const InstantiateOptions& options);

struct EditOptions {
    std::string scene, output;
    std::string object;                 // what the commands work on; empty: the only scatter object
    std::vector<std::string> commands;  // each "NAME ARGUMENT=VALUE ..."
    std::string script;                 // a file of commands as JSON, run before the others
    bool yes = false;                   // questions are answered yes, otherwise no
};
ExitCode RunEdit(const EditOptions& options);
// All commands one a line, or one of them with its arguments; as JSON what the table holds.
ExitCode RunEditList(const std::string& name, bool json);

struct ConvertOptions {
    std::string input, output;
};
ExitCode RunConvert(const ConvertOptions& options);
