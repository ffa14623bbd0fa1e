#pragma once

namespace lmk {

/// Three doubles.
struct Vector3 {
    Vector3() : x(0.0), y(0.0), z(0.0) {}
    Vector3(double x, double y, double z) : x(x), y(y), z(z) {}
    double x, y, z;
};

} // namespace lmk
