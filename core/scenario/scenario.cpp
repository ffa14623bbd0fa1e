// The scenario and what only a scenario holds: its evaluation, its general
// parameters and its vehicles.
#include <scenario/Scenario.h>

#include <scenario/Criteria.h>
#include <scenario/Evaluation.h>
#include <scenario/GeneralParameters.h>
#include <scenario/Include.h>
#include <scenario/Rule.h>

#include "ModelIndex.h"

#include <environment/Commons/ConfigFile.h>
#include <environment/lmk/Units.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <ostream>

namespace {

const char* const kIncludeFolder = "data/script/include";

void Log(char severity, const std::string& text) {
    if (scenarioLog == nullptr)
        return;
    scenarioLog->put(severity);
    *scenarioLog << text << std::endl;
}

// Sets every level of tasks below `task` to enter its first state at its first
// step, starting each one over on the way down.
void EnterFirstStates(Task* task, const std::string& path, double time) {
    while (!task->subTasks.empty()) {
        const int32_t first = std::atoi(task->subTasks[0]->name.c_str());
        task->currentState = first;
        task->transitionPending = 1;
        task->Init(path, time);
        task->nextState = first;
        task = task->subTasks[0];
    }
    task->Init(path, time);
}

} // namespace

// ---------------------------------------------------------------------------
// VEHICLE

const char* const kVehicleKinds[15] = {"UNKNOWN", "RIGID", "TRACTOR",   "SEMI_TRAILER", "TRAILER",
                                       "CAR",     "BUS",   "MOTORBIKE", "BICYCLE",      "PEDESTRIAN",
                                       "STATIC",  "TRAM",  "TRAIN",     "ALIVEBEING",   "AIRPLANE"};
const char* const kVehiclePositions[13] = {"Left",    "Centre",  "Right",   "Extra_0", "Extra_1",
                                           "Extra_2", "Extra_3", "Extra_4", "Extra_5", "Extra_6",
                                           "Extra_7", "Extra_8", "Extra_9"};

VEHICLE::VEHICLE()
    : maxSpeed(lmk::convToSI(static_cast<lmk::t_unit>(53), 180.0)),
      wheelAngle(lmk::convToSI(static_cast<lmk::t_unit>(29), 45.0)),
      steeringAngle(lmk::convToSI(static_cast<lmk::t_unit>(29), 540.0)),
      maxEngineSpeed(lmk::convToSI(static_cast<lmk::t_unit>(60), 5000.0)),
      shiftDown(lmk::convToSI(static_cast<lmk::t_unit>(60), 1200.0)),
      shiftUp(lmk::convToSI(static_cast<lmk::t_unit>(60), 2000.0)),
      idleSpeed(lmk::convToSI(static_cast<lmk::t_unit>(60), 900.0)), axles{{2, 0.24, 0.306, 1.55},
                                                                           {2, 0.24, 0.306, 1.55}} {}

VEHICLE::~VEHICLE() = default;

// ---------------------------------------------------------------------------
// Evaluation

Evaluation::Evaluation(void* context) : Include(context), scores{{0, 0.0f}, {1, 0.0f}} {}

Evaluation::~Evaluation() = default;

void Evaluation::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter != ITEM_CRITERIA) {
        Include::GetChildren(out, kindFilter);
        return;
    }
    for (Task* task : subTasks)
        if (task != nullptr && task->kind == ITEM_CRITERIA)
            out.push_back(task);
}

void Evaluation::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    Criteria* criteria =
        child != nullptr && child->kind == ITEM_CRITERIA ? dynamic_cast<Criteria*>(child) : nullptr;
    if (criteria == nullptr) {
        Include::AddChild(child, reference, after);
        return;
    }
    ModelIndex::NoteChange(this);
    ScenarioItemStore::Place(subTasks, static_cast<Task*>(criteria), reference, after);
    criteria->parent = this;
}

void Evaluation::RemoveChild(ScenarioItem* child) {
    if (child == nullptr || child->kind != ITEM_CRITERIA) {
        Include::RemoveChild(child);
        return;
    }
    if (!ScenarioItemStore::Take(subTasks, child))
        return;
    ModelIndex::NoteChange(this);
    if (child->parent == this)
        delete child;
}

void Evaluation::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    Criteria* criteria =
        newChild != nullptr && newChild->kind == ITEM_CRITERIA ? dynamic_cast<Criteria*>(newChild) : nullptr;
    if (criteria == nullptr) {
        Include::ReplaceChild(newChild, oldChild);
        return;
    }
    ModelIndex::NoteChange(this);
    std::replace(subTasks.begin(), subTasks.end(), static_cast<Task*>(oldChild),
                 static_cast<Task*>(criteria));
    criteria->parent = this;
}

