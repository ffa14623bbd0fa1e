#pragma once

// The platform services of an installation: environment, utilities, units and
// the scenario-file section library.
#include <environment/Commons/Commons.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <environment/SheetCfg/Sections.h>
#include <environment/SheetSection/Section.h>
#include <environment/lmk/Units.h>
#include <environment/lmk/Vector3.h>
#include <environment/lmkUtils/AssertAbort.h>
#include <environment/lmkUtils/EnvConfig.h>
