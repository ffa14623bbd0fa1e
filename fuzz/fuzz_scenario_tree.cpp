// Fuzz target of the node tree of a scenario file: whatever the scenario file
// reader takes must open as a template over the root model of the installation,
// or fail with the library's exception, and its node tree, scripts included,
// must answer every question a host asks of its nodes, parameters and variadic
// parameters, consistently.
#include "FuzzReplay.h"
#include "FuzzSupport.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <ScenarioTemplateDb/VariadicParameter.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/lmkUtils/EnvConfig.h>
#include <scenario/ScenarioItem.h>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ScenarioNode;
using ScenarioTemplateDb::ScenarioParameter;
using ScenarioTemplateDb::VariadicParameter;
using TavrelScenarioTemplateDb::TavrelScenario;

namespace {

// Lookups by id compare with every sibling: a bound keeps a wide tree cheap.
constexpr size_t kMaxLookups = 16;

// The model ends the process on its documented internal faults, which a
// script's text can reach (a keyword of 256 characters); here they end the run.
struct AssertionReached {};

// An installation whose configuration "main" is current, over one root that
// holds the sample root model, which is read once.
struct Installation {
    Installation() : work("fuzz-scenario-tree") {
        std::ifstream in(TAVREL_FUZZ_SAMPLE_MODEL, std::ios::binary);
        const std::string model((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (model.empty())
            std::abort();
        fuzz_support::writeFile(work.file("models/data/tools/nuro/nuro.mdl"), model);
        fuzz_support::writeFile(work.file("config/configuration.ini"),
                                "[configuration]\nversion = 1.0\ndatapath = ../models\n");
        fuzz_support::writeFile(work.file("tavrel.cfg"), "[configuration main]\npath = config\n");
        lmkUtils::EnvConfig::setTavrelConfigFilePath(work.file("tavrel.cfg"));
        TavrelScenarioTemplateDb::setRootModelReuse(true);
    }
    fuzz_support::WorkFolder work;
    const std::string input = work.file("input.sce");
};

void require(bool condition) {
    if (!condition)
        std::abort();
}

// Runs `read`; the library's exception, in both forms, ends it quietly.
template <typename Read> void quietly(Read read) {
    try {
        read();
    } catch (Exception* failure) {
        delete failure;
    } catch (const Exception&) {
    }
}

// The same for a reader of a number, which also leaves, by design, with the
// overflow of its conversion.
template <typename Read> void quietlyNumber(Read read) {
    quietly([&] {
        try {
            read();
        } catch (const std::out_of_range&) {
        }
    });
}

// Whether a script below `section` may hold a CONFIG block, which by design
// doesn't destroy its children.
bool scriptMayHoldConfig(cfg::Section* root) {
    std::vector<cfg::Section*> pending{root};
    while (!pending.empty()) {
        cfg::Section* section = pending.back();
        pending.pop_back();
        if (const auto* script = dynamic_cast<const cfg::ScenarioScript*>(section))
            if (fuzz_support::mayHoldConfig(script->text))
                return true;
        for (size_t i = 0; i < section->getSubSectionCount(); ++i)
            pending.push_back(section->getSubSection(i));
    }
    return false;
}

void readParameter(const TavrelScenario& scenario, ScenarioNode& node, ScenarioParameter& parameter,
                   size_t index, bool lookUp) {
    require(parameter.getParentNode() == &node && parameter.getIndex() == index);
    parameter.getName();
    parameter.getDescription();
    parameter.getParameterUnit();
    parameter.hasParameterUnit();
    // A type outside the four fails here.
    quietly([&] { parameter.getValueAsString(); });
    const std::string id = parameter.getId();
    const std::string full = parameter.getParameterId();
    require(full.size() > id.size() && full.compare(full.size() - id.size(), id.size(), id) == 0);
    // At most one of the four kinds; each reader fails unless it is its own.
    require(parameter.isInteger() + parameter.isReal() + parameter.isLiteral() + parameter.isBoolean() <= 1);
    quietlyNumber([&] { parameter.getIntegerValue(); });
    quietlyNumber([&] { parameter.getRealValue(); });
    quietly([&] { parameter.getLiteralValue(); });
    quietly([&] { parameter.getBooleanValue(); });
    if (lookUp) {
        ScenarioParameter* found = nullptr;
        quietly([&] { found = node.getParameter(id); });
        require(found != nullptr && found->getId() == id);
        quietly([&] { scenario.getParameterFromId(full); });
    }
}

void readNode(const TavrelScenario& scenario, ScenarioNode& node, std::vector<ScenarioNode*>& pending) {
    node.getName();
    node.getDescription();
    const std::string id = node.getId();
    const std::string full = node.getNodeId();
    require(full.size() > id.size() && full.compare(full.size() - id.size(), id.size(), id) == 0);

    std::vector<ScenarioParameter*> parameters;
    node.getParameters(parameters);
    require(node.getParameterNumber() == parameters.size());
    for (size_t i = 0; i < parameters.size(); ++i)
        readParameter(scenario, node, *parameters[i], i, i < kMaxLookups);
    quietly([&] { node.getParameter(parameters.size()); });

    // A script node refuses getChildren: its count says it has none.
    if (node.getChildNumber() == 0) {
        quietly([&] { node.getChild(0); });
        return;
    }
    std::vector<ScenarioNode*> children;
    node.getChildren(children);
    require(children.size() == node.getChildNumber());
    for (size_t i = 0; i < children.size(); ++i) {
        ScenarioNode* child = children[i];
        require(child->getParent() == &node && node.getChild(i) == child && child->getIndex() == i);
        if (i < kMaxLookups) {
            ScenarioNode* found = nullptr;
            quietly([&] { found = node.getChild(child->getId()); });
            require(found != nullptr && found->getId() == child->getId());
        }
        pending.push_back(child);
    }
}

void readVariadic(const VariadicParameter& variadic) {
    variadic.getName();
    variadic.getDescription();
    variadic.getParameterId();
    variadic.getParameterUnit();
    variadic.hasParameterUnit();
    variadic.getType();
    if (ScenarioParameter* target = variadic.getTargetParameter())
        quietly([&] { target->getValueAsString(); });
    quietly([&] { variadic.getIntegerDefaultValue(); });
    quietly([&] { variadic.getRealDefaultValue(); });
    quietly([&] { variadic.getBooleanDefaultValue(); });
    quietly([&] { variadic.getLiteralDefaultValue(); });
    quietly([&] {
        std::vector<const VariadicParameter::Range<int>*> ranges;
        variadic.getIntegerRanges(ranges);
        for (const auto* range : ranges)
            range->getMinimum(), range->getMaximum();
    });
    quietly([&] {
        std::vector<const VariadicParameter::Range<double>*> ranges;
        variadic.getRealRanges(ranges);
        for (const auto* range : ranges)
            range->getMinimum(), range->getMaximum();
    });
    quietly([&] {
        std::vector<std::string> literals;
        variadic.getLiterals(literals);
    });
}

void readTemplate(const TavrelScenario& scenario) {
    scenario.getName();
    scenario.getDescription();
    for (size_t i = 0; i < scenario.getVariadicParameterNumber(); ++i)
        readVariadic(*scenario.getVariadicParameter(i));

    ScenarioNode* root = scenario.getRootScenarioNode();
    require(root != nullptr && root->getParent() == nullptr && root->getIndex() == 0);
    require(root->getNodeId() == "/sce/" + root->getId());
    // Depth first, by hand: a deep file must not take this program's stack too.
    std::vector<ScenarioNode*> pending{root};
    while (!pending.empty()) {
        ScenarioNode* node = pending.back();
        pending.pop_back();
        readNode(scenario, *node, pending);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Installation installation;
    SetAssertAbortHandler([](const char*, int) { throw AssertionReached(); });
    fuzz_support::writeFile(installation.input, std::string_view(reinterpret_cast<const char*>(data), size));
    cfg::CfgScenario file;
    if (!file.load(installation.input.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true))
        return 0;
    const fuzz_support::LeakCheckPause pause(scriptMayHoldConfig(file.getRootSection()));
    try {
        // Reads the root model and the variadic sections at once.
        TavrelScenario scenario(&file);
        readTemplate(scenario);
    } catch (Exception* failure) {
        delete failure;
    } catch (const Exception&) {
    } catch (const std::out_of_range&) {
        // A script variable's number too large for 64 bits, by design.
    } catch (const AssertionReached&) {
    }
    scenarioLog = nullptr;
    return 0;
}