bool Evaluation::LoadAttribute(ScenarioTextStream& stream) {
    if (Token::LoadAttribute(stream))
        return true;
    std::string value;
    if (ReadStringAttribute(stream, "SCORE", value)) {
        int number = 0;
        float score = 0.0f;
        if (std::sscanf(value.c_str(), "%d %f", &number, &score) != 2)
            return false;
        scores[number] = score;
        return true;
    }
    if (!fileName.empty() || !ReadStringAttribute(stream, "FILE", fileName))
        return false;
    std::string path = kIncludeFolder;
    ResolveDataPath(fileName.c_str(), path);
    NormalizePath(path);
    resolvedPath = path;
    if (!IsIndexEntry())
        return true;
    std::ostream* const log = scenarioLog;
    std::unique_ptr<ScenarioItem> root(LoadScenarioFile(path.c_str(), &std::cout, false));
    scenarioLog = log;
    if (!root || root->kind != ITEM_EVALUATION) {
        label = "?";
        return true;
    }
    label = root->label;
    // The read evaluation's content changes hands.
    std::vector<ScenarioItem*> content;
    root->GetChildren(content);
    root->DetachChildren();
    for (ScenarioItem* item : content)
        AddChild(item, nullptr, true);
    return true;
}

void Evaluation::SaveAttributes(std::ostream& out) {
    Token::SaveAttributes(out);
    for (const auto& [number, score] : scores) {
        char line[64];
        std::snprintf(line, sizeof(line), "%d %f", number, static_cast<double>(score));
        WriteAttribute(out, "SCORE", line);
    }
}

bool Evaluation::AcceptsChildKind(uint32_t childKind) {
    if (IsIndexEntry())
        return false;
    return childKind == ITEM_CRITERIA || childKind == ITEM_RULE || childKind == ITEM_SCENARIO ||
           childKind == ITEM_TASK || childKind == ITEM_VARIABLE;
}

void Evaluation::UpdateDisplayText() {
    displayText = label;
}

void Evaluation::UpdateValidity() {
    Token::UpdateValidity();
}

void Evaluation::Init(const std::string& path, double time) {
    Task::Init(path, time);
    for (Task* task : subTasks)
        EnterFirstStates(task, path, time);
}

void Evaluation::StepEvaluation(double time, ScenarioLib::Scenario* scenario) {
    if (scenario != nullptr)
        scenario->currentTask = this;
    if (currentState == -3 || currentState == -4)
        return;
    for (size_t i = 0; i < rules.size(); ++i) {
        rules[i]->Step(time);
        if (nextState == -3 || nextState == -4) {
            ++stepCount;
            return;
        }
    }
    for (size_t i = 0; i < subTasks.size(); ++i)
        if (Criteria* criteria = dynamic_cast<Criteria*>(subTasks[i]))
            if (criteria->disabled == 0)
                criteria->StepCriteria(time, scenario);
    ++stepCount;
}

Task* Evaluation::GetTask(size_t index) const {
    return index < subTasks.size() ? subTasks[index] : nullptr;
}

void Evaluation::SwapTasks(size_t first, size_t second) {
    if (first >= subTasks.size() || second >= subTasks.size())
        return;
    ModelIndex::NoteChange(this);
    std::swap(subTasks[first], subTasks[second]);
}

// ---------------------------------------------------------------------------
// GeneralParameters

GeneralParameters::GeneralParameters() {
    name = "0";
}

GeneralParameters::~GeneralParameters() = default;

void GeneralParameters::DetachChildren() {}

void GeneralParameters::AddChild(ScenarioItem*, ScenarioItem*, bool) {}

void GeneralParameters::RemoveChild(ScenarioItem*) {}

void GeneralParameters::ReplaceChild(ScenarioItem*, ScenarioItem*) {}

void GeneralParameters::SwapChildren(ScenarioItem*, ScenarioItem*) {}

void GeneralParameters::SetPath(const std::string& file, bool load) {
    if (!file.empty()) {
        resolvedPath = ParameterFileOf(file);
        NormalizePath(resolvedPath);
    }
    if (load)
        Load();
}

void GeneralParameters::Load() {
    if (resolvedPath.empty())
        return;
    Commons::ConfigFile file(resolvedPath);
    description = file["description"];
}

bool GeneralParameters::Save(const std::string& path) {
    if (!path.empty())
        SetPath(path, false);
    // One write: an empty file created first and the entry added by a second write
    // would leave the file empty when that second write fails.
    Commons::ConfigFile file(resolvedPath);
    return file.create({{"description", description}});
}

void GeneralParameters::Init(double time) {
    Log('\x02', "Init General Parameters");
    startTime = time;
}

void GeneralParameters::Step() {}

// ---------------------------------------------------------------------------
// Scenario

