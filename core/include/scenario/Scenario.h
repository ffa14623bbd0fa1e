#pragma once

#include <scenario/Task.h>
#include <scenario/Vehicle.h>

#include <map>
#include <string>
#include <vector>

class Evaluation;
class GeneralParameters;
class Include;

namespace ScenarioLib {

/// A point of the host's list: the item it stands for and, when known, where.
struct PointRecord {
    ScenarioItem* item = nullptr;
    uint8_t hasPosition = 0;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// The root task of a scenario script: beyond a task it owns its includes, at
/// most one evaluation and one set of general parameters, and the tables that
/// name the scenario's vehicles and entities for the parameter texts (filled by
/// a host, not here). A host that runs a scenario calls Init once and
/// StepScenario again and again, with a time in seconds.
class Scenario : public Task {
public:
    /// The loader's context is taken and not used.
    explicit Scenario(void* context = nullptr);
    /// Destroys includes, evaluation and general parameters.
    ~Scenario() override;

    /// Includes (filter 0 or INCLUDE), the task's children, the evaluation and
    /// the general parameters.
    void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const override;
    /// Forgets every child without destroying it.
    void DetachChildren() override;
    /// An INCLUDE or EVALUATION whose file is already held is ignored; new
    /// GENERAL_PARAMETERS replace the former ones and read the parameters file;
    /// others as a task.
    void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) override;
    /// An include is taken out and destroyed; the evaluation and the general
    /// parameters are only forgotten; others as a task.
    void RemoveChild(ScenarioItem* child) override;
    /// Puts an INCLUDE wherever `oldChild` stands, unless its file is already
    /// held; others as a task.
    void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) override;
    /// Nothing for a reference; else EVALUATION, GENERAL_PARAMETERS, INCLUDE,
    /// RULE, TASK, VARIABLE.
    bool AcceptsChildKind(uint32_t childKind) override;
    /// A copy with the vehicle kind name and the state names.
    ScenarioItem* Clone() override;
    /// The label, with "    (file name)" for a reference.
    void UpdateDisplayText() override;
    /// As any item, then also what the includes, the evaluation and the
    /// general parameters show.
    void CollectVisibleItems(uint32_t kind, std::vector<ScenarioItem*>& out, const std::string& name,
                             const std::string& scope) override;
    /// LABEL, then FILE, resolved under "data/scenario"; a reference reads its
    /// label from there.
    bool LoadModelAttribute(ScenarioTextStream& stream) override;
    /// LABEL and FILE.
    void SaveModelAttributes(std::ostream& out) override;
    /// Starts over at `time`: includes, the task with every level set to enter
    /// its first state, the evaluation and the general parameters.
    void Init(const std::string& path, double time) override;

    /// The first include with that FILE, else the evaluation with it, or null.
    virtual ScenarioItem* FindIncludeByFile(const std::string& file) const;
    /// One step of the whole scenario at `time`: includes, the task, the
    /// evaluation, unless the scenario is stopped or paused.
    virtual void StepScenario(double time);
    /// The highest level of a fired rule here and below.
    virtual int32_t HighestLevel() const;

    /// Whether the vehicle table has `id`.
    bool HasVehicle(int32_t id) const;
    /// The vehicle `id`, made with the defaults when it isn't there.
    VEHICLE& GetVehicle(int32_t id);
    /// The number of a channel, or -1.
    int32_t ChannelNumber(const std::string& channel) const;
    /// The name of the item at `index` of the name list; empty out of range or
    /// without list.
    std::string NameAt(int32_t index) const;
    /// The text of a point of the point list named by `text` (cut at "#"): its
    /// name, and its position when it has one; the cut text when unknown.
    std::string PointText(const std::string& text) const;

    /// What the six entity tables hold, as this library reads them for the
    /// parameter texts: each maps a number to a text, and a host fills them.
    enum EntityTable {
        TRAFFIC_LIGHTS = 0, ///< number -> the light's text
        BARRIERS = 1,       ///< number -> the barrier's text
        ROAD_SIGNS = 2,     ///< number -> the sign's text
        DRIVERS = 3,        ///< driver number -> driver name
        TRIGGERS = 4,       ///< number -> trigger name
        MEDIA = 5,          ///< number -> image or sound file name
    };
    /// The text of entry `number` of `table`; empty when absent or for a table
    /// out of range.
    std::string EntityText(EntityTable table, int32_t number) const;
    /// The first number whose entry of `table` is exactly `text`, or -1.
    int32_t EntityNumber(EntityTable table, const std::string& text) const;
    /// The name of export channel `number` (the key of `channelNumbers` that
    /// maps to it), or empty.
    std::string ChannelName(int32_t number) const;

    std::string scenarioName;
    std::string vehicleKindName = "TRAFFIC";
    std::map<int32_t, VEHICLE> vehicles;
    std::vector<PointRecord>* pointList = nullptr;
    std::vector<ScenarioItem*>* nameList = nullptr;
    std::map<int32_t, std::string> entityTables[6];
    std::map<std::string, int32_t> channelNumbers;
    std::string comment;
    uint8_t stopped = 1;
    uint8_t paused = 0;
    std::vector<Include*> includes;
    Evaluation* evaluation = nullptr;
    GeneralParameters* generalParameters = nullptr;
    Include* currentInclude = nullptr;
    Task* currentTask = nullptr;
    int32_t highestLevel = 0;

private:
    // Evaluations replaced by another one: out of the tree, and destroyed with
    // the scenario rather than lost.
    std::vector<Evaluation*> replacedEvaluations_;
};

} // namespace ScenarioLib
