#pragma once

#include <environment/Commons/Encoding.h>
#include <environment/SheetCfg/Sections.h>

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>

namespace Orbe {
class Network; // a road network; never given by the template database
}

namespace cfg {

namespace ScenarioConvertion {
class CallBack; // a conversion call-back; never given by the template database
}

/// Changes that a save applies to what it writes, leaving the tree as it is:
/// sections left out (with all below them), parameter values and script texts
/// replaced. A variant of a template is written this way, without a copy of
/// the template's tree.
struct WriteEdits {
    /// Written as a file writes a parameter of the alternative's type.
    using Value = std::variant<bool, int, double, std::string>;
    std::unordered_set<const Section*> omitted;
    /// By section and parameter name.
    std::map<std::pair<const Section*, std::string>, Value> values;
    /// By ScenarioScript section.
    std::unordered_map<const Section*, std::string> scriptTexts;
};

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
    /// The same, with `edits` applied to what is written.
    bool save(const char* path, Commons::Encoding::Mode mode, bool backup, const WriteEdits& edits);
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
