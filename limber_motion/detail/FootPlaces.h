#pragma once

#include <vector>

#include "limber_motion/Contacts.h"
#include "limber_motion/detail/Feet.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// The mean of a joint's places in the frames first..last, each weighted by how still it is.
Pnt3 stillestPlace(const Tracks& tracks, double height, int joint, int first, int last);

/// Chooses the place of each contact: the mean of the joint's places in its frames, each weighted by how
/// still it is, at the height at which the joint usually stands. The places are then moved until contacts of
/// one foot that overlap in time are as far apart as the bones between them are long.
void choosePlaces(const Clip& clip, const Tracks& tracks, double height, const std::vector<FootJoint>& feet,
                  double ground, std::vector<Contact>* contacts);

}  // namespace limber::motion::detail
