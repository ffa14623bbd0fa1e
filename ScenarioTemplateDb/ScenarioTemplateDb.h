#pragma once

// Every class of the template database interface.
#include <ScenarioTemplateDb/DatabaseDirectory.h>
#include <ScenarioTemplateDb/DatabaseDriver.h>
#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ParameterType.h>
#include <ScenarioTemplateDb/Scenario.h>
#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <ScenarioTemplateDb/VariadicParameter.h>
