#pragma once

#include <string>
#include <vector>

#include "limber_motion/motion.h"

/// A sentence if each step of an edit takes long: how long on a usual machine, and why. Otherwise empty.
/// `feet` are the joints of the contacts' feet, which the edit also moves. `knots` is in seconds.
std::string whyStepsTakeLong(const limber::motion::Clip& clip,
                             const std::vector<limber::motion::Constraint>& constraints,
                             const std::vector<int>& feet, double knots);
