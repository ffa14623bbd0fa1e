#pragma once

namespace lmk {

/// Units of the toolkit. Values are stored in SI (lengths in m, speeds in m/s,
/// angles in rad, rotation speeds in rad/s, times in s, ...). 0 and 1 both mean
/// no unit. The numeric values are part of the file format: never renumber.
enum t_unit {
    U_NONE = 0,          // ""
    U_DIMENSIONLESS = 1, // "-"
    // length
    U_M = 2,    // "m"
    U_KM = 3,   // "km"
    U_CM = 4,   // "cm"
    U_MM = 5,   // "mm"
    U_MILE = 6, // "mi"
    U_FT = 7,   // "ft"
    U_IN = 8,   // "in"
    // time and frequency
    U_S = 9,    // "s"
    U_MS = 10,  // "ms"
    U_MIN = 11, // "min"
    U_H = 12,   // "h"
    U_HZ = 13,  // "Hz"
    // mass
    U_KG = 14,    // "kg"
    U_GRAM = 15,  // "g"
    U_TONNE = 16, // "t"
    // force, torque, power, pressure
    U_N = 17,   // "N"
    U_KN = 18,  // "kN"
    U_NM = 19,  // "N.m"
    U_W = 20,   // "W"
    U_KW = 21,  // "kW"
    U_HP = 22,  // "hp"
    U_PA = 23,  // "Pa"
    U_KPA = 24, // "kPa"
    U_BAR = 25, // "bar"
    // ratios
    U_PERCENT = 26,  // "%"
    U_PERMILLE = 27, // "permille"
    // angle
    U_RAD = 28, // "rad"
    U_DEG = 29, // "deg"
    // angular speed and acceleration
    U_RAD_S = 30,  // "rad/s"
    U_DEG_S = 31,  // "deg/s"
    U_RAD_S2 = 32, // "rad/s2"
    U_DEG_S2 = 33, // "deg/s2"
    // acceleration and jerk
    U_M_S2 = 34,  // "m/s2"
    U_G_ACC = 35, // "G"
    U_M_S3 = 36,  // "m/s3"
    // curvature, area, volume, density
    U_PER_M = 37, // "1/m"
    U_M2 = 38,    // "m2"
    U_M3 = 39,    // "m3"
    U_L = 40,     // "l"
    U_KG_M3 = 41, // "kg/m3"
    // electricity, light, sound
    U_V = 42,   // "V"
    U_A = 43,   // "A"
    U_LUX = 44, // "lx"
    U_DB = 45,  // "dB"
    // vehicle
    U_L_100KM = 46, // "l/100km"
    U_KG_S = 47,    // "kg/s"
    U_N_M = 48,     // "N/m" (stiffness)
    U_NS_M = 49,    // "N.s/m" (damping)
    // speed
    U_M_S = 50,  // "m/s"
    U_CM_S = 51, // "cm/s"
    U_KM_S = 52, // "km/s"
    U_KM_H = 53, // "km/h"
    U_MPH = 54,  // "mph"
    U_KNOT = 55, // "kn"
    U_FT_S = 56, // "ft/s"
    // rotation speed
    U_RAD_MIN = 57, // "rad/min"
    U_DEG_MIN = 58, // "deg/min"
    U_RPS = 59,     // "rps"
    U_RPM = 60,     // "rpm"
    U_UNIT_COUNT = 61
};

/// The unit as text: "" for 0, "-" for 1, "" for a value outside the table.
const char* toText(t_unit unit);
/// A unit from its text (exact, case-sensitive); 0 for null or an unknown text.
t_unit toTUnit(const char* text);
/// From the stored unit system (SI) to the unit named.
double convToUnit(t_unit unit, double value);
/// From the unit named to the stored unit system (SI).
double convToSI(t_unit unit, double value);
/// The quantity the unit measures ("length", "speed", ...): two units convert
/// into each other when they measure the same one. "" for 0, 1 and values
/// outside the table.
const char* toQuantity(t_unit unit);

} // namespace lmk
