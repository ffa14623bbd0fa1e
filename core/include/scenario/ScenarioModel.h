#pragma once

// Every class of the scenario item model.
#include <scenario/Action.h>
#include <scenario/Condition.h>
#include <scenario/Config.h>
#include <scenario/Criteria.h>
#include <scenario/Enum.h>
#include <scenario/EnumTab.h>
#include <scenario/Evaluation.h>
#include <scenario/Folders.h>
#include <scenario/Function.h>
#include <scenario/GeneralParameters.h>
#include <scenario/Group.h>
#include <scenario/Include.h>
#include <scenario/Parameter.h>
#include <scenario/ParameterValue.h>
#include <scenario/Program.h>
#include <scenario/Rule.h>
#include <scenario/RuntimeTables.h>
#include <scenario/Scenario.h>
#include <scenario/ScenarioItem.h>
#include <scenario/Task.h>
#include <scenario/Token.h>
#include <scenario/Variable.h>
#include <scenario/Vehicle.h>
