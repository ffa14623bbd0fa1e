#pragma once

#include <scenario/Task.h>

#include <string>

namespace ScenarioLib {

/// The root task of a scenario script. A host that runs a scenario calls Init
/// once and StepScenario again and again, with a time in seconds; the tasks it
/// steps tell it which one ran last and may pause it.
class Scenario : public Task {
public:
    /// The loader's context is taken and not used.
    explicit Scenario(void* context = nullptr);
    ~Scenario() override;

    /// False for an index entry; else RULE, TASK and VARIABLE.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// Starts over at `time`, each level of tasks set to enter its first state at
    /// the first step.
    void Init(const std::string& path, double time) override;

    /// One step of the whole scenario at `time`.
    void StepScenario(double time);

    std::string scenarioName;
    std::string vehicleKindName = "TRAFFIC";
    std::string comment;
    uint8_t stopped = 1;
    uint8_t paused = 0;
    Task* currentTask = nullptr;
    int32_t highestLevel = 0;
};

} // namespace ScenarioLib
