// Fuzz target of parameter ids: any text must split into non-empty steps and
// lead to a parameter, to null, or to the library's exception, over one fixed
// template with sections, vehicles, drivers, scripts and variadic parameters;
// and the id of any parameter found must lead back to it.
#include "FuzzReplay.h"
#include "FuzzSupport.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/lmkUtils/EnvConfig.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <queue>

using ScenarioTemplateDb::Exception;
using ScenarioTemplateDb::ScenarioParameter;
using TavrelScenarioTemplateDb::TavrelScenario;

namespace {

// A root model with empty lists: the scripts below only declare variables.
const char* const kModel = "TYPEOF FOLDER (NURO)\r\n{\r\n"
                           "\tTYPEOF FOLDER (PARAMETER_LIST)\r\n\t{\r\n\t}\r\n"
                           "\tTYPEOF FOLDER (FUNCTION_LIST)\r\n\t{\r\n\t}\r\n"
                           "\tTYPEOF FOLDER (CONDITION_LIST)\r\n\t{\r\n\t}\r\n"
                           "\tTYPEOF FOLDER (ACTION_LIST)\r\n\t{\r\n\t}\r\n"
                           "}\r\n";

// No two siblings share an id and no name holds "]" or "/", so that every id the
// tree gives leads back to its own parameter.
const char* const kScenario = R"(<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="ids" description="sections, vehicles, drivers, scripts">
  <Parameter name="duration" type="real" unit="min">600</Parameter>
  <Parameter name="weather" type="choice" options="dry|wet">wet</Parameter>
  <Environment>
    <Parameter name="fog" type="bool" verbose="Fog">true</Parameter>
    <Parameter name="road" type="string">Main street</Parameter>
    <Lights><Parameter name="count" type="int">3</Parameter></Lights>
  </Environment>
  <Vehicle id="3" driverId="7" name="car3">
    <Position>
      <Parameter name="x" type="real" unit="m">30</Parameter><Parameter name="lane" type="int">1</Parameter>
    </Position>
    <ScenarioScript name="own" scriptType="nuro"><![CDATA[
TYPEOF TASK (own)
{
	TYPEOF VARIABLE (5)
	{
		LABEL="Delay"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="FLOAT"
		VALUE="1.5"
	}
}
]]></ScenarioScript>
  </Vehicle>
  <Vehicle id="4" driverId="8" name="car4">
    <Position>
      <Parameter name="x" type="real" unit="m">40</Parameter><Parameter name="lane" type="int">2</Parameter>
    </Position>
    <Parameter name="start" type="vector" unit="m">10 -2.5 0</Parameter>
  </Vehicle>
  <Driver id="7" name="Average" label="normal">
    <Parameter name="reactionTime" type="real" unit="s">0.9</Parameter>
  </Driver>
  <Driver id="8" name="Cautious" label="careful"/>
  <ScenarioTemplate><Parameter name="author" type="string">lab</Parameter></ScenarioTemplate>
  <ScenarioScript name="main" scriptType="nuro"><![CDATA[
TYPEOF SCENARIO (main)
{
	TYPEOF VARIABLE (1)
	{
		LABEL="Target speed"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="FLOAT"
		VALUE="90"
	}
	TYPEOF VARIABLE (12)
	{
		LABEL="Gap"
		TYPE="INTEGER"
		INTERACTIVE_TYPE="INTEGER"
		VALUE="25"
	}
	TYPEOF TASK (0)
	{
		TYPEOF VARIABLE (2)
		{
			LABEL="Message"
			TYPE="STRING"
			INTERACTIVE_TYPE="STRING"
			VALUE="Keep right"
		}
	}
}
]]></ScenarioScript>
  <ScenarioScript name="other" scriptType="lua"><![CDATA[not read]]></ScenarioScript>
  <VariadicParameter name="x" parameterId="/sce/Scenario/Vehicle[id/@ScenarioTreeValue=4]/Position/x" parameterUnit="m">
    <RealParameter default="40"><RealRange minimum="0" maximum="100"/></RealParameter>
  </VariadicParameter>
  <VariadicParameter name="gap" parameterId="/sce/Scenario/ScenarioScript[scriptName=&quot;main&quot;]/Variable[name=12]/value" parameterUnit="">
    <IntegerParameter default="25"><IntegerRange minimum="10" maximum="50"/></IntegerParameter>
  </VariadicParameter>
</Scenario>
)";

struct IdSplitter : TavrelScenario {
    using TavrelScenario::splitId;
};

// The installation with configuration "main" over one root that holds the root
// model, and the template opened once, its node tree built.
struct Template {
    Template() : work("fuzz-parameter-ids") {
        fuzz_support::writeFile(work.file("tavrel.cfg"), "[configuration main]\npath = config\n");
        fuzz_support::writeFile(work.file("config/configuration.ini"),
                                "[configuration]\nversion = 1.0\ndatapath = ../models\n");
        fuzz_support::writeFile(work.file("models/data/tools/nuro/nuro.mdl"), kModel);
        fuzz_support::writeFile(work.file("demo.sce"), kScenario);
        try {
            lmkUtils::EnvConfig::setTavrelConfigFilePath(work.file("tavrel.cfg"));
            scenario = std::make_unique<TavrelScenario>("main", "demo.sce", work.path.string());
            if (scenario->getRootScenarioNode() != nullptr && scenario->getVariadicParameterNumber() == 2)
                return;
        } catch (const Exception& e) {
            std::cerr << "template: " << e.message << std::endl;
        } catch (Exception* e) {
            std::cerr << "template: " << e->message << std::endl;
            delete e;
        } catch (const std::exception& e) {
            std::cerr << "template: " << e.what() << std::endl;
        }
        std::abort();
    }

    fuzz_support::WorkFolder work;
    std::unique_ptr<TavrelScenario> scenario;
};

void require(bool condition) {
    if (!condition)
        std::abort();
}

void lookUp(const TavrelScenario& scenario, const std::string& id) {
    ScenarioParameter* found = nullptr;
    try {
        found = scenario.getParameterFromId(id);
    } catch (Exception* missing) {
        delete missing;
        return;
    } catch (const Exception&) {
        return;
    }
    if (found == nullptr)
        return;
    try {
        found->getValueAsString();
    } catch (const Exception&) {
        // A type the interface doesn't read (a float, a vector, a choice)
        // answers by this error, as specified.
    }
    require(scenario.getParameterFromId(found->getParameterId()) == found);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Template fixed;
    const std::string id(reinterpret_cast<const char*>(data), size);

    std::queue<std::string> pieces;
    IdSplitter::splitId(id, pieces);
    size_t length = 0;
    for (; !pieces.empty(); pieces.pop()) {
        require(!pieces.front().empty());
        length += pieces.front().size();
    }
    require(length <= id.size());

    lookUp(*fixed.scenario, id);
    // Most texts stop at the first two steps; this one gets into the tree.
    if (id.compare(0, 14, "/sce/Scenario/") != 0)
        lookUp(*fixed.scenario, "/sce/Scenario/" + id);
    return 0;
}
