#pragma once

#include <string>
#include <vector>

#include "film/StoredFormat.h"
#include "planning/MotionInterval.h"

// Event lists, as files and documents hold them.
namespace film {

/// One object for each event of both axes with its fit; an event that lacks one has that of a default section.
Description EventsOf(const std::vector<MotionInterval>& eventsX, const std::vector<MotionFixParams>& filtersX,
                     const std::vector<MotionInterval>& eventsY, const std::vector<MotionFixParams>& filtersY);

/// The member "events" of a description as lines, one an axis.
std::string EventLines(const Description& description);

}  // namespace film
