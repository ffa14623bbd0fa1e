#pragma once

// The rules that the stepping benchmarks run: "IF first > second THEN COUNT
// amount", their model, the entries of their CODEs, and the loop that calls the
// same entries by hand.

#include "BenchText.h"

#include <scenario/ScenarioModel.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

namespace benchrules {

using benchtext::Writer;

// The model: three number parameters, the comparison SUPERIOR (CODE 1 of the
// condition table) and the action COUNT (CODE 1 of the action table).
inline std::string ModelText() {
    Writer out;
    out.Open("FOLDER", "NURO");
    out.Attribute("LABEL", "Benchmark model");
    out.Open("FOLDER", "PARAMETER_LIST");
    out.Attribute("LABEL", "Parameters");
    for (const char* name : {"FIRST_OPERAND", "SECOND_OPERAND", "AMOUNT"}) {
        out.Open("PARAMETER", name);
        out.Attribute("LABEL", name);
        out.Attribute("TYPE", "FLOAT");
        out.Attribute("KINDLIST", "USER VARIABLE");
        out.Close();
    }
    out.Close();
    out.Open("FOLDER", "CONDITION_LIST");
    out.Attribute("LABEL", "Conditions");
    out.Open("CONDITION", "SUPERIOR");
    out.Attribute("LABEL", "Greater than");
    out.Attribute("CODE", "1");
    out.Attribute("WIZARD", "MAPTOOL");
    out.UserValue("FIRST_OPERAND", "0");
    out.UserValue("SECOND_OPERAND", "0");
    out.Close();
    out.Close();
    out.Open("FOLDER", "ACTION_LIST");
    out.Attribute("LABEL", "Actions");
    out.Open("ACTION", "COUNT");
    out.Attribute("LABEL", "Count");
    out.Attribute("CODE", "1");
    out.UserValue("AMOUNT", "0");
    out.Close();
    out.Close();
    out.Close();
    return out.text;
}

// What rule i compares and counts, as text and as the numbers the text reads
// as: the first operand is the greater in every other rule.
struct Operands {
    std::string firstText;
    std::string secondText;
    std::string amountText;
    float first;
    float second;
    float amount;
};

inline Operands OperandsOf(int rule) {
    const int base = (rule * 7) % 90;
    Operands o;
    o.firstText = std::to_string(base + (rule % 2 == 0 ? 1 : 0)) + ".5";
    o.secondText = std::to_string(base + (rule % 2 == 0 ? 0 : 1)) + ".25";
    o.amountText = std::to_string(rule % 3 + 1);
    o.first = static_cast<float>(std::atof(o.firstText.c_str()));
    o.second = static_cast<float>(std::atof(o.secondText.c_str()));
    o.amount = static_cast<float>(std::atof(o.amountText.c_str()));
    return o;
}

// Rule i: "IF first > second THEN COUNT amount" with the operands of rule i.
inline void WriteRule(Writer& out, int i) {
    const Operands o = OperandsOf(i);
    out.Open("RULE", std::to_string(i));
    out.Attribute("LABEL", "Rule " + std::to_string(i));
    out.Open("CONDITION", "SUPERIOR");
    out.UserValue("FIRST_OPERAND", o.firstText);
    out.UserValue("SECOND_OPERAND", o.secondText);
    out.Close();
    out.Open("ACTION", "COUNT");
    out.UserValue("AMOUNT", o.amountText);
    out.Close();
    out.Close();
}

// What the action entry adds up; read back to check that the rules ran.
inline double counted = 0.0;

// The entries of CODE 1, set once for the whole program, as a host sets its
// tables before it runs scenarios.
inline void SetEntries() {
    SetConditionEntry(1, [](const ParameterValue* values) { return values[0].number > values[1].number; });
    SetActionEntry(1, [](const ParameterValue* values) { counted += values[0].number; });
}

// The step of the reference: each rule's two arrays filled by hand, as the model
// fills them (tag 1, the number, the text of VALUE), and the entries called.
inline void StepByHand(const std::vector<Operands>& operands, const ConditionEntry& condition,
                       const ActionEntry& action) {
    for (const Operands& o : operands) {
        ParameterValue tested[kRuntimeValueCount];
        tested[0].tag = 1;
        tested[0].number = o.first;
        tested[0].text = o.firstText;
        tested[1].tag = 1;
        tested[1].number = o.second;
        tested[1].text = o.secondText;
        if (condition(tested)) {
            ParameterValue done[kRuntimeValueCount];
            done[0].tag = 1;
            done[0].number = o.amount;
            done[0].text = o.amountText;
            action(done);
        }
    }
}

// Runs `step` once, which must count `countedPerStep`, then for half a second,
// untimed, so that the caches and the processor settle; false, with the
// benchmark stopped, when the first step counts anything else.
template <typename Step> bool WarmUp(Step step, double countedPerStep, benchmark::State& state) {
    counted = 0.0;
    step();
    if (counted != countedPerStep) {
        state.SkipWithError("the rules did not count what they should");
        return false;
    }
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500))
        step();
    return true;
}

// Times `step`, which steps `rules` rules in all, and shows the time per rule as
// the counter "time_per_rule".
template <typename Step>
void TimeSteps(benchmark::State& state, int rules, double countedPerStep, Step step) {
    if (!WarmUp(step, countedPerStep, state))
        return;
    for (auto _ : state)
        step();
    benchmark::DoNotOptimize(counted);
    state.counters["time_per_rule"] =
        benchmark::Counter(static_cast<double>(rules),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace benchrules
