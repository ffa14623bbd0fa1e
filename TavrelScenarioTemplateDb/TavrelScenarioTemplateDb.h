#pragma once

// Every public class of the Tavrel driver.
#include <ScenarioTemplateDb/ScenarioTemplateDb.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
