#include "Commands.h"

void tavrel::addScriptCommands(CLI::App&) {}
