// The command line as one description: commands, options with their meanings, examples, and what
// runs.
//
// Help, the manual page and the shells' completions (shell_texts.h) are made from it; no second
// list of options exists.
#pragma once

#include <functional>
#include <string>

#include <CLI/CLI.hpp>

#include "apps/dravin/commands.h"

class CommandLine {
public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    const CLI::App& App() const { return m_app; }
    // Parses the arguments and runs the command. Wrong usage is told as the console's options want
    // it, with the nearest name that exists.
    ExitCode Run(int argc, const char* const* argv);

private:
    CLI::App* Add(const std::string& name, const std::string& what, const std::string& examples,
                  std::function<ExitCode()> run);
    void AddBuild();
    void AddJoin();
    void AddRender();
    void AddInfo();
    void AddInspect();
    void AddSchema();
    void AddEffect();
    void AddPreset();
    void AddInstantiate();
    void AddEdit();
    void AddDemo();
    void AddHelp();
    void AddLimits();
    void AddNoLimit(CLI::App* app);
    void SetLimits();
    ExitCode Help();
    std::string WrongUsage(const CLI::ParseError& error, const CLI::App& command) const;

    CLI::App m_app;
    std::function<ExitCode()> m_run;
    ConsoleOptions m_console;
    BuildOptions m_build;
    JoinOptions m_join;
    RenderOptions m_render;
    InfoOptions m_info;
    std::string m_model;
    std::string m_schemaFilter;
    EffectOptions m_effect;
    std::string m_listedEffect, m_listedCommand;
    PresetOptions m_preset;
    InstantiateOptions m_instantiate;
    EditOptions m_edit;
    DemoCommandOptions m_demo;
    std::string m_helpFor, m_completionFor;
    bool m_manual = false, m_rendered = false, m_noLimit = false;
    uint64_t m_inputMebibytes = 0;  // 0: as usual
};
