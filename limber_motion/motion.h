#pragma once

/// @file
/// The whole public surface of the motion component.

#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Contacts.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Error.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Report.h"
#include "limber_motion/Script.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Smoothness.h"
#include "limber_motion/Spline.h"
#include "limber_motion/StepSystem.h"
#include "limber_motion/Stiffness.h"
#include "limber_motion/Upright.h"