namespace ScenarioLib {

Scenario::Scenario(void* context) : Task(context) {}

Scenario::~Scenario() {
    for (Include* include : includes)
        delete include;
    delete evaluation;
    delete generalParameters;
    for (Evaluation* replaced : replacedEvaluations_)
        delete replaced;
}

void Scenario::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_INCLUDE)
        out.insert(out.end(), includes.begin(), includes.end());
    Task::GetChildren(out, kindFilter);
    if (evaluation != nullptr && (kindFilter == ITEM_NONE || kindFilter == ITEM_EVALUATION))
        out.push_back(evaluation);
    if (generalParameters != nullptr && (kindFilter == ITEM_NONE || kindFilter == ITEM_GENERAL_PARAMETERS))
        out.push_back(generalParameters);
}

void Scenario::DetachChildren() {
    ModelIndex::NoteChange(this);
    includes.clear();
    evaluation = nullptr;
    generalParameters = nullptr;
    Task::DetachChildren();
}

void Scenario::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    if (child == nullptr)
        return;
    switch (child->kind) {
    case ITEM_INCLUDE: {
        Include* include = dynamic_cast<Include*>(child);
        if (include == nullptr || FindIncludeByFile(include->fileName) != nullptr)
            return;
        ModelIndex::NoteChange(this);
        ScenarioItemStore::Place(includes, include, reference, after);
        include->parent = this;
        return;
    }
    case ITEM_EVALUATION: {
        Evaluation* added = dynamic_cast<Evaluation*>(child);
        if (added == nullptr || FindIncludeByFile(added->fileName) != nullptr)
            return;
        ModelIndex::NoteChange(this);
        if (evaluation != nullptr)
            replacedEvaluations_.push_back(evaluation);
        evaluation = added;
        added->parent = this;
        return;
    }
    case ITEM_GENERAL_PARAMETERS: {
        GeneralParameters* added = dynamic_cast<GeneralParameters*>(child);
        if (added == nullptr)
            return;
        ModelIndex::NoteChange(this);
        if (generalParameters != added)
            delete generalParameters;
        generalParameters = added;
        added->parent = this;
        // Its file lies beside the scenario's.
        added->resolvedPath = ParameterFileOf(resolvedPath);
        NormalizePath(added->resolvedPath);
        added->Load();
        return;
    }
    default:
        Task::AddChild(child, reference, after);
    }
}

void Scenario::RemoveChild(ScenarioItem* child) {
    if (child == nullptr)
        return;
    if (child->kind == ITEM_INCLUDE && ScenarioItemStore::Take(includes, child)) {
        ModelIndex::NoteChange(this);
        if (child->parent == this)
            delete child;
        return;
    }
    if (child == evaluation || child == generalParameters) {
        ModelIndex::NoteChange(this);
        if (child == evaluation)
            evaluation = nullptr;
        else
            generalParameters = nullptr;
        return;
    }
    Task::RemoveChild(child);
}

void Scenario::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    Include* include =
        newChild != nullptr && newChild->kind == ITEM_INCLUDE ? dynamic_cast<Include*>(newChild) : nullptr;
    if (include == nullptr) {
        Task::ReplaceChild(newChild, oldChild);
        return;
    }
    if (FindIncludeByFile(include->fileName) != nullptr)
        return;
    ModelIndex::NoteChange(this);
    std::replace(includes.begin(), includes.end(), static_cast<Include*>(oldChild), include);
    include->parent = this;
}

bool Scenario::AcceptsChildKind(uint32_t childKind) {
    if (IsIndexEntry())
        return false;
    return childKind == ITEM_EVALUATION || childKind == ITEM_GENERAL_PARAMETERS ||
           childKind == ITEM_INCLUDE || Task::AcceptsChildKind(childKind);
}

ScenarioItem* Scenario::Clone() {
    ScenarioItem* copy = Task::Clone();
    if (Scenario* scenario = dynamic_cast<Scenario*>(copy)) {
        scenario->vehicleKindName = vehicleKindName;
        scenario->stateNames = stateNames;
    }
    return copy;
}

void Scenario::UpdateDisplayText() {
    displayText = label;
    if (IsIndexEntry())
        displayText += std::string("    (") + FileNameOf(resolvedPath.c_str()) + ")";
}

void Scenario::CollectVisibleItems(uint32_t wantedKind, std::vector<ScenarioItem*>& out,
                                   const std::string& wantedName, const std::string& scope) {
    ScenarioItem::CollectVisibleItems(wantedKind, out, wantedName, scope);
    for (Include* include : includes)
        include->CollectVisibleItems(wantedKind, out, wantedName, scope);
    if (evaluation != nullptr)
        evaluation->CollectVisibleItems(wantedKind, out, wantedName, scope);
    if (generalParameters != nullptr)
        generalParameters->CollectVisibleItems(wantedKind, out, wantedName, scope);
}

