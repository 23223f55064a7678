#pragma once

#include <vector>

#include "limber_motion/Contacts.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// Sets the places of one joint's contacts, which are disjoint and in the order of time. Of all tracks that
/// stand still during the contacts, this takes the one whose difference from the joint's own track is
/// smallest in the measure of Smoothness, and uses its places.
void smoothPlaces(const Tracks& tracks, const std::vector<Contact*>& contacts);

}  // namespace limber::motion::detail
