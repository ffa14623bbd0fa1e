// Fuzz target of a whole scenario script: any script, with the include files it
// refers to, must load or be refused, and what loads as a scenario, linked
// against the sample root model, must start and run a few steps and be
// destroyed without reading or writing out of bounds.
//
// The input holds the script, then each include file after a line "%%"; the
// include files are named "1.inc", "2.inc" and so on, in their order.
#include "FuzzReplay.h"
#include "FuzzSupport.h"

#include <scenario/ScenarioModel.h>

#include <boost/lexical_cast.hpp>

#include <cstring>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>

namespace {

constexpr std::string_view kSeparator = "\n%%\n";
constexpr size_t kMaxParts = 8;
// Irregular, so that durations of timed conditions run out between steps.
constexpr double kStepTimes[] = {0.0, 0.1, 0.2, 1.5, 1.6, 4.0, 10.0};

// The model ends the process on its documented internal faults (a CODE
// without entry, a call of more than twelve parameters, a keyword of 256
// characters). Here they are turned into this exception, so that the run ends
// and the next input comes; any other crash is a fault.
struct AssertionReached {};

// The include files of one input. Every name is answered, one that the input
// doesn't hold by an empty text, which doesn't read: no include is looked for on
// disk.
class InputIncludes : public IncludeRepository {
public:
    explicit InputIncludes(const std::vector<std::string_view>& parts) {
        for (size_t i = 1; i < parts.size(); ++i)
            texts.emplace_back(parts[i]);
        RegisterIncludeRepository(this);
    }
    ~InputIncludes() override { UnregisterIncludeRepository(this); }
    InputIncludes(const InputIncludes&) = delete;
    InputIncludes& operator=(const InputIncludes&) = delete;

    bool Contains(const std::string&) const override { return true; }
    std::string Read(const std::string& file) const override {
        for (size_t i = 0; i < texts.size(); ++i)
            if (file == std::to_string(i + 1) + ".inc")
                return texts[i];
        return std::string();
    }

private:
    std::vector<std::string> texts;
};

// What the entries see of the run: the number of the step.
int stepNumber = 0;
volatile size_t sink = 0;

// Every definition of the list `name` of `model` with an implementation.
template <typename Set> void forEachCode(Folders& model, const char* name, Set set) {
    ScenarioItem* list = model.FindItem(ITEM_FOLDER, name, "");
    if (list == nullptr)
        std::abort();
    std::vector<ScenarioItem*> definitions;
    list->GetChildren(definitions);
    for (ScenarioItem* definition : definitions)
        if (const Function* function = dynamic_cast<const Function*>(definition))
            if (function->codeNumber >= 0)
                set(function->codeNumber);
}

// Reads every record an entry receives, so that a record filled wrong is seen.
void readValues(const ParameterValue* values) {
    for (size_t i = 0; i < kRuntimeValueCount; ++i)
        sink += values[i].text.size() + static_cast<size_t>(values[i].tag);
}

// The sample root model, read once and kept (scripts point into it), and an
// entry for each of its CODEs: functions give their first argument, conditions
// change with the step so that rules both fire and fail, actions do nothing.
Folders* sampleModel() {
    std::ostringstream log;
    Folders* model = dynamic_cast<Folders*>(LoadScenarioFile(TAVREL_FUZZ_SAMPLE_MODEL, &log, false));
    if (model == nullptr) {
        std::cerr << TAVREL_FUZZ_SAMPLE_MODEL << ": no root model\n" << log.str() << std::endl;
        std::abort();
    }
    forEachCode(*model, "FUNCTION_LIST", [](int32_t code) {
        SetFunctionEntry(code, [](const ParameterValue* values) {
            readValues(values);
            return values[0].number;
        });
    });
    forEachCode(*model, "CONDITION_LIST", [](int32_t code) {
        SetConditionEntry(code, [code](const ParameterValue* values) {
            readValues(values);
            return (stepNumber + code) % 3 != 0;
        });
    });
    forEachCode(*model, "ACTION_LIST", [](int32_t code) {
        SetActionEntry(code, [](const ParameterValue* values) { readValues(values); });
    });
    return model;
}

void run(ScenarioItem* item) {
    ScenarioLib::Scenario* scenario = dynamic_cast<ScenarioLib::Scenario*>(item);
    if (scenario == nullptr)
        return;
    scenario->Init(std::string(), 0.0);
    for (stepNumber = 0; stepNumber < static_cast<int>(std::size(kStepTimes)); ++stepNumber)
        scenario->StepScenario(kStepTimes[stepNumber]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Folders* const model = sampleModel();
    SetAssertAbortHandler([](const char*, int) { throw AssertionReached(); });
    scenarioRootModel = model;
    scenarioDepth = 0;

    const std::vector<std::string_view> parts = fuzz_support::split(data, size, kSeparator, kMaxParts);
    const InputIncludes includes(parts);
    // A CONFIG block keeps its children by design: the leak check would see them.
    const fuzz_support::LeakCheckPause pause(
        fuzz_support::mayHoldConfig(std::string_view(reinterpret_cast<const char*>(data), size)));
    // The script in a buffer that ends with its last byte, with no NUL behind: a
    // read past the end lands outside the allocation.
    const std::string_view script = parts[0];
    std::unique_ptr<char[]> exact(new char[script.empty() ? 1 : script.size()]);
    std::memcpy(exact.get(), script.data(), script.size());
    std::ostringstream log;
    try {
        ScenarioTextStream stream(exact.get(), script.size());
        ItemLoadContext context;
        std::unique_ptr<ScenarioItem> item(LoadScenarioText(stream, nullptr, &context, &log, false));
        run(item.get());
    } catch (const AssertionReached&) {
    } catch (const boost::bad_lexical_cast&) {
        // A variable's value that doesn't convert goes up to the caller by design.
    }
    scenarioLog = nullptr;
    scenarioDepth = 0;
    return 0;
}
