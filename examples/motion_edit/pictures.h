#pragma once

#include <string>

#include "limber_motion/motion.h"
#include "preconditioners.h"
#include "scene.h"

// The drawings of an edit. Each is the text of an Illustrator file. Lengths are in body heights.

/// Stick figures before (grey) and after the edit (left side blue, right side orange) with their feet, the
/// contacts on the ground and the targets. Below are the paths of hands and feet from the side and from
/// above.
std::string drawMotion(const Scene& scene, int figures);
/// The horizontal speed of the standing joints over time, before and after the edit.
std::string drawSpeeds(const Scene& scene);
/// The largest miss after each step of the edit.
std::string drawConvergence(const limber::motion::Report& report);
/// The residual after each iteration of conjugate gradients, with one curve for each preconditioner.
std::string drawPreconditioners(const std::vector<Convergence>& runs);