bool Scenario::LoadModelAttribute(ScenarioTextStream& stream) {
    if (Token::LoadModelAttribute(stream))
        return true;
    if (!fileName.empty() || !ReadStringAttribute(stream, "FILE", fileName))
        return false;
    resolvedPath = "data/scenario";
    ResolveDataPath(fileName.c_str(), resolvedPath);
    NormalizePath(resolvedPath);
    if (IsIndexEntry()) {
        std::ostream* const log = scenarioLog;
        std::unique_ptr<ScenarioItem> root(LoadScenarioFile(resolvedPath.c_str(), &std::cout, false));
        scenarioLog = log;
        label = root && root->kind == ITEM_SCENARIO ? root->label : "?";
    }
    return true;
}

void Scenario::SaveModelAttributes(std::ostream& out) {
    Token::SaveModelAttributes(out);
    WriteAttribute(out, "FILE", fileName.c_str());
}

void Scenario::Init(const std::string& path, double time) {
    workPath = path;
    stopped = 0;
    paused = 0;
    highestLevel = 0;
    for (Include* include : includes)
        include->Init(path, time);
    Task::Init(path, time);
    // Every level of tasks enters its first state at the first step.
    for (Task* task = this; !task->subTasks.empty(); task = task->subTasks[0]) {
        task->currentState = task->nextState = std::atoi(task->subTasks[0]->name.c_str());
        task->transitionPending = 1;
    }
    if (evaluation != nullptr)
        evaluation->Init(path, time);
    if (generalParameters != nullptr)
        generalParameters->Init(time);
}

ScenarioItem* Scenario::FindIncludeByFile(const std::string& file) const {
    for (Include* include : includes)
        if (include->fileName == file)
            return include;
    if (evaluation != nullptr && evaluation->fileName == file)
        return evaluation;
    return nullptr;
}

void Scenario::StepScenario(double time) {
    for (Include* include : includes) {
        currentInclude = include;
        include->Step(time, this, true);
        if (stopped != 0 || paused != 0)
            return;
    }
    currentInclude = nullptr;
    Task::Step(time, this, true);
    if (stopped != 0 || paused != 0) {
        ++stepCount;
        return;
    }
    if (evaluation != nullptr)
        evaluation->StepEvaluation(time, this);
    if (generalParameters != nullptr)
        generalParameters->Step();
}

int32_t Scenario::HighestLevel() const {
    int32_t highest = highestLevel;
    for (const Rule* rule : rules)
        highest = std::max(highest, rule->Level());
    for (const Task* task : subTasks)
        highest = std::max(highest, task->MaxRuleLevel());
    return highest;
}

bool Scenario::HasVehicle(int32_t id) const {
    return vehicles.count(id) != 0;
}

VEHICLE& Scenario::GetVehicle(int32_t id) {
    return vehicles[id];
}

int32_t Scenario::ChannelNumber(const std::string& channel) const {
    auto found = channelNumbers.find(channel);
    return found != channelNumbers.end() ? found->second : -1;
}

std::string Scenario::NameAt(int32_t index) const {
    if (nameList == nullptr || index < 0 || static_cast<size_t>(index) >= nameList->size())
        return std::string();
    const ScenarioItem* item = (*nameList)[static_cast<size_t>(index)];
    return item != nullptr ? item->name : std::string();
}

std::string Scenario::PointText(const std::string& text) const {
    const std::string cut = text.substr(0, text.find('#'));
    if (pointList != nullptr)
        for (const PointRecord& point : *pointList) {
            if (point.item == nullptr || point.item->name != cut)
                continue;
            if (point.hasPosition == 0)
                return point.item->name;
            char position[128];
            std::snprintf(position, sizeof(position), " %g,%g,%g", point.x, point.y, point.z);
            return point.item->name + position;
        }
    return cut;
}

std::string Scenario::EntityText(EntityTable table, int32_t number) const {
    if (table < TRAFFIC_LIGHTS || table > MEDIA)
        return std::string();
    const auto& entries = entityTables[table];
    auto found = entries.find(number);
    return found != entries.end() ? found->second : std::string();
}

int32_t Scenario::EntityNumber(EntityTable table, const std::string& text) const {
    if (table < TRAFFIC_LIGHTS || table > MEDIA)
        return -1;
    for (const auto& [number, entry] : entityTables[table])
        if (entry == text)
            return number;
    return -1;
}

std::string Scenario::ChannelName(int32_t number) const {
    for (const auto& [channel, channelNumber] : channelNumbers)
        if (channelNumber == number)
            return channel;
    return std::string();
}

} // namespace ScenarioLib
