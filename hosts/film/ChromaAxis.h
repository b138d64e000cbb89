#pragma once

#include "film/PlaneFormat.h"

namespace film {

/// How chroma is made finer and coarser again along one axis.
///
/// Finer is linear interpolation at the siting's true positions. Coarser is the filter of least length that undoes it
/// exactly: -1 2 6 2 -1 over 8 where a chroma sample lies on a luma sample, -1 3 3 -1 over 4 where it lies between two
/// (the biorthogonal partners of linear interpolation: Cohen, Daubechies, Feauveau, "Biorthogonal Bases of Compactly
/// Supported Wavelets", 1992), and at a quarter of the way -5 25 21 -9 over 32, the one of four taps that also stops
/// the finest pattern, as the one midway does. So a picture that nobody changed keeps its chroma too, however often it
/// goes round.
struct ChromaAxis {
  /// `halved`: false for an axis on which chroma is as fine as luma.
  ChromaAxis(bool halved, Siting siting);

  /// Fine sample 2i + parity is coarse[i + from[parity]] * weight[parity][0] + coarse[i + from[parity] + 1] *
  /// weight[parity][1]. Positions outside are the border sample's.
  struct Finer {
    int from[2];
    float weight[2][2];
  };
  /// Coarse sample i is the sum of fine[2i + from + k] * weight[k] over k below `count`; outside as above.
  struct Coarser {
    int from, count;
    float weight[5];
  };

  bool halved;
  Finer finer;
  Coarser coarser;
};

}  // namespace film
