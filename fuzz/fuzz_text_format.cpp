// Fuzz target of the scenario text format: any bytes must load or be refused,
// under both reading modes, without reading or writing out of bounds; whatever
// loads is walked, cloned, written and read again.
#include <scenario/ScenarioModel.h>

#include <boost/lexical_cast.hpp>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

// The model ends the process on an internal inconsistency, which some inputs
// reach by design (a keyword of 256 characters, a kind without a class). Here
// it is turned into an exception, so that the run goes on with the next input.
struct AssertionReached {};

void ThrowOnAssertion(const char*, int) {
    throw AssertionReached();
}

std::unique_ptr<ScenarioItem> Load(const std::string& text, std::ostream& log, bool headerOnly) {
    ScenarioTextStream stream(text.c_str(), text.size() + 1);
    ItemLoadContext context;
    try {
        return std::unique_ptr<ScenarioItem>(LoadScenarioText(stream, nullptr, &context, &log, headerOnly));
    } catch (const AssertionReached&) {
    } catch (const boost::bad_lexical_cast&) {
    }
    return nullptr;
}

std::string SaveWithCrLf(ScenarioItem& item) {
    std::ostringstream out;
    scenarioDepth = 0;
    item.Save(out);
    std::string text;
    for (char c : out.str()) {
        if (c == '\n')
            text.push_back('\r');
        text.push_back(c);
    }
    return text;
}

void Exercise(ScenarioItem& item) {
    std::vector<ScenarioItem*> all;
    item.CollectItemsOfKind(all, ITEM_NONE, true, true);
    std::vector<ScenarioItem*> variables;
    item.CollectItemsOfKind(variables, ITEM_VARIABLE, true, true);
    for (ScenarioItem* variable : variables)
        variable->MakeUniqueLabel();
    item.UpdateDisplayTextTree();
    item.FindItem(ITEM_ENUM, "0", "");
    std::unique_ptr<ScenarioItem> copy(item.Clone());
    if (copy)
        SaveWithCrLf(*copy);
}

// A stream whose end is the last byte given, with no NUL behind it: a read past
// the end lands outside the allocation, where the address sanitizer sees it.
void LoadWithoutTerminator(const uint8_t* data, size_t size, std::ostream& log) {
    std::unique_ptr<char[]> exact(new char[size > 0 ? size : 1]);
    std::memcpy(exact.get(), data, size);
    ScenarioTextStream stream(exact.get(), size);
    ItemLoadContext context;
    try {
        std::unique_ptr<ScenarioItem> item(LoadScenarioText(stream, nullptr, &context, &log, false));
    } catch (const AssertionReached&) {
    } catch (const boost::bad_lexical_cast&) {
    }
    scenarioDepth = 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SetAssertAbortHandler(ThrowOnAssertion);
    scenarioRootModel = nullptr;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::ostringstream log;
    LoadWithoutTerminator(data, size, log);
    for (bool headerOnly : {false, true}) {
        std::unique_ptr<ScenarioItem> item = Load(text, log, headerOnly);
        scenarioDepth = 0;
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
        Load(saved, log, false);
    }
    return 0;
}

#ifdef TAVREL_FUZZ_REPLAY
// Without libFuzzer: runs each file given, or each file of each folder given.
int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    int count = 0;
    auto run = [&](const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++count;
    };
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            for (const auto& entry : fs::directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    run(entry.path());
        } else {
            run(argv[i]);
        }
    }
    std::cout << "replayed " << count << " inputs" << std::endl;
    return 0;
}
#endif
