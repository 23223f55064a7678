#pragma once

#include <string>
#include <vector>

#include "clip.h"
#include "skeleton.h"

/// A joint or end site shall be at `target` in `frame`. The weight scales the constraint's equations: above 1
/// it is met more closely where not all can be met.
struct Constraint {
  int frame;
  int joint;
  Pnt3 target;
  double weight;
};

/// Reads a constraint script: one wish a line, '#' begins a comment, frames count from 1.
///
///     FRAMES JOINT X Y Z [WEIGHT]          the joint shall be at (X, Y, Z)
///     hold FRAMES JOINT [at FRAME] [WEIGHT] the joint stays where the clip has it in FRAME (the first of
///     FRAMES)
///
/// FRAMES is a frame or a range such as 10-25. Throws InputError naming file, line and word.
std::vector<Constraint> readConstraints(const char* name, const char* searchPath, const Clip& clip,
                                        const Skeleton& skeleton);

/// Finds foot plants: joints that come low and slow for at least `shortest` frames are held where they are in
/// the middle of that time, in every `every`-th frame. Only the lowest ends of the skeleton are looked at. (A
/// recorded foot trembles from frame to frame; curves with knots `every` frames apart can hold it there, and
/// not in each frame.)
std::vector<Constraint> findFootPlants(const Clip& clip, const Skeleton& skeleton, int shortest, int every);

/// In frame order, each joint once a frame (the last wish for it counts).
void sortByFrame(std::vector<Constraint>* constraints);
