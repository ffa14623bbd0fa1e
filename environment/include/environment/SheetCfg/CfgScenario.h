#pragma once

#include <environment/Commons/Encoding.h>
#include <environment/SheetCfg/Sections.h>

#include <memory>
#include <string>

namespace Orbe {
class Network; // a road network; never given by the template database
}

namespace cfg {

namespace ScenarioConvertion {
class CallBack; // a conversion call-back; never given by the template database
}

/// A scenario file ("sce"): UTF-8 XML whose elements are sections.
class CfgScenario {
public:
    /// An empty scenario: a root section without parameters values.
    CfgScenario();
    /// Releases the section tree.
    ~CfgScenario();
    CfgScenario(const CfgScenario&) = delete;
    CfgScenario& operator=(const CfgScenario&) = delete;

    /// Parses the file into a new section tree. Returns false with errorMessage
    /// "PATH:LINE:COLUMN: what" on failure; never throws.
    bool load(const char* path, Commons::Encoding::Mode mode, Orbe::Network* network,
              ScenarioConvertion::CallBack* callBack, bool convert, bool checkParameters, bool keepScripts);
    /// Writes the whole tree to a temporary file beside `path`, then renames it
    /// over `path`; with `backup`, first replaces "PATH.bak" by the old file the
    /// same way. Returns false, leaving any old file intact, on failure, and
    /// also refuses to overwrite the file whose load last failed.
    bool save(const char* path, Commons::Encoding::Mode mode, bool backup);
    /// The root section.
    Scenario* getRootSection() { return root.get(); }

    /// The text of the last failure.
    std::string errorMessage;

private:
    std::unique_ptr<Scenario> root;
    std::string failedLoadPath; // guards that file against being replaced by an empty tree
};

/// The word a file gives a parameter type: "bool", "int", "real", "float",
/// "vector", "choice" or "string".
const char* parameterTypeText(t_ParameterType type);
/// A parameter's value as a file writes it.
std::string parameterValueText(const Section::ParameterIterator& parameter);

} // namespace cfg
