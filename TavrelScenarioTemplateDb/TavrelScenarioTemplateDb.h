#pragma once

// Every public class of the Tavrel driver.
#include <ScenarioTemplateDb/ScenarioTemplateDb.h>
#include <TavrelScenarioTemplateDb/TavrelConfigurationScenarioDirectory.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelRange.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDatabase.h>
#include <TavrelScenarioTemplateDb/TavrelVariadicParameter.h>
