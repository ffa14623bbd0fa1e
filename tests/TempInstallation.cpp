#include "TempInstallation.h"

#include <environment/lmkUtils/EnvConfig.h>

#include <Poco/File.h>
#include <Poco/Path.h>
#include <Poco/TemporaryFile.h>

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>

TempInstallation::TempInstallation() {
    folder = Poco::TemporaryFile::tempName();
    Poco::File(folder).createDirectories();
    // Resolve symbolic links in the temporary folder's path so that paths
    // compare equal to the ones the library builds.
    char resolved[4096];
    if (::realpath(folder.c_str(), resolved))
        folder = resolved;
}

TempInstallation::~TempInstallation() {
    try {
        Poco::File(folder).remove(true);
    } catch (...) {
    }
}

std::string TempInstallation::path(const std::string& relative) const {
    return folder + "/" + relative;
}

std::string TempInstallation::write(const std::string& relative, const std::string& content) const {
    const std::string file = path(relative);
    Poco::File(Poco::Path(file).parent()).createDirectories();
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out)
        throw std::runtime_error("cannot write " + file);
    return file;
}

std::string TempInstallation::makeFolder(const std::string& relative) const {
    const std::string made = path(relative);
    Poco::File(made).createDirectories();
    return made;
}

std::string TempInstallation::addScenario(const std::string& projectRoot, const std::string& relative) const {
    return write("projects/" + projectRoot + "/data/scenario/" + relative,
                 "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Scenario name=\"" + relative +
                     "\" description=\"\"/>\n");
}

std::string TempInstallation::addModel(const std::string& projectRoot) const {
    std::string text = "TYPEOF FOLDER (NURO)\r\n{\r\n\tLABEL=\"Root model\"\r\n";
    for (const char* list : {"PARAMETER_LIST", "ENUMTAB_LIST", "FUNCTION_LIST", "CONDITION_LIST", "ACTION_LIST"})
        text += std::string("\r\n\tTYPEOF FOLDER (") + list + ")\r\n\t{\r\n\t}\r\n";
    return write("projects/" + projectRoot + "/data/tools/nuro/nuro.mdl", text + "}\r\n");
}

void TempInstallation::useForModels(const std::vector<std::string>& names) {
    for (const std::string& name : names)
        addConfiguration(name, "1.0", {"models"});
    lmkUtils::EnvConfig::setTavrelConfigFilePath(writeInstallationFile());
}

void TempInstallation::addConfiguration(const std::string& name, const std::string& version,
                                        const std::vector<std::string>& roots, bool createData) {
    std::string configurationFolder = "config/" + std::to_string(configurations.size());
    std::string datapath;
    for (const std::string& root : roots) {
        if (!datapath.empty())
            datapath += ";";
        datapath += "../../projects/" + root;
        if (createData) {
            makeFolder("projects/" + root + "/data/scenario");
            addModel(root);
        }
    }
    std::string ini = "[configuration]\n";
    if (!version.empty())
        ini += "version = " + version + "\n";
    ini += "datapath = " + datapath + "\n";
    write(configurationFolder + "/configuration.ini", ini);
    configurations.push_back(Configuration{name, configurationFolder});
}

std::string TempInstallation::writeInstallationFile(const std::string& current) const {
    std::string text;
    if (!current.empty())
        text += "[installation]\ncurrent = " + current + "\n\n";
    for (const Configuration& c : configurations)
        text += "[configuration " + c.name + "]\npath = " + c.folder + "\n\n";
    return write("tavrel.cfg", text);
}

std::string TempInstallation::read(const std::string& relative) const {
    return readFile(path(relative));
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

ToolRun runTool(const std::string& tool, const std::string& arguments, bool errors) {
    const std::string command =
        "env -u TAVREL_CONFIG '" + tool + "' " + arguments + (errors ? " 2>&1" : " 2>/dev/null");
    ToolRun run{-1, std::string()};
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return run;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        run.output.append(buffer.data(), n);
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}
