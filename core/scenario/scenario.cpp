#include <scenario/Scenario.h>

#include <cstdlib>

namespace ScenarioLib {

Scenario::Scenario(void* context) : Task(context) {}

Scenario::~Scenario() = default;

bool Scenario::AcceptsChildKind(uint32_t childKind) {
    if (IsIndexEntry())
        return false;
    return Task::AcceptsChildKind(childKind);
}

void Scenario::Init(const std::string& path, double time) {
    workPath = path;
    stopped = 0;
    paused = 0;
    highestLevel = 0;
    Task::Init(path, time);
    // Every level of tasks enters its first state at the first step.
    for (Task* task = this; !task->subTasks.empty(); task = task->subTasks[0]) {
        task->currentState = task->nextState = std::atoi(task->subTasks[0]->name.c_str());
        task->transitionPending = 1;
    }
}

void Scenario::StepScenario(double time) {
    Task::Step(time, this, true);
    if (stopped != 0 || paused != 0)
        ++stepCount;
}

} // namespace ScenarioLib
