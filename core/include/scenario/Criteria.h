#pragma once

#include <scenario/Task.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A task that measures something for an evaluation: a category, a criticity,
/// a text and a sound for the report, and counters kept by level. Calls whose
/// name begins with "EVALUATION" are valid only below one.
class Criteria : public Task {
public:
    /// What a level counts: a text and values by key.
    struct Counter {
        std::string text;
        std::map<float, float> values;
    };

    /// The loader's context is taken and not used.
    explicit Criteria(void* context = nullptr);
    ~Criteria() override;

    /// The task's lines, then IS_DISABLED, CATEGORY (registered), CRITICITY,
    /// ATTRIBUTE_CRITERIA_TYPE, TEXT and SOUND.
    bool LoadAttribute(ScenarioTextStream& stream) override;
    /// The task's lines, IS_DISABLED when set, then the five texts always.
    void SaveAttributes(std::ostream& out) override;
    /// A copy with the flag and the five texts; its category is registered.
    ScenarioItem* Clone() override;
    /// The label, behind "//    " when disabled.
    void UpdateDisplayText() override;
    /// Unless disabled: counters of levels 0 and 1 at 0, and the task starts over.
    void Init(const std::string& path, double time) override;

    /// One step of the task, unless disabled.
    void StepCriteria(double time, ScenarioLib::Scenario* scenario);
    /// Sets the value of `key` for `level` (truncated to 16 bits), making the
    /// level's entry when it is missing.
    void SetCounter(float value, int32_t level, float key);
    /// The place of the category in the list of categories, added when new.
    size_t RegisterCategory();

    uint8_t disabled = 0;
    std::string category;
    std::string criteriaType = "Error";
    std::string criticity = "1";
    std::string text;
    std::string sound;
    std::map<int16_t, Counter> counters;
};

/// Every category met, in order of first use, each once; the empty one first.
const std::vector<std::string>& CriteriaCategories();
