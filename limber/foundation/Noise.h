#pragma once

#include "limber/Api.h"

/// One normally distributed sample, offset + scale z, by the polar form of the Box-Muller method (Marsaglia
/// and Bray 1964) on the runtime library's rand, which is never seeded here. The second deviate of each pair
/// is discarded, so the sequence depends only on the state of rand.
LIMBER_API double sampleNoise(double scale, double offset);
