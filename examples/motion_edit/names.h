#pragma once

#include "limber/limber.h"
#include "limber_motion/motion.h"

// The names of the motion component that this program uses.
using limber::motion::Clip;
using limber::motion::Constraint;
using limber::motion::Jacobian;
using limber::motion::Joint;
using limber::motion::Skeleton;
using limber::motion::Spline;
