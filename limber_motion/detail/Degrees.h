#pragma once

namespace limber::motion::detail {

constexpr double radiansOfDegree = 3.14159265358979323846 / 180.0;
constexpr double degreesOfRadian = 180.0 / 3.14159265358979323846;

}  // namespace limber::motion::detail
