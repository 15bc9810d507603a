// The commands of the program, each from its options to its exit code.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/dravin/console.h"

struct BuildOptions {
    std::string scene;
    std::string object;       // empty: all
    std::optional<int> time;  // ticks; none: the scene's
    bool render = false;
    int threads = 0;  // 0: as the parameters say
    bool noLimit = false;
    std::vector<std::string> fields;   // empty: the default ones; "all" for all
    std::vector<std::string> outputs;  // by ending; none: the statistics panel
    bool flat = false;                 // glTF: plain nodes instead of instancing
    bool surfaces = false;             // glTF: the surfaces too
};
ExitCode RunBuild(const BuildOptions& options);

struct RenderOptions {
    std::string scene, output, camera;
    std::optional<int> width, height, samples, time;
    int threads = 0;
};
ExitCode RunRender(const RenderOptions& options);

ExitCode RunInfo(const std::string& scene);
// The import report of a model file, as text or as JSON.
ExitCode RunInspect(const std::string& file, bool json);
// filter: a block's or parameter's name, or empty.
ExitCode RunSchema(const std::string& filter, bool json);

struct DemoCommandOptions {
    std::string folder = "demo";
    double items = 1.2e6;
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
// The shipped effects, one a line; of one of them, its description and parameters.
ExitCode RunEffectList(const std::string& name);
