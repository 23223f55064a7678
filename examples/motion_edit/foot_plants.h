#pragma once

#include "names.h"

/// Finds foot plants: joints that come low and slow for at least `shortest` frames are held where they are in
/// the middle of that time, in every `every`-th frame. Only the lowest ends of the skeleton are looked at. (A
/// recorded foot trembles from frame to frame; curves with knots `every` frames apart can hold it there, and
/// not in each frame.)
std::vector<Constraint> findFootPlants(const Clip& clip, const Skeleton& skeleton, int shortest, int every);
