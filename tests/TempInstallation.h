#pragma once

#include <string>
#include <vector>

/// A Tavrel installation built in a fresh temporary folder, removed on
/// destruction. Tests that set the process-wide installation each build their own,
/// so that none depends on another's state or order.
class TempInstallation {
public:
    TempInstallation();
    ~TempInstallation();
    TempInstallation(const TempInstallation&) = delete;
    TempInstallation& operator=(const TempInstallation&) = delete;

    /// The absolute folder of the installation.
    const std::string& root() const { return folder; }
    /// root() + "/" + relative.
    std::string path(const std::string& relative) const;
    /// Writes a file (creating its folders) and returns its absolute path.
    std::string write(const std::string& relative, const std::string& content) const;
    /// The bytes of root() + "/" + relative ("" if it can't be read).
    std::string read(const std::string& relative) const;
    /// Creates a folder and its parents; returns its absolute path.
    std::string makeFolder(const std::string& relative) const;
    /// Writes a placeholder scenario file under projects/<root>/data/scenario.
    std::string addScenario(const std::string& projectRoot, const std::string& relative) const;

    /// Writes a root model with empty lists of definitions at
    /// projects/<root>/data/tools/nuro/nuro.mdl and returns its path.
    std::string addModel(const std::string& projectRoot) const;
    /// For templates opened by configuration name over a folder of their own:
    /// declares each configuration of `names` over one project root "models"
    /// that holds only a root model, writes the installation file and makes it
    /// the one in force.
    void useForModels(const std::vector<std::string>& names);

    /// Declares a configuration in folder config/<name> with the given version text
    /// (none written if empty) and data-path roots projects/<root> (each given
    /// relative to the configuration folder). Creates each root's data/scenario
    /// folder and root model unless `createData` is false.
    void addConfiguration(const std::string& name, const std::string& version,
                          const std::vector<std::string>& roots, bool createData = true);
    /// Writes tavrel.cfg for the declared configurations and returns its path.
    std::string writeInstallationFile(const std::string& current = std::string()) const;

private:
    struct Configuration {
        std::string name;
        std::string folder;
    };
    std::string folder;
    std::vector<Configuration> configurations;
};

/// The bytes of the file at `path` ("" if it can't be read).
std::string readFile(const std::string& path);

/// What a run of the command-line tool gave.
struct ToolRun {
    int status;
    std::string output;
};

/// Runs the tool at `tool` with `arguments` (already quoted for the shell), with
/// TAVREL_CONFIG unset so that only the arguments choose the installation;
/// stderr joins the output, or is dropped when `errors` is false.
ToolRun runTool(const std::string& tool, const std::string& arguments, bool errors = true);
