#pragma once

// The validity rules that items apply to themselves, apart from the rule that
// every child must be valid. Each function gives why its item breaks one of its
// class's rules, in a few words, or "" when it keeps them all. The class's
// UpdateValidity decides by the same functions, and InvalidityReason answers
// through them, so that no rule is written twice.

#include <string>

class Action;
class Condition;
class Function;
class Include;
class Parameter;

/// What the KIND of an instance makes of its VALUE, then its OWNER_FILE; "" for
/// a definition.
std::string ParameterFault(Parameter& parameter);
/// A call's own rules: an EVALUATION call within criteria, a call under a parent
/// that takes parameters bound to one.
std::string CallFault(const Function& call);
/// A junction's sub-conditions or the call's rules, then its place in a rule.
std::string ConditionFault(const Condition& condition);
/// The call's rules, then a rule that tests before it acts.
std::string ActionFault(const Action& action);
/// A reference's file under "data/script/include".
std::string IncludeFault(const Include& include);
