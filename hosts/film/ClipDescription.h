#pragma once

#include <limits>
#include <string>
#include <vector>

#include "film/Container.h"
#include "film/VideoFormat.h"

// What a clip carries beside its packets, on its way to the output.
namespace film {

/// The part of a clip that is copied, in seconds of the clip's own time: all of it unless told otherwise.
struct CopiedSpan {
  double first = -std::numeric_limits<double>::infinity();
  double last = std::numeric_limits<double>::infinity();  ///< what begins then isn't copied any more
  double origin = 0;                                      ///< becomes the output's 0
};

/// The clip's own words: title, place, camera, creation date, time code. Those of the file that it came in stay
/// behind: its brand, its encoder.
void CopyMetadata(const AVFormatContext& source, AVFormatContext& target);

void CopyChapters(const AVFormatContext& source, const CopiedSpan& span, AVFormatContext& target);

/// Seconds in a time base's units; those that are further away than it can count are as far as it can.
std::int64_t TicksOf(double seconds, AVRational timeBase);

/// Copies what a stream carries beside its packets: rotation and other side data, language, title, disposition.
void CopyStreamDescription(const AVStream& source, AVStream& target);

/// The same for pictures that are encoded anew: without what was true of the old packets only, and with the light that
/// `format` tells of, if the stream itself didn't. In words what can't go along.
std::vector<std::string> CopyVideoDescription(const AVStream& source, const VideoFormat& format, AVStream& target);

/// Adds the grading screen and the light levels that `format` tells of, unless they are there.
void DescribeLight(const VideoFormat& format, AVStream& target);

/// Whether a clip's words need keys of their own in MOV and MP4, whose usual set is short.
bool NeedsOwnKeys(const AVDictionary* metadata, const Container& container);

/// The rate that a time code counts by where frames come at about `frameRate`; 0/1 if there is none for it.
AVRational TimeCodeRate(const std::string& timeCode, AVRational frameRate);

/// The time code `frames` later. `rate`: as from `TimeCodeRate`.
std::string TimeCodeAfter(const std::string& timeCode, AVRational rate, int frames);

/// The text under a key, or nothing.
std::string MetadataText(const AVDictionary* metadata, const char* key);

}  // namespace film
