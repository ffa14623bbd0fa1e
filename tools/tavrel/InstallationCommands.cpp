#include "Commands.h"

void tavrel::addInstallationCommands(CLI::App&) {}
