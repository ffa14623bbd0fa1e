#pragma once

#include <CLI/CLI.hpp>

// Each group of sub-commands registers itself on the application. A command
// callback sets the exit status through tavrel::exitStatus.
namespace tavrel {

extern int exitStatus;

/// browse, uri
void addInstallationCommands(CLI::App& app);
/// show, fetch, set, get, variadic
void addScenarioCommands(CLI::App& app);
/// get, variadic list|add|remove|clear
void addVariadicCommands(CLI::App& app);
/// script parse, script run, script check
void addScriptCommands(CLI::App& app);
/// tavrel doctor.
void addDoctorCommand(CLI::App& app);
/// tavrel variants
void addVariantsCommand(CLI::App& app);
/// tavrel serve
void addServeCommand(CLI::App& app);
/// script run, on the "script" command
void addScriptRunCommand(CLI::App& script);
/// script check, on the "script" command
void addScriptCheckCommand(CLI::App& script);

} // namespace tavrel
