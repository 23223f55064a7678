#pragma once

#include <vector>

#include "limber_motion/Contacts.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion::detail {

/// Sets the places of one joint's contacts, which are disjoint and in the order of time: those that its track
/// reaches with the smallest smooth change. Of all tracks that stand still in the contacts this takes the one
/// whose difference from the joint's own is smallest in the measure of Smoothness.
void smoothPlaces(const Tracks& tracks, const std::vector<Contact*>& contacts);

}  // namespace limber::motion::detail
