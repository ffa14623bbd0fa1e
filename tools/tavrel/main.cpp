// tavrel: a command-line host of the template database and the item model.
#include "Commands.h"

int tavrel::exitStatus = 0;

int main(int argc, char** argv) {
    CLI::App app{"tavrel - browse and edit the scenarios of a Tavrel installation"};
    app.require_subcommand(1);
    tavrel::addInstallationCommands(app);
    tavrel::addScenarioCommands(app);
    tavrel::addVariadicCommands(app);
    tavrel::addScriptCommands(app);
    tavrel::addDoctorCommand(app);
    tavrel::addVariantsCommand(app);
    tavrel::addServeCommand(app);
    CLI11_PARSE(app, argc, argv);
    return tavrel::exitStatus;
}
