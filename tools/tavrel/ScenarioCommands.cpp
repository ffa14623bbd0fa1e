#include "Commands.h"

void tavrel::addScenarioCommands(CLI::App&) {}
