// Fuzz target of the scenario text format: any bytes must load or be refused,
// under both reading modes, without reading or writing out of bounds; whatever
// loads is walked, cloned, written and read again.
#include "FuzzReplay.h"

#include <scenario/ScenarioModel.h>

#include <boost/lexical_cast.hpp>

#include <cstring>
#include <memory>
#include <sstream>
#include <vector>

namespace {

// The model ends the process on an internal inconsistency, which some inputs
// reach by design (a keyword of 256 characters, a kind without a class). Here
// it is turned into an exception, so that the run goes on with the next input.
struct AssertionReached {};

std::unique_ptr<ScenarioItem> Load(const char* text, size_t size, std::ostream& log, bool headerOnly) {
    ScenarioTextStream stream(text, size);
    ItemLoadContext context;
    std::unique_ptr<ScenarioItem> item;
    try {
        item.reset(LoadScenarioText(stream, nullptr, &context, &log, headerOnly));
    } catch (const AssertionReached&) {
    } catch (const boost::bad_lexical_cast&) {
    }
    scenarioDepth = 0;
    return item;
}

std::string SaveWithCrLf(ScenarioItem& item) {
    std::ostringstream out;
    scenarioDepth = 0;
    item.Save(out);
    std::string text;
    for (char c : out.str())
        text += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return text;
}

void Exercise(ScenarioItem& item) {
    std::vector<ScenarioItem*> all, variables;
    item.CollectItemsOfKind(all, ITEM_NONE, true, true);
    item.CollectItemsOfKind(variables, ITEM_VARIABLE, true, true);
    for (ScenarioItem* variable : variables)
        variable->MakeUniqueLabel();
    item.UpdateDisplayTextTree();
    item.FindItem(ITEM_ENUM, "0", "");
    std::unique_ptr<ScenarioItem> copy(item.Clone());
    if (copy)
        SaveWithCrLf(*copy);
}

} // namespace

// A CONFIG block, by design, doesn't destroy its children: what it leaves behind
// is not what this fuzzer looks for.
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SetAssertAbortHandler([](const char*, int) { throw AssertionReached(); });
    scenarioRootModel = nullptr;
    std::ostringstream log;
    // First from a buffer whose end is the last byte given, with no NUL behind
    // it: a read past the end lands outside the allocation, where the address
    // sanitizer sees it.
    std::unique_ptr<char[]> exact(new char[size > 0 ? size : 1]);
    std::memcpy(exact.get(), data, size);
    Load(exact.get(), size, log, false);

    const std::string text(reinterpret_cast<const char*>(data), size);
    for (bool headerOnly : {false, true}) {
        std::unique_ptr<ScenarioItem> item = Load(text.c_str(), text.size() + 1, log, headerOnly);
        if (!item)
            continue;
        try {
            Exercise(*item);
        } catch (const AssertionReached&) {
            continue;
        }
        // Values may hold line ends and quotes, which the writer doesn't protect,
        // so the text written is read again for safety only, not compared.
        const std::string saved = SaveWithCrLf(*item);
        Load(saved.c_str(), saved.size() + 1, log, false);
    }
    return 0;
}
