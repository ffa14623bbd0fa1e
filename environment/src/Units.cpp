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
    const char* quantity;
};

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180.0;

// Indexed by the enum value; the first column is only there to keep the rows honest
// (checked by the tests).
const UnitEntry unitTable[U_UNIT_COUNT] = {
    {U_NONE, "", 1.0, ""},
    {U_DIMENSIONLESS, "-", 1.0, ""},
    {U_M, "m", 1.0, "length"},
    {U_KM, "km", 1000.0, "length"},
    {U_CM, "cm", 0.01, "length"},
    {U_MM, "mm", 0.001, "length"},
    {U_MILE, "mi", 1609.344, "length"},
    {U_FT, "ft", 0.3048, "length"},
    {U_IN, "in", 0.0254, "length"},
    {U_S, "s", 1.0, "time"},
    {U_MS, "ms", 0.001, "time"},
    {U_MIN, "min", 60.0, "time"},
    {U_H, "h", 3600.0, "time"},
    {U_HZ, "Hz", 1.0, "frequency"},
    {U_KG, "kg", 1.0, "mass"},
    {U_GRAM, "g", 0.001, "mass"},
    {U_TONNE, "t", 1000.0, "mass"},
    {U_N, "N", 1.0, "force"},
    {U_KN, "kN", 1000.0, "force"},
    {U_NM, "N.m", 1.0, "torque"},
    {U_W, "W", 1.0, "power"},
    {U_KW, "kW", 1000.0, "power"},
    {U_HP, "hp", 745.69987158227022, "power"}, // mechanical horsepower
    {U_PA, "Pa", 1.0, "pressure"},
    {U_KPA, "kPa", 1000.0, "pressure"},
    {U_BAR, "bar", 100000.0, "pressure"},
    {U_PERCENT, "%", 0.01, "ratio"}, // ratios are stored as fractions
    {U_PERMILLE, "permille", 0.001, "ratio"},
    {U_RAD, "rad", 1.0, "angle"},
    {U_DEG, "deg", degree, "angle"},
    {U_RAD_S, "rad/s", 1.0, "angular speed"},
    {U_DEG_S, "deg/s", degree, "angular speed"},
    {U_RAD_S2, "rad/s2", 1.0, "angular acceleration"},
    {U_DEG_S2, "deg/s2", degree, "angular acceleration"},
    {U_M_S2, "m/s2", 1.0, "acceleration"},
    {U_G_ACC, "G", 9.80665, "acceleration"}, // standard gravity
    {U_M_S3, "m/s3", 1.0, "jerk"},
    {U_PER_M, "1/m", 1.0, "curvature"},
    {U_M2, "m2", 1.0, "area"},
    {U_M3, "m3", 1.0, "volume"},
    {U_L, "l", 0.001, "volume"},
    {U_KG_M3, "kg/m3", 1.0, "density"},
    {U_V, "V", 1.0, "voltage"},
    {U_A, "A", 1.0, "current"},
    {U_LUX, "lx", 1.0, "illuminance"},
    {U_DB, "dB", 1.0, "sound level"},              // logarithmic: kept as written
    {U_L_100KM, "l/100km", 1.0e-8, "consumption"}, // volume per distance, m3/m
    {U_KG_S, "kg/s", 1.0, "mass flow"},
    {U_N_M, "N/m", 1.0, "stiffness"},
    {U_NS_M, "N.s/m", 1.0, "damping"},
    {U_M_S, "m/s", 1.0, "speed"},
    {U_CM_S, "cm/s", 0.01, "speed"},
    {U_KM_S, "km/s", 1000.0, "speed"},
    {U_KM_H, "km/h", 1000.0 / 3600.0, "speed"},
    {U_MPH, "mph", 1609.344 / 3600.0, "speed"},
    {U_KNOT, "kn", 1852.0 / 3600.0, "speed"},
    {U_FT_S, "ft/s", 0.3048, "speed"},
    {U_RAD_MIN, "rad/min", 1.0 / 60.0, "angular speed"},
    {U_DEG_MIN, "deg/min", degree / 60.0, "angular speed"},
    {U_RPS, "rps", 2.0 * pi, "angular speed"},
    {U_RPM, "rpm", 2.0 * pi / 60.0, "angular speed"},
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

const char* toQuantity(t_unit unit) {
    const UnitEntry* entry = entryOf(unit);
    return entry ? entry->quantity : "";
}

double convToSI(t_unit unit, double value) {
    const UnitEntry* entry = entryOf(unit);
    return entry ? value * entry->toSI : value;
}

} // namespace lmk
