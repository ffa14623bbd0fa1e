#pragma once

#include <environment/SheetSection/Section.h>

#include <string>

namespace cfg {

/// The root section of a scenario file.
class Scenario : public Section {
public:
    Scenario();
    static const char* sectionName() { return "Scenario"; }
    std::string name;
    std::string description;
};

class Vehicle : public Section {
public:
    Vehicle();
    static const char* sectionName() { return "Vehicle"; }
    int id = 0;
    int driverId = 0;
    std::string name;
};

class Driver : public Section {
public:
    Driver();
    static const char* sectionName() { return "Driver"; }
    int id = 0;
    std::string name;
    std::string label;
};

/// A script kept as text; `text` is the element's content, byte for byte.
class ScenarioScript : public Section {
public:
    ScenarioScript();
    static const char* sectionName() { return "ScenarioScript"; }
    std::string name;
    std::string scriptType;
    std::string text;
};

/// The declaration of a variadic parameter: target id, unit, and one typed
/// sub-section that holds the default and the ranges.
class VariadicParameter : public Section {
public:
    VariadicParameter();
    static const char* sectionName() { return "VariadicParameter"; }
    std::string name;
    std::string description;
    std::string parameterId;
    std::string parameterUnit;
};

class BooleanParameter : public Section {
public:
    BooleanParameter();
    static const char* sectionName() { return "BooleanParameter"; }
    bool defaultValue = false; // parameter "default"
};

class IntegerParameter : public Section {
public:
    IntegerParameter();
    static const char* sectionName() { return "IntegerParameter"; }
    int defaultValue = 0; // parameter "default"
};

class RealParameter : public Section {
public:
    RealParameter();
    static const char* sectionName() { return "RealParameter"; }
    double defaultValue = 0.0; // parameter "default"
};

class LiteralParameter : public Section {
public:
    LiteralParameter();
    static const char* sectionName() { return "LiteralParameter"; }
    std::string defaultValue; // parameter "default"
};

class IntegerRange : public Section {
public:
    IntegerRange();
    static const char* sectionName() { return "IntegerRange"; }
    int minimum = 0;
    int maximum = 0;
};

class RealRange : public Section {
public:
    RealRange();
    static const char* sectionName() { return "RealRange"; }
    double minimum = 0.0;
    double maximum = 0.0;
};

class LiteralRange : public Section {
public:
    LiteralRange();
    static const char* sectionName() { return "LiteralRange"; }
    std::string value;
};

} // namespace cfg
