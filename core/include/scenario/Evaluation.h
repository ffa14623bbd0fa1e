#pragma once

#include <scenario/Include.h>

#include <cstdint>
#include <map>

class Criteria;

namespace ScenarioLib {
class Scenario;
}

/// The evaluation of a scenario: an include whose sub-tasks are criteria, with
/// a table of scores. A scenario holds one at most.
class Evaluation : public Include {
public:
    /// The loader's context is taken and not used.
    explicit Evaluation(void* context = nullptr);
    ~Evaluation() override;

    /// The criteria for filter CRITERIA; any other filter as an include.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// A CRITERIA among the sub-tasks; others as an include.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// A criteria is taken out of the sub-tasks; others as an include.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts a CRITERIA wherever `oldChild` stands among the sub-tasks; others as
    /// an include.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// The task's lines, SCORE ("number value"), and FILE, whose content a
    /// reference reads from the disk at once.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// The task's lines and a SCORE line per score, in the order of the numbers;
    /// no FILE.
    void SaveAttributes(std::ostream& out) override;
    /// Nothing for a reference; else CRITERIA, RULE, SCENARIO, TASK, VARIABLE.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// The label.
    void UpdateDisplayText() override;
    /// Valid when every child is.
    void UpdateValidity() override;
    /// Starts over at `time`, each level of tasks set to enter its first state.
    void Init(const std::string& path, double time) override;

    /// One step: the rules, then every enabled criteria, unless the state is -3
    /// or -4.
    void StepEvaluation(double time, ScenarioLib::Scenario* scenario);
    /// The sub-task at `index`, or null.
    Task* GetTask(size_t index) const;
    /// Exchanges two sub-tasks; nothing unless both indices are in range.
    void SwapTasks(size_t first, size_t second);

    ScenarioLib::Scenario* owner = nullptr;
    std::map<int32_t, float> scores;
};
