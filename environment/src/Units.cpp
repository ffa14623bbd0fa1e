#include <environment/lmk/Units.h>

#include <cmath>
#include <cstring>
#include <string_view>
#include <unordered_map>

namespace lmk {

namespace {

struct UnitEntry {
    t_unit unit;
    const char* text;
    double toSI; // value in the unit times this gives the value in SI
};

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180.0;

// Indexed by the enum value; the first column is only there to keep the rows honest
// (checked by the tests).
const UnitEntry unitTable[U_UNIT_COUNT] = {
    {U_NONE, "", 1.0},
    {U_DIMENSIONLESS, "-", 1.0},
    {U_M, "m", 1.0},
    {U_KM, "km", 1000.0},
    {U_CM, "cm", 0.01},
    {U_MM, "mm", 0.001},
    {U_MILE, "mi", 1609.344},
    {U_FT, "ft", 0.3048},
    {U_IN, "in", 0.0254},
    {U_S, "s", 1.0},
    {U_MS, "ms", 0.001},
    {U_MIN, "min", 60.0},
    {U_H, "h", 3600.0},
    {U_HZ, "Hz", 1.0},
    {U_KG, "kg", 1.0},
    {U_GRAM, "g", 0.001},
    {U_TONNE, "t", 1000.0},
    {U_N, "N", 1.0},
    {U_KN, "kN", 1000.0},
    {U_NM, "N.m", 1.0},
    {U_W, "W", 1.0},
    {U_KW, "kW", 1000.0},
    {U_HP, "hp", 745.69987158227022}, // mechanical horsepower
    {U_PA, "Pa", 1.0},
    {U_KPA, "kPa", 1000.0},
    {U_BAR, "bar", 100000.0},
    {U_PERCENT, "%", 0.01}, // ratios are stored as fractions
    {U_PERMILLE, "permille", 0.001},
    {U_RAD, "rad", 1.0},
    {U_DEG, "deg", degree},
    {U_RAD_S, "rad/s", 1.0},
    {U_DEG_S, "deg/s", degree},
    {U_RAD_S2, "rad/s2", 1.0},
    {U_DEG_S2, "deg/s2", degree},
    {U_M_S2, "m/s2", 1.0},
    {U_G_ACC, "G", 9.80665}, // standard gravity
    {U_M_S3, "m/s3", 1.0},
    {U_PER_M, "1/m", 1.0},
    {U_M2, "m2", 1.0},
    {U_M3, "m3", 1.0},
    {U_L, "l", 0.001},
    {U_KG_M3, "kg/m3", 1.0},
    {U_V, "V", 1.0},
    {U_A, "A", 1.0},
    {U_LUX, "lx", 1.0},
    {U_DB, "dB", 1.0},              // logarithmic: kept as written
    {U_L_100KM, "l/100km", 1.0e-8}, // volume per distance, m3/m
    {U_KG_S, "kg/s", 1.0},
    {U_N_M, "N/m", 1.0},
    {U_NS_M, "N.s/m", 1.0},
    {U_M_S, "m/s", 1.0},
    {U_CM_S, "cm/s", 0.01},
    {U_KM_S, "km/s", 1000.0},
    {U_KM_H, "km/h", 1000.0 / 3600.0},
    {U_MPH, "mph", 1609.344 / 3600.0},
    {U_KNOT, "kn", 1852.0 / 3600.0},
    {U_FT_S, "ft/s", 0.3048},
    {U_RAD_MIN, "rad/min", 1.0 / 60.0},
    {U_DEG_MIN, "deg/min", degree / 60.0},
    {U_RPS, "rps", 2.0 * pi},
    {U_RPM, "rpm", 2.0 * pi / 60.0},
};

const UnitEntry* entryOf(t_unit unit) {
    const int index = static_cast<int>(unit);
    if (index < 0 || index >= U_UNIT_COUNT)
        return nullptr;
    return &unitTable[index];
}

} // namespace

const char* toText(t_unit unit) {
    const UnitEntry* entry = entryOf(unit);
    return entry ? entry->text : "";
}

t_unit toTUnit(const char* text) {
    // Looked up once per parameter of every file read: a hash map, not a scan.
    static const std::unordered_map<std::string_view, t_unit> units = [] {
        std::unordered_map<std::string_view, t_unit> map;
        for (const UnitEntry& entry : unitTable)
            if (*entry.text)
                map.emplace(entry.text, entry.unit);
        return map;
    }();
    if (!text || !*text)
        return U_NONE;
    // Files name the same few units over and over.
    static const UnitEntry* last = nullptr;
    if (last && std::strcmp(last->text, text) == 0)
        return last->unit;
    const auto found = units.find(text);
    if (found != units.end())
        last = &unitTable[found->second];
    return found == units.end() ? U_NONE : found->second;
}

double convToUnit(t_unit unit, double value) {
    const UnitEntry* entry = entryOf(unit);
    return entry ? value / entry->toSI : value;
}

double convToSI(t_unit unit, double value) {
    const UnitEntry* entry = entryOf(unit);
    return entry ? value * entry->toSI : value;
}

} // namespace lmk
