#pragma once

#include <string>

#include "limber_motion/motion.h"
#include "preconditioners.h"
#include "scene.h"

// The drawings of an edit, each the text of an Illustrator file. Lengths are in body heights.

/// Stick figures before (grey) and after (left side blue, right side orange) with their feet, what stands on
/// the ground and what is reached for; below, the paths of hands and feet from the side and from above.
std::string drawMotion(const Scene& scene, int figures);
/// The horizontal speed of what stands, over time, before and after.
std::string drawSpeeds(const Scene& scene);
/// The largest miss after each step of the edit.
std::string drawConvergence(const limber::motion::Report& report);
/// The residual after each iteration of conjugate gradients, a curve for each preconditioner.
std::string drawPreconditioners(const std::vector<Convergence>& runs);
