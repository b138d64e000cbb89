#pragma once

#include <string>
#include <vector>

#include "analysis/MultiRange.h"
#include "plugin/KeyedCoder.h"

/// The parts of the stored parameters' key scheme that more than one of them uses.

/// `name` with `index` behind it: "gain12".
inline std::string IndexedKey(const char* name, int index) { return name + std::to_string(index); }

/// Whether `first` to `last` can be a span of frames: not turned round, of at most `mostFrames`, and with numbers that
/// leave room to count on and to double.
bool IsSpanOfFrames(long first, long last, long mostFrames);

/// How many frames a whole clip can have that is stored in `coder`. Gaps between ranges store no values, so there may
/// be more frames than values, but not without end.
long MostFramesOf(const KeyedCoder& coder);

/// Writes "num_ranges" and each range's "range%d_first" and "range%d_last".
void EncodeRanges(const Vorn::MultiRange& ranges, KeyedCoder& coder);

/// The ranges in the order in which they were written. A range turned round, and whatever claims more frames than the
/// archive has values or lies too far from the others, is left out: such an archive is damaged, and reading on would
/// only burn time and memory.
std::vector<Vorn::Range> DecodeRanges(const KeyedCoder& coder);
