#pragma once

#include <environment/lmk/Vector3.h>

#include <cstdint>
#include <string>
#include <vector>

/// One vehicle of a scenario's table: a name, a description, an id, and a
/// default vehicle definition. The library fills no table; a host does, and the
/// parameter texts read them.
class VEHICLE {
public:
    /// An element of the inputs, outputs and lights: led by its name.
    struct Channel {
        std::string name;
    };
    struct Axle {
        int32_t kind;
        double width;
        double radius;
        double track;
    };

    VEHICLE();
    virtual ~VEHICLE();

    std::string name;
    std::string description;
    int32_t id = 0;
    int32_t flags = 0;
    std::string dynamicModel = "Simple";
    std::string visualModel = "Compact_Sedan_Black_Pearl";
    std::string style = "FlatStyle/FlatStyle.txt";
    std::string overlay = "SuperposeDefaut/SuperposeDefaut.txt";
    std::string soundModel = "CarSimple_Gas";
    std::string extra1;
    std::string extra2;
    double length = 4.3;
    double width = 1.808;
    double height = 1.46;
    double wheelbase = 2.64;
    double factorA = 0.2;
    double factorB = 0.75;
    lmk::Vector3 frontPoint{3.55, 0.0, 0.55};
    lmk::Vector3 rearPoint{-0.75, 0.0, 0.55};
    double massA = 1200.0;
    double massB = 1200.0;
    double maxSpeed;
    double wheelAngle;
    double steeringAngle;
    double deceleration = -6.0;
    lmk::Vector3 driverPoint{1.4, 0.36, 1.25};
    int32_t driverIndex = -1;
    lmk::Vector3 enginePoint{2.65, 0.0, 0.5};
    double maxEngineSpeed;
    int32_t gearCount = 4;
    uint8_t autoFlag = 0;
    double gainA = 5.0;
    double gainB = 0.0;
    double gainC = 0.2;
    double gainD = 0.3;
    double gainE = 1.0;
    uint8_t gearMode = 0;
    uint8_t gearFlagA = 0;
    uint8_t gearFlagB = 0;
    uint8_t gearFlagC = 1;
    double ratioA = 0.5;
    double ratioB = 1.5;
    double ratioC = 0.5;
    double shiftDown;
    double shiftUp;
    double idleSpeed;
    double offsetA = 0.0;
    double offsetB = 0.0;
    double scaleA = 1.0;
    double scaleB = 1.0;
    std::vector<Channel> inputs;
    std::vector<Channel> outputs;
    std::vector<Axle> axles;
    std::vector<std::string> attachments;
    std::vector<Channel> lights;
    std::vector<std::string> notes;
};

/// The vehicle kinds, in order; kept for hosts, consulted by nothing here.
extern const char* const kVehicleKinds[15];
/// The positions of an attachment; kept for hosts, consulted by nothing here.
extern const char* const kVehiclePositions[13];
