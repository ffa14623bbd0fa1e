#include <TavrelScenarioTemplateDb/TreeValueId.h>

#include <charconv>
#include <cstring>

namespace TavrelScenarioTemplateDb {

bool matchesTreeValueId(const std::string& id, const char* kind, int value) {
    static const char middle[] = "[id/@ScenarioTreeValue=";
    const size_t kindLength = std::strlen(kind);
    const size_t middleLength = sizeof middle - 1;
    char digits[16];
    const size_t digitCount =
        static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, value).ptr - digits);
    return id.size() == kindLength + middleLength + digitCount + 1 && id.compare(0, kindLength, kind) == 0 &&
           id.compare(kindLength, middleLength, middle) == 0 &&
           id.compare(kindLength + middleLength, digitCount, digits, digitCount) == 0 && id.back() == ']';
}

} // namespace TavrelScenarioTemplateDb
